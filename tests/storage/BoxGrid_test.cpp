#include "BoxGrid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <random>
#include <vector>

using ptCloud::BoxGrid;

namespace
{

constexpr qint64 least = std::numeric_limits<qint32>::min();
constexpr qint64 greatest = std::numeric_limits<qint32>::max();

using Cell = BoxGrid::Ranges;

/// The cells of a grid as they are laid: axis by axis in steps of the edge, as long as a step begins in the range.
std::vector<Cell> layCells(const BoxGrid::Ranges &ranges, qint64 edge)
{
    std::vector<Cell> cells;
    for (qint64 x = ranges[0].lower; x <= ranges[0].upper; x += edge)
        for (qint64 y = ranges[1].lower; y <= ranges[1].upper; y += edge)
            for (qint64 z = ranges[2].lower; z <= ranges[2].upper; z += edge)
                cells.push_back(Cell{{{x, x + edge}, {y, y + edge}, {z, z + edge}}});
    return cells;
}

/// Asks every cell. A second cell that holds the point would be an error, and is told as -2.
int search(const std::vector<Cell> &cells, qint64 x, qint64 y, qint64 z)
{
    int found = BoxGrid::noBox;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const auto holds = [&](std::size_t axis, qint64 value) {
            return cells[i][axis].lower <= value && value < cells[i][axis].upper;
        };
        if (holds(0, x) && holds(1, y) && holds(2, z))
            found = found == BoxGrid::noBox ? static_cast<int>(i) : -2;
    }
    return found;
}

/// A range on the first axis, and one box on each of the others.
BoxGrid::Ranges onX(qint64 lower, qint64 upper)
{
    return {{{lower, upper}, {-1, 1}, {-1, 1}}};
}

struct Extent
{
    qint64 extent;
    qint64 edge;
};

class BoxGridEdge : public ::testing::TestWithParam<Extent>
{
};

TEST_P(BoxGridEdge, IsASixteenthOfTheLongestExtentInWholeThousands)
{
    const auto &[extent, edge] = GetParam();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const qint64 lower : {least - 1, qint64{0}, greatest + 1 - extent}) {
            BoxGrid::Ranges ranges = {{{0, 2}, {0, 2}, {0, 2}}};
            ranges[axis] = {lower, lower + extent};
            EXPECT_EQ(BoxGrid::boxSize(ranges), edge);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Extents, BoxGridEdge,
                         ::testing::Values(Extent{2, 1000}, Extent{999, 1000}, Extent{15999, 1000}, Extent{16000, 1000},
                                           Extent{31999, 1000}, Extent{32000, 2000}, Extent{47999, 2000},
                                           Extent{48000, 3000}, Extent{1000000, 62000}, Extent{2147483647, 134217000},
                                           Extent{2147483648, 134217000}, Extent{4294967297, 268435000}));

TEST(BoxGrid, HasSeventeenToThirtyTwoBoxesOnALongAxis)
{
    EXPECT_EQ(BoxGrid(onX(0, 15999)).boxCount(), 16);
    EXPECT_EQ(BoxGrid(onX(0, 16000)).boxCount(), 17);
    EXPECT_EQ(BoxGrid(onX(0, 31999)).boxCount(), 32);
    EXPECT_EQ(BoxGrid(onX(0, 32000)).boxCount(), 17);
    EXPECT_EQ(BoxGrid(onX(least - 1, greatest + 1)).boxCount(), 17);
    EXPECT_EQ(BoxGrid({{{0, 31999}, {-5, 31994}, {7, 32006}}}).boxCount(), 32 * 32 * 32);
}

TEST(BoxGrid, HasOneBoxOverEqualPoints)
{
    const BoxGrid grid({{{6, 8}, {-1, 1}, {-11, -9}}});
    ASSERT_EQ(grid.boxCount(), 1);
    EXPECT_EQ(grid.boxOf(7, 0, -10), 0);
    EXPECT_EQ(grid.boxOf(6, -1, -11), 0);
    EXPECT_EQ(grid.boxOf(1005, 998, 988), 0);
    EXPECT_EQ(grid.boxOf(1006, 0, -10), BoxGrid::noBox);
    EXPECT_EQ(grid.boxOf(7, 999, -10), BoxGrid::noBox);
    EXPECT_EQ(grid.boxOf(7, 0, 989), BoxGrid::noBox);
    EXPECT_EQ(grid.boxOf(5, 0, -10), BoxGrid::noBox);
    EXPECT_EQ(grid.boxOf(7, -2, -10), BoxGrid::noBox);
    EXPECT_EQ(grid.boxOf(7, 0, -12), BoxGrid::noBox);
}

TEST(BoxGrid, CountsBoxesWithZFastestAndXSlowest)
{
    const BoxGrid grid({{{0, 1000}, {0, 2000}, {0, 3000}}});
    ASSERT_EQ(grid.boxCount(), 2 * 3 * 4);
    EXPECT_EQ(grid.boxOf(0, 0, 0), 0);
    EXPECT_EQ(grid.boxOf(0, 0, 999), 0);
    EXPECT_EQ(grid.boxOf(0, 0, 1000), 1);
    EXPECT_EQ(grid.boxOf(0, 0, 3999), 3);
    EXPECT_EQ(grid.boxOf(0, 1000, 0), 4);
    EXPECT_EQ(grid.boxOf(1000, 0, 0), 12);
    EXPECT_EQ(grid.boxOf(1999, 2999, 3999), 23);
}

class BoxGridSearch : public ::testing::TestWithParam<quint32>
{
protected:
    void SetUp() override
    {
        std::printf("seed %u\n", GetParam());
        m_random.seed(GetParam());
    }

    qint64 between(qint64 lowest, qint64 highest)
    {
        const quint64 number = (static_cast<quint64>(m_random()) << 32U) | m_random();
        return lowest + static_cast<qint64>(number % static_cast<quint64>(highest - lowest + 1));
    }

    /// Ranges of like extents, so that the grid has many boxes, or of any, so that it is long and thin.
    BoxGrid::Ranges drawRanges()
    {
        constexpr qint64 extents[] = {2, 500, 15999, 16000, 31999, 32000, 70000, 2147483647, 4294967297};
        const bool alike = between(0, 2) != 0;
        qint64 extent = extents[between(0, 8)];
        BoxGrid::Ranges ranges;
        for (BoxGrid::Range &range : ranges) {
            if (!alike)
                extent = extents[between(0, 8)];
            range.lower = between(least - 1, greatest + 1 - extent);
            range.upper = range.lower + std::max<qint64>(extent - between(0, 1), 2);
        }
        return ranges;
    }

    /// A value on an edge of a cell, beside one, or anywhere.
    int drawValue(const BoxGrid::Range &range, qint64 edge)
    {
        const qint64 cells = (range.upper - range.lower) / edge + 1;
        const qint64 onEdge = range.lower + edge * between(0, cells) + between(-1, 1);
        const qint64 inside = between(range.lower, range.upper);
        const qint64 drawn[] = {onEdge, onEdge, inside, between(least, greatest)};
        return static_cast<int>(std::clamp(drawn[between(0, 3)], least, greatest));
    }

    std::mt19937 m_random;
};

TEST_P(BoxGridSearch, FindsTheCellThatASearchThroughAllFinds)
{
    const BoxGrid::Ranges ranges = drawRanges();
    const qint64 edge = BoxGrid::boxSize(ranges);
    const std::vector<Cell> cells = layCells(ranges, edge);
    const BoxGrid grid(ranges);
    ASSERT_EQ(static_cast<std::size_t>(grid.boxCount()), cells.size());
    for (int turn = 0; turn < 1000; ++turn) {
        const int x = drawValue(ranges[0], edge);
        const int y = drawValue(ranges[1], edge);
        const int z = drawValue(ranges[2], edge);
        ASSERT_EQ(grid.boxOf(x, y, z), search(cells, x, y, z)) << x << ' ' << y << ' ' << z;
    }
}

TEST_P(BoxGridSearch, KnowsTheCornersOfEveryCell)
{
    const BoxGrid::Ranges ranges = drawRanges();
    const std::vector<Cell> cells = layCells(ranges, BoxGrid::boxSize(ranges));
    const BoxGrid grid(ranges);
    ASSERT_EQ(static_cast<std::size_t>(grid.boxCount()), cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const BoxGrid::Ranges corners = grid.cornersOf(static_cast<int>(i));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            ASSERT_EQ(corners[axis].lower, cells[i][axis].lower) << "box " << i << " axis " << axis;
            ASSERT_EQ(corners[axis].upper, cells[i][axis].upper) << "box " << i << " axis " << axis;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, BoxGridSearch, ::testing::Range(1U, 31U));

/// One axis alone, so that every edge of every cell can be asked.
TEST(BoxGrid, KeepsPointsBesideEveryEdgeApart)
{
    for (const qint64 extent : {16000LL, 31999LL, 1000000LL, 123456789LL, 4294967297LL}) {
        const qint64 lower = least - 1;
        const BoxGrid::Ranges ranges = onX(lower, lower + extent);
        const qint64 edge = BoxGrid::boxSize(ranges);
        const BoxGrid grid(ranges);
        for (int box = 1; lower + box * edge <= lower + extent; ++box) {
            const auto corner = static_cast<int>(lower + box * edge);
            EXPECT_EQ(grid.boxOf(corner - 1, 0, 0), box - 1) << extent;
            EXPECT_EQ(grid.boxOf(corner, 0, 0), box) << extent;
            EXPECT_EQ(grid.boxOf(corner + 1, 0, 0), box) << extent;
        }
    }
}

} // namespace
