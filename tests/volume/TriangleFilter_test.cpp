#include "TriangleFilter.h"

#include <gtest/gtest.h>

#include <random>

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

class TriangleFilterRandom : public ::testing::TestWithParam<Manner>
{
protected:
    float coordinate(float low, float high)
    {
        const float value = std::uniform_real_distribution<float>(low, high)(m_random);
        const float raster = GetParam().raster;
        return GetParam().origin + (raster > 0 ? std::round(value / raster) * raster : value);
    }

    QList<pcVec3f> boundary()
    {
        QList<pcVec3f> corners;
        const int count = std::uniform_int_distribution<int>(3, 12)(m_random);
        for (int i = 0; i < count; ++i)
            corners.append({coordinate(0, GetParam().extent), coordinate(0, GetParam().extent), 0});
        return corners;
    }

    pcVec3f near(float x, float y)
    {
        const float size = GetParam().triangleSize;
        return {coordinate(x, x + size), coordinate(y, y + size), 0};
    }

    std::mt19937 m_random{11};
};

std::string nameOf(const ::testing::TestParamInfo<Manner> &info)
{
    return info.param.name;
}

} // namespace

TEST_P(TriangleFilterRandom, AnswersAsQtDoes)
{
    int compared = 0;
    for (int round = 0; round < 120; ++round) {
        const AreaPolygon area(boundary());
        // Few and many triangles announced: a coarse raster and a fine one.
        const TriangleFilter filter(area, round % 2 == 0 ? 100 : 40000);
        for (int i = 0; i < 400; ++i) {
            const float x = std::uniform_real_distribution<float>(0, GetParam().extent)(m_random);
            const float y = std::uniform_real_distribution<float>(0, GetParam().extent)(m_random);
            const pcVec3f a = near(x, y);
            const pcVec3f b = near(x, y);
            const pcVec3f c = near(x, y);
            if (!area.rectangleHolds(a) || !area.rectangleHolds(b) || !area.rectangleHolds(c))
                continue;
            const QPolygonF triangle(
                {QPointF(a.x(), a.y()), QPointF(b.x(), b.y()), QPointF(c.x(), c.y()), QPointF(a.x(), a.y())});
            ASSERT_EQ(filter.meets(a, b, c), triangle.intersects(area.polygon()))
                << "round " << round << ", triangle " << i;
            ++compared;
        }
    }
    EXPECT_GT(compared, 1000);
}

INSTANTIATE_TEST_SUITE_P(Manners, TriangleFilterRandom,
                         ::testing::Values(Manner{"Small", 0, 100, 0, 2}, Manner{"Large", 0, 100, 0, 60},
                                           Manner{"OnARaster", 0, 20, 0.5F, 3}, Manner{"Tiny", 0, 100, 0, 1e-4F},
                                           Manner{"FarOut", 1048576, 50, 0.125F, 2},
                                           Manner{"Minute", 0, 1e-3F, 0, 1e-4F},
                                           Manner{"Negative", -4000, 1000, 0, 30}),
                         nameOf);
