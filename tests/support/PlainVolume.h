#pragma once

#include <QPointF>

#include <array>
#include <vector>

namespace support
{

/// The rules of the two volume calculations, taken literally: every cell is looked at for every point, and Qt is asked
/// about every corner and every triangle. Slow, and the measure of the fast ones. Knows nothing of the library.
namespace plain
{

struct Point
{
    float x;
    float y;
    float z;
};

struct Area
{
    int groundHeightType = 0;
    float groundHeight = 0.0F;
    float maxHeight = 99999.0F;
    float gridSize = 0.1F;
    std::vector<Point> boundary;
};

struct Block
{
    std::array<float, 4> rectangle; ///< min x, min y, max x, max y
    std::vector<Point> points;
};

using Triangle = std::array<unsigned int, 3>;

/// One record of a result, by its inputs alone: what is made of them is arithmetic that has tests of its own.
struct Cell
{
    float xMin;
    float xMax;
    float yMin;
    float yMax;
    float ground;
    float top;
};

struct Prism
{
    Point a;
    Point b;
    Point c;
    float ground;
};

/// False where the calculation refuses the area.
bool calcGrid(const Area &area, const std::vector<Block> &blocks, std::vector<Cell> &cells);
bool calcDtm(const Area &area, const std::vector<Point> &points, const std::vector<Triangle> &triangles,
             std::vector<Prism> &prisms);

} // namespace plain

} // namespace support
