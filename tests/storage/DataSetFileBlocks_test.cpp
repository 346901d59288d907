#include "DataSetFileTest.h"

#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <climits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

using namespace ptCloud;
using support::BlockFile;
using support::dataOffset;
using support::expectBlockAt;
using support::putAt;
using support::soundFile;

namespace
{

using DataSetFileBlocks = support::DataSetFileTest;

/// A column kind, and the bytes of a block's data with 3 points and 2 triangles in a file of this column alone.
struct ColumnSize
{
    quint32 column;
    qint64 dataSize;
};

class DataSetFileColumn : public support::DataSetFileTest, public ::testing::WithParamInterface<ColumnSize>
{
};

} // namespace

TEST_P(DataSetFileColumn, TakesItsPlaceInTheFileAndIsReadBack)
{
    const quint32 column = GetParam().column;
    const BlockFile file = soundFile({column}, {{3, 2}, {5, 4}});
    ASSERT_TRUE(opens(file));
    EXPECT_EQ(quint32(m_file.getColumns().value(0)), column);
    const auto infos = m_file.getBlockInfos();
    EXPECT_EQ(std::get<0>(infos[1]), 20 + 28);
    EXPECT_EQ(std::get<0>(infos[2]), 20 + 28 + GetParam().dataSize + 28);
    for (const int key : {2, 1})
        expectBlockAt(file.bytes(), std::get<0>(infos[key]), file.columns, m_file.readBlock(key));
}

TEST_P(DataSetFileColumn, MayNotEndOneByteEarly)
{
    const BlockFile file = soundFile({GetParam().column}, {{3, 2}});
    ASSERT_EQ(file.bytes().size(), 20 + 28 + GetParam().dataSize);
    EXPECT_TRUE(opens(file));
    EXPECT_FALSE(opens(file.bytes().left(file.bytes().size() - 1)));
}

INSTANTIATE_TEST_SUITE_P(Kinds, DataSetFileColumn,
                         ::testing::Values(ColumnSize{0, 63}, ColumnSize{1, 63}, ColumnSize{2, 51}, ColumnSize{3, 75},
                                           ColumnSize{4, 33}, ColumnSize{5, 30}, ColumnSize{6, 30}, ColumnSize{7, 30},
                                           ColumnSize{8, 30}, ColumnSize{9, 30}, ColumnSize{10, 30}, ColumnSize{11, 30},
                                           ColumnSize{12, 33}, ColumnSize{13, 51}, ColumnSize{14, 30},
                                           ColumnSize{15, 51}, ColumnSize{16, 39}, ColumnSize{17, 39},
                                           ColumnSize{18, 63}),
                         [](const auto &kind) { return "Column" + std::to_string(kind.param.column); });

TEST_F(DataSetFileBlocks, AllColumnsInAnyOrderAreReadBack)
{
    std::vector<quint32> columns(19);
    std::iota(columns.begin(), columns.end(), 0U);
    const unsigned int seed = 20240601;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 5; ++round) {
        const BlockFile file = soundFile(columns, {{7, 3}, {1, 9}, {0, 1}, {40, 0}});
        ASSERT_TRUE(opens(file));
        const auto infos = m_file.getBlockInfos();
        EXPECT_EQ(std::get<0>(infos[1]), 16 + 76 + 28);
        EXPECT_EQ(std::get<0>(infos[2]), 16 + 76 + 28 + (12 + 93 * 7 + 12 * 3) + 28);
        for (std::size_t i = 0; i < 4; ++i)
            expectBlockAt(file.bytes(), dataOffset(file, i), columns, m_file.readBlock(static_cast<int>(i) + 1));
        std::shuffle(columns.begin(), columns.end(), random);
    }
}

TEST_F(DataSetFileBlocks, WithoutColumnsHoldIndicesAndMarks)
{
    const BlockFile file = soundFile({}, {{3}, {2}});
    ASSERT_TRUE(opens(file));
    expectBlockAt(file.bytes(), dataOffset(file, 1), {}, m_file.readBlock(2));
    expectBlockAt(file.bytes(), dataOffset(file, 0), {}, m_file.readBlock(1));
}

TEST_F(DataSetFileBlocks, WithoutPointsAreReadAtTheVeryEndOfTheFile)
{
    for (const std::vector<support::BlockCounts> &counts :
         {std::vector<support::BlockCounts>{{0}}, {{0}, {0}}, {{4}, {0}}}) {
        BlockFile file = soundFile({0, 13}, counts);
        file.blocks.back().tag = 6;
        const QByteArray bytes = file.bytes();
        const qint64 last = dataOffset(file, counts.size() - 1);
        ASSERT_EQ(last + 12, bytes.size());
        ASSERT_TRUE(opens(bytes));
        const stPtCloud_PointArray *block = m_file.readBlock(static_cast<int>(counts.size()));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->m_pointCount, 0U);
        EXPECT_EQ(block->m_blockTag, 6);
        EXPECT_EQ(block->m_triangleCount, 0U);
        expectBlockAt(bytes, dataOffset(file, 0), file.columns, m_file.readBlock(1));
    }
}

TEST_F(DataSetFileBlocks, TagsAreRestored)
{
    BlockFile file = soundFile({0}, {{1}, {1}, {1}});
    const int tags[] = {77, INT_MIN, INT_MAX};
    for (std::size_t i = 0; i < 3; ++i)
        file.blocks[i].tag = tags[i];
    ASSERT_TRUE(opens(file));
    for (int i = 0; i < 3; ++i) {
        const stPtCloud_PointArray *block = m_file.readBlock(i + 1);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->m_blockTag, tags[i]);
    }
}

TEST_F(DataSetFileBlocks, AreReadIntoOneBuffer)
{
    const BlockFile file = soundFile({0, 2}, {{2, 1}, {9, 5}});
    ASSERT_TRUE(opens(file));
    const stPtCloud_PointArray *small = m_file.readBlock(1);
    ASSERT_NE(small, nullptr);
    const pcVec3f *positions = small->m_position;
    EXPECT_EQ(m_file.readBlock(2), small);
    EXPECT_EQ(small->m_pointCount, 9U);
    EXPECT_EQ(small->m_position, positions) << "the arrays are large enough for the largest block from the start";
    expectBlockAt(file.bytes(), dataOffset(file, 1), file.columns, small);
}

TEST_F(DataSetFileBlocks, AnUnknownKeyGivesNullAndDisturbsNothing)
{
    const BlockFile file = soundFile({0}, {{2}, {3}});
    ASSERT_TRUE(opens(file));
    for (const int key : {0, 3, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(m_file.readBlock(key), nullptr) << key;
        EXPECT_TRUE(m_file.isOpened());
        expectBlockAt(file.bytes(), dataOffset(file, 1), file.columns, m_file.readBlock(2));
    }
}

TEST_F(DataSetFileBlocks, AColumnListedTwiceIsReadTwiceAndTheLastRunStays)
{
    for (const std::vector<quint32> &columns :
         {std::vector<quint32>{0, 0}, {0, 4, 0}, {2, 2}, {13, 0, 13, 13}, {2, 0, 2}}) {
        BlockFile file = soundFile(columns, {{3, 2}, {1, 1}});
        for (BlockFile::Block &block : file.blocks)
            block.columns.back().fill('\x3e');
        ASSERT_TRUE(opens(file));
        EXPECT_EQ(m_file.getColumns().size(), int(columns.size()));
        for (std::size_t i = 0; i < 2; ++i)
            expectBlockAt(file.bytes(), dataOffset(file, i), columns, m_file.readBlock(static_cast<int>(i) + 1));
    }
}

TEST_F(DataSetFileBlocks, ATriangleColumnWithoutAnyTriangleOpensButReadsNull)
{
    ASSERT_TRUE(opens(soundFile({0, 2}, {{3, 0}, {2, 0}})));
    EXPECT_EQ(m_file.getBlockInfos().size(), 2);
    EXPECT_EQ(m_file.readBlock(1), nullptr);
    EXPECT_EQ(m_file.readBlock(2), nullptr);
    EXPECT_TRUE(m_file.isOpened());
}

TEST_F(DataSetFileBlocks, ABlockWithoutTrianglesIsReadWhereAnotherHasSome)
{
    const BlockFile file = soundFile({2, 0}, {{3, 0}, {2, 1}});
    ASSERT_TRUE(opens(file));
    for (std::size_t i = 0; i < 2; ++i)
        expectBlockAt(file.bytes(), dataOffset(file, i), file.columns, m_file.readBlock(static_cast<int>(i) + 1));
}

TEST_F(DataSetFileBlocks, ATriangleCountWithoutTheColumnIsKeptAndHasNoArray)
{
    BlockFile file = soundFile({0}, {{3}, {2}});
    file.blocks[0].triangles = 5;
    file.blocks[1].triangles = 0xFFFFFFFFU;
    ASSERT_TRUE(opens(file));
    for (std::size_t i = 0; i < 2; ++i)
        expectBlockAt(file.bytes(), dataOffset(file, i), file.columns, m_file.readBlock(static_cast<int>(i) + 1));
}

TEST_F(DataSetFileBlocks, AreReadOnlyWhileTheFileIsOpen)
{
    write(soundFile({0}, {{2}}));
    EXPECT_EQ(m_file.readBlock(1), nullptr);
    ASSERT_TRUE(m_file.openFile());
    EXPECT_NE(m_file.readBlock(1), nullptr);
    m_file.closeFile();
    EXPECT_EQ(m_file.readBlock(1), nullptr);
}

TEST_F(DataSetFileBlocks, TwoObjectsReadOneFileIndependently)
{
    const BlockFile file = soundFile({0, 3}, {{4}, {6}});
    ASSERT_TRUE(opens(file));
    PtCloud_DataSetFile other;
    ASSERT_TRUE(other.setFile(path()));
    ASSERT_TRUE(other.openFile());
    const stPtCloud_PointArray *mine = m_file.readBlock(1);
    const stPtCloud_PointArray *others = other.readBlock(2);
    EXPECT_NE(mine, others);
    m_file.readBlock(1);
    expectBlockAt(file.bytes(), dataOffset(file, 0), file.columns, mine);
    expectBlockAt(file.bytes(), dataOffset(file, 1), file.columns, others);
    m_file.closeFile();
    expectBlockAt(file.bytes(), dataOffset(file, 0), file.columns, other.readBlock(1));
}

namespace
{

/// A file that changes on disk while it is open. Its middle block is large, so that whatever the object may have read
/// ahead with the last block's head does not reach back to the first block.
class ChangedDataSetFile : public support::DataSetFileTest
{
protected:
    void SetUp() override
    {
        DataSetFileTest::SetUp();
        m_contents = soundFile({0, 2, 4}, {{4, 2}, {largestPoints, largestTriangles}, {3, 1}});
        m_bytes = m_contents.bytes() + QByteArray(400000, '\x2a');
        m_at = static_cast<int>(dataOffset(m_contents, 0));
        ASSERT_TRUE(opens(m_bytes));
    }

    void change(int offset, quint32 value)
    {
        putAt(m_bytes, offset, value);
        write(m_bytes);
    }
    void changeFirstBlock(quint32 points, quint32 triangles)
    {
        change(m_at, points);
        change(m_at + 8, triangles);
    }
    void expectFirstBlockAsOnDisk() { expectBlockAt(m_bytes, m_at, m_contents.columns, m_file.readBlock(1)); }
    void expectLastBlockAsOnDisk()
    {
        expectBlockAt(m_bytes, dataOffset(m_contents, 2), m_contents.columns, m_file.readBlock(3));
    }

    static constexpr quint32 largestPoints = 6000;
    static constexpr quint32 largestTriangles = 700;
    BlockFile m_contents;
    QByteArray m_bytes;
    int m_at = 0; ///< where the first block's counts stand
};

} // namespace

TEST_F(ChangedDataSetFile, CountsThatGrewBeyondTheLargestBlockAreRefused)
{
    for (const quint32 points : {largestPoints + 1, 0x55555556U, 0x80000000U, 0xFFFFFFFFU}) {
        changeFirstBlock(points, 2);
        EXPECT_EQ(m_file.readBlock(1), nullptr) << points;
        EXPECT_TRUE(m_file.isOpened());
        expectLastBlockAsOnDisk();
    }
    for (const quint32 triangles : {largestTriangles + 1, 0x15555556U, 0x80000000U, 0xFFFFFFFFU}) {
        changeFirstBlock(4, triangles);
        EXPECT_EQ(m_file.readBlock(1), nullptr) << triangles;
        expectLastBlockAsOnDisk();
    }
    changeFirstBlock(4, 2);
    expectFirstBlockAsOnDisk();
}

TEST_F(ChangedDataSetFile, CountsThatChangedAndFitAreTaken)
{
    const support::BlockCounts fitting[] = {
        {5, 2}, {largestPoints, 2}, {4, largestTriangles}, {largestPoints, largestTriangles}, {3, 1}, {4, 0}, {0, 0}};
    for (const support::BlockCounts &counts : fitting) {
        SCOPED_TRACE(::testing::Message() << counts.points << " points, " << counts.triangles << " triangles");
        changeFirstBlock(counts.points, counts.triangles);
        expectFirstBlockAsOnDisk();
    }
}

TEST_F(ChangedDataSetFile, TheHeadsCountsStayThoseOfTheOpening)
{
    changeFirstBlock(5, 2);
    EXPECT_NE(m_file.readBlock(1), nullptr);
    EXPECT_EQ(std::get<1>(m_file.getBlockInfos()[1]), 4U);
}

TEST_F(ChangedDataSetFile, TagsAndPointsAreThoseOnDisk)
{
    change(m_at + 4, 4711);
    change(m_at + 12 + 5 * 4, 0x3fc00000); // x of the first point
    expectFirstBlockAsOnDisk();
    EXPECT_EQ(m_file.readBlock(1)->m_blockTag, 4711);
    EXPECT_EQ(m_file.readBlock(1)->m_position[0].x(), 1.5F);
}

TEST_F(ChangedDataSetFile, ABlockThatWasCutOffReadsNullAndTheOthersStayReadable)
{
    write(m_bytes.left(static_cast<int>(dataOffset(m_contents, 1)) + 1000));
    EXPECT_EQ(m_file.readBlock(2), nullptr);
    EXPECT_TRUE(m_file.isOpened());
    expectFirstBlockAsOnDisk();
}

TEST_F(ChangedDataSetFile, ABlockCutAtAnyLengthReadsNull)
{
    const int end = m_at + 12 + 5 * 4 + 14 * 4 + 12 * 2;
    for (int length = m_at; length < end; ++length) {
        write(m_bytes.left(length));
        EXPECT_EQ(m_file.readBlock(1), nullptr) << length;
    }
    write(m_bytes);
    expectFirstBlockAsOnDisk();
}

TEST_F(ChangedDataSetFile, TriangleCountsThatGrewWithoutTheColumnAreTaken)
{
    m_contents = soundFile({0}, {{4}, {largestPoints}, {3}});
    m_bytes = m_contents.bytes();
    m_at = static_cast<int>(dataOffset(m_contents, 0));
    ASSERT_TRUE(opens(m_bytes));
    change(m_at + 8, 0xFFFFFFFFU);
    expectFirstBlockAsOnDisk();
}
