#include "DataSetFileTest.h"
#include "EditingTesting.h"

#include <limits>
#include <set>
#include <vector>

using namespace points;
using ptCloud::pcBoundingBoxf;
using ptCloud::pcBoundingSpheref;

namespace
{

using RemovalByBox = void (stPtCloud_PointArray::*)(const pcBoundingBoxf &);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::removeInnerByBox), RemovalByBox>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::removeOutterByBox), RemovalByBox>);
using RemovalBySphere = void (stPtCloud_PointArray::*)(const pcBoundingSpheref &);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::removeInnerBySphere), RemovalBySphere>);
static_assert(std::is_same_v<decltype(&stPtCloud_PointArray::removeOutterBySphere), RemovalBySphere>);

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

class PointArrayRemovalByRegion : public BlockOfDifferences
{
};

// What lies inside and what outside, each tried with both removals.

using Places = std::vector<std::array<float, 3>>;

struct BoxCase
{
    const char *name;
    std::array<float, 6> corners; ///< min x y z, max x y z
    Places places;
    Indices inside;
};

struct SphereCase
{
    const char *name;
    std::array<float, 4> sphere; ///< centre, radius
    Places places;
    Indices inside;
};

/// The rest of the points, whose number is `count`.
Indices others(const Indices &indices, std::size_t count)
{
    const std::set<unsigned int> without(indices.begin(), indices.end());
    Indices result;
    for (unsigned int i = 0; i < count; ++i) {
        if (without.count(i) == 0)
            result.push_back(i);
    }
    return result;
}

class PointArrayRemovalByBox : public BlockOfDifferences, public ::testing::WithParamInterface<BoxCase>
{
protected:
    static pcBoundingBoxf box()
    {
        const std::array<float, 6> &c = GetParam().corners;
        return {c[0], c[1], c[2], c[3], c[4], c[5]};
    }
};

TEST_P(PointArrayRemovalByBox, TakesWhatIsInside)
{
    makeAt(GetParam().places);
    m_block.removeInnerByBox(box());
    expectKept(others(GetParam().inside, GetParam().places.size()));
}

TEST_P(PointArrayRemovalByBox, TakesWhatIsOutside)
{
    makeAt(GetParam().places);
    m_block.removeOutterByBox(box());
    expectKept(GetParam().inside);
}

constexpr float justAboveOne = 1.00000012F;
const Places someWithoutPlace = {{nan, 0, 0}, {0, nan, 0}, {0, 0, nan}, {nan, nan, nan}, {nan, 5, 0}, {9, 0, nan}};
const Places fewPlaces = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}};

INSTANTIATE_TEST_SUITE_P(
    Boxes, PointArrayRemovalByBox,
    ::testing::Values(
        BoxCase{"WithFacesInside",
                {-1, -2, -3, 1, 2, 3},
                {{1, 2, 3}, {-1, -2, -3}, {1, 0, 0}, {0, 2, 0}, {0, 0, -3}, {0, 0, 0}},
                {0, 1, 2, 3, 4, 5}},
        BoxCase{"WithWhatIsJustOutsideOut",
                {-1, -1, -1, 1, 1, 1},
                {{justAboveOne, 0, 0},
                 {0, justAboveOne, 0},
                 {0, 0, justAboveOne},
                 {-justAboveOne, 0, 0},
                 {1, 1, 1},
                 {0, -justAboveOne, 0},
                 {0, 0, -justAboveOne}},
                {4}},
        BoxCase{"OfOnePoint", {1, 1, 1, 1, 1, 1}, fewPlaces, {1}},
        BoxCase{"WithoutThickness", {0, 0, 1, 5, 5, 1}, fewPlaces, {1}},
        BoxCase{"AroundNothing", {5, 5, 5, 6, 6, 6}, fewPlaces, {}},
        BoxCase{"AroundEverything", {-9, -9, -9, 9, 9, 9}, fewPlaces, {0, 1, 2}},
        BoxCase{"Inverted", {9, 9, 9, -9, -9, -9}, fewPlaces, {}},
        BoxCase{"InvertedInX", {2, 0, 0, 0, 2, 2}, fewPlaces, {}},
        BoxCase{"InvertedInY", {0, 2, 0, 2, 0, 2}, fewPlaces, {}},
        BoxCase{"InvertedInZ", {0, 0, 2, 2, 2, 0}, fewPlaces, {}},
        BoxCase{"InvertedForWhatHasNoPlace", {1, 1, 1, 0, 0, 0}, someWithoutPlace, {}},
        BoxCase{"WhatHasNoPlaceIsNotOutside", {-1, -1, -1, 1, 1, 1}, someWithoutPlace, {0, 1, 2, 3}},
        BoxCase{"WithoutABoundInX", {nan, 0, 0, 1, 1, 1}, {{-99, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {0}},
        BoxCase{"WithoutAnUpperBoundInZ", {0, 0, 0, 1, 1, nan}, {{0, 0, 99}, {0, 0, -1}, {0, 2, 0}}, {0}},
        BoxCase{
            "WithoutBounds", {nan, nan, nan, nan, nan, nan}, {{0, 0, 0}, {nan, 1, 2}, {-infinity, 1, 2}}, {0, 1, 2}},
        BoxCase{"WithWhatIsEndlessFarOut", {0, 0, 0, 1, 1, 1}, {{infinity, 0, 0}, {0, -infinity, 0}, {0, 0, 0}}, {2}},
        BoxCase{"OfEndlessSize",
                {-infinity, -infinity, -infinity, infinity, infinity, infinity},
                {{infinity, -infinity, 0}, {1, 2, 3}, {3e38F, 0, 0}},
                {0, 1, 2}},
        BoxCase{"WithNegativeZero", {0, 0, 0, 1, 1, 1}, {{-0.0F, -0.0F, -0.0F}, {0, 0, 0}}, {0, 1}},
        BoxCase{"OfNoPoints", {0, 0, 0, 1, 1, 1}, {}, {}}),
    support::CaseName());

class PointArrayRemovalBySphere : public BlockOfDifferences, public ::testing::WithParamInterface<SphereCase>
{
protected:
    static pcBoundingSpheref sphere()
    {
        const std::array<float, 4> &s = GetParam().sphere;
        return {{s[0], s[1], s[2]}, s[3]};
    }
};

TEST_P(PointArrayRemovalBySphere, TakesWhatIsInside)
{
    makeAt(GetParam().places);
    m_block.removeInnerBySphere(sphere());
    expectKept(others(GetParam().inside, GetParam().places.size()));
}

TEST_P(PointArrayRemovalBySphere, TakesWhatIsOutside)
{
    makeAt(GetParam().places);
    m_block.removeOutterBySphere(sphere());
    expectKept(GetParam().inside);
}

INSTANTIATE_TEST_SUITE_P(
    Spheres, PointArrayRemovalBySphere,
    ::testing::Values(
        SphereCase{"WithItsSurfaceInside",
                   {10, 20, 30, 3},
                   {{13, 20, 30}, {10, 17, 30}, {10, 20, 33}, {12, 21, 32}, {8, 19, 28}, {10, 20, 30}},
                   {0, 1, 2, 3, 4, 5}},
        SphereCase{"WithWhatIsJustOutsideOut",
                   {0, 0, 0, 1},
                   {{justAboveOne, 0, 0}, {0, -justAboveOne, 0}, {0, 0, 1}, {0.6F, 0.8F, 0.001F}, {1, 1, 1}},
                   {2}},
        // Both sums of squares are more than 1 before they are rounded.
        SphereCase{"MeasuredInThirtyTwoBits", {0, 0, 0, 1}, {{1, 1e-4F, 0}, {0.6F, 0.8F, 0}}, {0, 1}},
        SphereCase{"OfRadiusZero", {1, 1, 1, 0}, {{0, 0, 0}, {1, 1, 1}, {1, 1, justAboveOne}}, {1}},
        SphereCase{"OfRadiusNegativeZero", {1, 1, 1, -0.0F}, fewPlaces, {1}},
        SphereCase{"OfNegativeRadius", {1, 1, 1, -5}, fewPlaces, {}},
        SphereCase{"OfTheSmallestNegativeRadius", {1, 1, 1, -1e-45F}, fewPlaces, {}},
        SphereCase{"OfNegativeRadiusForWhatHasNoPlace", {0, 0, 0, -1}, someWithoutPlace, {}},
        SphereCase{"OfNegativeEndlessRadius", {0, 0, 0, -infinity}, fewPlaces, {}},
        SphereCase{"WhatHasNoPlaceIsNotOutside", {0, 0, 0, 1}, someWithoutPlace, {0, 1, 2, 3, 4, 5}},
        SphereCase{"OfNoRadius", {0, 0, 0, nan}, {{5, 5, 5}, {nan, 0, 0}, {infinity, 0, 0}}, {0, 1, 2}},
        SphereCase{"WithoutACentre", {0, nan, 0, 1}, {{5, 5, 5}, {0, 0, 0}}, {0, 1}},
        SphereCase{"WithWhatIsEndlessFarOut", {0, 0, 0, 1}, {{infinity, 0, 0}, {0, 0, 0}, {0, -infinity, 0}}, {1}},
        SphereCase{"OfEndlessRadius", {0, 0, 0, infinity}, {{infinity, 0, 0}, {0, 3e38F, 0}, {1, 2, 3}}, {0, 1, 2}},
        // The square of a distance passes the largest number before the distance does.
        SphereCase{"WithSquaresBeyondTheRange", {0, 0, 0, 1e19F}, {{2e19F, 0, 0}, {1e19F, 0, 0}}, {1}},
        SphereCase{"WithASquaredRadiusBeyondTheRange", {0, 0, 0, 2e19F}, {{3e38F, 0, 0}, {0, 0, 0}}, {0, 1}},
        SphereCase{"WithSquaresBelowTheRange", {0, 0, 0, 1e-30F}, {{2e-30F, 0, 0}, {1e-10F, 0, 0}}, {0}},
        SphereCase{"OfNoPoints", {0, 0, 0, 1}, {}, {}}),
    support::CaseName());

enum class Shape { InnerBox, OuterBox, InnerSphere, OuterSphere };

class PointArrayRemovalByShape : public BlockOfDifferences, public ::testing::WithParamInterface<Shape>
{
protected:
    /// Removes nothing of what lies within 1 of the origin, or all of it.
    void remove(bool all)
    {
        const bool isInner = GetParam() == Shape::InnerBox || GetParam() == Shape::InnerSphere;
        const float centre = isInner == all ? 0.0F : 50.0F;
        const pcBoundingBoxf box(centre - 2, centre - 2, centre - 2, centre + 2, centre + 2, centre + 2);
        const pcBoundingSpheref sphere({centre, centre, centre}, 2);
        switch (GetParam()) {
        case Shape::InnerBox:
            return m_block.removeInnerByBox(box);
        case Shape::OuterBox:
            return m_block.removeOutterByBox(box);
        case Shape::InnerSphere:
            return m_block.removeInnerBySphere(sphere);
        case Shape::OuterSphere:
            return m_block.removeOutterBySphere(sphere);
        }
    }
};

TEST_P(PointArrayRemovalByShape, LeavesTheTrianglesWhereItTakesNothing)
{
    const Triangles before = {{1, 2, 0}, {2, 7, 1}};
    makeAt({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, before);
    remove(false);
    expectKept({0, 1, 2});
    EXPECT_EQ(triangles(), before) << "not bent, as nothing is removed";
}

TEST_P(PointArrayRemovalByShape, TakesTheTrianglesOfThePointsAlong)
{
    makeAt({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{1, 2, 0}, {2, 7, 1}, {5, 6, 7}});
    remove(true);
    expectKept({});
    EXPECT_EQ(triangles(), (Triangles{{0, 0, 0}})) << "the one that names none of them";
}

TEST_P(PointArrayRemovalByShape, DoesNothingWithoutPositions)
{
    for (const bool all : {false, true}) {
        SCOPED_TRACE(all);
        if (!all)
            make(3, {ptCloud::EDataSetColumn_Color}, {{1, 2, 0}});
        remove(all);
        expectKept({0, 1, 2});
        EXPECT_EQ(triangles(), (Triangles{{1, 2, 0}}));
    }
}

TEST_P(PointArrayRemovalByShape, DoesNothingToANewBlock)
{
    remove(false);
    remove(true);
    EXPECT_TRUE(isNew(m_block));
}

INSTANTIATE_TEST_SUITE_P(Shapes, PointArrayRemovalByShape,
                         ::testing::Values(Shape::InnerBox, Shape::OuterBox, Shape::InnerSphere, Shape::OuterSphere));

TEST_F(PointArrayRemovalByRegion, InTheMiddleKeepsEveryColumnAligned)
{
    makeFull(6, {{0, 1, 5}, {5, 4, 1}, {2, 5, 5}});
    for (unsigned int i = 0; i < 6; ++i)
        m_block.m_position[i].set(static_cast<float>(i), 0, 0);
    m_block.removeInnerByBox(pcBoundingBoxf(2, -1, -1, 3, 1, 1));
    ASSERT_EQ(m_block.m_pointCount, 4U);
    EXPECT_EQ(triangles(), (Triangles{{0, 0, 3}, {3, 2, 0}}));
    const std::array<float, 4> left = {0, 1, 4, 5};
    for (unsigned int i = 0; i < 4; ++i)
        EXPECT_EQ(m_block.m_position[i], ptCloud::pcVec3f(left[i], 0, 0)) << i;
}

TEST_F(PointArrayRemovalByRegion, CountsAPointWithoutAPlaceAsInsideThoughTheBoxDoesNotContainIt)
{
    const pcBoundingBoxf box(-1, -1, -1, 1, 1, 1);
    ASSERT_FALSE(box.contains({nan, 0, 0}));
    makeAt({{nan, 0, 0}, {5, 0, 0}, {0, 0, 0}});
    m_block.removeInnerByBox(box);
    expectKept({1});
}

} // namespace
