#include "SphereTesting.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace geometry;
using namespace ptCloud;

namespace
{

template <typename Sphere, typename V, typename S>
constexpr bool hasSphereMembers()
{
    using Const = const Sphere &;
    static_assert(sizeof(Sphere) == 4 * sizeof(S) && std::is_trivially_copyable_v<Sphere>);
    static_assert(std::is_standard_layout_v<Sphere> && std::is_constructible_v<Sphere, const V &, S>);
    static_assert(std::is_same_v<decltype(&Sphere::init), void (Sphere::*)()>);
    // The radius is a float in both precisions.
    static_assert(std::is_same_v<decltype(&Sphere::set), void (Sphere::*)(const V &, float)>);
    static_assert(std::is_same_v<decltype(std::declval<Sphere &>().center()), V &>);
    static_assert(std::is_same_v<decltype(std::declval<Const>().center()), const V &>);
    static_assert(std::is_same_v<decltype(std::declval<Sphere &>().radius()), S &>);
    static_assert(std::is_same_v<decltype(std::declval<Const>().radius()), S>);
    static_assert(std::is_same_v<decltype(std::declval<Const>().radius2()), S>);
    static_assert(std::is_same_v<decltype(std::declval<Const>().valid()), bool>);
    static_assert(std::is_same_v<decltype(std::declval<Const>().contains(std::declval<const V &>())), bool>);
    static_assert(std::is_same_v<decltype(std::declval<Const>().intersects(std::declval<Const>())), bool>);
    static_assert(std::is_same_v<decltype(std::declval<Const>() == std::declval<Const>()), bool>);
    static_assert(std::is_same_v<decltype(std::declval<Const>() != std::declval<Const>()), bool>);
    return true;
}
static_assert(hasSphereMembers<pcBoundingSpheref, pcVec3f, float>());
static_assert(hasSphereMembers<pcBoundingSphered, pcVec3d, double>());

// What boxes alone have, and what the sphere of floats alone has.
template <typename Sphere>
using Corner = decltype(std::declval<const Sphere &>().corner(0U));
template <typename Sphere>
using Intersect = decltype(std::declval<const Sphere &>().intersect(BoxOf<Sphere>()));
template <typename Sphere>
using Less = decltype(std::declval<const Sphere &>() < std::declval<const Sphere &>());
template <typename Sphere>
using ContainsNearly = decltype(std::declval<const Sphere &>().contains(CenterOf<Sphere>(), 1));
template <typename Sphere>
using IntersectsBox = decltype(std::declval<const Sphere &>().intersects(std::declval<const BoxOf<Sphere> &>()));
static_assert(hasNone<pcBoundingSpheref, Corner, Intersect, Less, ContainsNearly>);
static_assert(hasNone<pcBoundingSphered, Corner, Intersect, Less, ContainsNearly, IntersectsBox>);
static_assert(std::is_same_v<IntersectsBox<pcBoundingSpheref>, bool>);

template <typename Sphere>
class BoundingSphere : public ::testing::Test
{
};
TYPED_TEST_SUITE(BoundingSphere, Spheres);

TYPED_TEST(BoundingSphere, DefaultIsInvalidAndHoldsNothing)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam sphere;
    EXPECT_EQ(stored<S>(sphere), (std::vector<S>{0, 0, 0, -1}));
    EXPECT_FALSE(sphere.valid());
    EXPECT_FALSE(sphere.contains({0, 0, 0}));
}

TYPED_TEST(BoundingSphere, InitMakesItTheDefaultSphere)
{
    using S = RadiusOf<TypeParam>;
    TypeParam sphere({1, 2, 3}, 4);
    sphere.init();
    EXPECT_EQ(stored<S>(sphere), (std::vector<S>{0, 0, 0, -1}));
}

TYPED_TEST(BoundingSphere, StoresTheCentreThenTheRadius)
{
    using S = RadiusOf<TypeParam>;
    EXPECT_EQ(stored<S>(TypeParam({1, 2, 3}, 4)), (std::vector<S>{1, 2, 3, 4}));
}

TYPED_TEST(BoundingSphere, NamesReadAndWriteItsValues)
{
    using S = RadiusOf<TypeParam>;
    TypeParam sphere;
    sphere.center() = CenterOf<TypeParam>(1, 2, 3);
    sphere.center().z() = 5;
    sphere.radius() = 7;
    EXPECT_EQ(stored<S>(sphere), (std::vector<S>{1, 2, 5, 7}));
    EXPECT_EQ(components(std::as_const(sphere).center()), (std::vector<S>{1, 2, 5}));
    EXPECT_EQ(std::as_const(sphere).radius(), S(7));
    EXPECT_EQ(sphere.radius2(), S(49));
}

TYPED_TEST(BoundingSphere, SetTakesItsRadiusThroughFloat)
{
    using S = RadiusOf<TypeParam>;
    TypeParam sphere;
    sphere.set({1, 2, 3}, 0.1F);
    EXPECT_EQ(stored<S>(sphere), (std::vector<S>{1, 2, 3, S(0.1F)}));
}

TEST(BoundingSphereOfDoubles, ConstructorKeepsARadiusThatAFloatCannotHold)
{
    EXPECT_EQ(pcBoundingSphered({0, 0, 0}, 0.1).radius(), 0.1);
    EXPECT_NE(static_cast<double>(0.1F), 0.1);
}

TYPED_TEST(BoundingSphere, IsValidFromRadiusZero)
{
    using S = RadiusOf<TypeParam>;
    for (const S radius : {S(0), S(-0.0), std::numeric_limits<S>::denorm_min(), S(1), infinity<S>})
        EXPECT_TRUE(TypeParam({0, 0, 0}, radius).valid()) << radius;
    for (const S radius : {-std::numeric_limits<S>::denorm_min(), S(-1), -infinity<S>, notANumber<S>})
        EXPECT_FALSE(TypeParam({0, 0, 0}, radius).valid()) << radius;
}

TYPED_TEST(BoundingSphere, OfRadiusZeroContainsItsCentre)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam sphere({1, 2, 3}, 0);
    EXPECT_TRUE(sphere.contains({1, 2, 3}));
    EXPECT_FALSE(sphere.contains({std::nextafter(S(1), S(2)), 2, 3}));
}

TYPED_TEST(BoundingSphere, ContainsItsSurface)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam sphere({1, 1, 1}, 7);
    EXPECT_TRUE(sphere.contains({1, 1, 1}));
    EXPECT_TRUE(sphere.contains({3, 4, 7})); // (2, 3, 6) away
    EXPECT_TRUE(sphere.contains({-6, 1, 1}));
    EXPECT_FALSE(sphere.contains({S(-6.125), 1, 1}));
    EXPECT_FALSE(sphere.contains({3, 4, S(7.125)}));
    EXPECT_FALSE(sphere.contains({1, notANumber<S>, 1}));
}

TYPED_TEST(BoundingSphere, ContainsNothingWhereTheRadiusIsInvalid)
{
    using S = RadiusOf<TypeParam>;
    // Squared, a negative radius would look like its opposite.
    for (const S radius : {S(-5), notANumber<S>})
        EXPECT_FALSE(TypeParam({0, 0, 0}, radius).contains({1, 0, 0})) << radius;
}

TYPED_TEST(BoundingSphere, ContainsComparesSquares)
{
    using S = RadiusOf<TypeParam>;
    const S tiny = sizeof(S) == 4 ? S(1e-30F) : static_cast<S>(1e-300);
    EXPECT_TRUE(TypeParam({0, 0, 0}, 0).contains({tiny, 0, 0})); // both squares are 0
    const S huge = S(1) / tiny;
    EXPECT_TRUE(TypeParam({0, 0, 0}, huge).contains({S(2) * huge, 0, 0})); // both are infinite
}

TYPED_TEST(BoundingSphere, IntersectsWhereTheyOverlapOrTouch)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam sphere({0, 0, 0}, 3);
    for (const TypeParam &other : {sphere, TypeParam({2, 3, 6}, 4), TypeParam({5, 0, 0}, 2), TypeParam({1, 0, 0}, 0),
                                   TypeParam({1, 1, 1}, 100)}) {
        EXPECT_TRUE(sphere.intersects(other)) << ::testing::PrintToString(stored<S>(other));
        EXPECT_TRUE(other.intersects(sphere)) << ::testing::PrintToString(stored<S>(other));
    }
    for (const TypeParam &other : {TypeParam({2, 3, 6}, S(3.875)), TypeParam({0, S(5.125), 0}, 2)}) {
        EXPECT_FALSE(sphere.intersects(other)) << ::testing::PrintToString(stored<S>(other));
        EXPECT_FALSE(other.intersects(sphere)) << ::testing::PrintToString(stored<S>(other));
    }
}

TYPED_TEST(BoundingSphere, AnInvalidOneIntersectsNothing)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam sphere({0, 0, 0}, 10);
    for (const TypeParam &invalid : {TypeParam(), TypeParam({0, 0, 0}, notANumber<S>), TypeParam({1, 0, 0}, -50)}) {
        EXPECT_FALSE(sphere.intersects(invalid));
        EXPECT_FALSE(invalid.intersects(sphere));
        EXPECT_FALSE(invalid.intersects(invalid));
    }
}

TYPED_TEST(BoundingSphere, EqualityLooksAtCentreAndRadius)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam sphere({1, 2, 3}, 4);
    EXPECT_TRUE(sphere == TypeParam({1, 2, 3}, 4));
    EXPECT_FALSE(sphere != TypeParam({1, 2, 3}, 4));
    for (const TypeParam &other : {TypeParam({9, 2, 3}, 4), TypeParam({1, 9, 3}, 4), TypeParam({1, 2, 9}, 4),
                                   TypeParam({1, 2, 3}, std::nextafter(S(4), S(5)))}) {
        EXPECT_FALSE(sphere == other);
        EXPECT_TRUE(sphere != other);
    }
    const TypeParam invalid({1, 2, 3}, notANumber<S>);
    EXPECT_FALSE(invalid == TypeParam(invalid));
    EXPECT_TRUE(TypeParam() == TypeParam());
}

TEST(BoundingSphereOfFloats, IntersectsABoxByAnyOfItsCorners)
{
    const pcBoundingBoxf box(-10, -20, -30, 10, 20, 30);
    for (unsigned int pos = 0; pos < 8; ++pos) {
        EXPECT_TRUE(pcBoundingSpheref(box.corner(pos), 1).intersects(box)) << pos;
        EXPECT_TRUE(pcBoundingSpheref(box.corner(pos), 0).intersects(box)) << pos;
        // (2, 3, 6) away
        EXPECT_TRUE(pcBoundingSpheref(box.corner(pos) + pcVec3f(2, 3, 6), 7).intersects(box)) << pos;
        EXPECT_FALSE(pcBoundingSpheref(box.corner(pos) + pcVec3f(2, 3, 6), 6.875F).intersects(box)) << pos;
    }
}

TEST(BoundingSphereOfFloats, DoesNotSeeABoxWhoseCornersAreAllOutside)
{
    const pcBoundingBoxf box(-10, -10, -10, 10, 10, 10);
    EXPECT_FALSE(pcBoundingSpheref({0, 0, 0}, 5).intersects(box));   // inside the box
    EXPECT_FALSE(pcBoundingSpheref({10, 0, 0}, 5).intersects(box));  // through a face
    EXPECT_FALSE(pcBoundingSpheref({10, 10, 0}, 9).intersects(box)); // through an edge
    EXPECT_TRUE(pcBoundingSpheref({10, 10, 0}, 10).intersects(box));
}

TEST(BoundingSphereOfFloats, TestsABoxByDistanceAndNotBySquares)
{
    // The distance is infinite in float, and so are both squares.
    EXPECT_FALSE(pcBoundingSpheref({0, 0, 0}, 1e30F).intersects(pcBoundingBoxf(1e25F, 0, 0, 2e25F, 1, 1)));
}

TEST(BoundingSphereOfFloats, IntersectsABoxWithoutATestOfValidity)
{
    const pcBoundingSpheref sphere({0, 0, 0}, 5);
    EXPECT_TRUE(sphere.intersects(pcBoundingBoxf(50, 0, 0, 1, 1, 1)));
    EXPECT_TRUE(sphere.intersects(pcBoundingBoxf(notANumber<float>, 0, 0, 1, 60, 60)));
    EXPECT_FALSE(sphere.intersects(pcBoundingBoxf()));
    EXPECT_FALSE(pcBoundingSpheref().intersects(pcBoundingBoxf(0, 0, 0, 1, 1, 1)));
    EXPECT_FALSE(pcBoundingSpheref({0, 0, 0}, notANumber<float>).intersects(pcBoundingBoxf(0, 0, 0, 1, 1, 1)));
}

} // namespace
