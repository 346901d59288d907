#pragma once

#include "ControllerTesting.h"
#include "DataSetDirectory.h"

#include "AppConfig.h"
#include "ILongLiveActionProgress.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QSharedMemory>
#include <QSystemSemaphore>

#include <functional>
#include <memory>

/// Lets failed comparisons show texts as such.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << qPrintable(text) << '"';
}

namespace support
{

inline QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

/// Puts an environment variable back when it goes.
class EnvironmentVariable
{
public:
    EnvironmentVariable(const char *name, const QByteArray &value)
        : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_before(qgetenv(name))
    {
        qputenv(name, value);
    }
    ~EnvironmentVariable()
    {
        if (m_wasSet)
            qputenv(m_name, m_before);
        else
            qunsetenv(m_name);
    }
    EnvironmentVariable(const EnvironmentVariable &) = delete;
    EnvironmentVariable &operator=(const EnvironmentVariable &) = delete;

private:
    const char *m_name;
    bool m_wasSet;
    QByteArray m_before;
};

/// Enters every call into a list.
class RecordedProgress : public ptCloud::ILongLiveActionProgress
{
public:
    explicit RecordedProgress(QStringList &calls) : m_calls(calls) {}

    bool isCancelRequested() override
    {
        m_calls << QStringLiteral("cancel?");
        ++m_passes;
        return m_wantsCancel && m_wantsCancel();
    }
    void setProgressValue(int value) override
    {
        m_calls << QStringLiteral("value %1").arg(value);
        m_value = value;
    }
    void setProgressText(const QString &text) override
    {
        m_calls << QStringLiteral("text ") + text;
        m_text = text;
        if (m_onText)
            m_onText();
    }
    void setTitle(const QString &) override { m_calls << QStringLiteral("never"); }
    void setRange(int, int) override { m_calls << QStringLiteral("never"); }
    void finish() override { m_calls << QStringLiteral("never"); }

    std::function<bool()> m_wantsCancel; ///< null: never
    std::function<void()> m_onText;      ///< called at the end of each pass
    int m_passes = 0;
    int m_value = -1;
    QString m_text;

private:
    QStringList &m_calls;
};

/// The data set `site` in a project, an application with a home and a program directory of its own, the scripted worker
/// in the latter, and one list of all that is told to the host: progress, log lines and signals.
class FunctionRunTest : public ControllerTest
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        for (const char *directory : {"home", "bin", "script", "tmp"})
            ASSERT_TRUE(QDir().mkpath(path(directory)));
        // Keys of shared memory and locks stand for files there: a host that runs beside this one is given the same.
        const QByteArray keys = qgetenv(keysVariable);
        m_environment.push_back(
            std::make_unique<EnvironmentVariable>("TMPDIR", keys.isEmpty() ? QFile::encodeName(path("tmp")) : keys));
        m_environment.push_back(
            std::make_unique<EnvironmentVariable>("SCRIPTED_WORKER", path("script/script").toLocal8Bit()));
        AppConfig::getInstance().setHomeDir(path("home"));
        AppConfig::getInstance().setBinDir(QStringLiteral(SCRIPTED_WORKER_DIR));
        AppConfig::getInstance().module_logLib().setSink(
            [this](const QString &category, const QString &text, ELogType type, bool flag) {
                m_calls << QStringLiteral("log %1 %2 %3: %4")
                               .arg(category)
                               .arg(static_cast<int>(type))
                               .arg(flag ? QStringLiteral("true") : QStringLiteral("false"), text);
            });
        openProject(QStringLiteral("project"));
    }
    void TearDown() override
    {
        EXPECT_EQ(m_signals, QStringList()) << "a run emits nothing";
        m_controller.reset();
        AppConfig::getInstance().module_logLib().setSink({});
        AppConfig::getInstance().setHomeDir(QString());
        AppConfig::getInstance().setBinDir(QString());
        removeBlock();
    }

    /// Gives back what a process that was killed has left of the block and its lock.
    static void removeBlock()
    {
        const QString key = text("open3d_wrapper_shared_memory");
        QSharedMemory block(key);
        if (block.attach())
            block.detach();
        // Whoever creates it owns it, and removes it.
        QSystemSemaphore(key, 1, QSystemSemaphore::Create);
    }

    void openProject(const QString &directory)
    {
        m_project = path(directory);
        makeDirectory(m_project + QStringLiteral("/site"), {{QStringLiteral("Points"), pointsBytes(7)}});
        m_controller.setDir(m_project);
        m_controller.setFiles({}, {{QStringLiteral("site"), QStringLiteral("site")}}, {});
        ASSERT_NE(m_controller.getDataSet(QStringLiteral("site")), nullptr);
    }
    /// The application's programs lie there from now on, the scripted worker among them.
    void moveWorkerTo(const QString &directory) const
    {
        ASSERT_TRUE(QDir().mkpath(directory));
        const QStringList workers = QDir(QStringLiteral(SCRIPTED_WORKER_DIR)).entryList(QDir::Files);
        ASSERT_FALSE(workers.isEmpty());
        for (const QString &worker : workers)
            ASSERT_TRUE(
                QFile::copy(QStringLiteral(SCRIPTED_WORKER_DIR "/") + worker, directory + QLatin1Char('/') + worker));
        AppConfig::getInstance().setBinDir(directory);
    }

    /// What the worker is to do, command by command.
    void script(const QStringList &commands) const
    {
        ASSERT_TRUE(writeFile(path("script/script"), commands.join(QLatin1Char('\n')).toUtf8()));
    }
    void script(const char *command) const { script(QStringList(QString::fromUtf8(command))); }
    /// What the worker saved or touched beside the script.
    QByteArray saved(const char *file) const { return readFile(path("script/") + QLatin1String(file)); }
    bool isThere(const char *file) const { return QFileInfo::exists(path("script/") + QLatin1String(file)); }
    /// Lets a worker go on that awaits this file.
    void release(const QString &file) const { ASSERT_TRUE(writeFile(path("script/") + file, {})); }

    ptCloud::stControlParam_DataSet_Do_Mesh parameters(EPtCloud_Function function = Function_mesh_alpha) const
    {
        return {QStringLiteral("site"), path("result"), function, QVariantList({true, 2.5})};
    }
    ptCloud::EEPtCloudActResult run(EPtCloud_Function function = Function_mesh_alpha)
    {
        return m_controller.doCmd_DataSet_Do_Mesh(parameters(function), &m_progress);
    }
    ptCloud::EEPtCloudActResult runWithoutProgress()
    {
        return m_controller.doCmd_DataSet_Do_Mesh(parameters(), nullptr);
    }
    /// From now on cancellation is asked for as soon as the worker has made the file.
    void cancelOnceThere(const char *file)
    {
        m_progress.m_wantsCancel = [this, file] { return isThere(file); };
    }

    QString settingsPath() const { return path("home/o3d_config.ini"); }
    QVariant setting(const char *key) const
    {
        return QSettings(settingsPath(), QSettings::IniFormat).value(QStringLiteral("section/") + QLatin1String(key));
    }

    /// The log lines, as "type text"; each has the library's category and the flag.
    QStringList logLines() const
    {
        QStringList lines;
        const QString start = QStringLiteral("log points_cloud_log ");
        for (const QString &call : m_calls) {
            if (call.startsWith(QLatin1String("log "))) {
                EXPECT_TRUE(call.startsWith(start)) << qPrintable(call);
                EXPECT_TRUE(call.mid(start.size() + 1).startsWith(QLatin1String(" true: "))) << qPrintable(call);
                lines << call.mid(start.size(), 1) + call.mid(start.size() + 7);
            }
        }
        return lines;
    }
    /// What the host was shown, as "value text", without repetitions. Expects whole passes in their order.
    QStringList shown() const
    {
        QStringList images;
        QString value;
        QString last = QStringLiteral("text ");
        for (const QString &call : m_calls) {
            if (call.startsWith(QLatin1String("log ")))
                continue;
            if (call == QLatin1String("cancel?")) {
                EXPECT_TRUE(last.startsWith(QLatin1String("text ")));
            } else if (call.startsWith(QLatin1String("value "))) {
                EXPECT_EQ(last, QStringLiteral("cancel?"));
                value = call.mid(6);
            } else {
                EXPECT_TRUE(call.startsWith(QLatin1String("text "))) << qPrintable(call);
                EXPECT_TRUE(last.startsWith(QLatin1String("value ")));
                const QString image = value + QLatin1Char(' ') + call.mid(5);
                if (images.isEmpty() || images.last() != image)
                    images << image;
            }
            last = call;
        }
        return images;
    }

    static constexpr const char *keysVariable = "FUNCTION_RUN_KEYS";

    QString m_project;
    QStringList m_calls;
    RecordedProgress m_progress{m_calls};

private:
    std::vector<std::unique_ptr<EnvironmentVariable>> m_environment;
};

} // namespace support
