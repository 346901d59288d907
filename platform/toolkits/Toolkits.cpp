#include "Toolkits.h"

#include <QDir>
#include <QFileInfo>

namespace tk
{

namespace
{

bool isInside(const QString &dir, const QString &ancestor)
{
    return dir == ancestor || dir.startsWith(ancestor + QLatin1Char('/'));
}

bool copyFile(const QString &from, const QString &to, bool overwrite)
{
    // Reading a pipe or a device would wait for ever.
    if (!QFileInfo(from).isFile())
        return false;
    const QFileInfo target(to);
    if (overwrite && (target.isFile() || target.isSymLink()) && !QFile::remove(to))
        return false;
    return QFile::copy(from, to);
}

bool copyTree(const QDir &from, const QDir &to, bool overwrite)
{
    if (!to.mkpath(QStringLiteral(".")))
        return false;
    const QFileInfoList entries =
        from.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo &entry : entries) {
        const QString target = to.absoluteFilePath(entry.fileName());
        if (entry.isDir()) {
            if (!entry.isSymLink() && !copyTree(QDir(entry.absoluteFilePath()), QDir(target), overwrite))
                return false;
        } else if (!copyFile(entry.absoluteFilePath(), target, overwrite)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool Toolkits::CopyDirectory(const QString &from, const QString &to, bool overwrite)
{
    const QFileInfo source(from);
    if (from.isEmpty() || to.isEmpty() || !source.isDir())
        return false;
    if (!QDir().mkpath(to))
        return false;
    if (isInside(QFileInfo(to).canonicalFilePath(), source.canonicalFilePath()))
        return false;
    return copyTree(QDir(from), QDir(to), overwrite);
}

} // namespace tk
