#include "BoxGrid.h"

#include <algorithm>

namespace ptCloud
{

BoxGrid::BoxGrid(const Ranges &ranges) : m_size(boxSize(ranges)), m_divisor(static_cast<double>(m_size))
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_lower[axis] = ranges[axis].lower;
        m_counts[axis] = static_cast<int>((ranges[axis].upper - ranges[axis].lower) / m_size) + 1;
        m_end[axis] = m_counts[axis] * m_size;
    }
}

qint64 BoxGrid::boxSize(const Ranges &ranges)
{
    qint64 longest = ranges[0].upper - ranges[0].lower;
    for (const Range &range : ranges)
        longest = std::max(longest, range.upper - range.lower);
    const auto sixteenth = static_cast<qint64>(static_cast<double>(longest) * 0.0625);
    return std::max<qint64>(sixteenth / 1000 * 1000, 1000);
}

BoxGrid::Ranges BoxGrid::cornersOf(int box) const
{
    const int index[3] = {box / m_counts[2] / m_counts[1], box / m_counts[2] % m_counts[1], box % m_counts[2]};
    Ranges corners;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        corners[axis].lower = m_lower[axis] + index[axis] * m_size;
        corners[axis].upper = corners[axis].lower + m_size;
    }
    return corners;
}

std::vector<qint64> BoxGrid::edgesOf(std::size_t axis) const
{
    std::vector<qint64> edges;
    for (int i = 0; i <= m_counts[axis]; ++i)
        edges.push_back(m_lower[axis] + i * m_size);
    return edges;
}

} // namespace ptCloud
