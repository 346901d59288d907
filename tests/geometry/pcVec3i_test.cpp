#include "GeometryTesting.h"

#include "pcVec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>

using namespace geometry;
using namespace ptCloud;

namespace ptCloud
{

// Found by GoogleTest, which shows a vector that it did not expect.
static void PrintTo(const pcVec3i &v, std::ostream *stream)
{
    *stream << '(' << v.x << ", " << v.y << ", " << v.z << ')';
}

} // namespace ptCloud

namespace
{

static_assert(sizeof(pcVec3i) == 12 && std::is_standard_layout_v<pcVec3i> && std::is_trivially_copyable_v<pcVec3i>);
static_assert(offsetof(pcVec3i, x) == 0 && offsetof(pcVec3i, y) == 4 && offsetof(pcVec3i, z) == 8);
static_assert(std::is_same_v<decltype(pcVec3i::x), int>);
static_assert(std::is_same_v<decltype(pcVec3i::y), int>);
static_assert(std::is_same_v<decltype(pcVec3i::z), int>);
static_assert(std::is_same_v<decltype(std::declval<pcVec3i &>() = std::declval<const pcVec3i &>()), pcVec3i &>);
static_assert(std::is_same_v<decltype(std::declval<pcVec3i &>() = std::declval<pcVec3i &&>()), pcVec3i &>);
static_assert(std::is_same_v<decltype(&pcVec3i::operator*), pcVec3i (pcVec3i::*)(float) const>);
static_assert(std::is_same_v<decltype(&pcVec3i::operator/), pcVec3i (pcVec3i::*)(float) const>);
static_assert(std::is_same_v<decltype(&pcVec3i::operator*=), pcVec3i &(pcVec3i::*)(float)>);
static_assert(std::is_same_v<decltype(&pcVec3i::operator/=), pcVec3i &(pcVec3i::*)(float)>);
static_assert(std::is_same_v<decltype(&pcVec3i::operator^), pcVec3i (pcVec3i::*)(const pcVec3i &) const>);
static_assert(std::is_same_v<decltype(&pcVec3i::operator+=), pcVec3i &(pcVec3i::*)(const pcVec3i &)>);
static_assert(std::is_same_v<decltype(&pcVec3i::operator-=), pcVec3i &(pcVec3i::*)(const pcVec3i &)>);
static_assert(std::is_same_v<decltype(&pcVec3i::length2), int (pcVec3i::*)() const>);
static_assert(std::is_same_v<decltype(&pcVec3i::length), int (pcVec3i::*)() const>);

// The members are public; there is no accessor, no subscript, no dot product and nothing that floats alone have.
template <typename V>
using Subscript = decltype(std::declval<V &>()[0]);
template <typename V>
using Dot = decltype(std::declval<const V &>() * std::declval<const V &>());
template <typename V>
using Set = decltype(std::declval<V &>().set(1, 2, 3));
template <typename V>
using Normalize = decltype(std::declval<V &>().normalize());
template <typename V>
using IsNaN = decltype(std::declval<V &>().isNaN());
template <typename V>
using Valid = decltype(std::declval<V &>().valid());
static_assert(hasAll<pcVec3f, Subscript, Dot, Set, Normalize, IsNaN, Valid>);
static_assert(hasNone<pcVec3i, Subscript, Dot, Set, Normalize, IsNaN, Valid>);
static_assert(!std::is_convertible_v<pcVec3i, pcVec3f> && !std::is_convertible_v<pcVec3f, pcVec3i>);

/// The same value on all three axes.
pcVec3i all(int value)
{
    return {value, value, value};
}

TEST(pcVec3i, IsAllZeroByDefault)
{
    EXPECT_EQ(stored<int>(pcVec3i()), (std::vector<int>{0, 0, 0}));
}

TEST(pcVec3i, StoresItsComponentsInOrderAndNothingElse)
{
    const std::array<pcVec3i, 2> pair = {pcVec3i(1, 2, 3), pcVec3i(4, 5, 6)};
    EXPECT_EQ(stored<int>(pair), (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST(pcVec3i, AssignmentCopiesAndGivesTheObject)
{
    pcVec3i source(1, 2, 3);
    pcVec3i copied;
    EXPECT_EQ(&(copied = source), &copied);
    EXPECT_EQ(copied, pcVec3i(1, 2, 3));
    pcVec3i moved;
    EXPECT_EQ(&(moved = std::move(source)), &moved);
    EXPECT_EQ(moved, pcVec3i(1, 2, 3));
}

TEST(pcVec3i, EqualityLooksAtEveryComponent)
{
    const pcVec3i v(1, 2, 3);
    EXPECT_TRUE(v == pcVec3i(1, 2, 3));
    EXPECT_FALSE(v != pcVec3i(1, 2, 3));
    for (const pcVec3i &other : {pcVec3i(0, 2, 3), pcVec3i(1, 0, 3), pcVec3i(1, 2, 0)}) {
        EXPECT_FALSE(v == other);
        EXPECT_TRUE(v != other);
    }
}

TEST(pcVec3i, OrdersByTheFirstComponentThatDiffers)
{
    const pcVec3i v(1, 1, 1);
    EXPECT_FALSE(v < pcVec3i(1, 1, 1));
    for (const pcVec3i &larger : {pcVec3i(2, -5, -5), pcVec3i(1, 2, -5), pcVec3i(1, 1, 2)}) {
        EXPECT_TRUE(v < larger);
        EXPECT_FALSE(larger < v);
    }
    // A difference would wrap here.
    EXPECT_TRUE(all(INT_MIN) < all(INT_MAX));
    EXPECT_FALSE(all(INT_MAX) < all(INT_MIN));
}

TEST(pcVec3i, AddsSubtractsAndNegatesByComponent)
{
    const pcVec3i a(1, -2, 3);
    const pcVec3i b(10, 20, -30);
    EXPECT_EQ(a + b, pcVec3i(11, 18, -27));
    EXPECT_EQ(a - b, pcVec3i(-9, -22, 33));
    EXPECT_EQ(-a, pcVec3i(-1, 2, -3));

    pcVec3i v = a;
    EXPECT_EQ(&(v += b), &v);
    EXPECT_EQ(v, pcVec3i(11, 18, -27));
    EXPECT_EQ(&(v -= b), &v);
    EXPECT_EQ(v, a);
}

TEST(pcVec3i, SumsAndDifferencesWrapAround)
{
    EXPECT_EQ(pcVec3i(INT_MAX, 0, 0) + pcVec3i(1, 0, 0), pcVec3i(INT_MIN, 0, 0));
    EXPECT_EQ(pcVec3i(0, INT_MIN, 0) + pcVec3i(0, -1, 0), pcVec3i(0, INT_MAX, 0));
    EXPECT_EQ(pcVec3i(0, 0, INT_MIN) - pcVec3i(0, 0, 1), pcVec3i(0, 0, INT_MAX));
    EXPECT_EQ(-all(INT_MIN), all(INT_MIN));

    pcVec3i v = all(INT_MAX);
    v += all(INT_MAX);
    EXPECT_EQ(v, all(-2));
    v = all(INT_MIN);
    v -= all(INT_MAX);
    EXPECT_EQ(v, all(1));
}

TEST(pcVec3i, ScalingTruncatesTowardZero)
{
    EXPECT_EQ(pcVec3i(7, -7, 1) * 0.5F, pcVec3i(3, -3, 0));
    EXPECT_EQ(pcVec3i(7, -7, 1) / 2.0F, pcVec3i(3, -3, 0));
    EXPECT_EQ(pcVec3i(10, -10, 1) / 4.0F, pcVec3i(2, -2, 0));

    pcVec3i v(7, -7, 1);
    EXPECT_EQ(&(v *= 0.5F), &v);
    EXPECT_EQ(v, pcVec3i(3, -3, 0));
    EXPECT_EQ(&(v /= 2.0F), &v);
    EXPECT_EQ(v, pcVec3i(1, -1, 0));
}

TEST(pcVec3i, ScalingRunsInFloat)
{
    // 0.7F is below 0.7 and 0.1F above 0.1: in double these are 6.99999988 and 9.99999985.
    EXPECT_EQ(all(10) * 0.7F, all(7));
    EXPECT_EQ(all(1) / 0.1F, all(10));
    // A reciprocal would give 0.
    EXPECT_EQ(all(41) / 41.0F, all(1));
}

TEST(pcVec3i, ScalingLosesWhatAFloatCannotHold)
{
    EXPECT_EQ(pcVec3i(16777217, 0, 0) * 1.0F, pcVec3i(16777216, 0, 0));
    EXPECT_EQ(pcVec3i(-16777217, 16777219, 33554435) / 1.0F, pcVec3i(-16777216, 16777220, 33554436));
}

TEST(pcVec3i, ScalingReachesTheEndsOfItsRange)
{
    EXPECT_EQ(all(INT_MIN) * 1.0F, all(INT_MIN));
    EXPECT_EQ(all(1 << 30) * -2.0F, all(INT_MIN));
    EXPECT_EQ(all(2147483520) * 1.0F, all(2147483520));
    EXPECT_EQ(all(-2147483520) / -1.0F, all(2147483520));
}

TEST(pcVec3i, ScalingOutOfRangeGivesTheSmallestInt)
{
    EXPECT_EQ(all(INT_MAX) * 1.0F, all(INT_MIN)); // 2^31 in float
    EXPECT_EQ(all(1) * 1e10F, all(INT_MIN));
    EXPECT_EQ(all(1) * -1e10F, all(INT_MIN));
    EXPECT_EQ(pcVec3i(1, -1, 0) * infinity<float>, all(INT_MIN));
    EXPECT_EQ(all(1) * notANumber<float>, all(INT_MIN));
    EXPECT_EQ(all(1) / notANumber<float>, all(INT_MIN));
    EXPECT_EQ(all(1) / infinity<float>, all(0));
}

TEST(pcVec3i, DivisionByZeroGivesTheSmallestInt)
{
    EXPECT_EQ(pcVec3i(1, -1, 0) / 0.0F, all(INT_MIN));
    pcVec3i v(5, 0, -5);
    v /= -0.0F;
    EXPECT_EQ(v, all(INT_MIN));
}

TEST(pcVec3i, CrossProductIsRightHanded)
{
    EXPECT_EQ(pcVec3i(1, 0, 0) ^ pcVec3i(0, 1, 0), pcVec3i(0, 0, 1));
    EXPECT_EQ(pcVec3i(0, 1, 0) ^ pcVec3i(0, 0, 1), pcVec3i(1, 0, 0));
    EXPECT_EQ(pcVec3i(0, 0, 1) ^ pcVec3i(1, 0, 0), pcVec3i(0, 1, 0));
    EXPECT_EQ(pcVec3i(1, 2, 3) ^ pcVec3i(4, 5, 7), pcVec3i(-1, 5, -3));
}

TEST(pcVec3i, CrossProductWrapsAround)
{
    // 65536 x 65536 - 1 x 3 on each axis in turn.
    EXPECT_EQ(pcVec3i(0, 65536, 1) ^ pcVec3i(0, 3, 65536), pcVec3i(-3, 0, 0));
    EXPECT_EQ(pcVec3i(1, 0, 65536) ^ pcVec3i(65536, 0, 3), pcVec3i(0, -3, 0));
    EXPECT_EQ(pcVec3i(65536, 1, 0) ^ pcVec3i(3, 65536, 0), pcVec3i(0, 0, -3));
    EXPECT_EQ(pcVec3i(0, INT_MIN, 1) ^ pcVec3i(0, 1, INT_MIN), pcVec3i(-1, 0, 0));
}

TEST(pcVec3i, SquaredLengthWrapsAround)
{
    EXPECT_EQ(pcVec3i(3, -4, 12).length2(), 169);
    EXPECT_EQ(pcVec3i(46340, 0, 0).length2(), 2147395600);
    EXPECT_EQ(pcVec3i(0, 46341, 0).length2(), -2147479015);
    EXPECT_EQ(pcVec3i(32768, 32768, 0).length2(), INT_MIN);
    EXPECT_EQ(pcVec3i(0, 65536, 1).length2(), 1);
    EXPECT_EQ(all(INT_MIN).length2(), 0);
    EXPECT_EQ(all(INT_MAX).length2(), 3);
}

TEST(pcVec3i, LengthTruncates)
{
    EXPECT_EQ(pcVec3i().length(), 0);
    EXPECT_EQ(pcVec3i(3, 4, 0).length(), 5);
    EXPECT_EQ(pcVec3i(1, 1, 1).length(), 1);
    EXPECT_EQ(pcVec3i(-2, -2, -2).length(), 3);
}

TEST(pcVec3i, LengthTakesTheRootInDouble)
{
    // The squares add up to 46339 x 46339 - 1, which a float can't tell from the square.
    EXPECT_EQ(pcVec3i(46322, 1240, 194).length(), 46338);
    EXPECT_EQ(pcVec3i(46339, 0, 0).length(), 46339);
}

TEST(pcVec3i, LengthOfAWrappedSquare)
{
    EXPECT_EQ(pcVec3i(65536, 2, 0).length(), 2);
    EXPECT_EQ(pcVec3i(46341, 0, 0).length(), INT_MIN); // the root of a negative number
}

} // namespace
