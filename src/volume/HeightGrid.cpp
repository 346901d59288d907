#include "HeightGrid.h"

#include <QtGlobal>

#include <algorithm>
#include <limits>
#include <new>
#include <numeric>

namespace ptCloud
{

namespace
{

constexpr float absent = std::numeric_limits<float>::quiet_NaN();

/// Answers for one horizontal line after another what `QPolygonF::containsPoint` with `Qt::OddEvenFill` answers for its
/// points: a point is inside if an odd number of edges cross the line at or left of it. The arithmetic is that of Qt,
/// done once for a line instead of once for a point.
class LineCrossings
{
public:
    /// Throws `std::bad_alloc` where there are more than any outline of an area has.
    LineCrossings(const std::vector<float> &lines, const QPolygonF &closedPolygon)
    {
        // Each edge looks for its lines, and not each line at all edges: a damaged file can have a million corners.
        const std::vector<Edge> edges = crossedEdges(lines, closedPolygon);
        m_first.assign(lines.size() + 1, 0);
        for (const Edge &edge : edges) {
            for (std::size_t line = edge.firstLine; line < edge.endLine; ++line)
                ++m_first[line + 1];
        }
        std::partial_sum(m_first.begin(), m_first.end(), m_first.begin());
        m_x.resize(m_first.back());
        m_passed.assign(m_first.begin(), m_first.end() - 1);
        for (const Edge &edge : edges) {
            for (std::size_t line = edge.firstLine; line < edge.endLine; ++line)
                m_x[m_passed[line]++] = edge.crossingAt(static_cast<double>(lines[line]));
        }
        for (std::size_t line = 0; line < lines.size(); ++line)
            std::sort(iteratorAt(m_first[line]), iteratorAt(m_first[line + 1]));
        m_passed.assign(m_first.begin(), m_first.end() - 1);
    }

    /// Whether the point at `x` on a line is inside; `x` must not fall from call to call.
    bool contains(float x, std::size_t line)
    {
        std::size_t &passed = m_passed[line];
        while (passed < m_first[line + 1] && m_x[passed] <= static_cast<double>(x))
            ++passed;
        return (passed - m_first[line]) % 2 != 0;
    }

private:
    static constexpr std::size_t mostCrossings = HeightGrid::mostCells;

    /// An edge and the lines that it crosses: those from its lower end on and below its higher one.
    struct Edge
    {
        double crossingAt(double y) const
        {
            return low.x() + ((high.x() - low.x()) / (high.y() - low.y())) * (y - low.y());
        }

        QPointF low;
        QPointF high;
        std::size_t firstLine;
        std::size_t endLine;
    };

    static std::vector<Edge> crossedEdges(const std::vector<float> &lines, const QPolygonF &closedPolygon)
    {
        const auto lineFrom = [&lines](double y) {
            const auto isBelow = [](float line, double value) { return static_cast<double>(line) < value; };
            return static_cast<std::size_t>(std::lower_bound(lines.begin(), lines.end(), y, isBelow) - lines.begin());
        };
        std::vector<Edge> edges;
        std::size_t crossings = 0;
        for (int i = 1; i < closedPolygon.size(); ++i) {
            const auto [low, high] = std::minmax(closedPolygon.at(i - 1), closedPolygon.at(i),
                                                 [](const QPointF &a, const QPointF &b) { return a.y() < b.y(); });
            if (qFuzzyCompare(low.y(), high.y()))
                continue;
            const Edge edge = {low, high, lineFrom(low.y()), lineFrom(high.y())};
            if (edge.firstLine == edge.endLine)
                continue;
            edges.push_back(edge);
            crossings += edge.endLine - edge.firstLine;
            if (crossings > mostCrossings)
                throw std::bad_alloc();
        }
        return edges;
    }

    std::vector<double>::iterator iteratorAt(std::size_t index)
    {
        return m_x.begin() + static_cast<std::ptrdiff_t>(index);
    }

    std::vector<double> m_x;           ///< of all lines, ascending in each
    std::vector<std::size_t> m_first;  ///< where a line's crossings start in `m_x`; one more at the end
    std::vector<std::size_t> m_passed; ///< the first crossing of a line that is right of the last point
};

/// Finds the height that a hole takes over. Asked for one cell after another in key order, it walks every cell a
/// bounded number of times in all: what lies ahead does not change before it is reached, so the end of a stretch of
/// holes is remembered, and behind no hole is left but those that were passed over.
class NearestHeight
{
public:
    NearestHeight(const CellAxis &x, const CellAxis &y, const std::vector<float> &heights)
        : m_x(x), m_y(y), m_heights(heights), m_columns(x.cells()), m_rows(y.cells()), m_endToTheRight(m_rows, 0)
    {}

    /// `HeightGrid::noHeight` if no direction has one.
    float of(std::size_t column, std::size_t row)
    {
        float height = below(column, row);
        if (height == HeightGrid::noHeight)
            height = above(column, row);
        if (height == HeightGrid::noHeight)
            height = left(column, row);
        if (height == HeightGrid::noHeight)
            height = right(column, row);
        return height;
    }

private:
    float at(std::size_t column, std::size_t row) const { return m_heights[column * m_rows + row]; }
    bool isHole(std::size_t column, std::size_t row) const { return at(column, row) == HeightGrid::noHeight; }

    /// What a search that ended at this cell found: nothing where the cell is not in the grid, or there is none.
    float found(std::size_t column, std::size_t row) const
    {
        if (column >= m_columns || row >= m_rows)
            return HeightGrid::noHeight;
        const float height = at(column, row);
        return height == height ? height : HeightGrid::noHeight;
    }

    float below(std::size_t column, std::size_t row) const
    {
        do
            row = m_y.below(row);
        while (row != CellAxis::none && isHole(column, row));
        return found(column, row);
    }
    float left(std::size_t column, std::size_t row) const
    {
        do
            column = m_x.below(column);
        while (column != CellAxis::none && isHole(column, row));
        return found(column, row);
    }
    float above(std::size_t column, std::size_t row)
    {
        if (m_column != column || m_endAbove <= row) {
            m_column = column;
            m_endAbove = row + 1;
            while (m_endAbove < m_rows && isHole(column, m_endAbove))
                ++m_endAbove;
        }
        return found(column, m_endAbove);
    }
    float right(std::size_t column, std::size_t row)
    {
        std::size_t &end = m_endToTheRight[row];
        if (end <= column) {
            end = column + 1;
            while (end < m_columns && isHole(end, row))
                ++end;
        }
        return found(end, row);
    }

    const CellAxis &m_x;
    const CellAxis &m_y;
    const std::vector<float> &m_heights;
    std::size_t m_columns;
    std::size_t m_rows;
    std::size_t m_column = CellAxis::none; ///< the column that `m_endAbove` is about
    std::size_t m_endAbove = 0;            ///< the first cell above that is no hole
    std::vector<std::size_t> m_endToTheRight;
};

} // namespace

bool HeightGrid::layOut(const AreaPolygon &area, float cellSize)
{
    m_heights.clear();
    m_present = 0;
    if (!m_x.layOut(area.xMin(), area.xMax(), cellSize, mostCells))
        return false;
    const std::size_t columns = m_x.cells();
    if (columns == 0)
        return true;
    if (!m_y.layOut(area.yMin(), area.yMax(), cellSize, mostCells / columns))
        return false;
    markCells(area.polygon());
    return true;
}

void HeightGrid::markCells(const QPolygonF &polygon)
{
    const std::size_t rows = m_y.cells();
    if (rows == 0)
        return;
    m_heights.assign(m_x.cells() * rows, absent);
    LineCrossings crossings(m_y.edges(), polygon);
    std::vector<char> left(rows + 1);
    std::vector<char> right(rows + 1);
    const auto look = [&crossings](float x, std::vector<char> &inside) {
        for (std::size_t line = 0; line < inside.size(); ++line)
            inside[line] = crossings.contains(x, line) ? 1 : 0;
    };
    look(m_x.low(0), left);
    for (std::size_t i = 0; i < m_x.cells(); ++i) {
        look(m_x.high(i), right);
        for (std::size_t j = 0; j < rows; ++j) {
            if ((left[j] & right[j] & right[j + 1] & left[j + 1]) != 0) {
                m_heights[i * rows + j] = noHeight;
                ++m_present;
            }
        }
        left.swap(right);
    }
}

std::size_t HeightGrid::nextPresent(std::size_t index) const
{
    while (index < m_heights.size() && m_heights[index] != m_heights[index])
        ++index;
    return index;
}

void HeightGrid::fillHoles()
{
    const std::size_t rows = m_y.cells();
    if (rows == 0)
        return;
    NearestHeight nearest(m_x, m_y, m_heights);
    for (std::size_t index = nextPresent(0); index < m_heights.size(); index = nextPresent(index + 1)) {
        if (m_heights[index] != noHeight)
            continue;
        m_heights[index] = nearest.of(index / rows, index % rows);
        if (m_heights[index] == noHeight) {
            m_heights[index] = absent;
            --m_present;
            index = nextPresent(index + 1);
        }
    }
}

} // namespace ptCloud
