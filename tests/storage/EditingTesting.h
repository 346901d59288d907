#pragma once

#include "PlainEditing.h"
#include "PointArrayTesting.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

/// What the tests of marks and removals share.
namespace points
{

/// Puts memory of exactly this size where a block has a null array, so that an element too far is seen.
inline void putArray(stPtCloud_PointArray &block, const Array &array, const QByteArray &bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    void *memory = std::malloc(size == 0 ? 1 : size);
    std::memcpy(memory, bytes.constData(), size);
    std::memcpy(reinterpret_cast<char *>(&block) + array.placeIn(block), &memory, sizeof memory);
}

/// Makes a new block hold what a plain one holds.
inline void fillFrom(stPtCloud_PointArray &block, const support::PlainBlock &plain)
{
    block.m_pointCount = plain.points;
    block.m_blockTag = plain.tag;
    block.m_triangleCount = plain.triangles;
    if (plain.indices)
        putArray(block, pointRecords[0], *plain.indices);
    if (plain.marks)
        putArray(block, pointRecords[1], *plain.marks);
    for (const auto &[value, bytes] : plain.columns)
        putArray(block, columns[value], bytes);
}

/// Whether an array is there as it should be, and begins with these bytes.
inline ::testing::AssertionResult holds(const stPtCloud_PointArray &block, const Array &array, const QByteArray *bytes)
{
    if (array.isIn(block) != (bytes != nullptr))
        return ::testing::AssertionFailure() << (bytes != nullptr ? "gone" : "made from nothing");
    if (bytes != nullptr && std::memcmp(array.of(block), bytes->constData(), static_cast<std::size_t>(bytes->size())))
        return ::testing::AssertionFailure() << "other contents";
    return ::testing::AssertionSuccess();
}

inline void expectHolds(const stPtCloud_PointArray &block, const support::PlainBlock &plain)
{
    EXPECT_EQ(block.m_pointCount, plain.points);
    EXPECT_EQ(block.m_blockTag, plain.tag);
    EXPECT_EQ(block.m_triangleCount, plain.triangles);
    EXPECT_TRUE(holds(block, pointRecords[0], plain.indices ? &*plain.indices : nullptr)) << "indices";
    EXPECT_TRUE(holds(block, pointRecords[1], plain.marks ? &*plain.marks : nullptr)) << "marks";
    for (quint32 value = 0; value < columns.size(); ++value) {
        const auto column = plain.columns.find(value);
        EXPECT_TRUE(holds(block, columns[value], column == plain.columns.end() ? nullptr : &column->second))
            << "column " << value;
    }
}

using Indices = std::vector<unsigned int>;
using Triangle = std::array<unsigned int, 3>;
using Triangles = std::vector<Triangle>;
using Bytes = std::vector<unsigned char>;

/// A block whose arrays differ in every element, and what they held before the cut.
class BlockOfDifferences : public ::testing::Test
{
protected:
    /// Arrays of exactly the right size, filled each in its own way.
    void make(unsigned int count, const QList<ptCloud::EDataSetColumn> &list, const Triangles &triangles = {})
    {
        support::PlainBlock plain;
        plain.points = count;
        plain.tag = 4711;
        plain.indices.emplace(zeros(pointRecords[0], count));
        plain.marks.emplace(zeros(pointRecords[1], count));
        for (const ptCloud::EDataSetColumn value : list) {
            const Array &array = columns[static_cast<std::size_t>(value)];
            plain.columns[static_cast<quint32>(value)] = zeros(array, array.triangles ? 0 : count);
        }
        if (!triangles.empty()) {
            plain.triangles = static_cast<quint32>(triangles.size());
            plain.columns[2] =
                QByteArray(reinterpret_cast<const char *>(triangles.data()), static_cast<int>(12 * triangles.size()));
        }
        fillFrom(m_block, plain);
        for (const Array &array : arraysOfPoints()) {
            if (array.isIn(m_block))
                array.fill(m_block, 5 * static_cast<unsigned int>(m_before.size()));
            m_before.push_back(array.isIn(m_block) ? std::optional<Bytes>(array.bytes(m_block)) : std::nullopt);
        }
    }
    void makeFull(unsigned int count, const Triangles &triangles = {}) { make(count, allColumns(), triangles); }

    /// Points at these places, in a block without another column.
    void makeAt(const std::vector<std::array<float, 3>> &places, const Triangles &triangles = {})
    {
        make(static_cast<unsigned int>(places.size()), {ptCloud::EDataSetColumn_Position}, triangles);
        for (std::size_t i = 0; i < places.size(); ++i)
            m_block.m_position[i].set(places[i][0], places[i][1], places[i][2]);
        m_before[2] = columns[0].bytes(m_block);
    }

    /// Expects that every array that is there holds these elements of what it held before, in this order.
    void expectKept(const Indices &kept)
    {
        EXPECT_EQ(m_block.m_pointCount, kept.size());
        std::size_t number = 0;
        for (const Array &array : arraysOfPoints()) {
            const std::optional<Bytes> &before = m_before[number];
            EXPECT_EQ(array.isIn(m_block), before.has_value()) << "array " << number;
            if (array.isIn(m_block) && before) {
                EXPECT_EQ(array.bytes(m_block, 0, static_cast<unsigned int>(kept.size())),
                          elements(*before, array.elementBytes, kept))
                    << "array " << number;
            }
            ++number;
        }
    }

    Triangles triangles() const
    {
        Triangles result;
        for (unsigned int i = 0; m_block.m_triangle != nullptr && i < m_block.m_triangleCount; ++i)
            result.push_back({m_block.m_triangle[i].a, m_block.m_triangle[i].b, m_block.m_triangle[i].c});
        return result;
    }

    stPtCloud_PointArray m_block;

private:
    static Bytes elements(const Bytes &bytes, std::size_t size, const Indices &kept)
    {
        Bytes result;
        for (const unsigned int index : kept) {
            const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(index * size);
            result.insert(result.end(), at, at + static_cast<std::ptrdiff_t>(size));
        }
        return result;
    }
    static QByteArray zeros(const Array &array, unsigned int count)
    {
        return QByteArray(static_cast<int>(array.elementBytes * count), '\0');
    }

    std::vector<std::optional<Bytes>> m_before; ///< of each array with an element for each point
};

} // namespace points
