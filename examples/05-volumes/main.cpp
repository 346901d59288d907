// Dig and fill of a square in the middle of a survey, against the ground height of its corners, and what a surveyor has
// to know of the figure. docs/volumes.md tells what it covers.
//
//   05-volumes FILE      FILE: a data set file of points

#include <points_cloud.h>

#include <QDir>

#include <cstdio>

using namespace ptCloud;

namespace
{

/// The box around all blocks.
pcBoundingBoxf boundsOf(const PtCloud_DataSetFile &file)
{
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    pcBoundingBoxf bounds;
    for (const auto &block : qAsConst(blocks))
        bounds.expandBy(std::get<1>(block));
    return bounds;
}

} // namespace

int main(int argc, char **argv)
{
    PtCloud_DataSetFile file;
    if (argc != 2 || !file.setFile(QString::fromLocal8Bit(argv[1])) || !file.openFile()) {
        std::fprintf(stderr, "05-volumes FILE, a sound data set file\n");
        return 2;
    }
    const pcBoundingBoxf bounds = boundsOf(file);
    const pcVec3f center = bounds.center();
    const float half = (bounds.xMax() - bounds.xMin()) / 8;

    VolumeCalcAreaList areas;
    areas.setFile(QDir::temp(), QStringLiteral("earth.volume")); // needed; nothing is written before saveToFile
    areas.setGridFile(&file);
    VolumeCalcArea *pit = areas.addArea(QStringLiteral("pit"));
    pit->gridSize = 0.5F;
    pit->groundHeightType = 1; // a height of our own; 0 would take the mean of the corners' heights
    pit->groundHeight = center.z();
    for (const auto &[dx, dy] :
         {std::pair(-half, -half), std::pair(half, -half), std::pair(half, half), std::pair(-half, half)})
        pit->boundary << pcVec3f(center.x() + dx, center.y() + dy, center.z());

    // True says that the points could be read; whether an area was calculated, its own flag tells.
    if (!areas.doCalc(VolumeCalc_GRID) || !pit->gridCalculated)
        return 1;
    std::printf("%d cells of %.1f x %.1f, dig %.3f, fill %.3f (cubes of the position's unit)\n", pit->quadPrisms.size(),
                static_cast<double>(pit->gridSize), static_cast<double>(pit->gridSize), pit->getDigVolume_grid(),
                pit->getFillVolume_grid());
    file.closeFile();
    return 0;
}
