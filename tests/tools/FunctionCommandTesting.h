#pragma once

#include "ProjectTesting.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QThread>

#ifdef Q_OS_UNIX
#include <sys/types.h>

#include <csignal>
#endif

/// Lets failed comparisons show texts as such.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << qPrintable(text) << '"';
}

namespace support
{

/// One run of the host while it goes on. It is killed when the object goes.
class HostProcess
{
public:
    HostProcess(const QString &program, const QProcessEnvironment &environment, const QStringList &arguments)
    {
        m_process.setProcessEnvironment(environment);
        m_process.start(program, arguments);
        m_process.waitForStarted();
    }
    ~HostProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    qint64 processId() const { return m_process.processId(); }
    /// Waits until the host has told this on standard error; false if it ends before.
    bool tells(const QByteArray &text)
    {
        return waitUntil([&] {
            m_errors += m_process.readAllStandardError();
            return m_errors.contains(text);
        });
    }
    /// Waits until the file is there; false if the host ends before.
    bool makes(const QString &file)
    {
        return waitUntil([&] { return QFileInfo::exists(file); });
    }
    /// Waits for the end. The exit code; -1 if there is none.
    int finish()
    {
        m_process.waitForFinished(120000);
        m_output += m_process.readAllStandardOutput();
        m_errors += m_process.readAllStandardError();
        const bool isDone = m_process.state() == QProcess::NotRunning;
        return isDone && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    const QByteArray &errors() const { return m_errors; }
    const QByteArray &output() const { return m_output; }
    QJsonObject json() const { return QJsonDocument::fromJson(m_output).object(); }
    /// The lines on standard error that are neither warnings nor progress.
    QList<QByteArray> errorLines() const
    {
        QList<QByteArray> lines;
        for (const QByteArray &line : m_errors.split('\n')) {
            if (line.startsWith("ptcloud: "))
                lines.append(line);
        }
        return lines;
    }

private:
    template <typename Condition>
    bool waitUntil(const Condition &condition)
    {
        QElapsedTimer timer;
        timer.start();
        while (!condition()) {
            if (m_process.state() != QProcess::Running || timer.elapsed() > 60000)
                return condition();
            m_process.waitForReadyRead(5);
        }
        return true;
    }

    QProcess m_process;
    QByteArray m_output;
    QByteArray m_errors;
};

/// A project with the data sets `site`, which has everything but terrain products, and `other`; the host in a directory
/// of programs of its own, with a worker beside it that plays a script.
class FunctionCommandTest : public ProjectTest
{
protected:
    void SetUp() override
    {
        ProjectTest::SetUp();
        ASSERT_TRUE(m_host.isValid());
        for (const char *directory : {"home", "own programs", "script", "tmp"})
            ASSERT_TRUE(QDir().mkpath(ofHost(directory)));
        ASSERT_TRUE(QFile::copy(QStringLiteral(PTCLOUD_PROGRAM), program()));
        const QStringList workers = QDir(QStringLiteral(SCRIPTED_WORKER_DIR)).entryList(QDir::Files);
        ASSERT_EQ(workers.size(), 1);
        m_worker = QFileInfo(program()).absolutePath() + QLatin1Char('/') + workers.first();
        ASSERT_TRUE(QFile::copy(QStringLiteral(SCRIPTED_WORKER_DIR "/") + workers.first(), m_worker));
        DiskState site = fullDataSet();
        for (const char *product : terrainFiles)
            site.remove(QString::fromUtf8(product));
        makeProject({}, {{QStringLiteral("site"), site}, {QStringLiteral("other"), bareDataSet()}});
    }

    /// What the worker is to do, command by command.
    void script(const QStringList &commands) const
    {
        ASSERT_TRUE(writeFile(ofHost("script/script"), commands.join(QLatin1Char('\n')).toUtf8()));
    }
    void script(const char *commands) const { script(QString::fromUtf8(commands).split(QStringLiteral("; "))); }
    QString besideScript(const char *name) const { return ofHost("script/") + QLatin1String(name); }
    void removeWorker() const { ASSERT_TRUE(QFile::remove(m_worker)); }
    const QString &worker() const { return m_worker; }

    /// Starts the host on the project.
    std::unique_ptr<HostProcess> start(QStringList arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), ofHost("home"));
        environment.insert(QStringLiteral("SCRIPTED_WORKER"), besideScript("script"));
        // Keys of shared memory and locks stand for files there.
        environment.insert(QStringLiteral("TMPDIR"), ofHost("tmp"));
        return std::make_unique<HostProcess>(program(), environment, arguments << QStringLiteral("-p") << project());
    }
    std::unique_ptr<HostProcess> start(const char *line) const { return start(words(line)); }
    std::unique_ptr<HostProcess> startForJson(const char *line) const
    {
        return start(words(line) << QStringLiteral("--json"));
    }
    /// Runs the host with a worker that makes these files, by their paths in the project, and succeeds. What the host
    /// tells as JSON.
    QJsonObject make(const char *line, const DiskState &files) const
    {
        script("touch running; await go");
        const auto host = startForJson(line);
        EXPECT_TRUE(host->makes(besideScript("running"))) << host->errors().constData();
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            EXPECT_TRUE(writeFile(project() + QLatin1Char('/') + it.key(), *it));
        EXPECT_TRUE(writeFile(besideScript("go"), {}));
        EXPECT_EQ(host->finish(), 0) << host->errors().constData();
        for (const char *file : {"running", "go"})
            EXPECT_TRUE(QFile::remove(besideScript(file)));
        return host->json();
    }

    /// What the worker was told, key by key; empty if no worker was to run.
    QMap<QString, QString> settings() const
    {
        QMap<QString, QString> told;
        QSettings file(settingsFile(), QSettings::IniFormat);
        const QStringList keys = file.allKeys();
        for (const QString &key : keys)
            told[key] = file.value(key).toString();
        return told;
    }
    QString settingsFile() const { return ofHost("home/ptcloud/o3d_config.ini"); }
    static QString key(const char *name) { return QStringLiteral("section/") + QLatin1String(name); }

    /// Expects that a run for JSON fails with one line, that names the result, and the same as JSON.
    static void expectFailure(HostProcess &host, const char *result, const char *text)
    {
        EXPECT_EQ(host.finish(), 1);
        const QList<QByteArray> lines = host.errorLines();
        EXPECT_EQ(lines.size(), 1) << host.errors().constData();
        EXPECT_TRUE(lines.value(0).contains(text)) << host.errors().constData();
        const QByteArray inBrackets = *result == '\0' ? QByteArray() : QByteArray(" (") + result + ")";
        EXPECT_TRUE(lines.value(0).endsWith(inBrackets)) << host.errors().constData();
        const QJsonObject told = host.json();
        EXPECT_EQ(told.value(QStringLiteral("result")).toString(), QString::fromUtf8(result));
        EXPECT_TRUE(told.value(QStringLiteral("error")).toString().contains(QString::fromUtf8(text)))
            << host.output().constData();
    }
    /// Expects that a command fails before a worker is told anything, and changes nothing.
    void expectNoRun(const QStringList &arguments, const char *result, const char *text) const
    {
        const DiskState before = onDisk();
        expectFailure(*start(QStringList(arguments) << QStringLiteral("--json")), result, text);
        EXPECT_TRUE(settings().isEmpty());
        EXPECT_TRUE(sameDisk(onDisk(), before));
    }
    void expectNoRun(const char *line, const char *result, const char *text) const
    {
        expectNoRun(words(line), result, text);
    }
    /// Expects that the command line is refused as wrong usage, before a worker is told anything.
    void expectWrongUsage(const char *line) const
    {
        const DiskState before = onDisk();
        const auto host = start(line);
        EXPECT_EQ(host->finish(), 2) << line;
        EXPECT_FALSE(host->errors().isEmpty());
        EXPECT_TRUE(settings().isEmpty()) << line;
        EXPECT_TRUE(sameDisk(onDisk(), before)) << line;
    }

    QString program() const { return ofHost("own programs/") + QFileInfo(QStringLiteral(PTCLOUD_PROGRAM)).fileName(); }

#ifdef Q_OS_LINUX
    /// The processes that run this test's worker.
    QList<qint64> workers() const
    {
        QList<qint64> found;
        const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString &process : processes) {
            if (QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process)) == m_worker)
                found << process.toLongLong();
        }
        return found;
    }
#endif

    static constexpr const char *terrainFiles[] = {"dem.demmesh", "dem.height.png", "dem.contour", "dem.classify"};

private:
    QString ofHost(const char *name) const
    {
        return m_host.filePath(QString::fromUtf8(name));
    }

    QTemporaryDir m_host;
    QString m_worker;
};

} // namespace support
