#include "Dbscan.h"

#include "CloseCells.h"
#include "Labels.h"
#include "RangeCheck.h"
#include "Stretches.h"

#include <algorithm>
#include <array>
#include <limits>

using namespace ptCloud;

namespace
{

class DbscanRun
{
public:
    DbscanRun(const Points &points, const DbscanParameters &parameters)
        : m_grid(points, edgeOfCloseCells(parameters.epsilon)), m_epsilon(parameters.epsilon),
          m_square(parameters.epsilon * parameters.epsilon),
          m_leastPoints(static_cast<std::uint32_t>(parameters.leastPoints)), m_isCore(points.size()),
          m_sets(m_grid.cellCount())
    {}

    void findCores(Progress &progress)
    {
        forCells(progress, [this](std::uint32_t cell, CellWalk &walk) { findCoresOf(cell, walk); });
    }

    void joinCores(Progress &progress) { uniteCloseCells(m_grid, m_isCore, m_epsilon, m_sets, progress); }

    std::vector<int> label(Progress &progress)
    {
        std::vector<int> labels(m_isCore.size(), noise);
        forCells(progress, [&](std::uint32_t cell, CellWalk &walk) { labelPointsOf(cell, walk, labels); });
        numberByFirstPoint(labels, static_cast<int>(m_grid.cellCount()));
        return labels;
    }

private:
    /// Cells with following numbers.
    struct CellRange
    {
        std::uint32_t first;
        std::uint32_t end;
    };
    /// The cells around a cell: its own column may have two ranges.
    class Surroundings
    {
    public:
        Surroundings() = default;
        Surroundings(CellWalk &walk, std::uint32_t cell)
        {
            walk.around(cell, [this](std::uint32_t first, std::uint32_t end) { m_ranges[m_count++] = {first, end}; });
        }
        const CellRange *begin() const { return m_ranges.data(); }
        const CellRange *end() const { return m_ranges.data() + m_count; }

    private:
        std::array<CellRange, CellWalk::mostRanges> m_ranges{};
        std::size_t m_count = 0;
    };

    template <typename Work>
    void forCells(Progress &progress, const Work &work) const
    {
        forStretches(m_grid.cellCount(), progress, [&](std::size_t first, std::size_t last) {
            CellWalk walk(m_grid, static_cast<std::uint32_t>(first), CellWalk::mostReach, CellWalk::Side::All);
            for (auto cell = static_cast<std::uint32_t>(first); cell < last; ++cell)
                work(cell, walk);
        });
    }

    std::uint32_t sizeOf(const CellRange &cells) const { return m_grid.begin(cells.end) - m_grid.begin(cells.first); }

    bool areNear(std::uint32_t a, std::uint32_t b) const
    {
        return squaredDistance(m_grid.points()[a], m_grid.points()[b]) <= m_square;
    }

    void findCoresOf(std::uint32_t cell, CellWalk &walk)
    {
        std::uint64_t most = m_grid.size(cell);
        const bool isDense = most >= m_leastPoints;
        if (isDense) {
            std::fill(m_isCore.begin() + m_grid.begin(cell), m_isCore.begin() + m_grid.end(cell), char{1});
            return;
        }
        const Surroundings around(walk, cell);
        for (const CellRange &cells : around)
            most += sizeOf(cells);
        if (most < m_leastPoints)
            return;
        for (std::uint32_t place = m_grid.begin(cell); place < m_grid.end(cell); ++place)
            m_isCore[place] = hasEnough(place, m_grid.size(cell), around) ? 1 : 0;
    }

    /// `count`: how many are known to be near.
    bool hasEnough(std::uint32_t place, std::uint32_t count, const Surroundings &around) const
    {
        for (const CellRange &cells : around) {
            const std::uint32_t end = m_grid.begin(cells.end);
            for (std::uint32_t other = m_grid.begin(cells.first); other < end; ++other)
                count += areNear(place, other) ? 1U : 0U;
            if (count >= m_leastPoints)
                return true;
        }
        return false;
    }

    void labelPointsOf(std::uint32_t cell, CellWalk &walk, std::vector<int> &labels)
    {
        const auto cores = m_isCore.begin();
        const bool allCore =
            std::find(cores + m_grid.begin(cell), cores + m_grid.end(cell), char{0}) == cores + m_grid.end(cell);
        const Surroundings around = allCore ? Surroundings() : Surroundings(walk, cell);
        for (std::uint32_t place = m_grid.begin(cell); place < m_grid.end(cell); ++place) {
            const bool isCore = m_isCore[place] != 0;
            labels[m_grid.index(place)] =
                isCore ? static_cast<int>(m_sets.find(cell)) : labelOfBorder(place, cell, around);
        }
    }

    int labelOfBorder(std::uint32_t place, std::uint32_t ownCell, const Surroundings &around)
    {
        std::uint32_t firstCore = std::numeric_limits<std::uint32_t>::max();
        std::uint32_t cellOfCore = 0;
        const auto look = [&](std::uint32_t cell) {
            for (std::uint32_t other = m_grid.begin(cell); other < m_grid.end(cell); ++other) {
                if (m_isCore[other] != 0 && m_grid.index(other) < firstCore && areNear(place, other)) {
                    firstCore = m_grid.index(other);
                    cellOfCore = cell;
                }
            }
        };
        look(ownCell);
        for (const CellRange &cells : around) {
            for (std::uint32_t cell = cells.first; cell < cells.end; ++cell)
                look(cell);
        }
        const bool isNoise = firstCore == std::numeric_limits<std::uint32_t>::max();
        return isNoise ? noise : static_cast<int>(m_sets.find(cellOfCore));
    }

    const CellGrid m_grid;
    const double m_epsilon;
    const double m_square;
    const std::uint32_t m_leastPoints;
    std::vector<char> m_isCore; ///< by place
    DisjointSets m_sets;        ///< of cells
};

} // namespace

void DbscanParameters::check() const
{
    checkRange("epsilon", epsilon, leastDistance, mostDistance);
    checkRange("minpts", leastPoints, 1, std::numeric_limits<int>::max());
}

std::vector<int> dbscan(const Points &points, const DbscanParameters &parameters, Progress &progress)
{
    parameters.check();
    CellGrid::checkEdge(points, "epsilon", parameters.epsilon);
    progress.stage(QStringLiteral("sorting the points into cells"), 0, 0.2);
    DbscanRun run(points, parameters);
    progress.stage(QStringLiteral("looking for dense places"), 0.2, 0.6);
    run.findCores(progress);
    ProgressPart joining(progress, 0.6, 0.8);
    run.joinCores(joining);
    progress.stage(QStringLiteral("giving points their clusters"), 0.8, 1);
    return run.label(progress);
}
