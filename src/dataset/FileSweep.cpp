#include "FileSweep.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace ptCloud
{

QFileInfoList plainFilesIn(const QDir &directory)
{
    return directory.entryInfoList({QStringLiteral("*"), QStringLiteral("*.*")}, QDir::Files | QDir::NoDotAndDotDot,
                                   QDir::Unsorted);
}

void removeOtherFiles(const QFileInfoList &files, const QStringList &keep)
{
    // Nearly all stand there letter for letter: only for the others every name has to be looked at.
    QStringList sorted = keep;
    std::sort(sorted.begin(), sorted.end());
    for (const QFileInfo &file : files) {
        const QString name = file.fileName();
        if (!std::binary_search(sorted.cbegin(), sorted.cend(), name) && !keep.contains(name, Qt::CaseInsensitive))
            QFile::remove(file.absoluteFilePath());
    }
}

} // namespace ptCloud
