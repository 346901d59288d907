#include "PrismTesting.h"

#include "stPrism.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <string>
#include <utility>

using namespace ptCloud;
using namespace volume;
using support::Corner;
using support::CutTriangle;

namespace
{

constexpr unsigned int seed = 20817;
constexpr int rounds = 3000;
/// Beside volumes of up to some ten thousands, what rounding may do.
constexpr double rounding = 1e-8;

/// How the heights of a triangle lie to the ground.
enum class Lie { Level, PairAbove, PairBelow, PairCrossed, AllAbove, AllBelow, TwoAbove, OneAbove, OneAboveEvenly };

struct LieName
{
    Lie lie;
    const char *name;
};

const LieName exactLies[] = {
    {Lie::Level, "Level"},
    {Lie::PairAbove, "PairAbove"},
    {Lie::PairBelow, "PairBelow"},
    {Lie::PairCrossed, "PairCrossed"},
    {Lie::AllAbove, "AllAbove"},
    {Lie::AllBelow, "AllBelow"},
    {Lie::OneAboveEvenly, "OneAboveEvenly"},
};
const LieName crossedLies[] = {{Lie::TwoAbove, "TwoAbove"}, {Lie::OneAbove, "OneAbove"}};

std::string nameOf(const ::testing::TestParamInfo<LieName> &info)
{
    return info.param.name;
}

std::array<double, 3> sortedHeights(const CutTriangle &t)
{
    std::array<double, 3> z = {t.corners[0].z, t.corners[1].z, t.corners[2].z};
    std::sort(z.begin(), z.end());
    return z;
}

Lie lieOf(const CutTriangle &triangle)
{
    const auto [low, middle, top] = sortedHeights(triangle);
    const double ground = triangle.ground;
    const bool pair = low == middle || middle == top;
    if (low == top)
        return Lie::Level;
    if (low >= ground)
        return pair ? Lie::PairAbove : Lie::AllAbove;
    if (top <= ground)
        return pair ? Lie::PairBelow : Lie::AllBelow;
    if (pair)
        return Lie::PairCrossed;
    if (middle > ground)
        return Lie::TwoAbove;
    return ground - middle == middle - low ? Lie::OneAboveEvenly : Lie::OneAbove;
}

bool isDegenerate(const CutTriangle &t)
{
    const auto &[a, b, c] = t.corners;
    return (b.x - a.x) * (c.y - a.y) == (c.x - a.x) * (b.y - a.y);
}

/// Triangles whose numbers are eighths, so that heights coincide often and areas are free of rounding.
class EighthsTriangles
{
public:
    CutTriangle next()
    {
        CutTriangle triangle;
        do {
            for (Corner &corner : triangle.corners)
                corner = {eighths(-800, 800), eighths(-800, 800), eighths(-24, 24)};
            triangle.ground = eighths(-24, 24);
        } while (isDegenerate(triangle));
        return triangle;
    }

    CutTriangle next(Lie lie)
    {
        CutTriangle triangle = next();
        while (lieOf(triangle) != lie) {
            triangle = next();
            // Some lies are rare by chance alone.
            if (lie == Lie::Level || lie == Lie::PairAbove || lie == Lie::PairBelow || lie == Lie::PairCrossed)
                triangle.corners[1].z = triangle.corners[0].z;
            if (lie == Lie::Level)
                triangle.corners[2].z = triangle.corners[0].z;
            std::shuffle(triangle.corners.begin(), triangle.corners.end(), m_random);
        }
        return triangle;
    }

private:
    double eighths(int from, int to) { return std::uniform_int_distribution<int>(from, to)(m_random) / 8.0; }

    std::mt19937 m_random{seed};
};

/// The rules of the kernel written down plainly, step by step and in their order.
namespace plain
{

double area(const Corner &p, const Corner &q, const Corner &r)
{
    return std::fabs(p.x * q.y + q.x * r.y + r.x * p.y - p.x * r.y - q.x * p.y - r.x * q.y) * 0.5;
}

/// Where the line between two corners of different heights passes the height.
Corner cut(Corner low, Corner high, double height)
{
    if (low.z > high.z)
        std::swap(low, high);
    if (low.z >= height)
        return low;
    if (height >= high.z)
        return high;
    return {low.x + (high.x - low.x) * (height - low.z) / (high.z - low.z),
            low.y + (high.y - low.y) * (height - low.z) / (high.z - low.z), height};
}

/// Top, middle, low.
std::array<Corner, 3> sorted(std::array<Corner, 3> corners)
{
    std::sort(corners.begin(), corners.end(), [](const Corner &a, const Corner &b) { return a.z > b.z; });
    return corners;
}

/// The level pair and the single corner.
std::array<Corner, 3> paired(const std::array<Corner, 3> &c)
{
    if (c[0].z == c[1].z)
        return c;
    if (c[0].z == c[2].z)
        return {{c[0], c[2], c[1]}};
    return {{c[1], c[2], c[0]}};
}

double overLowest(const CutTriangle &triangle)
{
    const auto [top, middle, low] = sorted(triangle.corners);
    const Corner split = cut(top, low, middle.z);
    return area(top, middle, split) * (top.z - middle.z) / 3 + area(top, middle, low) * (middle.z - low.z)
           - area(middle, split, low) * (middle.z - low.z) / 3;
}

DigFill pairCrossed(const CutTriangle &triangle)
{
    const auto [q1, q2, s] = paired(triangle.corners);
    const double h = triangle.ground;
    const double small = area(s, cut(s, q1, h), cut(s, q2, h));
    const double full = area(q1, q2, s);
    const double single = std::fabs(s.z - h) * small / 3;
    const double rest = std::fabs(h - q1.z) * full - (std::fabs(s.z - q1.z) * full / 3 - single);
    return s.z > q1.z ? DigFill{single, rest} : DigFill{rest, single};
}

DigFill twoAbove(const CutTriangle &triangle)
{
    const auto [top, middle, low] = sorted(triangle.corners);
    const double h = triangle.ground;
    const Corner c1 = cut(top, low, middle.z);
    const Corner c2 = cut(middle, low, h);
    const Corner c3 = cut(top, low, h);
    const double w = area(low, c2, c3) * (h - low.z) / 3;
    const double dig = area(top, middle, low) * (middle.z - h) - (area(middle, low, c1) * (middle.z - low.z) / 3 - w);
    return {dig, area(top, middle, c1) * (top.z - middle.z) / 3};
}

DigFill oneAbove(const CutTriangle &triangle)
{
    const auto [top, middle, low] = sorted(triangle.corners);
    const double h = triangle.ground;
    const Corner c3 = cut(top, low, middle.z);
    const double dig = area(top, cut(top, middle, h), cut(top, low, h)) * (top.z - h) / 3;
    const double fill = area(top, middle, low) * (h - middle.z) - (area(top, middle, c3) * (top.z - middle.z) / 3 - dig)
                        + area(middle, low, c3) * (h - middle.z) / 3;
    return {dig, fill};
}

DigFill volumes(const CutTriangle &triangle)
{
    const auto &[a, b, c] = triangle.corners;
    const double whole = area(a, b, c);
    const auto [low, middle, top] = sortedHeights(triangle);
    const double h = triangle.ground;
    switch (lieOf(triangle)) {
    case Lie::Level:
        return a.z > h ? DigFill{(a.z - h) * whole, 0} : DigFill{0, (h - a.z) * whole};
    case Lie::PairAbove:
        return {(low == middle ? std::fabs(whole * (top - low)) / 3.0 : whole * (top - low) * 0.6666666666666666)
                    + (low - h) * whole,
                0};
    case Lie::PairBelow:
        return {0, (low == middle ? whole * (top - low) * 0.6666666666666666 : std::fabs(whole * (top - low)) / 3.0)
                       + (h - top) * whole};
    case Lie::PairCrossed:
        return pairCrossed(triangle);
    case Lie::AllAbove:
        return {overLowest(triangle) + std::fabs((low - h) * whole), 0};
    case Lie::AllBelow: {
        const auto [t, m, l] = sorted(triangle.corners);
        return {0, area(t, m, l) * (top - low) - overLowest(triangle) + std::fabs((h - top) * whole)};
    }
    case Lie::TwoAbove:
        return twoAbove(triangle);
    default:
        return oneAbove(triangle);
    }
}

} // namespace plain

std::string text(const CutTriangle &triangle)
{
    std::ostringstream out;
    out.precision(17);
    for (const Corner &corner : triangle.corners)
        out << "(" << corner.x << ", " << corner.y << ", " << corner.z << ") ";
    out << "ground " << triangle.ground << ", seed " << seed;
    return out.str();
}

void expectPlain(const CutTriangle &triangle)
{
    SCOPED_TRACE(text(triangle));
    const DigFill result = kernelVolumes(triangle);
    const DigFill expected = plain::volumes(triangle);
    EXPECT_EQ(result.dig, expected.dig);
    EXPECT_EQ(result.fill, expected.fill);
}

void expectNear(const DigFill &result, long double dig, long double fill)
{
    EXPECT_NEAR(result.dig, static_cast<double>(dig), rounding);
    EXPECT_NEAR(result.fill, static_cast<double>(fill), rounding);
}

class ExactPrism : public ::testing::TestWithParam<LieName>
{
protected:
    CutTriangle next() { return m_triangles.next(GetParam().lie); }

private:
    EighthsTriangles m_triangles;
};
class CrossedPrism : public ExactPrism
{
};

INSTANTIATE_TEST_SUITE_P(stPrismExact, ExactPrism, ::testing::ValuesIn(exactLies), nameOf);
INSTANTIATE_TEST_SUITE_P(stPrismExact, CrossedPrism, ::testing::ValuesIn(crossedLies), nameOf);

TEST_P(ExactPrism, IsTheClippedSolid)
{
    for (int i = 0; i < rounds; ++i) {
        const CutTriangle triangle = next();
        SCOPED_TRACE(text(triangle));
        const support::ExactVolumes exact = support::exactVolumes(triangle);
        expectNear(kernelVolumes(triangle), exact.dig, exact.fill);
    }
}

TEST_P(ExactPrism, IsComputedInOneOrderOfSteps)
{
    for (int i = 0; i < rounds; ++i)
        expectPlain(next());
}

TEST_P(ExactPrism, SwapsDigAndFillWhenMirroredAtTheGround)
{
    for (int i = 0; i < rounds; ++i) {
        CutTriangle triangle = next();
        SCOPED_TRACE(text(triangle));
        const DigFill upright = kernelVolumes(triangle);
        for (Corner &corner : triangle.corners)
            corner.z = 2 * triangle.ground - corner.z;
        // The mirror image of one corner above is two corners above, which is no exact solid.
        if (GetParam().lie != Lie::OneAboveEvenly)
            expectNear(kernelVolumes(triangle), upright.fill, upright.dig);
        else
            expectPlain(triangle);
    }
}

TEST_P(ExactPrism, IsTheSumOfItsHalves)
{
    // The halves of a crossed triangle may be ones that are not cut exactly.
    const bool halvesAreExact = GetParam().lie != Lie::PairCrossed && GetParam().lie != Lie::OneAboveEvenly;
    for (int i = 0; i < rounds; ++i) {
        const CutTriangle triangle = next();
        SCOPED_TRACE(text(triangle));
        const auto &[a, b, c] = triangle.corners;
        const Corner halfway = {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
        const CutTriangle halves[] = {{{{a, halfway, c}}, triangle.ground}, {{{halfway, b, c}}, triangle.ground}};
        const DigFill whole = kernelVolumes(triangle);
        const DigFill first = kernelVolumes(halves[0]);
        const DigFill second = kernelVolumes(halves[1]);
        if (halvesAreExact)
            expectNear(whole, first.dig + second.dig, first.fill + second.fill);
        for (const CutTriangle &half : halves)
            expectPlain(half);
    }
}

TEST_P(CrossedPrism, FollowsItsOwnFormulaToTheBit)
{
    for (int i = 0; i < rounds; ++i)
        expectPlain(next());
}

TEST_P(CrossedPrism, DoesNotDependOnTheOrderOfTheCornersButForRounding)
{
    for (int i = 0; i < rounds; ++i) {
        const CutTriangle triangle = next();
        SCOPED_TRACE(text(triangle));
        const DigFill first = kernelVolumes(triangle);
        for (const CutTriangle &same : permutations(triangle))
            expectNear(kernelVolumes(same), first.dig, first.fill);
    }
}

TEST_P(CrossedPrism, IsNotTheClippedSolid)
{
    int differ = 0;
    for (int i = 0; i < rounds; ++i) {
        const CutTriangle triangle = next();
        const support::ExactVolumes exact = support::exactVolumes(triangle);
        const DigFill result = kernelVolumes(triangle);
        differ += std::fabs(result.fill - static_cast<double>(exact.fill)) > rounding ? 1 : 0;
    }
    EXPECT_GT(differ, rounds / 2);
}

TEST(stPrismExact, CutsLevelGroundIntoPiecesOfTheSameSum)
{
    EighthsTriangles triangles;
    for (int i = 0; i < rounds; ++i) {
        const CutTriangle triangle = triangles.next(Lie::Level);
        const auto &[a, b, c] = triangle.corners;
        const Corner halfway = {(a.x + b.x) / 2, (a.y + b.y) / 2, a.z};
        const DigFill whole = kernelVolumes(triangle);
        const DigFill first = kernelVolumes({{{a, halfway, c}}, triangle.ground});
        const DigFill second = kernelVolumes({{{c, halfway, b}}, triangle.ground});
        // In binary fractions of so few digits nothing rounds.
        EXPECT_EQ(whole.dig, first.dig + second.dig) << text(triangle);
        EXPECT_EQ(whole.fill, first.fill + second.fill) << text(triangle);
    }
}

/// Heights that are equal, a hair apart, or apart, in any order, on and beside the ground.
TEST(stPrismExact, TellsHeightsApartThatDifferInTheLastBit)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> step(-1, 1);
    std::uniform_int_distribution<int> whole(1, 3);
    std::uniform_real_distribution<double> place(-50, 50);
    const auto height = [&] {
        const double z = whole(random);
        const int beside = step(random);
        return beside == 0 ? z : std::nextafter(z, beside > 0 ? infinity : -infinity);
    };
    for (int i = 0; i < 20 * rounds; ++i) {
        CutTriangle triangle;
        for (Corner &corner : triangle.corners)
            corner = {place(random), place(random), height()};
        triangle.ground = height();
        expectPlain(triangle);
    }
}

TEST(stPrismExact, KeepsTheOrderOfStepsFarFromTheOrigin)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> east(500000, 500010);
    std::uniform_real_distribution<double> north(4500000, 4500010);
    std::uniform_real_distribution<double> up(-10, 10);
    int solid = 0;
    for (int i = 0; i < 20 * rounds; ++i) {
        CutTriangle triangle;
        for (Corner &corner : triangle.corners)
            corner = {east(random), north(random), up(random)};
        triangle.ground = up(random);
        const auto &[a, b, c] = triangle.corners;
        if (plain::area(a, b, c) <= 0)
            continue;
        ++solid;
        expectPlain(triangle);
    }
    EXPECT_GT(solid, 10 * rounds);
}

} // namespace
