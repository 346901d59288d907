#include "System.h"

#include <QDir>
#include <QFileInfo>
#include <QSharedMemory>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <limits>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ptCloud::platform
{

namespace
{

constexpr char workerName[] = "open3d_wrapper";
constexpr char debugWorkerName[] = "open3d_wrapper_d";
constexpr int workerExitTimeoutMs = 1000;

/// The base name of the program file that process `pid` runs; empty where it has none (ended, or a kernel thread).
QByteArray programName(pid_t pid)
{
    char target[4096];
    const QByteArray link = "/proc/" + QByteArray::number(static_cast<qlonglong>(pid)) + "/exe";
    const ssize_t length = ::readlink(link.constData(), target, sizeof target);
    if (length <= 0)
        return {};
    QByteArray path(target, static_cast<int>(length));
    // The kernel marks a program whose file was replaced or removed while it runs.
    const QByteArray mark(" (deleted)");
    if (path.endsWith(mark))
        path.chop(mark.size());
    return path.mid(path.lastIndexOf('/') + 1);
}

bool isWorker(pid_t pid)
{
    const QByteArray name = programName(pid);
    return name == workerName || name == debugWorkerName;
}

/// Whether nothing of a process is left but what its parent has to collect: no thread, no memory, no open file. The
/// link to its program goes earlier, while its memory is still mapped.
bool hasEnded(pid_t pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return true;
    // pid (name) state ..., the 20th field is the number of threads; the name may hold anything.
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    return fields.size() < 18 || ((fields[0] == "Z" || fields[0] == "X") && fields[17].toInt() <= 1);
}

bool isOurs(pid_t pid)
{
    struct stat info = {};
    const QByteArray path = "/proc/" + QByteArray::number(static_cast<qlonglong>(pid));
    return ::stat(path.constData(), &info) == 0 && info.st_uid == ::geteuid();
}

std::vector<pid_t> findWorkers()
{
    std::vector<pid_t> workers;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        bool isNumber = false;
        const pid_t pid = entry.toInt(&isNumber);
        if (isNumber && pid != ::getpid() && isOurs(pid) && isWorker(pid))
            workers.push_back(pid);
    }
    return workers;
}

/// As `QFile::resize`, which gives up where a signal comes in between.
bool resize(QFile &file, qint64 size)
{
    bool isDone = false;
    do {
        errno = 0;
        isDone = file.resize(size);
    } while (!isDone && errno == EINTR);
    return isDone;
}

/// The number behind `name` in a file of lines such as "name 123 kB", in bytes; 0 where there is none.
quint64 kilobytesIn(const char *path, const QByteArray &name)
{
    QFile file(QString::fromLatin1(path));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name))
            return line.mid(name.size()).simplified().split(' ').first().toULongLong() * 1024;
    }
    return 0;
}

} // namespace

QString workerFileName()
{
    return QLatin1String(workerName);
}

void stopWorkers()
{
    const std::vector<pid_t> workers = findWorkers();
    for (const pid_t pid : workers)
        ::kill(pid, SIGKILL);

    // A child that nobody has collected yet has ended all the same, and does not hold us up.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(workerExitTimeoutMs);
    for (const pid_t pid : workers) {
        while (!hasEnded(pid) && std::chrono::steady_clock::now() < deadline)
            QThread::msleep(1);
    }
}

void releaseStaleSharedMemory(const QString &key)
{
    // The last process that detaches removes the block; one that crashed never detached.
    QSharedMemory block(key);
    if (block.attach())
        block.detach();
}

bool reserveFileSpace(QFile &file, qint64 size)
{
    const qint64 sizeBefore = file.size();
    if (size < 0 || !resize(file, size))
        return false;
    int error = 0;
    if (size > 0) {
        do {
            error = ::posix_fallocate(file.handle(), 0, size);
        } while (error == EINTR);
    }
    if (error == 0)
        return true;
    resize(file, sizeBefore);
    return false;
}

bool isPlainName(const QString &name)
{
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..")
           && !name.contains(QLatin1Char('/')) && !name.contains(QChar(QChar::Null))
           && !name.startsWith(QLatin1Char(':'));
}

bool isSameFile(const QString &a, const QString &b)
{
    struct stat first = {};
    struct stat second = {};
    return ::stat(QFile::encodeName(a).constData(), &first) == 0
           && ::stat(QFile::encodeName(b).constData(), &second) == 0 && first.st_dev == second.st_dev
           && first.st_ino == second.st_ino;
}

bool replaceFile(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

quint64 availableMemory()
{
    quint64 available = kilobytesIn("/proc/meminfo", "MemAvailable:");
    if (available == 0)
        available = std::numeric_limits<quint64>::max();
    rlimit limit = {};
    if (::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        const quint64 used = kilobytesIn("/proc/self/status", "VmSize:");
        available = std::min<quint64>(available, limit.rlim_cur > used ? limit.rlim_cur - used : 0);
    }
    return available;
}

quint32 tickCount()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<quint32>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

} // namespace ptCloud::platform
