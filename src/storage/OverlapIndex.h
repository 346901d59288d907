#pragma once

#include "pcBoundingVolume.h"

#include <array>
#include <map>
#include <vector>

namespace ptCloud
{

/// Boxes, numbered from 0 as they come, and those of them that share space with a box: found by where they begin,
/// without a look at all of them.
///
/// Boxes of about one size, axis by axis, lie in one lattice. Its cells are at least as long as each of them, so
/// whatever reaches into a box begins in a cell that the box reaches into, or in one right before.
class OverlapIndex
{
public:
    void add(const pcBoundingBoxf &box);
    /// In ascending order. Boxes that only touch share no space.
    std::vector<std::size_t> overlapping(const pcBoundingBoxf &box) const;

private:
    using Cell = std::array<qint64, 3>;
    using SizeClass = std::array<int, 3>; ///< of each axis the power of two above the length
    using Lattice = std::map<Cell, std::vector<std::size_t>>;

    void collect(const Lattice::value_type &cell, const pcBoundingBoxf &box, std::vector<std::size_t> &found) const;
    void collect(const SizeClass &sizes, const Lattice &lattice, const pcBoundingBoxf &box,
                 std::vector<std::size_t> &found) const;

    std::vector<pcBoundingBoxf> m_boxes;
    std::map<SizeClass, Lattice> m_lattices;
};

} // namespace ptCloud
