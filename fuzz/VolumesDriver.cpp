// Areas of a volume job: loaded, calculated over a small mesh and a few points, saved and loaded again.

#include "Driver.h"
#include "VolumesSeeds.h"

#include "Bytes.h"
#include "PtCloud_DataSetFile.h"
#include "VolumeCalcAreaList.h"
#include "VolumeFile.h"

#include <algorithm>
#include <cmath>

using fuzz::check;
using ptCloud::VolumeCalcArea;
using ptCloud::VolumeCalcAreaList;

namespace
{

// What a host would calculate while its user waits. More is refused by the library only far above this.
constexpr int mostAreas = 8;
constexpr int mostCorners = 256;
constexpr double mostCells = 10000;

using Areas = QMap<QString, const VolumeCalcArea *>;

bool isSmall(const VolumeCalcArea &area)
{
    if (area.boundary.isEmpty() || area.boundary.size() > mostCorners)
        return area.boundary.isEmpty();
    double cells = 1;
    for (int axis = 0; axis < 2; ++axis) {
        const auto isLess = [axis](const ptCloud::pcVec3f &a, const ptCloud::pcVec3f &b) { return a[axis] < b[axis]; };
        const auto range = std::minmax_element(area.boundary.cbegin(), area.boundary.cend(), isLess);
        const double extent = static_cast<double>((*range.second)[axis]) - static_cast<double>((*range.first)[axis]);
        cells *= 1 + std::abs(extent / std::max(static_cast<double>(area.gridSize), 0.01));
    }
    return !(cells > mostCells);
}

bool areSmall(const Areas &areas)
{
    return areas.size() <= mostAreas
           && std::all_of(areas.cbegin(), areas.cend(), [](const VolumeCalcArea *area) { return isSmall(*area); });
}

Areas areasOf(const VolumeCalcAreaList &list)
{
    Areas areas;
    list.getAreas(areas);
    return areas;
}

void checkResults(const VolumeCalcAreaList &list)
{
    for (const VolumeCalcArea *area : areasOf(list)) {
        check(area->dtmCalculated || area->prisms.isEmpty(), "prisms are there with a result alone");
        check(area->gridCalculated || area->quadPrisms.isEmpty(), "quad prisms are there with a result alone");
        // Over a ground that is not a number a cell's volume is none either.
        for (const double volume : {area->getDigVolume_dtm(), area->getFillVolume_dtm(), area->getDigVolume_grid(),
                                    area->getFillVolume_grid()})
            check(!(volume < 0), "a volume is not below 0");
    }
}

void calculate(VolumeCalcAreaList &list)
{
    // Opened once: they are the same for every input.
    static ptCloud::PtCloud_DataSetFile mesh;
    static ptCloud::PtCloud_DataSetFile points;
    if (!mesh.isOpened()) {
        mesh.setFile(fuzz::scratchFile(QStringLiteral("mesh"), fuzz::volumesMesh()));
        points.setFile(fuzz::scratchFile(QStringLiteral("points"), fuzz::volumesPoints()));
        check(mesh.openFile() && points.openFile(), "mesh and points are sound");
    }
    list.setDTMFile(&mesh);
    list.setGridFile(&points);
    check(list.doCalc(ptCloud::VolumeCalc_DTM), "a mesh that is there is calculated from");
    check(list.doCalc(ptCloud::VolumeCalc_GRID), "points that are there are calculated from");
    check(mesh.isOpened() && points.isOpened(), "sources that were open stay so");
    checkResults(list);
}

QByteArray save(const VolumeCalcAreaList &list, const QString &name)
{
    list.setFile(QDir(fuzz::scratchDirectory()), name);
    check(list.saveToFile(), "what was loaded can be saved");
    return support::readFile(fuzz::scratchDirectory() + QLatin1Char('/') + name);
}

/// A load of what was saved yields what is saved as the same bytes.
void checkSave(const VolumeCalcAreaList &list)
{
    const QByteArray saved = save(list, QStringLiteral("saved.volume"));
    const auto plain = support::VolumeFile::read(saved);
    check(plain.ok && !plain.pastTheEnd && plain.bytesLeft == 0, "a saved file is whole");
    check(plain.areas.size() == static_cast<std::size_t>(areasOf(list).size()), "and holds all areas");

    VolumeCalcAreaList again;
    again.setFile(QDir(fuzz::scratchDirectory()), QStringLiteral("saved.volume"));
    check(again.loadFromFile(), "what was saved can be loaded");
    check(save(again, QStringLiteral("again.volume")) == saved, "a save and a load change nothing");
}

bool run(const QByteArray &input)
{
    const QString path = fuzz::scratchFile(QStringLiteral("earth.volume"), input);
    VolumeCalcAreaList list;
    list.setFile(QDir(fuzz::scratchDirectory()), QStringLiteral("earth.volume"));
    const bool isLoaded = list.loadFromFile();
    check(isLoaded || list.isEmpty(), "a refused file leaves no area");
    if (isLoaded && areSmall(areasOf(list))) {
        checkSave(list);
        calculate(list);
        checkSave(list);
    }
    check(support::readFile(path) == input, "reading leaves the file as it is");
    return isLoaded;
}

const fuzz::Driver driver("Volumes", run, fuzz::volumesSeeds);

} // namespace
