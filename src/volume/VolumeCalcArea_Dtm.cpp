#include "VolumeCalcArea.h"

#include "IDataSetReader.h"
#include "TriangleFilter.h"

#include <QMap>

#include <new>

namespace ptCloud
{

namespace
{

constexpr int fewestCorners = 3;

/// Triangles that can be taken at their word: there, with a points array to name vertices of.
unsigned int usableTriangles(const stPtCloud_PointArray &block)
{
    return block.m_triangle != nullptr && block.m_position != nullptr ? block.m_triangleCount : 0;
}

stPrism prismOver(const pcVec3f &a, const pcVec3f &b, const pcVec3f &c, float ground)
{
    stPrism prism;
    prism.x1 = a.x();
    prism.y1 = a.y();
    prism.z1 = a.z();
    prism.x2 = b.x();
    prism.y2 = b.y();
    prism.z2 = b.z();
    prism.x3 = c.x();
    prism.y3 = c.y();
    prism.z3 = c.z();
    prism.groundZ = ground;
    prism.calcVolume();
    return prism;
}

} // namespace

bool VolumeCalcArea::calcDTM(IDataSetReader *reader)
{
    dtmCalculated = false;
    prisms.clear();
    try {
        dtmCalculated = collectPrisms(reader);
    } catch (const std::bad_alloc &) {
    }
    if (!dtmCalculated)
        prisms.clear();
    return dtmCalculated;
}

bool VolumeCalcArea::collectPrisms(IDataSetReader *reader)
{
    const float ground = groundHeightInUse();
    if (ground >= maxHeight || boundary.size() < fewestCorners)
        return false;
    const AreaPolygon area(boundary);

    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    reader->getBlocks(blocks);
    if (blocks.size() != 1)
        return false;
    const stPtCloud_PointArray *const block = reader->readBlock(blocks.firstKey());
    if (block == nullptr)
        return false;

    const unsigned int triangles = usableTriangles(*block);
    const TriangleFilter filter(area, triangles);
    for (unsigned int i = 0; i < triangles; ++i) {
        const stTriangle &triangle = block->m_triangle[i];
        // An index behind the points names no vertex.
        if (triangle.a >= block->m_pointCount || triangle.b >= block->m_pointCount || triangle.c >= block->m_pointCount)
            continue;
        const pcVec3f &a = block->m_position[triangle.a];
        const pcVec3f &b = block->m_position[triangle.b];
        const pcVec3f &c = block->m_position[triangle.c];
        if (area.rectangleHolds(a) && area.rectangleHolds(b) && area.rectangleHolds(c) && filter.meets(a, b, c))
            prisms.append(prismOver(a, b, c, ground));
    }
    return true;
}

} // namespace ptCloud
