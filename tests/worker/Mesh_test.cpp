#include "AlphaShape.h"
#include "BallPivoting.h"
#include "Failure.h"
#include "Normals.h"
#include "PoissonSurface.h"
#include "WorkerTesting.h"

#include <algorithm>
#include <limits>
#include <random>

using namespace ptCloud;
using namespace support;

namespace
{

constexpr std::size_t ballPoints = 3000;
constexpr double ballRadius = 20;

NoProgress quiet;

ExitCode codeOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (const Failure &failure) {
        EXPECT_FALSE(failure.message().isEmpty());
        return failure.code();
    }
    return ExitCode::Success;
}

void expectBall(const Surface &surface, double radius = ballRadius)
{
    EXPECT_TRUE(surface.isClosed()) << surface.openEdges << " open edges, " << surface.badEdges << " bad ones";
    EXPECT_TRUE(surface.isSound);
    EXPECT_TRUE(surface.namesEachCorner);
    EXPECT_NEAR(surface.area, ballArea(radius), ballArea(radius) * 0.02);
    EXPECT_NEAR(surface.volume, ballVolume(radius), ballVolume(radius) * 0.02);
}

Points consistentNormals(const Points &points)
{
    return estimateNormals(points, NormalSide::Consistent, quiet);
}

Mesh alphaShapeOf(const Points &points, double alpha)
{
    AlphaParameters parameters;
    parameters.alpha = alpha;
    return alphaShape(points, consistentNormals(points), parameters, quiet);
}

/// A square or a cube of lattice points, edge `side`, steps of 1.
Points lattice(int side, int layers)
{
    Points points;
    for (int z = 0; z < layers; ++z) {
        for (int y = 0; y <= side; ++y) {
            for (int x = 0; x <= side; ++x)
                points.emplace_back(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
        }
    }
    return points;
}

/// Points of a surface, and which way is out of it.
struct FacedPoints
{
    Points points;
    Points outwards;

    /// Scatters points over the parallelogram from `corner` along two edges, `spacing` apart on the average.
    void addFace(const pcVec3d &corner, const pcVec3d &along, const pcVec3d &across, double spacing)
    {
        pcVec3d normal = along ^ across;
        const auto count = static_cast<int>(normal.length() / (spacing * spacing));
        normal.normalize();
        for (int i = 0; i < count; ++i) {
            const pcVec3d place = corner + along * m_unit(m_random) + across * m_unit(m_random);
            points.push_back(static_cast<pcVec3f>(place + normal * (m_noise(m_random) * spacing)));
            outwards.push_back(static_cast<pcVec3f>(normal));
        }
    }

private:
    std::mt19937 m_random{5};
    std::uniform_real_distribution<double> m_unit{0, 1};
    std::normal_distribution<double> m_noise{0, 0.05};
};

/// A house in the middle of a yard. Its roof, on which no wall agrees with both sides, has eaves.
FacedPoints house(double spacing)
{
    FacedPoints scene;
    const double far = 14;
    scene.addFace({-far, -far, 0}, {2 * far, 0, 0}, {0, far - 4, 0}, spacing);
    scene.addFace({-far, 4, 0}, {2 * far, 0, 0}, {0, far - 4, 0}, spacing);
    scene.addFace({-far, -4, 0}, {far - 5, 0, 0}, {0, 8, 0}, spacing);
    scene.addFace({5, -4, 0}, {far - 5, 0, 0}, {0, 8, 0}, spacing);
    scene.addFace({-5, -4, 0}, {10, 0, 0}, {0, 0, 4}, spacing);
    scene.addFace({5, 4, 0}, {-10, 0, 0}, {0, 0, 4}, spacing);
    scene.addFace({5, -4, 0}, {0, 8, 0}, {0, 0, 4}, spacing);
    scene.addFace({-5, 4, 0}, {0, -8, 0}, {0, 0, 4}, spacing);
    scene.addFace({-6, -5, 4}, {12, 0, 0}, {0, 5, 3}, spacing);
    scene.addFace({6, 5, 4}, {-12, 0, 0}, {0, -5, 3}, spacing);
    return scene;
}

} // namespace

TEST(Normals, OfABallPointOutwards)
{
    const Points points = toFloats(ball(ballPoints, ballRadius));
    const Points normals = consistentNormals(points);
    ASSERT_EQ(normals.size(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_NEAR(normals[i].length(), 1, 1e-5);
        EXPECT_GT(normals[i] * points[i] / static_cast<float>(ballRadius), 0.99F) << i;
    }
}

TEST(Normals, OfEachThingByItself)
{
    std::vector<pcVec3d> balls = ball(ballPoints, ballRadius);
    const std::vector<pcVec3d> lower = ball(ballPoints, ballRadius, {100, 0, -70});
    balls.insert(balls.end(), lower.begin(), lower.end());
    const Points points = toFloats(balls);
    const Points normals = consistentNormals(points);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const pcVec3f middle = i < ballPoints ? pcVec3f() : pcVec3f(100, 0, -70);
        EXPECT_GT(normals[i] * (points[i] - middle), 0) << i;
    }
}

TEST(Normals, AgreeAcrossEdges)
{
    for (const double spacing : {0.08, 0.12, 0.2, 0.3}) {
        SCOPED_TRACE(spacing);
        const FacedPoints scene = house(spacing);
        const Points normals = consistentNormals(scene.points);
        std::size_t inwards = 0;
        for (std::size_t i = 0; i < normals.size(); ++i)
            inwards += normals[i] * scene.outwards[i] < 0 ? 1 : 0;
        EXPECT_LT(inwards, normals.size() / 100);
    }
}

TEST(Normals, PointUpEachByItselfIfWanted)
{
    for (const pcVec3f &normal : estimateNormals(toFloats(ball(ballPoints, ballRadius)), NormalSide::Upward, quiet))
        EXPECT_GE(normal.z(), 0);
}

TEST(Normals, AreThereForManyPointsAtOnePlace)
{
    Points points = lattice(5, 1);
    points.insert(points.end(), 100, pcVec3f(2, 2, 0));
    for (const pcVec3f &normal : consistentNormals(points))
        EXPECT_NEAR(normal.length(), 1, 1e-5);
}

TEST(Normals, AreNotThereForALine)
{
    Points line;
    for (int i = 0; i < 50; ++i)
        line.emplace_back(static_cast<float>(i), static_cast<float>(2 * i), 3.0F);
    for (const std::size_t count : {0U, 1U, 2U, 3U, 50U}) {
        const Points part(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(count));
        EXPECT_EQ(codeOf([&] { consistentNormals(part); }), ExitCode::Normals) << count;
    }
    EXPECT_EQ(codeOf([&] { consistentNormals(Points(20, pcVec3f(1, 2, 3))); }), ExitCode::Normals);
}

TEST(AlphaShape, OfABallIsItsSurfaceWhateverTheAlpha)
{
    const Points points = toFloats(ball(ballPoints, ballRadius));
    for (const double alpha : {2.0, 4.0, 15.0, 30.0, 1e6}) {
        SCOPED_TRACE(alpha);
        expectBall(measure(points, alphaShapeOf(points, alpha)));
    }
}

TEST(AlphaShape, OfASolidIsItsWholeSurfaceWhereverNormalsPoint)
{
    const Points points = toFloats(ball(ballPoints, ballRadius));
    AlphaParameters parameters;
    for (const double alpha : {25.0, 200.0, 1e6}) {
        SCOPED_TRACE(alpha);
        parameters.alpha = alpha;
        expectBall(measure(points, alphaShape(points, {}, parameters, quiet)));
        const Points upward = estimateNormals(points, NormalSide::Upward, quiet);
        expectBall(measure(points, alphaShape(points, upward, parameters, quiet)));
    }
}

TEST(AlphaShape, OfARoughBallIsOneSurface)
{
    // As the floats of projected coordinates are: steps of 1/4.
    Points points;
    for (const pcVec3d &p : ball(ballPoints, 100)) {
        const auto step = [](double c) { return static_cast<float>(std::round(c * 4) / 4); };
        points.emplace_back(step(p.x()), step(p.y()), step(p.z()));
    }
    expectBall(measure(points, alphaShapeOf(points, 15)), 100);
}

TEST(AlphaShape, OfTwoBallsIsTwoSurfaces)
{
    std::vector<pcVec3d> balls = ball(ballPoints, ballRadius);
    const std::vector<pcVec3d> other = ball(ballPoints, ballRadius, {50, 10, 0});
    balls.insert(balls.end(), other.begin(), other.end());
    const Points points = toFloats(balls);
    const Surface surface = measure(points, alphaShapeOf(points, 3));
    EXPECT_TRUE(surface.isClosed());
    EXPECT_NEAR(surface.volume, 2 * ballVolume(ballRadius), ballVolume(ballRadius) * 0.04);
}

TEST(AlphaShape, OfALatticeInAPlaneCoversItOnce)
{
    constexpr int side = 30;
    const Points points = lattice(side, 1);
    for (const double alpha : {0.71, 1.0, 3.0, 1000.0}) {
        SCOPED_TRACE(alpha);
        const Surface surface = measure(points, alphaShapeOf(points, alpha));
        EXPECT_NEAR(surface.area, side * side, 1e-6);
        EXPECT_EQ(surface.upward, 2U * side * side);
        EXPECT_EQ(surface.openEdges, 4U * side);
        EXPECT_EQ(surface.badEdges, 0U);
    }
    EXPECT_EQ(codeOf([&] { alphaShapeOf(points, 0.7); }), ExitCode::Function);
}

TEST(AlphaShape, OfALatticeInSpaceIsItsCube)
{
    constexpr int side = 8;
    const Points points = lattice(side, side + 1);
    for (const double alpha : {0.87, 2.0, 100.0}) {
        SCOPED_TRACE(alpha);
        const Surface surface = measure(points, alphaShapeOf(points, alpha));
        EXPECT_TRUE(surface.isClosed());
        EXPECT_NEAR(surface.area, 6 * side * side, 1e-6);
        EXPECT_NEAR(surface.volume, side * side * side, 1e-6);
    }
}

TEST(AlphaShape, OfGroundFacesUpAndHasNoHoles)
{
    const Points points = toFloats(hills(4000, 60));
    const Surface surface = measure(points, alphaShapeOf(points, 4));
    EXPECT_GT(static_cast<double>(surface.upward), 0.998 * static_cast<double>(surface.area > 0 ? surface.upward : 1));
    EXPECT_GT(surface.area, 0.97 * 60 * 60);
    EXPECT_LT(surface.openEdges, 400U);
    EXPECT_TRUE(surface.isSound);
}

TEST(AlphaShape, TakesThePointThatComesFirstOfThoseAtOnePlace)
{
    Points points = toFloats(ball(500, ballRadius));
    const std::size_t count = points.size();
    const Points copy = points;
    points.insert(points.end(), copy.begin(), copy.end());
    const Mesh mesh = alphaShapeOf(points, 10);
    EXPECT_TRUE(std::all_of(mesh.sources.begin(), mesh.sources.end(), [&](auto i) { return i < count; }));
    expectBall(measure(points, mesh));
}

TEST(AlphaShape, IsTheSameInEveryRun)
{
    const Points points = toFloats(hills(2000, 40));
    const Mesh first = alphaShapeOf(points, 3);
    const Mesh second = alphaShapeOf(points, 3);
    EXPECT_EQ(first.sources, second.sources);
    ASSERT_EQ(first.triangles.size(), second.triangles.size());
    EXPECT_TRUE(
        std::equal(first.triangles.begin(), first.triangles.end(), second.triangles.begin(),
                   [](const stTriangle &a, const stTriangle &b) { return a.a == b.a && a.b == b.b && a.c == b.c; }));
}

TEST(AlphaShape, NeedsFivePointsApart)
{
    AlphaParameters parameters;
    const Points points = lattice(3, 3);
    for (const std::size_t count : {0U, 1U, 2U, 3U, 4U}) {
        Points few(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count));
        few.resize(count * 3, count == 0 ? pcVec3f() : few.front());
        EXPECT_EQ(codeOf([&] { alphaShape(few, {}, parameters, quiet); }), ExitCode::Hull) << count;
    }
}

TEST(AlphaShape, TellsWhatAlphaToTry)
{
    try {
        alphaShapeOf(lattice(10, 1), 0.05);
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code(), ExitCode::Function);
        EXPECT_EQ(failure.message(), QStringLiteral("alpha 0.05 leaves no triangle: the points lie about 0.886 apart; "
                                                    "try 2.7 or more"));
    }
}

TEST(AlphaShape, RefusesAnAlphaThatIsNone)
{
    for (const double alpha : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        AlphaParameters parameters;
        parameters.alpha = alpha;
        EXPECT_EQ(codeOf([&] { parameters.check(); }), ExitCode::Argument);
    }
}

TEST(BallPivoting, OfABallIsItsSurface)
{
    const Points points = toFloats(ball(ballPoints, ballRadius));
    for (const double radius : {0.0, 1.0, 2.0}) {
        SCOPED_TRACE(radius);
        BallPivotingParameters parameters;
        parameters.radius = radius;
        const Mesh mesh = ballPivoting(points, consistentNormals(points), parameters, quiet);
        expectBall(measure(points, mesh));
        EXPECT_EQ(mesh.normals.size(), mesh.sources.size());
    }
}

TEST(BallPivoting, RefusesABallThatTouchesThousandsAndOneThatFallsThrough)
{
    const Points points = lattice(20, 1);
    const Points normals(points.size(), pcVec3f(0, 0, 1));
    BallPivotingParameters parameters;
    parameters.radius = 10.5;
    EXPECT_EQ(codeOf([&] { ballPivoting(points, normals, parameters, quiet); }), ExitCode::Argument);
    parameters.radius = 0.01;
    EXPECT_EQ(codeOf([&] { ballPivoting(points, normals, parameters, quiet); }), ExitCode::Function);
    parameters.radius = -1;
    EXPECT_EQ(codeOf([&] { parameters.check(); }), ExitCode::Argument);
    parameters.radius = 1;
    const Points same(30, pcVec3f(1, 1, 1));
    EXPECT_EQ(codeOf([&] { ballPivoting(same, normals, parameters, quiet); }), ExitCode::Cloud);
}

TEST(PoissonSurface, OfABallIsClosedAndFacesOutwards)
{
    const Points points = toFloats(ball(ballPoints, ballRadius));
    const Points normals = consistentNormals(points);
    PoissonParameters parameters;
    for (const double width : {0.0, 0.7}) {
        SCOPED_TRACE(width);
        parameters.depth = 6;
        parameters.width = width;
        const Mesh mesh = poissonSurface(points, normals, parameters, quiet);
        expectBall(measure(points, mesh));
        ASSERT_EQ(mesh.normals.size(), mesh.positions.size());
        for (std::size_t i = 0; i < mesh.normals.size(); ++i)
            ASSERT_GT(mesh.normals[i] * mesh.positions[i], 0);
    }
}

TEST(PoissonSurface, LosesItsThinPartsIfWanted)
{
    const Points points = toFloats(hills(3000, 60));
    const Points normals = consistentNormals(points);
    PoissonParameters parameters;
    parameters.depth = 6;
    const Mesh whole = poissonSurface(points, normals, parameters, quiet);
    parameters.densityQuantile = 0.25;
    const Mesh part = poissonSurface(points, normals, parameters, quiet);
    EXPECT_NEAR(static_cast<double>(part.vertexCount()), 0.75 * static_cast<double>(whole.vertexCount()), 2);
    EXPECT_LT(part.triangles.size(), whole.triangles.size());
}

TEST(PoissonSurface, IsTheSameInEveryRun)
{
    const Points points = toFloats(hills(3000, 60));
    const Points normals = consistentNormals(points);
    PoissonParameters parameters;
    parameters.depth = 6;
    const Mesh first = poissonSurface(points, normals, parameters, quiet);
    const Mesh second = poissonSurface(points, normals, parameters, quiet);
    EXPECT_EQ(first.positions, second.positions);
    EXPECT_EQ(first.triangles.size(), second.triangles.size());
}

TEST(PoissonSurface, RefusesWhatItCannotTake)
{
    const auto codeWith = [](int depth, double width, double quantile) {
        PoissonParameters parameters;
        parameters.depth = depth;
        parameters.width = width;
        parameters.densityQuantile = quantile;
        return codeOf([&] { parameters.check(); });
    };
    EXPECT_EQ(codeWith(2, 0, 0), ExitCode::Success);
    EXPECT_EQ(codeWith(14, 5, 0.99), ExitCode::Success);
    EXPECT_EQ(codeWith(1, 0, 0), ExitCode::Argument);
    EXPECT_EQ(codeWith(15, 0, 0), ExitCode::Argument);
    EXPECT_EQ(codeWith(8, -1, 0), ExitCode::Argument);
    EXPECT_EQ(codeWith(8, std::nan(""), 0), ExitCode::Argument);
    EXPECT_EQ(codeWith(8, 0, 1), ExitCode::Argument);
    EXPECT_EQ(codeWith(8, 0, -0.1), ExitCode::Argument);

    const Points points = lattice(10, 1);
    PoissonParameters fine;
    fine.width = 1e-6;
    EXPECT_EQ(codeOf([&] {
                  poissonSurface(points, Points(points.size(), {0, 0, 1}), fine, quiet);
              }),
              ExitCode::Argument);
}
