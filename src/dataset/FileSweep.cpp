#include "FileSweep.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace ptCloud
{

void removeOtherFiles(const QDir &directory, const QStringList &keep)
{
    const QFileInfoList entries = directory.entryInfoList({QStringLiteral("*"), QStringLiteral("*.*")},
                                                          QDir::Files | QDir::NoDotAndDotDot, QDir::Unsorted);
    // Nearly all stand there letter for letter: only for the others every name has to be looked at.
    QStringList sorted = keep;
    std::sort(sorted.begin(), sorted.end());
    for (const QFileInfo &entry : entries) {
        const QString name = entry.fileName();
        if (!std::binary_search(sorted.cbegin(), sorted.cend(), name) && !keep.contains(name, Qt::CaseInsensitive))
            QFile::remove(entry.absoluteFilePath());
    }
}

} // namespace ptCloud
