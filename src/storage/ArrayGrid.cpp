#include "ArrayGrid.h"

#include "IntegerArithmetic.h"

#include <algorithm>
#include <limits>

namespace ptCloud
{

namespace
{

BoxGrid::Range rangeOnAxis(const stPtCloud_PointArray &array, int axis)
{
    float low = std::numeric_limits<float>::max();
    float high = -std::numeric_limits<float>::max();
    for (unsigned int i = 0; i < array.m_pointCount; ++i) {
        const float value = array.m_position[i][axis];
        if (value < low)
            low = value;
        if (value > high)
            high = value;
    }
    const int a = truncToInt(static_cast<double>(low - 0.5F));
    const int b = truncToInt(static_cast<double>(high + 0.5F));
    return {static_cast<qint64>(std::min(a, b)) - 1, static_cast<qint64>(std::max(a, b)) + 1};
}

} // namespace

BoxGrid::Ranges ArrayGrid::rangeOf(const stPtCloud_PointArray &array)
{
    return {rangeOnAxis(array, 0), rangeOnAxis(array, 1), rangeOnAxis(array, 2)};
}

pcBoundingBoxf ArrayGrid::toBox(const BoxGrid::Ranges &corners)
{
    return {static_cast<float>(corners[0].lower), static_cast<float>(corners[1].lower),
            static_cast<float>(corners[2].lower), static_cast<float>(corners[0].upper),
            static_cast<float>(corners[1].upper), static_cast<float>(corners[2].upper)};
}

ArrayGrid::ArrayGrid(const stPtCloud_PointArray &array) : m_grid(rangeOf(array))
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const qint64 edge : m_grid.edgesOf(axis))
            m_edges[axis].push_back(static_cast<float>(edge));
    }
}

pcBoundingBoxf ArrayGrid::extent() const
{
    return {m_edges[0].front(), m_edges[1].front(), m_edges[2].front(),
            m_edges[0].back(),  m_edges[1].back(),  m_edges[2].back()};
}

bool ArrayGrid::isWhole() const
{
    constexpr float lowest = -2147483648.0F; // also what stands for a coordinate that no integer holds
    return std::all_of(m_edges.begin(), m_edges.end(),
                       [](const std::vector<float> &edges) { return edges.front() > lowest; });
}

int ArrayGrid::indexOn(std::size_t axis, float value) const
{
    const std::vector<float> &edges = m_edges[axis];
    const auto above = std::upper_bound(edges.begin(), edges.end(), value);
    return above == edges.end() ? BoxGrid::noBox : static_cast<int>(above - edges.begin()) - 1;
}

} // namespace ptCloud
