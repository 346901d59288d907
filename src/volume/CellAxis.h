#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ptCloud
{

/// The cells of a grid along one axis: their edges as a chain of float additions makes them.
///
/// In floats the edges are not evenly spaced, and that a step up and a step down cancel is not certain. Both decide
/// which cell a point is in and which cell is a neighbour, so every answer comes from the edges themselves.
class CellAxis
{
public:
    /// Lays edges from `low` on, a `step` apart, until one is not below `high`. False if there would be more than
    /// `mostCells` cells, or if a step no longer moves the edge.
    bool layOut(float low, float high, float step, std::size_t mostCells);

    std::size_t cells() const { return m_edges.empty() ? 0 : m_edges.size() - 1; }
    float low(std::size_t cell) const { return m_edges[cell]; }
    float high(std::size_t cell) const { return m_edges[cell + 1]; }
    /// One more than there are cells.
    const std::vector<float> &edges() const { return m_edges; }

    /// The cell that holds a value above its lower edge and up to its upper one; `none` if there is no such cell.
    std::size_t find(float value) const
    {
        if (!(value > m_lowest) || !(m_highest >= value))
            return none;
        // Even spacing is a guess, mostly right.
        const double distance = static_cast<double>(value) - static_cast<double>(m_lowest);
        const std::size_t cell = std::min(static_cast<std::size_t>(distance * m_cellsPerUnit), m_last);
        return value > m_edges[cell] && m_edges[cell + 1] >= value ? cell : search(value);
    }

    /// The cell whose two edges are this cell's after one step down; `none` if rounding leads to no cell.
    /// One step up always leads to the next cell: the edges were made by this very step.
    std::size_t below(std::size_t cell) const { return m_below[cell]; }
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

private:
    void linkDownwards(float step);
    std::size_t search(float value) const;

    std::vector<float> m_edges; ///< empty: no cell
    std::vector<std::size_t> m_below;
    float m_lowest = 0; ///< of all edges; `m_lowest` to `m_highest` is empty while there is no cell
    float m_highest = 0;
    double m_cellsPerUnit = 0;
    std::size_t m_last = 0;
};

} // namespace ptCloud
