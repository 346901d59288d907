#include "CellAxis.h"

#include <algorithm>
#include <cmath>

namespace ptCloud
{

bool CellAxis::layOut(float low, float high, float step, std::size_t mostCells)
{
    m_edges.clear();
    m_below.clear();
    if (!(low < high))
        return true;
    m_edges.push_back(low);
    for (float edge = low; edge < high; m_edges.push_back(edge)) {
        const float next = edge + step;
        if (next == edge || m_edges.size() > mostCells)
            return false;
        edge = next;
    }
    // A step that is no number makes one cell whose far edge lies nowhere: nothing is ever in it.
    if (!std::isfinite(m_edges.back())) {
        m_edges.clear();
        return true;
    }
    m_cellsPerUnit = static_cast<double>(cells()) / (static_cast<double>(m_edges.back()) - static_cast<double>(low));
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

std::size_t CellAxis::find(float value) const
{
    if (m_edges.empty() || !(value > m_edges.front()) || !(m_edges.back() >= value))
        return none;
    const double distance = static_cast<double>(value) - static_cast<double>(m_edges.front());
    std::size_t cell = std::min(static_cast<std::size_t>(distance * m_cellsPerUnit), cells() - 1);
    // The even spacing is a guess, mostly right or next to right.
    for (int attempt = 0; attempt < 8; ++attempt) {
        if (!(value > m_edges[cell]))
            --cell;
        else if (!(m_edges[cell + 1] >= value))
            ++cell;
        else
            return cell;
    }
    return static_cast<std::size_t>(std::lower_bound(m_edges.begin(), m_edges.end(), value) - m_edges.begin()) - 1;
}

} // namespace ptCloud
