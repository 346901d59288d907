#include "VolumeCalcTesting.h"

#include <limits>

using namespace support;
using plain::Area;
using plain::Point;
using plain::Triangle;

namespace
{

class VolumeCalcDtm : public VolumeCalcTest
{
protected:
    bool calculate(const Area &area, const std::vector<Point> &points, const std::vector<Triangle> &triangles)
    {
        writeMesh(points, triangles);
        setArea(area);
        return calcDtm();
    }
};

const std::vector<Point> corners = {{1, 1, 5}, {3, 1, 5}, {1, 3, 5}};
const std::vector<Triangle> one = {{0, 1, 2}};

} // namespace

TEST_F(VolumeCalcDtm, DigsATriangleAboveTheGround)
{
    ASSERT_TRUE(calculate(square(0, 4, 3, 1), corners, one));
    ASSERT_EQ(m_area->prisms.size(), 1);
    const ptCloud::stPrism &prism = m_area->prisms.first();
    EXPECT_EQ(prism.x2, 3);
    EXPECT_EQ(prism.y3, 3);
    EXPECT_EQ(prism.z1, 5);
    EXPECT_EQ(prism.groundZ, 3);
    EXPECT_EQ(m_area->getDigVolume_dtm(), 4);
    EXPECT_EQ(m_area->getFillVolume_dtm(), 0);
}

TEST_F(VolumeCalcDtm, TakesTheMeanOfTheCornersAsGround)
{
    Area area = square(0, 4, 99, 1);
    area.groundHeightType = 0;
    area.boundary[0].z = 28;
    ASSERT_TRUE(calculate(area, corners, one));
    EXPECT_EQ(m_area->prisms.first().groundZ, 7);
    EXPECT_EQ(m_area->getFillVolume_dtm(), 4);
}

TEST_F(VolumeCalcDtm, SumsTheHeightsOfTheCornersInDoubles)
{
    Area area = square(0, 4, 99, 1);
    area.groundHeightType = 0;
    area.maxHeight = 1e9F;
    area.boundary = {{0, 0, 16777216}, {8, 0, 1}, {0, 8, 1}};
    ASSERT_TRUE(calculate(area, corners, one));
    EXPECT_EQ(m_area->prisms.first().groundZ, 5592406);
}

TEST_F(VolumeCalcDtm, TakesTheFixedGroundForEveryOtherType)
{
    for (const int type : {-1, 2, std::numeric_limits<int>::max()}) {
        Area area = square(0, 4, 3, 1);
        area.groundHeightType = type;
        ASSERT_TRUE(calculate(area, corners, one)) << type;
        EXPECT_EQ(m_area->prisms.first().groundZ, 3) << type;
    }
}

TEST_F(VolumeCalcDtm, RefusesFewerThanThreeCorners)
{
    Area area = square(0, 4, 3, 1);
    area.boundary.resize(2);
    EXPECT_FALSE(calculate(area, corners, one));
    EXPECT_TRUE(m_area->prisms.isEmpty());
}

TEST_F(VolumeCalcDtm, RefusesAGroundAtOrAboveTheLimit)
{
    Area area = square(0, 4, 3, 1);
    area.maxHeight = 3;
    EXPECT_FALSE(calculate(area, corners, one));
    area.maxHeight = 3.5F;
    EXPECT_TRUE(calculate(area, corners, one));
}

TEST_F(VolumeCalcDtm, DoesNotLookAtTheCellSize)
{
    EXPECT_TRUE(calculate(square(0, 4, 3, 0.005F), corners, one));
}

TEST_F(VolumeCalcDtm, WantsTheMeshInExactlyOneBlock)
{
    setArea(square(0, 4, 3, 1));
    writeMesh(corners, one, 2);
    EXPECT_FALSE(calcDtm());
    writeMesh(corners, one, 0);
    EXPECT_FALSE(calcDtm());
    writeMesh(corners, one, 1);
    EXPECT_TRUE(calcDtm());
}

TEST_F(VolumeCalcDtm, AFailureEmptiesItsOwnResultAndNoOther)
{
    setArea(square(0, 4, 3, 1));
    m_area->quadPrisms.append(ptCloud::stQuadPrism());
    m_area->gridCalculated = true;
    writeMesh(corners, one);
    ASSERT_TRUE(calcDtm());
    writeMesh(corners, one, 2);
    EXPECT_FALSE(calcDtm());
    EXPECT_TRUE(m_area->prisms.isEmpty());
    EXPECT_EQ(m_area->getDigVolume_dtm(), 0);
    EXPECT_TRUE(m_area->gridCalculated);
    EXPECT_EQ(m_area->quadPrisms.size(), 1);
}

TEST_F(VolumeCalcDtm, CountsATriangleThatTouchesWithItsWholeArea)
{
    // Within the rectangle of the area, which is a triangle itself, and touching its long side in one vertex.
    Area area = square(0, 4, 0, 1);
    area.boundary = {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}};
    ASSERT_TRUE(calculate(area, {{2, 2, 1}, {4, 2, 1}, {4, 4, 1}}, one));
    EXPECT_EQ(m_area->getDigVolume_dtm(), 2);
}

TEST_F(VolumeCalcDtm, LeavesOutATriangleThatSticksOutOfTheRectangle)
{
    ASSERT_TRUE(calculate(square(0, 4, 0, 1), {{1, 1, 1}, {4.5F, 1, 1}, {1, 3, 1}}, one));
    EXPECT_TRUE(m_area->prisms.isEmpty());
    // Its edges belong to the rectangle.
    ASSERT_TRUE(calculate(square(0, 4, 0, 1), {{0, 0, 1}, {4, 0, 1}, {0, 4, 1}}, one));
    EXPECT_EQ(m_area->prisms.size(), 1);
}

TEST_F(VolumeCalcDtm, LeavesOutATriangleBesideTheArea)
{
    Area area = square(0, 4, 0, 1);
    area.boundary = {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}};
    ASSERT_TRUE(calculate(area, {{3, 3, 1}, {4, 3, 1}, {4, 4, 1}}, one));
    EXPECT_TRUE(m_area->prisms.isEmpty());
}

TEST_F(VolumeCalcDtm, KeepsTheOrderOfTheMesh)
{
    const std::vector<Point> points = {{1, 1, 1}, {2, 1, 1}, {1, 2, 1}, {2, 2, 2}, {3, 2, 2}, {2, 3, 2}};
    ASSERT_TRUE(calculate(square(0, 4, 0, 1), points, {{3, 4, 5}, {0, 1, 2}, {3, 4, 5}}));
    ASSERT_EQ(m_area->prisms.size(), 3);
    EXPECT_EQ(m_area->prisms[0].z1, 2);
    EXPECT_EQ(m_area->prisms[1].z1, 1);
    EXPECT_EQ(m_area->prisms[2].z1, 2);
}

TEST_F(VolumeCalcDtm, LeavesOutTrianglesThatNameNoPoint)
{
    const unsigned int last = std::numeric_limits<unsigned int>::max();
    ASSERT_TRUE(calculate(square(0, 4, 0, 1), corners, {{0, 1, 3}, {last, 1, 2}, {0, last, 2}, {0, 1, 2}}));
    EXPECT_EQ(m_area->prisms.size(), 1);
}

TEST_F(VolumeCalcDtm, RefusesAMeshWhoseBlockCanNotBeRead)
{
    // A file that lists triangles and has none opens, and gives no block.
    EXPECT_FALSE(calculate(square(0, 4, 0, 1), corners, {}));
    EXPECT_TRUE(m_area->prisms.isEmpty());
}

TEST_F(VolumeCalcDtm, TakesPointsWithoutTrianglesForAnEmptyMesh)
{
    setArea(square(0, 4, 0, 1));
    writeBlocks({plain::Block{{0, 0, 4, 4}, corners}});
    ASSERT_TRUE(QFile::rename(m_dir.filePath(QStringLiteral("points")), m_dir.filePath(QStringLiteral("mesh"))));
    EXPECT_TRUE(calcDtm());
    EXPECT_TRUE(m_area->prisms.isEmpty());
}

TEST_F(VolumeCalcDtm, LeavesOutVerticesThatAreNoNumbers)
{
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    ASSERT_TRUE(calculate(square(0, 4, 0, 1), {{notANumber, 1, 5}, {3, 1, 5}, {1, 3, 5}, {1, 1, notANumber}},
                          {{0, 1, 2}, {3, 1, 2}}));
    ASSERT_EQ(m_area->prisms.size(), 1);
    EXPECT_EQ(m_area->getDigVolume_dtm(), 0);
    EXPECT_EQ(m_area->getFillVolume_dtm(), 0);
}
