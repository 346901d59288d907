#include "SphereTesting.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace geometry;
using namespace ptCloud;

namespace
{

/// Centre and radius.
template <typename Sphere>
using Values = std::vector<RadiusOf<Sphere>>;

/// What a sphere has become after it has grown by a point, a sphere or a box.
template <typename Sphere, typename Other>
Values<Sphere> expanded(Sphere sphere, const Other &other)
{
    sphere.expandBy(other);
    return stored<RadiusOf<Sphere>>(sphere);
}

/// The same with the centre held.
template <typename Sphere, typename Other>
Values<Sphere> radiusExpanded(Sphere sphere, const Other &other)
{
    sphere.expandRadiusBy(other);
    return stored<RadiusOf<Sphere>>(sphere);
}

/// A sphere that holds nothing although it has a place.
template <typename Sphere>
Sphere invalidSphere()
{
    return {{1, 2, 3}, -4};
}

/// A box that is inverted on one axis and wide on the others.
template <typename Sphere>
BoxOf<Sphere> invalidBox()
{
    return {-50, -50, 51, 50, 50, 50};
}

template <typename Sphere>
class SphereGrowth : public ::testing::Test
{
};
TYPED_TEST_SUITE(SphereGrowth, Spheres);

TYPED_TEST(SphereGrowth, AnInvalidSphereBecomesTheFirstPoint)
{
    const CenterOf<TypeParam> point(5, -6, 7);
    for (const TypeParam &sphere : {TypeParam(), invalidSphere<TypeParam>()}) {
        EXPECT_EQ(expanded(sphere, point), (Values<TypeParam>{5, -6, 7, 0}));
        EXPECT_EQ(radiusExpanded(sphere, point), (Values<TypeParam>{5, -6, 7, 0}));
    }
}

TYPED_TEST(SphereGrowth, APointInsideOrOnTheSurfaceChangesNothing)
{
    using S = RadiusOf<TypeParam>;
    using V = CenterOf<TypeParam>;
    const TypeParam sphere({1, 1, 1}, 7);
    for (const V &point : {V(1, 1, 1), V(3, 4, 7), V(-6, 1, 1), V(1, 1, S(7.5)), V(notANumber<S>, 1, 1)}) {
        EXPECT_EQ(expanded(sphere, point), stored<S>(sphere)) << ::testing::PrintToString(components(point));
        EXPECT_EQ(radiusExpanded(sphere, point), stored<S>(sphere)) << ::testing::PrintToString(components(point));
    }
}

TYPED_TEST(SphereGrowth, APointOutsideMovesTheSphereHalfTheWay)
{
    using V = CenterOf<TypeParam>;
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 2), V(4, 0, 0)), (Values<TypeParam>{1, 0, 0, 3}));
    EXPECT_EQ(expanded(TypeParam({5, 5, 5}, 0), V(5, -3, 5)), (Values<TypeParam>{5, 1, 5, 4}));
}

TYPED_TEST(SphereGrowth, APointOutsideDrawsTheCentreByTheQuotient)
{
    using S = RadiusOf<TypeParam>;
    for (int n = 1; n <= 100; ++n) {
        const S step = (S(7 * n) - S(1)) * S(0.5);
        const S quotient = step / S(7 * n);
        ASSERT_EQ(expanded(TypeParam({0, 0, 0}, 1), CenterOf<TypeParam>(S(2 * n), S(-3 * n), S(6 * n))),
                  (Values<TypeParam>{S(2 * n) * quotient, S(-3 * n) * quotient, S(6 * n) * quotient, S(1) + step}))
            << n;
    }
}

TYPED_TEST(SphereGrowth, APointOutsideGrowsTheRadiusToReachIt)
{
    using V = CenterOf<TypeParam>;
    EXPECT_EQ(radiusExpanded(TypeParam({1, 1, 1}, 5), V(3, 4, 7)), (Values<TypeParam>{1, 1, 1, 7}));
    EXPECT_EQ(radiusExpanded(TypeParam({0, 0, 0}, 0), V(0, -3, 4)), (Values<TypeParam>{0, 0, 0, 5}));
}

TYPED_TEST(SphereGrowth, AnInvalidSphereChangesNothing)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam far({100, 100, 100}, notANumber<S>);
    for (const TypeParam &sphere : {TypeParam({1, 2, 3}, 4), TypeParam(), invalidSphere<TypeParam>()}) {
        for (const TypeParam &other : {TypeParam(), far, TypeParam({100, 0, 0}, -1)}) {
            EXPECT_EQ(expanded(sphere, other), stored<S>(sphere));
            EXPECT_EQ(radiusExpanded(sphere, other), stored<S>(sphere));
        }
    }
}

TYPED_TEST(SphereGrowth, AnInvalidSphereBecomesTheFirstSphere)
{
    const TypeParam first({5, 6, 7}, 8);
    for (const TypeParam &sphere : {TypeParam(), invalidSphere<TypeParam>()}) {
        EXPECT_EQ(expanded(sphere, first), (Values<TypeParam>{5, 6, 7, 8}));
        EXPECT_EQ(radiusExpanded(sphere, first), (Values<TypeParam>{5, 6, 7, 8}));
    }
}

TYPED_TEST(SphereGrowth, ASphereInsideChangesNothing)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam sphere({0, 0, 0}, 10);
    for (const TypeParam &inner : {TypeParam({2, 3, 6}, 3), TypeParam({2, 3, 6}, 1), TypeParam({0, 0, 0}, 9)}) {
        EXPECT_EQ(expanded(sphere, inner), stored<S>(sphere));
        EXPECT_EQ(radiusExpanded(sphere, inner), stored<S>(sphere));
    }
}

TYPED_TEST(SphereGrowth, BecomesTheSphereThatHoldsIt)
{
    using S = RadiusOf<TypeParam>;
    const TypeParam outer({0, 0, 0}, 10);
    for (const TypeParam &sphere : {TypeParam({2, 3, 6}, 3), TypeParam({2, 3, 6}, 1), TypeParam({0, 0, 0}, 9)})
        EXPECT_EQ(expanded(sphere, outer), stored<S>(outer));
}

TYPED_TEST(SphereGrowth, OfConcentricSpheresTheLargerStays)
{
    const TypeParam small({1, 2, 3}, 4);
    const TypeParam large({1, 2, 3}, 5);
    EXPECT_EQ(expanded(small, large), (Values<TypeParam>{1, 2, 3, 5}));
    EXPECT_EQ(expanded(large, small), (Values<TypeParam>{1, 2, 3, 5}));
    EXPECT_EQ(radiusExpanded(small, large), (Values<TypeParam>{1, 2, 3, 5}));
    EXPECT_EQ(radiusExpanded(large, small), (Values<TypeParam>{1, 2, 3, 5}));
    EXPECT_EQ(expanded(TypeParam({1, 2, 3}, 0), TypeParam({1, 2, 3}, 0)), (Values<TypeParam>{1, 2, 3, 0}));
}

TYPED_TEST(SphereGrowth, OfEqualSpheresTheFirstStays)
{
    using S = RadiusOf<TypeParam>;
    // The sign of its zeros tells one from the other.
    TypeParam sphere({0, 0, 0}, 4);
    const auto before = storedBits<S>(sphere);
    sphere.expandBy(TypeParam({S(-0.0), S(-0.0), S(-0.0)}, 4));
    EXPECT_EQ(storedBits<S>(sphere), before);
    sphere.expandBy(sphere);
    EXPECT_EQ(storedBits<S>(sphere), before);
}

TYPED_TEST(SphereGrowth, OfTwoSpheresApartBecomesTheOneAroundBoth)
{
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 1), TypeParam({8, 0, 0}, 3)), (Values<TypeParam>{5, 0, 0, 6}));
    EXPECT_EQ(expanded(TypeParam({8, 0, 0}, 3), TypeParam({0, 0, 0}, 1)), (Values<TypeParam>{5, 0, 0, 6}));
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 0), TypeParam({0, -4, 0}, 0)), (Values<TypeParam>{0, -2, 0, 2}));
    // Overlapping: from -4 to 8.
    EXPECT_EQ(expanded(TypeParam({1, 1, 0}, 4), TypeParam({1, 1, 4}, 4)), (Values<TypeParam>{1, 1, 2, 6}));
}

TYPED_TEST(SphereGrowth, MovesStraightTowardsTheOtherSphere)
{
    using S = RadiusOf<TypeParam>;
    // 7 apart, both of radius 3: half way, from -3 to 10.
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 3), TypeParam({2, 3, 6}, 3)), (Values<TypeParam>{1, S(1.5), 3, S(6.5)}));
    // 14 apart, radii 3 and 10: 3/4 of the way.
    EXPECT_EQ(expanded(TypeParam({1, 1, 1}, 3), TypeParam({-3, 7, 13}, 10)),
              (Values<TypeParam>{-2, S(5.5), 10, S(13.5)}));
}

TYPED_TEST(SphereGrowth, RadiusReachesTheFarSideOfTheOtherSphere)
{
    EXPECT_EQ(radiusExpanded(TypeParam({1, 1, 1}, 5), TypeParam({3, 4, 7}, 2)), (Values<TypeParam>{1, 1, 1, 9}));
    EXPECT_EQ(radiusExpanded(TypeParam({1, 1, 1}, 0), TypeParam({3, 4, 7}, 20)), (Values<TypeParam>{1, 1, 1, 27}));
}

TYPED_TEST(SphereGrowth, AnInvalidBoxChangesNothing)
{
    using S = RadiusOf<TypeParam>;
    for (const TypeParam &sphere : {TypeParam({1, 2, 3}, 4), TypeParam(), invalidSphere<TypeParam>()}) {
        for (const BoxOf<TypeParam> &box : {BoxOf<TypeParam>(), invalidBox<TypeParam>()}) {
            EXPECT_EQ(expanded(sphere, box), stored<S>(sphere));
            EXPECT_EQ(radiusExpanded(sphere, box), stored<S>(sphere));
        }
    }
}

TYPED_TEST(SphereGrowth, AnInvalidSphereTakesCentreAndHalfDiagonalOfTheFirstBox)
{
    const BoxOf<TypeParam> box(-1, 2, 10, 3, 14, 16); // the diagonal is (4, 12, 6)
    for (const TypeParam &sphere : {TypeParam(), invalidSphere<TypeParam>()}) {
        EXPECT_EQ(expanded(sphere, box), (Values<TypeParam>{1, 8, 13, 7}));
        EXPECT_EQ(radiusExpanded(sphere, box), (Values<TypeParam>{1, 8, 13, 7}));
    }
}

TYPED_TEST(SphereGrowth, TakesThePointOppositeABoxOfOnePoint)
{
    using S = RadiusOf<TypeParam>;
    // The sphere's surface opposite the box is at -3, so that the box around both goes from there to the point.
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 3), BoxOf<TypeParam>(5, 0, 0, 5, 0, 0)), (Values<TypeParam>{1, 0, 0, 4}));
    EXPECT_EQ(expanded(TypeParam({0, 10, 0}, 0), BoxOf<TypeParam>(0, 0, 0, 0, 0, 0)), (Values<TypeParam>{0, 5, 0, 5}));
    // Nearer than the surface: from 3 to the opposite -5.
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 5), BoxOf<TypeParam>(0, 0, 3, 0, 0, 3)),
              (Values<TypeParam>{0, 0, S(-1), 4}));
}

TYPED_TEST(SphereGrowth, ScalesADirectionByOneReciprocal)
{
    using S = RadiusOf<TypeParam>;
    for (int n = 1; n <= 100; ++n) {
        const S reciprocal = S(1) / S(7 * n);
        const std::array<S, 3> corner = {S(2 * n), S(3 * n), S(6 * n)};
        std::array<S, 3> center;
        S squares = 0;
        for (unsigned int i = 0; i < 3; ++i) {
            const S opposite = S(0) - corner[i] * reciprocal * S(5);
            center[i] = (opposite + corner[i]) * S(0.5);
            squares += (corner[i] - opposite) * (corner[i] - opposite);
        }
        const BoxOf<TypeParam> box(corner[0], corner[1], corner[2], corner[0], corner[1], corner[2]);
        ASSERT_EQ(expanded(TypeParam({0, 0, 0}, 5), box),
                  (Values<TypeParam>{center[0], center[1], center[2], std::sqrt(squares * S(0.25))}))
            << n;
    }
}

TYPED_TEST(SphereGrowth, TakesThePointsOppositeAllCornersOfABox)
{
    using S = RadiusOf<TypeParam>;
    // Corners at 4 and 8 on the axis give the same opposite point -3.
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 3), BoxOf<TypeParam>(4, 0, 0, 8, 0, 0)),
              (Values<TypeParam>{S(2.5), 0, 0, S(5.5)}));
    // Corners on both sides of the centre give -3 and 3.
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 3), BoxOf<TypeParam>(0, -1, 0, 0, 7, 0)), (Values<TypeParam>{0, 2, 0, 5}));
}

TYPED_TEST(SphereGrowth, IsTheSphereOfABoxThatIsWideEnough)
{
    const BoxOf<TypeParam> box(-2, -3, -6, 2, 3, 6);
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 1), box), (Values<TypeParam>{0, 0, 0, 7}));
}

TYPED_TEST(SphereGrowth, KeepsItsSizeAroundASmallConcentricBox)
{
    using S = RadiusOf<TypeParam>;
    // Each of the opposite points is 7 away in the direction of a corner of the box.
    const auto grown = expanded(TypeParam({0, 0, 0}, 7), BoxOf<TypeParam>(-1, S(-1.5), -3, 1, S(1.5), 3));
    EXPECT_EQ(grown[0], S(0));
    EXPECT_EQ(grown[1], S(0));
    EXPECT_EQ(grown[2], S(0));
    EXPECT_NEAR(grown[3], 7, 8 * std::numeric_limits<S>::epsilon());
}

TYPED_TEST(SphereGrowth, ACornerAtTheCentreAddsTheCentreItself)
{
    using S = RadiusOf<TypeParam>;
    // From the opposite point -3 of the other end.
    EXPECT_EQ(expanded(TypeParam({0, 0, 0}, 3), BoxOf<TypeParam>(0, 0, 0, 4, 0, 0)),
              (Values<TypeParam>{S(0.5), 0, 0, S(3.5)}));
    // No other corner: the sphere shrinks to the point.
    EXPECT_EQ(expanded(TypeParam({1, 2, 3}, 5), BoxOf<TypeParam>(1, 2, 3, 1, 2, 3)), (Values<TypeParam>{1, 2, 3, 0}));
}

TYPED_TEST(SphereGrowth, RadiusReachesTheFarthestCornerOfABox)
{
    using V = CenterOf<TypeParam>;
    const BoxOf<TypeParam> box(1, 2, 3, 3, 5, 9); // the diagonal is (2, 3, 6)
    for (unsigned int pos = 0; pos < 8; ++pos) {
        const V center = box.corner(pos);
        EXPECT_EQ(radiusExpanded(TypeParam(center, 1), box), (Values<TypeParam>{center.x(), center.y(), center.z(), 7}))
            << pos;
        EXPECT_EQ(radiusExpanded(TypeParam(center, 8), box), (Values<TypeParam>{center.x(), center.y(), center.z(), 8}))
            << pos;
    }
}

} // namespace
