#pragma once

#include "stPtCloud_PointArray.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

/// What the tests of the point array share: an account of its arrays that is independent of the library's own.
namespace points
{

using ptCloud::stPtCloud_PointArray;

/// One of the arrays.
struct Array
{
    void *(*of)(const stPtCloud_PointArray &);
    std::ptrdiff_t (*placeIn)(const stPtCloud_PointArray &); ///< of the pointer, in bytes from the structure's start
    std::size_t elementBytes;
    bool triangles; ///< an element for each triangle, not for each point

    bool isIn(const stPtCloud_PointArray &block) const { return of(block) != nullptr; }

    /// The bytes of `count` elements from element `first`.
    std::vector<unsigned char> bytes(const stPtCloud_PointArray &block, unsigned int first, unsigned int count) const
    {
        const auto *start = static_cast<const unsigned char *>(of(block)) + elementBytes * first;
        return {start, start + elementBytes * count};
    }
    std::vector<unsigned char> bytes(const stPtCloud_PointArray &block) const
    {
        return bytes(block, 0, triangles ? block.m_triangleCount : block.m_pointCount);
    }
    /// Writes every byte of every element. No byte becomes 0, and no two seeds below 251 give the same.
    void fill(const stPtCloud_PointArray &block, unsigned int seed) const
    {
        auto *byte = static_cast<unsigned char *>(of(block));
        const std::size_t size = bytes(block).size();
        for (std::size_t i = 0; i < size; ++i)
            byte[i] = static_cast<unsigned char>(1 + (seed + i * 37) % 251);
    }
};

namespace detail
{

template <auto Member>
void *valueOf(const stPtCloud_PointArray &block)
{
    return block.*Member;
}
template <auto Member>
std::ptrdiff_t placeOf(const stPtCloud_PointArray &block)
{
    return reinterpret_cast<const char *>(&(block.*Member)) - reinterpret_cast<const char *>(&block);
}

/// The array that `Member` points to, with elements of the type and size that the columns have by definition.
template <typename Element, std::size_t Bytes, auto Member>
constexpr Array array(bool triangles = false)
{
    static_assert(std::is_same_v<Element * stPtCloud_PointArray::*, decltype(Member)> && sizeof(Element) == Bytes);
    return {&valueOf<Member>, &placeOf<Member>, Bytes, triangles};
}

} // namespace detail

/// The arrays that every block of points has.
inline const std::vector<Array> pointRecords = {
    detail::array<unsigned int, 4, &stPtCloud_PointArray::m_pointIndices>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_pointMarks>(),
};

/// The columns, each at the place of its value.
inline const std::vector<Array> columns = {
    detail::array<ptCloud::pcVec3f, 12, &stPtCloud_PointArray::m_position>(),
    detail::array<ptCloud::pcVec3f, 12, &stPtCloud_PointArray::m_normal>(),
    detail::array<ptCloud::stTriangle, 12, &stPtCloud_PointArray::m_triangle>(true),
    detail::array<ptCloud::pcVec4f, 16, &stPtCloud_PointArray::m_color>(),
    detail::array<unsigned short, 2, &stPtCloud_PointArray::m_intensity>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_returnNumber>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_numberOfReturns>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_scanDirection>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_edgeOfFlightLine>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_classification>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_scanAngleRank>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_userData>(),
    detail::array<unsigned short, 2, &stPtCloud_PointArray::m_pointSourceId>(),
    detail::array<double, 8, &stPtCloud_PointArray::m_gpsTime>(),
    detail::array<unsigned char, 1, &stPtCloud_PointArray::m_wavePacketDescriptorIndex>(),
    detail::array<quint64, 8, &stPtCloud_PointArray::m_byteOffsetToWaveformData>(),
    detail::array<unsigned int, 4, &stPtCloud_PointArray::m_waveformPacketSize>(),
    detail::array<float, 4, &stPtCloud_PointArray::m_returnPointWaveformLocation>(),
    detail::array<ptCloud::pcVec3f, 12, &stPtCloud_PointArray::m_waveformXyzT>(),
};

inline std::vector<Array> allArrays()
{
    std::vector<Array> arrays = pointRecords;
    arrays.insert(arrays.end(), columns.begin(), columns.end());
    return arrays;
}

/// Those with an element for each point.
inline std::vector<Array> arraysOfPoints()
{
    std::vector<Array> arrays = allArrays();
    arrays.erase(std::remove_if(arrays.begin(), arrays.end(), [](const Array &array) { return array.triangles; }),
                 arrays.end());
    return arrays;
}

inline ptCloud::EDataSetColumn column(std::size_t value)
{
    return static_cast<ptCloud::EDataSetColumn>(value);
}

inline QList<ptCloud::EDataSetColumn> allColumns()
{
    QList<ptCloud::EDataSetColumn> list;
    for (std::size_t value = 0; value < columns.size(); ++value)
        list.append(column(value));
    return list;
}

/// The columns whose array is there.
inline QList<ptCloud::EDataSetColumn> columnsIn(const stPtCloud_PointArray &block)
{
    QList<ptCloud::EDataSetColumn> list;
    for (std::size_t value = 0; value < columns.size(); ++value) {
        if (columns[value].isIn(block))
            list.append(column(value));
    }
    return list;
}

inline bool hasNoArray(const stPtCloud_PointArray &block)
{
    const std::vector<Array> arrays = allArrays();
    return std::none_of(arrays.begin(), arrays.end(), [&block](const Array &array) { return array.isIn(block); });
}

inline bool isNew(const stPtCloud_PointArray &block)
{
    return block.m_pointCount == 0 && block.m_blockTag == -1 && block.m_triangleCount == 0 && hasNoArray(block);
}

/// Fills every array that is there, each in its own way.
inline void fillAll(const stPtCloud_PointArray &block, unsigned int seed = 0)
{
    for (const Array &array : allArrays()) {
        if (array.isIn(block))
            array.fill(block, seed);
        seed += 5;
    }
}

/// Takes the arrays away from a block without releasing them: another object owns them.
inline void detach(stPtCloud_PointArray &block)
{
    block = stPtCloud_PointArray();
}

} // namespace points
