// Runs commands of the library, each in a process of its own that is forked off when everything is loaded. One request
// a line comes in, a JSON object: `command`, `directory`, and `environment`, which tells the injector what is to fail.
// One line goes out: how the process ended, what the command told, and what was printed on standard error.

#include "Commands.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryFile>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int mostMilliseconds = 60000;

/// Leaves out what the library has to say of its work.
void ignoreDebugLines(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtDebugMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

[[noreturn]] void runCommand(const QJsonObject &request, int results, int errors)
{
    dup2(errors, STDERR_FILENO);
    const QJsonObject environment = request.value(QLatin1String("environment")).toObject();
    for (auto it = environment.constBegin(); it != environment.constEnd(); ++it)
        qputenv(it.key().toLatin1().constData(), it->toString().toUtf8());
    QByteArray told;
    {
        int argc = 1;
        char name[] = "fault_host";
        char *argv[] = {name, nullptr};
        const QCoreApplication application(argc, argv);
        const Command *const command = findCommand(request.value(QLatin1String("command")).toString().toLatin1());
        told =
            command == nullptr ? "no such command" : command->run(request.value(QLatin1String("directory")).toString());
    }
    const bool isTold = write(results, told.constData(), static_cast<std::size_t>(told.size())) == told.size();
    std::exit(isTold ? 0 : 3);
}

/// What comes through the pipe until its other end is closed. False where it takes too long.
bool readAll(int pipe, QByteArray &bytes)
{
    for (;;) {
        pollfd wanted = {pipe, POLLIN, 0};
        const int ready = poll(&wanted, 1, mostMilliseconds);
        char buffer[4096];
        const ssize_t count = ready == 1 ? read(pipe, buffer, sizeof buffer) : 0;
        if (ready == 0)
            return false;
        if (count > 0)
            bytes.append(buffer, static_cast<int>(count));
        else if (ready == 1 && count == 0)
            return true;
    }
}

QByteArray toWords(int status)
{
    if (WIFSIGNALED(status))
        return "signal " + QByteArray::number(WTERMSIG(status));
    return "exit " + QByteArray::number(WEXITSTATUS(status));
}

QJsonObject serve(const QJsonObject &request)
{
    QTemporaryFile errors;
    int ends[2] = {-1, -1};
    if (!errors.open() || pipe2(ends, O_CLOEXEC) != 0)
        return {};
    const pid_t process = fork();
    if (process == 0) {
        close(ends[0]);
        runCommand(request, ends[1], errors.handle());
    }
    close(ends[1]);
    QByteArray told;
    const bool isOver = readAll(ends[0], told);
    close(ends[0]);
    if (!isOver)
        kill(process, SIGKILL);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    errors.seek(0);
    return {{QStringLiteral("end"), QString::fromLatin1(isOver ? toWords(status) : "hung")},
            {QStringLiteral("result"), QString::fromUtf8(told)},
            {QStringLiteral("errors"), QString::fromUtf8(errors.readAll())}};
}

} // namespace

void arm()
{
    static const auto armInjector = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, "fault_injector_arm"));
    if (armInjector != nullptr)
        armInjector();
}

const Command *findCommand(const QByteArray &name)
{
    for (const auto find : {findControllerCommand, findDataSetCommand, findBuilder}) {
        if (const Command *const command = find(name))
            return command;
    }
    return nullptr;
}

int main()
{
    qInstallMessageHandler(ignoreDebugLines);
    for (std::string line; std::getline(std::cin, line);) {
        const QJsonObject reply = serve(QJsonDocument::fromJson(QByteArray::fromStdString(line)).object());
        std::cout << QJsonDocument(reply).toJson(QJsonDocument::Compact).constData() << std::endl;
    }
    return 0;
}
