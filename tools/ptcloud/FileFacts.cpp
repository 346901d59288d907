#include "FileFacts.h"

#include "CommandError.h"

#include <QFileInfo>

#include <filesystem>
#include <system_error>

namespace
{

std::filesystem::path toPath(const QString &path)
{
    return std::filesystem::u8path(path.toStdString());
}

void check(const std::error_code &error, const QString &path)
{
    if (error)
        throw CommandError(
            QStringLiteral("%1 can't be looked at: %2").arg(quoted(path), QString::fromStdString(error.message())));
}

} // namespace

bool isThere(const QString &path)
{
    std::error_code error;
    const bool is = std::filesystem::exists(toPath(path), error);
    check(error, path);
    return is;
}

QString realPath(const QString &path)
{
    QString real = QFileInfo(path).canonicalFilePath();
    if (real.isEmpty() && isThere(path))
        throw CommandError(QStringLiteral("%1 can't be looked at").arg(quoted(path)));
    return real;
}

QStringList filesIn(const QString &directory, bool withHidden)
{
    QStringList names;
    std::error_code error;
    std::filesystem::directory_iterator entry(toPath(directory), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const QString name = QString::fromStdString(entry->path().filename().u8string());
        const std::filesystem::file_status status = entry->status(error);
        // A link to nothing.
        if (status.type() == std::filesystem::file_type::not_found)
            error.clear();
        check(error, directory + QLatin1Char('/') + name);
        const bool isWanted = withHidden || !name.startsWith(QLatin1Char('.'));
        if (isWanted && status.type() == std::filesystem::file_type::regular)
            names << name;
    }
    check(error, directory);
    names.sort();
    return names;
}

qint64 sizeOfFile(const QString &path)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(toPath(path), error);
    check(error, path);
    return static_cast<qint64>(size);
}
