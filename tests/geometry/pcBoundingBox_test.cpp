#include "GeometryTesting.h"

#include "pcBoundingVolume.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace geometry;
using namespace ptCloud;

namespace
{

template <typename B>
using VectorOf = decltype(std::declval<const B &>().corner(0U));
template <typename B>
using ScalarOfBox = decltype(std::declval<const B &>().radius());

/// The six values of a box, minimum corner first.
template <typename B>
auto extents(const B &box)
{
    return stored<ScalarOfBox<B>>(box);
}
template <typename S>
using Extents = std::vector<S>;

template <typename B>
B boxOf(const std::array<ScalarOfBox<B>, 6> &values)
{
    return {values[0], values[1], values[2], values[3], values[4], values[5]};
}

/// A box whose value at one place of the six is another.
template <typename B>
B withExtent(const B &box, unsigned int place, ScalarOfBox<B> value)
{
    std::array<ScalarOfBox<B>, 6> values;
    for (unsigned int i = 0; i < 6; ++i)
        values[i] = i == place ? value : extents(box)[i];
    return boxOf<B>(values);
}

// What boxes of all three scalars have in common.
template <typename B, typename V, typename S>
constexpr bool hasBoxMembers()
{
    static_assert(sizeof(B) == 6 * sizeof(S) && std::is_trivially_copyable_v<B> && std::is_standard_layout_v<B>);
    static_assert(std::is_same_v<VectorOf<B>, V> && std::is_same_v<ScalarOfBox<B>, S>);
    static_assert(std::is_constructible_v<B, const V &, const V &>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>().center()), V>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>().radius2()), S>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>().valid()), bool>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>().contains(std::declval<const V &>())), bool>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>().intersect(std::declval<const B &>())), B>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>().intersects(std::declval<const B &>())), bool>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>() == std::declval<const B &>()), bool>);
    static_assert(std::is_same_v<decltype(std::declval<const B &>() != std::declval<const B &>()), bool>);
    return true;
}
static_assert(hasBoxMembers<pcBoundingBoxf, pcVec3f, float>());
static_assert(hasBoxMembers<pcBoundingBoxd, pcVec3d, double>());
static_assert(hasBoxMembers<pcBoundingBoxi, pcVec3i, int>());

// What boxes of floating-point numbers alone have, and what those of integers alone have.
template <typename B>
using Init = decltype(std::declval<B &>().init());
template <typename B>
using SetOfCorners = decltype(std::declval<B &>().set(VectorOf<B>(), VectorOf<B>()));
template <typename B>
using SetOfScalars = decltype(std::declval<B &>().set(0, 0, 0, 1, 1, 1));
template <typename B>
using XMin = decltype(std::declval<B &>().xMin());
template <typename B>
using ContainsNearly = decltype(std::declval<const B &>().contains(VectorOf<B>(), ScalarOfBox<B>()));
template <typename B>
using Less = decltype(std::declval<const B &>() < std::declval<const B &>());
static_assert(hasAll<pcBoundingBoxf, Init, SetOfCorners, SetOfScalars, XMin, ContainsNearly>);
static_assert(hasAll<pcBoundingBoxd, Init, SetOfCorners, SetOfScalars, XMin, ContainsNearly>);
static_assert(hasNone<pcBoundingBoxi, Init, SetOfCorners, SetOfScalars, XMin, ContainsNearly>);
static_assert(hasAll<pcBoundingBoxi, Less> && hasNone<pcBoundingBoxf, Less> && hasNone<pcBoundingBoxd, Less>);

template <typename B>
class Box : public ::testing::Test
{
};
using Boxes = ::testing::Types<pcBoundingBoxf, pcBoundingBoxd, pcBoundingBoxi>;
TYPED_TEST_SUITE(Box, Boxes);

template <typename B>
class FloatBox : public ::testing::Test
{
};
using FloatBoxes = ::testing::Types<pcBoundingBoxf, pcBoundingBoxd>;
TYPED_TEST_SUITE(FloatBox, FloatBoxes);

TEST(BoxDefault, HasTheBitsOfTheInvalidState)
{
    EXPECT_EQ(storedBits<float>(pcBoundingBoxf()),
              (std::vector<std::uint32_t>{0x7F7FFFFF, 0x7F7FFFFF, 0x7F7FFFFF, 0xFF7FFFFF, 0xFF7FFFFF, 0xFF7FFFFF}));
    const std::uint64_t largest = 0x7FEFFFFFFFFFFFFF;
    const std::uint64_t negative = 0xFFEFFFFFFFFFFFFF;
    EXPECT_EQ(storedBits<double>(pcBoundingBoxd()),
              (std::vector<std::uint64_t>{largest, largest, largest, negative, negative, negative}));
    EXPECT_EQ(storedBits<int>(pcBoundingBoxi()),
              (std::vector<std::uint32_t>{0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x80000001, 0x80000001, 0x80000001}));
}

TYPED_TEST(Box, DefaultIsInvalidAndHoldsNothing)
{
    using S = ScalarOfBox<TypeParam>;
    using V = VectorOf<TypeParam>;
    const TypeParam box;
    EXPECT_FALSE(box.valid());
    for (const S value : {S(0), S(1), S(-1), std::numeric_limits<S>::max(), std::numeric_limits<S>::lowest()})
        EXPECT_FALSE(box.contains(V(value, value, value))) << value;
}

TYPED_TEST(Box, StoresTheMinimumThenTheMaximum)
{
    using S = ScalarOfBox<TypeParam>;
    using V = VectorOf<TypeParam>;
    const Extents<S> values = {1, 2, 3, 40, 50, 60};
    EXPECT_EQ(extents(TypeParam(1, 2, 3, 40, 50, 60)), values);
    EXPECT_EQ(extents(TypeParam(V(1, 2, 3), V(40, 50, 60))), values);
}

TYPED_TEST(Box, IsInvalidWithOneAxisInverted)
{
    EXPECT_TRUE(TypeParam(1, 2, 3, 4, 5, 6).valid());
    for (unsigned int axis = 0; axis < 3; ++axis) {
        const TypeParam inverted = withExtent(TypeParam(1, 1, 1, 5, 5, 5), axis, 6);
        EXPECT_FALSE(inverted.valid()) << "axis " << axis;
        EXPECT_FALSE(inverted.contains({3, 3, 3})) << "axis " << axis;
    }
}

TYPED_TEST(Box, OfOnePointIsValid)
{
    EXPECT_TRUE(TypeParam(3, -2, 1, 3, -2, 1).valid());
}

TYPED_TEST(Box, CornerTakesABitForEachAxis)
{
    using V = VectorOf<TypeParam>;
    const TypeParam box(1, 2, 3, 40, 50, 60);
    for (unsigned int pos = 0; pos < 8; ++pos) {
        const V corner((pos & 1U) != 0 ? 40 : 1, (pos & 2U) != 0 ? 50 : 2, (pos & 4U) != 0 ? 60 : 3);
        EXPECT_TRUE(box.corner(pos) == corner) << pos;
        EXPECT_TRUE(box.corner(pos + 8) == corner) << pos;
        EXPECT_TRUE(box.corner(pos | 0xFFFFFFF8U) == corner) << pos;
    }
}

TYPED_TEST(Box, CentreAndRadiusAreHalfTheDiagonal)
{
    using S = ScalarOfBox<TypeParam>;
    const TypeParam box(-1, 2, 10, 3, 14, 16); // the diagonal is (4, 12, 6)
    EXPECT_TRUE(box.center() == VectorOf<TypeParam>(1, 8, 13));
    EXPECT_EQ(box.radius2(), S(49));
    EXPECT_EQ(box.radius(), S(7));
}

TYPED_TEST(Box, FirstPointMakesADefaultBoxValid)
{
    using S = ScalarOfBox<TypeParam>;
    TypeParam box;
    box.expandBy(VectorOf<TypeParam>(3, -4, 5));
    EXPECT_TRUE(box.valid());
    EXPECT_EQ(extents(box), (Extents<S>{3, -4, 5, 3, -4, 5}));

    TypeParam other;
    other.expandBy(3, -4, 5);
    EXPECT_EQ(extents(other), extents(box));
}

TYPED_TEST(Box, PointsWidenItOnlyWhereTheyLieOutside)
{
    using S = ScalarOfBox<TypeParam>;
    TypeParam box(0, 0, 0, 10, 10, 10);
    box.expandBy(5, 0, 10);
    EXPECT_EQ(extents(box), (Extents<S>{0, 0, 0, 10, 10, 10}));
    box.expandBy(-1, 5, 12);
    EXPECT_EQ(extents(box), (Extents<S>{-1, 0, 0, 10, 10, 12}));
    box.expandBy(VectorOf<TypeParam>(11, -7, 5));
    EXPECT_EQ(extents(box), (Extents<S>{-1, -7, 0, 11, 10, 12}));
}

TYPED_TEST(Box, EachEndOfAnInvertedAxisMovesByItself)
{
    using S = ScalarOfBox<TypeParam>;
    TypeParam box(5, 5, 5, 1, 1, 1);
    box.expandBy(0, 3, 7);
    EXPECT_EQ(extents(box), (Extents<S>{0, 3, 5, 1, 3, 7}));
}

TYPED_TEST(Box, WidensByAnotherBox)
{
    using S = ScalarOfBox<TypeParam>;
    TypeParam box(0, 0, 0, 10, 10, 10);
    box.expandBy(TypeParam(2, -3, 5, 8, 5, 15));
    EXPECT_EQ(extents(box), (Extents<S>{0, -3, 0, 10, 10, 15}));
    box.expandBy(box);
    EXPECT_EQ(extents(box), (Extents<S>{0, -3, 0, 10, 10, 15}));

    TypeParam fresh;
    fresh.expandBy(box);
    EXPECT_TRUE(fresh == box);
}

TYPED_TEST(Box, AnInvertedBoxWidensNothing)
{
    const TypeParam before(0, 0, 0, 10, 10, 10);
    for (unsigned int axis = 0; axis < 3; ++axis) {
        TypeParam box = before;
        box.expandBy(withExtent(TypeParam(-50, -50, -50, 50, 50, 50), axis, 51));
        EXPECT_TRUE(box == before) << "axis " << axis;
    }
    TypeParam box = before;
    box.expandBy(TypeParam());
    EXPECT_TRUE(box == before);
}

TYPED_TEST(Box, IntersectIsTheCommonPart)
{
    using S = ScalarOfBox<TypeParam>;
    const TypeParam a(0, 0, 0, 10, 10, 10);
    const TypeParam b(5, -5, 2, 15, 5, 8);
    EXPECT_EQ(extents(a.intersect(b)), (Extents<S>{5, 0, 2, 10, 5, 8}));
    EXPECT_EQ(extents(b.intersect(a)), (Extents<S>{5, 0, 2, 10, 5, 8}));
    EXPECT_EQ(extents(a), (Extents<S>{0, 0, 0, 10, 10, 10}));
}

TYPED_TEST(Box, IntersectOfDisjointBoxesIsInvalid)
{
    using S = ScalarOfBox<TypeParam>;
    const TypeParam a(0, 0, 0, 10, 10, 10);
    for (unsigned int axis = 0; axis < 3; ++axis) {
        const TypeParam apart = withExtent(withExtent(a, axis, 20), axis + 3, 30);
        EXPECT_FALSE(a.intersect(apart).valid()) << "axis " << axis;
        EXPECT_FALSE(a.intersects(apart)) << "axis " << axis;
        EXPECT_FALSE(apart.intersects(a)) << "axis " << axis;
    }
    EXPECT_EQ(extents(a.intersect(TypeParam(20, 0, 0, 30, 10, 10))), (Extents<S>{20, 0, 0, 10, 10, 10}));
}

TYPED_TEST(Box, IntersectTakesInvalidBoxesAsTheyAre)
{
    using S = ScalarOfBox<TypeParam>;
    const TypeParam inverted(8, 9, 1, 2, 3, 4);
    EXPECT_EQ(extents(TypeParam(0, 0, 0, 10, 10, 10).intersect(inverted)), (Extents<S>{8, 9, 1, 2, 3, 4}));
    EXPECT_TRUE(inverted.intersect(TypeParam()) == TypeParam());
}

TYPED_TEST(Box, IntersectsWhereTheyOverlapOrTouch)
{
    const TypeParam box(0, 0, 0, 10, 10, 10);
    const TypeParam others[] = {
        box,
        {5, 5, 5, 15, 15, 15},
        {2, 2, 2, 3, 3, 3},       // inside
        {-9, -9, -9, 20, 20, 20}, // around
        {10, 0, 0, 20, 10, 10},   // a common face
        {10, 10, 0, 20, 20, 10},  // a common edge
        {10, 10, 10, 20, 20, 20}, // a common corner
        {-10, -10, -10, 0, 0, 0}, // the opposite one
        {4, -5, 4, 6, 15, 6},     // through, with no corner inside
    };
    for (const TypeParam &other : others) {
        EXPECT_TRUE(box.intersects(other)) << ::testing::PrintToString(extents(other));
        EXPECT_TRUE(other.intersects(box)) << ::testing::PrintToString(extents(other));
    }
}

TYPED_TEST(Box, DefaultBoxesDoNotIntersect)
{
    EXPECT_FALSE(TypeParam().intersects(TypeParam()));
    EXPECT_FALSE(TypeParam().intersects(TypeParam(0, 0, 0, 10, 10, 10)));
    EXPECT_FALSE(TypeParam(0, 0, 0, 10, 10, 10).intersects(TypeParam()));
}

TYPED_TEST(Box, EqualityLooksAtAllSixValues)
{
    const TypeParam box(1, 2, 3, 4, 5, 6);
    EXPECT_TRUE(box == TypeParam(1, 2, 3, 4, 5, 6));
    EXPECT_FALSE(box != TypeParam(1, 2, 3, 4, 5, 6));
    for (unsigned int place = 0; place < 6; ++place) {
        const TypeParam other = withExtent(box, place, 9);
        EXPECT_FALSE(box == other) << place;
        EXPECT_TRUE(box != other) << place;
    }
    EXPECT_TRUE(TypeParam() == TypeParam());
}

TYPED_TEST(FloatBox, NamesReadAndWriteTheSixValues)
{
    using S = ScalarOfBox<TypeParam>;
    S &(TypeParam::*const references[])() = {&TypeParam::xMin, &TypeParam::yMin, &TypeParam::zMin,
                                             &TypeParam::xMax, &TypeParam::yMax, &TypeParam::zMax};
    S(TypeParam::*const readers[])
    () const = {&TypeParam::xMin, &TypeParam::yMin, &TypeParam::zMin,
                &TypeParam::xMax, &TypeParam::yMax, &TypeParam::zMax};
    TypeParam box;
    for (int i = 0; i < 6; ++i) {
        (box.*references[i])() = S(i + 1);
        EXPECT_EQ((box.*readers[i])(), S(i + 1));
    }
    EXPECT_EQ(extents(box), (Extents<S>{1, 2, 3, 4, 5, 6}));
}

TYPED_TEST(FloatBox, SetReplacesAllSixValues)
{
    using S = ScalarOfBox<TypeParam>;
    using V = VectorOf<TypeParam>;
    TypeParam box;
    box.set(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(extents(box), (Extents<S>{1, 2, 3, 4, 5, 6}));
    box.set(V(9, 8, 7), V(6, 5, 4));
    EXPECT_EQ(extents(box), (Extents<S>{9, 8, 7, 6, 5, 4}));
}

TYPED_TEST(FloatBox, InitMakesItTheDefaultBox)
{
    using S = ScalarOfBox<TypeParam>;
    TypeParam box(1, 2, 3, 4, 5, 6);
    box.init();
    EXPECT_EQ(storedBits<S>(box), storedBits<S>(TypeParam()));
}

TYPED_TEST(FloatBox, IsInvalidWithNaNAtAnyEnd)
{
    using S = ScalarOfBox<TypeParam>;
    for (unsigned int place = 0; place < 6; ++place) {
        const TypeParam box = withExtent(TypeParam(0, 0, 0, 10, 10, 10), place, notANumber<S>);
        EXPECT_FALSE(box.valid()) << place;
        EXPECT_FALSE(box.contains({5, 5, 5})) << place;
        EXPECT_FALSE(box.contains({5, 5, 5}, S(100))) << place;
        EXPECT_FALSE(box == TypeParam(box)) << place;
    }
}

TYPED_TEST(FloatBox, MayReachToInfinity)
{
    using S = ScalarOfBox<TypeParam>;
    const TypeParam box(-infinity<S>, -infinity<S>, -infinity<S>, infinity<S>, infinity<S>, infinity<S>);
    EXPECT_TRUE(box.valid());
    EXPECT_TRUE(box.contains({std::numeric_limits<S>::max(), 0, infinity<S>}));
}

TYPED_TEST(FloatBox, ContainsItsFaces)
{
    using S = ScalarOfBox<TypeParam>;
    using V = VectorOf<TypeParam>;
    const TypeParam box(0, 0, 0, 10, 10, 10);
    EXPECT_TRUE(box.contains(V(10, 5, 5)));
    for (int axis = 0; axis < 3; ++axis) {
        V point(5, 5, 5);
        for (const S inside : {S(0), S(-0.0), S(5), S(10)}) {
            point[axis] = inside;
            EXPECT_TRUE(box.contains(point)) << "axis " << axis << " at " << inside;
        }
        for (const S outside : {std::nextafter(S(0), S(-1)), std::nextafter(S(10), S(11)), notANumber<S>}) {
            point[axis] = outside;
            EXPECT_FALSE(box.contains(point)) << "axis " << axis << " at " << outside;
        }
    }
    EXPECT_TRUE(TypeParam(3, 3, 3, 3, 3, 3).contains(V(3, 3, 3)));
}

TYPED_TEST(FloatBox, ContainsNearlyReachesOutByEpsilon)
{
    using S = ScalarOfBox<TypeParam>;
    using V = VectorOf<TypeParam>;
    const TypeParam box(0, 0, 0, 10, 10, 10);
    for (int axis = 0; axis < 3; ++axis) {
        V point(5, 5, 5);
        for (const S inside : {S(-0.5), S(0), S(10), S(10.5)}) {
            point[axis] = inside;
            EXPECT_TRUE(box.contains(point, S(0.5))) << "axis " << axis << " at " << inside;
        }
        for (const S outside : {S(-0.625), S(10.625), notANumber<S>}) {
            point[axis] = outside;
            EXPECT_FALSE(box.contains(point, S(0.5))) << "axis " << axis << " at " << outside;
        }
    }
    EXPECT_FALSE(box.contains({5, 5, 5}, notANumber<S>));
}

TYPED_TEST(FloatBox, ANegativeEpsilonReachesIn)
{
    using S = ScalarOfBox<TypeParam>;
    const TypeParam box(0, 0, 0, 10, 10, 10);
    EXPECT_TRUE(box.contains({1, 5, 9}, S(-1)));
    EXPECT_FALSE(box.contains({S(0.5), 5, 5}, S(-1)));
    EXPECT_FALSE(box.contains({5, 5, S(9.5)}, S(-1)));
}

TYPED_TEST(FloatBox, AnInvalidBoxContainsNothingHoweverNear)
{
    using S = ScalarOfBox<TypeParam>;
    EXPECT_FALSE(TypeParam(6, 0, 0, 5, 10, 10).contains({5, 5, 5}, S(100)));
    EXPECT_FALSE(TypeParam().contains({0, 0, 0}, infinity<S>));
}

TYPED_TEST(FloatBox, EpsilonMovesThePointAndNotTheFaces)
{
    using S = ScalarOfBox<TypeParam>;
    // Moved to the tie beside 1 the point becomes 1; the face, moved the other way, would not reach the point.
    const S step = std::numeric_limits<S>::epsilon() / S(2);
    const TypeParam above(1, 1, 1, 2, 2, 2);
    EXPECT_TRUE(above.contains({S(1) - step, 1, 1}, step / S(2)));
    const TypeParam below(0, 0, 0, 1, 1, 1);
    EXPECT_TRUE(below.contains({S(1) + S(2) * step, 1, 1}, step));
}

TYPED_TEST(FloatBox, NaNWidensNothingOnItsAxis)
{
    using S = ScalarOfBox<TypeParam>;
    TypeParam box;
    box.expandBy(notANumber<S>, notANumber<S>, notANumber<S>);
    EXPECT_EQ(storedBits<S>(box), storedBits<S>(TypeParam()));

    box.set(0, 0, 0, 10, 10, 10);
    box.expandBy(-1, notANumber<S>, 11);
    EXPECT_EQ(extents(box), (Extents<S>{-1, 0, 0, 10, 10, 11}));
}

TYPED_TEST(FloatBox, WidensToInfinityOnOneSideAlone)
{
    using S = ScalarOfBox<TypeParam>;
    const S largest = std::numeric_limits<S>::max();
    TypeParam box;
    // Infinity is above the largest number, so that the minimum stays.
    box.expandBy(infinity<S>, -infinity<S>, 0);
    EXPECT_EQ(extents(box), (Extents<S>{largest, -infinity<S>, 0, infinity<S>, -largest, 0}));
}

TYPED_TEST(FloatBox, ZerosOfBothSignsAreTheSamePlace)
{
    using S = ScalarOfBox<TypeParam>;
    TypeParam box(0, 0, 0, 0, 0, 0);
    const auto before = storedBits<S>(box);
    box.expandBy(S(-0.0), S(-0.0), S(-0.0));
    EXPECT_EQ(storedBits<S>(box), before);
}

TYPED_TEST(FloatBox, CentreIsHalfTheSumOfTheCorners)
{
    using S = ScalarOfBox<TypeParam>;
    using V = VectorOf<TypeParam>;
    const S largest = std::numeric_limits<S>::max();
    EXPECT_EQ(components(TypeParam().center()), (Extents<S>{0, 0, 0}));
    // The sum is out of range even where its half is not.
    EXPECT_EQ(components(TypeParam(V(1, largest, -largest), V(2, largest, -largest)).center()),
              (Extents<S>{S(1.5), infinity<S>, -infinity<S>}));
}

TYPED_TEST(FloatBox, RadiusSumsTheSquaresFromLeftToRight)
{
    using S = ScalarOfBox<TypeParam>;
    // 1 + 1 is seen beside the large square, 1 alone is rounded away.
    const S large = sizeof(S) == 4 ? S(4096) : S(3 << 25);
    EXPECT_EQ(TypeParam(0, 0, 0, 1, 1, large).radius2(), (large * large + S(2)) / S(4));
    EXPECT_EQ(TypeParam(0, 0, 0, large, 1, 1).radius2(), large * large / S(4));
    EXPECT_EQ(TypeParam(0, 0, 0, 2, 2, 2).radius(), std::sqrt(S(3)));
    EXPECT_EQ(TypeParam().radius(), infinity<S>);
}

} // namespace
