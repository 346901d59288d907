#include "ArrayBuildTesting.h"
#include "Scarcity.h"

#include <cmath>
#include <limits>

using support::BlockFile;
using support::PlainArray;

namespace
{

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

class ArrayBuild : public ArrayBuildTest
{
protected:
    /// A build over older contents, whose leftovers would show.
    bool build(const ptCloud::stPtCloud_PointArray &array)
    {
        writeOldContents();
        return m_file.makeDataSet_byPointsArray(array);
    }
    bool build(const PlainArray &plain) { return build(make(plain)); }
};

TEST_F(ArrayBuild, KeepsAMeshInOneBlock)
{
    PlainArray plain = plainArray({{0, 0, 0}, {10, 0, 0}, {0, 20, 5}});
    addTriangles(plain, 1);
    plain.tag = 77;
    expectBuilt(build(plain), fileOf(1, {0, 2}, {blockOf(1, {-1, -1, -1, 11, 21, 6}, plain, {0, 2})}));
}

TEST_F(ArrayBuild, KeepsAMeshOfAnyExtentInOneBlockWithThePointsThatHaveNoPlace)
{
    PlainArray plain = plainArray({{-40000, 0, 0}, {nan, 2, 2}, {70000, 3, 3}, {0, 20, 5}}, {1, 3, 13});
    addTriangles(plain, 3);
    expectBuilt(build(plain),
                fileOf(1, {0, 1, 2, 3, 13}, {blockOf(1, {-40001, -1, -1, 70001, 21, 6}, plain, {0, 1, 2, 3, 13})}));
}

TEST_F(ArrayBuild, KeepsAnArrayInOneBlockForItsCountOfTrianglesAlone)
{
    PlainArray plain = plainArray({{0, 0, 0}, {5000, 0, 0}});
    plain.triangles = 4;
    expectBuilt(build(plain), fileOf(1, {0}, {blockOf(1, {-1, -1, -1, 5001, 1, 1}, plain, {0})}));
}

TEST_F(ArrayBuild, CutsTheRangeTowardZeroAndWidensItByOne)
{
    PlainArray plain = plainArray({{-0.5F, 0.5F, 1.5F}, {-0.5F, 0.5F, 1.5F}, {-0.5F, 0.5F, 1.5F}});
    addTriangles(plain, 1);
    ASSERT_TRUE(build(plain));
    // -1 to 0, 0 to 1 and 1 to 2, each widened.
    expectBytes(fileOf(1, {0, 2}, {blockOf(1, {-2, -1, 0, 1, 2, 3}, plain, {0, 2})}).bytes());

    plain.columns[0] = plainArray({{-7.75F, 100.25F, -3.5F}, {-2.25F, 107.75F, -3.5F}, {-5, 101, -3.5F}}).columns[0];
    ASSERT_TRUE(build(plain));
    // -8.25 to -1.75, 99.75 to 108.25, -4 to -3
    expectBytes(fileOf(1, {0, 2}, {blockOf(1, {-9, 98, -5, 0, 109, -2}, plain, {0, 2})}).bytes());
}

TEST_F(ArrayBuild, LaysBoxesOfAThousandUnitsOverASmallExtent)
{
    const PlainArray plain = plainArray({{-600.25F, 0, 0}, {600, 0, 0}, {601, 1, 1}}, {4});
    expectBuilt(build(plain), fileOf(1, {0, 4},
                                     {blockOf(1, {-601, -1, -1, 399, 999, 999}, plain, {{0, 1}}, {0, 4}),
                                      blockOf(2, {399, -1, -1, 1399, 999, 999}, plain, {{1, 2}}, {0, 4})}));
}

TEST_F(ArrayBuild, PutsEqualPointsIntoOneBlock)
{
    const PlainArray plain = plainArray({{7, 8, 9}, {7, 8, 9}, {7, 8, 9}});
    expectBuilt(build(plain), fileOf(1, {0}, {blockOf(1, {5, 6, 7, 1005, 1006, 1007}, plain, {0})}));
}

struct EdgeCase
{
    const char *name;
    float farthest; ///< of the points, from 0 on; the range is two longer
    float edge;
    float lower; ///< of the box that holds the farthest point
};

class ArrayBuildEdge : public ArrayBuild, public ::testing::WithParamInterface<EdgeCase>
{
};

TEST_P(ArrayBuildEdge, IsASixteenthOfTheLongestExtentInWholeThousands)
{
    const auto [name, farthest, edge, lower] = GetParam();
    const PlainArray plain = plainArray({{0, 0, 0}, {0, farthest, 0}});
    expectBuilt(build(plain),
                fileOf(1, {0},
                       {blockOf(1, {-1, -1, -1, edge - 1, edge - 1, edge - 1}, plain, {{0, 1}}, {0}),
                        blockOf(2, {-1, lower, -1, edge - 1, lower + edge, edge - 1}, plain, {{1, 1}}, {0})}));
}

INSTANTIATE_TEST_SUITE_P(
    Extents, ArrayBuildEdge,
    ::testing::Values(EdgeCase{"Below16000", 15997, 1000, 14999}, EdgeCase{"Of16000", 15998, 1000, 14999},
                      EdgeCase{"Below32000", 31997, 1000, 30999}, EdgeCase{"Of32000", 31998, 2000, 29999},
                      EdgeCase{"Of48000", 47998, 3000, 44999}, EdgeCase{"Of1000000", 999998, 62000, 991999}),
    support::CaseName());

TEST_F(ArrayBuild, NumbersTheBlocksWithZVaryingFastest)
{
    std::vector<Place> places;
    for (const float x : {1500.0F, 0.0F}) {
        for (const float y : {1500.0F, 0.0F}) {
            for (const float z : {1500.0F, 0.0F})
                places.push_back({x, y, z});
        }
    }
    const PlainArray plain = plainArray(places);
    std::vector<BlockFile::Block> blocks;
    for (quint32 i = 0; i < 8; ++i) {
        Corners box = {-1, -1, -1, 999, 999, 999};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if ((i >> (2 - axis) & 1U) != 0) {
                box[axis] += 1000;
                box[axis + 3] += 1000;
            }
        }
        blocks.push_back(blockOf(static_cast<qint32>(i) + 1, box, plain, {{7 - i, 1}}, {0}));
    }
    expectBuilt(build(plain), fileOf(1, {0}, blocks));
}

TEST_F(ArrayBuild, GivesAPointOnACornerToTheNextBox)
{
    const float below = std::nextafter(999.0F, 0.0F);
    const PlainArray plain =
        plainArray({{0, 0, 0}, {999, 0, 0}, {below, 0, 0}, {999, 999, 999}, {below, below, below}});
    expectBuilt(build(plain), fileOf(1, {0},
                                     {blockOf(1, {-1, -1, -1, 999, 999, 999}, plain, {{0, 1}, {2, 1}, {4, 1}}, {0}),
                                      blockOf(2, {999, -1, -1, 1999, 999, 999}, plain, {{1, 1}}, {0}),
                                      blockOf(3, {999, 999, 999, 1999, 1999, 1999}, plain, {{3, 1}}, {0})}));
}

TEST_F(ArrayBuild, RestartsTheIndicesWithEveryRun)
{
    // There and back: a run ends where the next point lies in another box.
    const PlainArray plain =
        plainArray({{0, 0, 0}, {1, 0, 0}, {2000, 0, 0}, {2, 0, 0}, {3, 0, 0}, {2001, 0, 0}, {2002, 0, 0}}, {3, 9});
    expectBuilt(build(plain), fileOf(1, {0, 3, 9},
                                     {blockOf(1, {-1, -1, -1, 999, 999, 999}, plain, {{0, 2}, {3, 2}}, {0, 3, 9}),
                                      blockOf(2, {1999, -1, -1, 2999, 999, 999}, plain, {{2, 1}, {5, 2}}, {0, 3, 9})}));
    EXPECT_EQ(builtIndices(), (std::vector<std::vector<quint32>>{{0, 1, 0, 1}, {0, 0, 1}}));
}

TEST_F(ArrayBuild, LeavesOutPointsWithoutACoordinate)
{
    const PlainArray plain = plainArray({{nan, 0, 0}, {0, 0, 0}, {0, nan, 0}, {1, 0, 0}, {2, 0, 0}, {0, 0, nan}}, {15});
    expectBuilt(build(plain),
                fileOf(1, {0, 15}, {blockOf(1, {-1, -1, -1, 999, 999, 999}, plain, {{1, 1}, {3, 2}}, {0, 15})}));
}

class ArrayBuildFar : public ArrayBuild, public ::testing::WithParamInterface<float>
{
};

TEST_P(ArrayBuildFar, IsLeftOutOfAGridThatReachesToTheLeastInteger)
{
    const PlainArray plain = plainArray({{0, 0, 0}, {GetParam(), 0, 0}, {5, 0, 0}});
    // The range is -2147483649 to 1 (or 6): a sixteenth is 134217728, so the seventeenth box begins at -11649.
    const auto upper = static_cast<float>(-11649 + 134217000);
    expectBuilt(build(plain), fileOf(1, {0},
                                     {blockOf(1, {-11649, -1, -1, upper, 134216999.0F, 134216999.0F}, plain,
                                              {{0, 1}, {2, 1}}, {0})}));
}

INSTANTIATE_TEST_SUITE_P(Points, ArrayBuildFar, ::testing::Values(infinity, -infinity, 3e9F, -3e9F, 2147483648.0F));

TEST_F(ArrayBuild, SaysThatThereAreNoPointsWhenNoneHasAPlace)
{
    expectFailedEmpty(build(plainArray({{nan, nan, nan}, {nan, 0, nan}})), {emptyLine()});
}

TEST_F(ArrayBuild, SaysThatThereAreNoPointsWhenAllLieBeyondTheIntegers)
{
    expectFailedEmpty(build(plainArray({{infinity, infinity, infinity}, {3e9F, 3e9F, 3e9F}})), {emptyLine()});
}

TEST_F(ArrayBuild, KeepsEveryColumnAndTheTagInEveryBlock)
{
    PlainArray plain = plainArray({{0, 0, 0}, {2000, 0, 0}, {1, 0, 0}}, allColumnsButTriangles());
    plain.tag = -12345;
    expectBuilt(build(plain),
                fileOf(1, allColumnsButTriangles(),
                       {blockOf(1, {-1, -1, -1, 999, 999, 999}, plain, {{0, 1}, {2, 1}}, allColumnsButTriangles()),
                        blockOf(2, {1999, -1, -1, 2999, 999, 999}, plain, {{1, 1}}, allColumnsButTriangles())}));
}

TEST_F(ArrayBuild, LeavesTheArrayAsItWas)
{
    const ptCloud::stPtCloud_PointArray &array = make({{0, 0, 0}, {2000, 0, 0}, {1, 0, 0}}, {3, 4});
    std::vector<std::vector<unsigned char>> before;
    for (const points::Array &record : points::allArrays())
        before.push_back(record.isIn(array) ? record.bytes(array) : std::vector<unsigned char>());
    ASSERT_TRUE(build(array));
    auto expected = before.cbegin();
    for (const points::Array &record : points::allArrays())
        EXPECT_EQ(record.isIn(array) ? record.bytes(array) : std::vector<unsigned char>(), *expected++);
    EXPECT_EQ(array.m_pointCount, 3U);
}

TEST_F(ArrayBuild, MakesAFileThatOpens)
{
    ASSERT_TRUE(build(plainArray({{0, 0, 0}, {2000, 0, 0}, {1, 0, 0}}, {3})));
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getSortType(), ptCloud::EDataSetSort_ByBox);
    EXPECT_EQ(m_file.getColumns(), listOf({0, 3}));
    const BlockFile file = built();
    for (const BlockFile::Block &block : file.blocks)
        support::expectBlockAt(support::readFile(path()), block.recordOffset + 28, file.columns,
                               m_file.readBlock(block.key));
}

TEST_F(ArrayBuild, FailsInSilenceWithoutPoints)
{
    const ptCloud::stPtCloud_PointArray none;
    expectFailedEmpty(build(none));
}

TEST_F(ArrayBuild, FailsInSilenceWithoutPositions)
{
    ptCloud::stPtCloud_PointArray &array = make({{0, 0, 0}}, {3});
    drop(array.m_position);
    expectFailedEmpty(build(array));
}

TEST_F(ArrayBuild, FailsInSilenceWithoutIndicesOrMarks)
{
    ptCloud::stPtCloud_PointArray &unnumbered = make({{0, 0, 0}});
    drop(unnumbered.m_pointIndices);
    expectFailedEmpty(build(unnumbered));
    ptCloud::stPtCloud_PointArray &unmarked = make({{0, 0, 0}});
    drop(unmarked.m_pointMarks);
    expectFailedEmpty(build(unmarked));
}

TEST_F(ArrayBuild, FailsAtTheFirstBlockForATriangleArrayWithoutTriangles)
{
    const PlainArray plain = plainArray({{0, 0, 0}, {2000, 0, 0}}, {4});
    ptCloud::stPtCloud_PointArray &array = make(plain);
    array.m_triangle = static_cast<ptCloud::stTriangle *>(std::calloc(1, sizeof(ptCloud::stTriangle)));
    PlainArray planned = plain;
    planned.columns[2] = QByteArray();
    expectFailedAtABlock(build(array),
                         fileOf(1, {0, 2, 4},
                                {blockOf(1, {-1, -1, -1, 999, 999, 999}, planned, {{0, 1}}, {0, 2, 4}),
                                 blockOf(2, {1999, -1, -1, 2999, 999, 999}, planned, {{1, 1}}, {0, 2, 4})}));
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(ArrayBuild, FailsInSilenceWhereMemoryDoesNotHoldTheRuns)
{
    // Each point lies in another box than the one before it.
    std::vector<Place> points;
    for (int i = 0; i < 4000000; ++i)
        points.push_back({i % 2 == 0 ? 0.0F : 2000.0F, 0, 0});
    const ptCloud::stPtCloud_PointArray &array = make(points);
    const support::AddressSpaceLimit limit(rlim_t{4} << 20);
    ASSERT_TRUE(limit.holds());
    expectFailedEmpty(build(array));
}

TEST_F(ArrayBuild, SaysThatMemoryIsShort)
{
    const ptCloud::stPtCloud_PointArray &array = make(largeArray());
    expectFailedEmpty(withLittleMemory([&] { return build(array); }), {memoryLine()});
    EXPECT_TRUE(build(array));
    EXPECT_EQ(built().blocks.at(0).points, array.m_pointCount);
}
#endif

} // namespace
