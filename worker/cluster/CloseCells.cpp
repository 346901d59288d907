#include "CloseCells.h"

#include "Stretches.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

using namespace ptCloud;

namespace
{

/// The marked points of two cells, and how near they must come.
class CellPair
{
public:
    CellPair(const CellGrid &grid, const std::vector<char> &marks, double radius)
        : m_grid(grid), m_marks(marks), m_square(radius * radius)
    {}

    bool isClose(std::uint32_t a, std::uint32_t b) const
    {
        // A box around the points pays where there are many.
        constexpr std::uint64_t manyPairs = 64;
        const bool isLarge = std::uint64_t{m_grid.size(a)} * m_grid.size(b) > manyPairs;
        const Box box = isLarge ? boxOf(b) : Box();
        for (std::uint32_t place = m_grid.begin(a); place < m_grid.end(a); ++place) {
            const pcVec3f &point = m_grid.points()[place];
            if (m_marks[place] != 0 && (!isLarge || box.isWithin(point, m_square)) && isClose(point, b))
                return true;
        }
        return false;
    }

private:
    struct Box
    {
        pcVec3f least;
        pcVec3f most;

        bool isWithin(const pcVec3f &point, double square) const
        {
            pcVec3f nearest;
            for (int axis = 0; axis < 3; ++axis)
                nearest[axis] = std::clamp(point[axis], least[axis], most[axis]);
            return squaredDistance(point, nearest) <= square;
        }
    };

    /// Around all points of the cell, marked or not.
    Box boxOf(std::uint32_t cell) const
    {
        const pcVec3f &first = m_grid.points()[m_grid.begin(cell)];
        Box box{first, first};
        for (std::uint32_t place = m_grid.begin(cell); place < m_grid.end(cell); ++place) {
            const pcVec3f &point = m_grid.points()[place];
            for (int axis = 0; axis < 3; ++axis) {
                box.least[axis] = std::min(box.least[axis], point[axis]);
                box.most[axis] = std::max(box.most[axis], point[axis]);
            }
        }
        return box;
    }

    bool isClose(const pcVec3f &point, std::uint32_t cell) const
    {
        for (std::uint32_t place = m_grid.begin(cell); place < m_grid.end(cell); ++place) {
            if (m_marks[place] != 0 && squaredDistance(point, m_grid.points()[place]) <= m_square)
                return true;
        }
        return false;
    }

    const CellGrid &m_grid;
    const std::vector<char> &m_marks;
    double m_square;
};

} // namespace

double edgeOfCloseCells(double radius)
{
    // What rounding takes away from or adds to a cell is less than this.
    constexpr double rounding = 1e-6;
    return radius / std::sqrt(3.0) * (1 - rounding);
}

void uniteCloseCells(const CellGrid &grid, const std::vector<char> &marks, double radius, DisjointSets &sets,
                     Progress &progress)
{
    const CellPair pair(grid, marks, radius);
    // Neighbours that touch join most of what there is to join. After that, few of the others are still apart.
    const double part = 1.0 / CellWalk::mostReach;
    for (int reach = 1; reach <= CellWalk::mostReach; ++reach) {
        progress.stage(QStringLiteral("joining what is near"), (reach - 1) * part, reach * part);
        forStretches(grid.cellCount(), progress, [&](std::size_t first, std::size_t last) {
            CellWalk walk(grid, static_cast<std::uint32_t>(first), reach, CellWalk::Side::Later);
            for (auto cell = static_cast<std::uint32_t>(first); cell < last; ++cell) {
                walk.around(cell, [&](std::uint32_t other, std::uint32_t end) {
                    for (; other < end; ++other) {
                        if (sets.find(cell) != sets.find(other) && pair.isClose(cell, other))
                            sets.unite(cell, other);
                    }
                });
            }
        });
    }
}
