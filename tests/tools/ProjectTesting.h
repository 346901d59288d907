#pragma once

#include "BlockFile.h"
#include "DataSetDirectory.h"
#include "LasWriter.h"
#include "ProjectFile.h"
#include "PtcloudRun.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QJsonArray>
#include <QTemporaryDir>

namespace support
{

/// `make x a.las` as a list of arguments.
inline QStringList words(const char *line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '));
}

inline QStringList namesIn(const QJsonArray &rows)
{
    QStringList names;
    for (const QJsonValue &row : rows)
        names << row.toObject().value(QStringLiteral("name")).toString();
    return names;
}

/// The row of a name; empty if there is none.
inline QJsonObject rowOf(const QJsonArray &rows, const QString &name)
{
    return rows.at(namesIn(rows).indexOf(name)).toObject();
}

/// All points of a data set file that adds up; -1 if it does not.
inline qint64 pointsIn(const QByteArray &bytes)
{
    const auto file = BlockFile::parse(bytes);
    if (!file)
        return -1;
    qint64 points = 0;
    for (const BlockFile::Block &block : file->blocks)
        points += block.points;
    return points;
}

/// A project directory whose files the test lays down itself, and runs of the host on it.
class ProjectTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path(const char *name) const { return m_dir.filePath(QString::fromUtf8(name)); }
    QString project() const { return path("project"); }
    QString inProject(const char *name) const { return project() + QLatin1Char('/') + QString::fromUtf8(name); }
    QString projectFile() const { return inProject("points_cloud.pcproj"); }
    QString ownCopy() const { return inProject(".ptcloud/points_cloud.pcproj"); }

    PtcloudRun run(QStringList arguments) const { return PtcloudRun(arguments << QStringLiteral("-p") << project()); }
    PtcloudRun run(const char *line) const { return run(words(line)); }
    /// What a command tells as JSON; empty if it fails.
    QJsonObject json(const char *line) const
    {
        const PtcloudRun done = run(words(line) << QStringLiteral("--json"));
        EXPECT_EQ(done.exitCode, 0) << line << ": " << done.errors.constData();
        return done.exitCode == 0 ? done.json() : QJsonObject();
    }
    QJsonArray listed(const QString &key, const char *line) const { return json(line).value(key).toArray(); }
    QStringList dataSets() const { return namesIn(listed(QStringLiteral("dataSets"), "list")); }

    /// A LAS file whose points climb from 0, 0, 0 in steps of 0.010, 0.005 and 0.001: one block up to 100 of them.
    static QByteArray lasBytes(int points, quint8 format = 0)
    {
        LasWriter writer;
        writer.format = format;
        for (int i = 0; i < points; ++i) {
            LasPoint point;
            point.x = i * 10;
            point.y = i * 5;
            point.z = i;
            point.intensity = static_cast<quint16>(i);
            writer.points.push_back(point);
        }
        return writer.bytes();
    }
    /// A LAS file outside the project.
    QString writeLas(const char *name, int points, quint8 format = 0) const
    {
        const QString file = path(name);
        EXPECT_TRUE(QDir().mkpath(QFileInfo(file).absolutePath()));
        EXPECT_TRUE(writeFile(file, lasBytes(points, format)));
        return file;
    }

    /// Lays a project down, each data set under its own name.
    void makeProject(const ProjectFile::Pairs &lasFiles, const QMap<QString, DiskState> &sets) const
    {
        ProjectFile file;
        file.lasFiles = lasFiles;
        for (auto it = sets.cbegin(); it != sets.cend(); ++it) {
            file.dataSets.emplace_back(it.key(), it.key());
            makeDirectory(project() + QLatin1Char('/') + it.key(), *it);
        }
        makeDirectory(project(), {{QStringLiteral("points_cloud.pcproj"), file.bytes()}});
    }
    /// What the project file says now.
    ProjectFileContents recorded() const
    {
        const QByteArray bytes = readFile(projectFile());
        const ProjectFileContents contents(bytes);
        EXPECT_TRUE(contents.isAccepted);
        return contents;
    }

    /// Everything on disk but the host's lock, the directory that it needs for that, and a copy of the project file
    /// that is just like it.
    DiskState onDisk() const
    {
        DiskState state = diskState(m_dir.path());
        state.remove(QStringLiteral("project/.ptcloud"));
        state.remove(QStringLiteral("project/.ptcloud/lock"));
        const QString copy = QStringLiteral("project/.ptcloud/points_cloud.pcproj");
        if (state.value(copy) == state.value(QStringLiteral("project/points_cloud.pcproj")))
            state.remove(copy);
        return state;
    }

    /// Expects a failure with one line that tells of it.
    static void expectFailed(const PtcloudRun &done)
    {
        EXPECT_TRUE(done.isFinished);
        EXPECT_EQ(done.exitCode, 1);
        EXPECT_EQ(done.errorLines().size(), 1) << done.errors.constData();
    }
    /// Expects that the line has the text and, in brackets, the result where there is one.
    static void expectFailed(const PtcloudRun &done, const char *result, const char *text)
    {
        expectFailed(done);
        const QByteArray line = done.errorLines().value(0);
        EXPECT_TRUE(line.contains(text)) << line.constData();
        const QByteArray inBrackets = *result == '\0' ? QByteArray() : QByteArray(" (") + result + ")";
        EXPECT_TRUE(line.endsWith(inBrackets)) << line.constData();
        EXPECT_EQ(line.contains("ActResult_"), !inBrackets.isEmpty()) << line.constData();
    }
    /// Expects the same failure in words and as JSON, and a disk that stays as it was.
    void expectRefused(const QStringList &arguments, const char *result, const char *text) const
    {
        const DiskState before = onDisk();
        const PtcloudRun inWords = run(arguments);
        expectFailed(inWords, result, text);
        EXPECT_TRUE(inWords.output.isEmpty()) << inWords.output.constData();

        const PtcloudRun asJson = run(QStringList(arguments) << QStringLiteral("--json"));
        expectFailed(asJson, result, text);
        const QJsonObject told = asJson.json();
        EXPECT_TRUE(told.value(QStringLiteral("error")).toString().contains(QString::fromUtf8(text)))
            << asJson.output.constData();
        EXPECT_TRUE(told.contains(QStringLiteral("result"))) << asJson.output.constData();
        EXPECT_EQ(told.value(QStringLiteral("result")).toString(), QString::fromUtf8(result));
        EXPECT_TRUE(sameDisk(onDisk(), before));
    }
    void expectRefused(const char *line, const char *result, const char *text) const
    {
        expectRefused(words(line), result, text);
    }

    QTemporaryDir m_dir;
};

} // namespace support
