#include "MergeBuildTesting.h"

#include <cstdio>
#include <limits>
#include <numeric>
#include <random>

using support::BlockFile;
using support::mergePlainly;

namespace
{

class MergeBuild : public MergeBuildTest
{
protected:
    /// Expects that these merge to what the plain merge makes of them.
    void expectMergesAsPlain(const std::vector<BlockFile> &plain)
    {
        const auto expected = mergePlainly(plain);
        ASSERT_TRUE(expected);
        expectMerges(plain, *expected);
    }
};

TEST_F(MergeBuild, PutsAllBlocksIntoOneFileWithKeysAndIndicesThatFollowOn)
{
    BlockFile first;
    first.columns = {0, 4};
    first.blocks = {first.makeBlock(1, 3, 0, 1), first.makeBlock(2, 2, 0, 2)};
    first.blocks[1].tag = 55;
    BlockFile second;
    second.columns = {0, 4};
    second.blocks = {second.makeBlock(1, 1, 0, 3), second.makeBlock(2, 4, 0, 4)};

    BlockFile expected;
    expected.columns = {0, 4};
    expected.blocks = {moved(first.blocks[0], 1, 0), moved(first.blocks[1], 2, 3), moved(second.blocks[0], 3, 5),
                       moved(second.blocks[1], 4, 6)};
    expectMerges({first, second}, expected);
}

TEST_F(MergeBuild, OfOneFileNumbersItsPointsAnew)
{
    const BlockFile file = fileOf({3, 0}, {4, 9}, 2);
    BlockFile expected = file;
    expected.blocks[1] = moved(file.blocks[1], 9, file.blocks[0].points);
    expectMerges({file}, expected);
}

TEST_F(MergeBuild, OfNoFilesIsAFileWithoutBlocks)
{
    EXPECT_TRUE(merge(Files()));
    support::expectClosed(m_file);
    EXPECT_EQ(m_log.lines(), QStringList());
    EXPECT_EQ(support::readFile(path()), QByteArray::fromHex("01000000000000000000000000000000"));
}

TEST_F(MergeBuild, OfFilesWithoutBlocksKeepsTheirColumnsAndSort)
{
    expectMerges({fileOf({0, 3}, {}, 2), fileOf({3, 0, 9}, {}, 2)}, fileOf({0, 3}, {}, 2));
    EXPECT_EQ(support::readFile(path()).size(), 24);
}

TEST_F(MergeBuild, OfThousandsOfBlocksEqualsThePlainMerge)
{
    Keys keys(3000);
    std::iota(keys.begin(), keys.end(), 1);
    expectMergesAsPlain({fileOf({0, 4}, keys), fileOf({4, 3, 0}, keys, 1, 5)});
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getBlockInfos().lastKey(), 6000);
}

TEST_F(MergeBuild, KeepsMarksTagsAndBoxes)
{
    BlockFile file = fileOf({0}, {1, 2});
    file.blocks[0].marks = std::vector<quint8>(file.blocks[0].points, 255);
    file.blocks[1].tag = std::numeric_limits<qint32>::min();
    file.blocks[1].box[3] = -std::numeric_limits<float>::infinity();
    expectMergesAsPlain({file, file});
}

struct KeyCase
{
    const char *name;
    std::vector<std::vector<qint32>> keys; ///< of the sources
    /// Of the merged file, in order: the key, the number of the source, and the number of the block in it.
    std::vector<std::array<int, 3>> merged;
};

class MergeBuildKeys : public MergeBuild, public ::testing::WithParamInterface<KeyCase>
{
};

TEST_P(MergeBuildKeys, CountOnFromTheLargestKeyBefore)
{
    std::vector<BlockFile> plain;
    for (const std::vector<qint32> &keys : GetParam().keys)
        plain.push_back(fileOf({0, 15}, keys, 1, static_cast<quint8>(10 * plain.size() + 1)));
    BlockFile expected = fileOf({0, 15}, {});
    quint32 total = 0;
    for (const auto &[key, source, block] : GetParam().merged) {
        const BlockFile &file = plain[static_cast<std::size_t>(source)];
        expected.blocks.push_back(moved(file.blocks[static_cast<std::size_t>(block)], key, total));
        total += expected.blocks.back().points;
    }
    expectMerges(plain, expected);
}

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

INSTANTIATE_TEST_SUITE_P(
    Sources, MergeBuildKeys,
    ::testing::Values(
        KeyCase{"FromOne",
                {{1, 2, 3, 4, 5}, {1, 2, 3}},
                {{{1, 0, 0}, {2, 0, 1}, {3, 0, 2}, {4, 0, 3}, {5, 0, 4}, {6, 1, 0}, {7, 1, 1}, {8, 1, 2}}}},
        KeyCase{"FromZeroLoseABlockAtTheSeam",
                {{0, 1, 2}, {0, 1}, {0, 1}},
                {{{0, 0, 0}, {1, 0, 1}, {2, 1, 0}, {3, 2, 0}, {4, 2, 1}}}},
        KeyCase{"OfSingleBlocksFromZeroLoseAllButTheLast", {{0}, {0}, {0}}, {{{0, 2, 0}}}},
        KeyCase{"WithGaps", {{2, 9}, {1, 4}}, {{{2, 0, 0}, {9, 0, 1}, {10, 1, 0}, {13, 1, 1}}}},
        KeyCase{"WithoutBlocksBetween", {{1, 2}, {}, {1}}, {{{1, 0, 0}, {2, 0, 1}, {3, 2, 0}}}},
        KeyCase{"WithoutBlocksAtBothEnds", {{}, {1, 2}, {1}, {}}, {{{1, 1, 0}, {2, 1, 1}, {3, 2, 0}}}},
        KeyCase{"NegativeTakesTheBaseDown", {{-5, -3}, {1, 2}}, {{{-5, 0, 0}, {-3, 0, 1}, {-2, 1, 0}, {-1, 1, 1}}}},
        KeyCase{"NegativeComeBeforeTheFilesBefore", {{1, 2}, {-4, 1}}, {{{-2, 1, 0}, {1, 0, 0}, {2, 0, 1}, {3, 1, 1}}}},
        KeyCase{"BeyondTheIntegersWrap",
                {{5, most}, {1, 2}},
                {{{least, 1, 0}, {least + 1, 1, 1}, {5, 0, 0}, {most, 0, 1}}}}),
    support::CaseName());

struct SortCase
{
    const char *name;
    std::vector<quint32> sorts;
    quint32 merged;
};

class MergeBuildSort : public MergeBuild, public ::testing::WithParamInterface<SortCase>
{
};

TEST_P(MergeBuildSort, IsTheCommonOneAndSetAgainAfterAMismatch)
{
    std::vector<BlockFile> plain;
    for (const quint32 sort : GetParam().sorts)
        plain.push_back(fileOf({0}, {1}, sort));
    ASSERT_TRUE(merge(plain));
    EXPECT_EQ(support::get<quint32>(support::readFile(path()), 4), GetParam().merged);
}

INSTANTIATE_TEST_SUITE_P(Sources, MergeBuildSort,
                         ::testing::Values(SortCase{"Same1", {1, 1}, 1}, SortCase{"Same2", {2, 2, 2}, 2},
                                           SortCase{"None", {0, 0}, 0}, SortCase{"Of1And2", {1, 2}, 0},
                                           SortCase{"Of2And1", {2, 1}, 0}, SortCase{"Of121", {1, 2, 1}, 1},
                                           SortCase{"Of122", {1, 2, 2}, 2}, SortCase{"Of1212", {1, 2, 1, 2}, 0},
                                           SortCase{"NoneFirst", {0, 2}, 2}, SortCase{"NoneLast", {2, 0}, 0},
                                           SortCase{"NoneBetween", {1, 0, 2}, 2}),
                         support::CaseName());

struct ColumnCase
{
    const char *name;
    std::vector<std::vector<quint32>> columns; ///< of the sources
    std::vector<quint32> merged;
};

class MergeBuildColumns : public MergeBuild, public ::testing::WithParamInterface<ColumnCase>
{
};

TEST_P(MergeBuildColumns, AreThoseInCommonInTheOrderOfTheFirst)
{
    std::vector<BlockFile> plain;
    for (const Columns &columns : GetParam().columns)
        plain.push_back(fileOf(columns, {1, 2}, 1, static_cast<quint8>(10 * plain.size() + 1)));
    const auto expected = mergePlainly(plain);
    ASSERT_TRUE(expected);
    EXPECT_EQ(expected->columns, GetParam().merged);
    expectMerges(plain, *expected);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, MergeBuildColumns,
    ::testing::Values(ColumnCase{"OneInCommon", {{0, 3}, {0, 4}}, {0}},
                      ColumnCase{"InAnotherOrder", {{4, 0, 18, 3}, {3, 4, 13, 0}}, {4, 0, 3}},
                      ColumnCase{"FewerWithEachFile", {{0, 1, 3, 4}, {0, 3, 4}, {4, 0, 9}}, {0, 4}},
                      ColumnCase{"WithTriangles", {{0, 2, 5}, {2, 0, 5}}, {0, 2, 5}},
                      ColumnCase{"WithoutTheTrianglesOfOne", {{0, 2}, {0}}, {0}},
                      ColumnCase{"WithoutPositions", {{0, 9}, {9}}, {9}}, ColumnCase{"NoneInCommon", {{0}, {4}}, {}},
                      ColumnCase{"OfWhichNoneHasAny", {{}, {}}, {}},
                      ColumnCase{"All",
                                 {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18},
                                  {18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}},
                                 {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}}),
    support::CaseName());

TEST_F(MergeBuild, TakesTheNextFilesColumnsOnceNoneIsInCommon)
{
    // The block-less files can't lack anything.
    expectMerges({fileOf({0, 3}, {}), fileOf({4}, {}), fileOf({4, 0}, {1}, 1, 5)}, fileOf({4, 0}, {1}, 1, 5));
}

TEST_F(MergeBuild, MakesRoomForBlocksWithAndWithoutTriangles)
{
    BlockFile plain = fileOf({0, 2}, {1, 2});
    plain.blocks[0] = plain.makeBlock(1, 4, 0, 1);
    plain.blocks[1] = plain.makeBlock(2, 3, 6, 2);
    BlockFile large = fileOf({0, 2}, {1});
    large.blocks[0] = large.makeBlock(1, 50, 90, 3);
    expectMergesAsPlain({plain, large, plain});
}

TEST_F(MergeBuild, KeepsBlocksWithoutPoints)
{
    BlockFile file = fileOf({0, 3}, {});
    file.blocks = {file.makeBlock(1, 0), file.makeBlock(2, 3), file.makeBlock(3, 0)};
    expectMergesAsPlain({file, file});
}

TEST_F(MergeBuild, TakesAFileThatIsListedTwiceTwice)
{
    const BlockFile plain = fileOf({0, 4}, {1, 2});
    ptCloud::PtCloud_DataSetFile &source = add(plain);
    EXPECT_TRUE(merge(Files{&source, &source}));
    EXPECT_EQ(m_log.lines(), linesOf({plain})) << "opened once";
    expectBytes(mergePlainly({plain, plain}).value().bytes());
}

TEST_F(MergeBuild, TakesTwoObjectsOfOneFileAsTwoFiles)
{
    const BlockFile plain = fileOf({0, 4}, {1, 2});
    ptCloud::PtCloud_DataSetFile &source = add(plain);
    ptCloud::PtCloud_DataSetFile other;
    ASSERT_TRUE(other.setFile(source.getFilepath()));
    EXPECT_TRUE(merge(Files{&source, &other}));
    expectBytes(mergePlainly({plain, plain}).value().bytes());
    EXPECT_TRUE(other.isOpened());
}

TEST_F(MergeBuild, TakesSourcesThatAreOpenAlready)
{
    const std::vector<BlockFile> plain = {fileOf({0, 4}, {1, 2}), fileOf({0}, {1}, 2, 5)};
    const Files files = addAll(plain);
    ASSERT_TRUE(files[1]->openFile());
    EXPECT_NE(files[1]->readBlock(1), nullptr);
    EXPECT_TRUE(merge(files));
    EXPECT_EQ(m_log.lines(), linesOf({plain[1], plain[0]}));
    // Again, while they are still open.
    EXPECT_TRUE(merge(files));
    EXPECT_EQ(m_log.lines(), linesOf({plain[1], plain[0]}));
    expectBytes(mergePlainly(plain).value().bytes());
    expectSound(*files[0], plain[0]);
    expectSound(*files[1], plain[1]);
}

TEST_F(MergeBuild, IgnoresWhatStandsBehindTheLastBlockOfASource)
{
    const BlockFile plain = fileOf({0}, {1, 2});
    EXPECT_TRUE(merge(Files{&add(plain.bytes() + "and more"), &add(plain)}));
    expectBytes(mergePlainly({plain, plain}).value().bytes());
}

TEST_F(MergeBuild, MakesAFileThatOpens)
{
    const std::vector<BlockFile> plain = {fileOf({0, 2, 3}, {1, 2}, 2), fileOf({0, 3, 2}, {1}, 2, 5)};
    ASSERT_TRUE(merge(plain));
    ASSERT_TRUE(m_file.openFile());
    expectSound(m_file, mergePlainly(plain).value());
}

class MergeBuildRandom : public MergeBuildTest, public ::testing::WithParamInterface<quint32>
{
protected:
    quint32 below(quint32 limit) { return static_cast<quint32>(m_random() % limit); }

    BlockFile drawFile()
    {
        BlockFile file;
        file.sort = below(3);
        for (quint32 column = 0; column < 19; ++column) {
            if (below(column == 0 ? 10 : 4) != 0)
                file.columns.push_back(column);
        }
        for (std::size_t i = file.columns.size(); i > 1; --i)
            std::swap(file.columns[i - 1], file.columns[below(static_cast<quint32>(i))]);
        auto key = static_cast<qint32>(below(3)) - (below(6) == 0 ? 4 : 0);
        for (quint32 blocks = below(8); blocks > 0; --blocks) {
            // Without any triangle, a file with their column can't be read.
            const quint32 triangles = file.blocks.empty() ? 1 + below(9) : below(9);
            file.blocks.push_back(file.makeBlock(key, below(40), triangles, static_cast<quint8>(below(256))));
            file.blocks.back().tag = static_cast<qint32>(below(1000)) - 1;
            key += static_cast<qint32>(1 + below(3) / 2);
        }
        return file;
    }

    std::mt19937 m_random;
};

TEST_P(MergeBuildRandom, EqualsThePlainMergeByteForByte)
{
    std::printf("seed %u\n", GetParam());
    m_random.seed(GetParam());
    std::vector<BlockFile> plain;
    for (quint32 files = 1 + below(6); files > 0; --files)
        plain.push_back(drawFile());
    const auto expected = mergePlainly(plain);
    if (expected) {
        expectMerges(plain, *expected);
    } else {
        EXPECT_FALSE(merge(plain));
        support::expectClosed(m_file);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MergeBuildRandom, ::testing::Range(1U, 61U));

} // namespace
