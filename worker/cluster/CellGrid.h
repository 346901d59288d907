#pragma once

#include "Points.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Points sorted into the cells of a cubic grid, for those who look for what lies near.
///
/// Cells without points don't exist. The others are numbered in the order of x, then y, then z, and the points are
/// copied in the order of their cells, in a cell by index; "place" is a point's number in that order. Cells that lie
/// above one another are thus neighbours in memory, with their points.
///
/// Linear time (a radix sort). 16 bytes a point and 16 a cell; 16 a point more while it is made.
class CellGrid
{
public:
    /// Cells of this edge, from the least corner of the points' box on. Throws `Failure` with `ExitCode::Memory`.
    CellGrid(const Points &points, double edge);

    /// Throws `Failure` with `ExitCode::Argument` where cells with about this edge would be too many to number: the
    /// setting `key` has the value `edge`.
    static void checkEdge(const Points &points, const char *key, double edge);

    std::uint32_t cellCount() const { return static_cast<std::uint32_t>(m_cells.size() - 1); }
    /// The first place of a cell. That of `cellCount()` is the number of points.
    std::uint32_t begin(std::uint32_t cell) const { return m_cells[cell].begin; }
    std::uint32_t end(std::uint32_t cell) const { return m_cells[cell + 1].begin; }
    std::uint32_t size(std::uint32_t cell) const { return end(cell) - begin(cell); }
    /// The points by place.
    const Points &points() const { return m_points; }
    /// What number a point has outside.
    std::uint32_t index(std::uint32_t place) const { return m_indices[place]; }

private:
    friend class CellWalk;

    struct Cell
    {
        std::uint64_t column; ///< x and y, 32 bits each
        std::uint32_t z;
        std::uint32_t begin;
    };

    static bool isBefore(const Cell &a, const Cell &b)
    {
        return a.column != b.column ? a.column < b.column : a.z < b.z;
    }

    std::vector<Cell> m_cells; ///< and one more, behind all
    std::vector<std::uint32_t> m_indices;
    Points m_points;
};

/// Goes over cells in ascending order and finds the cells around each: those at most `reach` cells away along each
/// axis.
///
/// The cells of a column that lie around have consecutive numbers, and as the walk goes on, so do their numbers. So
/// there is a finger on each column, which only ever moves on: linear, without a search, and near in memory.
class CellWalk
{
public:
    /// Which cells around a cell are wanted: all others, or only those with greater numbers, so that each pair comes
    /// once.
    enum class Side { All, Later };

    static constexpr int mostReach = 2;
    static constexpr std::size_t mostColumns = (2 * mostReach + 1) * (2 * mostReach + 1);
    /// What `around` visits at most: the cell itself divides its column.
    static constexpr std::size_t mostRanges = mostColumns + 1;

    /// `first` is the first cell that will be asked for.
    CellWalk(const CellGrid &grid, std::uint32_t first, int reach, Side side);

    /// Calls `visit(firstCell, endCell)` for ranges that make up the cells around the cell, itself left out.
    /// Cells must come in ascending order.
    template <typename Visit>
    void around(std::uint32_t cell, const Visit &visit)
    {
        for (std::size_t i = 0; i < m_count; ++i) {
            advance(m_fingers[i], cell);
            const Finger &finger = m_fingers[i];
            if (!finger.isOwn) {
                if (finger.first != finger.end)
                    visit(finger.first, finger.end);
                continue;
            }
            if (finger.first < cell && !m_onlyLater)
                visit(finger.first, cell);
            if (cell + 1 < finger.end)
                visit(cell + 1, finger.end);
        }
    }

private:
    struct Finger
    {
        std::uint64_t toColumn; ///< added to a cell's column
        bool isOwn;             ///< the column of the cell itself
        std::uint32_t first;
        std::uint32_t end;
    };

    void advance(Finger &finger, std::uint32_t cell) const;

    const CellGrid &m_grid;
    std::uint32_t m_reach;
    bool m_onlyLater;
    std::array<Finger, mostColumns> m_fingers{};
    std::size_t m_count = 0;
};
