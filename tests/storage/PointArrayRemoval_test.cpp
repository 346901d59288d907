#include "DataSetFileTest.h"
#include "EditingTesting.h"

#include <limits>
#include <set>
#include <vector>

using namespace points;

namespace
{

static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::removePointsByIndies),
                             bool (stPtCloud_PointArray::*)(const std::set<unsigned int> &)>);

constexpr unsigned int largestIndex = std::numeric_limits<unsigned int>::max();

class PointArrayRemoval : public BlockOfDifferences
{
};

struct RemovalCase
{
    const char *name;
    unsigned int count;
    Indices removed;
    Indices kept;
    Triangles before;
    Triangles after;
};

class PointArrayRemovalCase : public PointArrayRemoval, public ::testing::WithParamInterface<RemovalCase>
{
};

TEST_P(PointArrayRemovalCase, ClosesRanksInEveryColumnAndBendsTheTriangles)
{
    makeFull(GetParam().count, GetParam().before);
    EXPECT_TRUE(m_block.removePointsByIndies({GetParam().removed.begin(), GetParam().removed.end()}));
    expectKept(GetParam().kept);
    EXPECT_EQ(m_block.m_triangleCount, GetParam().after.size());
    EXPECT_EQ(triangles(), GetParam().after);
    EXPECT_EQ(m_block.m_blockTag, 4711);
}

INSTANTIATE_TEST_SUITE_P(
    Points, PointArrayRemovalCase,
    ::testing::Values(
        RemovalCase{"None", 4, {}, {0, 1, 2, 3}, {{1, 2, 3}, {3, 2, 0}}, {{0, 0, 0}, {0, 0, 0}}},
        RemovalCase{"TheFirst", 4, {0}, {1, 2, 3}, {{1, 2, 3}}, {{0, 1, 2}}},
        RemovalCase{"OneInTheMiddle", 4, {2}, {0, 1, 3}, {{0, 1, 3}}, {{0, 0, 2}}},
        RemovalCase{"TheLast", 4, {3}, {0, 1, 2}, {{0, 1, 2}, {2, 3, 1}, {2, 2, 2}}, {{0, 0, 0}, {0, 0, 0}}},
        RemovalCase{"AllButTheFirst", 4, {1, 2, 3}, {0}, {{0, 0, 0}, {0, 1, 0}}, {{0, 0, 0}}},
        RemovalCase{"AllButTheLast", 4, {0, 1, 2}, {3}, {{3, 3, 3}, {3, 2, 3}}, {{0, 0, 0}}},
        RemovalCase{"All", 4, {0, 1, 2, 3}, {}, {{1, 2, 3}, {0, 0, 0}}, {}},
        RemovalCase{"TheOnlyOne", 1, {0}, {}, {{0, 0, 0}}, {}},
        RemovalCase{"EverySecond", 7, {0, 2, 4, 6}, {1, 3, 5}, {{5, 3, 1}, {1, 5, 5}}, {{2, 1, 0}, {0, 2, 2}}},
        RemovalCase{"EveryOtherSecond", 6, {1, 3, 5}, {0, 2, 4}, {{0, 2, 4}, {4, 0, 2}}, {{0, 1, 2}, {2, 0, 1}}},
        RemovalCase{"Runs",
                    10,
                    {2, 3, 4, 7},
                    {0, 1, 5, 6, 8, 9},
                    {{5, 6, 8}, {9, 8, 1}, {1, 0, 9}},
                    {{2, 3, 4}, {5, 4, 0}, {0, 0, 5}}},
        RemovalCase{"BothEnds", 6, {0, 5}, {1, 2, 3, 4}, {{1, 2, 3}, {4, 3, 2}}, {{0, 1, 2}, {3, 2, 1}}},
        RemovalCase{
            "OneCornerOfEachTriangle", 4, {0}, {1, 2, 3}, {{0, 1, 2}, {1, 0, 2}, {3, 2, 1}, {1, 2, 0}}, {{2, 1, 0}}}),
    support::CaseName());

INSTANTIATE_TEST_SUITE_P(
    NoPoints, PointArrayRemovalCase,
    ::testing::Values(
        RemovalCase{"TheCountAlone", 4, {4}, {0, 1, 2, 3}, {{1, 2, 3}, {1, 2, 4}}, {{0, 0, 0}}},
        RemovalCase{"TheCountBesidePoints", 4, {0, 1, 4}, {2, 3}, {{2, 3, 3}, {3, 3, 4}}, {{0, 1, 1}}},
        RemovalCase{"TheCountBehindAllPoints", 3, {0, 1, 2, 3}, {}, {{0, 1, 2}}, {}},
        RemovalCase{"AboveTheCount", 4, {1, 9}, {0, 2, 3}, {{0, 2, 3}, {2, 2, 9}, {3, 8, 2}}, {{0, 1, 2}, {2, 0, 1}}},
        RemovalCase{"OneAboveTheCount", 4, {3, 5}, {0, 1, 2}, {{2, 1, 0}}, {{0, 0, 0}}},
        RemovalCase{"TheLargestAlone", 3, {largestIndex}, {0, 1, 2}, {{0, 1, largestIndex}, {1, 1, 1}}, {{0, 0, 0}}},
        RemovalCase{"TheLargestBesideTheFirst", 3, {0, largestIndex}, {1, 2}, {{1, 2, 1}}, {{0, 1, 0}}},
        RemovalCase{"ManyAboveTheCount", 3, {1, 3, 4, 5, 100, largestIndex - 1}, {0, 2}, {{2, 2, 0}}, {{1, 1, 0}}},
        RemovalCase{"CornersThatAreNoPoints", 4, {0}, {1, 2, 3}, {{4, 3, largestIndex}}, {{0, 2, 0}}},
        RemovalCase{"InABlockWithoutPoints", 0, {0}, {}, {{0, 1, 2}, {1, 2, 3}}, {{0, 0, 0}}},
        RemovalCase{"NoneInABlockWithoutPoints", 0, {}, {}, {{0, 1, 2}}, {{0, 0, 0}}}),
    support::CaseName());

class PointArrayRemovalColumn : public PointArrayRemoval, public ::testing::WithParamInterface<std::size_t>
{
};

TEST_P(PointArrayRemovalColumn, ThatStandsAloneClosesRanks)
{
    make(9, {column(GetParam())});
    EXPECT_TRUE(m_block.removePointsByIndies({1, 2, 5, 8}));
    expectKept({0, 3, 4, 6, 7});
    EXPECT_EQ(m_block.m_triangleCount, 0U);
}

INSTANTIATE_TEST_SUITE_P(Columns, PointArrayRemovalColumn, ::testing::Range<std::size_t>(0, 19));

TEST_F(PointArrayRemoval, KeepsTheArraysWhereTheyAre)
{
    makeFull(6, {{3, 4, 5}, {0, 1, 2}});
    std::vector<void *> before;
    for (const Array &array : allArrays())
        before.push_back(array.of(m_block));
    ASSERT_TRUE(m_block.removePointsByIndies({0, 1, 2, 3, 4, 5}));
    std::vector<void *> after;
    for (const Array &array : allArrays())
        after.push_back(array.of(m_block));
    EXPECT_EQ(after, before) << "those of triangles too, though none is left";
}

TEST_F(PointArrayRemoval, LeavesNothingWithoutIndices)
{
    makeFull(5, {{2, 3, 4}, {0, 1, 2}, {4, 4, 4}});
    std::free(m_block.m_pointIndices);
    m_block.m_pointIndices = nullptr;
    EXPECT_TRUE(m_block.removePointsByIndies({1}));
    EXPECT_EQ(m_block.m_pointCount, 0U);
    EXPECT_EQ(triangles(), (Triangles{{0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(m_block.m_pointIndices, nullptr);
    const Bytes marks = pointRecords[1].bytes(m_block, 0, 4);
    EXPECT_EQ(marks, (Bytes{marks[0], static_cast<unsigned char>(marks[0] + 74),
                            static_cast<unsigned char>(marks[0] + 111), static_cast<unsigned char>(marks[0] + 148)}))
        << "the other arrays close ranks all the same";
}

TEST_F(PointArrayRemoval, WorksWithoutMarksAndWithoutPositions)
{
    make(4, {ptCloud::EDataSetColumn_Color}, {{1, 2, 3}});
    std::free(m_block.m_pointMarks);
    m_block.m_pointMarks = nullptr;
    EXPECT_TRUE(m_block.removePointsByIndies({0}));
    EXPECT_EQ(m_block.m_pointCount, 3U);
    EXPECT_EQ(triangles(), (Triangles{{0, 1, 2}}));
    EXPECT_EQ(m_block.m_pointMarks, nullptr);
    EXPECT_EQ(m_block.m_position, nullptr);
}

TEST_F(PointArrayRemoval, CanFollowOnARemoval)
{
    makeFull(8, {{7, 6, 5}, {2, 4, 6}});
    ASSERT_TRUE(m_block.removePointsByIndies({0, 3}));
    expectKept({1, 2, 4, 5, 6, 7});
    EXPECT_EQ(triangles(), (Triangles{{5, 4, 3}, {1, 2, 4}}));
    ASSERT_TRUE(m_block.removePointsByIndies({2, 6, 7})); // the last two were points before
    expectKept({1, 2, 5, 6, 7});
    EXPECT_EQ(triangles(), (Triangles{{4, 3, 2}}));
    ASSERT_TRUE(m_block.removePointsByIndies({0, 1, 2, 3, 4}));
    ASSERT_TRUE(m_block.removePointsByIndies({0, 1}));
    expectKept({});
    EXPECT_EQ(m_block.m_triangleCount, 0U);
}

TEST_F(PointArrayRemoval, OfANewBlockDoesNothing)
{
    EXPECT_TRUE(m_block.removePointsByIndies({}));
    EXPECT_TRUE(m_block.removePointsByIndies({0, 1, largestIndex}));
    EXPECT_TRUE(isNew(m_block));
}

TEST_F(PointArrayRemoval, LeavesACountOfTrianglesThatAreNotThere)
{
    makeFull(3);
    std::free(m_block.m_triangle);
    m_block.m_triangle = nullptr;
    m_block.m_triangleCount = 7;
    EXPECT_TRUE(m_block.removePointsByIndies({1}));
    expectKept({0, 2});
    EXPECT_EQ(m_block.m_triangleCount, 7U);
}

TEST_F(PointArrayRemoval, TouchesNoTriangleBehindTheCount)
{
    makeFull(4, {{1, 2, 3}, {0, 1, 2}, {3, 2, 1}});
    m_block.m_triangleCount = 0;
    EXPECT_TRUE(m_block.removePointsByIndies({0}));
    EXPECT_EQ(m_block.m_triangleCount, 0U);
    m_block.m_triangleCount = 3;
    EXPECT_EQ(triangles(), (Triangles{{1, 2, 3}, {0, 1, 2}, {3, 2, 1}}));
}

TEST_F(PointArrayRemoval, AlignsTheColumnsOfManyPoints)
{
    constexpr unsigned int count = 100000;
    makeFull(count);
    std::set<unsigned int> removed;
    Indices kept;
    for (unsigned int i = 0; i < count; ++i) {
        if (i % 3 == 1 || i % 1000 > 900)
            removed.insert(i);
        else
            kept.push_back(i);
    }
    EXPECT_TRUE(m_block.removePointsByIndies(removed));
    expectKept(kept);
}

} // namespace
