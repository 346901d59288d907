#pragma once

#include "BoxGrid.h"
#include "stPtCloud_PointArray.h"

#include <array>
#include <optional>
#include <vector>

namespace ptCloud
{

/// The grid of boxes over the points of an array, in the array's own coordinates: what `BoxGrid` is over integers.
///
/// The corners of the boxes are integers and the points are floats. A point is compared with the corners as floats, so
/// the answer comes from these very numbers and not from a division; a NaN is in no box.
class ArrayGrid
{
public:
    /// Of an array with points and positions.
    explicit ArrayGrid(const stPtCloud_PointArray &array);

    /// The range of the positions, rounded outwards, with a margin of 1.
    static BoxGrid::Ranges rangeOf(const stPtCloud_PointArray &array);
    /// Corners as they are stored with a block.
    static pcBoundingBoxf toBox(const BoxGrid::Ranges &corners);

    int boxCount() const { return m_grid.boxCount(); }
    /// The box that holds the point, or `BoxGrid::noBox`.
    int boxOf(const pcVec3f &point) const
    {
        const int x = indexOn(0, point.x());
        const int y = indexOn(1, point.y());
        const int z = indexOn(2, point.z());
        return (x | y | z) < 0 ? BoxGrid::noBox : m_grid.numberOf(x, y, z);
    }
    pcBoundingBoxf boxAt(int box) const { return toBox(m_grid.cornersOf(box)); }

    /// From the first corner of all boxes to the last.
    pcBoundingBoxf extent() const;
    /// Whether the range could be told in integers, so that every point with finite coordinates lies in it.
    bool isWhole() const;

private:
    int indexOn(std::size_t axis, float value) const;

    BoxGrid m_grid;
    std::array<std::vector<float>, 3> m_edges; ///< of each axis, one more than boxes
};

} // namespace ptCloud
