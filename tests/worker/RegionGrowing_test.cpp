#include "ClusterScenes.h"
#include "Failure.h"
#include "PlaneFit.h"
#include "RegionGrowing.h"

#include <deque>
#include <limits>
#include <numeric>

using namespace ptCloud;
using namespace support;

namespace
{

constexpr int any = std::numeric_limits<int>::max();

NoProgress quiet;

std::vector<PointTree::Neighbour> nearest(const Points &points, std::size_t point, std::size_t count)
{
    std::vector<PointTree::Neighbour> all;
    for (std::size_t i = 0; i < points.size(); ++i)
        all.emplace_back(static_cast<std::uint32_t>(i), (points[i] - points[point]).length2());
    std::sort(all.begin(), all.end(), [](const auto &a, const auto &b) {
        return a.second != b.second ? a.second < b.second : a.first < b.first;
    });
    all.resize(std::min(count, all.size()));
    return all;
}

/// The definition, one point after another.
plain::Labels grownOneByOne(const Points &points, const RegionParameters &parameters)
{
    std::vector<std::vector<PointTree::Neighbour>> neighbours;
    std::vector<PlaneFit> planes;
    for (std::size_t i = 0; i < points.size(); ++i) {
        neighbours.push_back(nearest(points, i, static_cast<std::size_t>(parameters.neighbours)));
        planes.push_back(fitPlane(points, neighbours.back()));
    }
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&planes](std::size_t a, std::size_t b) { return planes[a].curvature < planes[b].curvature; });
    const double cosine = std::cos(parameters.angle * 3.14159265358979323846 / 180) - 1e-6;
    plain::Labels labels(points.size(), -1);
    int regions = 0;
    for (const std::size_t start : order) {
        if (labels[start] != -1)
            continue;
        std::deque<std::size_t> seeds{start};
        labels[start] = regions;
        for (; !seeds.empty(); seeds.pop_front()) {
            for (const PointTree::Neighbour &neighbour : neighbours[seeds.front()]) {
                const PlaneFit &plane = planes[neighbour.first];
                const double dot = pcVec3d(plane.normal) * pcVec3d(planes[seeds.front()].normal);
                if (labels[neighbour.first] != -1 || std::abs(dot) < cosine)
                    continue;
                labels[neighbour.first] = regions;
                if (static_cast<double>(plane.curvature) < parameters.curvature)
                    seeds.push_back(neighbour.first);
            }
        }
        ++regions;
    }
    return plain::ofSize(labels, static_cast<std::size_t>(parameters.leastPoints),
                         static_cast<std::size_t>(parameters.mostPoints));
}

/// The walls of a box without its edges, five points of distance from wall to wall.
ClusterScene boxOfPlanes()
{
    ClusterScene scene;
    for (int axis = 0; axis < 3; ++axis) {
        for (const double side : {0.0, 5.0}) {
            std::vector<pcVec3d> wall;
            for (int i = 0; i < 19; ++i) {
                for (int k = 0; k < 19; ++k) {
                    pcVec3d p;
                    p[axis] = side;
                    p[(axis + 1) % 3] = 0.7 + 0.2 * i;
                    p[(axis + 2) % 3] = 0.7 + 0.2 * k;
                    wall.push_back(p);
                }
            }
            scene.add(wall);
        }
    }
    return scene;
}

} // namespace

TEST(RegionGrowing, TwoBallsAndAPlaneAreThreeRegions)
{
    const ClusterScene scene = shuffled(ballsAndPlane(), 1);
    const std::vector<int> labels = growRegions(scene.points, {10, 20, 0.1, 50, any}, quiet);
    EXPECT_EQ(plain::adjustedRandIndex(labels, scene.labels), 1);
}

TEST(RegionGrowing, TheWallsOfABoxAreRegions)
{
    const ClusterScene scene = shuffled(boxOfPlanes(), 1);
    const std::vector<int> labels = growRegions(scene.points, {9, 5, 0.02, 50, any}, quiet);
    EXPECT_EQ(plain::adjustedRandIndex(labels, scene.labels), 1);
}

TEST(RegionGrowing, ARoofsTwoSlopesAreApartAtASmallAngleAndOneAtALargeOne)
{
    ClusterScene roof;
    for (const double slope : {0.3, -0.3}) {
        std::vector<pcVec3d> side;
        for (int i = 1; i <= 30; ++i) {
            for (int k = 0; k < 60; ++k) {
                const double x = (slope > 0 ? -0.1 : 0.1) * i;
                side.emplace_back(x, 0.1 * k, slope * x);
            }
        }
        roof.add(side);
    }
    const std::vector<int> apart = growRegions(roof.points, {12, 5, 0.001, 100, any}, quiet);
    EXPECT_GE(*std::max_element(apart.begin(), apart.end()), 1);
    // What is in a region is of one slope; along the ridge normals belong to none.
    for (std::size_t i = 0; i < apart.size(); ++i) {
        if (apart[i] != -1 && std::abs(roof.points[i].x()) > 0.35F) {
            EXPECT_EQ(apart[i], roof.labels[i]);
        }
    }
    const std::vector<int> one = growRegions(roof.points, {12, 45, 1, 100, any}, quiet);
    EXPECT_EQ(std::count(one.begin(), one.end(), 0), static_cast<std::ptrdiff_t>(one.size()));
}

TEST(RegionGrowing, MatchesTheDefinitionTakenPointByPoint)
{
    for (unsigned int seed = 1; seed <= 3; ++seed) {
        Points points = toFloats(hills(800, 40, {}, seed));
        const Points rest = scatter(200, 30, seed);
        points.insert(points.end(), rest.begin(), rest.end());
        for (const RegionParameters &parameters :
             {RegionParameters{10, 10, 0.02, 1, any}, RegionParameters{15, 3, 0.05, 10, any},
              RegionParameters{30, 30, 1, 2, 100}, RegionParameters{3, 60, 0.3, 5, any},
              RegionParameters{8, 90, 0, 1, any}, RegionParameters{40, 10, 0.05, 1, any},
              RegionParameters{1000, 30, 0.2, 1, any}}) {
            EXPECT_EQ(growRegions(points, parameters, quiet), grownOneByOne(points, parameters))
                << "seed " << seed << ", " << parameters.neighbours << " neighbours";
        }
    }
}

TEST(RegionGrowing, MatchesTheDefinitionOverALargeRegion)
{
    const Points points = toFloats(hills(6000, 60));
    for (const int neighbours : {12, 40}) {
        const RegionParameters parameters{neighbours, 15, 0.05, 50, any};
        EXPECT_EQ(growRegions(points, parameters, quiet), grownOneByOne(points, parameters)) << neighbours;
    }
}

TEST(RegionGrowing, PointsOnALineOrInOnePlaceHaveNoNormalAndStandAlone)
{
    Points line;
    for (int i = 0; i < 100; ++i)
        line.emplace_back(static_cast<float>(i) * 0.37F, static_cast<float>(i) * 0.71F, static_cast<float>(i) * 0.13F);
    for (const Points &points : {line, Points(100, pcVec3f(3, 3, 3)), Points(1), Points{{0, 0, 0}, {1, 0, 0}}}) {
        const std::vector<int> labels = growRegions(points, {10, 45, 1, 1, any}, quiet);
        ASSERT_EQ(labels.size(), points.size());
        for (std::size_t i = 0; i < labels.size(); ++i)
            EXPECT_EQ(labels[i], static_cast<int>(i));
        EXPECT_EQ(growRegions(points, {10, 45, 1, 2, any}, quiet), std::vector<int>(points.size(), -1));
    }
    EXPECT_TRUE(growRegions({}, {10, 45, 1, 1, any}, quiet).empty());
}

TEST(RegionGrowing, ALatticeInAPlaneIsOneRegion)
{
    Points lattice;
    for (int i = 0; i < 2500; ++i)
        lattice.emplace_back(static_cast<float>(i % 50), std::floor(static_cast<float>(i) / 50), 7.0F);
    EXPECT_EQ(growRegions(lattice, {9, 0, 0.01, 1, any}, quiet), std::vector<int>(lattice.size(), 0));
}

TEST(RegionGrowing, RefusesWhatCantBe)
{
    const std::pair<RegionParameters, const char *> cases[] = {{{2, 5, 0.05, 1, any}, "tolerance is 2"},
                                                               {{1001, 5, 0.05, 1, any}, "tolerance is 1001"},
                                                               {{10, -1, 0.05, 1, any}, "smooth is -1"},
                                                               {{10, 90.5, 0.05, 1, any}, "smooth is 90.5"},
                                                               {{10, std::nan(""), 0.05, 1, any}, "smooth is nan"},
                                                               {{10, 5, -0.1, 1, any}, "cure is -0.1"},
                                                               {{10, 5, 0.05, 0, any}, "minCluster is 0"},
                                                               {{10, 5, 0.05, 7, 6}, "maxCluster is 6"}};
    for (const auto &[parameters, words] : cases) {
        try {
            growRegions({}, parameters, quiet);
            ADD_FAILURE() << words;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.code(), ExitCode::Argument);
            EXPECT_TRUE(failure.message().contains(QLatin1String(words))) << failure.what();
        }
    }
}

TEST(PlaneFit, TellsNormalAndCurvatureFarFromTheOrigin)
{
    Points points;
    std::vector<PointTree::Neighbour> all;
    for (int i = 0; i < 25; ++i) {
        const auto x = static_cast<float>(i % 5);
        const auto y = std::floor(static_cast<float>(i) / 5);
        all.emplace_back(static_cast<std::uint32_t>(points.size()), 0.0F);
        points.emplace_back(x + 4096, y - 8192, 0.5F * x + 16384);
    }
    const PlaneFit plane = fitPlane(points, all);
    const pcVec3d expected = pcVec3d(-0.5, 0, 1) / std::sqrt(1.25);
    EXPECT_NEAR(std::abs(pcVec3d(plane.normal) * expected), 1, 1e-6);
    EXPECT_NEAR(plane.curvature, 0, 1e-6);
    // A cube's corners spread alike in all directions.
    Points cube;
    std::vector<PointTree::Neighbour> corners;
    for (int i = 0; i < 8; ++i) {
        corners.emplace_back(static_cast<std::uint32_t>(i), 0.0F);
        cube.emplace_back(static_cast<float>(i % 2), static_cast<float>(i / 2 % 2),
                          std::floor(static_cast<float>(i) / 4));
    }
    EXPECT_NEAR(fitPlane(cube, corners).curvature, 1.0 / 3, 1e-6);
}
