#include "ClothLattice.h"

#include "Failure.h"
#include "MemoryGuard.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr int overlap = 2; // steps beyond the points

/// A lattice may have this many nodes whatever the count of points, and so many for each point.
constexpr double freeNodes = 4e6;
constexpr double nodesPerPoint = 8;
constexpr std::uint64_t bytesOfNode = 24; // with the cloth that hangs on it

struct PlanBox
{
    double minX, minY, maxX, maxY;
};

PlanBox planBox(const Points &points)
{
    PlanBox box{points.front().x(), points.front().y(), points.front().x(), points.front().y()};
    for (const ptCloud::pcVec3f &p : points) {
        box.minX = std::min<double>(box.minX, p.x());
        box.minY = std::min<double>(box.minY, p.y());
        box.maxX = std::max<double>(box.maxX, p.x());
        box.maxY = std::max<double>(box.maxY, p.y());
    }
    return box;
}

double stepsAcross(double extent, double resolution)
{
    return std::floor(extent / resolution) + 2 + 2 * overlap;
}

/// A step that makes no more nodes than allowed, rounded up to two figures, for the user to try.
QString largeEnoughStep(double width, double height, double allowed, double resolution)
{
    while (stepsAcross(width, resolution) * stepsAcross(height, resolution) > allowed)
        resolution *= 1.05;
    return QString::number(resolution * 1.05, 'g', 2);
}

} // namespace

ClothLattice::ClothLattice(const Points &points, double resolution) : m_resolution(resolution)
{
    if (points.empty())
        return;
    const PlanBox box = planBox(points);
    const double width = box.maxX - box.minX;
    const double height = box.maxY - box.minY;
    const double columns = stepsAcross(width, resolution);
    const double rows = stepsAcross(height, resolution);
    const double allowed = std::max(freeNodes, nodesPerPoint * static_cast<double>(points.size()));
    if (columns * rows > allowed) {
        throw Failure(ExitCode::Memory, QStringLiteral("cloth_resolution %1 makes a cloth of %2 million nodes for %3 "
                                                       "points; try %4 or more")
                                            .arg(resolution)
                                            .arg(columns * rows / 1e6, 0, 'f', 0)
                                            .arg(points.size())
                                            .arg(largeEnoughStep(width, height, allowed, resolution)));
    }
    requireMemory(static_cast<std::uint64_t>(columns * rows) * bytesOfNode, QStringLiteral("the cloth"));
    m_columns = static_cast<int>(columns);
    m_rows = static_cast<int>(rows);
    m_left = box.minX - overlap * resolution;
    m_bottom = box.minY - overlap * resolution;
    m_lowest.assign(static_cast<std::size_t>(m_columns) * static_cast<std::size_t>(m_rows), noPoint);
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::uint32_t &lowest = m_lowest[nearestNode(points[i])];
        if (lowest == noPoint || points[i].z() < points[lowest].z())
            lowest = static_cast<std::uint32_t>(i);
    }
}

std::size_t ClothLattice::nearestNode(const ptCloud::pcVec3f &p) const
{
    return node(static_cast<int>(std::lround(columnAt(p.x()))), static_cast<int>(std::lround(rowAt(p.y()))));
}

std::vector<float> ClothLattice::stops(const Points &points) const
{
    std::vector<float> stops(m_lowest.size());
    std::vector<std::uint32_t> front;
    std::vector<bool> isKnown(m_lowest.size());
    for (std::size_t node = 0; node < m_lowest.size(); ++node) {
        if (m_lowest[node] == noPoint)
            continue;
        stops[node] = points[m_lowest[node]].z();
        isKnown[node] = true;
        front.push_back(static_cast<std::uint32_t>(node));
    }
    const auto width = static_cast<std::uint32_t>(m_columns);
    std::vector<std::uint32_t> next;
    while (!front.empty()) {
        next.clear();
        const auto spread = [&](std::uint32_t from, std::uint32_t to) {
            if (isKnown[to])
                return;
            isKnown[to] = true;
            stops[to] = stops[from];
            next.push_back(to);
        };
        for (const std::uint32_t node : front) {
            const std::uint32_t column = node % width;
            if (column > 0)
                spread(node, node - 1);
            if (column + 1 < width)
                spread(node, node + 1);
            if (node >= width)
                spread(node, node - width);
            if (node + width < isKnown.size())
                spread(node, node + width);
        }
        front.swap(next);
    }
    return stops;
}
