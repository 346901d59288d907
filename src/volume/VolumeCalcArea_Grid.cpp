#include "VolumeCalcArea.h"

#include "HeightGrid.h"
#include "IDataSetReader.h"

#include <QMap>

#include <new>
#include <vector>

namespace ptCloud
{

namespace
{

constexpr double smallestGridSize = 0.01;
constexpr int fewestCorners = 3;

using Blocks = QMap<int, std::tuple<unsigned int, pcBoundingBoxf>>;

/// The blocks whose rectangle meets the polygon, in ascending order.
std::vector<int> blocksNear(const QPolygonF &area, const Blocks &blocks)
{
    std::vector<int> keys;
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        const pcBoundingBoxf &box = std::get<1>(*it);
        const QPointF low(box.xMin(), box.yMin());
        const QPointF high(box.xMax(), box.yMax());
        const QPolygonF rectangle({low, {high.x(), low.y()}, high, {low.x(), high.y()}, low});
        if (rectangle.intersects(area))
            keys.push_back(it.key());
    }
    return keys;
}

void raiseByPoints(HeightGrid &grid, const stPtCloud_PointArray *block, float maxHeight)
{
    if (block == nullptr || block->m_position == nullptr)
        return;
    for (unsigned int i = 0; i < block->m_pointCount; ++i) {
        const pcVec3f &point = block->m_position[i];
        if (!(point.z() >= maxHeight))
            grid.raise(point.x(), point.y(), point.z());
    }
}

} // namespace

bool VolumeCalcArea::calcGRID(IDataSetReader *reader)
{
    gridCalculated = false;
    quadPrisms.clear();
    try {
        gridCalculated = collectQuadPrisms(reader);
    } catch (const std::bad_alloc &) {
    }
    if (!gridCalculated)
        quadPrisms.clear();
    return gridCalculated;
}

bool VolumeCalcArea::collectQuadPrisms(IDataSetReader *reader)
{
    if (static_cast<double>(gridSize) < smallestGridSize)
        return false;
    const float ground = groundHeightInUse();
    if (ground >= maxHeight || boundary.size() < fewestCorners)
        return false;
    const AreaPolygon area(boundary);
    HeightGrid grid;
    if (!area.isFinite() || !grid.layOut(area, gridSize))
        return false;

    Blocks blocks;
    reader->getBlocks(blocks);
    for (const int key : blocksNear(area.polygon(), blocks))
        raiseByPoints(grid, reader->readBlock(key), maxHeight);
    grid.fillHoles();

    quadPrisms.reserve(static_cast<int>(grid.size()));
    grid.forEachCell([this, ground](float xMin, float xMax, float yMin, float yMax, float height) {
        if (height == ground)
            return;
        stQuadPrism prism;
        prism.xMin = xMin;
        prism.xMax = xMax;
        prism.yMin = yMin;
        prism.yMax = yMax;
        prism.groundZ = ground;
        prism.topZ = height;
        prism.calcVolume();
        quadPrisms.append(prism);
    });
    return true;
}

} // namespace ptCloud
