#pragma once

#include "AreaPolygon.h"
#include "CellAxis.h"

#include <cstddef>
#include <vector>

namespace ptCloud
{

/// Square cells inside a polygon, each with the height of the highest point in it.
///
/// The cells stand in one dense array, column by column, so that array order is the order of their keys: x, then y. A
/// cell that is not in the grid holds a NaN, which no comparison raises.
class HeightGrid
{
public:
    /// No height yet.
    static constexpr float noHeight = -99999.0F;
    /// More cells than this in the rectangle around an area are refused.
    static constexpr std::size_t mostCells = 200000000;

    /// The cells with all four corners inside the polygon, without heights. False where the rectangle takes more than
    /// `mostCells`, or a step of `cellSize` no longer moves a coordinate. May throw `std::bad_alloc`.
    bool layOut(const AreaPolygon &area, float cellSize);

    /// Cells in the grid.
    std::size_t size() const { return m_present; }

    /// Raises the cell at x, y, if there is one, to z.
    void raise(float x, float y, float z)
    {
        const std::size_t i = m_x.find(x);
        const std::size_t j = m_y.find(y);
        if (i == CellAxis::none || j == CellAxis::none)
            return;
        float &height = m_heights[i * m_y.cells() + j];
        height = z > height ? z : height; // as a choice, not a branch, which would be guessed wrong half the time
    }

    /// Gives each cell without a height that of the nearest cell with one, along y downwards, y upwards, x downwards or
    /// x upwards, whichever comes first. A gap ends a search. A cell that finds none leaves the grid, and the cell
    /// after it is passed over, so that it may keep `noHeight`.
    void fillHoles();

    /// Calls `visit(xMin, xMax, yMin, yMax, height)` for each cell in the grid, in the order of their keys.
    template <typename Visit>
    void forEachCell(Visit visit) const
    {
        for (std::size_t i = 0; i < m_x.cells(); ++i) {
            for (std::size_t j = 0; j < m_y.cells(); ++j) {
                const float height = m_heights[i * m_y.cells() + j];
                if (height == height)
                    visit(m_x.low(i), m_x.high(i), m_y.low(j), m_y.high(j), height);
            }
        }
    }

private:
    void markCells(const QPolygonF &polygon);
    std::size_t nextPresent(std::size_t index) const;

    CellAxis m_x;
    CellAxis m_y;
    std::vector<float> m_heights; ///< [column * rows + row]
    std::size_t m_present = 0;
};

} // namespace ptCloud
