// Reads the areas of a GeoJSON file.

#include "AreasFile.h"
#include "CommandError.h"
#include "Driver.h"

#include "Bytes.h"

#include "VolumeCalcAreaList.h"

#include <QDir>

#include <cmath>

using fuzz::check;
using ptCloud::VolumeCalcArea;
using ptCloud::VolumeCalcAreaList;

namespace
{

bool reads(const QString &path, VolumeCalcAreaList &list)
{
    try {
        readAreas(path, list);
        return true;
    } catch (const CommandError &error) {
        check(error.text().contains(path), "a refusal does not name the file");
        check(!error.text().contains(QLatin1Char('\n')), "a refusal is more than one line");
        return false;
    }
}

/// The bytes of the file that keeps the areas.
QByteArray stored(const VolumeCalcAreaList &list, const QString &name)
{
    list.setFile(QDir(fuzz::scratchDirectory()), name);
    check(list.saveToFile(), "areas can't be saved");
    return support::readFile(fuzz::scratchDirectory() + QLatin1Char('/') + name);
}

void checkNumbers(const VolumeCalcAreaList &list)
{
    QMap<QString, const VolumeCalcArea *> areas;
    list.getAreas(areas);
    check(!areas.isEmpty(), "a file without an area was taken");
    for (const VolumeCalcArea *const area : qAsConst(areas)) {
        bool isFinite = std::isfinite(area->groundHeight) && std::isfinite(area->maxHeight)
                        && std::isfinite(area->gridSize) && std::isfinite(area->getGroundHeightBoundaryAvg());
        for (const ptCloud::pcVec3f &corner : area->boundary)
            isFinite = isFinite && std::isfinite(corner.x()) && std::isfinite(corner.y()) && std::isfinite(corner.z());
        check(isFinite, "an area has a number that is none");
    }
}

bool run(const QByteArray &input)
{
    const QString path = fuzz::scratchFile(QStringLiteral("areas.geojson"), input);
    VolumeCalcAreaList list;
    const bool isTaken = reads(path, list);
    VolumeCalcAreaList again;
    check(reads(path, again) == isTaken, "a file is taken once and refused once");
    check(support::readFile(path) == input, "reading changed the file");
    if (!isTaken)
        return false;
    checkNumbers(list);
    const QString name = QStringLiteral("areas.volume");
    const QByteArray bytes = stored(list, name);
    check(stored(again, name) == bytes, "a file read twice gives two lists");
    check(again.loadFromFile() && stored(again, name) == bytes, "areas that were saved load as others");
    return true;
}

const char one[] = R"({"type":"Feature","properties":{"name":"pit","ground_height":"average","max_height":500,)"
                   R"("grid_size":0.5},"geometry":{"type":"Polygon","coordinates":[[[0,0,1],[10,0,2],[10,10,3],)"
                   R"([0,0,1]]]}})";
const char many[] = R"({"type":"FeatureCollection","features":[{"type":"Feature","properties":{"name":"\u00e4 b",)"
                    R"("ground_height":-1.5e2},"geometry":{"type":"Polygon","coordinates":[[[500000.25,4600000.5],)"
                    R"([500010,4600000],[500010,4600010]]]}},{"type":"Feature","properties":{"name":"empty",)"
                    R"("ground_height":3},"geometry":{"type":"Polygon","coordinates":[[]]}}]})";

std::vector<fuzz::Seed> seeds()
{
    return {{"one", one}, {"many", many}};
}

const fuzz::Driver driver("AreasFile", run, seeds);

} // namespace

// Qt's own reader of JSON loses some of what it has read of a broken file. Its calls alone can't be told: they keep no
// frame pointers.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions(); // NOLINT
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions()  // NOLINT
{
    return "leak:libQt5Core.so\n";
}
