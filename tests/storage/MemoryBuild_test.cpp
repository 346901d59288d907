#include "ArrayBuildTesting.h"

#include <cstdlib>
#include <limits>

using support::BlockFile;
using support::PlainArray;

namespace
{

class MemoryBuild : public ArrayBuildTest
{
protected:
    using Blocks = QMap<int, std::tuple<ptCloud::pcBoundingBoxf, const ptCloud::stPtCloud_PointArray *>>;

    static std::tuple<ptCloud::pcBoundingBoxf, const ptCloud::stPtCloud_PointArray *>
    entry(const Corners &box, const ptCloud::stPtCloud_PointArray *array)
    {
        return {ptCloud::pcBoundingBoxf(box[0], box[1], box[2], box[3], box[4], box[5]), array};
    }

    /// A build over older contents, whose leftovers would show.
    bool build(quint32 sort, const Columns &columns, const Blocks &blocks)
    {
        writeOldContents();
        return m_file.makeDataSet_byMemory(static_cast<ptCloud::EDataSetSort>(sort), listOf(columns), blocks);
    }
    bool build(const Columns &columns, const Blocks &blocks) { return build(1, columns, blocks); }

    const Corners m_box = {-1.5F, 2.25F, 3, 4, 5, 6};
    const Corners m_otherBox = {10, 20, 30, 1, 2, 3}; // not valid, and kept all the same
};

class MemoryBuildSort : public MemoryBuild, public ::testing::WithParamInterface<quint32>
{
};

TEST_P(MemoryBuildSort, IsTheOneGiven)
{
    const PlainArray plain = plainArray(3, {4});
    expectBuilt(build(GetParam(), {0, 4}, {{1, entry(m_box, &make(plain))}}),
                fileOf(GetParam(), {0, 4}, {blockOf(1, m_box, plain, {0, 4})}));
}

INSTANTIATE_TEST_SUITE_P(Sorts, MemoryBuildSort, ::testing::Range(0U, 3U));

class MemoryBuildWrongSort : public MemoryBuild, public ::testing::WithParamInterface<quint32>
{
};

TEST_P(MemoryBuildWrongSort, IsRefusedBeforeTheFileIsOpened)
{
    const ptCloud::stPtCloud_PointArray &array = make(plainArray(3));
    EXPECT_FALSE(build(GetParam(), {0}, {{1, entry(m_box, &array)}}));
    support::expectClosed(m_file);
    EXPECT_EQ(m_log.lines(), QStringList());
    EXPECT_EQ(support::readFile(path()), QByteArray("what stood here before"));
}

INSTANTIATE_TEST_SUITE_P(Sorts, MemoryBuildWrongSort, ::testing::Values(3U, 255U, 0x80000000U, 0xFFFFFFFFU));

TEST_F(MemoryBuild, KeepsTheKeysAndBoxesAndTheOrderOfTheKeys)
{
    constexpr int most = std::numeric_limits<int>::max();
    const PlainArray first = plainArray(1, {}, 1);
    const PlainArray second = plainArray(3, {}, 2);
    const PlainArray third = plainArray(2, {}, 3);
    const PlainArray last = plainArray(4, {}, 4);
    expectBuilt(build({0}, {{most, entry(m_box, &make(last))},
                            {7, entry(m_box, &make(third))},
                            {-most - 1, entry(m_otherBox, &make(first))},
                            {0, entry(m_otherBox, &make(second))}}),
                fileOf(1, {0},
                       {blockOf(-most - 1, m_otherBox, first, {0}), blockOf(0, m_otherBox, second, {0}),
                        blockOf(7, m_box, third, {0}), blockOf(most, m_box, last, {0})}));
}

TEST_F(MemoryBuild, WritesTheListedColumnsInTheirOrder)
{
    const PlainArray plain = plainArray(3, allColumnsButTriangles());
    const PlainArray other = plainArray(2, {4, 13, 18}, 2);
    expectBuilt(build({18, 4, 0, 13}, {{1, entry(m_box, &make(plain))}, {2, entry(m_box, &make(other))}}),
                fileOf(1, {18, 4, 0, 13},
                       {blockOf(1, m_box, plain, {18, 4, 0, 13}), blockOf(2, m_box, other, {18, 4, 0, 13})}));
}

TEST_F(MemoryBuild, WritesAColumnThatIsListedTwiceTwice)
{
    const PlainArray plain = plainArray(3, {4});
    expectBuilt(build({0, 4, 0}, {{1, entry(m_box, &make(plain))}}),
                fileOf(1, {0, 4, 0}, {blockOf(1, m_box, plain, {0, 4, 0})}));
}

TEST_F(MemoryBuild, KeepsEveryColumnAndTheTag)
{
    PlainArray plain = plainArray(3, allColumnsButTriangles());
    addTriangles(plain, 4);
    plain.tag = 4711;
    Columns columns = allColumnsButTriangles();
    columns.push_back(2);
    expectBuilt(build(columns, {{3, entry(m_box, &make(plain))}}),
                fileOf(1, columns, {blockOf(3, m_box, plain, columns)}));
}

TEST_F(MemoryBuild, MakesRoomForTheTrianglesOfEachBlock)
{
    PlainArray large = plainArray(4);
    addTriangles(large, 5);
    PlainArray small = plainArray(3, {}, 2);
    addTriangles(small, 1);
    expectBuilt(build({2, 0}, {{1, entry(m_box, &make(large))}, {2, entry(m_box, &make(small))}}),
                fileOf(1, {2, 0}, {blockOf(1, m_box, large, {2, 0}), blockOf(2, m_box, small, {2, 0})}));
}

TEST_F(MemoryBuild, TellsACountOfTrianglesWhoseColumnIsNotListed)
{
    PlainArray plain = plainArray(3);
    addTriangles(plain, 2);
    expectBuilt(build({0}, {{1, entry(m_box, &make(plain))}}), fileOf(1, {0}, {blockOf(1, m_box, plain, {0})}));
}

TEST_F(MemoryBuild, KeepsATriangleColumnWithoutTriangles)
{
    PlainArray plain = plainArray(3);
    ptCloud::stPtCloud_PointArray &array = make(plain);
    array.m_triangle = static_cast<ptCloud::stTriangle *>(std::calloc(1, sizeof(ptCloud::stTriangle)));
    plain.columns[2] = QByteArray();
    expectBuilt(build({0, 2}, {{1, entry(m_box, &array)}}), fileOf(1, {0, 2}, {blockOf(1, m_box, plain, {0, 2})}));
}

TEST_F(MemoryBuild, KeepsPointsThatHaveNoPlace)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const PlainArray plain = plainArray({{nan, nan, nan}, {3e9F, 0, 0}});
    expectBuilt(build({0}, {{1, entry(m_box, &make(plain))}}), fileOf(1, {0}, {blockOf(1, m_box, plain, {0})}));
}

TEST_F(MemoryBuild, WritesAnArrayUnderTwoKeysTwice)
{
    const PlainArray plain = plainArray(2, {17});
    const ptCloud::stPtCloud_PointArray &array = make(plain);
    expectBuilt(build({0, 17}, {{4, entry(m_box, &array)}, {9, entry(m_otherBox, &array)}}),
                fileOf(1, {0, 17}, {blockOf(4, m_box, plain, {0, 17}), blockOf(9, m_otherBox, plain, {0, 17})}));
}

TEST_F(MemoryBuild, KeepsABlockThatHasLostItsPoints)
{
    const PlainArray plain = plainArray(2, {3}, 2);
    ptCloud::stPtCloud_PointArray &shrunk = make(plainArray(2, {3}));
    shrunk.m_pointCount = 0;
    const PlainArray none = plainArray(std::vector<Place>(), {3});
    expectBuilt(build({0, 3}, {{1, entry(m_otherBox, &shrunk)}, {5, entry(m_box, &make(plain))}}),
                fileOf(1, {0, 3}, {blockOf(1, m_otherBox, none, {0, 3}), blockOf(5, m_box, plain, {0, 3})}));
}

TEST_F(MemoryBuild, FailsForABlockThatHasNoColumnsEvenWithoutPoints)
{
    const ptCloud::stPtCloud_PointArray none;
    const PlainArray plain = plainArray(2);
    expectFailedAtABlock(build({0}, {{1, entry(m_otherBox, &none)}, {5, entry(m_box, &make(plain))}}),
                         fileOf(1, {0}, {blockOf(1, m_otherBox, plainArray(0), {0}), blockOf(5, m_box, plain, {0})}));
}

TEST_F(MemoryBuild, NumbersThePointsOfItsSourcesAnewAndTakesTheirMarksAway)
{
    const PlainArray plain = plainArray(3, {3, 9});
    const ptCloud::stPtCloud_PointArray &array = make(plain);
    ASSERT_TRUE(build({0, 3}, {{1, entry(m_box, &array)}}));
    for (unsigned int i = 0; i < 3; ++i) {
        EXPECT_EQ(array.m_pointIndices[i], i);
        EXPECT_EQ(array.m_pointMarks[i], 0);
    }
    for (const quint32 column : Columns{0, 3, 9})
        EXPECT_EQ(support::columnBytes(array, column), plain.columns.at(column)) << column;
}

TEST_F(MemoryBuild, FailsInSilenceWithoutBlocks)
{
    expectFailedEmpty(build({0}, {}));
}

struct ColumnCase
{
    const char *name;
    std::vector<quint32> columns;
};

class MemoryBuildColumns : public MemoryBuild, public ::testing::WithParamInterface<ColumnCase>
{
};

TEST_P(MemoryBuildColumns, AreRefusedOnceTheFileIsEmptied)
{
    const ptCloud::stPtCloud_PointArray &array = make(plainArray(3, allColumnsButTriangles()));
    expectFailedEmpty(build(GetParam().columns, {{1, entry(m_box, &array)}}));
    EXPECT_EQ(array.m_pointCount, 3U);
    EXPECT_NE(array.m_position, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Wrong, MemoryBuildColumns,
                         ::testing::Values(ColumnCase{"None", {}}, ColumnCase{"WithoutPositions", {3}},
                                           ColumnCase{"ManyWithoutPositions", {1, 3, 18}},
                                           ColumnCase{"WithAnUnknownOneLast", {0, 19}},
                                           ColumnCase{"WithAnUnknownOneFirst", {0xFFFFFFFF, 0}}),
                         support::CaseName());

TEST_F(MemoryBuild, FailsAtTheBlockThatLacksAListedColumn)
{
    const PlainArray whole = plainArray(3, {3});
    PlainArray planned = plainArray(2, {}, 2);
    const ptCloud::stPtCloud_PointArray &lacking = make(planned);
    planned.columns[3] = QByteArray(2 * 16, '\0');
    const BlockFile plan =
        fileOf(1, {0, 3}, {blockOf(1, m_box, whole, {0, 3}), blockOf(2, m_otherBox, planned, {0, 3})});
    expectFailedAtABlock(build({0, 3}, {{1, entry(m_box, &make(whole))}, {2, entry(m_otherBox, &lacking)}}), plan);
    const QByteArray expected = plan.bytes();
    const int untilSecond = 16 + 4 * 2 + 28 + 12 + 33 * 3 + 28;
    EXPECT_EQ(support::readFile(path()).left(untilSecond), expected.left(untilSecond)) << "what went before is whole";
}

TEST_F(MemoryBuild, FailsForATriangleColumnThatABlockLacks)
{
    PlainArray plain = plainArray(3);
    const ptCloud::stPtCloud_PointArray &array = make(plain);
    plain.columns[2] = QByteArray();
    expectFailedAtABlock(build({0, 2}, {{1, entry(m_box, &array)}}),
                         fileOf(1, {0, 2}, {blockOf(1, m_box, plain, {0, 2})}));
}

TEST_F(MemoryBuild, FailsInSilenceForANullArrayWhereverItStands)
{
    const ptCloud::stPtCloud_PointArray *array = &make(plainArray(2));
    for (const Blocks &blocks :
         {Blocks{{1, entry(m_box, nullptr)}}, Blocks{{1, entry(m_box, nullptr)}, {2, entry(m_box, array)}},
          Blocks{{1, entry(m_box, array)}, {2, entry(m_box, nullptr)}}})
        expectFailedEmpty(build({0}, blocks));
}

TEST_F(MemoryBuild, FailsInSilenceForAnArrayThatLacksItsPositionsIndicesOrMarks)
{
    const ptCloud::stPtCloud_PointArray *sound = &make(plainArray(2, {3}));
    ptCloud::stPtCloud_PointArray &unplaced = make(plainArray(2, {3}));
    drop(unplaced.m_position);
    ptCloud::stPtCloud_PointArray &unnumbered = make(plainArray(2, {3}));
    drop(unnumbered.m_pointIndices);
    ptCloud::stPtCloud_PointArray &unmarked = make(plainArray(2, {3}));
    drop(unmarked.m_pointMarks);
    for (const ptCloud::stPtCloud_PointArray *array : {&unplaced, &unnumbered, &unmarked}) {
        for (const bool soundFirst : {true, false}) {
            EXPECT_FALSE(build({0, 3}, {{1, entry(m_box, soundFirst ? sound : array)},
                                        {2, entry(m_box, soundFirst ? array : sound)}}));
            support::expectClosed(m_file);
            EXPECT_EQ(m_log.lines(), QStringList());
        }
    }
}

TEST_F(MemoryBuild, MakesAFileThatOpens)
{
    PlainArray mesh = plainArray(3, {3});
    addTriangles(mesh, 1);
    ASSERT_TRUE(build({3, 2, 0}, {{-4, entry(m_box, &make(mesh))}, {8, entry(m_otherBox, &make(mesh))}}));
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getSortType(), ptCloud::EDataSetSort_ByBox);
    EXPECT_EQ(m_file.getColumns(), listOf({3, 2, 0}));
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 2U);
    for (const BlockFile::Block &block : file.blocks)
        support::expectBlockAt(support::readFile(path()), block.recordOffset + 28, file.columns,
                               m_file.readBlock(block.key));
}

} // namespace
