#include "System.h"

#include <QProcess>
#include <QStringList>

#include <windows.h>

namespace ptCloud::platform
{

void stopWorkers()
{
    for (const char *worker : {"open3d_wrapper_d.exe", "open3d_wrapper.exe"}) {
        const QStringList arguments = {QStringLiteral("-t"), QStringLiteral("-f"), QStringLiteral("/IM"),
                                       QLatin1String(worker)};
        QProcess::startDetached(QStringLiteral("taskkill"), arguments);
    }
}

void releaseStaleSharedMemory(const QString &)
{
    // Windows drops a block with the last process that holds it.
}

bool reserveFileSpace(QFile &file, qint64 size)
{
    return file.resize(size);
}

quint32 tickCount()
{
    return GetTickCount();
}

} // namespace ptCloud::platform
