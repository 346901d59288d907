#pragma once

#include "GroundModel.h"

/// The height of a ground below any place in plan, to the millimetre.
///
/// A walk through the triangles, begun at a corner near the place, so that it takes a few steps whatever the size of
/// the ground. Outside the ground it is the height of the nearest place of the border edge that the walk meets. Many
/// threads may ask at once. `ground` stays the caller's.
class GroundHeight
{
public:
    explicit GroundHeight(const GroundModel &ground);

    double at(double x, double y) const;

private:
    std::uint32_t beginNear(const PlanPoint &p) const;
    double onTriangle(std::uint32_t triangle, const PlanPoint &p) const;
    double onBorder(std::uint32_t halfEdge, double x, double y) const;

    const GroundModel &m_ground;
    int m_left = 0;
    int m_bottom = 0;
    double m_cellSize = 1; ///< millimetres
    std::uint32_t m_columns = 1;
    std::uint32_t m_rows = 1;
    std::vector<std::uint32_t> m_triangles; ///< for each cell a triangle in or near it
};
