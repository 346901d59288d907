#pragma once

#include "Points.h"
#include "Progress.h"
#include "stPtCloud_PointArray.h"

#include <QString>

#include <cstdint>

/// The points of a run's source file: all blocks in one array, in the order of the blocks' keys.
///
/// A point without a usable position (not finite, or farther than `largestCoordinate` from zero) is left out and
/// counted. The others stand twice: with all the columns of the file in `array`, and as positions near a local origin
/// in `points`, so that floats and their squares hold them well. Both have the same order: index i here is index i
/// there.
class SourceCloud
{
public:
    static constexpr double largestCoordinate = 1e9;

    /// Reads the file whole. Throws `Failure`: `ReadSource` where it can't be read or no usable point is in it,
    /// `Memory` where it would not fit.
    SourceCloud(const QString &path, Progress &progress);

    /// All columns but triangles; positions as in the file.
    const ptCloud::stPtCloud_PointArray &array() const { return m_array; }
    /// Positions minus the origin.
    const Points &points() const { return m_points; }
    std::uint32_t size() const { return m_array.m_pointCount; }
    /// The whole numbers nearest to the middle of the points' box.
    const ptCloud::pcVec3d &origin() const { return m_origin; }
    /// The file's position of a place near the origin.
    ptCloud::pcVec3f toFile(const ptCloud::pcVec3d &local) const;

    std::uint64_t leftOut() const { return m_leftOut; }
    /// ", 3 points without a usable position left out", to put behind a message; empty where none was.
    QString leftOutNote() const;

private:
    void read(const QString &path, Progress &progress);
    void append(const ptCloud::stPtCloud_PointArray &block);
    void shift();

    ptCloud::stPtCloud_PointArray m_array;
    Points m_points;
    ptCloud::pcVec3d m_origin;
    std::uint64_t m_leftOut = 0;
};
