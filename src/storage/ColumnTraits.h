#pragma once

#include "stPtCloud_PointArray.h"

#include <array>
#include <cstddef>

namespace ptCloud
{

/// What every operation on columns has to know of one array of a `stPtCloud_PointArray`.
///
/// There is one table of these, `blockArrays`, in the order of the fields and of the bytes on disk. Allocation, copies,
/// queries, block sizes, reading and writing all walk it, so that a column is described in one place.
struct ColumnTraits
{
    enum Count { ByPoints, ByTriangles };

    EDataSetColumn column;
    unsigned int elementSize;
    Count count;
    void *(*get)(const stPtCloud_PointArray &array);
    void (*set)(stPtCloud_PointArray &array, void *elements);
    /// The value of one element as a host sees it.
    QVariant (*toVariant)(const void *element);

    unsigned int countOf(const stPtCloud_PointArray &array) const
    {
        return count == ByTriangles ? array.m_triangleCount : array.m_pointCount;
    }
};

namespace detail
{

QVariant toVariant(const pcVec3f &value);
QVariant toVariant(const pcVec4f &value);
QVariant toVariant(const stTriangle &value);
inline QVariant toVariant(unsigned char value)
{
    return static_cast<int>(value);
}
inline QVariant toVariant(unsigned short value)
{
    return static_cast<int>(value);
}
template <typename T>
QVariant toVariant(const T &value)
{
    return QVariant(value);
}

template <auto member>
constexpr ColumnTraits columnTraits(int column, ColumnTraits::Count count = ColumnTraits::ByPoints)
{
    using Array = std::remove_reference_t<decltype(std::declval<stPtCloud_PointArray &>().*member)>;
    using Element = std::remove_pointer_t<Array>;
    return {static_cast<EDataSetColumn>(column),
            sizeof(Element),
            count,
            [](const stPtCloud_PointArray &array) -> void * { return array.*member; },
            [](stPtCloud_PointArray &array, void *elements) { array.*member = static_cast<Element *>(elements); },
            [](const void *element) { return toVariant(*static_cast<const Element *>(element)); }};
}

using A = stPtCloud_PointArray;

} // namespace detail

/// The indices and the marks, which every block with points has and no column list names, have no column value.
inline constexpr int unlistedColumn = -1;

/// All arrays of a block: indices, marks, then the columns 0 to 18.
inline constexpr std::array<ColumnTraits, 21> blockArrays = {{
    detail::columnTraits<&detail::A::m_pointIndices>(unlistedColumn),
    detail::columnTraits<&detail::A::m_pointMarks>(unlistedColumn),
    detail::columnTraits<&detail::A::m_position>(EDataSetColumn_Position),
    detail::columnTraits<&detail::A::m_normal>(EDataSetColumn_Normal),
    detail::columnTraits<&detail::A::m_triangle>(EDataSetColumn_Triangle, ColumnTraits::ByTriangles),
    detail::columnTraits<&detail::A::m_color>(EDataSetColumn_Color),
    detail::columnTraits<&detail::A::m_intensity>(EDataSetColumn_Intensity),
    detail::columnTraits<&detail::A::m_returnNumber>(EDataSetColumn_ReturnNumber),
    detail::columnTraits<&detail::A::m_numberOfReturns>(EDataSetColumn_NumberOfReturns),
    detail::columnTraits<&detail::A::m_scanDirection>(EDataSetColumn_ScanDirection),
    detail::columnTraits<&detail::A::m_edgeOfFlightLine>(EDataSetColumn_EdgeOfFlightLine),
    detail::columnTraits<&detail::A::m_classification>(EDataSetColumn_Classification),
    detail::columnTraits<&detail::A::m_scanAngleRank>(EDataSetColumn_ScanAngleRank),
    detail::columnTraits<&detail::A::m_userData>(EDataSetColumn_UserData),
    detail::columnTraits<&detail::A::m_pointSourceId>(EDataSetColumn_PointSourceId),
    detail::columnTraits<&detail::A::m_gpsTime>(EDataSetColumn_GpsTime),
    detail::columnTraits<&detail::A::m_wavePacketDescriptorIndex>(EDataSetColumn_WavePacketDescriptorIndex),
    detail::columnTraits<&detail::A::m_byteOffsetToWaveformData>(EDataSetColumn_ByteOffsetToWaveformData),
    detail::columnTraits<&detail::A::m_waveformPacketSize>(EDataSetColumn_WaveformPacketSize),
    detail::columnTraits<&detail::A::m_returnPointWaveformLocation>(EDataSetColumn_ReturnPointWaveformLocation),
    detail::columnTraits<&detail::A::m_waveformXyzT>(EDataSetColumn_WaveformXyzT),
}};

/// Walks a part of `blockArrays` in a range-based loop.
struct ColumnTraitsRange
{
    const ColumnTraits *first;
    const ColumnTraits *last;
    const ColumnTraits *begin() const { return first; }
    const ColumnTraits *end() const { return last; }
};

/// The two arrays that stand in front of the listed columns.
inline constexpr ColumnTraitsRange unlistedArrays = {blockArrays.data(), blockArrays.data() + 2};
/// The columns 0 to 18.
inline constexpr ColumnTraitsRange columnArrays = {blockArrays.data() + 2, blockArrays.data() + blockArrays.size()};

/// The traits of a listed column; null for a value above 18. The value may come from a file, so it is compared
/// unsigned.
inline const ColumnTraits *findColumn(EDataSetColumn column)
{
    constexpr unsigned int columnCount = blockArrays.size() - 2;
    const auto index = static_cast<unsigned int>(column);
    return index < columnCount ? columnArrays.first + index : nullptr;
}

/// Gives `array` zeroed indices and marks for `points` points and an array for each listed column, the triangles only
/// if there are any. The counts are left alone. A count of 0 makes arrays too.
///
/// False at the first column above 18 and where memory is short; what was made before stays. The memory comes untouched
/// from the system, so that an absurd count costs addresses, not pages.
bool allocateColumns(stPtCloud_PointArray &array, const QList<EDataSetColumn> &columns, unsigned int points,
                     unsigned int triangles);

} // namespace ptCloud
