#include "Toolkits.h"

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

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

/// Whether these are all that is in a directory. A listing of Qt's ends where it can't go on, and does not tell.
bool isWhole(const QFileInfoList &entries, const QDir &directory)
{
    std::error_code error;
    int count = 0;
    // From UTF-8, which any name can be told in: other conversions throw where one is no sound text.
    std::filesystem::directory_iterator it(std::filesystem::u8path(directory.absolutePath().toStdString()), error);
    for (; !error && it != std::filesystem::directory_iterator(); it.increment(error))
        ++count;
    return !error && count == entries.size();
}

bool copyTree(const QDir &from, const QDir &to, bool overwrite)
{
    if (!to.mkpath(QStringLiteral(".")))
        return false;
    const QFileInfoList entries =
        from.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    if (!isWhole(entries, from))
        return false;
    for (const QFileInfo &entry : entries) {
        // Put together by hand: a name with a colon in front is a path of its own to QDir.
        const QString target = to.absolutePath() + QLatin1Char('/') + entry.fileName();
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
