#include "VolumeCalcTesting.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace support;
using plain::Area;
using plain::Block;
using plain::Point;
using plain::Triangle;

namespace
{

/// Where the coordinates of a case lie: near the ends of binades rounding of steps is at its worst.
struct Place
{
    const char *name;
    float x;
    float y;
};

constexpr Place places[] = {{"AtZero", 0, 0},
                            {"AroundZero", -3, -2},
                            {"NearOneThousand", 1022, 1021.5F},
                            {"NearSixtyFourThousand", 65533, 4094},
                            {"Negative", -1026, -65538},
                            {"FarOut", 1048570, 131070},
                            {"WhereSmallStepsStandStill", 2097149, 1048574}};
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

class Generator
{
public:
    Generator(unsigned int seed, const Place &place) : m_random(seed), m_place(place) {}

    float between(float low, float high) { return std::uniform_real_distribution<float>(low, high)(m_random); }
    int upTo(int last) { return std::uniform_int_distribution<int>(0, last)(m_random); }

    /// A coordinate within some six units, mostly on the edges of cells.
    float offset(float step)
    {
        return upTo(2) == 0 ? between(0, 6) : static_cast<float>(upTo(static_cast<int>(6 / step))) * step;
    }
    Point corner(float step) { return {m_place.x + offset(step), m_place.y + offset(step), between(-3, 3)}; }

    /// A corner after others: now and then the last one again, or one hardly apart from it.
    Point cornerAfter(const std::vector<Point> &corners, float step)
    {
        if (corners.empty())
            return corner(step);
        const Point &last = corners.back();
        switch (upTo(12)) {
        case 0:
            return last;
        case 1:
            return {std::nextafter(last.x, infinity), last.y, last.z};
        case 2:
            return {last.x + between(-1e-3F, 1e-3F), last.y + between(-1e-3F, 1e-3F), last.z};
        default:
            return corner(step);
        }
    }

    /// Polygons of every kind: crossing, concave, upright rectangles, with corners that come twice and short edges.
    std::vector<Point> boundary(float step)
    {
        std::vector<Point> corners;
        if (upTo(3) == 0) {
            const float x = m_place.x + offset(step);
            const float y = m_place.y + offset(step);
            const float width = offset(step) + step;
            const float height = offset(step) + step;
            corners = {{x, y, 0}, {x + width, y, 0}, {x + width, y + height, 0}, {x, y + height, 0}};
        } else {
            const int count = 3 + upTo(7);
            for (int i = 0; i < count; ++i)
                corners.push_back(cornerAfter(corners, step));
            if (upTo(1) == 0)
                sortAroundTheMiddle(corners);
        }
        if (upTo(1) == 0)
            std::reverse(corners.begin(), corners.end());
        return corners;
    }

    Area area(float step)
    {
        Area area;
        area.groundHeightType = upTo(1);
        const float grounds[] = {1, notANumber, -infinity, 0};
        area.groundHeight = upTo(2) == 0 ? grounds[upTo(3)] : between(-3, 3);
        const float limits[] = {3, 3, notANumber, infinity};
        area.maxHeight = upTo(2) == 0 ? limits[upTo(3)] : 99999.0F;
        area.gridSize = step;
        area.boundary = boundary(step);
        return area;
    }

    float height()
    {
        switch (upTo(24)) {
        case 0:
        case 1:
            return 1.0F;
        case 2:
        case 3:
            return notANumber;
        case 4:
            return -99999.0F;
        case 5:
            return std::nextafter(-99999.0F, 0.0F);
        case 6:
            return upTo(3) == 0 ? infinity : -infinity;
        default:
            return between(-5, 5);
        }
    }

    /// Mostly somewhere in the area, at times nowhere.
    Point point(float step)
    {
        const Point point{m_place.x + offset(step), m_place.y + offset(step), height()};
        switch (upTo(40)) {
        case 0:
            return {notANumber, point.y, point.z};
        case 1:
            return {point.x, notANumber, point.z};
        case 2:
            return {infinity, point.y, point.z};
        default:
            return point;
        }
    }

    std::vector<Block> blocks(float step)
    {
        std::vector<Block> blocks(static_cast<std::size_t>(upTo(3)));
        for (Block &block : blocks) {
            const int count = upTo(1) == 0 ? upTo(8) : upTo(200);
            const float x = m_place.x + offset(step);
            const float y = m_place.y + offset(step);
            block.rectangle = {x, y, x + between(0, 6), y + between(0, 6)};
            for (int i = 0; i < count; ++i)
                block.points.push_back(point(step));
        }
        return blocks;
    }

    /// Vertices of a mesh; some lie so close together that triangles of them hardly have a side.
    std::vector<Point> vertices(int count, float step)
    {
        std::vector<Point> points;
        for (int i = 0; i < count; ++i) {
            Point vertex = point(step);
            if (i > 0 && upTo(3) == 0)
                vertex = {points.back().x + between(-1e-3F, 1e-3F), std::nextafter(points.back().y, infinity), 2};
            points.push_back(vertex);
        }
        return points;
    }
    /// Small and large triangles, thin ones, such as have a vertex twice, and a few that name no point.
    std::vector<Triangle> triangles(int count, int points)
    {
        std::vector<Triangle> triangles;
        for (int i = 0; i < count; ++i) {
            Triangle triangle{};
            for (unsigned int &index : triangle)
                index = static_cast<unsigned int>(upTo(points - 1 + (upTo(20) == 0 ? 1 : 0)));
            triangles.push_back(triangle);
        }
        return triangles;
    }

private:
    void sortAroundTheMiddle(std::vector<Point> &corners) const
    {
        std::sort(corners.begin(), corners.end(), [this](const Point &a, const Point &b) {
            return std::atan2(a.y - m_place.y - 3, a.x - m_place.x - 3)
                   < std::atan2(b.y - m_place.y - 3, b.x - m_place.x - 3);
        });
    }

    std::mt19937 m_random;
    Place m_place;
};

class VolumeCalcRandom : public VolumeCalcTest, public ::testing::WithParamInterface<Place>
{
};

std::string nameOf(const ::testing::TestParamInfo<Place> &info)
{
    return info.param.name;
}

} // namespace

TEST_P(VolumeCalcRandom, CellsAreThoseOfThePlainRule)
{
    int records = 0;
    int openHoles = 0;
    for (unsigned int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Generator generator(seed, GetParam());
        const float steps[] = {0.25F, 0.3F, 0.1F, 1.0F, 0.5F, 0.7F};
        const float step = steps[generator.upTo(5)];
        const Area area = generator.area(step);
        expectGridAsPlain(area, generator.blocks(step));
        ASSERT_FALSE(HasFatalFailure());
        records += m_area->quadPrisms.size();
        for (const ptCloud::stQuadPrism &prism : m_area->quadPrisms)
            openHoles += prism.topZ == -99999.0F ? 1 : 0;
    }
    EXPECT_GT(records, 1000) << "too little was compared";
    EXPECT_GT(openHoles, 10) << "too little was compared";
}

TEST_P(VolumeCalcRandom, TrianglesAreThoseOfThePlainRule)
{
    int records = 0;
    for (unsigned int seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Generator generator(seed, GetParam());
        const float step = generator.upTo(1) == 0 ? 0.25F : 0.7F;
        const Area area = generator.area(step);
        const std::vector<Point> points = generator.vertices(30, step);
        expectDtmAsPlain(area, points, generator.triangles(300, 30));
        ASSERT_FALSE(HasFatalFailure());
        records += m_area->prisms.size();
    }
    EXPECT_GT(records, 1000) << "too little was compared";
}

INSTANTIATE_TEST_SUITE_P(Places, VolumeCalcRandom, ::testing::ValuesIn(places), nameOf);

TEST_F(VolumeCalcTest, AFineMeshUnderACrossedPolygonIsThatOfThePlainRule)
{
    // Small triangles, most of them far from every edge.
    std::vector<Point> points;
    std::vector<Triangle> triangles;
    const unsigned int edge = 60;
    for (unsigned int i = 0; i <= edge; ++i) {
        for (unsigned int j = 0; j <= edge; ++j)
            points.push_back({static_cast<float>(i) * 0.1F, static_cast<float>(j) * 0.1F, static_cast<float>(i % 7)});
    }
    for (unsigned int i = 0; i < edge; ++i) {
        for (unsigned int j = 0; j < edge; ++j) {
            const unsigned int at = i * (edge + 1) + j;
            triangles.push_back({at, at + 1, at + edge + 1});
            triangles.push_back({at + 1, at + edge + 2, at + edge + 1});
        }
    }
    for (unsigned int seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        Generator generator(seed, places[0]);
        expectDtmAsPlain(generator.area(0.25F), points, triangles);
        ASSERT_FALSE(HasFatalFailure());
    }
}
