#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

/// One run of the command-line host, to its end.
struct PtcloudRun
{
    explicit PtcloudRun(const QStringList &arguments)
    {
        QProcess process;
        process.start(QStringLiteral(PTCLOUD_PROGRAM), arguments);
        isFinished = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
        exitCode = process.exitCode();
        output = process.readAllStandardOutput();
        errors = process.readAllStandardError();
    }

    /// Standard output as one JSON object; empty if it is anything else, or something stands around the object.
    QJsonObject json() const { return QJsonDocument::fromJson(output).object(); }

    /// The lines on standard error that are neither warnings nor progress.
    QList<QByteArray> errorLines() const
    {
        QList<QByteArray> lines;
        for (const QByteArray &line : errors.split('\n')) {
            if (line.startsWith("ptcloud: "))
                lines.append(line);
        }
        return lines;
    }

    bool isFinished = false;
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
};
