#include "ArrayBuildTesting.h"

#include <cstdlib>
#include <limits>

using support::BlockFile;
using support::PlainArray;

namespace
{

class SplittedBuild : public ArrayBuildTest
{
protected:
    using Arrays = std::list<const ptCloud::stPtCloud_PointArray *>;

    /// A build over older contents, whose leftovers would show.
    bool build(const Arrays &arrays)
    {
        writeOldContents();
        return m_file.makeDataSet_bySplittedPointsArray(arrays);
    }
    bool build(const std::vector<PlainArray> &plain)
    {
        Arrays arrays;
        for (const PlainArray &array : plain)
            arrays.push_back(&make(array));
        return build(arrays);
    }
};

TEST_F(SplittedBuild, OfOneArrayGivesTheBlockZero)
{
    const PlainArray plain = plainArray({{0, 0, 0}, {10, 20, 5}});
    expectBuilt(build({plain}), fileOf(2, {0}, {blockOf(0, {-1, -1, -1, 11, 21, 6}, plain, {0})}));
}

TEST_F(SplittedBuild, GivesEachArrayABlockInTheOrderOfTheList)
{
    const PlainArray far = plainArray({{70000.75F, 0, 0}, {-3, 0, 0}, {40000, 500, 0}}, {3, 4, 13}, 1);
    const PlainArray near = plainArray({{1, 2, 3}}, {3, 4, 13}, 2);
    const PlainArray same = plainArray({{1, 2, 3}, {1, 2, 3}}, {3, 4, 13}, 3);
    expectBuilt(build({far, near, same}), fileOf(2, {0, 3, 4, 13},
                                                 {blockOf(0, {-4, -1, -1, 70002, 501, 1}, far, {0, 3, 4, 13}),
                                                  blockOf(1, {-1, 0, 1, 2, 3, 4}, near, {0, 3, 4, 13}),
                                                  blockOf(2, {-1, 0, 1, 2, 3, 4}, same, {0, 3, 4, 13})}));
}

TEST_F(SplittedBuild, CutsTheRangeTowardZeroAndWidensItByOne)
{
    const PlainArray plain = plainArray({{-7.75F, 100.25F, -0.5F}, {-2.25F, 107.75F, -0.5F}});
    // -8.25 to -1.75, 99.75 to 108.25, -1 to 0
    expectBuilt(build({plain}), fileOf(2, {0}, {blockOf(0, {-9, 98, -2, 0, 109, 1}, plain, {0})}));
}

TEST_F(SplittedBuild, KeepsTheColumnsThatAllArraysHave)
{
    const PlainArray first = plainArray({{0, 0, 0}}, {1, 3, 9, 18});
    const PlainArray second = plainArray({{5, 5, 5}}, {18, 9, 4, 3}, 2);
    const PlainArray third = plainArray({{9, 9, 9}}, {3, 5, 18}, 3);
    expectBuilt(build({first, second, third}), fileOf(2, {0, 3, 18},
                                                      {blockOf(0, {-1, -1, -1, 1, 1, 1}, first, {0, 3, 18}),
                                                       blockOf(1, {3, 3, 3, 6, 6, 6}, second, {0, 3, 18}),
                                                       blockOf(2, {7, 7, 7, 10, 10, 10}, third, {0, 3, 18})}));
}

TEST_F(SplittedBuild, KeepsEveryColumnAndTheTagOfEachArray)
{
    PlainArray first = plainArray(3, allColumnsButTriangles());
    first.tag = 99;
    PlainArray second = plainArray(2, allColumnsButTriangles(), 2);
    second.tag = -77;
    expectBuilt(build({first, second}), fileOf(2, allColumnsButTriangles(),
                                               {blockOf(0, {-1, -1, 8, 3, 5, 11}, first, allColumnsButTriangles()),
                                                blockOf(1, {-1, -1, 8, 2, 3, 11}, second, allColumnsButTriangles())}));
}

TEST_F(SplittedBuild, KeepsPointsThatHaveNoPlace)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float least = -2147483648.0F; // where coordinates beyond the integers end up
    const PlainArray nowhere = plainArray({{nan, nan, nan}, {nan, nan, nan}});
    const PlainArray endless = plainArray({{0, nan, 0}, {infinity, 5, -infinity}}, {}, 2);
    expectBuilt(build({nowhere, endless}), fileOf(2, {0},
                                                  {blockOf(0, {least, least, least, least, least, least}, nowhere, {0}),
                                                   blockOf(1, {least, 3, least, 1, 6, 1}, endless, {0})}));
}

TEST_F(SplittedBuild, WritesAnArrayThatIsListedTwiceTwice)
{
    const PlainArray plain = plainArray({{1, 2, 3}, {2, 3, 4}}, {16});
    const ptCloud::stPtCloud_PointArray &array = make(plain);
    expectBuilt(build(Arrays{&array, &array}), fileOf(2, {0, 16},
                                                      {blockOf(0, {-1, 0, 1, 3, 4, 5}, plain, {0, 16}),
                                                       blockOf(1, {-1, 0, 1, 3, 4, 5}, plain, {0, 16})}));
}

TEST_F(SplittedBuild, PassesOverArraysWithoutPoints)
{
    const ptCloud::stPtCloud_PointArray none;
    ptCloud::stPtCloud_PointArray &shrunk = make(plainArray(2));
    shrunk.m_pointCount = 0;
    const PlainArray first = plainArray({{0, 0, 0}}, {4});
    const PlainArray second = plainArray({{5, 5, 5}}, {4}, 2);
    expectBuilt(
        build(Arrays{&none, &make(first), &shrunk, &none, &make(second), &none}),
        fileOf(2, {0, 4},
               {blockOf(0, {-1, -1, -1, 1, 1, 1}, first, {0, 4}), blockOf(1, {3, 3, 3, 6, 6, 6}, second, {0, 4})}));
}

TEST_F(SplittedBuild, NumbersThePointsOfItsSourcesAnewAndTakesTheirMarksAway)
{
    const ptCloud::stPtCloud_PointArray &first = make(plainArray(3, {3, 9}));
    const ptCloud::stPtCloud_PointArray &second = make(plainArray(2, {3}, 2));
    std::vector<std::vector<unsigned char>> before;
    const auto contents = [&] {
        std::vector<std::vector<unsigned char>> all;
        for (const auto *array : {&first, &second}) {
            for (const points::Array &column : points::columns)
                all.push_back(column.isIn(*array) ? column.bytes(*array) : std::vector<unsigned char>());
        }
        return all;
    };
    before = contents();
    ASSERT_TRUE(build(Arrays{&first, &second}));
    for (const auto *array : {&first, &second}) {
        for (unsigned int i = 0; i < array->m_pointCount; ++i) {
            EXPECT_EQ(array->m_pointIndices[i], i);
            EXPECT_EQ(array->m_pointMarks[i], 0);
        }
    }
    EXPECT_EQ(contents(), before);
    EXPECT_EQ(first.m_pointCount, 3U);
    EXPECT_EQ(second.m_pointCount, 2U);
}

TEST_F(SplittedBuild, LeavesTheArraysToTheirOwnersWhateverTheObjectDoesNext)
{
    const PlainArray plain = plainArray({{0, 0, 0}, {1, 1, 1}}, {3});
    const ptCloud::stPtCloud_PointArray &array = make(plain);
    ASSERT_TRUE(build(Arrays{&array}));
    ASSERT_TRUE(m_file.openFile());
    EXPECT_NE(m_file.readBlock(0), &array);
    m_file.closeFile();
    EXPECT_EQ(support::columnBytes(array, 0), plain.columns.at(0));
    EXPECT_EQ(support::columnBytes(array, 3), plain.columns.at(3));
}

TEST_F(SplittedBuild, TellsACountOfTrianglesWhoseColumnIsNotInTheFile)
{
    PlainArray mesh = plainArray({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    addTriangles(mesh, 2);
    const PlainArray plain = plainArray({{5, 5, 5}}, {}, 2);
    expectBuilt(
        build({mesh, plain}),
        fileOf(2, {0}, {blockOf(0, {-1, -1, -1, 2, 2, 1}, mesh, {0}), blockOf(1, {3, 3, 3, 6, 6, 6}, plain, {0})}));
}

TEST_F(SplittedBuild, KeepsATriangleColumnWithoutTriangles)
{
    PlainArray plain = plainArray({{0, 0, 0}});
    ptCloud::stPtCloud_PointArray &array = make(plain);
    array.m_triangle = static_cast<ptCloud::stTriangle *>(std::calloc(1, sizeof(ptCloud::stTriangle)));
    plain.columns[2] = QByteArray();
    expectBuilt(build(Arrays{&array}), fileOf(2, {0, 2}, {blockOf(0, {-1, -1, -1, 1, 1, 1}, plain, {0, 2})}));
}

TEST_F(SplittedBuild, WritesTrianglesOverTheHeadOfTheNextBlock)
{
    PlainArray first = plainArray({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    addTriangles(first, 1);
    PlainArray second = plainArray({{5, 5, 5}, {6, 5, 5}, {5, 6, 5}}, {}, 2);
    addTriangles(second, 2);
    EXPECT_TRUE(build({first, second}));
    support::expectClosed(m_file);

    // Room is made for no triangle, so each block's 12 or 24 bytes of them follow where the next record begins.
    BlockFile planned = fileOf(
        2, {0, 2}, {blockOf(0, {-1, -1, -1, 2, 2, 1}, first, {0, 2}), blockOf(1, {3, 3, 3, 7, 7, 6}, second, {0, 2})});
    for (BlockFile::Block &block : planned.blocks)
        block.columns[1].clear();
    QByteArray expected = planned.bytes();
    const int secondRecord = 16 + 4 * 2 + 28 + 12 + 17 * 3;
    expected.replace(secondRecord, 12, first.columns.at(2));
    expectBytes(expected + second.columns.at(2));

    // A reader takes the third edge of the second block's box for its key, and the first and the third of its indices
    // for its counts.
    ASSERT_TRUE(m_file.openFile());
    support::expectBlockAt(expected, secondRecord - 12 - 17 * 3, {0, 2}, m_file.readBlock(0));
    const ptCloud::stPtCloud_PointArray *misread = m_file.readBlock(0x40400000);
    ASSERT_NE(misread, nullptr);
    EXPECT_EQ(misread->m_pointCount, 0U);
    EXPECT_EQ(misread->m_triangleCount, 2U);
}

TEST_F(SplittedBuild, FailsInSilenceForAnEmptyList)
{
    expectFailedEmpty(build(Arrays()));
}

TEST_F(SplittedBuild, FailsInSilenceWhenNoArrayHasPoints)
{
    const ptCloud::stPtCloud_PointArray none;
    expectFailedEmpty(build(Arrays{&none, &none}));
}

TEST_F(SplittedBuild, FailsInSilenceForANullEntryWhereverItStands)
{
    const ptCloud::stPtCloud_PointArray *array = &make(plainArray(2));
    for (const Arrays &arrays : {Arrays{nullptr}, Arrays{nullptr, array}, Arrays{array, nullptr}})
        expectFailedEmpty(build(arrays));
}

TEST_F(SplittedBuild, FailsInSilenceForAnArrayThatLacksItsPositionsIndicesOrMarks)
{
    const ptCloud::stPtCloud_PointArray *sound = &make(plainArray(2, {3}));
    ptCloud::stPtCloud_PointArray &unplaced = make(plainArray(2, {3}));
    drop(unplaced.m_position);
    ptCloud::stPtCloud_PointArray &unnumbered = make(plainArray(2, {3}));
    drop(unnumbered.m_pointIndices);
    ptCloud::stPtCloud_PointArray &unmarked = make(plainArray(2, {3}));
    drop(unmarked.m_pointMarks);
    for (const ptCloud::stPtCloud_PointArray *array : {&unplaced, &unnumbered, &unmarked}) {
        expectFailedEmpty(build(Arrays{array, sound}));
        expectFailedEmpty(build(Arrays{sound, array}));
    }
}

TEST_F(SplittedBuild, FailsInSilenceWithoutAnyColumn)
{
    ptCloud::stPtCloud_PointArray &array = make(plainArray(2));
    drop(array.m_position);
    expectFailedEmpty(build(Arrays{&array}));
}

TEST_F(SplittedBuild, MakesAFileThatOpens)
{
    ASSERT_TRUE(build({plainArray(3, {3}), plainArray(2, {3}, 2)}));
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getSortType(), ptCloud::EDataSetSort_ByArray);
    EXPECT_EQ(m_file.getColumns(), listOf({0, 3}));
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 2U);
    for (const BlockFile::Block &block : file.blocks)
        support::expectBlockAt(support::readFile(path()), block.recordOffset + 28, file.columns,
                               m_file.readBlock(block.key));
}

} // namespace
