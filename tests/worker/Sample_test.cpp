#include "AlphaShape.h"
#include "Failure.h"
#include "MeshSampling.h"
#include "PlainElimination.h"
#include "SampleElimination.h"
#include "WorkerTesting.h"

#include <algorithm>
#include <limits>
#include <set>

using namespace ptCloud;
using namespace support;

namespace
{

NoProgress quiet;

Points square(std::size_t count, double side, unsigned int seed = 1)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> place(0, static_cast<float>(side));
    Points points(count);
    for (pcVec3f &p : points) {
        p.x() = place(random);
        p.y() = place(random);
    }
    return points;
}

Points pick(const Points &points, const std::vector<std::uint32_t> &indices)
{
    Points picked;
    for (const std::uint32_t i : indices)
        picked.push_back(points.at(i));
    return picked;
}

double leastDistance(const Points &points)
{
    float least = std::numeric_limits<float>::max();
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k)
            least = std::min(least, (points[i] - points[k]).length());
    }
    return static_cast<double>(least);
}

/// The radius of the densest packing of so many disks in a square.
double packingRadius(double side, std::size_t count)
{
    return std::sqrt(side * side / (2 * std::sqrt(3.0) * static_cast<double>(count)));
}

void expectIndices(const std::vector<std::uint32_t> &indices, std::size_t count, std::size_t of)
{
    EXPECT_EQ(indices.size(), count);
    EXPECT_TRUE(std::is_sorted(indices.begin(), indices.end()));
    EXPECT_EQ(std::set<std::uint32_t>(indices.begin(), indices.end()).size(), indices.size());
    EXPECT_TRUE(indices.empty() || indices.back() < of);
}

} // namespace

TEST(SampleElimination, GivesAsManyAsAreWanted)
{
    const Points points = square(3000, 30);
    for (const std::size_t count : {0U, 1U, 2U, 10U, 300U, 1500U, 2999U, 3000U, 5000U}) {
        SCOPED_TRACE(count);
        expectIndices(eliminateSamples(points, count, quiet), std::min<std::size_t>(count, 3000), 3000);
    }
}

TEST(SampleElimination, KeepsPointsApart)
{
    constexpr double side = 50;
    constexpr std::size_t count = 400;
    for (const std::size_t points : {2000U, 20000U}) {
        const Points all = square(points, side);
        const Points kept = pick(all, eliminateSamples(all, count, quiet));
        EXPECT_GT(leastDistance(kept), 2 * packingRadius(side, count) * 0.6) << points;
    }
}

TEST(SampleElimination, LeavesNoGaps)
{
    constexpr double side = 50;
    constexpr std::size_t count = 400;
    const Points all = square(20000, side);
    const Points kept = pick(all, eliminateSamples(all, count, quiet));
    float farthest = 0;
    for (const pcVec3f &p : all) {
        float nearest = std::numeric_limits<float>::max();
        for (const pcVec3f &k : kept)
            nearest = std::min(nearest, (p - k).length());
        farthest = std::max(farthest, nearest);
    }
    EXPECT_LT(static_cast<double>(farthest), 2 * packingRadius(side, count) * 1.3);
}

TEST(SampleElimination, KeepsEvenlyAlsoWhereDensityVaries)
{
    // Nine of ten points lie in the left half.
    Points points = square(9000, 50);
    for (pcVec3f &p : points)
        p.x() /= 2;
    for (pcVec3f p : square(1000, 50, 2)) {
        p.x() = 25 + p.x() / 2;
        points.push_back(p);
    }
    const Points kept = pick(points, eliminateSamples(points, 500, quiet));
    const auto left = std::count_if(kept.begin(), kept.end(), [](const pcVec3f &p) { return p.x() < 25; });
    EXPECT_NEAR(static_cast<double>(left), 250, 50);
}

TEST(SampleElimination, ThinsCrowdsFirst)
{
    constexpr std::size_t spread = 5000;
    Points points = square(spread, 50);
    points.resize(2 * spread, {20, 20, 0});
    const auto crowded = [&](std::size_t count) {
        const std::vector<std::uint32_t> kept = eliminateSamples(points, count, quiet);
        expectIndices(kept, count, points.size());
        return static_cast<std::size_t>(std::count_if(kept.begin(), kept.end(), [](auto i) { return i >= spread; }));
    };
    EXPECT_LE(crowded(spread / 2), 1U);
    EXPECT_LE(crowded(spread - 1), 20U);
    // These can't all be of the others.
    EXPECT_EQ(crowded(spread + 2000), 2000U);
}

TEST(SampleElimination, IsThatOfTheDefinition)
{
    for (const unsigned int seed : {1U, 2U, 3U, 4U, 5U}) {
        SCOPED_TRACE(seed);
        constexpr double side = 20;
        constexpr std::size_t count = 60;
        // The paths of the two to the radius differ: the points' own spacing tells one, the square's area the other.
        const Points points = square(300, side, seed);
        const Points kept = pick(points, eliminateSamples(points, count, quiet));
        const Points plain = pick(points, plainElimination(points, count, packingRadius(side, count)));
        EXPECT_NEAR(leastDistance(kept), leastDistance(plain), leastDistance(plain) * 0.15);
    }
}

TEST(SampleElimination, TakesDegenerateClouds)
{
    expectIndices(eliminateSamples({}, 5, quiet), 0, 0);
    expectIndices(eliminateSamples({{1, 2, 3}}, 1, quiet), 1, 1);
    expectIndices(eliminateSamples(Points(1000, {1, 2, 3}), 10, quiet), 10, 1000);
    Points line;
    for (int i = 0; i < 1000; ++i)
        line.emplace_back(static_cast<float>(i), 0.0F, 0.0F);
    const std::vector<std::uint32_t> kept = eliminateSamples(line, 100, quiet);
    expectIndices(kept, 100, 1000);
    EXPECT_GE(leastDistance(pick(line, kept)), 5);
    Points lattice;
    for (int i = 0; i < 2500; ++i)
        lattice.emplace_back(static_cast<float>(i % 50), static_cast<float>(i / 50), 0.0F);
    expectIndices(eliminateSamples(lattice, 600, quiet), 600, 2500);
}

TEST(SampleElimination, IsTheSameInEveryRun)
{
    const Points points = square(5000, 30);
    EXPECT_EQ(eliminateSamples(points, 400, quiet), eliminateSamples(points, 400, quiet));
}

TEST(MeshSampling, LiesEvenlyOnTheSurface)
{
    constexpr double radius = 10;
    constexpr std::size_t count = 300;
    const Points points = toFloats(ball(2000, radius));
    AlphaParameters shape;
    shape.alpha = 5;
    const Mesh mesh = alphaShape(points, {}, shape, quiet);
    const Mesh samples = sampleMesh(points, mesh, count, 5, quiet);
    EXPECT_EQ(samples.positions.size(), count);
    EXPECT_TRUE(samples.triangles.empty());
    for (const pcVec3f &p : samples.positions)
        EXPECT_NEAR(static_cast<double>(p.length()), radius, 0.1);
    const double reach = 2 * std::sqrt(ballArea(radius) / (2 * std::sqrt(3.0) * count));
    EXPECT_GT(leastDistance(samples.positions), reach * 0.55);
    EXPECT_EQ(samples.positions, sampleMesh(points, mesh, count, 5, quiet).positions);
}
