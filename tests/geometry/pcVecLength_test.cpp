#include "GeometryTesting.h"

#include "pcVec.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace geometry;
using namespace ptCloud;

namespace
{

// Precisions convert into each other, numbers of components do not; a vector of three makes one of four with its w.
static_assert(std::is_convertible_v<pcVec3f, pcVec3d> && std::is_convertible_v<pcVec3d, pcVec3f>);
static_assert(std::is_convertible_v<pcVec4f, pcVec4d> && std::is_convertible_v<pcVec4d, pcVec4f>);
static_assert(std::is_convertible_v<const pcVec3d &, pcVec3f> && std::is_convertible_v<const pcVec4d &, pcVec4f>);
static_assert(!std::is_constructible_v<pcVec3f, pcVec4f> && !std::is_constructible_v<pcVec3d, pcVec4d>);
static_assert(!std::is_constructible_v<pcVec4f, pcVec3f> && !std::is_constructible_v<pcVec4d, pcVec3d>);
static_assert(std::is_constructible_v<pcVec4f, const pcVec3f &, float>);
static_assert(std::is_constructible_v<pcVec4d, const pcVec3d &, double>);
static_assert(!std::is_constructible_v<pcVec3f, const pcVec3f &, float>);

template <typename V>
class VecLength : public ::testing::Test
{
};
using FloatVecs = ::testing::Types<pcVec3f, pcVec3d, pcVec4f, pcVec4d>;
TYPED_TEST_SUITE(VecLength, FloatVecs);

/// A value whose square can't be told from 0 in its precision.
template <typename S>
constexpr S tiny = sizeof(S) == 4 ? S(1e-30F) : static_cast<S>(1e-300);
/// A finite value whose square is infinite.
template <typename S>
constexpr S huge = sizeof(S) == 4 ? S(1e30F) : static_cast<S>(1e300);

TYPED_TEST(VecLength, HasATermForEachComponent)
{
    using S = ScalarOf<TypeParam>;
    const auto v = make<TypeParam>({2, 3, 6, 24});
    EXPECT_EQ(v.length2(), sizeOf<TypeParam> == 3 ? S(49) : S(625));
    EXPECT_EQ(v.length(), sizeOf<TypeParam> == 3 ? S(7) : S(25));
}

TEST(VecLength4, CountsTheFourthComponent)
{
    EXPECT_EQ(pcVec4d(3, 0, 0, 4).length(), 5.0);
    EXPECT_EQ(pcVec4f(3, 0, 0, 4).length(), 5.0F);
    EXPECT_EQ(pcVec4d(0, 0, 0, -2).length2(), 4.0);
}

TYPED_TEST(VecLength, IsTheRootInTheOwnPrecision)
{
    using S = ScalarOf<TypeParam>;
    const auto v = make<TypeParam>({1, 1, 1, 0});
    EXPECT_EQ(v.length(), std::sqrt(S(3)));
    EXPECT_EQ(make<TypeParam>({huge<S>, 0, 0, 0}).length2(), infinity<S>);
    EXPECT_EQ(make<TypeParam>({huge<S>, 0, 0, 0}).length(), infinity<S>);
    EXPECT_EQ(make<TypeParam>({tiny<S>, 0, 0, 0}).length(), S(0));
}

TYPED_TEST(VecLength, SquaresAreSummedFromLeftToRight)
{
    using S = ScalarOf<TypeParam>;
    // The large square's neighbour is 2 above it: 1 + 1 is seen, 1 alone goes to the even side, which is below.
    const S large = sizeof(S) == 4 ? S(4096) : S(3 << 25);
    const S square = large * large;
    ASSERT_EQ(square + S(1), square);
    ASSERT_NE(square + S(2), square);
    EXPECT_EQ(make<TypeParam>({1, 1, large, 0}).length2(), square + S(2));
    EXPECT_EQ(make<TypeParam>({large, 1, 1, 0}).length2(), square);
}

TYPED_TEST(VecLength, NormalizeScalesByOneReciprocalAndGivesTheOldLength)
{
    using S = ScalarOf<TypeParam>;
    for (int n = 1; n <= 100; ++n) {
        const std::array<S, 4> old = {S(2 * n), S(-3 * n), S(6 * n), S(0)};
        auto v = make<TypeParam>(old);
        ASSERT_EQ(v.normalize(), S(7 * n)) << n;
        const S factor = S(1) / S(7 * n);
        ASSERT_EQ(components(v), expected<TypeParam>({old[0] * factor, old[1] * factor, old[2] * factor, S(0)})) << n;
    }
}

TYPED_TEST(VecLength, NormalizeLeavesAZeroVectorAndGivesZero)
{
    using S = ScalarOf<TypeParam>;
    auto v = make<TypeParam>({0, S(-0.0), 0, 0});
    const auto before = bits(v);
    EXPECT_EQ(v.normalize(), S(0));
    EXPECT_EQ(bits(v), before);
}

TYPED_TEST(VecLength, NormalizeLeavesAVectorTooSmallToMeasure)
{
    using S = ScalarOf<TypeParam>;
    auto v = make<TypeParam>({tiny<S>, 0, -tiny<S>, 0});
    EXPECT_EQ(v.normalize(), S(0));
    EXPECT_EQ(components(v), expected<TypeParam>({tiny<S>, 0, -tiny<S>, 0}));
}

TYPED_TEST(VecLength, NormalizeLeavesAVectorWithNaNAndGivesNaN)
{
    using S = ScalarOf<TypeParam>;
    for (unsigned int i = 0; i < sizeOf<TypeParam>; ++i) {
        auto v = withComponent<TypeParam>(i, notANumber<S>, S(2));
        const auto before = bits(v);
        EXPECT_TRUE(std::isnan(v.normalize())) << "component " << i;
        EXPECT_EQ(bits(v), before) << "component " << i;
    }
}

TYPED_TEST(VecLength, NormalizeOfAnInfiniteLengthGivesZeros)
{
    using S = ScalarOf<TypeParam>;
    auto v = make<TypeParam>({huge<S>, 1, 0, 0});
    EXPECT_EQ(v.normalize(), infinity<S>);
    EXPECT_EQ(v, TypeParam());

    auto infinite = make<TypeParam>({infinity<S>, 1, 0, 0});
    EXPECT_EQ(infinite.normalize(), infinity<S>);
    EXPECT_TRUE(std::isnan(infinite.x()));
    EXPECT_EQ(infinite.y(), S(0));
}

TYPED_TEST(VecLength, OneNaNMakesAVectorInvalid)
{
    using S = ScalarOf<TypeParam>;
    EXPECT_TRUE(TypeParam().valid());
    EXPECT_FALSE(TypeParam().isNaN());
    for (unsigned int i = 0; i < sizeOf<TypeParam>; ++i) {
        const auto v = withComponent<TypeParam>(i, notANumber<S>, S(1));
        EXPECT_TRUE(v.isNaN()) << "component " << i;
        EXPECT_FALSE(v.valid()) << "component " << i;
    }
}

TYPED_TEST(VecLength, InfinitiesAreValid)
{
    using S = ScalarOf<TypeParam>;
    for (unsigned int i = 0; i < sizeOf<TypeParam>; ++i) {
        const auto v = withComponent<TypeParam>(i, i % 2 == 0 ? infinity<S> : -infinity<S>, S(1));
        EXPECT_TRUE(v.valid()) << "component " << i;
        EXPECT_FALSE(v.isNaN()) << "component " << i;
    }
}

/// A vector in both precisions.
template <typename Float, typename Double>
struct Precisions
{
    using Narrow = Float;
    using Wide = Double;
};
template <typename P>
class VecConversion : public ::testing::Test
{
};
using ConversionPairs = ::testing::Types<Precisions<pcVec3f, pcVec3d>, Precisions<pcVec4f, pcVec4d>>;
TYPED_TEST_SUITE(VecConversion, ConversionPairs);

TYPED_TEST(VecConversion, WideningKeepsEveryValue)
{
    using Narrow = typename TypeParam::Narrow;
    using Wide = typename TypeParam::Wide;
    const Wide wide = make<Narrow>({0.1F, -1e-40F, 3.4e38F, -0.0F});
    EXPECT_EQ(components(wide), expected<Wide>({static_cast<double>(0.1F), static_cast<double>(-1e-40F),
                                                static_cast<double>(3.4e38F), -0.0}));

    const Wide special = make<Narrow>({infinity<float>, notANumber<float>, -infinity<float>, 0.0F});
    EXPECT_EQ(special.x(), infinity<double>);
    EXPECT_TRUE(std::isnan(special.y()));
    EXPECT_EQ(special.z(), -infinity<double>);
}

TYPED_TEST(VecConversion, NarrowingRoundsToTheNearest)
{
    using Narrow = typename TypeParam::Narrow;
    using Wide = typename TypeParam::Wide;
    // The neighbours of 1 are 2^-23 above; a tie goes to the even one.
    const double half = std::ldexp(1.0, -24);
    const Wide wide = make<Wide>({0.1, 1.0 + half, 1.0 + 3 * half, 1.0 + 1.5 * half});
    const Narrow narrow = wide;
    const float next = std::nextafter(1.0F, 2.0F);
    EXPECT_EQ(components(narrow), expected<Narrow>({0.1F, 1.0F, std::nextafter(next, 2.0F), next}));
}

TYPED_TEST(VecConversion, NarrowingKeepsSpecialValues)
{
    using Narrow = typename TypeParam::Narrow;
    using Wide = typename TypeParam::Wide;
    Narrow narrow;
    narrow = make<Wide>({infinity<double>, notANumber<double>, -0.0, 1e-300});
    EXPECT_EQ(narrow.x(), infinity<float>);
    EXPECT_TRUE(std::isnan(narrow.y()));
    EXPECT_TRUE(narrow.z() == 0.0F && std::signbit(narrow.z()));
}

TEST(VecOfFour, TakesAVectorOfThreeAndTheFourthComponent)
{
    EXPECT_EQ(pcVec4f(pcVec3f(1, 2, 3), 4), pcVec4f(1, 2, 3, 4));
    EXPECT_EQ(pcVec4d(pcVec3d(0.1, 0.2, 0.3), 0.4), pcVec4d(0.1, 0.2, 0.3, 0.4));
}

} // namespace
