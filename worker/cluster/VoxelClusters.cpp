#include "VoxelClusters.h"

#include "CellGrid.h"
#include "DisjointSets.h"
#include "Labels.h"
#include "RangeCheck.h"
#include "Stretches.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace
{

constexpr int reach = 1;

void uniteTouching(const CellGrid &grid, DisjointSets &sets, Progress &progress)
{
    forStretches(grid.cellCount(), progress, [&](std::size_t first, std::size_t last) {
        CellWalk walk(grid, static_cast<std::uint32_t>(first), reach, CellWalk::Side::Later);
        for (auto cell = static_cast<std::uint32_t>(first); cell < last; ++cell) {
            walk.around(cell, [&](std::uint32_t other, std::uint32_t end) {
                for (; other < end; ++other)
                    sets.unite(cell, other);
            });
        }
    });
}

/// Cuts sets of cells into pieces of so many points at most. A piece is labelled with the place of its first cell,
/// which no other piece has.
class Cutter
{
public:
    Cutter(const CellGrid &grid, int mostPoints, std::vector<int> &labels)
        : m_grid(grid), m_mostPoints(static_cast<std::uint32_t>(mostPoints)), m_labels(labels),
          m_isTaken(grid.cellCount())
    {}

    /// `cells`: those of one set, in the order of their first points.
    void cut(const std::vector<std::uint32_t> &cells)
    {
        for (const std::uint32_t cell : cells) {
            if (m_isTaken[cell])
                continue;
            if (m_grid.size(cell) > m_mostPoints)
                divide(cell);
            else
                grow(cell);
        }
    }

private:
    void label(std::uint32_t begin, std::uint32_t end, std::uint32_t piece)
    {
        for (std::uint32_t place = begin; place < end; ++place)
            m_labels[m_grid.index(place)] = static_cast<int>(piece);
    }

    void divide(std::uint32_t cell)
    {
        m_isTaken[cell] = true;
        const std::uint32_t end = m_grid.end(cell);
        for (std::uint32_t begin = m_grid.begin(cell); begin < end;) {
            const std::uint32_t size = std::min(m_mostPoints, end - begin);
            label(begin, begin + size, begin);
            begin += size;
        }
    }

    void grow(std::uint32_t start)
    {
        const std::uint32_t piece = m_grid.begin(start);
        std::uint32_t room = m_mostPoints;
        bool isFull = false;
        m_front.clear();
        const auto take = [&](std::uint32_t cell) {
            isFull = isFull || m_grid.size(cell) > room;
            if (isFull || m_isTaken[cell])
                return;
            room -= m_grid.size(cell);
            label(m_grid.begin(cell), m_grid.end(cell), piece);
            m_isTaken[cell] = true;
            m_front.push_back(cell);
        };
        take(start);
        for (std::size_t i = 0; i < m_front.size() && !isFull; ++i) {
            CellWalk(m_grid, m_front[i], reach, CellWalk::Side::All)
                .around(m_front[i], [&](std::uint32_t other, std::uint32_t end) {
                    for (; other < end; ++other)
                        take(other);
                });
        }
    }

    const CellGrid &m_grid;
    std::uint32_t m_mostPoints;
    std::vector<int> &m_labels;
    std::vector<bool> m_isTaken; ///< by cell
    std::vector<std::uint32_t> m_front;
};

/// The cells of sets with more than `mostPoints` points, sorted by set, then by the first point.
std::vector<std::vector<std::uint32_t>> largeSets(const CellGrid &grid, DisjointSets &sets, int mostPoints)
{
    std::vector<std::uint32_t> sizes(grid.cellCount());
    for (std::uint32_t cell = 0; cell < grid.cellCount(); ++cell)
        sizes[sets.find(cell)] += grid.size(cell);
    std::vector<std::uint32_t> numbers(grid.cellCount());
    std::vector<std::vector<std::uint32_t>> large;
    for (std::uint32_t cell = 0; cell < grid.cellCount(); ++cell) {
        const std::uint32_t set = sets.find(cell);
        if (sizes[set] <= static_cast<std::uint32_t>(mostPoints))
            continue;
        if (set == cell) {
            numbers[set] = static_cast<std::uint32_t>(large.size());
            large.emplace_back();
        }
        large[numbers[set]].push_back(cell);
    }
    // In a cell the first point has the smallest index.
    for (std::vector<std::uint32_t> &cells : large)
        std::sort(cells.begin(), cells.end(), [&grid](std::uint32_t a, std::uint32_t b) {
            return grid.index(grid.begin(a)) < grid.index(grid.begin(b));
        });
    return large;
}

} // namespace

void VoxelParameters::check() const
{
    checkRange("disTh", edge, leastDistance, mostDistance);
    checkRange("maxSize", mostPoints, 0, std::numeric_limits<int>::max());
}

std::vector<int> voxelClusters(const Points &points, const VoxelParameters &parameters, Progress &progress)
{
    parameters.check();
    CellGrid::checkEdge(points, "disTh", parameters.edge);
    progress.stage(QStringLiteral("sorting the points into cells"), 0, 0.5);
    const CellGrid grid(points, parameters.edge);
    DisjointSets sets(grid.cellCount());
    progress.stage(QStringLiteral("joining cells that touch"), 0.5, 0.8);
    uniteTouching(grid, sets, progress);
    progress.stage(QStringLiteral("numbering the clusters"), 0.8, 1);
    std::vector<int> labels(points.size());
    for (std::uint32_t cell = 0; cell < grid.cellCount(); ++cell) {
        const auto label = static_cast<int>(grid.begin(sets.find(cell)));
        for (std::uint32_t place = grid.begin(cell); place < grid.end(cell); ++place)
            labels[grid.index(place)] = label;
    }
    if (parameters.mostPoints > 0) {
        Cutter cutter(grid, parameters.mostPoints, labels);
        for (const std::vector<std::uint32_t> &cells : largeSets(grid, sets, parameters.mostPoints))
            cutter.cut(cells);
    }
    numberByFirstPoint(labels, static_cast<int>(points.size()));
    return labels;
}
