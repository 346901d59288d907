#include "TriangleFilter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <utility>

using namespace ptCloud;

namespace
{

/// How triangles and polygons are drawn at random: on a raster many vertices meet edges and each other exactly.
struct Manner
{
    const char *name;
    float origin;
    float extent;
    float raster; ///< 0: anywhere
    float triangleSize;
};

using Corners = std::array<pcVec3f, 3>;

bool isInRectangle(const AreaPolygon &area, const Corners &corners)
{
    return area.rectangleHolds(corners[0]) && area.rectangleHolds(corners[1]) && area.rectangleHolds(corners[2]);
}

bool meetsPlainly(const AreaPolygon &area, const Corners &corners)
{
    QPolygonF triangle;
    for (const pcVec3f &corner : corners)
        triangle << QPointF(corner.x(), corner.y());
    triangle << triangle.first();
    return triangle.intersects(area.polygon());
}

class TriangleFilterRandom : public ::testing::TestWithParam<Manner>
{
protected:
    float coordinate(float low, float high)
    {
        const float value = std::uniform_real_distribution<float>(low, high)(m_random);
        const float raster = GetParam().raster;
        return GetParam().origin + (raster > 0 ? std::round(value / raster) * raster : value);
    }

    int upTo(int last) { return std::uniform_int_distribution<int>(0, last)(m_random); }
    pcVec3f corner() { return {coordinate(0, GetParam().extent), coordinate(0, GetParam().extent), 0}; }

    QList<pcVec3f> boundary()
    {
        QList<pcVec3f> corners;
        const int count = 3 + upTo(9);
        for (int i = 0; i < count; ++i)
            corners.append(corner());
        return corners;
    }

    /// With corners that come again at once or later, and edges of hardly any length.
    QList<pcVec3f> stumblingBoundary()
    {
        QList<pcVec3f> corners = boundary();
        const float shortest = GetParam().extent * 1e-6F;
        for (int i = upTo(3); i >= 0; --i) {
            const int at = upTo(corners.size() - 1);
            const pcVec3f &next = corners[at];
            const pcVec3f steps[] = {next, corners[upTo(corners.size() - 1)],
                                     pcVec3f(std::nextafter(next.x(), 0.0F), next.y(), 0),
                                     pcVec3f(next.x() + shortest, next.y() - shortest, 0)};
            corners.insert(at, steps[upTo(3)]);
        }
        return corners;
    }

    /// An upright rectangle, drawn either way.
    QList<pcVec3f> uprightBoundary()
    {
        const pcVec3f a = corner();
        const pcVec3f c = corner();
        const pcVec3f b(a.x(), c.y(), 0);
        const pcVec3f d(c.x(), a.y(), 0);
        return upTo(1) == 0 ? QList<pcVec3f>{a, b, c, d} : QList<pcVec3f>{d, c, b, a};
    }

    pcVec3f near(float x, float y)
    {
        const float size = GetParam().triangleSize;
        return {coordinate(x, x + size), coordinate(y, y + size), 0};
    }

    Corners triangle()
    {
        const float x = std::uniform_real_distribution<float>(0, GetParam().extent)(m_random);
        const float y = std::uniform_real_distribution<float>(0, GetParam().extent)(m_random);
        return {near(x, y), near(x, y), near(x, y)};
    }

    /// One that shares corners with the outline, or has a vertex twice, or three in a line.
    Corners touchingTriangle(const QList<pcVec3f> &outline)
    {
        Corners corners = triangle();
        for (pcVec3f &vertex : corners) {
            if (upTo(2) == 0)
                vertex = outline[upTo(outline.size() - 1)];
        }
        switch (upTo(5)) {
        case 0:
            corners[1] = corners[0];
            break;
        case 1:
            corners[1] = corners[2] = corners[0];
            break;
        case 2:
            corners[2] = {(corners[0].x() + corners[1].x()) / 2, (corners[0].y() + corners[1].y()) / 2, 0};
            break;
        default:
            break;
        }
        return corners;
    }

    /// Compares some triangles of an area; few and many of them announced make a coarse raster and a fine one.
    template <typename MakeTriangle>
    void compare(const QList<pcVec3f> &outline, MakeTriangle makeTriangle)
    {
        const AreaPolygon area(outline);
        const TriangleFilter coarse(area, 100);
        const TriangleFilter fine(area, 40000);
        for (int i = 0; i < 200; ++i) {
            const Corners corners = makeTriangle();
            if (!isInRectangle(area, corners))
                continue;
            const bool expected = meetsPlainly(area, corners);
            ASSERT_EQ(coarse.meets(corners[0], corners[1], corners[2]), expected) << "triangle " << i;
            ASSERT_EQ(fine.meets(corners[0], corners[1], corners[2]), expected) << "triangle " << i;
            ++(expected ? m_met : m_missed);
        }
    }

    int m_met = 0;
    int m_missed = 0;
    std::mt19937 m_random{11};
};

std::string nameOf(const ::testing::TestParamInfo<Manner> &info)
{
    return info.param.name;
}

} // namespace

TEST_P(TriangleFilterRandom, AnswersAsQtDoes)
{
    for (int round = 0; round < 120; ++round) {
        SCOPED_TRACE(::testing::Message() << "round " << round);
        compare(boundary(), [this] { return triangle(); });
        ASSERT_FALSE(HasFatalFailure());
    }
    EXPECT_GT(m_met, 1000) << "too little was compared";
    EXPECT_GT(m_missed, 300) << "too little was compared";
}

TEST_P(TriangleFilterRandom, AnswersAsQtDoesAboutTrianglesThatTouch)
{
    for (int round = 0; round < 120; ++round) {
        SCOPED_TRACE(::testing::Message() << "round " << round);
        const QList<pcVec3f> outline = boundary();
        compare(outline, [this, &outline] { return touchingTriangle(outline); });
        ASSERT_FALSE(HasFatalFailure());
    }
    EXPECT_GT(m_met, 1000) << "too little was compared";
}

TEST_P(TriangleFilterRandom, AnswersAsQtDoesOnOutlinesThatStumble)
{
    for (int round = 0; round < 120; ++round) {
        SCOPED_TRACE(::testing::Message() << "round " << round);
        const QList<pcVec3f> outline = stumblingBoundary();
        compare(outline, [this, &outline] { return touchingTriangle(outline); });
        ASSERT_FALSE(HasFatalFailure());
    }
    EXPECT_GT(m_met, 1000) << "too little was compared";
}

TEST_P(TriangleFilterRandom, AnswersAsQtDoesOnUprightRectangles)
{
    for (int round = 0; round < 120; ++round) {
        SCOPED_TRACE(::testing::Message() << "round " << round);
        const QList<pcVec3f> outline = uprightBoundary();
        compare(outline, [this, &outline] { return touchingTriangle(outline); });
        ASSERT_FALSE(HasFatalFailure());
    }
    EXPECT_GT(m_met, 1000) << "too little was compared";
}

INSTANTIATE_TEST_SUITE_P(Manners, TriangleFilterRandom,
                         ::testing::Values(Manner{"Small", 0, 100, 0, 2}, Manner{"Large", 0, 100, 0, 60},
                                           Manner{"OnARaster", 0, 20, 0.5F, 3}, Manner{"Tiny", 0, 100, 0, 1e-4F},
                                           Manner{"FarOut", 1048576, 50, 0.125F, 2},
                                           Manner{"Minute", 0, 1e-3F, 0, 1e-4F},
                                           Manner{"Negative", -4000, 1000, 0, 30}),
                         nameOf);

/// The outline of a strip, long along one axis and thin along the other.
class TriangleFilterStrip : public ::testing::TestWithParam<std::pair<float, float>>
{
};

TEST_P(TriangleFilterStrip, AnswersAsQtDoes)
{
    const auto [width, height] = GetParam();
    const AreaPolygon area({{0, 0, 0}, {width, height / 2, 0}, {width / 2, height, 0}, {0, height / 4, 0}});
    std::mt19937 random(5);
    std::uniform_int_distribution<int> eighths(0, 8);
    for (const unsigned int announced : {1U, 100U, 40000U}) {
        const TriangleFilter filter(area, announced);
        for (int i = 0; i < 500; ++i) {
            Corners corners;
            for (pcVec3f &corner : corners) {
                corner = {static_cast<float>(eighths(random)) / 8 * width,
                          static_cast<float>(eighths(random)) / 8 * height, 0};
            }
            ASSERT_EQ(filter.meets(corners[0], corners[1], corners[2]), meetsPlainly(area, corners))
                << announced << " announced, triangle " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Strips, TriangleFilterStrip,
                         ::testing::Values(std::pair(1e3F, 1e-3F), std::pair(1e6F, 1e-4F), std::pair(1e-4F, 1e6F),
                                           std::pair(1e10F, 1.0F), std::pair(1e6F, 1e-12F), std::pair(1e-12F, 1e6F),
                                           std::pair(3e38F, 4.0F), std::pair(4.0F, 3e38F)));
