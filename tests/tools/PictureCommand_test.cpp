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

using PictureOfPoints = PictureTest;

std::vector<Spot> with(std::vector<Spot> spots, std::initializer_list<Spot> more)
{
    spots.insert(spots.end(), more);
    return spots;
}

int greyOf(QRgb color)
{
    EXPECT_EQ(qRed(color), qGreen(color));
    EXPECT_EQ(qRed(color), qBlue(color));
    return qRed(color);
}

} // namespace

TEST_F(PictureOfPoints, ShowsEachInItsColourAtItsPlace)
{
    const QColor north(255, 0, 0);
    const QColor east(0, 255, 0);
    const QColor south(0, 0, 255);
    const QColor west(255, 255, 0);
    writePoints(squareCorners, 3, colours({north, east, south, west}));
    const QImage drawn = drawing("--by colour");
    EXPECT_EQ(drawn.pixelColor(0, 0), north);
    EXPECT_EQ(drawn.pixelColor(100, 0), east);
    EXPECT_EQ(drawn.pixelColor(0, 100), south);
    EXPECT_EQ(drawn.pixelColor(100, 100), west);
    EXPECT_EQ(drawn.pixel(50, 50), white);
}

TEST_F(PictureOfPoints, FromAboveShowsTheHighest)
{
    const QColor low(10, 20, 30);
    const QColor high(40, 50, 60);
    writePoints(with(squareCorners, {{5, 5, 2}, {5, 5, 7}, {5, 5, 3}}), 3,
                colours({low, low, low, low, low, high, low}));
    const QImage drawn = drawing("--by colour");
    EXPECT_EQ(drawn.pixelColor(50, 50), high);
    EXPECT_EQ(drawn.pixelColor(0, 0), low);
}

TEST_F(PictureOfPoints, FromTheSouthShowsTheNearer)
{
    // Both lie on one line to the eye, which looks down at 35 degrees; the second is the lower one, and nearer.
    const QColor far(200, 10, 10);
    const QColor near(10, 10, 200);
    const QColor ground(90, 90, 90);
    const float sine = 0.573576F;
    const float cosine = 0.819152F;
    const Spot middle{5, 5, 3};
    const Spot nearer{5, middle.y - 2 * cosine, middle.z + 2 * sine};
    writePoints(with(squareCorners, {nearer, middle}), 3, colours({ground, ground, ground, ground, near, far}));
    // North lies above south, as far as the ground seems foreshortened.
    const int height = static_cast<int>(100 * sine) + 1;
    const QImage drawn = drawing("--by colour --view oblique", edge, height);
    const int row = static_cast<int>((10 * sine - (middle.y * sine + middle.z * cosine)) * 10);
    EXPECT_EQ(drawn.pixelColor(50, row), near);
    EXPECT_EQ(drawn.pixelColor(0, 0), ground);
    EXPECT_EQ(drawn.pixelColor(100, height - 1), ground);
}

TEST_F(PictureOfPoints, RaisesHeightsByTheFactorThatIsAskedFor)
{
    writePoints({{0, 0, 0}, {10, 0, 0}, {0, 0, 4}});
    const int plain = sheet("--view oblique --by hillshade").height();
    const int doubled = sheet("--view oblique --by hillshade --exaggerate 2").height();
    EXPECT_NEAR(doubled - plain, 40 * 0.819152, 2);
    EXPECT_EQ(command("--exaggerate 0").exitCode, 2);
}

TEST_F(PictureOfPoints, GoesFromBlueToRedWithTheHeight)
{
    writePoints({{0, 0, 100}, {10, 0, 110}, {5, 10, 105}, {5, 5, 105}});
    const QImage drawn = drawing();
    const QColor low = drawn.pixelColor(0, 100);
    const QColor high = drawn.pixelColor(100, 100);
    const QColor middle = drawn.pixelColor(50, 50);
    EXPECT_GT(low.blue(), low.red());
    EXPECT_GT(high.red(), high.blue());
    EXPECT_GT(middle.green(), middle.red());
    EXPECT_GT(middle.green(), middle.blue());
}

TEST_F(PictureOfPoints, DoesNotStretchTheRampForAFewStrays)
{
    std::vector<Spot> spots;
    for (int i = 0; i < 2000; ++i)
        spots.push_back({static_cast<float>(i % 50) / 5, static_cast<float>(i / 50) / 4, static_cast<float>(i % 50)});
    writePoints(spots);
    const QColor before = drawing().pixelColor(95, 50);
    spots.push_back({5, 5, -5000});
    writePoints(spots);
    EXPECT_EQ(drawing().pixelColor(95, 50), before);
}

TEST_F(PictureOfPoints, GoesFromDarkToLightWithTheIntensity)
{
    writePoints(squareCorners, 4, support::run<quint16>({100, 900, 500, 500}));
    const QImage image = sheet("--by intensity");
    const QImage drawn = image.copy(margin, margin, edge, edge);
    EXPECT_LT(greyOf(drawn.pixel(0, 0)), 60);
    EXPECT_GT(greyOf(drawn.pixel(100, 0)), 200);
    EXPECT_NEAR(greyOf(drawn.pixel(0, 100)), 130, 3);
    EXPECT_EQ(legendColours(image).count(drawn.pixel(0, 100)), 1U);
}

TEST_F(PictureOfPoints, NamesTheClassesThatOccurAndNoOthers)
{
    writePoints(squareCorners, 9, support::run<quint8>({2, 2, 2, 6}));
    const QImage both = sheet("--by classification");
    const QRgb ground = both.pixel(margin, margin);
    const QRgb building = both.pixel(margin + 100, margin + 100);
    EXPECT_NE(ground, building);
    EXPECT_EQ(legendColours(both).count(ground), 1U);
    EXPECT_EQ(legendColours(both).count(building), 1U);

    // The upper bits of the byte are marks, such as "withheld".
    writePoints(squareCorners, 9, support::run<quint8>({2, 2, 0x82, 0x22}));
    const QImage one = sheet("--by classification");
    EXPECT_EQ(one.pixel(margin + 100, margin + 100), ground);
    EXPECT_EQ(legendColours(one).count(ground), 1U);
    EXPECT_EQ(legendColours(one).count(building), 0U);
}

TEST_F(PictureOfPoints, GivesEachBlockAColourOfItsOwn)
{
    std::vector<support::BlockFile::Block> blocks;
    for (int key = 0; key < 12; ++key) {
        const auto x = static_cast<float>(key);
        blocks.push_back(blockOf(key, {positions({{x, 0, 0}, {x, 11, 0}})}));
    }
    write({0}, blocks);
    const QImage image = sheet("--by block --size 111");
    std::set<QRgb> found;
    for (int key = 0; key < 12; ++key)
        found.insert(image.pixel(margin + 10 * key, margin));
    EXPECT_EQ(found.size(), 12U);
    EXPECT_EQ(found.count(white), 0U);
}

TEST_F(PictureOfPoints, ShowsTheShapeInGreyLight)
{
    // A ridge from south-west to north-east: its north-western side lies in the light.
    std::vector<Spot> spots;
    for (int i = 0; i <= 100; ++i) {
        for (int j = 0; j <= 100; ++j) {
            const float x = static_cast<float>(i) / 10;
            const float y = static_cast<float>(j) / 10;
            spots.push_back({x, y, -0.5F * std::abs(x - y)});
        }
    }
    writePoints(spots);
    const QImage drawn = drawing("--by hillshade");
    EXPECT_GT(greyOf(drawn.pixel(20, 20)), greyOf(drawn.pixel(80, 80)) + 80);
    EXPECT_NEAR(greyOf(drawn.pixel(20, 20)), greyOf(drawn.pixel(30, 20)), 12);
}

TEST_F(PictureOfPoints, ClosesSmallGapsBetweenThem)
{
    std::vector<Spot> spots;
    for (int i = 0; i <= 100; ++i) {
        for (int j = 0; j <= 100; ++j) {
            if ((i * 7 + j * 3) % 4 != 0 || i % 100 == 0 || j % 100 == 0)
                spots.push_back({static_cast<float>(i) / 10, static_cast<float>(j) / 10, 0});
        }
    }
    writePoints(spots);
    for (const char *view : {"--view top", "--view oblique"}) {
        const QImage drawn = drawing(view, edge, 57);
        for (int y = 0; y < drawn.height(); ++y) {
            for (int x = 0; x < drawn.width(); ++x)
                ASSERT_NE(drawn.pixel(x, y), white) << view << ' ' << x << ' ' << y;
        }
    }
}

TEST_F(PictureOfPoints, HasAScaleBarOfARoundLength)
{
    writePoints(squareCorners);
    const double unitsPerPixel = command("--size 400").json().value(QStringLiteral("unitsPerPixel")).toDouble();
    EXPECT_NEAR(unitsPerPixel, 10.0 / 399, 1e-9);
    const QImage image(picture());
    int longest = 0;
    for (int y = margin + 400; y < image.height(); ++y) {
        int x = margin;
        while (x < image.width() && image.pixel(x, y) == qRgb(0, 0, 0))
            ++x;
        longest = std::max(longest, x - margin);
    }
    EXPECT_NEAR(longest * unitsPerPixel, 2, 0.05);
}

TEST_F(PictureOfPoints, HasALegendForWhatNeedsOne)
{
    writePoints(squareCorners, 3, colours({Qt::red, Qt::red, Qt::red, Qt::red}));
    EXPECT_EQ(legendColours(sheet("--by colour")).size(), 1U);
    EXPECT_GT(legendColours(sheet("--by height")).size(), 50U);
    EXPECT_GT(legendColours(sheet("--by block")).size(), 2U);
}

TEST_F(PictureOfPoints, NeedsNoDisplay)
{
    writePoints(squareCorners);
    const QByteArray before = qgetenv("QT_QPA_PLATFORM");
    qputenv("QT_QPA_PLATFORM", "no such platform");
    const QImage image = sheet();
    qputenv("QT_QPA_PLATFORM", before);
    EXPECT_GT(legendColours(image).size(), 50U);
}

TEST_F(PictureOfPoints, DrawsASinglePoint)
{
    writePoints({{4.5e6F, 5e6F, 100}});
    for (const char *view : {"--view top", "--view oblique --by hillshade"})
        EXPECT_NE(drawing(view, 1, 1).pixel(0, 0), white) << view;
}

TEST_F(PictureOfPoints, LeavesOutWhatLiesNowhere)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    writePoints(squareCorners);
    const QImage sound = drawing();
    writePoints(with(squareCorners, {{nan, 5, 5}, {5, -infinite, 5}, {5, 5, 3e38F}}));
    EXPECT_EQ(drawing(), sound);
    EXPECT_TRUE(command("").errors.contains("3 points are left out"));
}

TEST_F(PictureOfPoints, RefusesWhatHoldsNothingToDraw)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    write({0}, {});
    expectRefusal("", "nothing that can be drawn");
    writePoints({});
    expectRefusal("", "nothing that can be drawn");
    writePoints({{nan, nan, nan}});
    expectRefusal("--view oblique", "nothing that can be drawn");
    ASSERT_TRUE(support::writeFile(path("scene"), "a scene in words"));
    expectRefusal("", "no sound data set file");
    ASSERT_TRUE(QFile::remove(path("scene")));
    expectRefusal("", "no sound data set file");
}

TEST_F(PictureOfPoints, TellsWhichColumnIsMissing)
{
    writePoints(squareCorners);
    expectRefusal("--by colour", "no column \"colour\"");
    expectRefusal("--by classification", "no column \"classification\"");
    expectRefusal("--by intensity", "no column \"intensity\"");
    write({4}, {blockOf(1, {support::run<quint16>({1, 2, 3, 4, 5, 6})})});
    expectRefusal("--by intensity", "no column \"position\"");
}

TEST_F(PictureOfPoints, NeverWritesOverWhatItReads)
{
    writePoints(squareCorners);
    const QByteArray before = support::readFile(path("scene"));
    const PtcloudRun run({QStringLiteral("picture"), path("scene"), path("./scene")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(support::readFile(path("scene")), before);
}

TEST_F(PictureOfPoints, DrawsASurveyInEveryWay)
{
    const QString las = path("survey.las");
    ASSERT_EQ(
        PtcloudRun({QStringLiteral("demo-las"), las, QStringLiteral("--points"), QStringLiteral("5000")}).exitCode, 0);
    ASSERT_EQ(PtcloudRun({QStringLiteral("build"), path("scene"), las}).exitCode, 0);
    for (const char *by : {"height", "colour", "classification", "block", "intensity", "hillshade"}) {
        for (const char *view : {"top", "oblique"}) {
            const QByteArray options = QByteArray("--by ") + by + " --view " + view;
            const QImage drawn = drawing(options.constData());
            std::set<QRgb> found;
            for (int y = 0; y < drawn.height(); ++y) {
                for (int x = 0; x < drawn.width(); ++x)
                    found.insert(drawn.pixel(x, y));
            }
            EXPECT_GT(found.size(), 3U) << options.constData();
        }
    }
}
