#include "StrayFiles.h"

#include "Console.h"
#include "LibraryLog.h"

#include "PtCloud_DataSetFile.h"

#include <algorithm>

using namespace ptCloud;

namespace
{

/// Names that are listed in an error line before it only counts.
constexpr int mostNamesTold = 5;

bool isFixedName(const QString &name)
{
    const char *const names[] = {"Points",      "dem.demmesh",  "dem.height.png",
                                 "dem.contour", "dem.classify", "earth.volume"};
    return std::any_of(std::begin(names), std::end(names), [&name](const char *fixed) {
        return QString::compare(name, QLatin1String(fixed), Qt::CaseInsensitive) == 0;
    });
}

bool isSoundProduct(const QFileInfo &entry)
{
    const char *const suffixes[] = {".mesh", ".split", ".cut"};
    const bool isProduct = std::any_of(std::begin(suffixes), std::end(suffixes), [&entry](const char *suffix) {
        return entry.fileName().endsWith(QLatin1String(suffix), Qt::CaseInsensitive);
    });
    PtCloud_DataSetFile file;
    return isProduct && file.setFile(entry.absoluteFilePath()) && file.openFile();
}

} // namespace

QStringList strayFilesOfDataSet(const QDir &directory)
{
    const LibraryLog silence;
    QStringList strays;
    const QFileInfoList entries = directory.entryInfoList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo &entry : entries) {
        if (!isFixedName(entry.fileName()) && !isSoundProduct(entry))
            strays << entry.fileName();
    }
    return strays;
}

void refuseToSweep(const QDir &directory, const QStringList &strays, bool sweep)
{
    if (sweep || strays.isEmpty())
        return;
    QString names = QStringList(strays.mid(0, mostNamesTold)).join(QStringLiteral(", "));
    if (strays.size() > mostNamesTold)
        names += QStringLiteral(" and %1 more").arg(strays.size() - mostNamesTold);
    throw CommandError(QStringLiteral("opening %1 would delete files that have no part in it: %2; move them away, or "
                                      "give --sweep to have them deleted")
                           .arg(quoted(directory.path()), names));
}
