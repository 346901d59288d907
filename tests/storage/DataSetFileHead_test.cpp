#include "DataSetFileTest.h"

#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

using namespace ptCloud;
using support::BlockFile;
using support::dataOffset;
using support::putAt;
using support::soundFile;

namespace
{

using DataSetFileHead = support::DataSetFileTest;
using BlockInfos = QMap<int, std::tuple<qint64, unsigned int, pcBoundingBoxf>>;

/// Offset of the block count in a file's bytes.
int blockCountAt(const BlockFile &file)
{
    return 12 + 4 * static_cast<int>(file.columns.size());
}

} // namespace

TEST_F(DataSetFileHead, OpensTheSmallestFile)
{
    ASSERT_TRUE(opens(QByteArray::fromHex("01000000 00000000 00000000 00000000")));
    EXPECT_TRUE(m_file.isOpened());
    EXPECT_EQ(m_file.getSortType(), EDataSetSort_None);
    EXPECT_TRUE(m_file.getColumns().isEmpty());
    EXPECT_TRUE(m_file.getBlockInfos().isEmpty());
    EXPECT_EQ(m_file.readBlock(0), nullptr);
}

TEST_F(DataSetFileHead, ReadsAFileWrittenByHand)
{
    ASSERT_TRUE(opens(QByteArray::fromHex("01000000 02000000 02000000 00000000 04000000 01000000" // two columns
                                          "fbffffff 0000803f 00000040 00004040 00008040 0000a040 0000c040"
                                          "01000000 09000000 00000000 07000000 01" // one point, tag 9, index 7, marked
                                          "0000c03f 000000c0 0000803e 00ff")));
    EXPECT_EQ(m_file.getSortType(), EDataSetSort_ByArray);
    EXPECT_EQ(m_file.getColumns(), (QList<EDataSetColumn>{EDataSetColumn_Position, EDataSetColumn_Intensity}));
    const BlockInfos infos = m_file.getBlockInfos();
    ASSERT_EQ(infos.keys(), QList<int>{-5});
    EXPECT_EQ(std::get<0>(infos[-5]), 52);
    EXPECT_EQ(std::get<1>(infos[-5]), 1U);
    EXPECT_TRUE(std::get<2>(infos[-5]) == pcBoundingBoxf(1, 2, 3, 4, 5, 6));

    const stPtCloud_PointArray *block = m_file.readBlock(-5);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->m_pointCount, 1U);
    EXPECT_EQ(block->m_blockTag, 9);
    EXPECT_EQ(block->m_triangleCount, 0U);
    EXPECT_EQ(block->m_pointIndices[0], 7U);
    EXPECT_EQ(block->m_pointMarks[0], 1);
    EXPECT_TRUE(block->m_position[0] == pcVec3f(1.5F, -2.0F, 0.25F));
    EXPECT_EQ(block->m_intensity[0], 0xff00);
}

TEST_F(DataSetFileHead, EverySortIsKept)
{
    BlockFile file = soundFile({0}, {{2}});
    for (quint32 sort = 0; sort < 3; ++sort) {
        file.sort = sort;
        ASSERT_TRUE(opens(file)) << sort;
        EXPECT_EQ(quint32(m_file.getSortType()), sort);
    }
}

TEST_F(DataSetFileHead, ColumnsKeepTheirOrder)
{
    ASSERT_TRUE(opens(soundFile({18, 3, 0, 4}, {})));
    EXPECT_EQ(m_file.getColumns(), (QList<EDataSetColumn>{EDataSetColumn_WaveformXyzT, EDataSetColumn_Color,
                                                          EDataSetColumn_Position, EDataSetColumn_Intensity}));
}

TEST_F(DataSetFileHead, AColumnCountBelowOneReadsAsNoColumns)
{
    QByteArray bytes = soundFile({}, {{3}}).bytes();
    for (const qint32 count : {0, -1, INT_MIN}) {
        putAt(bytes, 8, count);
        ASSERT_TRUE(opens(bytes)) << count;
        EXPECT_TRUE(m_file.getColumns().isEmpty());
        EXPECT_EQ(m_file.getBlockInfos().keys(), QList<int>{1});
        support::expectBlockAt(bytes, 16 + 28, {}, m_file.readBlock(1));
    }
}

TEST_F(DataSetFileHead, ABlockCountBelowOneIsAFileWithoutBlocks)
{
    const BlockFile file = soundFile({0, 3}, {{3}});
    QByteArray bytes = file.bytes();
    for (const qint32 count : {0, -1, INT_MIN}) {
        putAt(bytes, blockCountAt(file), count);
        ASSERT_TRUE(opens(bytes)) << count;
        EXPECT_EQ(m_file.getColumns().size(), 2);
        QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
        m_file.getBlocks(blocks);
        EXPECT_TRUE(blocks.isEmpty());
        EXPECT_EQ(m_file.readBlock(1), nullptr);
        EXPECT_EQ(m_file.readBlock(0), nullptr);
    }
}

TEST_F(DataSetFileHead, TheBlockCountSaysHowManyBlocksAreRead)
{
    const BlockFile file = soundFile({0}, {{2}, {3}});
    QByteArray bytes = file.bytes();
    putAt<qint32>(bytes, blockCountAt(file), 1);
    ASSERT_TRUE(opens(bytes));
    EXPECT_EQ(m_file.getBlockInfos().keys(), QList<int>{1});
    putAt<qint32>(bytes, blockCountAt(file), 3);
    EXPECT_FALSE(opens(bytes));
}

TEST_F(DataSetFileHead, KeysMayBeAnyInteger)
{
    BlockFile file = soundFile({0}, {{1}, {2}, {3}, {4}});
    const int keys[] = {INT_MAX, -5, INT_MIN, 0};
    for (std::size_t i = 0; i < 4; ++i)
        file.blocks[i].key = keys[i];
    ASSERT_TRUE(opens(file));
    const BlockInfos infos = m_file.getBlockInfos();
    EXPECT_EQ(infos.keys(), (QList<int>{INT_MIN, -5, 0, INT_MAX}));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(std::get<0>(infos[keys[i]]), dataOffset(file, i)) << keys[i];
        EXPECT_EQ(std::get<1>(infos[keys[i]]), i + 1);
        support::expectBlockAt(file.bytes(), dataOffset(file, i), file.columns, m_file.readBlock(keys[i]));
    }
}

TEST_F(DataSetFileHead, BoxesAreHandedOutAsTheyStand)
{
    BlockFile file = soundFile({0}, {{1}, {1}});
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const float odd[6] = {nan, -0.0F, 5.0F, infinity, -1e-40F, -5.0F};
    std::copy(std::begin(odd), std::end(odd), std::begin(file.blocks[1].box));
    ASSERT_TRUE(opens(file));

    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    m_file.getBlocks(blocks);
    ASSERT_EQ(blocks.size(), 2);
    EXPECT_TRUE(std::get<1>(blocks[1]) == pcBoundingBoxf(1.0F, 1.5F, 2.0F, 2.5F, 3.0F, 3.5F));
    const pcBoundingBoxf box = std::get<1>(blocks[2]);
    EXPECT_TRUE(std::isnan(box.xMin()));
    EXPECT_TRUE(box.yMin() == 0.0F && std::signbit(box.yMin()));
    EXPECT_EQ(box.zMin(), 5.0F);
    EXPECT_EQ(box.xMax(), infinity);
    EXPECT_EQ(box.yMax(), -1e-40F);
    EXPECT_EQ(box.zMax(), -5.0F);
}

TEST_F(DataSetFileHead, OfTwoBlocksWithOneKeyTheSecondCounts)
{
    BlockFile file = soundFile({0, 4}, {{5}, {3}, {2}});
    file.blocks[1].key = 1;
    ASSERT_TRUE(opens(file));
    const BlockInfos infos = m_file.getBlockInfos();
    EXPECT_EQ(infos.keys(), (QList<int>{1, 3}));
    EXPECT_EQ(std::get<0>(infos[1]), dataOffset(file, 1));
    EXPECT_EQ(std::get<1>(infos[1]), 3U);
    support::expectBlockAt(file.bytes(), dataOffset(file, 1), file.columns, m_file.readBlock(1));
}

TEST_F(DataSetFileHead, RunsOfTrianglesCountTrianglesAndAllOthersPoints)
{
    const BlockFile file = soundFile({0, 2}, {{3, 1}, {1, 1}});
    ASSERT_TRUE(opens(file));
    const BlockInfos infos = m_file.getBlockInfos();
    EXPECT_EQ(std::get<0>(infos[1]), 24 + 28);
    EXPECT_EQ(std::get<0>(infos[2]), 24 + 28 + 75 + 28); // 12 + 15 + 36 + 12 bytes of the first block's data
}

TEST_F(DataSetFileHead, AFileMayBeLongerThanItsLastBlockButNotShorter)
{
    const QByteArray bytes = soundFile({0, 2}, {{3, 1}}).bytes();
    ASSERT_EQ(bytes.size(), 24 + 28 + 75);
    EXPECT_TRUE(opens(bytes));
    EXPECT_TRUE(opens(bytes + '\x55'));
    EXPECT_TRUE(opens(bytes + QByteArray(70000, '\xff')));
    EXPECT_EQ(m_file.getBlockInfos().keys(), QList<int>{1});
    support::expectBlockAt(bytes, 52, {0, 2}, m_file.readBlock(1));
    EXPECT_FALSE(opens(bytes.left(bytes.size() - 1)));
}

TEST_F(DataSetFileHead, EachBlockWritesOneDebugLineWithItsRunningNumber)
{
    BlockFile file = soundFile({0}, {{3}, {0}, {12}});
    file.blocks[0].key = -5;
    file.blocks[2].key = -5;
    ASSERT_TRUE(opens(file));
    EXPECT_EQ(m_log.lines(), (QStringList{QStringLiteral("block number= 1    points number= 3"),
                                          QStringLiteral("block number= 2    points number= 0"),
                                          QStringLiteral("block number= 3    points number= 12")}));
    m_file.readBlock(-5);
    EXPECT_TRUE(m_file.openFile());
    EXPECT_EQ(m_log.lines().size(), 3);
}

TEST_F(DataSetFileHead, ABlockThatReachesPastTheEndWritesNoDebugLine)
{
    BlockFile file = soundFile({0}, {{2}, {3}});
    file.blocks[1].points = 4;
    EXPECT_FALSE(opens(file));
    EXPECT_EQ(m_log.lines(), QStringList{QStringLiteral("block number= 1    points number= 2")});
}

TEST_F(DataSetFileHead, AFileWithoutBlocksWritesNoDebugLine)
{
    ASSERT_TRUE(opens(soundFile({0, 3}, {})));
    EXPECT_TRUE(m_log.lines().isEmpty());
}

// Whatever a file is cut at, nothing is made up for what is missing.
namespace
{

struct CutFile
{
    const char *name;
    std::vector<quint32> columns;
    std::vector<support::BlockCounts> blocks;
    qint32 blockCount; ///< written in place of the true one if below 1
};

class CutDataSetFile : public support::DataSetFileTest, public ::testing::WithParamInterface<CutFile>
{
};

} // namespace

TEST_P(CutDataSetFile, IsRefusedAtEveryLength)
{
    const BlockFile file = soundFile(GetParam().columns, GetParam().blocks);
    QByteArray bytes = file.bytes();
    if (GetParam().blockCount < 1)
        putAt(bytes, blockCountAt(file), GetParam().blockCount);
    for (int length = 0; length < bytes.size(); ++length) {
        EXPECT_FALSE(opens(bytes.left(length))) << length << " of " << bytes.size() << " bytes";
        support::expectClosed(m_file);
    }
    EXPECT_TRUE(opens(bytes));
}

INSTANTIATE_TEST_SUITE_P(Files, CutDataSetFile,
                         ::testing::Values(CutFile{"NoColumnsNoBlocks", {}, {}, 0},
                                           CutFile{"ColumnsAndNoBlocks", {0, 3, 18}, {}, 0},
                                           CutFile{"NegativeBlockCount", {0}, {}, -7},
                                           CutFile{"BlockWithoutColumns", {}, {{3}}, 1},
                                           CutFile{"BlocksWithoutPoints", {0, 4}, {{0}, {0}}, 2},
                                           CutFile{"PointsAndTriangles", {0, 2, 4}, {{3, 1}, {2, 2}}, 2}),
                         support::CaseName());

namespace
{

struct DamagedHead
{
    const char *name;
    void (*damage)(BlockFile &file);
};

class RefusedDataSetFile : public support::DataSetFileTest, public ::testing::WithParamInterface<DamagedHead>
{
};

} // namespace

TEST_P(RefusedDataSetFile, DoesNotOpenAndLeavesTheObjectClosed)
{
    BlockFile file = soundFile({0, 4, 3}, {{3}, {2}});
    ASSERT_TRUE(opens(file));
    GetParam().damage(file);
    EXPECT_FALSE(opens(file));
    support::expectClosed(m_file);
    EXPECT_EQ(m_file.getFilepath(), path());
}

INSTANTIATE_TEST_SUITE_P(
    Heads, RefusedDataSetFile,
    ::testing::Values(DamagedHead{"FormatWordTwo", [](BlockFile &f) { f.formatWord = 2; }},
                      DamagedHead{"FormatWordZero", [](BlockFile &f) { f.formatWord = 0; }},
                      DamagedHead{"FormatWordInTheOtherByteOrder", [](BlockFile &f) { f.formatWord = 0x01000000; }},
                      DamagedHead{"FormatWordWithAHighBit", [](BlockFile &f) { f.formatWord = 0x80000001; }},
                      DamagedHead{"SortThree", [](BlockFile &f) { f.sort = 3; }},
                      DamagedHead{"SortOfAllOnes", [](BlockFile &f) { f.sort = 0xFFFFFFFF; }},
                      DamagedHead{"SortWithTheSignBit", [](BlockFile &f) { f.sort = 0x80000001; }},
                      DamagedHead{"FirstColumnNineteen", [](BlockFile &f) { f.columns[0] = 19; }},
                      DamagedHead{"LastColumnNineteen", [](BlockFile &f) { f.columns[2] = 19; }},
                      DamagedHead{"ColumnOfAllOnes", [](BlockFile &f) { f.columns[1] = 0xFFFFFFFF; }},
                      DamagedHead{"ColumnWithTheSignBit", [](BlockFile &f) { f.columns[1] = 0x80000000; }},
                      DamagedHead{"BadColumnInAFileWithoutBlocks",
                                  [](BlockFile &f) {
                                      f.columns[2] = 19;
                                      f.blocks.clear();
                                  }}),
    support::CaseName());
