#include "OverlapIndex.h"

#include <algorithm>
#include <cmath>

namespace ptCloud
{

namespace
{

std::array<float, 3> lowOf(const pcBoundingBoxf &box)
{
    return {box.xMin(), box.yMin(), box.zMin()};
}

std::array<float, 3> highOf(const pcBoundingBoxf &box)
{
    return {box.xMax(), box.yMax(), box.zMax()};
}

/// The cells are powers of two long, so the division is exact.
std::array<qint64, 3> cellOf(const std::array<float, 3> &corner, const std::array<int, 3> &sizes)
{
    std::array<qint64, 3> cell{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        cell[axis] = static_cast<qint64>(std::floor(std::ldexp(static_cast<double>(corner[axis]), -sizes[axis])));
    return cell;
}

bool sharesSpace(const pcBoundingBoxf &a, const pcBoundingBoxf &b)
{
    return a.xMin() < b.xMax() && b.xMin() < a.xMax() && a.yMin() < b.yMax() && b.yMin() < a.yMax()
           && a.zMin() < b.zMax() && b.zMin() < a.zMax();
}

} // namespace

void OverlapIndex::add(const pcBoundingBoxf &box)
{
    const std::array<float, 3> low = lowOf(box);
    const std::array<float, 3> high = highOf(box);
    SizeClass sizes{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        std::frexp(static_cast<double>(high[axis]) - static_cast<double>(low[axis]), &sizes[axis]);
    m_lattices[sizes][cellOf(low, sizes)].push_back(m_boxes.size());
    m_boxes.push_back(box);
}

std::vector<std::size_t> OverlapIndex::overlapping(const pcBoundingBoxf &box) const
{
    std::vector<std::size_t> found;
    for (const auto &[sizes, lattice] : m_lattices)
        collect(sizes, lattice, box, found);
    std::sort(found.begin(), found.end());
    return found;
}

void OverlapIndex::collect(const SizeClass &sizes, const Lattice &lattice, const pcBoundingBoxf &box,
                           std::vector<std::size_t> &found) const
{
    Cell first = cellOf(lowOf(box), sizes);
    for (qint64 &index : first)
        --index;
    const Cell last = cellOf(highOf(box), sizes);
    // A box far larger than these would ask for more cells than there are.
    const auto columns = static_cast<double>(last[0] - first[0] + 1) * static_cast<double>(last[1] - first[1] + 1);
    if (columns > static_cast<double>(lattice.size())) {
        for (const Lattice::value_type &cell : lattice)
            collect(cell, box, found);
        return;
    }
    for (qint64 x = first[0]; x <= last[0]; ++x) {
        for (qint64 y = first[1]; y <= last[1]; ++y) {
            const auto end = lattice.upper_bound({x, y, last[2]});
            for (auto cell = lattice.lower_bound({x, y, first[2]}); cell != end; ++cell)
                collect(*cell, box, found);
        }
    }
}

void OverlapIndex::collect(const Lattice::value_type &cell, const pcBoundingBoxf &box,
                           std::vector<std::size_t> &found) const
{
    for (const std::size_t number : cell.second) {
        if (sharesSpace(m_boxes[number], box))
            found.push_back(number);
    }
}

} // namespace ptCloud
