#pragma once

#include "Points.h"

#include <cstdint>

/// The nodes of a cloth over the plan of a cloud, and the lowest point near each.
///
/// Node 0 stands two steps to the left of and below all points, the last one two steps beyond them: the cloth overlaps,
/// so that its free edge pulls at no point. Heights run row by row.
class ClothLattice
{
public:
    static constexpr std::uint32_t noPoint = 0xffffffffU;

    /// Throws `Failure` with `ExitCode::Memory` where the step makes far more nodes than there are points.
    ClothLattice(const Points &points, double resolution);

    int columns() const { return m_columns; }
    int rows() const { return m_rows; }
    std::size_t nodeCount() const { return m_lowest.size(); }
    std::size_t node(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns) + static_cast<std::size_t>(column);
    }
    std::size_t nearestNode(const ptCloud::pcVec3f &p) const;
    /// The lowest of the points to which this node is nearest, the first of equals; or `noPoint`.
    std::uint32_t lowestPoint(std::size_t node) const { return m_lowest[node]; }
    /// The height at which a cloth that comes from below stops at each node: that of its lowest point. A node without
    /// points takes the height of the nearest one that has some, by steps along rows and columns.
    std::vector<float> stops(const Points &points) const;

    double nodeX(int column) const { return m_left + column * m_resolution; }
    double nodeY(int row) const { return m_bottom + row * m_resolution; }
    /// Where a place lies in steps from node 0.
    double columnAt(double x) const { return (x - m_left) / m_resolution; }
    double rowAt(double y) const { return (y - m_bottom) / m_resolution; }

private:
    double m_resolution;
    double m_left = 0;
    double m_bottom = 0;
    int m_columns = 0;
    int m_rows = 0;
    std::vector<std::uint32_t> m_lowest;
};
