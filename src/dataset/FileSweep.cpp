#include "FileSweep.h"

#include <QDir>
#include <QFile>

namespace ptCloud
{

void removeOtherFiles(const QDir &directory, const QStringList &keep)
{
    const QFileInfoList entries = directory.entryInfoList({QStringLiteral("*"), QStringLiteral("*.*")},
                                                          QDir::Files | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        if (!keep.contains(entry.fileName(), Qt::CaseInsensitive))
            QFile::remove(entry.absoluteFilePath());
    }
}

} // namespace ptCloud
