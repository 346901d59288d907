#include "DataSetFileTest.h"
#include "Scarcity.h"

#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <QFile>

#include <limits>
#include <random>
#include <vector>

using namespace ptCloud;
using support::BlockFile;
using support::dataOffset;
using support::expectBlockAt;
using support::expectClosed;
using support::get;
using support::put;
using support::putAt;
using support::soundFile;

namespace
{

constexpr qint64 gibibyte = 1LL << 30;
constexpr quint32 most = 0xFFFFFFFFU;

/// A head with counts that no honest file has. `tail` bytes stand behind it.
struct HostileHead
{
    const char *name;
    QByteArray (*bytes)();
};

/// A file of one block with these counts in its head, and `data` bytes behind them.
QByteArray oneBlock(const std::vector<quint32> &columns, quint32 points, quint32 triangles, int data)
{
    BlockFile file;
    file.columns = columns;
    BlockFile::Block block;
    block.key = 1;
    block.points = points;
    block.triangles = triangles;
    file.blocks.push_back(block);
    return file.bytes() + QByteArray(data, '\0');
}

QByteArray withColumnCount(qint32 count, int tail)
{
    QByteArray bytes;
    for (const qint32 word : {1, 0, count})
        put(bytes, word);
    return bytes + QByteArray(tail, '\0');
}

QByteArray withBlockCount(qint32 count, int tail)
{
    QByteArray bytes = withColumnCount(0, 0);
    put(bytes, count);
    return bytes + QByteArray(tail, '\0');
}

class HostileDataSetFile : public support::DataSetFileTest, public ::testing::WithParamInterface<HostileHead>
{
};

/// Files that are mostly a hole: their length backs any count, and their bytes take no room.
class SparseDataSetFile : public support::DataSetFileTest
{
protected:
    /// Writes the head and stretches the file to `size`.
    void writeSparse(const QByteArray &head, qint64 size)
    {
        m_file.closeFile();
        write(head);
        ASSERT_TRUE(QFile::resize(path(), size));
    }
    void writeAt(qint64 offset, const QByteArray &bytes) const
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.seek(offset));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    /// Opens the file or not, but touches little memory on the way.
    void expectPromptAnswer()
    {
        const qint64 before = support::peakMemory();
        const bool opened = m_file.openFile();
        EXPECT_LT(support::peakMemory() - before, gibibyte / 4);
        EXPECT_EQ(m_file.isOpened(), opened);
        if (!opened)
            expectClosed(m_file);
        m_file.closeFile();
    }
};

} // namespace

TEST_P(HostileDataSetFile, IsRefused)
{
    const qint64 before = support::peakMemory();
    EXPECT_FALSE(opens(GetParam().bytes()));
    EXPECT_LT(support::peakMemory() - before, gibibyte / 4);
    expectClosed(m_file);
    EXPECT_TRUE(opens(soundFile({0}, {{1}}))) << "the object is as good as new";
}

INSTANTIATE_TEST_SUITE_P(
    Heads, HostileDataSetFile,
    ::testing::Values(
        HostileHead{"LargestPointCount", [] { return oneBlock({0}, most, 0, 1000); }},
        HostileHead{"LargestPointCountWithoutColumns", [] { return oneBlock({}, most, 0, 1000); }},
        HostileHead{"LargestTriangleCount", [] { return oneBlock({2}, 0, most, 1000); }},
        HostileHead{"LargestCountsOfBoth",
                    [] {
                        return oneBlock({0, 2, 3}, most, most, 1000);
                    }},
        HostileHead{"SignBitPointCount", [] { return oneBlock({0}, 0x80000000U, 0, 1000); }},
        // 17 bytes for each of 252645136 points are 2^32 + 16, five for each of 858993460 are 2^32 + 4.
        HostileHead{"PointBytesThatWrapIn32Bits", [] { return oneBlock({0}, 252645136U, 0, 1000); }},
        HostileHead{"IndexBytesThatWrapIn32Bits", [] { return oneBlock({}, 858993460U, 0, 1000); }},
        // 12 bytes for each of 357913942 triangles are 2^32 + 8, 16 for each of 2^28 colours are 2^32.
        HostileHead{"TriangleBytesThatWrapIn32Bits", [] { return oneBlock({2}, 0, 357913942U, 1000); }},
        HostileHead{"ColourBytesThatWrapIn32Bits", [] { return oneBlock({3}, 0x10000000U, 0, 0x1000); }},
        HostileHead{"ManyColumnsOfTheLargestCount",
                    [] { return oneBlock(std::vector<quint32>(100000, 3), most, most, 1000); }},
        HostileHead{"LargestColumnCount", [] { return withColumnCount(std::numeric_limits<qint32>::max(), 1000); }},
        // Four times 2^30 is 2^32.
        HostileHead{"ColumnBytesThatWrapIn32Bits", [] { return withColumnCount(0x40000000, 1000); }},
        HostileHead{"ColumnBytesThatWrapToOneColumn", [] { return withColumnCount(0x40000001, 1000); }},
        HostileHead{"OneColumnMoreThanThereIsRoom", [] { return withColumnCount(250, 1000); }},
        HostileHead{"LargestBlockCount", [] { return withBlockCount(std::numeric_limits<qint32>::max(), 4000); }},
        HostileHead{"LargestBlockCountWithoutABlock",
                    [] { return withBlockCount(std::numeric_limits<qint32>::max(), 0); }},
        HostileHead{"OneBlockMoreThanThereIsRoom", [] { return withBlockCount(101, 4000); }}),
    support::CaseName());

// Told apart from the two cases above by one column, or one block.
TEST_F(SparseDataSetFile, CountsThatJustFitAreTaken)
{
    EXPECT_TRUE(opens(withColumnCount(249, 1000)));
    EXPECT_EQ(m_file.getColumns().size(), 249);
    EXPECT_TRUE(opens(withBlockCount(100, 4000)));
    EXPECT_EQ(m_file.getBlockInfos().keys(), QList<int>{0});
}

TEST_F(SparseDataSetFile, ALongRestBehindTheLastBlockCostsNothing)
{
    const BlockFile contents = soundFile({0, 4}, {{3}, {2}});
    writeSparse(contents.bytes(), 60 * gibibyte);
    const qint64 before = support::peakMemory();
    ASSERT_TRUE(m_file.openFile());
    EXPECT_LT(support::peakMemory() - before, gibibyte / 4);
    expectBlockAt(contents.bytes(), dataOffset(contents, 1), contents.columns, m_file.readBlock(2));
}

// Two gibibytes show whether memory is touched, and harm no machine if it is.
TEST_F(SparseDataSetFile, CountsThatAHoleBacksTakeNoMemory)
{
    const qint64 size = 2 * gibibyte;
    writeSparse(oneBlock({0}, static_cast<quint32>((size - 64) / 17), 0, 0), size);
    expectPromptAnswer();
    writeSparse(oneBlock({2}, 0, static_cast<quint32>((size - 64) / 12), 0), size);
    expectPromptAnswer();
}

// What decides is the largest block that can be reached; the hole belongs to one that was replaced.
TEST_F(SparseDataSetFile, BlocksBeyondTheLargestCountAreReached)
{
    BlockFile contents = soundFile({0, 4}, {{0}, {3}});
    contents.blocks[1].key = 1;
    contents.blocks[0].points = most;
    const QByteArray bytes = contents.bytes();
    const qint64 hole = 19LL * most;
    const int headSize = 24 + 28 + 12;
    writeSparse(bytes.left(headSize), headSize + hole);
    writeAt(headSize + hole, bytes.mid(headSize));

    const qint64 before = support::peakMemory();
    ASSERT_TRUE(m_file.openFile());
    EXPECT_LT(support::peakMemory() - before, gibibyte / 4);
    const auto infos = m_file.getBlockInfos();
    EXPECT_EQ(std::get<0>(infos[1]), headSize + hole + 28);
    EXPECT_EQ(std::get<1>(infos[1]), 3U);
    expectBlockAt(bytes, headSize + 28, contents.columns, m_file.readBlock(1));
    EXPECT_EQ(m_log.lines(), (QStringList{QStringLiteral("block number= 1    points number= 4294967295"),
                                          QStringLiteral("block number= 2    points number= 3")}));

    ASSERT_TRUE(QFile::resize(path(), headSize + hole + bytes.size() - headSize - 1));
    m_file.closeFile();
    EXPECT_FALSE(m_file.openFile()) << "one byte short";
}

TEST_F(SparseDataSetFile, ABlockThatEndsOneByteBehindTheHoleIsRefused)
{
    const QByteArray head = oneBlock({0}, 0xF0000000U, 0, 0);
    const qint64 end = 20 + 28 + 12 + 17LL * 0xF0000000U;
    writeSparse(head, end - 1);
    EXPECT_FALSE(m_file.openFile());
    expectClosed(m_file);
}

TEST_F(SparseDataSetFile, ABlockCountBeyondTheFilesEndIsRefused)
{
    writeSparse(withBlockCount(std::numeric_limits<qint32>::max(), 0), 1 << 20);
    EXPECT_FALSE(m_file.openFile());
    expectClosed(m_file);
}

TEST_F(SparseDataSetFile, AColumnCountThatIsOneByteTooManyForAHoleTakesNoMemory)
{
    const qint32 columns = std::numeric_limits<qint32>::max();
    writeSparse(withColumnCount(columns, 0), 16 + 4LL * columns - 1);
    const qint64 before = support::peakMemory();
    EXPECT_FALSE(m_file.openFile());
    EXPECT_LT(support::peakMemory() - before, gibibyte / 4);
    expectClosed(m_file);
}
