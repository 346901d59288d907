#pragma once

#include "PtCloud_Types.h"
#include "pcBoundingVolume.h"
#include "pcVec.h"

#include <QList>
#include <QMap>
#include <QSet>
#include <QVariant>

#include <set>

namespace ptCloud
{

/// One triangle: three indices of points in the same block.
struct stTriangle
{
    unsigned int a;
    unsigned int b;
    unsigned int c;
};
static_assert(sizeof(stTriangle) == 12, "triangles are stored raw");

/// One block of points, held column by column: the unit in which points move through the library.
///
/// Every array holds `m_pointCount` elements, `m_triangle` alone `m_triangleCount`. A null array means that the block
/// lacks the column, and every operation tests for that. `m_pointIndices` and `m_pointMarks` are there whenever the
/// block holds points.
///
///     stPtCloud_PointArray block;
///     if (!block.alloc(count, {EDataSetColumn_Position, EDataSetColumn_Color}, false, 0))
///         return false; // memory exhausted, or a column above 18
///     for (unsigned int i = 0; i < count; ++i)
///         block.m_position[i].set(x, y, z);
///
/// The structure owns its arrays, each an allocation of its own made by `std::calloc`; `clear` and the destructor
/// release them with `std::free`. A host that puts in an array of its own takes it from there. Not for two threads at
/// once.
struct POINTS_CLOUD_EXPORT stPtCloud_PointArray
{
    unsigned int m_pointCount = 0;
    int m_blockTag = -1; ///< stored with the block, never interpreted
    unsigned int m_triangleCount = 0;
    unsigned int *m_pointIndices = nullptr; ///< running index of each point, from 0 in every run of a builder
    unsigned char *m_pointMarks = nullptr;  ///< not 0: the point is marked

    pcVec3f *m_position = nullptr;
    pcVec3f *m_normal = nullptr;
    stTriangle *m_triangle = nullptr;
    pcVec4f *m_color = nullptr;
    unsigned short *m_intensity = nullptr;
    unsigned char *m_returnNumber = nullptr;
    unsigned char *m_numberOfReturns = nullptr;
    unsigned char *m_scanDirection = nullptr;
    unsigned char *m_edgeOfFlightLine = nullptr;
    unsigned char *m_classification = nullptr;
    unsigned char *m_scanAngleRank = nullptr;
    unsigned char *m_userData = nullptr;
    unsigned short *m_pointSourceId = nullptr;
    double *m_gpsTime = nullptr;
    unsigned char *m_wavePacketDescriptorIndex = nullptr;
    quint64 *m_byteOffsetToWaveformData = nullptr;
    unsigned int *m_waveformPacketSize = nullptr;
    float *m_returnPointWaveformLocation = nullptr;
    pcVec3f *m_waveformXyzT = nullptr;

    stPtCloud_PointArray() = default;
    ~stPtCloud_PointArray() { clear(); }
    stPtCloud_PointArray(const stPtCloud_PointArray &) = delete;

    /// A flat copy of every field, pointers included: nothing is freed and no array is duplicated. Afterwards two
    /// objects name the same arrays, and only one of them may be cleared or destroyed. It moves a block into a place
    /// that takes it over; `makeCopy` makes an independent copy.
    stPtCloud_PointArray &operator=(const stPtCloud_PointArray &source);

    /// Drops what the array held and makes room for `pointCount` points with the given columns, all zero.
    ///
    /// A `pointCount` of 0 allocates nothing and is true whatever the list says. The triangle column is made only
    /// `withTriangles` and with a `triangleCount` above 0, else passed over. False for a column above 18 and where
    /// memory is short; what was made before stays until `clear`.
    bool alloc(unsigned int pointCount, const QList<EDataSetColumn> &columns, bool withTriangles,
               unsigned int triangleCount);

    /// Back to the empty array, with tag -1; frees every array that is there.
    void clear();

    /// Copies `count` elements from element `sourceStart` of the source to element `targetStart` of this array, for the
    /// indices, the marks and each column but the triangles that both have. The ranges may overlap. Neither bounds nor
    /// counts are looked at or changed: the caller has made room.
    void copy_noTriangle(const stPtCloud_PointArray &source, unsigned int sourceStart, unsigned int targetStart,
                         unsigned int count);

    /// Makes an independent copy, owned by the caller (`delete`). False and null where memory is short.
    bool makeCopy(stPtCloud_PointArray *&copy) const;

    /// Appends the columns that the array has, in ascending order; the list is not emptied first.
    void getColumns(QList<EDataSetColumn> &columns) const;

    /// The values of one point, by column: vectors and colours as a `QVariantList` of floats, integers up to 16 bits as
    /// `int`, the others in their own type. The triangles, index and mark are not among them. Entries that `values`
    /// holds under other columns stay.
    ///
    /// False without a position column or for an index above `m_pointCount`. An index equal to the count passes, with
    /// zeros for values; no caller should use it.
    bool getPeace(unsigned int index, QMap<EDataSetColumn, QVariant> &values) const;

    /// \name Marks
    /// A mark is 0 or 1, kept in `m_pointMarks`. Builders write over them.
    /// @{

    /// False without marks or for an index above `m_pointCount`. An index equal to the count is true and does nothing;
    /// no caller should use it.
    bool markPoint(unsigned int index, bool marked);
    /// Marks points; an index that is no point's is passed over.
    void markPoints(const QSet<unsigned int> &indices);
    /// Takes all marks away and enters the indices of the points that had one; `marked` is not emptied first.
    void removeAllMarks(QSet<unsigned int> &marked);
    /// @}

    /// \name Removing points
    /// The points that stay keep their order and close ranks in every column; arrays keep their size. Boxes and spheres
    /// remove nothing without a position column.
    ///
    /// **Triangles are bent:** one with a corner among the removed points goes, and in the others a corner in front of
    /// the first removed point becomes point 0, even where nothing was removed. A host that needs its triangles builds
    /// them after the cut. A block whose triangles all went keeps the empty array, and can't be built into a file
    /// with it: `std::free` it and set it to null.
    /// @{

    /// The surface of the box counts as inside; so does a coordinate that is not a number. An invalid box has no
    /// inside.
    void removeInnerByBox(const pcBoundingBoxf &box);
    void removeOutterByBox(const pcBoundingBoxf &box);
    /// By the squared distance in `float`; the surface counts as inside, and so does a point with a coordinate that
    /// is not a number. A sphere of negative radius has no inside.
    void removeInnerBySphere(const pcBoundingSpheref &sphere);
    void removeOutterBySphere(const pcBoundingSpheref &sphere);
    /// Always true. An index that is no point's removes none, though triangles that name it go. Without
    /// `m_pointIndices` no point is left.
    bool removePointsByIndies(const std::set<unsigned int> &indices);
    /// @}
};

} // namespace ptCloud
