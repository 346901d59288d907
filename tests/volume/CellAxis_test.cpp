#include "CellAxis.h"
#include "HeightGrid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace ptCloud;

namespace
{

struct Line
{
    const char *name;
    float low;
    float high;
    float step;
};

class CellAxisLine : public ::testing::TestWithParam<Line>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_axis.layOut(GetParam().low, GetParam().high, GetParam().step, 1000000));
        for (float edge = GetParam().low; edge < GetParam().high; edge += GetParam().step)
            m_edges.push_back(edge);
        m_edges.push_back(m_edges.back() + GetParam().step);
    }

    std::size_t findPlainly(float value) const
    {
        for (std::size_t i = 0; i + 1 < m_edges.size(); ++i) {
            if (value > m_edges[i] && m_edges[i + 1] >= value)
                return i;
        }
        return CellAxis::none;
    }

    CellAxis m_axis;
    std::vector<float> m_edges;
};

std::string nameOf(const ::testing::TestParamInfo<Line> &info)
{
    return info.param.name;
}

constexpr float infinity = std::numeric_limits<float>::infinity();

} // namespace

TEST_P(CellAxisLine, HasTheEdgesThatAdditionMakes)
{
    EXPECT_EQ(m_axis.edges(), m_edges);
    EXPECT_EQ(m_axis.cells(), m_edges.size() - 1);
}

TEST_P(CellAxisLine, FindsTheCellOfEveryValueOnAndNextToAnEdge)
{
    for (const float edge : m_edges) {
        for (const float value : {edge, std::nextafter(edge, infinity), std::nextafter(edge, -infinity)})
            ASSERT_EQ(m_axis.find(value), findPlainly(value)) << value;
    }
    for (const float value : {infinity, -infinity, std::numeric_limits<float>::quiet_NaN(), 0.0F, -1e30F, 1e30F})
        EXPECT_EQ(m_axis.find(value), findPlainly(value)) << value;
}

TEST_P(CellAxisLine, FindsTheCellOfRandomValues)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> values(GetParam().low, GetParam().high);
    for (int i = 0; i < 2000; ++i) {
        const float value = values(random);
        ASSERT_EQ(m_axis.find(value), findPlainly(value)) << value;
    }
}

TEST_P(CellAxisLine, GoesDownOnlyWhereSubtractionMeetsTheEdges)
{
    for (std::size_t cell = 0; cell < m_axis.cells(); ++cell) {
        const float low = m_edges[cell] - GetParam().step;
        const float high = m_edges[cell + 1] - GetParam().step;
        std::size_t expected = CellAxis::none;
        for (std::size_t i = 0; i < cell; ++i) {
            if (m_edges[i] == low && m_edges[i + 1] == high)
                expected = i;
        }
        ASSERT_EQ(m_axis.below(cell), expected) << cell;
    }
}

INSTANTIATE_TEST_SUITE_P(Lines, CellAxisLine,
                         ::testing::Values(Line{"FromZero", 0, 100, 0.1F}, Line{"AcrossZero", -5, 5, 0.3F},
                                           Line{"AcrossABinade", 1000, 1050, 0.1F},
                                           Line{"NearTheLastBit", 1048560, 1048600, 0.1F},
                                           Line{"NegativeBinade", -1048600, -1048550, 0.07F},
                                           Line{"OneCell", 3, 3.5F, 1}, Line{"WholeSteps", 0, 64, 0.25F},
                                           Line{"Wide", -3e38F, 3e38F, 1e36F}),
                         nameOf);

TEST(CellAxis, IsEmptyWithoutAnExtent)
{
    for (const float high : {1.0F, 0.5F, std::numeric_limits<float>::quiet_NaN()}) {
        CellAxis axis;
        EXPECT_TRUE(axis.layOut(1, high, 0.1F, 10));
        EXPECT_EQ(axis.cells(), 0U);
        EXPECT_EQ(axis.find(1), CellAxis::none);
    }
}

TEST(CellAxis, RefusesAStepThatStandsStill)
{
    CellAxis axis;
    EXPECT_FALSE(axis.layOut(4500000, 4500001, 0.1F, 1000));
    EXPECT_FALSE(axis.layOut(0, infinity, 1, 1000));
}

TEST(CellAxis, RefusesMoreCellsThanAllowed)
{
    CellAxis axis;
    EXPECT_TRUE(axis.layOut(0, 10, 1, 10));
    EXPECT_FALSE(axis.layOut(0, 10, 1, 9));
}

TEST(HeightGrid, HasTheCellsWhoseCornersQtFindsInside)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> corner(0, 24);
    for (int round = 0; round < 300; ++round) {
        QList<pcVec3f> boundary;
        const int corners = 3 + round % 9;
        for (int i = 0; i < corners; ++i) {
            boundary.append(
                {static_cast<float>(corner(random)) * 0.25F - 3, static_cast<float>(corner(random)) * 0.3F, 0});
        }
        const AreaPolygon area(boundary);
        HeightGrid grid;
        ASSERT_TRUE(grid.layOut(area, 0.25F));
        std::size_t expected = 0;
        const auto inside = [&area](float x, float y) {
            return area.polygon().containsPoint(QPointF(x, y), Qt::OddEvenFill);
        };
        for (float x = area.xMin(); x < area.xMax(); x += 0.25F) {
            for (float y = area.yMin(); y < area.yMax(); y += 0.25F) {
                if (inside(x, y) && inside(x + 0.25F, y) && inside(x + 0.25F, y + 0.25F) && inside(x, y + 0.25F))
                    ++expected;
            }
        }
        std::size_t found = 0;
        grid.forEachCell([&](float xMin, float xMax, float yMin, float yMax, float height) {
            EXPECT_TRUE(inside(xMin, yMin) && inside(xMax, yMin) && inside(xMax, yMax) && inside(xMin, yMax));
            EXPECT_EQ(height, HeightGrid::noHeight);
            ++found;
        });
        ASSERT_EQ(found, expected) << "round " << round;
        EXPECT_EQ(grid.size(), expected);
    }
}
