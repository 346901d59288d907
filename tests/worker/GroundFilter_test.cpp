#include "ClothFilter.h"
#include "Failure.h"
#include "GroundFilter.h"
#include "GroundScenes.h"
#include "LowNoise.h"
#include "Patchwork.h"

#include <gtest/gtest.h>

#include <limits>

using ptCloud::pcVec3f;

namespace
{

constexpr double allowed = 0.05;

NoProgress quiet;

void expectGround(const GroundScene &scene, const std::vector<bool> &found, double missed = allowed,
                  double invented = allowed)
{
    ASSERT_EQ(found.size(), scene.points.size());
    const GroundErrors errors = groundErrors(scene, found);
    EXPECT_LT(errors.typeOne, missed);
    EXPECT_LT(errors.typeTwo, invented);
}

std::vector<bool> cloth(const Points &points, const ClothParameters &parameters = {})
{
    return clothGround(points, parameters, quiet);
}

std::vector<bool> patchwork(const Points &points)
{
    return patchworkGround(points, quiet);
}

std::size_t countOf(const std::vector<bool> &marks)
{
    return static_cast<std::size_t>(std::count(marks.begin(), marks.end(), true));
}

QString messageFor(const ClothParameters &parameters)
{
    try {
        cloth({{0, 0, 0}, {1000, 1000, 0}}, parameters);
    } catch (const Failure &failure) {
        return failure.message();
    }
    return {};
}

/// Clouds in which there is next to nothing to find.
std::vector<Points> poorClouds()
{
    Points lattice;
    for (int i = 0; i < 400; ++i)
        lattice.emplace_back(static_cast<float>(i % 20), static_cast<float>(i) / 20, 1.0F);
    Points line;
    for (int i = 0; i < 100; ++i)
        line.emplace_back(static_cast<float>(i), 2.0F * static_cast<float>(i), 3.0F);
    Points pillar;
    for (int i = 0; i < 100; ++i)
        pillar.emplace_back(5.0F, 5.0F, 0.1F * static_cast<float>(i));
    return {{}, {{1, 2, 3}}, {{1, 2, 3}, {4, 5, 6}}, Points(50, pcVec3f(7, 7, 7)), lattice, line, pillar};
}

} // namespace

TEST(ClothFilter, FindsTheGroundOfSlopesWithHousesAndTrees)
{
    for (const double degrees : {0.0, 10.0, 30.0}) {
        const GroundScene scene = tiltedScene(degrees);
        for (const double resolution : {0.5, 1.0, 2.0}) {
            for (int rigidness = 1; rigidness <= 3; ++rigidness) {
                SCOPED_TRACE(testing::Message() << degrees << ", " << resolution << ", " << rigidness);
                ClothParameters parameters;
                parameters.clothResolution = resolution;
                parameters.rigidness = rigidness;
                expectGround(scene, cloth(scene.points, parameters));
            }
        }
    }
}

TEST(ClothFilter, FindsTheGroundAtEveryScale)
{
    for (const float scale : {0.02F, 0.1F, 10.0F, 40.0F}) {
        SCOPED_TRACE(scale);
        GroundScene scene = tiltedScene(10);
        for (pcVec3f &point : scene.points)
            point *= scale;
        ClothParameters parameters;
        parameters.clothResolution *= static_cast<double>(scale);
        parameters.classThreshold *= static_cast<double>(scale);
        expectGround(scene, cloth(scene.points, parameters));
    }
}

TEST(ClothFilter, LeavesBridgesOut)
{
    const GroundScene gorge = bridgeScene(1);
    expectGround(gorge, cloth(gorge.points));
    // Slopes are not followed onto the deck.
    const GroundScene valley = bridgeScene();
    ClothParameters parameters;
    parameters.slopeSmooth = false;
    expectGround(valley, cloth(valley.points, parameters));
}

TEST(ClothFilter, TakesPitsIn)
{
    const GroundScene scene = pitScene();
    expectGround(scene, cloth(scene.points));
    ClothParameters parameters;
    parameters.slopeSmooth = false;
    const GroundErrors plain = groundErrors(scene, cloth(scene.points, parameters));
    const GroundErrors smoothed = groundErrors(scene, cloth(scene.points));
    EXPECT_LT(smoothed.typeOne, plain.typeOne);
}

TEST(ClothFilter, ReachesTheGroundOfMountains)
{
    const GroundScene scene = scatterScene(200, [](double x, double y, GroundScene &all) {
        all.add(x, y, 150 * std::sin(x / 60) + 80 * std::cos(y / 70), true);
    });
    expectGround(scene, cloth(scene.points));
}

TEST(ClothFilter, TakesPoorClouds)
{
    for (const Points &points : poorClouds())
        EXPECT_EQ(cloth(points).size(), points.size());
    EXPECT_EQ(countOf(cloth(Points(50, pcVec3f(7, 7, 7)))), 50U);
}

TEST(ClothFilter, NamesTheParameterThatCantBe)
{
    const auto with = [](auto member, auto value) {
        ClothParameters parameters;
        parameters.*member = value;
        return messageFor(parameters);
    };
    EXPECT_TRUE(with(&ClothParameters::classThreshold, 0.0).contains(QLatin1String("class_threshold 0")));
    EXPECT_TRUE(with(&ClothParameters::clothResolution, -1.0).contains(QLatin1String("cloth_resolution -1")));
    EXPECT_TRUE(with(&ClothParameters::iterations, 0).contains(QLatin1String("interations 0")));
    EXPECT_TRUE(with(&ClothParameters::rigidness, 4).contains(QLatin1String("rigidness 4")));
    EXPECT_TRUE(with(&ClothParameters::timeStep, 2.5).contains(QLatin1String("time_step 2.5")));
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(with(&ClothParameters::timeStep, notANumber).contains(QLatin1String("time_step nan")));
    EXPECT_TRUE(with(&ClothParameters::clothResolution, 0.01).contains(QLatin1String("or more")));
    EXPECT_TRUE(with(&ClothParameters::clothResolution, 1.0).isEmpty());
}

TEST(Patchwork, FindsTheGroundOfSlopesWithHousesAndTrees)
{
    for (const double degrees : {0.0, 10.0, 30.0}) {
        SCOPED_TRACE(degrees);
        const GroundScene scene = tiltedScene(degrees);
        expectGround(scene, patchwork(scene.points));
    }
}

TEST(Patchwork, TakesPitsInAndLeavesBridgesOut)
{
    const GroundScene pit = pitScene();
    expectGround(pit, patchwork(pit.points));
    // A patch is five metres long: near its ends the deck is a part of the slope's patches.
    const GroundScene bridge = bridgeScene();
    constexpr double allowedDeck = 0.1;
    expectGround(bridge, patchwork(bridge.points), allowed, allowedDeck);
}

TEST(Patchwork, TakesPoorClouds)
{
    for (const Points &points : poorClouds())
        EXPECT_EQ(patchwork(points).size(), points.size());
    const Points lattice = poorClouds()[4];
    EXPECT_EQ(countOf(patchwork(lattice)), lattice.size());
}

TEST(LowNoise, IsFarBelowAllAround)
{
    GroundScene scene = tiltedScene(30);
    const std::size_t clean = scene.points.size();
    for (const double x : {-40.0, 0.0, 30.0}) {
        const double depth = 0.577 * x - 15;
        scene.add(x, 5, depth, false);
        scene.add(x + 0.7, 5, depth, false);
    }
    const std::vector<bool> isNoise = lowNoise(scene.points, quiet);
    for (std::size_t i = 0; i < isNoise.size(); ++i)
        ASSERT_EQ(isNoise[i], i >= clean) << i;
    for (const Points &points : poorClouds())
        EXPECT_EQ(countOf(lowNoise(points, quiet)), 0U);
}

TEST(GroundFilter, TakesNoBuildingOfTheSourceForGround)
{
    // A hall that ends where the survey ends, with nothing to tell that its roof is no terrace.
    const GroundScene scene = scatterScene(120, [](double x, double y, GroundScene &all) {
        const bool isHall = x > 20;
        all.add(x, y, isHall ? 6 : 0, !isHall);
    });
    std::vector<unsigned char> classes;
    for (const bool isGround : scene.isGround)
        classes.push_back(isGround ? 0 : 6);
    EXPECT_GT(countOf(findGround(scene.points, nullptr, quiet).isGround), scene.points.size() * 9 / 10);
    EXPECT_EQ(findGround(scene.points, classes.data(), quiet).isGround, scene.isGround);
}

TEST(GroundFilter, FindsGroundAboveNoise)
{
    GroundScene scene = tiltedScene(10);
    const std::size_t clean = scene.points.size();
    scene.add(0, 0, -20, false);
    scene.add(20, 10, -30, false);
    const GroundAndNoise found = findGround(scene.points, nullptr, quiet);
    expectGround(scene, found.isGround);
    EXPECT_EQ(countOf(found.isNoise), 2U);
    EXPECT_TRUE(found.isNoise[clean] && found.isNoise[clean + 1]);
    for (const Points &points : poorClouds())
        EXPECT_EQ(findGround(points, nullptr, quiet).isGround.size(), points.size());
}
