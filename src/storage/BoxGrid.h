#pragma once

#include "pcBoundingVolume.h"

#include <array>
#include <vector>

namespace ptCloud
{

/// A grid of cubic boxes over a range of integer coordinates, from which every grid builder takes its blocks.
///
/// Boxes are numbered from 0 with z varying fastest, then y. Each holds its lower sides and not its upper ones, so the
/// boxes share out the integers; the last box of an axis reaches past the range. All arithmetic is 64 bits wide: a
/// range taken from a damaged header neither wraps nor runs for ever.
class BoxGrid
{
public:
    static constexpr int noBox = -1;

    /// The range of one axis, both ends inside.
    struct Range
    {
        qint64 lower = 0;
        qint64 upper = 0;
    };
    using Ranges = std::array<Range, 3>;

    explicit BoxGrid(const Ranges &ranges);

    /// Edge of the boxes for the longest of the extents: a sixteenth of it, rounded down to a multiple of 1000 and at
    /// least 1000. On the longest axis that makes at most 32 boxes.
    static qint64 boxSize(const Ranges &ranges);

    int boxCount() const { return m_counts[0] * m_counts[1] * m_counts[2]; }

    /// The box that holds the point, or `noBox`.
    int boxOf(int x, int y, int z) const
    {
        const int ix = indexOn(0, x);
        const int iy = indexOn(1, y);
        const int iz = indexOn(2, z);
        return (ix | iy | iz) < 0 ? noBox : numberOf(ix, iy, iz);
    }

    /// The box at these places along the axes.
    int numberOf(int ix, int iy, int iz) const { return (ix * m_counts[1] + iy) * m_counts[2] + iz; }

    /// The two corners of a box, in the grid's integers.
    Ranges cornersOf(int box) const;

    /// Where the boxes of an axis begin, and at the end where the last one ends.
    std::vector<qint64> edgesOf(std::size_t axis) const;

private:
    int indexOn(std::size_t axis, int value) const
    {
        const qint64 distance = value - m_lower[axis];
        if (distance < 0 || distance >= m_end[axis])
            return noBox;
        // Both numbers are far below 2^53 and so is the quotient: the division can't round up to the next box, and it
        // is several times as fast as one of integers.
        return static_cast<int>(static_cast<double>(distance) / m_divisor);
    }

    std::array<qint64, 3> m_lower;
    std::array<qint64, 3> m_end; ///< where the last box ends, from `m_lower`
    std::array<int, 3> m_counts;
    qint64 m_size;
    double m_divisor;
};

} // namespace ptCloud
