#pragma once

#include "AreaPolygon.h"

#include <vector>

namespace ptCloud
{

/// Tells which triangles `QPolygonF::intersects` finds to meet an area, without asking it for each.
///
/// A raster over the area's rectangle knows which of its cells no edge of the polygon comes near. A triangle in such
/// cells alone is wholly inside or wholly outside, like the cells themselves. All others are given to Qt, whose
/// comparisons with tolerance decide what touches; so are triangles with a side so short that it falls under that
/// tolerance.
class TriangleFilter
{
public:
    /// The raster grows with the number of triangles to be asked about. May throw `std::bad_alloc`.
    TriangleFilter(const AreaPolygon &area, unsigned int triangles);

    /// Whether a triangle whose vertices lie in the area's rectangle meets the area.
    bool meets(const pcVec3f &a, const pcVec3f &b, const pcVec3f &c) const;

private:
    enum class Cell : unsigned char { Outside, Inside, Edge };

    void markEdge(const QPointF &from, const QPointF &to);
    void markInside();
    int column(double x) const;
    int row(double y) const;
    Cell &cell(int column, int row);
    Cell cellsUnder(const pcVec3f &a, const pcVec3f &b, const pcVec3f &c) const;
    bool isShort(const pcVec3f &from, const pcVec3f &to) const;

    const AreaPolygon &m_area;
    int m_size = 0; ///< cells along each axis; 0: everything goes to Qt
    double m_cellWidth = 0;
    double m_cellHeight = 0;
    double m_margin = 0;       ///< what is nearer to an edge counts as on it
    double m_shortestSide = 0; ///< below it, Qt's tolerance may reach beyond the margin
    std::vector<Cell> m_cells; ///< [column * size + row]
};

} // namespace ptCloud
