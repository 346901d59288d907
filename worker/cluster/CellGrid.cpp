#include "CellGrid.h"

#include "Failure.h"
#include "MemoryGuard.h"

#include <algorithm>
#include <iterator>

using namespace ptCloud;

namespace
{

/// Cells along an axis at most, so that there are some to spare within 31 bits when an edge is divided by the square
/// root of 3.
constexpr double mostCells = 1e9;

constexpr std::uint64_t bytesOfPoint = 48;

struct Box
{
    pcVec3d least;
    pcVec3d most;
};

Box boxOf(const Points &points)
{
    if (points.empty())
        return {};
    pcVec3f least = points.front();
    pcVec3f most = points.front();
    for (const pcVec3f &p : points) {
        for (int axis = 0; axis < 3; ++axis) {
            least[axis] = std::min(least[axis], p[axis]);
            most[axis] = std::max(most[axis], p[axis]);
        }
    }
    return {pcVec3d(least), pcVec3d(most)};
}

/// How far the columns of two neighbours along x are apart.
constexpr std::int64_t columnsOfRow = std::int64_t{1} << 32U;

/// A point's cell along each axis, and its index.
struct Record
{
    std::uint32_t cell[3] = {};
    std::uint32_t index = 0;
};

using Records = std::vector<Record>;

/// Sorts by some bits of the cell along an axis, and leaves the order of equals.
void sortByBits(Records &records, Records &spare, int axis, int shift, int bits)
{
    const std::uint32_t mask = (1U << static_cast<unsigned int>(bits)) - 1U;
    const auto digit = [=](const Record &record) {
        return (record.cell[axis] >> static_cast<unsigned int>(shift)) & mask;
    };
    std::vector<std::uint32_t> starts(mask + 2U);
    for (const Record &record : records)
        ++starts[digit(record) + 1U];
    for (std::size_t i = 1; i < starts.size(); ++i)
        starts[i] += starts[i - 1];
    for (const Record &record : records)
        spare[starts[digit(record)]++] = record;
    records.swap(spare);
}

void sortByCell(Records &records, const std::uint32_t (&most)[3])
{
    constexpr int mostBits = 11; // as many heaps as a cache keeps open
    Records spare(records.size());
    for (int axis = 2; axis >= 0; --axis) {
        for (int shift = 0; shift < 32 && (most[axis] >> static_cast<unsigned int>(shift)) != 0; shift += mostBits)
            sortByBits(records, spare, axis, shift, std::min(mostBits, 32 - shift));
    }
}

/// The cells are numbered from `mostReach` on, so that those around have numbers too.
Records sortedRecords(const Points &points, double edge)
{
    const pcVec3d least = boxOf(points).least;
    Records records(points.size());
    std::uint32_t most[3] = {};
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (int axis = 0; axis < 3; ++axis) {
            // Not negative: a conversion rounds down.
            const auto cell = static_cast<std::uint32_t>((static_cast<double>(points[i][axis]) - least[axis]) / edge)
                              + CellWalk::mostReach;
            records[i].cell[axis] = cell;
            most[axis] = std::max(most[axis], cell);
        }
        records[i].index = static_cast<std::uint32_t>(i);
    }
    sortByCell(records, most);
    return records;
}

bool isSameCell(const Record &a, const Record &b)
{
    return std::equal(std::begin(a.cell), std::end(a.cell), std::begin(b.cell));
}

std::size_t countCells(const Records &records)
{
    std::size_t count = records.empty() ? 0 : 1;
    for (std::size_t i = 1; i < records.size(); ++i)
        count += isSameCell(records[i - 1], records[i]) ? 0 : 1;
    return count;
}

} // namespace

void CellGrid::checkEdge(const Points &points, const char *key, double edge)
{
    const Box box = boxOf(points);
    const pcVec3d size = box.most - box.least;
    const double longest = std::max({size.x(), size.y(), size.z()});
    if (!(longest / edge <= mostCells)) {
        throw Failure(ExitCode::Argument,
                      QStringLiteral("%1 is %2: that is too little for points %3 apart; try %4 or more")
                          .arg(QLatin1String(key))
                          .arg(edge)
                          .arg(longest)
                          .arg(longest / mostCells));
    }
}

CellGrid::CellGrid(const Points &points, double edge)
{
    requireMemory(points.size() * bytesOfPoint, QStringLiteral("sorting %1 points into cells").arg(points.size()));
    const Records records = sortedRecords(points, edge);
    m_cells.reserve(countCells(records) + 1);
    m_indices.reserve(points.size());
    m_points.reserve(points.size());
    for (const Record &record : records) {
        const auto place = static_cast<std::uint32_t>(m_indices.size());
        if (place == 0 || !isSameCell(records[place - 1], record))
            m_cells.push_back({std::uint64_t{record.cell[0]} << 32U | record.cell[1], record.cell[2], place});
        m_indices.push_back(record.index);
        m_points.push_back(points[record.index]);
    }
    // Its column is behind any that is asked for.
    m_cells.push_back({~std::uint64_t{0}, 0, static_cast<std::uint32_t>(m_indices.size())});
}

CellWalk::CellWalk(const CellGrid &grid, std::uint32_t first, int reach, Side side)
    : m_grid(grid), m_reach(static_cast<std::uint32_t>(reach)), m_onlyLater(side == Side::Later)
{
    for (int x = m_onlyLater ? 0 : -reach; x <= reach; ++x) {
        for (int y = m_onlyLater && x == 0 ? 0 : -reach; y <= reach; ++y) {
            Finger finger{};
            finger.toColumn = static_cast<std::uint64_t>(x * columnsOfRow + y);
            finger.isOwn = x == 0 && y == 0;
            CellGrid::Cell wanted = grid.m_cells[first];
            wanted.column += finger.toColumn;
            wanted.z -= m_reach;
            finger.first = static_cast<std::uint32_t>(
                std::lower_bound(grid.m_cells.begin(), grid.m_cells.end() - 1, wanted, CellGrid::isBefore)
                - grid.m_cells.begin());
            finger.end = finger.first;
            m_fingers[m_count++] = finger;
        }
    }
}

void CellWalk::advance(Finger &finger, std::uint32_t cell) const
{
    const std::vector<CellGrid::Cell> &cells = m_grid.m_cells;
    CellGrid::Cell least = cells[cell];
    least.column += finger.toColumn;
    const std::uint32_t most = least.z + m_reach;
    least.z -= m_reach;
    // The cell behind all is before none.
    while (CellGrid::isBefore(cells[finger.first], least))
        ++finger.first;
    finger.end = std::max(finger.end, finger.first);
    while (cells[finger.end].column == least.column && cells[finger.end].z <= most)
        ++finger.end;
}
