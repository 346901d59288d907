#include "PrismTesting.h"

#include "stPrism.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <string>

using namespace ptCloud;
using namespace volume;
using support::Corner;
using support::CutTriangle;

namespace
{

constexpr double maxDouble = std::numeric_limits<double>::max();

struct PlanarPoint
{
    double x = notANumber;
    double y = notANumber;
};

bool operator==(const PlanarPoint &a, const PlanarPoint &b)
{
    return a.x == b.x && a.y == b.y;
}

std::ostream &operator<<(std::ostream &out, const PlanarPoint &p)
{
    return out << "(" << p.x << ", " << p.y << ")";
}

PlanarPoint cut(const Corner &a, const Corner &b, double height)
{
    PlanarPoint result;
    stPrism::posCutOnLine(a.x, a.y, a.z, b.x, b.y, b.z, height, result.x, result.y);
    return result;
}

double overLowest(const CutTriangle &t)
{
    const auto &[a, b, c] = t.corners;
    return stPrism::threeDTriangleProjectionVolume(a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z);
}

double underHighest(const CutTriangle &t)
{
    const auto &[a, b, c] = t.corners;
    return stPrism::threeDTriangleProjectionVolume_reverse(a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z);
}

/// Three corners in the order in which a splitting function gives them.
using Split = std::array<Corner, 3>;

bool operator==(const Split &a, const Split &b)
{
    for (std::size_t i = 0; i < 3; ++i) {
        if (a[i].x != b[i].x || a[i].y != b[i].y || a[i].z != b[i].z)
            return false;
    }
    return true;
}

Split topMiddleLow(const CutTriangle &t)
{
    const auto &[a, b, c] = t.corners;
    Split s;
    stPrism::splitTopBottomPos(a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z, s[0].x, s[0].y, s[0].z, s[1].x, s[1].y,
                               s[1].z, s[2].x, s[2].y, s[2].z);
    return s;
}

Split pairAndSingle(const Corner &a, const Corner &b, const Corner &c)
{
    Split s;
    stPrism::splitHorLineAndSinglePos(a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z, s[0].x, s[0].y, s[1].x, s[1].y,
                                      s[0].z, s[2].x, s[2].y, s[2].z);
    s[1].z = s[0].z;
    return s;
}

struct Figure
{
    const char *name;
    CutTriangle triangle;
    DigFill expected;
};

const Figure figures[] = {
    {"LevelAtTheGround", halfSquare(2, 2, 2, 2), {0, 0}},
    {"LevelAboveTheGround", halfSquare(2, 2, 2, 1), {0.5, 0}},
    {"LevelBelowTheGround", halfSquare(2, 2, 2, 3), {0, 0.5}},
    {"SlopeAboveTheGround", halfSquare(5, 4, 3, 1), {1.5, 0}},
    {"SlopeBelowTheGround", halfSquare(5, 4, 3, 6), {0, 1.0}},
    {"SlopeWithItsLowestOnTheGround", halfSquare(5, 4, 3, 3), {0.5, 0}},
    {"SlopeWithItsHighestOnTheGround", halfSquare(5, 4, 3, 5), {0, 0.5}},
    {"SlopeWithItsMiddleOnTheGround", halfSquare(5, 4, 3, 4), {0.08333333333333333, 0}},
    {"OneAboveTheGround", halfSquare(3, 1, 0, 2), {0.02777777777777778, 0.3611111111111111}},
    {"TwoAboveTheGround", halfSquare(3, 1, 0, 0.5), {0.2013888888888889, 0.22222222222222224}},
    {"LevelPairAboveTheGround", halfSquare(3, 3, 0, 1), {0.5185185185185185, 0.018518518518518514}},
    {"LevelPairBelowTheGround", halfSquare(0, 0, 3, 1), {0.14814814814814817, 0.14814814814814814}},
    {"LevelPairOnTheGroundUnderASummit", halfSquare(1, 1, 4, 1), {0.5, 0}},
    {"LevelPairOnTheGroundOverAPit", halfSquare(4, 4, 1, 4), {0, 0.5}},
};

class PrismFigure : public ::testing::TestWithParam<Figure>
{
};

std::string nameOf(const ::testing::TestParamInfo<Figure> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(stPrismKernel, PrismFigure, ::testing::ValuesIn(figures), nameOf);

TEST_P(PrismFigure, IsExact)
{
    const DigFill result = kernelVolumes(GetParam().triangle);
    EXPECT_EQ(result.dig, GetParam().expected.dig);
    EXPECT_EQ(result.fill, GetParam().expected.fill);
}

TEST_P(PrismFigure, DoesNotDependOnTheOrderOfTheCornersButForRounding)
{
    for (const CutTriangle &triangle : permutations(GetParam().triangle)) {
        const DigFill result = kernelVolumes(triangle);
        EXPECT_NEAR(result.dig, GetParam().expected.dig, 1e-15);
        EXPECT_NEAR(result.fill, GetParam().expected.fill, 1e-15);
    }
}

TEST_P(PrismFigure, IsTheSameWhereverTheTriangleStandsOnWholeNumbers)
{
    CutTriangle moved = GetParam().triangle;
    for (Corner &corner : moved.corners) {
        corner.x += 64;
        corner.y -= 32;
        corner.z += 8;
    }
    moved.ground += 8;
    const DigFill result = kernelVolumes(moved);
    EXPECT_NEAR(result.dig, GetParam().expected.dig, 1e-12);
    EXPECT_NEAR(result.fill, GetParam().expected.fill, 1e-12);
}

TEST(stPrismKernel, TellsAnAreaThatIsNeverNegative)
{
    EXPECT_EQ(stPrism::planeTriangleArea(0, 0, 1, 0, 0, 1), 0.5);
    EXPECT_EQ(stPrism::planeTriangleArea(0, 0, 0, 1, 1, 0), 0.5);
    EXPECT_EQ(stPrism::planeTriangleArea(-3, 2, 5, -1, 1, 7), 26.0);
    EXPECT_EQ(stPrism::planeTriangleArea(1, 1, 2, 2, 5, 5), 0.0);
    EXPECT_EQ(stPrism::planeTriangleArea(7, -3, 7, -3, 7, -3), 0.0);
}

TEST(stPrismKernel, AddsAndSubtractsTheProductsOfAnAreaInOneOrder)
{
    // 2^53 + 1 is not a double, so that three points on one line get an area in this order of the six products, and
    // none in the order that starts at another corner.
    const double big = 9007199254740992.0;
    EXPECT_EQ(stPrism::planeTriangleArea(1, 3, 1, big, 1, 1), 0.0);
    EXPECT_EQ(stPrism::planeTriangleArea(1, 1, 1, 3, 1, big), 0.0);
    EXPECT_EQ(stPrism::planeTriangleArea(1, big, 1, 1, 1, 3), 0.5);
}

TEST(stPrismKernel, TakesNoSignFromTheHeightOfAPrismOrPyramid)
{
    for (const double height : {6.0, -6.0}) {
        EXPECT_EQ(stPrism::trianglePrismVolume(0, 0, 1, 0, 0, 1, height), 3.0);
        EXPECT_EQ(stPrism::trianglePyramidVolume(0, 0, 1, 0, 0, 1, height), 1.0);
    }
    EXPECT_EQ(stPrism::trianglePrismVolume(0, 0, 1, 0, 0, 1, 0.0), 0.0);
    EXPECT_EQ(stPrism::trianglePyramidVolume(0, 0, 1, 1, 2, 2, 4.0), 0.0);
    EXPECT_EQ(stPrism::trianglePyramidVolume(0, 0, 2, 0, 0, 1, 0.1), 0.1 / 3.0);
}

struct Slope
{
    double z1, z2, z3;
    double overLowest, underHighest;
};

class PrismSlope : public ::testing::TestWithParam<Slope>
{
};

INSTANTIATE_TEST_SUITE_P(stPrismKernel, PrismSlope,
                         ::testing::Values(Slope{4, 4, 4, 0, 0}, Slope{1, 1, 4, 0.5, 1}, Slope{4, 4, 1, 1, 0.5},
                                           Slope{1, 4, 1, 0.5, 1}, Slope{1, 4, 4, 1, 0.5}, Slope{5, 4, 3, 0.5, 0.5},
                                           Slope{6, 0, 3, 1.5, 1.5}, Slope{-1, -4, -4, 0.5, 1}));

TEST_P(PrismSlope, IsMeasuredAgainstItsOwnExtremes)
{
    const Slope &slope = GetParam();
    const CutTriangle triangle = halfSquare(slope.z1, slope.z2, slope.z3, 0);
    EXPECT_EQ(overLowest(triangle), slope.overLowest);
    EXPECT_EQ(underHighest(triangle), slope.underHighest);
    for (const CutTriangle &same : permutations(triangle)) {
        EXPECT_NEAR(overLowest(same), slope.overLowest, 1e-15);
        EXPECT_NEAR(underHighest(same), slope.underHighest, 1e-15);
    }
}

TEST(stPrismKernel, MultipliesByTwoThirdsInsteadOfDividing)
{
    // For this step the two differ in the last bit.
    const double step = 2.1;
    ASSERT_NE(0.5 * step * 0.6666666666666666, 0.5 * step * 2.0 / 3.0);
    EXPECT_EQ(overLowest(halfSquare(step, step, 0, 0)), 0.5 * step * 0.6666666666666666);
    EXPECT_EQ(underHighest(halfSquare(0, 0, step, 0)), 0.5 * step * 0.6666666666666666);
}

TEST(stPrismKernel, CutsALineWhereItPassesTheHeight)
{
    const Corner low = {2, 10, 1};
    const Corner high = {6, -6, 9};
    EXPECT_EQ(cut(low, high, 3), (PlanarPoint{3, 6}));
    EXPECT_EQ(cut(low, high, 5), (PlanarPoint{4, 2}));
    EXPECT_EQ(cut(low, high, 8), (PlanarPoint{5.5, -4}));
}

TEST(stPrismKernel, HoldsACutToTheEndsOfTheLine)
{
    const Corner low = {0.1, 0.2, 1};
    const Corner high = {0.7, -0.3, 9};
    for (const double height : {1.0, 0.999, -50.0, -infinity}) {
        EXPECT_EQ(cut(low, high, height), (PlanarPoint{0.1, 0.2}));
        EXPECT_EQ(cut(high, low, height), (PlanarPoint{0.1, 0.2}));
    }
    for (const double height : {9.0, 9.001, 50.0, infinity}) {
        EXPECT_EQ(cut(low, high, height), (PlanarPoint{0.7, -0.3}));
        EXPECT_EQ(cut(high, low, height), (PlanarPoint{0.7, -0.3}));
    }
}

TEST(stPrismKernel, CutsALineInBothDirectionsToTheSameBit)
{
    const Corner low = {4500000.1, 0.3, 0.1};
    const Corner high = {4500017.9, -11.7, 7.3};
    for (int i = 0; i <= 100; ++i) {
        const double height = -0.2 + 0.077 * i;
        const PlanarPoint up = cut(low, high, height);
        EXPECT_EQ(up, cut(high, low, height));
        if (height > low.z && height < high.z) {
            EXPECT_EQ(up.x, low.x + (high.x - low.x) * (height - low.z) / (high.z - low.z));
            EXPECT_EQ(up.y, low.y + (high.y - low.y) * (height - low.z) / (high.z - low.z));
        }
    }
}

TEST(stPrismKernel, CutsALevelLineAtItsFirstEnd)
{
    for (const double height : {-1.0, 3.0, 7.0, infinity, notANumber}) {
        EXPECT_EQ(cut({1, 2, 3}, {4, 5, 3}, height), (PlanarPoint{1, 2}));
        EXPECT_EQ(cut({4, 5, 3}, {1, 2, 3}, height), (PlanarPoint{4, 5}));
    }
}

TEST(stPrismKernel, CutsNoLineAtAHeightThatIsNotANumber)
{
    const PlanarPoint up = cut({1, 2, 3}, {4, 5, 6}, notANumber);
    const PlanarPoint down = cut({1, 2, 6}, {4, 5, 3}, notANumber);
    EXPECT_TRUE(std::isnan(up.x) && std::isnan(up.y) && std::isnan(down.x) && std::isnan(down.y));
}

TEST(stPrismKernel, SortsThreeCornersFromTopToLow)
{
    const CutTriangle triangle = {{{{1, 2, 30}, {4, 5, 20}, {7, 8, 10}}}, 0};
    for (const CutTriangle &order : permutations(triangle))
        EXPECT_TRUE(topMiddleLow(order) == triangle.corners);
}

TEST(stPrismKernel, PartsTheLevelPairFromTheSingleCorner)
{
    const Corner a = {1, 2, 5};
    const Corner b = {3, 4, 5};
    const Corner single = {6, 7, 8};
    EXPECT_TRUE(pairAndSingle(a, b, single) == (Split{a, b, single}));
    EXPECT_TRUE(pairAndSingle(a, single, b) == (Split{a, b, single}));
    EXPECT_TRUE(pairAndSingle(single, a, b) == (Split{a, b, single}));
    EXPECT_TRUE(pairAndSingle(b, single, a) == (Split{b, a, single}));
    const Corner level = {6, 7, 5};
    EXPECT_TRUE(pairAndSingle(a, b, level) == (Split{a, b, level}));
}

TEST(stPrismKernel, TakesTheGroundBeforeTheHeights)
{
    DigFill result;
    stPrism::trianglePrismVolume(1, 10, 5, 10, 1, 16, 100, 101, 102, 103, result.dig, result.fill);
    EXPECT_EQ(result.dig, 24.0);
    EXPECT_EQ(result.fill, 0.0);
    stPrism::trianglePrismVolume(1, 10, 5, 10, 1, 16, 103, 101, 101, 102, result.dig, result.fill);
    EXPECT_EQ(result.dig, 0.0);
    EXPECT_EQ(result.fill, 20.0);
}

TEST(stPrismKernel, GivesADegenerateTriangleNoVolumeWhateverItsHeights)
{
    const double heights[] = {-7, 0, 2, 2.5, 1e300, infinity, -infinity, notANumber};
    const std::array<Corner, 3> flat[] = {
        {{{1, 1, 0}, {2, 2, 0}, {5, 5, 0}}}, {{{3, 0, 0}, {3, 7, 0}, {3, 9, 0}}}, {{{2, 4, 0}, {2, 4, 0}, {9, -3, 0}}}};
    for (CutTriangle triangle : {CutTriangle{flat[0], 2}, CutTriangle{flat[1], 2}, CutTriangle{flat[2], 2}}) {
        for (const double z1 : heights) {
            for (const double z2 : heights) {
                triangle.corners[0].z = z1;
                triangle.corners[1].z = z2;
                triangle.corners[2].z = 1;
                const DigFill result = kernelVolumes(triangle);
                EXPECT_EQ(result.dig, 0.0);
                EXPECT_EQ(result.fill, 0.0);
            }
        }
    }
}

TEST(stPrismKernel, GivesATriangleWithoutAPlaceNoVolume)
{
    for (int i = 0; i < 3; ++i) {
        for (const double bad : {notANumber, infinity, -infinity}) {
            CutTriangle triangle = halfSquare(3, 1, 0, 0.5);
            triangle.corners[static_cast<std::size_t>(i)].x = bad;
            const DigFill result = kernelVolumes(triangle);
            EXPECT_EQ(result.dig, 0.0);
            EXPECT_EQ(result.fill, 0.0);
        }
    }
}

TEST(stPrismKernel, KeepsWhatIsInfiniteOrNoNumber)
{
    EXPECT_EQ(kernelVolumes(halfSquare(infinity, infinity, infinity, 0)).dig, infinity);
    EXPECT_EQ(kernelVolumes(halfSquare(-infinity, -infinity, -infinity, 0)).fill, infinity);
    EXPECT_EQ(kernelVolumes(halfSquare(1, 1, 1, infinity)).fill, infinity);
    EXPECT_EQ(kernelVolumes(halfSquare(maxDouble, maxDouble, maxDouble, -maxDouble)).dig, infinity);
    EXPECT_TRUE(std::isnan(kernelVolumes(halfSquare(1, 1, 1, notANumber)).fill));
    const DigFill crossed = kernelVolumes(halfSquare(3, 1, 0, notANumber));
    EXPECT_TRUE(std::isnan(crossed.dig));
    EXPECT_TRUE(std::isnan(crossed.fill));
    const CutTriangle endless = {{{{0, 0, 2}, {1e200, 0, 2}, {0, 1e200, 2}}}, 1};
    EXPECT_EQ(kernelVolumes(endless).dig, infinity);
}

TEST(stPrismKernel, ComparesHeightsWithoutTolerance)
{
    // A hair above the plane the middle corner makes two corners above, and the top pyramid counts as fill.
    const double hair = std::nextafter(4.0, 5.0);
    EXPECT_EQ(kernelVolumes(halfSquare(5, 4, 3, 4)).fill, 0.0);
    EXPECT_NEAR(kernelVolumes(halfSquare(5, hair, 3, 4)).fill, 0.25 / 3, 1e-12);
    // A hair apart, two corners are no level pair.
    EXPECT_NEAR(kernelVolumes(halfSquare(std::nextafter(3.0, 4.0), 3, 0, 1)).fill, 0.0, 1e-12);
    EXPECT_GT(kernelVolumes(halfSquare(3, 3, 0, 1)).fill, 0.018);
}

} // namespace
