#include "VolumeCalcTesting.h"

#include <cmath>
#include <limits>
#include <new>
#include <sstream>

using namespace support;
using plain::Area;
using plain::Block;
using plain::Point;
using plain::Triangle;

namespace
{

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float greatest = std::numeric_limits<float>::max();

Area areaOf(const std::vector<Point> &boundary, float gridSize)
{
    Area area;
    area.groundHeightType = 1;
    area.gridSize = gridSize;
    area.boundary = boundary;
    return area;
}

/// An area whose cells can not be laid out.
struct Impossible
{
    const char *name;
    float x;
    float y;
    float width;
    float height;
    float gridSize;
};

class ImpossibleGrid : public VolumeCalcTest, public ::testing::WithParamInterface<Impossible>
{
};

std::string nameOf(const ::testing::TestParamInfo<Impossible> &info)
{
    return info.param.name;
}

std::string describe(const Area &area)
{
    std::ostringstream text;
    for (const Point &corner : area.boundary)
        text << '(' << corner.x << ' ' << corner.y << ')';
    return text.str();
}

class HostileArea : public VolumeCalcTest
{
protected:
    /// Areas that have a corner at a place where no polygon can have one.
    static std::vector<Area> areasWithCornersNowhere()
    {
        std::vector<Area> areas;
        for (const float bad : {notANumber, infinity, -infinity, greatest, -greatest}) {
            for (std::size_t corner = 0; corner < 4; ++corner) {
                Area area = square(0, 4, 0, 1);
                area.boundary[corner].x = bad;
                areas.push_back(area);
                area.boundary[corner].y = bad;
                areas.push_back(area);
                area.boundary[corner].x = 1;
                areas.push_back(area);
            }
        }
        return areas;
    }
};

} // namespace

TEST_P(ImpossibleGrid, IsRefusedAndLeavesNoFormerResult)
{
    writeBlocks({Block{{-10, -10, 10, 10}, {{0.5F, 0.5F, 2}}}});
    setArea(square(0, 4, 0, 1));
    ASSERT_TRUE(calcGrid());
    ASSERT_FALSE(m_area->quadPrisms.isEmpty());

    const auto &[name, x, y, width, height, gridSize] = GetParam();
    m_area->gridSize = gridSize;
    m_area->boundary = {{x, y, 0}, {x + width, y, 0}, {x + width, y + height, 0}, {x, y + height, 0}};
    EXPECT_FALSE(calcGrid());
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
    EXPECT_EQ(m_area->getDigVolume_grid(), 0);
    EXPECT_EQ(m_area->getFillVolume_grid(), 0);
}

INSTANTIATE_TEST_SUITE_P(Areas, ImpossibleGrid,
                         ::testing::Values(Impossible{"NorthingTooFarForTheStep", 500000, 4500000, 100, 100, 0.1F},
                                           Impossible{"EastingTooFarForTheStep", 4500000, 500, 100, 100, 0.1F},
                                           Impossible{"NegativeTooFarForTheStep", -4500000, -100, 100, 100, 0.1F},
                                           // Twice 2^20: the first cells can still be laid.
                                           Impossible{"StandsStillHalfWayAlongX", 2097100, 0, 100, 1, 0.1F},
                                           Impossible{"StandsStillHalfWayAlongY", 0, 2097100, 1, 100, 0.1F},
                                           Impossible{"StandsStillAlongXWithoutARow", 4500000, 5, 100, 0, 0.1F},
                                           Impossible{"OneCellTooManyARow", 0, 0, 20000, 10001, 1},
                                           Impossible{"CountThatWrapsIn32Bits", 0, 0, 65536, 65537, 1},
                                           Impossible{"TenThousandMillionCells", 0, 0, 1000, 1000, 0.0101F},
                                           Impossible{"AWholePlanet", -2e7F, -2e7F, 4e7F, 4e7F, 100}),
                         nameOf);

TEST_F(HostileArea, AColumnlessAreaIsEmptyHoweverFarNorthItLies)
{
    // Without a step along x there is none along y that could stand still.
    writeBlocks({});
    setArea(areaOf({{1, 4500000, 0}, {1, 4500050, 0}, {1, 4500100, 0}}, 0.1F));
    EXPECT_TRUE(calcGrid());
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(HostileArea, AStepMayReachPastTheGreatestNumber)
{
    const float low = -0.9F * greatest;
    const Area area = areaOf({{low, low, 0}, {greatest, low, 0}, {greatest, greatest, 0}, {low, greatest, 0}}, 1e37F);
    expectGridAsPlain(area, {Block{{low, low, greatest, greatest}, {{5e36F, 5e36F, 3}, {1e38F, -1e38F, 4}}}});
    EXPECT_FALSE(m_area->quadPrisms.isEmpty());
}

TEST_F(HostileArea, AStepGreaterThanTheAreaMakesOneCellThatDoesNotFit)
{
    for (const float step : {1e6F, greatest}) {
        expectGridAsPlain(square(0, 4, 0, step), {Block{{0, 0, 4, 4}, {{0.5F, 0.5F, 3}}}});
        EXPECT_TRUE(m_area->gridCalculated);
        EXPECT_TRUE(m_area->quadPrisms.isEmpty());
    }
}

TEST_F(HostileArea, AMillionCornersInOnePlaceAreTheSameOutlineAsOne)
{
    // Half a million lines of cells: to ask each line about each corner would not end.
    writeBlocks({Block{{0, 0, 1, 10000}, {{0.03F, 0.5F, 3}, {0.03F, 5000, 4}}}});
    Area area = areaOf({{0, 0, 0}, {0.08F, 0, 0}, {0.08F, 10000, 0}, {0, 10000, 0}}, 0.02F);
    setArea(area);
    ASSERT_TRUE(calcGrid());
    const double expected = m_area->getDigVolume_grid();
    EXPECT_GT(expected, 0);

    area.boundary.resize(1000000, {0, 0, 0});
    setArea(area);
    ASSERT_TRUE(calcGrid());
    EXPECT_EQ(m_area->getDigVolume_grid(), expected);
}

TEST_F(HostileArea, AnOutlineThatCrossesLinesOutOfNumberMakesNoGrid)
{
    writeBlocks({Block{{0, 0, 1, 10000}, {{0.03F, 0.5F, 3}}}});
    Area area = areaOf({{0, 0, 0}, {0.08F, 0, 0}, {0.08F, 10000, 0}, {0, 10000, 0}}, 0.02F);
    setArea(area);
    ASSERT_TRUE(calcGrid());

    for (int i = 0; i < 1000; ++i)
        area.boundary.push_back({static_cast<float>(i % 7) / 100, i % 2 == 0 ? 0.0F : 10000.0F, 0});
    setArea(area);
    EXPECT_FALSE(calcGrid());
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(HostileArea, GroundsAndLimitsThatAreNoHeights)
{
    const std::vector<Block> blocks = {Block{
        {0, 0, 4, 4}, {{0.5F, 0.5F, 3}, {1.5F, 0.5F, infinity}, {0.5F, 1.5F, -infinity}, {1.5F, 1.5F, greatest}}}};
    for (const float ground : {notANumber, infinity, -infinity, greatest, -99999.0F}) {
        for (const float limit : {notANumber, infinity, -infinity, greatest, 99999.0F}) {
            SCOPED_TRACE(::testing::Message() << "ground " << ground << ", limit " << limit);
            Area area = square(0, 4, ground, 1);
            area.maxHeight = limit;
            expectGridAsPlain(area, blocks);
            expectDtmAsPlain(area, {{1, 1, 5}, {3, 1, infinity}, {1, 3, 5}, {2, 2, 1}}, {{0, 1, 2}, {0, 3, 2}});
            EXPECT_EQ(m_area->dtmCalculated, !(ground >= limit));
        }
    }
}

TEST_F(HostileArea, CornersNowhereMakeNoGrid)
{
    for (const Area &area : areasWithCornersNowhere()) {
        SCOPED_TRACE(describe(area));
        expectGridAsPlain(area, {Block{{0, 0, 4, 4}, {{0.5F, 0.5F, 3}}}});
        EXPECT_TRUE(m_area->quadPrisms.isEmpty());
    }
}

TEST_F(HostileArea, CornersNowhereLeaveTheMeshToQt)
{
    const std::vector<Point> points = {{0, 0, 1}, {4, 0, 1}, {0, 4, 1}, {2, 2, 1}, {3, 3, 1}, {greatest, 0, 1}};
    for (const Area &area : areasWithCornersNowhere()) {
        SCOPED_TRACE(describe(area));
        expectDtmAsPlain(area, points, {{0, 1, 2}, {1, 2, 3}, {3, 4, 1}, {3, 3, 3}, {0, 1, 5}});
    }
}

TEST_F(HostileArea, BoxesOfBlocksMayBeNowhere)
{
    const std::vector<Point> points = {{0.5F, 0.5F, 3}};
    for (const float bad : {notANumber, infinity, -infinity, greatest, -greatest}) {
        SCOPED_TRACE(bad);
        for (std::size_t side = 0; side < 4; ++side) {
            Block block{{0, 0, 4, 4}, points};
            block.rectangle[side] = bad;
            expectGridAsPlain(square(0, 4, 0, 1), {block});
        }
        expectGridAsPlain(square(0, 4, 0, 1), {Block{{bad, bad, bad, bad}, points}});
    }
    // The wrong way round, and without extent.
    expectGridAsPlain(square(0, 4, 0, 1), {Block{{4, 4, 0, 0}, points}, Block{{1, 1, 1, 1}, points}});
}

TEST_F(HostileArea, APointFileThatGivesNoBlockHasNoPoints)
{
    // It lists triangles and has none: it opens, and no block can be read.
    writeMesh({{0.5F, 0.5F, 3}}, {});
    ASSERT_TRUE(QFile::rename(m_dir.filePath(QStringLiteral("mesh")), m_dir.filePath(QStringLiteral("points"))));
    Area area = square(-1, 10, 0, 10);
    area.boundary = {{-1, -1, 0}, {14, -1, 0}, {14, 14, 0}, {-1, 14, 0}};
    setArea(area);
    EXPECT_TRUE(calcGrid());
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(HostileArea, AReaderThatRunsOutOfMemoryGivesNoResult)
{
    class Exhausted : public ptCloud::PtCloud_DataSetFile
    {
    public:
        const ptCloud::stPtCloud_PointArray *readBlock(int /*key*/) override { throw std::bad_alloc(); }
    };
    Exhausted reader;
    writeMesh({{1, 1, 12}, {3, 1, 12}, {1, 3, 12}}, {{0, 1, 2}});
    ASSERT_TRUE(reader.setFile(m_dir.filePath(QStringLiteral("mesh"))) && reader.openFile());
    setArea(square(0, 4, 10, 1));
    ASSERT_TRUE(calcDtm());
    ASSERT_FALSE(m_area->prisms.isEmpty());
    m_list.setDTMFile(&reader);
    EXPECT_TRUE(m_list.doCalc(ptCloud::VolumeCalc_DTM));
    EXPECT_FALSE(m_area->dtmCalculated);
    EXPECT_TRUE(m_area->prisms.isEmpty());
    m_list.setGridFile(&reader);
    EXPECT_TRUE(m_list.doCalc(ptCloud::VolumeCalc_GRID));
    EXPECT_FALSE(m_area->gridCalculated);
    EXPECT_TRUE(m_area->quadPrisms.isEmpty());
}

TEST_F(HostileArea, AMeshThatLacksAColumnHasNoTriangles)
{
    for (const std::vector<quint32> &columns : {std::vector<quint32>{0}, std::vector<quint32>{2}}) {
        BlockFile file;
        file.columns = columns;
        file.blocks = {file.makeBlock(1, 3, 2)};
        ASSERT_TRUE(writeFile(m_dir.filePath(QStringLiteral("mesh")), file.bytes()));
        setArea(square(-1000, 2000, 0, 1));
        EXPECT_TRUE(calcDtm()) << "column " << columns.front();
        EXPECT_TRUE(m_area->prisms.isEmpty());
    }
}

TEST_F(HostileArea, EveryIndexOfAVertexIsHeldToTheNumberOfPoints)
{
    const std::vector<Point> points = {{1, 1, 5}, {3, 1, 5}, {1, 3, 5}};
    const unsigned int bad[] = {3, 4, 1000000, 0x40000000U, 0x55555556U, 0x7fffffffU, 0x80000000U, 0xffffffffU};
    std::vector<Triangle> triangles;
    for (const unsigned int index : bad) {
        triangles.push_back({index, 1, 2});
        triangles.push_back({0, index, 2});
        triangles.push_back({0, 1, index});
        triangles.push_back({index, index, index});
    }
    writeMesh(points, triangles);
    setArea(square(0, 4, 0, 1));
    EXPECT_TRUE(calcDtm());
    EXPECT_TRUE(m_area->prisms.isEmpty());
    triangles.push_back({0, 1, 2});
    writeMesh(points, triangles);
    EXPECT_TRUE(calcDtm());
    EXPECT_EQ(m_area->prisms.size(), 1);
}
