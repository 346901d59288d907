#include "OutputFile.h"

#include "Console.h"
#include "FileFacts.h"

#include <QSaveFile>

#include <filesystem>
#include <system_error>

namespace
{

template <typename Write>
void writeWhole(const QString &path, Write write)
{
    QSaveFile file(path);
    // What fails while the last bytes are flushed goes unnoticed in a commit.
    if (!file.open(QIODevice::WriteOnly) || !write(file) || !file.flush() || !file.commit())
        throw CommandError(QStringLiteral("%1 can't be written: %2").arg(quoted(path), file.errorString()));
}

} // namespace

void writePicture(const QString &path, const QImage &image)
{
    writeWhole(path, [&image](QSaveFile &file) { return image.save(&file, "PNG"); });
}

void writeText(const QString &path, const QByteArray &text)
{
    writeWhole(path, [&text](QSaveFile &file) { return file.write(text) == text.size(); });
}

bool moveFile(const QString &from, const QString &to)
{
    std::error_code error;
    std::filesystem::rename(std::filesystem::u8path(from.toStdString()), std::filesystem::u8path(to.toStdString()),
                            error);
    return !error;
}

void refuseSource(const QString &path, const QStringList &sources)
{
    const QString target = realPath(path);
    for (const QString &source : sources) {
        if (!target.isEmpty() && realPath(source) == target) {
            throw CommandError(QStringLiteral("%1 is one of the files to read and would be overwritten; name another "
                                              "target")
                                   .arg(quoted(path)));
        }
    }
}
