#pragma once

#include <QDir>
#include <QFile>
#include <QSet>
#include <QString>
#include <QThread>

#include <cerrno>
#include <csignal>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

/// What a Linux process holds of the kernel's objects: the things that a run must give back.
namespace support
{

/// The identifiers of all objects of a kind on this machine: "sem" or "shm".
inline QSet<int> sharedObjects(const char *kind)
{
    QSet<int> ids;
    QFile list(QStringLiteral("/proc/sysvipc/") + QLatin1String(kind));
    if (!list.open(QIODevice::ReadOnly))
        return ids;
    const QList<QByteArray> lines = list.readAll().split('\n');
    for (const QByteArray &line : lines.mid(1)) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() > 1)
            ids.insert(fields[1].toInt());
    }
    return ids;
}

/// Those made since `before` that stay: what other programs make at the same time goes after a while.
inline QSet<int> leftObjects(const char *kind, const QSet<int> &before)
{
    QSet<int> left = sharedObjects(kind) - before;
    for (int i = 0; i < 300 && !left.isEmpty(); ++i) {
        QThread::msleep(100);
        left &= sharedObjects(kind);
    }
    return left;
}

/// How many wait for one of these semaphores.
inline int waitersFor(const QSet<int> &semaphores)
{
    int waiters = 0;
    for (const int id : semaphores)
        waiters += qMax(0, ::semctl(id, 0, GETNCNT));
    return waiters;
}

inline bool isGone(pid_t process)
{
    return ::kill(process, 0) != 0 && errno == ESRCH;
}

/// Removes those of these blocks that this process has made.
inline void removeOwn(const QSet<int> &blocks)
{
    for (const int id : blocks) {
        shmid_ds info{};
        if (::shmctl(id, IPC_STAT, &info) == 0 && info.shm_cpid == ::getpid())
            ::shmctl(id, IPC_RMID, nullptr);
    }
}

/// Removes those of these objects that were last in the hands of processes that are gone.
inline void removeOrphans(const QSet<int> &blocks, const QSet<int> &semaphores)
{
    for (const int id : blocks) {
        shmid_ds info{};
        if (::shmctl(id, IPC_STAT, &info) == 0 && info.shm_nattch == 0 && isGone(info.shm_cpid))
            ::shmctl(id, IPC_RMID, nullptr);
    }
    for (const int id : semaphores) {
        if (isGone(::semctl(id, 0, GETPID)))
            ::semctl(id, 0, IPC_RMID);
    }
}

inline int openFiles()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size();
}

inline int threads()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

/// Whether there is a child process, ended ones that nobody has collected among them.
inline bool hasChildren()
{
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

/// The most memory that this process has had, in kilobytes.
inline qint64 peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const int start = text.indexOf("VmHWM:") + 6;
    return text.mid(start, text.indexOf("kB", start) - start).trimmed().toLongLong();
}

} // namespace support
