#include "CellAxis.h"

#include <cmath>

namespace ptCloud
{

bool CellAxis::layOut(float low, float high, float step, std::size_t mostCells)
{
    *this = CellAxis();
    if (!(low < high))
        return true;
    m_edges.push_back(low);
    for (float edge = low; edge < high; m_edges.push_back(edge)) {
        const float next = edge + step;
        if (next == edge || m_edges.size() > mostCells)
            return false;
        edge = next;
    }
    // A cell whose far edge lies nowhere has no corner inside anything.
    if (!std::isfinite(m_edges.back()))
        m_edges.pop_back();
    if (cells() == 0) {
        m_edges.clear();
        return true;
    }
    m_lowest = low;
    m_highest = m_edges.back();
    m_last = cells() - 1;
    m_cellsPerUnit = static_cast<double>(cells()) / (static_cast<double>(m_highest) - static_cast<double>(m_lowest));
    linkDownwards(step);
    return true;
}

void CellAxis::linkDownwards(float step)
{
    m_below.assign(cells(), none);
    for (std::size_t cell = 1; cell < cells(); ++cell) {
        const float lower = m_edges[cell] - step;
        const float upper = m_edges[cell + 1] - step;
        const auto found =
            std::lower_bound(m_edges.begin(), m_edges.begin() + static_cast<std::ptrdiff_t>(cell), lower);
        if (*found == lower && *(found + 1) == upper && found - m_edges.begin() < static_cast<std::ptrdiff_t>(cell))
            m_below[cell] = static_cast<std::size_t>(found - m_edges.begin());
    }
}

std::size_t CellAxis::search(float value) const
{
    return static_cast<std::size_t>(std::lower_bound(m_edges.begin(), m_edges.end(), value) - m_edges.begin()) - 1;
}

} // namespace ptCloud
