#include "StrayFiles.h"

#include "Console.h"
#include "FileFacts.h"
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

bool isProductName(const QString &name)
{
    const char *const suffixes[] = {".mesh", ".split", ".cut"};
    return std::any_of(std::begin(suffixes), std::end(suffixes), [&name](const char *suffix) {
        return name.endsWith(QLatin1String(suffix), Qt::CaseInsensitive);
    });
}

bool isSoundProduct(const QString &path)
{
    PtCloud_DataSetFile file;
    return isProductName(path) && file.setFile(path) && file.openFile();
}

} // namespace

QStringList strayFilesOfDataSet(const QDir &directory)
{
    const LibraryLog silence;
    QStringList strays;
    for (const QString &name : filesIn(directory.absolutePath())) {
        if (!isFixedName(name) && !isSoundProduct(directory.absolutePath() + QLatin1Char('/') + name))
            strays << name;
    }
    return strays;
}

bool isContentName(const QString &name)
{
    return isFixedName(name) || isProductName(name);
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
