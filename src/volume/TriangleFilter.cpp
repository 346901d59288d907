#include "TriangleFilter.h"

#include <algorithm>
#include <cmath>

namespace ptCloud
{

namespace
{

/// The near of an edge, as a part of the area's extent. Far above what double arithmetic on it loses.
constexpr double marginOfExtent = 1e-6;
/// Qt takes a product of lengths below this for 0.
constexpr double toleranceOfQt = 1e-12;
constexpr int largestRaster = 1024;

double largerOffset(double dx, double dy)
{
    return std::max(std::abs(dx), std::abs(dy));
}

} // namespace

TriangleFilter::TriangleFilter(const AreaPolygon &area, unsigned int triangles) : m_area(area)
{
    const double width = static_cast<double>(area.xMax()) - static_cast<double>(area.xMin());
    const double height = static_cast<double>(area.yMax()) - static_cast<double>(area.yMin());
    if (!area.isFinite() || !(width > 0) || !(height > 0))
        return;
    m_margin = marginOfExtent * std::max(width, height);
    m_shortestSide = toleranceOfQt / m_margin;
    const QPolygonF &polygon = area.polygon();
    for (int i = 1; i < polygon.size(); ++i) {
        const QPointF offset = polygon.at(i) - polygon.at(i - 1);
        const double length = largerOffset(offset.x(), offset.y());
        if (length > 0 && length < m_shortestSide)
            return;
    }

    m_size = std::clamp(static_cast<int>(std::sqrt(static_cast<double>(triangles))), 1, largestRaster);
    m_cellWidth = width / m_size;
    m_cellHeight = height / m_size;
    m_cells.assign(static_cast<std::size_t>(m_size) * static_cast<std::size_t>(m_size), Cell::Outside);
    for (int i = 1; i < polygon.size(); ++i)
        markEdge(polygon.at(i - 1), polygon.at(i));
    markInside();
}

int TriangleFilter::column(double x) const
{
    const double distance = x - static_cast<double>(m_area.xMin());
    return static_cast<int>(std::clamp(distance / m_cellWidth, 0.0, m_size - 1.0));
}

int TriangleFilter::row(double y) const
{
    const double distance = y - static_cast<double>(m_area.yMin());
    return static_cast<int>(std::clamp(distance / m_cellHeight, 0.0, m_size - 1.0));
}

TriangleFilter::Cell &TriangleFilter::cell(int column, int row)
{
    return m_cells[static_cast<std::size_t>(column) * static_cast<std::size_t>(m_size) + static_cast<std::size_t>(row)];
}

void TriangleFilter::markEdge(const QPointF &from, const QPointF &to)
{
    const QPointF left = from.x() <= to.x() ? from : to;
    const QPointF right = from.x() <= to.x() ? to : from;
    const double slope = right.x() - left.x() > m_margin ? (right.y() - left.y()) / (right.x() - left.x()) : 0;
    const int last = column(right.x() + m_margin);
    for (int i = column(left.x() - m_margin); i <= last; ++i) {
        double y1 = left.y();
        double y2 = right.y();
        if (slope != 0) {
            // The piece of the edge that lies in this column.
            const double start = static_cast<double>(m_area.xMin()) + i * m_cellWidth - m_margin;
            const double end = start + m_cellWidth + 2 * m_margin;
            y1 = left.y() + slope * (std::clamp(start, left.x(), right.x()) - left.x());
            y2 = left.y() + slope * (std::clamp(end, left.x(), right.x()) - left.x());
        }
        const int top = row(std::max(y1, y2) + m_margin);
        for (int j = row(std::min(y1, y2) - m_margin); j <= top; ++j)
            cell(i, j) = Cell::Edge;
    }
}

void TriangleFilter::markInside()
{
    for (int i = 0; i < m_size; ++i) {
        for (int j = 0; j < m_size; ++j) {
            if (cell(i, j) == Cell::Edge)
                continue;
            // No edge lies between cells without one, so the neighbour knows.
            if (j > 0 && cell(i, j - 1) != Cell::Edge) {
                cell(i, j) = cell(i, j - 1);
            } else if (i > 0 && cell(i - 1, j) != Cell::Edge) {
                cell(i, j) = cell(i - 1, j);
            } else {
                const QPointF centre(static_cast<double>(m_area.xMin()) + (i + 0.5) * m_cellWidth,
                                     static_cast<double>(m_area.yMin()) + (j + 0.5) * m_cellHeight);
                if (m_area.polygon().containsPoint(centre, Qt::OddEvenFill))
                    cell(i, j) = Cell::Inside;
            }
        }
    }
}

bool TriangleFilter::isShort(const pcVec3f &from, const pcVec3f &to) const
{
    return !(largerOffset(static_cast<double>(to.x()) - static_cast<double>(from.x()),
                          static_cast<double>(to.y()) - static_cast<double>(from.y()))
             >= m_shortestSide);
}

TriangleFilter::Cell TriangleFilter::cellsUnder(const pcVec3f &a, const pcVec3f &b, const pcVec3f &c) const
{
    if (m_size == 0 || isShort(a, b) || isShort(b, c) || isShort(c, a))
        return Cell::Edge;
    const auto [xLow, xHigh] = std::minmax({a.x(), b.x(), c.x()});
    const auto [yLow, yHigh] = std::minmax({a.y(), b.y(), c.y()});
    const auto size = static_cast<std::size_t>(m_size);
    const auto firstRow = static_cast<std::size_t>(row(static_cast<double>(yLow)));
    const auto lastRow = static_cast<std::size_t>(row(static_cast<double>(yHigh)));
    const auto firstColumn = static_cast<std::size_t>(column(static_cast<double>(xLow)));
    const auto lastColumn = static_cast<std::size_t>(column(static_cast<double>(xHigh)));
    for (std::size_t i = firstColumn; i <= lastColumn; ++i) {
        for (std::size_t j = firstRow; j <= lastRow; ++j) {
            if (m_cells[i * size + j] == Cell::Edge)
                return Cell::Edge;
        }
    }
    return m_cells[firstColumn * size + firstRow];
}

bool TriangleFilter::meets(const pcVec3f &a, const pcVec3f &b, const pcVec3f &c) const
{
    const Cell cells = cellsUnder(a, b, c);
    if (cells != Cell::Edge)
        return cells == Cell::Inside;
    const QPointF first(a.x(), a.y());
    const QPolygonF triangle({first, {b.x(), b.y()}, {c.x(), c.y()}, first});
    return triangle.intersects(m_area.polygon());
}

} // namespace ptCloud
