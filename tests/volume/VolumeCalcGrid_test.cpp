#include "VolumeCalcTesting.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace support;
using plain::Area;
using plain::Block;
using plain::Point;

namespace
{

class VolumeCalcGrid : public VolumeCalcTest
{
protected:
    /// Calculates an area from one block that holds the points.
    bool calculate(const Area &area, const std::vector<Point> &points)
    {
        writeBlocks({Block{{-1e6F, -1e6F, 1e6F, 1e6F}, points}});
        setArea(area);
        return calcGrid();
    }

    /// The height of each cell of the result, with a ground that no point has.
    QList<float> tops() const
    {
        QList<float> heights;
        for (const ptCloud::stQuadPrism &prism : m_area->quadPrisms)
            heights << prism.topZ;
        return heights;
    }
};

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

} // namespace

TEST_F(VolumeCalcGrid, LeavesOutCellsThatTouchTheHighSides)
{
    // 3 x 3 of the 4 x 4 cells.
    EXPECT_TRUE(calculate(square(0, 1, 0, 0.25F), {{0.1F, 0.1F, 2}}));
    EXPECT_EQ(m_area->quadPrisms.size(), 9);
    EXPECT_EQ(m_area->getDigVolume_grid(), 9 * 2 * 0.0625);
    EXPECT_EQ(m_area->getFillVolume_grid(), 0);
}

TEST_F(VolumeCalcGrid, RefusesFewerThanThreeCorners)
{
    Area area = square(0, 4, 0, 1);
    ASSERT_TRUE(calculate(area, {{0.5F, 0.5F, 2}}));
    area.boundary.resize(2);
    EXPECT_FALSE(calculate(area, {{0.5F, 0.5F, 2}}));
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(VolumeCalcGrid, AFailureEmptiesItsOwnResultAndNoOther)
{
    writeBlocks({Block{{0, 0, 4, 4}, {{0.5F, 0.5F, 2}}}});
    setArea(square(0, 4, 0, 1));
    m_area->prisms.append(ptCloud::stPrism());
    m_area->dtmCalculated = true;
    ASSERT_TRUE(calcGrid());
    ASSERT_FALSE(m_area->quadPrisms.isEmpty());
    m_area->gridSize = 0.005F;
    EXPECT_FALSE(calcGrid());
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
    EXPECT_EQ(m_area->getDigVolume_grid(), 0);
    EXPECT_TRUE(m_area->dtmCalculated);
    EXPECT_EQ(m_area->prisms.size(), 1);
}

TEST_F(VolumeCalcGrid, RefusesAGroundAtOrAboveTheLimitFromEitherSource)
{
    Area area = square(0, 4, 5, 1);
    area.maxHeight = 5;
    EXPECT_FALSE(calculate(area, {}));
    area.groundHeight = 6;
    EXPECT_FALSE(calculate(area, {}));
    area.groundHeight = 4;
    EXPECT_TRUE(calculate(area, {}));

    area.groundHeightType = 0;
    for (Point &corner : area.boundary)
        corner.z = 5;
    EXPECT_FALSE(calculate(area, {}));
    area.boundary[0].z = 4;
    EXPECT_TRUE(calculate(area, {}));
}

TEST_F(VolumeCalcGrid, RefusesCellsBelowOneHundredth)
{
    for (const float size : {0.0F, -1.0F, 0.005F, 0.01F, -infinity})
        EXPECT_FALSE(calculate(square(0, 0.1F, 0, size), {})) << size;
    EXPECT_TRUE(calculate(square(0, 0.1F, 0, std::nextafter(0.01F, 1.0F)), {}));
}

TEST_F(VolumeCalcGrid, MakesNothingOfACellSizeThatIsNoSize)
{
    for (const float size : {notANumber, infinity}) {
        EXPECT_TRUE(calculate(square(0, 4, 0, size), {{0.5F, 0.5F, 2}}));
        EXPECT_TRUE(m_area->quadPrisms.isEmpty());
    }
}

TEST_F(VolumeCalcGrid, CountsAPointOnAnUpperEdgeAndNotOnALowerOne)
{
    ASSERT_TRUE(calculate(square(0, 3, -1, 1), {{1, 1, 5}, {2, 2, 7}, {0, 0.5F, 100}, {0.5F, 0, 100}}));
    // In key order: (0,0) (0,1) (1,0) (1,1); the two without a point take that of a neighbour.
    EXPECT_EQ(tops(), (QList<float>{5, 5, 7, 7}));
}

TEST_F(VolumeCalcGrid, TakesTheHighestPointOfACell)
{
    ASSERT_TRUE(calculate(square(0, 2, 0, 1), {{0.5F, 0.5F, 3}, {0.6F, 0.5F, 8}, {0.7F, 0.5F, -4}}));
    EXPECT_EQ(tops(), QList<float>{8});
}

TEST_F(VolumeCalcGrid, PassesOverPointsAtOrAboveTheLimit)
{
    Area area = square(0, 2, 0, 1);
    EXPECT_TRUE(calculate(area, {{0.5F, 0.5F, 3}, {0.5F, 0.5F, 99999.0F}, {0.5F, 0.5F, infinity}}));
    EXPECT_EQ(tops(), QList<float>{3});
    area.maxHeight = 4;
    EXPECT_TRUE(calculate(area, {{0.5F, 0.5F, 3}, {0.5F, 0.5F, 4}, {0.5F, 0.5F, 50}}));
    EXPECT_EQ(tops(), QList<float>{3});
}

TEST_F(VolumeCalcGrid, PassesOverPointsThatAreNoNumbers)
{
    EXPECT_TRUE(calculate(square(0, 2, 0, 1), {{0.5F, 0.5F, notANumber},
                                               {notANumber, 0.5F, 9},
                                               {0.5F, notANumber, 9},
                                               {0.5F, 0.5F, 3},
                                               {infinity, 0.5F, 9}}));
    EXPECT_EQ(tops(), QList<float>{3});
}

TEST_F(VolumeCalcGrid, TakesATerrainAtTheMarkersHeightForNone)
{
    EXPECT_TRUE(calculate(square(0, 2, 0, 1), {{0.5F, 0.5F, -99999.0F}, {0.5F, 0.5F, -200000.0F}}));
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(VolumeCalcGrid, FillsAHoleFromTheFirstDirectionThatHasAHeight)
{
    // Cells of 3 x 3; the hole is in the middle.
    const std::vector<Point> ring = {{1.5F, 0.5F, 1}, {1.5F, 2.5F, 2}, {0.5F, 1.5F, 3}, {2.5F, 1.5F, 4},
                                     {0.5F, 0.5F, 9}, {0.5F, 2.5F, 9}, {2.5F, 0.5F, 9}, {2.5F, 2.5F, 9}};
    ASSERT_TRUE(calculate(square(0, 4, -1, 1), ring));
    EXPECT_EQ(tops(), (QList<float>{9, 3, 9, 1, 1, 2, 9, 4, 9}));
}

TEST_F(VolumeCalcGrid, FillsAHoleFromFartherCellsAndFromFilledOnes)
{
    // One column of five cells: the first looks four cells up, the others find the one below them filled.
    Area column = square(0, 1, 0, 1);
    column.boundary = {{0, 0, 0}, {1.5F, 0, 0}, {1.5F, 5.5F, 0}, {0, 5.5F, 0}};
    ASSERT_TRUE(calculate(column, {{0.5F, 4.5F, 6}}));
    EXPECT_EQ(tops(), (QList<float>{6, 6, 6, 6, 6}));
    // One row: the same along x.
    column.boundary = {{0, 0, 0}, {5.5F, 0, 0}, {5.5F, 1.5F, 0}, {0, 1.5F, 0}};
    ASSERT_TRUE(calculate(column, {{4.5F, 0.5F, 6}}));
    EXPECT_EQ(tops(), (QList<float>{6, 6, 6, 6, 6}));
}

TEST_F(VolumeCalcGrid, DoesNotLookAcrossAGapInTheArea)
{
    // Four columns of three cells, the two in the middle of one: the upper cells of the outer columns have no way over.
    Area area = square(0, 4, -1, 1);
    area.boundary = {{0, 0, 0},       {4.5F, 0, 0},    {4.5F, 3.5F, 0}, {2.5F, 3.5F, 0},
                     {2.5F, 1.5F, 0}, {1.5F, 1.5F, 0}, {1.5F, 3.5F, 0}, {0, 3.5F, 0}};
    ASSERT_TRUE(calculate(area, {{3.5F, 2.5F, 8}}));
    // (0,0), (0,2) and (2,0) go, and with each the cell after it stays open: (0,1), (1,0) and (3,0).
    EXPECT_EQ(tops(), (QList<float>{-99999, -99999, -99999, 8, 8}));
    EXPECT_EQ(m_area->quadPrisms[2].xMin, 3);
    EXPECT_EQ(m_area->quadPrisms[2].yMin, 0);
}

TEST_F(VolumeCalcGrid, DropsAndKeepsUnfillableHolesInTurn)
{
    Area area = square(0, 1, 0, 1);
    area.boundary = {{0, 0, 0}, {1.5F, 0, 0}, {1.5F, 4.5F, 0}, {0, 4.5F, 0}};
    ASSERT_TRUE(calculate(area, {}));
    EXPECT_EQ(tops(), (QList<float>{-99999, -99999}));
    EXPECT_EQ(m_area->quadPrisms[0].yMin, 1);
    EXPECT_EQ(m_area->quadPrisms[1].yMin, 3);
}

TEST_F(VolumeCalcGrid, FindsNothingInsideAnOutlineDrawnTwice)
{
    Area area = square(0, 4, -1, 1);
    const std::vector<Point> once = area.boundary;
    area.boundary.insert(area.boundary.end(), once.begin(), once.end());
    EXPECT_TRUE(calculate(area, {{0.5F, 0.5F, 3}}));
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(VolumeCalcGrid, IsTheSameForEitherDirectionOfDrawing)
{
    Area area = square(0, 4, -1, 1);
    ASSERT_TRUE(calculate(area, {{0.5F, 0.5F, 3}}));
    const double dug = m_area->getDigVolume_grid();
    EXPECT_EQ(dug, 9 * 4);
    std::reverse(area.boundary.begin(), area.boundary.end());
    ASSERT_TRUE(calculate(area, {{0.5F, 0.5F, 3}}));
    EXPECT_EQ(m_area->getDigVolume_grid(), dug);
}

TEST_F(VolumeCalcGrid, MissesALowerNeighbourThatSubtractionDoesNotMeet)
{
    // Every other cell of a strip has a height. The ones between take it from below, but where a step down does not
    // undo the step up they take it from above.
    Area area = square(0, 1, -1, 0.1F);
    area.boundary = {{0, 0, 0}, {0.15F, 0, 0}, {0.15F, 100.05F, 0}, {0, 100.05F, 0}};
    std::vector<Point> points;
    float low = 0;
    for (int i = 0; i < 1000; ++i, low += 0.1F) {
        if (i % 2 == 0)
            points.push_back({0.05F, low + 0.05F, static_cast<float>(i)});
    }
    expectGridAsPlain(area, {Block{{0, 0, 1, 101}, points}});
    int fromAbove = 0;
    for (int i = 1; i + 1 < m_area->quadPrisms.size(); i += 2)
        fromAbove += m_area->quadPrisms[i].topZ == m_area->quadPrisms[i + 1].topZ ? 1 : 0;
    EXPECT_GT(fromAbove, 0);
    EXPECT_LT(fromAbove, 100);
}

TEST_F(VolumeCalcGrid, KeepsTheHoleBehindOneThatCouldNotBeFilled)
{
    // Two cells and no point: the first is left out, the second is not looked at.
    Area area = square(0, 1, 0, 1);
    area.boundary = {{0, 0, 0}, {1.5F, 0, 0}, {1.5F, 2.5F, 0}, {0, 2.5F, 0}};
    ASSERT_TRUE(calculate(area, {}));
    ASSERT_EQ(tops(), QList<float>{-99999.0F});
    EXPECT_EQ(m_area->getFillVolume_grid(), 99999.0);
    EXPECT_EQ(m_area->getDigVolume_grid(), 0);
}

TEST_F(VolumeCalcGrid, EndsAtAnUnfillableHoleInTheLastCell)
{
    Area area = square(0, 1, 0, 1);
    area.boundary = {{0, 0, 0}, {1.5F, 0, 0}, {1.5F, 1.5F, 0}, {0, 1.5F, 0}};
    EXPECT_TRUE(calculate(area, {}));
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(VolumeCalcGrid, HasNoRecordForACellAtTheGround)
{
    std::vector<Point> flat;
    for (int i = 0; i < 16; ++i)
        flat.push_back({static_cast<float>(i % 4) + 0.5F, static_cast<float>(i / 4) + 0.5F, 5});
    EXPECT_TRUE(calculate(square(0, 4, 5, 1), flat));
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
    EXPECT_EQ(m_area->getDigVolume_grid(), 0);
    EXPECT_EQ(m_area->getFillVolume_grid(), 0);
}

TEST_F(VolumeCalcGrid, RecordsEveryCellUnderAGroundThatIsNoNumber)
{
    ASSERT_TRUE(calculate(square(0, 3, notANumber, 1), {{0.5F, 0.5F, 5}}));
    ASSERT_EQ(m_area->quadPrisms.size(), 4);
    EXPECT_TRUE(std::isnan(m_area->getFillVolume_grid()));
}

TEST_F(VolumeCalcGrid, ReadsOnlyBlocksWhoseRectangleMeetsTheArea)
{
    writeBlocks({Block{{10, 10, 20, 20}, {{0.5F, 0.5F, 50}}}, Block{{-5, -5, 5, 5}, {{0.5F, 0.5F, 3}}}});
    setArea(square(0, 2, 0, 1));
    ASSERT_TRUE(calcGrid());
    EXPECT_EQ(tops(), QList<float>{3});
}

TEST_F(VolumeCalcGrid, TakesPointsFromManyBlocks)
{
    writeBlocks(
        {Block{{0, 0, 1, 1}, {{0.5F, 0.5F, 3}}}, Block{{0, 0, 2, 2}, {{0.5F, 0.5F, 4}}}, Block{{0, 0, 3, 3}, {}}});
    setArea(square(0, 2, 0, 1));
    ASSERT_TRUE(calcGrid());
    EXPECT_EQ(tops(), QList<float>{4});
}

TEST_F(VolumeCalcGrid, TakesABlockWithoutPositionsForNoPoints)
{
    BlockFile file;
    file.columns = {4};
    file.blocks = {file.makeBlock(1, 10)};
    const float box[6] = {0, 0, 0, 9, 9, 9};
    std::memcpy(file.blocks[0].box, box, sizeof box);
    ASSERT_TRUE(writeFile(m_dir.filePath(QStringLiteral("points")), file.bytes()));
    setArea(square(0, 2, 0, 1));
    EXPECT_TRUE(calcGrid());
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(VolumeCalcGrid, RefusesAStepThatNoLongerMovesACoordinate)
{
    EXPECT_FALSE(calculate(square(4500000, 100, 0, 0.1F), {}));
    Area area = square(0, 100, 0, 0.1F);
    for (Point &corner : area.boundary)
        corner.y += 4500000;
    EXPECT_FALSE(calculate(area, {}));
    EXPECT_TRUE(calculate(square(4500000, 100, 0, 1), {}));
}

TEST_F(VolumeCalcGrid, RefusesMoreCellsThanItCouldEverHold)
{
    EXPECT_FALSE(calculate(square(0, 200, 0, 0.0101F), {}));
    EXPECT_FALSE(calculate(square(0, 1e6F, 0, 0.1F), {}));
    EXPECT_FALSE(calculate(square(-3e38F, 3e38F, 0, 1e30F), {}));
}

TEST_F(VolumeCalcGrid, RefusesCornersThatAreNotFinite)
{
    for (const float bad : {notANumber, infinity, -infinity}) {
        Area area = square(0, 4, 0, 1);
        area.boundary[2].x = bad;
        EXPECT_FALSE(calculate(area, {}));
        area = square(0, 4, 0, 1);
        area.boundary[1].y = bad;
        EXPECT_FALSE(calculate(area, {}));
    }
    Area area = square(0, 4, 0, 1);
    area.boundary[1].z = infinity;
    EXPECT_TRUE(calculate(area, {}));
}

TEST_F(VolumeCalcGrid, TakesAnAreaWithoutExtentForEmpty)
{
    Area area = square(0, 4, 0, 1);
    area.boundary = {{1, 1, 0}, {1, 5, 0}, {1, 9, 0}};
    EXPECT_TRUE(calculate(area, {{1, 2, 3}}));
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}
