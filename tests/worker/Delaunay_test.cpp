#include "Delaunay.h"

#include "Failure.h"
#include "PlainDelaunay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace support;

namespace
{

NoProgress quiet;

/// Sorted and without doubles, as the triangulation takes them.
std::vector<PlanPoint> inOrder(std::vector<PlanPoint> points)
{
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
    return points;
}

std::vector<PlanPoint> scattered(std::size_t count, int reach, unsigned int seed)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> coordinate(-reach, reach);
    std::vector<PlanPoint> points;
    for (std::size_t i = 0; i < count; ++i) {
        const int x = coordinate(random);
        points.push_back({x, coordinate(random)});
    }
    return inOrder(points);
}

std::vector<PlanPoint> lattice(int columns, int rows, int step)
{
    std::vector<PlanPoint> points;
    for (int column = 0; column < columns; ++column) {
        for (int row = 0; row < rows; ++row)
            points.push_back({column * step, row * step});
    }
    return points;
}

/// Whole places on one circle, exactly: x² + y² = 1105² has many.
std::vector<PlanPoint> exactCircle()
{
    constexpr int radius = 1105;
    std::vector<PlanPoint> points;
    for (int x = -radius; x <= radius; ++x) {
        const int y = static_cast<int>(std::lround(std::sqrt(static_cast<double>(radius * radius - x * x))));
        if (x * x + y * y == radius * radius) {
            points.push_back({x, y});
            points.push_back({x, -y});
        }
    }
    return inOrder(points);
}

PlainPlaces places(const std::vector<PlanPoint> &points)
{
    PlainPlaces places;
    for (const PlanPoint &p : points)
        places.emplace_back(p.x, p.y);
    return places;
}

std::set<std::array<std::uint32_t, 3>> withoutOrder(const Triangulation &mesh)
{
    std::set<std::array<std::uint32_t, 3>> triangles;
    for (std::array<std::uint32_t, 3> t : mesh.triangles) {
        std::sort(t.begin(), t.end());
        triangles.insert(t);
    }
    return triangles;
}

void expectJoined(const Triangulation &mesh)
{
    ASSERT_EQ(mesh.twins.size(), 3 * mesh.triangles.size());
    for (std::uint32_t h = 0; h < mesh.twins.size(); ++h) {
        const std::uint32_t twin = mesh.twins[h];
        if (twin == Triangulation::none)
            continue;
        ASSERT_LT(twin, mesh.twins.size());
        ASSERT_EQ(mesh.twins[twin], h);
        ASSERT_EQ(mesh.origin(twin), mesh.origin(Triangulation::next(h)));
        ASSERT_EQ(mesh.origin(h), mesh.origin(Triangulation::next(twin)));
    }
}

/// Empty circles, all counter-clockwise, and as many triangles as cover the hull.
void expectDelaunay(const std::vector<PlanPoint> &points)
{
    const Triangulation mesh = delaunay(points, quiet);
    const PlainPlaces plain = places(points);
    EXPECT_EQ(placesInsideCircles(plain, mesh.triangles), 0U);
    EXPECT_EQ(mesh.triangles.size(), 2 * points.size() - 2 - placesOnHull(plain));
    for (const auto &[a, b, c] : mesh.triangles)
        ASSERT_GT(planTurn(points[a], points[b], points[c]), 0);
    expectJoined(mesh);
}

ExitCode failureOf(const std::vector<PlanPoint> &points)
{
    try {
        delaunay(points, quiet);
    } catch (const Failure &failure) {
        return failure.code();
    }
    return ExitCode::Success;
}

} // namespace

TEST(Delaunay, TellsInsideFromOutsideExactly)
{
    const PlanPoint a{0, 0};
    const PlanPoint b{largestPlanCoordinate, 0};
    const PlanPoint c{largestPlanCoordinate, largestPlanCoordinate};
    EXPECT_EQ(planInCircle(a, b, c, {0, largestPlanCoordinate}), 0);
    EXPECT_EQ(planInCircle(a, b, c, {1, largestPlanCoordinate - 1}), 1);
    EXPECT_EQ(planInCircle(a, b, c, {-1, largestPlanCoordinate}), -1);
    EXPECT_EQ(planInCircle({-largestPlanCoordinate, -largestPlanCoordinate}, {largestPlanCoordinate, 0},
                           {0, largestPlanCoordinate}, {largestPlanCoordinate, -largestPlanCoordinate}),
              -1);
}

TEST(Delaunay, FindsTheTrianglesThatTryingAllFinds)
{
    for (unsigned int seed = 0; seed < 60; ++seed) {
        const int reach = seed % 3 == 0 ? 4 : seed % 3 == 1 ? 100 : largestPlanCoordinate;
        const std::vector<PlanPoint> points = scattered(5 + seed % 30, reach, seed);
        SCOPED_TRACE(seed);
        EXPECT_EQ(withoutOrder(delaunay(points, quiet)), plainDelaunay(places(points)));
    }
}

TEST(Delaunay, SplitsPointsOnOneCircleFromTheSmallest)
{
    const std::vector<PlanPoint> circle = exactCircle();
    ASSERT_GT(circle.size(), 30U);
    EXPECT_EQ(withoutOrder(delaunay(circle, quiet)), plainDelaunay(places(circle)));
    const std::vector<PlanPoint> squares = lattice(6, 5, 500);
    EXPECT_EQ(withoutOrder(delaunay(squares, quiet)), plainDelaunay(places(squares)));
}

TEST(Delaunay, LeavesNoPointInACircle)
{
    for (const int reach : {12, 1000, 1000000, largestPlanCoordinate}) {
        SCOPED_TRACE(reach);
        expectDelaunay(scattered(1000, reach, 5));
    }
    expectDelaunay(lattice(32, 31, 1000));
    expectDelaunay(lattice(2, 400, 1));
    expectDelaunay(exactCircle());
}

TEST(Delaunay, TakesNearlyCircularAndNearlyStraightPoints)
{
    std::vector<PlanPoint> circle;
    std::vector<PlanPoint> straight;
    for (int i = 0; i < 400; ++i) {
        const double angle = i * 0.0157;
        circle.push_back({static_cast<int>(4e8 * std::cos(angle)), static_cast<int>(4e8 * std::sin(angle))});
        straight.push_back({i * 1000000, i * 999999 + i % 2});
    }
    expectDelaunay(inOrder(circle));
    expectDelaunay(inOrder(straight));
}

TEST(Delaunay, RefusesWhatHasNoArea)
{
    EXPECT_EQ(failureOf({}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{1, 1}}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{1, 1}, {2, 2}}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{1, 1}, {2, 2}, {4, 4}}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{3, 1}, {3, 2}, {3, 7}, {3, 8}}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{-1, 5}, {0, 5}, {9, 5}}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{0, 0}, {0, 1}, {1, 0}}), ExitCode::Success);
}
