#include "FileFacts.h"

#include "CommandError.h"

#include <QFileInfo>

#include <filesystem>
#include <system_error>

namespace
{

/// What `ask` says of the path.
template <typename Ask>
auto answer(const QString &path, Ask ask)
{
    std::error_code error;
    const auto said = ask(std::filesystem::u8path(path.toStdString()), error);
    if (error)
        throw CommandError(
            QStringLiteral("%1 can't be looked at: %2").arg(quoted(path), QString::fromStdString(error.message())));
    return said;
}

} // namespace

bool isThere(const QString &path)
{
    return answer(path, [](const std::filesystem::path &file, std::error_code &error) {
        return std::filesystem::exists(file, error);
    });
}

QString realPath(const QString &path)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    if (real.isEmpty() && isThere(path))
        throw CommandError(QStringLiteral("%1 can't be looked at").arg(quoted(path)));
    return real;
}

qint64 sizeOfFile(const QString &path)
{
    return static_cast<qint64>(answer(path, [](const std::filesystem::path &file, std::error_code &error) {
        return std::filesystem::file_size(file, error);
    }));
}
