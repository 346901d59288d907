#include "VolumeCalcArea.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <type_traits>
#include <utility>

using namespace ptCloud;

namespace
{

static_assert(std::is_copy_constructible_v<VolumeCalcArea> && std::is_copy_assignable_v<VolumeCalcArea>);
static_assert(std::is_move_constructible_v<VolumeCalcArea> && std::is_move_assignable_v<VolumeCalcArea>);
static_assert(std::is_same_v<decltype(VolumeCalcArea::groundHeightType), int>);
static_assert(std::is_same_v<decltype(VolumeCalcArea::groundHeight), float>);
static_assert(std::is_same_v<decltype(VolumeCalcArea::maxHeight), float>);
static_assert(std::is_same_v<decltype(VolumeCalcArea::gridSize), float>);
static_assert(std::is_same_v<decltype(VolumeCalcArea::boundary), QList<pcVec3f>>);
static_assert(std::is_same_v<decltype(VolumeCalcArea::prisms), QList<stPrism>>);
static_assert(std::is_same_v<decltype(VolumeCalcArea::quadPrisms), QList<stQuadPrism>>);

template <typename Prism>
Prism withVolumes(double dig, double fill)
{
    Prism prism;
    prism.digVolume = dig;
    prism.fillVolume = fill;
    return prism;
}

/// An area with a result of each method: 1 and 2 of the mesh, 4 and 8 of the grid.
VolumeCalcArea calculatedArea()
{
    VolumeCalcArea area;
    area.prisms << withVolumes<stPrism>(0.75, 2) << withVolumes<stPrism>(0.25, 0);
    area.quadPrisms << withVolumes<stQuadPrism>(4, 3) << withVolumes<stQuadPrism>(0, 5);
    area.dtmCalculated = true;
    area.gridCalculated = true;
    return area;
}

void expectVolumes(const VolumeCalcArea &area, double digDtm, double fillDtm, double digGrid, double fillGrid)
{
    EXPECT_EQ(area.getDigVolume_dtm(), digDtm);
    EXPECT_EQ(area.getFillVolume_dtm(), fillDtm);
    EXPECT_EQ(area.getDigVolume_grid(), digGrid);
    EXPECT_EQ(area.getFillVolume_grid(), fillGrid);
}

VolumeCalcArea withCorners(std::initializer_list<float> heights)
{
    VolumeCalcArea area;
    for (const float z : heights)
        area.boundary << pcVec3f(1, 2, z);
    return area;
}

TEST(VolumeCalcArea, StartsWithItsDefaults)
{
    const VolumeCalcArea area;
    EXPECT_EQ(area.groundHeightType, 0);
    EXPECT_EQ(area.groundHeight, 0.0F);
    EXPECT_EQ(area.maxHeight, 99999.0F);
    EXPECT_EQ(area.gridSize, 0.1F);
    EXPECT_TRUE(area.boundary.isEmpty());
    EXPECT_TRUE(area.prisms.isEmpty());
    EXPECT_TRUE(area.quadPrisms.isEmpty());
    EXPECT_FALSE(area.dtmCalculated);
    EXPECT_FALSE(area.gridCalculated);
    expectVolumes(area, 0, 0, 0, 0);
}

TEST(VolumeCalcArea, KeepsItsFieldsInOrder)
{
    const VolumeCalcArea area;
    const void *const fields[] = {&area.groundHeightType, &area.groundHeight,  &area.maxHeight,
                                  &area.gridSize,         &area.boundary,      &area.prisms,
                                  &area.quadPrisms,       &area.dtmCalculated, &area.gridCalculated};
    EXPECT_EQ(fields[0], static_cast<const void *>(&area));
    for (std::size_t i = 1; i < std::size(fields); ++i)
        EXPECT_TRUE(std::less<>()(fields[i - 1], fields[i])) << i;
}

TEST(VolumeCalcArea, SumsTheVolumesOfEachMethod)
{
    expectVolumes(calculatedArea(), 1, 2, 4, 8);
}

TEST(VolumeCalcArea, HasNoVolumeOfAMethodThatGaveNoResult)
{
    VolumeCalcArea area = calculatedArea();
    area.dtmCalculated = false;
    expectVolumes(area, 0, 0, 4, 8);
    area.gridCalculated = false;
    expectVolumes(area, 0, 0, 0, 0);
    area.dtmCalculated = true;
    expectVolumes(area, 1, 2, 0, 0);
}

TEST(VolumeCalcArea, HasVolumesOfZeroWhereAResultIsEmpty)
{
    VolumeCalcArea area;
    area.dtmCalculated = true;
    area.gridCalculated = true;
    expectVolumes(area, 0, 0, 0, 0);
}

TEST(VolumeCalcArea, SumsInTheOrderOfTheLists)
{
    VolumeCalcArea area;
    area.dtmCalculated = true;
    area.gridCalculated = true;
    // The 1 is lost beside 1e17 and the 3 that comes last is not.
    for (const double value : {1.0, 1e17, -1e17, 3.0}) {
        area.prisms << withVolumes<stPrism>(value, -value);
        area.quadPrisms << withVolumes<stQuadPrism>(value, -value);
    }
    expectVolumes(area, 3, -3, 3, -3);
}

TEST(VolumeCalcArea, SumsWhatIsNotANumberToo)
{
    VolumeCalcArea area = calculatedArea();
    area.quadPrisms[0].fillVolume = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(area.getFillVolume_grid()));
    EXPECT_EQ(area.getDigVolume_grid(), 4.0);
}

TEST(VolumeCalcArea, AveragesTheHeightsOfItsCorners)
{
    EXPECT_EQ(VolumeCalcArea().getGroundHeightBoundaryAvg(), 0.0F);
    EXPECT_EQ(withCorners({7.25F}).getGroundHeightBoundaryAvg(), 7.25F);
    EXPECT_EQ(withCorners({1, 2, 6}).getGroundHeightBoundaryAvg(), 3.0F);
    EXPECT_EQ(withCorners({-1, 1}).getGroundHeightBoundaryAvg(), 0.0F);
}

TEST(VolumeCalcArea, AveragesInDoubleAndNarrowsOnce)
{
    // A sum in floats would stay at 2^24.
    EXPECT_EQ(withCorners({16777216, 1, 1, 1, 1}).getGroundHeightBoundaryAvg(), 3355444.0F);
    EXPECT_EQ(
        withCorners({0.1F, 0.2F, 0.4F}).getGroundHeightBoundaryAvg(),
        static_cast<float>((static_cast<double>(0.1F) + static_cast<double>(0.2F) + static_cast<double>(0.4F)) / 3.0));
    constexpr float largest = std::numeric_limits<float>::max();
    EXPECT_EQ(withCorners({largest, largest, largest}).getGroundHeightBoundaryAvg(), largest);
}

TEST(VolumeCalcArea, AveragesWhateverTheGroundHeightIsTakenFrom)
{
    VolumeCalcArea area = withCorners({2, 4});
    area.groundHeightType = 1;
    area.groundHeight = 50;
    EXPECT_EQ(area.getGroundHeightBoundaryAvg(), 3.0F);
}

TEST(VolumeCalcArea, HasNoAverageBesideACornerThatIsNotANumber)
{
    EXPECT_TRUE(std::isnan(withCorners({1, std::numeric_limits<float>::quiet_NaN()}).getGroundHeightBoundaryAvg()));
}

void expectSame(const VolumeCalcArea &area, const VolumeCalcArea &expected)
{
    EXPECT_EQ(area.groundHeightType, expected.groundHeightType);
    EXPECT_EQ(area.groundHeight, expected.groundHeight);
    EXPECT_EQ(area.maxHeight, expected.maxHeight);
    EXPECT_EQ(area.gridSize, expected.gridSize);
    EXPECT_EQ(area.boundary, expected.boundary);
    EXPECT_EQ(area.prisms.size(), expected.prisms.size());
    EXPECT_EQ(area.quadPrisms.size(), expected.quadPrisms.size());
    EXPECT_EQ(area.dtmCalculated, expected.dtmCalculated);
    EXPECT_EQ(area.gridCalculated, expected.gridCalculated);
    expectVolumes(area, expected.getDigVolume_dtm(), expected.getFillVolume_dtm(), expected.getDigVolume_grid(),
                  expected.getFillVolume_grid());
}

VolumeCalcArea unlikeTheDefaults()
{
    VolumeCalcArea area = calculatedArea();
    area.groundHeightType = 2;
    area.groundHeight = -4.5F;
    area.maxHeight = 12.5F;
    area.gridSize = 0.75F;
    area.boundary << pcVec3f(1, 2, 3) << pcVec3f(4, 5, 6);
    return area;
}

TEST(VolumeCalcArea, CopiesAndMovesEveryField)
{
    const VolumeCalcArea original = unlikeTheDefaults();
    VolumeCalcArea copy(original);
    expectSame(copy, original);
    VolumeCalcArea assigned;
    assigned = original;
    expectSame(assigned, original);
    const VolumeCalcArea moved(std::move(copy));
    expectSame(moved, original);
    VolumeCalcArea moveAssigned;
    moveAssigned = std::move(assigned);
    expectSame(moveAssigned, original);
}

TEST(VolumeCalcArea, IsIndependentOfItsCopies)
{
    const VolumeCalcArea original = unlikeTheDefaults();
    VolumeCalcArea copy(original);
    copy.groundHeight = 99;
    copy.boundary[0].z() = 77;
    copy.prisms[0].digVolume = 100;
    copy.quadPrisms.clear();
    copy.dtmCalculated = false;
    expectSame(original, unlikeTheDefaults());
    EXPECT_EQ(copy.boundary.at(0).z(), 77.0F);
}

} // namespace
