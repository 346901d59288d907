#include "Contours.h"
#include "Failure.h"
#include "GroundHeight.h"
#include "HeightMap.h"
#include "TerrainClasses.h"

#include <gtest/gtest.h>

#include <QLineF>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ptCloud;

namespace
{

constexpr double extent = 200;
constexpr double steepest = 0.45; // of the hills below

NoProgress quiet;

double hills(double x, double y)
{
    return 5 * std::sin(x / 20) * std::cos(y / 25) + 0.1 * x;
}

/// A point in each square metre, at a place of its own, and one each metre along the border, which is straight.
Points hillPoints()
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> part(0.1, 0.9);
    Points points;
    const auto add = [&points](double x, double y) {
        points.emplace_back(static_cast<float>(x), static_cast<float>(y), static_cast<float>(hills(x, y)));
    };
    const int count = static_cast<int>(extent);
    for (int i = 0; i < count * count; ++i) {
        const double x = i % count + part(random);
        add(x, i / count + part(random));
    }
    for (int i = 0; i < count; ++i) {
        add(i, 0);
        add(extent, i);
        add(extent - i, extent);
        add(0, extent - i);
    }
    return points;
}

GroundModel modelOf(const Points &points)
{
    return makeGroundModel(points, std::vector<bool>(points.size(), true), quiet);
}

/// Heights in whole metres over a lattice, so that contours meet corners, ridges and plateaus.
Points terraces()
{
    std::mt19937 random(9);
    Points points;
    for (int i = 0; i < 40 * 40; ++i)
        points.emplace_back(static_cast<float>(i % 40), static_cast<float>(i / 40), static_cast<float>(random() % 5));
    return points;
}

struct Line
{
    double height;
    QVector<QPointF> points;

    bool isClosed() const { return points.first() == points.last(); }
};

std::vector<Line> linesOf(const PtCloud_ContourFile &file)
{
    std::vector<Line> lines;
    for (const PtCloud_ContourFile::Group *group : {&file.contourGroup1(), &file.contourGroup2()}) {
        for (auto it = group->cbegin(); it != group->cend(); ++it) {
            for (const QVector<QPointF> &line : *it)
                lines.push_back({it.key(), line});
        }
    }
    return lines;
}

std::vector<Line> contoursOf(const GroundModel &ground, int steps, const pcVec3d &origin = {})
{
    PtCloud_ContourFile file;
    addContours(ground, origin, steps, file, quiet);
    return linesOf(file);
}

double turn(const QPointF &a, const QPointF &b, const QPointF &c)
{
    return (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
}

bool cross(const QLineF &a, const QLineF &b)
{
    return turn(a.p1(), a.p2(), b.p1()) * turn(a.p1(), a.p2(), b.p2()) < 0
           && turn(b.p1(), b.p2(), a.p1()) * turn(b.p1(), b.p2(), a.p2()) < 0;
}

/// Pairs of pieces of lines that cross, each piece tried with those that begin within its reach to the right.
int crossings(const std::vector<Line> &lines)
{
    std::vector<QLineF> pieces;
    double longest = 0;
    for (const Line &line : lines) {
        for (int i = 1; i < line.points.size(); ++i) {
            const QPointF &a = line.points[i - 1];
            const QPointF &b = line.points[i];
            pieces.push_back(a.x() < b.x() ? QLineF(a, b) : QLineF(b, a));
            longest = std::max(longest, pieces.back().length());
        }
    }
    std::sort(pieces.begin(), pieces.end(), [](const QLineF &a, const QLineF &b) { return a.x1() < b.x1(); });
    int count = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        for (std::size_t k = i + 1; k < pieces.size() && pieces[k].x1() <= pieces[i].x2(); ++k)
            count += cross(pieces[i], pieces[k]) ? 1 : 0;
    }
    return count;
}

/// Whether a place lies on an edge of the hull: one with no twin.
bool isOnBorder(const GroundModel &ground, const QPointF &p)
{
    for (std::uint32_t h = 0; h < ground.mesh.twins.size(); ++h) {
        if (ground.mesh.twins[h] != Triangulation::none)
            continue;
        const std::uint32_t a = ground.mesh.origin(h);
        const std::uint32_t b = ground.mesh.origin(Triangulation::next(h));
        const QLineF edge(ground.x(a), ground.y(a), ground.x(b), ground.y(b));
        if (QLineF(edge.p1(), p).length() + QLineF(p, edge.p2()).length() < edge.length() + 1e-9)
            return true;
    }
    return false;
}

void expectSoundContours(const GroundModel &ground, const std::vector<Line> &lines)
{
    EXPECT_EQ(crossings(lines), 0);
    const GroundHeight heights(ground);
    for (const Line &line : lines) {
        ASSERT_GE(line.points.size(), 2);
        if (!line.isClosed()) {
            EXPECT_TRUE(isOnBorder(ground, line.points.first()));
            EXPECT_TRUE(isOnBorder(ground, line.points.last()));
        }
        for (const QPointF &p : line.points)
            ASSERT_NEAR(heights.at(p.x(), p.y()), line.height, 5e-3);
    }
}

/// A step to the left of a piece's middle, the ground is higher than a step to its right.
void expectHigherLeft(const GroundModel &ground, const std::vector<Line> &lines)
{
    const GroundHeight heights(ground);
    for (const Line &line : lines) {
        for (int i = 1; i < line.points.size(); ++i) {
            const QLineF piece(line.points[i - 1], line.points[i]);
            if (piece.length() < 0.1)
                continue;
            const QPointF left = QPointF(-piece.dy(), piece.dx()) / piece.length() * 0.01;
            const QPointF middle = piece.center();
            ASSERT_GT(heights.at(middle.x() + left.x(), middle.y() + left.y()),
                      heights.at(middle.x() - left.x(), middle.y() - left.y()));
        }
    }
}

ExitCode failureOf(const Points &points)
{
    try {
        modelOf(points);
    } catch (const Failure &failure) {
        return failure.code();
    }
    return ExitCode::Success;
}

} // namespace

TEST(GroundModel, TakesTheLowestOfPointsAtOnePlace)
{
    const GroundModel ground = makeGroundModel({{0, 0, 5}, {0, 0, 3}, {0, 0, 3}, {1, 0, 1}, {0, 1, 1}, {5, 5, 5}},
                                               {true, true, true, true, true, false}, quiet);
    EXPECT_EQ(ground.sources, (std::vector<std::uint32_t>{1, 4, 3}));
    EXPECT_EQ(ground.heights, (std::vector<float>{3, 1, 1}));
    EXPECT_EQ(ground.lowest(), 1);
    EXPECT_EQ(ground.highest(), 3);
}

TEST(GroundModel, RefusesWhatIsNoSurface)
{
    EXPECT_EQ(failureOf({}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{0, 0, 0}, {1, 1, 1}}), ExitCode::Hull);
    EXPECT_EQ(failureOf({{0, 0, 0}, {1, 1, 1}, {2, 2, 0}}), ExitCode::Hull);
    EXPECT_EQ(failureOf(Points(9, pcVec3f(1, 2, 3))), ExitCode::Hull);
    EXPECT_EQ(failureOf({{0, 0, 0}, {1e6F, 1, 1}, {2, 5, 0}}), ExitCode::Hull);
}

TEST(GroundHeight, IsLinearInTriangles)
{
    const Points points = hillPoints();
    const GroundModel ground = modelOf(points);
    const GroundHeight heights(ground);
    for (const pcVec3f &p : points)
        ASSERT_NEAR(heights.at(p.x(), p.y()), p.z(), 1e-3);
    std::mt19937 random(2);
    std::uniform_real_distribution<double> place(1, extent - 1);
    for (int i = 0; i < 10000; ++i) {
        const double x = place(random);
        const double y = place(random);
        ASSERT_NEAR(heights.at(x, y), hills(x, y), 0.03);
    }
}

TEST(GroundHeight, GoesByTheBorderOutside)
{
    const GroundModel ground = modelOf({{0, 0, 1}, {10, 0, 2}, {0, 10, 3}, {10, 10, 4}});
    const GroundHeight heights(ground);
    EXPECT_DOUBLE_EQ(heights.at(5, -7), 1.5);
    EXPECT_DOUBLE_EQ(heights.at(-1e6, 5), 2);
    EXPECT_DOUBLE_EQ(heights.at(1e9, 1e9), 4);
    EXPECT_DOUBLE_EQ(heights.at(-3, -3), 1);
}

TEST(HeightMap, ShowsTheHeightOfEachCentre)
{
    const GroundModel ground = modelOf(hillPoints());
    const HeightMap map = makeHeightMap(ground, 100, quiet);
    ASSERT_EQ(map.image.format(), QImage::Format_Grayscale16);
    ASSERT_EQ(std::max(map.image.width(), map.image.height()), 100);
    const double metresPerGrey = (map.highestHeight - map.lowestHeight) / 65534;
    int empty = 0;
    for (int row = 0; row < map.image.height(); ++row) {
        const auto *const line = reinterpret_cast<const quint16 *>(map.image.constScanLine(row));
        for (int column = 0; column < map.image.width(); ++column) {
            const double x = map.left + (column + 0.5) * map.pixelSize;
            const double y = map.top - (row + 0.5) * map.pixelSize;
            empty += line[column] == 0 ? 1 : 0;
            if (line[column] != 0) {
                ASSERT_NEAR(map.lowestHeight + (line[column] - 1) * metresPerGrey, hills(x, y),
                            map.pixelSize * steepest / 10);
            }
        }
    }
    EXPECT_EQ(empty, 0);
}

TEST(HeightMap, LeavesNothingOutInsideAndAllOutside)
{
    // A diamond: no-data in the corners, no hole on any edge of a lattice.
    const GroundModel diamond = modelOf({{0, 5, 1}, {5, 0, 1}, {10, 5, 1}, {5, 10, 1}, {5, 5, 1}});
    const HeightMap map = makeHeightMap(diamond, 64, quiet);
    for (int row = 0; row < map.image.height(); ++row) {
        const auto *const line = reinterpret_cast<const quint16 *>(map.image.constScanLine(row));
        for (int column = 0; column < map.image.width(); ++column) {
            const double reach = std::abs(column - 31.5) + std::abs(row - 31.5);
            EXPECT_EQ(line[column], reach <= 32 ? 1 : 0) << column << ", " << row;
        }
    }
    const HeightMap terraced = makeHeightMap(modelOf(terraces()), 78, quiet);
    for (int row = 0; row < terraced.image.height(); ++row) {
        const auto *const line = reinterpret_cast<const quint16 *>(terraced.image.constScanLine(row));
        EXPECT_EQ(std::count(line, line + terraced.image.width(), 0), 0);
    }
}

TEST(HeightMap, TellsHowToReadIt)
{
    const HeightMap map = makeHeightMap(modelOf({{0, 0, 1}, {20, 0, 3}, {0, 10, 2}}), 40, quiet);
    EXPECT_EQ(map.image.size(), QSize(40, 20));
    const QJsonObject told = map.description({500000, 4500000, 100});
    EXPECT_EQ(told[QStringLiteral("left")].toDouble(), 500000);
    EXPECT_EQ(told[QStringLiteral("top")].toDouble(), 4500010);
    EXPECT_EQ(told[QStringLiteral("pixelSize")].toDouble(), 0.5);
    EXPECT_EQ(told[QStringLiteral("heightOfGrey1")].toDouble(), 101);
    EXPECT_EQ(told[QStringLiteral("heightOfGrey65535")].toDouble(), 103);
}

TEST(Contours, LieOnTheirHeight)
{
    const GroundModel ground = modelOf(hillPoints());
    const std::vector<Line> lines = contoursOf(ground, 20);
    expectSoundContours(ground, lines);
    expectHigherLeft(ground, lines);
    for (const Line &line : lines) {
        for (const QPointF &p : line.points)
            ASSERT_NEAR(hills(p.x(), p.y()), line.height, 0.05);
    }
}

TEST(Contours, PassCornersAndPlateausAtTheirHeight)
{
    const GroundModel ground = modelOf(terraces());
    // Four metres in two steps: at 1 and 3, which many corners have.
    expectSoundContours(ground, contoursOf(ground, 2));
    expectSoundContours(ground, contoursOf(ground, 50));
}

TEST(Contours, AreAsManyAsStepsEachFifthInTheFirstGroup)
{
    const GroundModel ground = modelOf(hillPoints());
    PtCloud_ContourFile file;
    addContours(ground, {0, 0, 1000}, 12, file, quiet);
    EXPECT_EQ(file.contourGroup1().size(), 3);
    EXPECT_EQ(file.contourGroup2().size(), 9);
    const double lowest = ground.lowest();
    const double step = (ground.highest() - lowest) / 12;
    EXPECT_DOUBLE_EQ(file.contourGroup1().firstKey(), 1000 + lowest + step / 2);
    EXPECT_DOUBLE_EQ(file.contourGroup1().lastKey(), 1000 + lowest + step * 10.5);
}

TEST(Contours, RunRoundAPeakOnceEach)
{
    Points points;
    for (int i = 0; i < 41 * 41; ++i) {
        const int x = i % 41 - 20;
        const int y = i / 41 - 20;
        points.emplace_back(static_cast<float>(x), static_cast<float>(y),
                            -static_cast<float>(std::max(std::abs(x), std::abs(y))));
    }
    const std::vector<Line> lines = contoursOf(modelOf(points), 40, {500000, 4500000, 0});
    ASSERT_EQ(lines.size(), 40U);
    for (const Line &line : lines) {
        EXPECT_TRUE(line.isClosed());
        double area = 0;
        for (int i = 1; i < line.points.size(); ++i)
            area += turn({500000, 4500000}, line.points[i - 1], line.points[i]) / 2;
        // Counter-clockwise: the peak is on the left. The square at this height, but for its corners.
        EXPECT_NEAR(area, 4 * line.height * line.height, 0.6);
    }
}

TEST(Contours, OfLevelGroundAreAFailure)
{
    PtCloud_ContourFile file;
    try {
        addContours(modelOf({{0, 0, 1}, {1, 0, 1}, {0, 1, 1}}), {}, 10, file, quiet);
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code(), ExitCode::Function);
    }
}

TEST(TerrainClasses, GoByHeightAboveGround)
{
    Points points = hillPoints();
    GroundAndNoise found{std::vector<bool>(points.size(), true), std::vector<bool>(points.size(), false)};
    const GroundModel ground = makeGroundModel(points, found.isGround, quiet);
    const auto add = [&](double above, bool noise) {
        points.emplace_back(100.4F, 77.7F, static_cast<float>(hills(100.4, 77.7) + above));
        found.isGround.push_back(false);
        found.isNoise.push_back(noise);
    };
    const std::size_t first = points.size();
    for (const double above : {0.4, 0.6, 1.9, 2.1, 30.0, -0.5, -5.0, 3.0})
        add(above, false);
    add(-9, true);
    std::vector<unsigned char> earlier(points.size(), 1);
    earlier[0] = TerrainClass_Building;
    earlier[first + 7] = TerrainClass_Building;
    const std::vector<unsigned char> classes = terrainClasses(points, found, ground, earlier.data(), quiet);
    EXPECT_EQ(std::vector<unsigned char>(classes.begin() + static_cast<std::ptrdiff_t>(first), classes.end()),
              (std::vector<unsigned char>{3, 4, 4, 5, 5, 3, 7, 6, 7}));
    EXPECT_EQ(classes[0], TerrainClass_Building);
    EXPECT_EQ(std::count(classes.begin(), classes.end(), 2), static_cast<std::ptrdiff_t>(first) - 1);
    EXPECT_EQ(terrainClasses(points, found, ground, nullptr, quiet)[first + 7], TerrainClass_HighVegetation);
}
