#include "ContourFile.h"
#include "PictureTesting.h"

#include <limits>

using support::blockOf;
using support::colours;
using support::PictureTest;
using support::positions;
using support::Spot;
using support::squareCorners;

namespace
{

using PictureOfMesh = PictureTest;

/// A square of two triangles over `squareCorners` with these heights.
std::vector<Spot> square(float northWest, float northEast, float southWest, float southEast)
{
    std::vector<Spot> corners = squareCorners;
    corners[0].z = northWest;
    corners[1].z = northEast;
    corners[2].z = southWest;
    corners[3].z = southEast;
    return corners;
}

constexpr std::initializer_list<quint32> twoTriangles = {0, 2, 3, 0, 3, 1};

/// A file of contours: one of the first group and one of the second.
QByteArray contours(std::vector<std::pair<double, double>> strong, std::vector<std::pair<double, double>> thin)
{
    support::ContourFile file;
    file.groups[0].heights.push_back({10, {support::contourLine(std::move(strong))}, {}});
    file.groups[1].heights.push_back({12, {support::contourLine(std::move(thin))}, {}});
    return file.bytes();
}

} // namespace

TEST_F(PictureOfMesh, IsLightWhereItFacesTheLight)
{
    // Level, then at 45 degrees towards the north-west and away from it.
    const float rise = 10 * std::sqrt(0.5F);
    const std::pair<std::vector<Spot>, int> scenes[] = {
        {square(0, 0, 0, 0), 180}, {square(0, rise, rise, 2 * rise), 255}, {square(2 * rise, rise, rise, 0), 0}};
    for (const auto &[corners, grey] : scenes) {
        writeMesh(corners, twoTriangles);
        const QRgb drawn = drawing("--by hillshade").pixel(50, 50);
        EXPECT_NEAR(qRed(drawn), grey, 1);
        EXPECT_EQ(qRed(drawn), qBlue(drawn));
    }
}

TEST_F(PictureOfMesh, IsAsLightFromTheSouthAsFromAbove)
{
    writeMesh(square(0, 3, 3, 6), twoTriangles);
    const QRgb fromAbove = drawing("--by hillshade").pixel(50, 50);
    const QImage oblique = sheet("--by hillshade --view oblique");
    EXPECT_NEAR(qRed(oblique.pixel(margin + 50, margin + 30)), qRed(fromAbove), 2);
}

TEST_F(PictureOfMesh, ShadesWhicheverWayItsCornersGoRound)
{
    writeMesh(square(0, 3, 3, 6), twoTriangles);
    const QImage drawn = drawing("--by hillshade");
    writeMesh(square(0, 3, 3, 6), {0, 3, 2, 0, 1, 3});
    EXPECT_EQ(drawing("--by hillshade"), drawn);
}

TEST_F(PictureOfMesh, FillsTrianglesAndLeavesHolesOpen)
{
    writeMesh({{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {10, 10, 0}, {9, 10, 0}, {10, 9, 0}}, {0, 1, 2, 3, 4, 5});
    const QImage drawn = drawing();
    EXPECT_NE(drawn.pixel(5, 95), white);
    EXPECT_NE(drawn.pixel(45, 60), white);
    EXPECT_EQ(drawn.pixel(60, 45), white);
    EXPECT_NE(drawn.pixel(98, 2), white);
}

TEST_F(PictureOfMesh, FollowsTheRampInsideATriangle)
{
    writeMesh(square(0, 10, 0, 10), twoTriangles);
    const QImage drawn = drawing();
    const QColor low = drawn.pixelColor(2, 50);
    const QColor middle = drawn.pixelColor(50, 50);
    const QColor high = drawn.pixelColor(98, 50);
    EXPECT_GT(low.blue(), low.red());
    EXPECT_GT(middle.green(), middle.red());
    EXPECT_GT(middle.green(), middle.blue());
    EXPECT_GT(high.red(), high.green());
}

TEST_F(PictureOfMesh, MixesTheColoursOfItsCorners)
{
    write({0, 2, 3}, {blockOf(1,
                              {positions(squareCorners), support::run<quint32>(twoTriangles),
                               colours({Qt::black, Qt::red, Qt::black, Qt::red})},
                              2)});
    const QImage drawn = drawing("--by colour");
    EXPECT_NEAR(drawn.pixelColor(50, 50).red(), 128, 3);
    EXPECT_EQ(drawn.pixelColor(50, 50).green(), 0);
    EXPECT_LT(drawn.pixelColor(5, 50).red(), 20);
    EXPECT_GT(drawn.pixelColor(95, 50).red(), 235);
}

TEST_F(PictureOfMesh, TakesTheClassOfTheNearestCorner)
{
    write(
        {0, 2, 9},
        {blockOf(1, {positions(squareCorners), support::run<quint32>(twoTriangles), support::run<quint8>({2, 6, 2, 6})},
                 2)});
    const QImage drawn = drawing("--by classification");
    EXPECT_EQ(drawn.pixel(5, 50), drawn.pixel(30, 50));
    EXPECT_EQ(drawn.pixel(95, 50), drawn.pixel(70, 50));
    EXPECT_NE(drawn.pixel(5, 50), drawn.pixel(95, 50));
}

TEST_F(PictureOfMesh, ShowsAWallFromTheSouth)
{
    writeMesh({{0, 0, 0}, {10, 0, 0}, {0, 0, 6}, {10, 0, 6}}, {0, 1, 3, 0, 3, 2});
    const int height = static_cast<int>(60 * 0.819152);
    const QImage wall = drawing("--view oblique", edge, height);
    EXPECT_NE(wall.pixel(50, 2), white);
    EXPECT_NE(wall.pixel(50, height / 2), white);
    // From above there is an edge alone.
    EXPECT_NE(drawing("", edge, 1).pixel(0, 0), white);
}

TEST_F(PictureOfMesh, StandsBesidePointsOfOtherBlocks)
{
    const QByteArray none;
    write({0, 2}, {blockOf(1, {positions({{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}), support::run<quint32>({0, 1, 2})}, 1),
                   blockOf(2, {positions({{10, 10, 0}}), none})});
    const QImage drawn = drawing("--by block");
    EXPECT_NE(drawn.pixel(10, 90), white);
    EXPECT_NE(drawn.pixel(100, 0), white);
    EXPECT_NE(drawn.pixel(100, 0), drawn.pixel(10, 90));
}

TEST_F(PictureOfMesh, LeavesOutBrokenTriangles)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<Spot> corners = squareCorners;
    writeMesh(corners, twoTriangles);
    const QImage sound = drawing();
    corners.insert(corners.end(), {{nan, 0, 0}, {0, 0, 3e38F}, {-1e30F, 0, 0}});
    writeMesh(corners, {0, 2, 3, 0, 3, 1, 0, 1, 7, 4294967295U, 0, 1, 4, 0, 1, 0, 5, 1, 0, 1, 6});
    EXPECT_EQ(drawing(), sound);
    EXPECT_TRUE(command("").errors.contains("5 triangles are left out"));
}

TEST_F(PictureOfMesh, RefusesOneOfBrokenTrianglesAlone)
{
    writeMesh(squareCorners, {0, 1, 4, 9, 9, 9});
    expectRefusal("", "nothing that can be drawn");
    expectRefusal("--view oblique", "nothing that can be drawn");
}

TEST_F(PictureOfMesh, ShowsTrianglesWithoutSurfaceByTheirCorners)
{
    writeMesh(squareCorners, {0, 0, 0, 3, 3, 3, 0, 3, 3});
    const QImage drawn = drawing();
    EXPECT_NE(drawn.pixel(0, 0), white);
    EXPECT_NE(drawn.pixel(100, 100), white);
}

TEST_F(PictureOfMesh, CarriesContoursOverItsShape)
{
    writeMesh(squareCorners, twoTriangles);
    ASSERT_TRUE(support::writeFile(path("lines"), contours({{0, 5}, {10, 5}}, {{2, 0}, {2, 10}})));
    const QByteArray options = "--by hillshade --contours " + path("lines").toUtf8();
    const QImage image = sheet(options.constData());
    const QImage drawn = image.copy(margin, margin, edge, edge);
    const auto isBrown = [](const QColor &color) { return color.red() > color.blue() + 40; };
    EXPECT_TRUE(isBrown(drawn.pixelColor(70, 50)));
    EXPECT_TRUE(isBrown(drawn.pixelColor(20, 80)));
    EXPECT_FALSE(isBrown(drawn.pixelColor(70, 80)));
    EXPECT_LT(drawn.pixelColor(70, 50).lightness(), drawn.pixelColor(20, 80).lightness());
    EXPECT_EQ(legendColours(image).count(drawn.pixel(70, 50)), 1U);
}

TEST_F(PictureOfMesh, BreaksAContourWhereAPointIsNowhere)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    writeMesh(squareCorners, twoTriangles);
    ASSERT_TRUE(support::writeFile(
        path("lines"), contours({{0, 5}, {3, 5}, {nan, 5}, {7, 5}, {10, 5}}, {{0, 1e300}, {1, 1}, {1, 9}})));
    const QByteArray options = "--by hillshade --contours " + path("lines").toUtf8();
    const QImage drawn = drawing(options.constData());
    EXPECT_NE(drawn.pixel(20, 50), drawn.pixel(50, 70));
    EXPECT_EQ(drawn.pixel(50, 50), drawn.pixel(50, 70));
    EXPECT_NE(drawn.pixel(80, 50), drawn.pixel(50, 70));
    EXPECT_NE(drawn.pixel(10, 50), drawn.pixel(50, 70));
}

TEST_F(PictureOfMesh, RefusesContoursThatDoNotFit)
{
    writeMesh(squareCorners, twoTriangles);
    const auto option = [this](const char *name) { return "--contours " + path(name).toUtf8(); };
    ASSERT_TRUE(support::writeFile(path("elsewhere"), contours({{20, 5}, {30, 5}}, {{-2, 0}, {-2, 10}})));
    expectRefusal(option("elsewhere").constData(), "no line of");
    ASSERT_TRUE(support::writeFile(path("empty"), support::ContourFile().bytes()));
    expectRefusal(option("empty").constData(), "no line of");
    ASSERT_TRUE(support::writeFile(path("text"), "no contours"));
    expectRefusal(option("text").constData(), "no contour file");
    expectRefusal(option("missing").constData(), "no contour file");
    EXPECT_EQ(command((option("elsewhere") + " --view oblique").constData()).exitCode, 2);
}
