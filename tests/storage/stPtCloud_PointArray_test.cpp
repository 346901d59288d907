#include "PointArrayTesting.h"

#include "DebugLog.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

using namespace points;
using namespace ptCloud;

namespace
{

static_assert(!std::is_polymorphic_v<stPtCloud_PointArray> && std::is_standard_layout_v<stPtCloud_PointArray>);
static_assert(std::is_same_v<decltype(stPtCloud_PointArray::m_pointCount), unsigned int>);
static_assert(std::is_same_v<decltype(stPtCloud_PointArray::m_blockTag), int>);
static_assert(std::is_same_v<decltype(stPtCloud_PointArray::m_triangleCount), unsigned int>);
static_assert(offsetof(stPtCloud_PointArray, m_pointCount) == 0 && offsetof(stPtCloud_PointArray, m_blockTag) == 4);
static_assert(offsetof(stPtCloud_PointArray, m_triangleCount) == 8);
static_assert(
    std::is_same_v<decltype(&stPtCloud_PointArray::alloc),
                   bool (stPtCloud_PointArray::*)(unsigned int, const QList<EDataSetColumn> &, bool, unsigned int)>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::clear), void (stPtCloud_PointArray::*)()>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::getColumns),
                             void (stPtCloud_PointArray::*)(QList<EDataSetColumn> &) const>);

// The numbers stand in files.
static_assert(EDataSetColumn_Position == 0 && EDataSetColumn_Normal == 1 && EDataSetColumn_Triangle == 2);
static_assert(EDataSetColumn_Color == 3 && EDataSetColumn_Intensity == 4 && EDataSetColumn_ReturnNumber == 5);
static_assert(EDataSetColumn_NumberOfReturns == 6 && EDataSetColumn_ScanDirection == 7);
static_assert(EDataSetColumn_EdgeOfFlightLine == 8 && EDataSetColumn_Classification == 9);
static_assert(EDataSetColumn_ScanAngleRank == 10 && EDataSetColumn_UserData == 11);
static_assert(EDataSetColumn_PointSourceId == 12 && EDataSetColumn_GpsTime == 13);
static_assert(EDataSetColumn_WavePacketDescriptorIndex == 14 && EDataSetColumn_ByteOffsetToWaveformData == 15);
static_assert(EDataSetColumn_WaveformPacketSize == 16 && EDataSetColumn_ReturnPointWaveformLocation == 17);
static_assert(EDataSetColumn_WaveformXyzT == 18);
// Any number that a file holds has to fit, or the comparison with 18 could be left out.
static_assert(sizeof(EDataSetColumn) == 4);

const QList<EDataSetColumn> vectorColumns = {EDataSetColumn_Position, EDataSetColumn_Normal, EDataSetColumn_Color,
                                             EDataSetColumn_WaveformXyzT};

TEST(PointArray, IsEmptyAtFirst)
{
    const stPtCloud_PointArray block;
    EXPECT_EQ(block.m_pointCount, 0U);
    EXPECT_EQ(block.m_blockTag, -1);
    EXPECT_EQ(block.m_triangleCount, 0U);
    EXPECT_TRUE(hasNoArray(block));
}

TEST(PointArray, HoldsItsArraysInTheOrderOfTheColumns)
{
    const stPtCloud_PointArray block;
    std::ptrdiff_t place = pointRecords[0].placeIn(block);
    EXPECT_GE(place, 12);
    for (const Array &array : allArrays()) {
        EXPECT_EQ(array.placeIn(block), place);
        place += static_cast<std::ptrdiff_t>(sizeof(void *));
    }
    EXPECT_EQ(sizeof block, static_cast<std::size_t>(place));
}

TEST(PointArrayAlloc, MakesWhatIsListedAndNothingElse)
{
    for (const EDataSetColumn column : allColumns()) {
        stPtCloud_PointArray block;
        EXPECT_TRUE(block.alloc(3, {column}, true, 2)) << column;
        EXPECT_EQ(block.m_pointCount, 3U);
        EXPECT_EQ(block.m_blockTag, -1);
        EXPECT_EQ(block.m_triangleCount, column == EDataSetColumn_Triangle ? 2U : 0U);
        EXPECT_NE(block.m_pointIndices, nullptr);
        EXPECT_NE(block.m_pointMarks, nullptr);
        EXPECT_EQ(columnsIn(block), QList<EDataSetColumn>{column});
    }
}

TEST(PointArrayAlloc, MakesIndicesAndMarksWithoutAnyColumn)
{
    stPtCloud_PointArray block;
    EXPECT_TRUE(block.alloc(3, {}, true, 2));
    EXPECT_EQ(block.m_pointCount, 3U);
    EXPECT_EQ(block.m_triangleCount, 0U);
    EXPECT_NE(block.m_pointIndices, nullptr);
    EXPECT_NE(block.m_pointMarks, nullptr);
    EXPECT_EQ(columnsIn(block), QList<EDataSetColumn>());
}

TEST(PointArrayAlloc, GivesEveryArrayItsFullLengthAndItsOwnMemory)
{
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(1000, allColumns(), true, 3000));
    EXPECT_EQ(block.m_triangleCount, 3000U);
    fillAll(block);
    unsigned int seed = 0;
    for (const Array &array : allArrays()) {
        ASSERT_TRUE(array.isIn(block));
        const auto contents = array.bytes(block);
        array.fill(block, seed);
        EXPECT_EQ(array.bytes(block), contents) << "array " << seed / 5;
        seed += 5;
    }
}

TEST(PointArrayAlloc, FillsVectorsWithZeros)
{
    // Memory that was in use before must not show.
    for (int round = 0; round < 10; ++round) {
        stPtCloud_PointArray block;
        ASSERT_TRUE(block.alloc(100, vectorColumns, false, 0));
        for (const EDataSetColumn column : vectorColumns) {
            const Array &array = columns[static_cast<std::size_t>(column)];
            EXPECT_EQ(array.bytes(block), std::vector<unsigned char>(100 * array.elementBytes)) << column;
        }
        fillAll(block);
    }
}

TEST(PointArrayAlloc, WithoutPointsMakesNothingWhateverTheListSays)
{
    for (const QList<EDataSetColumn> &list : {QList<EDataSetColumn>{EDataSetColumn_Position, column(19)},
                                              QList<EDataSetColumn>{column(19)}, allColumns()}) {
        stPtCloud_PointArray block;
        EXPECT_TRUE(block.alloc(0, list, true, 5));
        EXPECT_TRUE(isNew(block));

        ASSERT_TRUE(block.alloc(4, allColumns(), true, 5));
        block.m_blockTag = 7;
        EXPECT_TRUE(block.alloc(0, list, true, 5));
        EXPECT_TRUE(isNew(block));
    }
}

TEST(PointArrayAlloc, PassesTrianglesOverThatAreNotWanted)
{
    const QList<EDataSetColumn> list = {EDataSetColumn_Triangle, EDataSetColumn_Position};
    const std::pair<bool, unsigned int> unwanted[] = {{false, 5}, {true, 0}, {false, 0}};
    for (const auto &[withTriangles, triangles] : unwanted) {
        stPtCloud_PointArray block;
        EXPECT_TRUE(block.alloc(3, list, withTriangles, triangles));
        EXPECT_EQ(block.m_triangle, nullptr);
        EXPECT_EQ(block.m_triangleCount, 0U);
        EXPECT_NE(block.m_position, nullptr);
    }
}

TEST(PointArrayAlloc, StopsAtAValueThatIsNoColumn)
{
    for (const EDataSetColumn invalid : {column(19), column(0x7FFFFFFF), column(0x80000000), column(0xFFFFFFFF)}) {
        stPtCloud_PointArray block;
        EXPECT_FALSE(
            block.alloc(3, {EDataSetColumn_Color, EDataSetColumn_Position, invalid, EDataSetColumn_Normal}, true, 2));
        EXPECT_EQ(columnsIn(block), (QList<EDataSetColumn>{EDataSetColumn_Position, EDataSetColumn_Color}));
        EXPECT_EQ(block.m_pointCount, 3U);
        fillAll(block);
        block.clear();
        EXPECT_TRUE(isNew(block));
    }
}

TEST(PointArrayAlloc, DropsOldContents)
{
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(3, allColumns(), true, 2));
    block.m_blockTag = 7;
    ASSERT_TRUE(block.alloc(5, {EDataSetColumn_Intensity}, false, 0));
    EXPECT_EQ(block.m_pointCount, 5U);
    EXPECT_EQ(block.m_blockTag, -1);
    EXPECT_EQ(block.m_triangleCount, 0U);
    EXPECT_EQ(columnsIn(block), QList<EDataSetColumn>{EDataSetColumn_Intensity});
    fillAll(block);
}

TEST(PointArrayAlloc, TakesAColumnThatIsListedTwice)
{
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(100, allColumns() + allColumns(), true, 50));
    EXPECT_EQ(columnsIn(block), allColumns());
    EXPECT_EQ(block.m_triangleCount, 50U);
    fillAll(block);
}

TEST(PointArrayAlloc, WritesNoLog)
{
    const support::DebugLog log;
    stPtCloud_PointArray block;
    EXPECT_FALSE(block.alloc(3, {column(19)}, false, 0));
    EXPECT_EQ(log.lines(), QStringList());
}

TEST(PointArrayClear, ReleasesEverything)
{
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(10, allColumns(), true, 20));
    block.m_blockTag = 7;
    block.clear();
    EXPECT_TRUE(isNew(block));
    block.clear();
    EXPECT_TRUE(isNew(block));
    EXPECT_TRUE(block.alloc(10, allColumns(), true, 20));
}

TEST(PointArrayClear, CopesWithCountsThatHaveNoArrays)
{
    stPtCloud_PointArray block;
    block.m_pointCount = 10;
    block.m_triangleCount = 5;
    block.clear();
    EXPECT_TRUE(isNew(block));
}

TEST(PointArrayColumns, AreGivenInAscendingOrderBehindWhatTheListHolds)
{
    QList<EDataSetColumn> backwards = allColumns();
    std::reverse(backwards.begin(), backwards.end());
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(3, backwards, true, 2));

    QList<EDataSetColumn> list = {EDataSetColumn_UserData, column(99)};
    const QList<EDataSetColumn> before = list;
    block.getColumns(list);
    EXPECT_EQ(list, before + allColumns());
}

TEST(PointArrayColumns, AreThoseWhoseArrayIsThere)
{
    for (const EDataSetColumn column : allColumns()) {
        stPtCloud_PointArray block;
        ASSERT_TRUE(block.alloc(3, {column}, true, 2));
        QList<EDataSetColumn> list;
        block.getColumns(list);
        EXPECT_EQ(list, QList<EDataSetColumn>{column});
    }
    QList<EDataSetColumn> list;
    stPtCloud_PointArray().getColumns(list);
    EXPECT_EQ(list, QList<EDataSetColumn>());
}

TEST(PointArrayColumns, CountTrianglesByTheirArray)
{
    stPtCloud_PointArray block;
    ASSERT_TRUE(block.alloc(3, {EDataSetColumn_Position, EDataSetColumn_Triangle}, false, 2));
    block.m_triangleCount = 2;
    QList<EDataSetColumn> list;
    block.getColumns(list);
    EXPECT_EQ(list, QList<EDataSetColumn>{EDataSetColumn_Position});
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE

TEST(PointArrayAlloc, KeepsWhatItMadeBeforeMemoryRanOut)
{
    stPtCloud_PointArray block;
    {
        // 50 MB for indices and marks, 10 MB for the first column; the second would take 160 MB.
        const support::DebugLog log;
        const support::AddressSpaceLimit limit(rlim_t{128} << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(block.alloc(
            10000000, {EDataSetColumn_Classification, EDataSetColumn_Color, EDataSetColumn_UserData}, false, 0));
        EXPECT_EQ(log.lines(), QStringList());
    }
    EXPECT_EQ(columnsIn(block), QList<EDataSetColumn>{EDataSetColumn_Classification});
    EXPECT_NE(block.m_pointIndices, nullptr);
    EXPECT_NE(block.m_pointMarks, nullptr);
    EXPECT_EQ(block.m_pointCount, 10000000U);
    block.clear();
    EXPECT_TRUE(isNew(block));
}

TEST(PointArrayAlloc, RefusesCountsThatNoMemoryHolds)
{
    const support::AddressSpaceLimit limit(rlim_t{128} << 20);
    ASSERT_TRUE(limit.holds());
    for (int round = 0; round < 20; ++round) {
        stPtCloud_PointArray block;
        EXPECT_FALSE(block.alloc(0xFFFFFFFF, {EDataSetColumn_Position}, false, 0));
        EXPECT_FALSE(block.alloc(3, {EDataSetColumn_Triangle}, true, 0xFFFFFFFF));
        EXPECT_EQ(block.m_triangleCount, 0U);
        // 12 x 357913942 is 8 in 32 bits.
        EXPECT_FALSE(block.alloc(3, {EDataSetColumn_Triangle}, true, 357913942));
        EXPECT_TRUE(block.alloc(1000, allColumns(), true, 1000));
    }
}

#endif

} // namespace
