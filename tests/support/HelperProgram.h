#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

namespace support
{

/// The helper program under a name of the test's choice, in a directory of its own. It is killed when the object goes.
class HelperProgram
{
public:
    /// @param name  may hold directories, such as "open3d_wrapper/other"
    explicit HelperProgram(const QString &name) : m_path(m_dir.filePath(name))
    {
        const bool made = QDir().mkpath(QFileInfo(m_path).absolutePath());
        m_isThere = made && QFile::copy(QStringLiteral(HELPER_PROCESS), m_path);
    }
    ~HelperProgram()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    HelperProgram(const HelperProgram &) = delete;
    HelperProgram &operator=(const HelperProgram &) = delete;

    /// Runs it until it says that it is ready.
    bool start(const QStringList &arguments = {QStringLiteral("sleep")})
    {
        if (!m_isThere)
            return false;
        m_process.start(m_path, arguments);
        return m_process.waitForReadyRead() && m_process.readAllStandardOutput().startsWith("ready");
    }
    /// Runs it to its end.
    bool run(const QStringList &arguments)
    {
        m_process.start(m_path, arguments);
        return m_isThere && m_process.waitForFinished();
    }

    /// Whether it was ended by someone, as far as can be told within `milliseconds`.
    bool isKilled(int milliseconds = 10000)
    {
        // Its end may have been noticed already, while events were processed.
        m_process.waitForFinished(milliseconds);
        return m_process.state() == QProcess::NotRunning && m_process.exitStatus() == QProcess::CrashExit;
    }
    bool isRunning()
    {
        m_process.waitForFinished(0);
        return m_process.state() == QProcess::Running;
    }
    const QString &path() const { return m_path; }
    qint64 processId() const { return m_process.processId(); }

private:
    QTemporaryDir m_dir;
    QString m_path;
    QProcess m_process;
    bool m_isThere = false;
};

} // namespace support
