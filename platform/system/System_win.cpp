#include "System.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <limits>
#include <string>

#define NOMINMAX
#include <windows.h>

namespace ptCloud::platform
{

namespace
{

constexpr char workerName[] = "open3d_wrapper.exe";
constexpr char debugWorkerName[] = "open3d_wrapper_d.exe";

} // namespace

QString workerFileName()
{
    return QLatin1String(workerName);
}

void stopWorkers()
{
    for (const char *worker : {debugWorkerName, workerName}) {
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

bool isPlainName(const QString &name)
{
    if (name.isEmpty() || name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' ')))
        return false;
    const QString forbidden = QStringLiteral("\\/:*?\"<>|");
    const auto isForbidden = [&forbidden](QChar c) { return c.unicode() < 32 || forbidden.contains(c); };
    if (std::any_of(name.cbegin(), name.cend(), isForbidden))
        return false;
    // A device keeps its meaning whatever extension follows.
    static const QRegularExpression device(QStringLiteral("^(CON|PRN|AUX|NUL|COM[0-9]|LPT[0-9])$"),
                                           QRegularExpression::CaseInsensitiveOption);
    return !device.match(name.section(QLatin1Char('.'), 0, 0).trimmed()).hasMatch();
}

bool isSameFile(const QString &a, const QString &b)
{
    const auto identify = [](const QString &path, BY_HANDLE_FILE_INFORMATION &information) {
        const std::wstring name = QDir::toNativeSeparators(path).toStdWString();
        const HANDLE file = CreateFileW(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        const bool isKnown = GetFileInformationByHandle(file, &information) != 0;
        CloseHandle(file);
        return isKnown;
    };
    BY_HANDLE_FILE_INFORMATION first = {};
    BY_HANDLE_FILE_INFORMATION second = {};
    return identify(a, first) && identify(b, second) && first.dwVolumeSerialNumber == second.dwVolumeSerialNumber
           && first.nFileIndexHigh == second.nFileIndexHigh && first.nFileIndexLow == second.nFileIndexLow;
}

bool replaceFile(const QString &from, const QString &to)
{
    const auto name = [](const QString &path) { return QDir::toNativeSeparators(path).toStdWString(); };
    return MoveFileExW(name(from).c_str(), name(to).c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

quint64 availableMemory()
{
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof status;
    if (GlobalMemoryStatusEx(&status) == 0)
        return std::numeric_limits<quint64>::max();
    return std::min<quint64>(status.ullAvailPhys, status.ullAvailVirtual);
}

quint32 tickCount()
{
    return GetTickCount();
}

} // namespace ptCloud::platform
