#pragma once

#include "../control/KernelObjects.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QStringList>

#include <malloc.h>

namespace soak
{

/// What this process holds of the machine, at one moment.
struct Holdings
{
    int files = support::openFiles();
    int threads = support::threads();
    bool children = support::hasChildren();
    QSet<int> blocks = support::sharedObjects("shm");
    QSet<int> semaphores = support::sharedObjects("sem");
    /// Blocks and locks of Qt that have a name, where it was built to make such: those of other programs come and go.
    QStringList named = QDir(QStringLiteral("/dev/shm")).entryList({QStringLiteral("*qipc*open3d*")}, QDir::Files);
    qint64 heap = heapInUse();         ///< bytes that were asked for and not given back
    qint64 resident = residentBytes(); ///< what the system counts, holes in the heap too

private:
    static qint64 heapInUse()
    {
        const struct mallinfo2 info = ::mallinfo2();
        return static_cast<qint64>(info.uordblks + info.hblkhd);
    }
    static qint64 residentBytes()
    {
        // Pages that the heap only keeps for later depend on the order of all that came before.
        ::malloc_trim(0);
        QFile file(QStringLiteral("/proc/self/statm"));
        return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() * ::getpagesize() : 0;
    }
};

} // namespace soak
