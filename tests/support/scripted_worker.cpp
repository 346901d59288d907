// A worker that does as it is told. It takes the settings file as its one argument, as every worker does, attaches to
// the block of shared memory, and plays the script that the environment variable SCRIPTED_WORKER names. One command a
// line; FILE lies beside the script:
//
//     value N             the progress value; text TEXT, bytes HEX, fill C: the message (fill: all of it, without an
//     end) await FILE          waits until the file is there; wait MS; touch FILE lock                takes the block's
//     lock and keeps it; unlock print N             N bytes to each of the two output channels; chatter: without end
//     read                waits for a line of input
//     copy                copies the source file of the settings to the destination
//     write TEXT          writes a text to the destination
//     save-arguments FILE, save-place FILE, save-block FILE: what the worker was started with, where, and what it found
//     exit N              any code; hang, suspend, die (killed in the act), crash
//
// The exit codes of its own: 2 wrong arguments, 3 no settings, 4 no source, 5 no destination, 90 no block, 91 a script
// that makes no sense, 92 nothing came of an `await`.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QSharedMemory>
#include <QTextStream>
#include <QThread>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <functional>
#include <optional>

namespace
{

constexpr int messageSize = 1000;
constexpr int awaitTimeoutMs = 60000;
constexpr int noBlock = 90;
constexpr int badScript = 91;
constexpr int nothingCame = 92;

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

void print(std::FILE *channel, qint64 size)
{
    const QByteArray line(QByteArray(99, '.') + '\n');
    for (qint64 left = size; left > 0; left -= line.size())
        std::fwrite(line.constData(), 1, static_cast<std::size_t>(qMin<qint64>(left, line.size())), channel);
}

class Worker
{
public:
    Worker(const QStringList &arguments, const QString &scriptPath)
        : m_arguments(arguments), m_script(scriptPath), m_settings(arguments[1], QSettings::IniFormat)
    {}

    int play()
    {
        if (!m_settings.contains(QStringLiteral("section/function")))
            return 3;
        QFile script(m_script);
        if (!script.open(QIODevice::ReadOnly))
            return badScript;
        if (!m_block.attach())
            return noBlock;
        while (!script.atEnd()) {
            const QString line = QString::fromUtf8(script.readLine()).remove(QLatin1Char('\n'));
            const std::optional<int> exitCode =
                obey(line.section(QLatin1Char(' '), 0, 0), line.section(QLatin1Char(' '), 1));
            if (exitCode.has_value())
                return *exitCode;
        }
        return 0;
    }

private:
    /// Obeys one command. What it gives ends the worker.
    std::optional<int> obey(const QString &command, const QString &rest)
    {
        if (command == QLatin1String("exit"))
            return rest.toInt();
        if (command == QLatin1String("await"))
            return await(rest);
        if (command == QLatin1String("copy"))
            return copy();
        if (command == QLatin1String("write"))
            return writeFile(setting("dest_filepath"), rest.toUtf8()) ? std::nullopt : std::optional<int>(5);
        return show(command, rest) || save(command, rest) || misbehave(command, rest) ? std::nullopt
                                                                                      : std::optional<int>(badScript);
    }

    bool show(const QString &command, const QString &rest)
    {
        if (command == QLatin1String("value"))
            change([&](char *block) { *block = static_cast<char>(rest.toUInt()); });
        else if (command == QLatin1String("text"))
            showMessage(rest.toUtf8() + '\0');
        else if (command == QLatin1String("bytes"))
            showMessage(QByteArray::fromHex(rest.toLatin1()));
        else if (command == QLatin1String("fill"))
            showMessage(rest.toUtf8().repeated(messageSize).left(messageSize));
        else
            return false;
        return true;
    }

    bool save(const QString &command, const QString &rest)
    {
        if (command == QLatin1String("touch"))
            return writeFile(beside(rest), {});
        if (command == QLatin1String("save-arguments"))
            return writeFile(beside(rest), m_arguments.mid(1).join(QLatin1Char('\n')).toUtf8());
        if (command == QLatin1String("save-place"))
            return writeFile(beside(rest), QDir::currentPath().toUtf8());
        if (command == QLatin1String("save-block"))
            return writeFile(beside(rest), QByteArray(static_cast<const char *>(m_block.constData()), m_block.size()));
        return false;
    }

    bool misbehave(const QString &command, const QString &rest)
    {
        if (command == QLatin1String("wait")) {
            QThread::msleep(rest.toULong());
        } else if (command == QLatin1String("lock")) {
            return m_block.lock();
        } else if (command == QLatin1String("unlock")) {
            return m_block.unlock();
        } else if (command == QLatin1String("print")) {
            print(stdout, rest.toLongLong());
            print(stderr, rest.toLongLong());
        } else if (command == QLatin1String("chatter")) {
            for (;;)
                print(stdout, 1 << 20);
        } else if (command == QLatin1String("read")) {
            QTextStream(stdin).readLine();
        } else if (command == QLatin1String("hang")) {
            QThread::sleep(600);
        } else if (command == QLatin1String("suspend")) {
            std::raise(SIGSTOP);
        } else if (command == QLatin1String("die")) {
            std::raise(SIGKILL);
        } else if (command == QLatin1String("crash")) {
            // Past the handler that a sanitizer may have set.
            std::signal(SIGSEGV, SIG_DFL);
            std::raise(SIGSEGV);
        } else {
            return false;
        }
        return true;
    }

    std::optional<int> await(const QString &name) const
    {
        QElapsedTimer timer;
        timer.start();
        while (!QFileInfo::exists(beside(name))) {
            if (timer.elapsed() > awaitTimeoutMs)
                return nothingCame;
            QThread::msleep(5);
        }
        return {};
    }

    std::optional<int> copy() const
    {
        QFile source(setting("source_filepath"));
        if (!source.open(QIODevice::ReadOnly))
            return 4;
        return writeFile(setting("dest_filepath"), source.readAll()) ? std::nullopt : std::optional<int>(5);
    }

    void change(const std::function<void(char *)> &write)
    {
        m_block.lock();
        write(static_cast<char *>(m_block.data()));
        m_block.unlock();
    }
    void showMessage(const QByteArray &bytes)
    {
        change([&](char *block) { std::memcpy(block + 1, bytes.constData(), static_cast<std::size_t>(bytes.size())); });
    }
    QString setting(const char *key) const
    {
        return m_settings.value(QStringLiteral("section/") + QLatin1String(key)).toString();
    }
    QString beside(const QString &name) const { return QFileInfo(m_script).dir().filePath(name); }

    QStringList m_arguments;
    QString m_script;
    QSettings m_settings;
    QSharedMemory m_block{QStringLiteral("open3d_wrapper_shared_memory")};
};

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (argc != 2)
        return 2;
    return Worker(arguments, QString::fromLocal8Bit(qgetenv("SCRIPTED_WORKER"))).play();
}
