#include "PlainVolume.h"

#include <QPolygonF>

#include <cmath>
#include <map>
#include <optional>

namespace support::plain
{

namespace
{

constexpr float none = -99999.0F;
constexpr std::size_t mostCells = 200000000;

using Key = std::array<float, 4>; // x min, y min, x max, y max
using Cells = std::map<Key, float>;

float groundOf(const Area &area)
{
    if (area.groundHeightType != 0)
        return area.groundHeight;
    if (area.boundary.empty())
        return 0.0F;
    double sum = 0.0;
    for (const Point &corner : area.boundary)
        sum += static_cast<double>(corner.z);
    return static_cast<float>(sum / static_cast<double>(area.boundary.size()));
}

QPolygonF polygonOf(const Area &area)
{
    QPolygonF polygon;
    for (const Point &corner : area.boundary)
        polygon << QPointF(corner.x, corner.y);
    polygon << polygon.first();
    return polygon;
}

struct Rectangle
{
    float xMin = 3.4028235e38F;
    float yMin = 3.4028235e38F;
    float xMax = -3.4028235e38F;
    float yMax = -3.4028235e38F;
};

Rectangle rectangleOf(const Area &area)
{
    Rectangle rectangle;
    for (const Point &corner : area.boundary) {
        if (corner.x < rectangle.xMin)
            rectangle.xMin = corner.x;
        if (corner.y < rectangle.yMin)
            rectangle.yMin = corner.y;
        if (corner.x > rectangle.xMax)
            rectangle.xMax = corner.x;
        if (corner.y > rectangle.yMax)
            rectangle.yMax = corner.y;
    }
    return rectangle;
}

bool meets(const Block &block, const QPolygonF &polygon)
{
    const auto &[xMin, yMin, xMax, yMax] = block.rectangle;
    QPolygonF rectangle;
    rectangle << QPointF(xMin, yMin) << QPointF(xMax, yMin) << QPointF(xMax, yMax) << QPointF(xMin, yMax)
              << QPointF(xMin, yMin);
    return rectangle.intersects(polygon);
}

/// Steps that lead from low up to high; the most that are allowed and one where there are more, nothing where a step
/// stands still: such a loop would never end.
std::optional<std::size_t> countSteps(float low, float high, float step)
{
    std::size_t steps = 0;
    for (float at = low; at < high && steps <= mostCells; at += step) {
        if (at + step == at)
            return std::nullopt;
        ++steps;
    }
    return steps;
}

bool hasFiniteCorners(const Area &area)
{
    for (const Point &corner : area.boundary) {
        if (!std::isfinite(corner.x) || !std::isfinite(corner.y))
            return false;
    }
    return true;
}

/// Whether the cells can be laid out at all.
bool canBeLaidOut(const Area &area)
{
    if (!hasFiniteCorners(area))
        return false;
    const Rectangle bounds = rectangleOf(area);
    const auto columns = countSteps(bounds.xMin, bounds.xMax, area.gridSize);
    if (!columns.has_value())
        return false;
    if (*columns == 0)
        return true;
    const auto rows = countSteps(bounds.yMin, bounds.yMax, area.gridSize);
    return rows.has_value() && *rows * *columns <= mostCells;
}

Cells layOut(const Area &area, const QPolygonF &polygon)
{
    const Rectangle bounds = rectangleOf(area);
    const float s = area.gridSize;
    const auto inside = [&polygon](float x, float y) { return polygon.containsPoint(QPointF(x, y), Qt::OddEvenFill); };
    Cells cells;
    for (float x = bounds.xMin; x < bounds.xMax; x += s) {
        for (float y = bounds.yMin; y < bounds.yMax; y += s) {
            if (inside(x, y) && inside(x + s, y) && inside(x + s, y + s) && inside(x, y + s))
                cells[Key{x, y, x + s, y + s}] = none;
        }
    }
    return cells;
}

void raise(Cells &cells, const Point &point)
{
    for (auto &[key, height] : cells) {
        if (point.x > key[0] && key[2] >= point.x && point.y > key[1] && key[3] >= point.y && point.z > height)
            height = point.z;
    }
}

/// The height of the nearest cell with one along one axis (0: x, 1: y), or `none`.
float search(const Cells &cells, Key key, std::size_t axis, float step)
{
    for (;;) {
        key[axis] += step;
        key[axis + 2] += step;
        const auto found = cells.find(key);
        if (found == cells.end())
            return none;
        if (found->second != none)
            return found->second;
    }
}

void fillHoles(Cells &cells, float s)
{
    for (auto it = cells.begin(); it != cells.end();) {
        if (it->second != none) {
            ++it;
            continue;
        }
        for (const auto &[axis, step] : {std::pair<std::size_t, float>(1, -s), {1, s}, {0, -s}, {0, s}}) {
            it->second = search(cells, it->first, axis, step);
            if (it->second != none)
                break;
        }
        if (it->second != none) {
            ++it;
            continue;
        }
        it = cells.erase(it);
        if (it != cells.end())
            ++it;
    }
}

} // namespace

bool calcGrid(const Area &area, const std::vector<Block> &blocks, std::vector<Cell> &cells)
{
    cells.clear();
    const float ground = groundOf(area);
    if (static_cast<double>(area.gridSize) < 0.01 || ground >= area.maxHeight || area.boundary.size() < 3)
        return false;
    if (!canBeLaidOut(area))
        return false;
    const QPolygonF polygon = polygonOf(area);
    Cells heights = layOut(area, polygon);
    for (const Block &block : blocks) {
        if (!meets(block, polygon))
            continue;
        for (const Point &point : block.points) {
            if (!(point.z >= area.maxHeight))
                raise(heights, point);
        }
    }
    fillHoles(heights, area.gridSize);
    for (const auto &[key, height] : heights) {
        if (height != ground)
            cells.push_back({key[0], key[2], key[1], key[3], ground, height});
    }
    return true;
}

bool calcDtm(const Area &area, const std::vector<Point> &points, const std::vector<Triangle> &triangles,
             std::vector<Prism> &prisms)
{
    prisms.clear();
    const float ground = groundOf(area);
    if (ground >= area.maxHeight || area.boundary.size() < 3)
        return false;
    const QPolygonF polygon = polygonOf(area);
    const Rectangle bounds = rectangleOf(area);
    for (const Triangle &triangle : triangles) {
        if (triangle[0] >= points.size() || triangle[1] >= points.size() || triangle[2] >= points.size())
            continue;
        QPolygonF corners;
        bool inside = true;
        for (const unsigned int index : triangle) {
            const Point &point = points[index];
            inside = inside && point.x >= bounds.xMin && point.x <= bounds.xMax && point.y >= bounds.yMin
                     && point.y <= bounds.yMax;
            corners << QPointF(point.x, point.y);
        }
        corners << corners.first();
        if (inside && corners.intersects(polygon))
            prisms.push_back({points[triangle[0]], points[triangle[1]], points[triangle[2]], ground});
    }
    return true;
}

} // namespace support::plain
