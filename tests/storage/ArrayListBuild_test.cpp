#include "ArrayBuildTesting.h"
#include "Scarcity.h"

#include <limits>
#include <random>

using support::BlockFile;
using support::PlainArray;

namespace
{

class ArrayListBuild : public ArrayBuildTest
{
protected:
    using Arrays = QList<const ptCloud::stPtCloud_PointArray *>;

    bool build(const Arrays &arrays)
    {
        writeOldContents();
        return m_file.makeDataSet_byPointsArray(arrays);
    }
    bool build(const std::vector<PlainArray> &plain)
    {
        Arrays arrays;
        for (const PlainArray &array : plain)
            arrays.append(&make(array));
        return build(arrays);
    }

    static PlainArray tagged(PlainArray plain, qint32 tag)
    {
        plain.tag = tag;
        return plain;
    }
};

TEST_F(ArrayListBuild, LaysAGridOverEachArrayAndKeepsCounting)
{
    const PlainArray small = tagged(plainArray({{0, 0, 0}, {1500, 0, 0}, {1, 0, 0}}, {3}, 1), 5);
    const PlainArray large = tagged(plainArray({{100000, 0, 0}, {131998, 0, 0}, {100001, 0, 0}}, {3}, 2), -6);
    expectBuilt(build({small, large}),
                fileOf(2, {0, 3},
                       {blockOf(1, {-1, -1, -1, 999, 999, 999}, small, {{0, 1}, {2, 1}}, {0, 3}),
                        blockOf(2, {999, -1, -1, 1999, 999, 999}, small, {{1, 1}}, {0, 3}),
                        blockOf(3, {99998, -1, -1, 101998, 1999, 1999}, large, {{0, 1}, {2, 1}}, {0, 3}),
                        blockOf(4, {131998, -1, -1, 133998, 1999, 1999}, large, {{1, 1}}, {0, 3})}));
}

TEST_F(ArrayListBuild, PutsAPointOnAnEdgeIntoTheBoxAboveItWhereGridsMeet)
{
    const std::vector<PlainArray> plain = {
        plainArray({{0, 0, 0}, {1500, 1500, 1500}, {999, 0, 0}, {0, 999, 0}, {0, 0, 999}, {999, 999, 999}}),
        plainArray({{10, 10, 10}, {10, 10, 999}, {10, 999, 10}, {999, 10, 10}, {999, 999, 999}}, {}, 2)};
    ASSERT_TRUE(build(plain));
    expectBytes(support::buildPlainly(plain).blockFile);
}

TEST_F(ArrayListBuild, OfOneArrayDiffersFromTheArrayInTheSortAlone)
{
    const PlainArray plain = tagged(plainArray({{0, 0, 0}, {1500, 0, 0}, {1, 0, 0}}, {4, 18}), 3);
    ASSERT_TRUE(m_file.makeDataSet_byPointsArray(make(plain)));
    QByteArray expected = support::readFile(path());
    ASSERT_FALSE(expected.isEmpty());
    support::putAt(expected, 4, quint32{2});
    ASSERT_TRUE(build(std::vector<PlainArray>{plain}));
    expectBytes(expected);
}

TEST_F(ArrayListBuild, TakesTheColumnsOfTheFirstArray)
{
    const PlainArray first = plainArray({{0, 0, 0}}, {4, 9});
    const PlainArray second = plainArray({{5000, 0, 0}}, {1, 4, 9, 13}, 2);
    expectBuilt(build({first, second}), fileOf(2, {0, 4, 9},
                                               {blockOf(1, {-1, -1, -1, 999, 999, 999}, first, {0, 4, 9}),
                                                blockOf(2, {4998, -1, -1, 5998, 999, 999}, second, {0, 4, 9})}));
}

TEST_F(ArrayListBuild, LeavesInAColumnThatAnArrayLacksWhatTheBlockBeforeHeld)
{
    const PlainArray first = plainArray({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {3, 4});
    const PlainArray second = plainArray({{5000, 0, 0}, {5001, 0, 0}, {5002, 0, 0}, {5003, 0, 0}}, {4}, 2);
    PlainArray shown = second;
    shown.columns[3] = first.columns.at(3) + QByteArray(16, '\0'); // never written, hence zeros
    expectBuilt(build({first, second}), fileOf(2, {0, 3, 4},
                                               {blockOf(1, {-1, -1, -1, 999, 999, 999}, first, {0, 3, 4}),
                                                blockOf(2, {4998, -1, -1, 5998, 999, 999}, shown, {0, 3, 4})}));
}

TEST_F(ArrayListBuild, TakesNoTriangles)
{
    const PlainArray first = plainArray({{0, 0, 0}, {1, 0, 0}, {2000, 0, 0}});
    PlainArray second = plainArray({{5000, 0, 0}, {5001, 0, 0}, {8000, 0, 0}});
    const PlainArray secondPoints = second;
    addTriangles(second, 2);
    expectBuilt(build({first, second}),
                fileOf(2, {0},
                       {blockOf(1, {-1, -1, -1, 999, 999, 999}, first, {{0, 2}}, {0}),
                        blockOf(2, {1999, -1, -1, 2999, 999, 999}, first, {{2, 1}}, {0}),
                        blockOf(3, {4998, -1, -1, 5998, 999, 999}, secondPoints, {{0, 2}}, {0}),
                        blockOf(4, {7998, -1, -1, 8998, 999, 999}, secondPoints, {{2, 1}}, {0})}));
}

TEST_F(ArrayListBuild, CountsTheTrianglesOfAnArrayWithoutTheirColumnAsNone)
{
    PlainArray plain = plainArray({{0, 0, 0}, {2000, 0, 0}});
    const PlainArray shown = plain;
    plain.triangles = 3;
    expectBuilt(build(std::vector<PlainArray>{plain}),
                fileOf(2, {0},
                       {blockOf(1, {-1, -1, -1, 999, 999, 999}, shown, {{0, 1}}, {0}),
                        blockOf(2, {1999, -1, -1, 2999, 999, 999}, shown, {{1, 1}}, {0})}));
}

TEST_F(ArrayListBuild, FailsAtTheFirstBlockWhenTheFirstArrayHasTriangles)
{
    PlainArray mesh = plainArray({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    PlainArray planned = mesh;
    planned.columns[2] = QByteArray();
    addTriangles(mesh, 1);
    PlainArray second = plainArray({{5000, 0, 0}});
    second.columns[2] = QByteArray();
    PlainArray secondPoints = plainArray({{5000, 0, 0}});
    expectFailedAtABlock(build({mesh, secondPoints}),
                         fileOf(2, {0, 2},
                                {blockOf(1, {-1, -1, -1, 999, 999, 999}, planned, {0, 2}),
                                 blockOf(2, {4998, -1, -1, 5998, 999, 999}, second, {0, 2})}));
}

TEST_F(ArrayListBuild, CorruptsABlockThatALaterArrayReachesInto)
{
    const PlainArray first = plainArray({{0, 0, 0}}, {4});
    const PlainArray second = plainArray({{5000, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {4}, 2);
    // The later points count in the first box, but what is copied is at their indices in its own array, which ends
    // before.
    PlainArray shown = first;
    shown.points = 3;
    for (auto &[column, bytes] : shown.columns)
        bytes.append(QByteArray(2 * BlockFile::elementSize(column), '\0'));
    expectBuilt(build({first, second}),
                fileOf(2, {0, 4},
                       {blockOf(1, {-1, -1, -1, 999, 999, 999}, shown, {{0, 1}, {1, 2}}, {0, 4}),
                        blockOf(2, {4999, -1, -1, 5999, 999, 999}, second, {{0, 1}}, {0, 4})}));
    EXPECT_EQ(builtIndices(), (std::vector<std::vector<quint32>>{{0, 0, 1}, {0}}));
}

TEST_F(ArrayListBuild, ReplacesARunByALaterOneThatBeginsAtTheSameIndex)
{
    const PlainArray first = plainArray({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {4});
    const PlainArray second = plainArray({{3, 0, 0}, {4, 0, 0}}, {4}, 2);
    expectBuilt(build({first, second}),
                fileOf(2, {0, 4}, {blockOf(1, {-1, -1, -1, 999, 999, 999}, first, {{0, 2}}, {0, 4})}));
}

TEST_F(ArrayListBuild, LooksForTheNextPointBehindTheBoxThatTookThePointBefore)
{
    // The second time, the third point is met behind the box of the second one, hence in the grid that is laid last.
    const PlainArray plain = plainArray({{0, 0, 0}, {2000, 0, 0}, {1, 0, 0}});
    const ptCloud::stPtCloud_PointArray &array = make(plain);
    expectBuilt(build(Arrays{&array, &array}),
                fileOf(2, {0},
                       {blockOf(1, {-1, -1, -1, 999, 999, 999}, plain, {{0, 1}, {2, 1}}, {0}),
                        blockOf(2, {1999, -1, -1, 2999, 999, 999}, plain, {{1, 1}}, {0}),
                        blockOf(3, {-1, -1, -1, 999, 999, 999}, plain, {{2, 1}}, {0})}));
}

TEST_F(ArrayListBuild, PassesOverArraysWithoutPoints)
{
    const ptCloud::stPtCloud_PointArray none;
    ptCloud::stPtCloud_PointArray &shrunk = make(plainArray(2, {9}));
    shrunk.m_pointCount = 0;
    const PlainArray first = plainArray({{0, 0, 0}}, {4});
    const PlainArray second = plainArray({{5000, 0, 0}}, {4}, 2);
    expectBuilt(build(Arrays{&none, &shrunk, &make(first), &none, &make(second), &shrunk}),
                fileOf(2, {0, 4},
                       {blockOf(1, {-1, -1, -1, 999, 999, 999}, first, {0, 4}),
                        blockOf(2, {4998, -1, -1, 5998, 999, 999}, second, {0, 4})}));
}

TEST_F(ArrayListBuild, LeavesOutAnArrayWhosePointsHaveNoPlace)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const PlainArray nowhere = plainArray({{nan, nan, nan}, {nan, 0, 0}}, {4});
    const PlainArray somewhere = plainArray({{5000, 0, 0}}, {9}, 2);
    PlainArray shown = somewhere;
    shown.columns[4] = QByteArray(2, '\0');
    expectBuilt(build({nowhere, somewhere}),
                fileOf(2, {0, 4}, {blockOf(1, {4998, -1, -1, 5998, 999, 999}, shown, {0, 4})}));
}

TEST_F(ArrayListBuild, SaysThatThereAreNoPointsWhenNoneHasAPlace)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    expectFailedEmpty(build({plainArray({{nan, nan, nan}}), plainArray({{0, nan, 0}})}), {emptyLine()});
}

TEST_F(ArrayListBuild, FailsInSilenceForAnEmptyList)
{
    expectFailedEmpty(build(Arrays()));
}

TEST_F(ArrayListBuild, FailsInSilenceWhenNoArrayHasPoints)
{
    const ptCloud::stPtCloud_PointArray none;
    expectFailedEmpty(build(Arrays{&none, &none}));
}

TEST_F(ArrayListBuild, FailsInSilenceForANullEntryWhereverItStands)
{
    const ptCloud::stPtCloud_PointArray *array = &make(plainArray(2));
    for (const Arrays &arrays : {Arrays{nullptr}, Arrays{nullptr, array}, Arrays{array, nullptr}})
        expectFailedEmpty(build(arrays));
}

TEST_F(ArrayListBuild, FailsInSilenceForAnArrayThatLacksItsPositionsIndicesOrMarks)
{
    const ptCloud::stPtCloud_PointArray *sound = &make(plainArray(2));
    ptCloud::stPtCloud_PointArray &unplaced = make(plainArray(2, {3}));
    drop(unplaced.m_position);
    ptCloud::stPtCloud_PointArray &unnumbered = make(plainArray(2));
    drop(unnumbered.m_pointIndices);
    ptCloud::stPtCloud_PointArray &unmarked = make(plainArray(2));
    drop(unmarked.m_pointMarks);
    for (const ptCloud::stPtCloud_PointArray *array : {&unplaced, &unnumbered, &unmarked}) {
        expectFailedEmpty(build(Arrays{array, sound}));
        expectFailedEmpty(build(Arrays{sound, array}));
    }
}

TEST_F(ArrayListBuild, MakesAFileThatOpens)
{
    ASSERT_TRUE(build({plainArray({{0, 0, 0}, {2000, 0, 0}}, {3}), plainArray({{9000, 0, 0}}, {3}, 2)}));
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getSortType(), ptCloud::EDataSetSort_ByArray);
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 3U);
    for (const BlockFile::Block &block : file.blocks)
        support::expectBlockAt(support::readFile(path()), block.recordOffset + 28, file.columns,
                               m_file.readBlock(block.key));
}

TEST_F(ArrayListBuild, OfThousandsOfArraysEqualsThePlainBuildByteForByte)
{
    // Some of their grids overlap, and a few are far larger than the others.
    std::mt19937 random(7);
    const auto below = [&random](unsigned int limit) { return static_cast<float>(random() % limit); };
    std::vector<PlainArray> plain;
    for (int i = 0; i < 3000; ++i) {
        const Place corner = {500 * below(120), 500 * below(120), 500 * below(40)};
        const unsigned int extent = i % 500 == 0 ? 20000 : 800;
        std::vector<Place> places;
        for (int point = 0; point < 3; ++point)
            places.push_back({corner[0] + below(extent), corner[1] + below(extent), corner[2] + below(extent)});
        plain.push_back(plainArray(places));
    }
    EXPECT_TRUE(build(plain));
    const support::PlainArrayBuild expected = support::buildPlainly(plain);
    EXPECT_GT(built().blocks.size(), 2000U);
    expectBytes(expected.blockFile);
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(ArrayListBuild, SaysThatMemoryIsShort)
{
    const ptCloud::stPtCloud_PointArray &array = make(largeArray());
    expectFailedEmpty(withLittleMemory([&] { return build(Arrays{&array}); }), {memoryLine()});
}
#endif

} // namespace
