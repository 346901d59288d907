#include "pcBoundingVolume.h"

#include <gtest/gtest.h>

#include <climits>

using namespace ptCloud;

namespace ptCloud
{

// Found by GoogleTest, which shows a box that it did not expect.
static void PrintTo(const pcBoundingBoxi &box, std::ostream *stream)
{
    const pcVec3i min = box.corner(0);
    const pcVec3i max = box.corner(7);
    *stream << '(' << min.x << ", " << min.y << ", " << min.z << ") to (" << max.x << ", " << max.y << ", " << max.z
            << ')';
}

} // namespace ptCloud

namespace
{

/// A box that is the same on all three axes.
pcBoundingBoxi cube(int min, int max)
{
    return {min, min, min, max, max, max};
}

/// From the origin.
pcBoundingBoxi withDiagonal(int x, int y, int z)
{
    return {0, 0, 0, x, y, z};
}

pcVec3i all(int value)
{
    return {value, value, value};
}

/// A point in the middle of a box from 0 to 10 but for one axis.
pcVec3i awayOnAxis(int axis, int value)
{
    return {axis == 0 ? value : 5, axis == 1 ? value : 5, axis == 2 ? value : 5};
}

TEST(BoxOfInts, ContainsItsMinimumFacesButNotItsMaximumFaces)
{
    const pcBoundingBoxi box = cube(0, 10);
    EXPECT_FALSE(box.contains(pcVec3i(10, 5, 5)));
    EXPECT_TRUE(box.contains(pcVec3i(9, 5, 5)));
    for (int axis = 0; axis < 3; ++axis) {
        for (const int inside : {0, 5, 9})
            EXPECT_TRUE(box.contains(awayOnAxis(axis, inside))) << "axis " << axis << " at " << inside;
        for (const int outside : {-1, 10, 11, INT_MIN, INT_MAX})
            EXPECT_FALSE(box.contains(awayOnAxis(axis, outside))) << "axis " << axis << " at " << outside;
    }
}

TEST(BoxOfInts, OfOnePointIsValidAndContainsNothing)
{
    EXPECT_TRUE(cube(3, 3).valid());
    EXPECT_FALSE(cube(3, 3).contains(all(3)));
}

TEST(BoxOfInts, ComparesWithoutADifferenceThatCouldWrap)
{
    const pcBoundingBoxi whole = cube(INT_MIN, INT_MAX);
    EXPECT_TRUE(whole.valid());
    EXPECT_FALSE(cube(INT_MAX, INT_MIN).valid());
    for (const int value : {INT_MIN, -1, 0, INT_MAX - 1})
        EXPECT_TRUE(whole.contains(all(value))) << value;
    EXPECT_FALSE(whole.contains(all(INT_MAX)));
    EXPECT_TRUE(whole.intersects(cube(INT_MAX, INT_MAX)));
    EXPECT_FALSE(cube(INT_MIN, INT_MIN).intersects(cube(INT_MAX, INT_MAX)));
}

TEST(BoxOfInts, SmallestIntIsBelowTheMaximumOfADefaultBox)
{
    pcBoundingBoxi box;
    box.expandBy(all(INT_MIN));
    EXPECT_EQ(box, cube(INT_MIN, -INT_MAX));
    pcBoundingBoxi other;
    other.expandBy(all(INT_MAX));
    EXPECT_EQ(other, cube(INT_MAX, INT_MAX));
}

TEST(BoxOfInts, CentreTruncatesTowardZero)
{
    EXPECT_TRUE(pcBoundingBoxi(0, -7, -1, 7, 0, 0).center() == pcVec3i(3, -3, 0));
    EXPECT_TRUE(pcBoundingBoxi(-10, 3, -8, -5, 4, 8).center() == pcVec3i(-7, 3, 0));
}

TEST(BoxOfInts, CentreLosesWhatAFloatCannotHold)
{
    EXPECT_TRUE(cube(16777217, 16777217).center() == all(16777216));
    EXPECT_TRUE(cube(-33554437, 0).center() == all(-16777218));
}

TEST(BoxOfInts, CentreWrapsTheSum)
{
    EXPECT_TRUE(cube(INT_MAX, INT_MAX).center() == all(-1));
    EXPECT_TRUE(cube(INT_MIN, INT_MIN).center() == all(0));
    EXPECT_TRUE(cube(1500000000, 1500000000).center() == all(-647483648));
    EXPECT_TRUE(pcBoundingBoxi().center() == all(0));
}

TEST(BoxOfInts, RadiusTruncatesTwice)
{
    EXPECT_EQ(withDiagonal(1, 1, 1).radius2(), 0); // 0.75
    EXPECT_EQ(withDiagonal(1, 1, 1).radius(), 0);
    EXPECT_EQ(withDiagonal(3, 0, 0).radius2(), 2); // 2.25
    EXPECT_EQ(withDiagonal(3, 0, 0).radius(), 1);
    EXPECT_EQ(withDiagonal(0, 9, 0).radius2(), 20); // 20.25
    EXPECT_EQ(withDiagonal(0, 9, 0).radius(), 4);
    // The squares add up to 2^32 - 3: a quarter of -3 is already 0 when the root is taken.
    EXPECT_EQ(withDiagonal(65532, 675, 262).radius2(), 0);
    EXPECT_EQ(withDiagonal(65532, 675, 262).radius(), 0);
}

TEST(BoxOfInts, RadiusSeesEveryDigitOfTheSquares)
{
    // A quarter of 2147302920; in float it would be 536825728.
    EXPECT_EQ(withDiagonal(46322, 1240, 194).radius2(), 536825730);
    EXPECT_EQ(withDiagonal(46340, 0, 0).radius2(), 536848900);
    EXPECT_EQ(withDiagonal(46340, 0, 0).radius(), 23170);
}

TEST(BoxOfInts, RadiusWrapsTheSquares)
{
    EXPECT_EQ(withDiagonal(65536, 6, 0).radius2(), 9);
    EXPECT_EQ(withDiagonal(65536, 6, 0).radius(), 3);
    EXPECT_EQ(withDiagonal(46341, 0, 0).radius2(), -536869753); // a quarter of -2147479015
    EXPECT_EQ(withDiagonal(46341, 0, 0).radius(), INT_MIN);     // the root of a negative number
}

TEST(BoxOfInts, RadiusWrapsTheDiagonal)
{
    EXPECT_EQ(cube(INT_MIN, INT_MAX).radius2(), 0);  // -1 on each axis
    EXPECT_EQ(cube(-INT_MAX, INT_MAX).radius2(), 3); // -2
    EXPECT_EQ(pcBoundingBoxi().radius2(), 3);        // 2
    EXPECT_EQ(pcBoundingBoxi().radius(), 1);
    EXPECT_EQ(pcBoundingBoxi(INT_MIN, 0, 0, 4, 4, 2).radius2(), 9); // 4 + 2^31, whose square is 16
}

TEST(BoxOfInts, OrdersByTheMinimumCornerAlone)
{
    const pcBoundingBoxi box(1, 1, 1, 5, 5, 5);
    for (const pcBoundingBoxi &larger :
         {pcBoundingBoxi(2, 0, 0, 3, 3, 3), pcBoundingBoxi(1, 2, 0, 3, 3, 3), pcBoundingBoxi(1, 1, 2, 3, 3, 3)}) {
        EXPECT_TRUE(box < larger);
        EXPECT_FALSE(larger < box);
    }
    for (const pcBoundingBoxi &equivalent : {box, pcBoundingBoxi(1, 1, 1, 9, 9, 9), pcBoundingBoxi(1, 1, 1, 0, 0, 0)}) {
        EXPECT_FALSE(box < equivalent);
        EXPECT_FALSE(equivalent < box);
    }
    EXPECT_TRUE(cube(INT_MIN, 0) < cube(INT_MAX, 0));
}

} // namespace
