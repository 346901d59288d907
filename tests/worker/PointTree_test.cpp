#include "PointTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <tuple>

using ptCloud::pcVec3f;

namespace
{

using Neighbours = std::vector<PointTree::Neighbour>;

float squareOf(const pcVec3f &a, const pcVec3f &b)
{
    return (a - b).length2();
}

/// All points in the order of distance, then of index.
Neighbours sortedByDistance(const Points &points, const pcVec3f &place)
{
    Neighbours all;
    for (std::uint32_t i = 0; i < points.size(); ++i)
        all.emplace_back(i, squareOf(points[i], place));
    std::sort(all.begin(), all.end(), [](const auto &a, const auto &b) {
        return a.second != b.second ? a.second < b.second : a.first < b.first;
    });
    return all;
}

/// Whole coordinates of which many are alike, so that squares of distances are exact and ties frequent.
Points wholePoints(std::size_t count, unsigned int reach)
{
    std::mt19937 random(4);
    Points points;
    const auto next = [&] { return static_cast<float>(random() % reach); };
    for (std::size_t i = 0; i < count; ++i) {
        const float x = next();
        const float y = next();
        points.emplace_back(x, y, next());
    }
    return points;
}

std::vector<float> squaresOf(const Neighbours &found)
{
    std::vector<float> squares;
    for (const PointTree::Neighbour &n : found)
        squares.push_back(n.second);
    return squares;
}

} // namespace

TEST(PointTree, FindsTheNearestThatAskingAllFinds)
{
    for (const unsigned int reach : {1U, 3U, 20U, 1000U}) {
        const Points points = wholePoints(500, reach);
        const PointTree tree(points);
        Neighbours found;
        for (std::size_t i = 0; i < points.size(); i += 7) {
            const Neighbours all = sortedByDistance(points, points[i]);
            for (const std::size_t count : std::initializer_list<std::size_t>{0, 1, 2, 16, 499, 500, 600}) {
                tree.nearest(points[i], count, found);
                const auto end = all.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(count, points.size()));
                EXPECT_EQ(squaresOf(found), squaresOf(Neighbours(all.begin(), end)));
                EXPECT_TRUE(std::is_sorted(found.begin(), found.end(), [](const auto &a, const auto &b) {
                    return a.second != b.second ? a.second < b.second : a.first < b.first;
                }));
                for (const PointTree::Neighbour &n : found)
                    ASSERT_EQ(n.second, squareOf(points[n.first], points[i]));
            }
        }
    }
}

TEST(PointTree, FindsWhatIsWithin)
{
    const Points points = wholePoints(500, 20);
    const PointTree tree(points);
    Neighbours found;
    for (const pcVec3f &place : {pcVec3f(10, 10, 10), pcVec3f(0, 0, 0), pcVec3f(500, 0, 0)}) {
        tree.within(place, 6.5F, found);
        std::sort(found.begin(), found.end(), [](const auto &a, const auto &b) {
            return std::tie(a.second, a.first) < std::tie(b.second, b.first);
        });
        Neighbours all = sortedByDistance(points, place);
        all.erase(std::find_if(all.begin(), all.end(), [](const auto &n) { return n.second >= 6.5F * 6.5F; }),
                  all.end());
        EXPECT_EQ(found, all);
    }
}

TEST(DistinctPoints, AreTheFirstAtEachPlace)
{
    EXPECT_EQ(distinctPoints({{1, 2, 3}, {0, 0, 0}, {1, 2, 3}, {0, 0, 0}, {-1, 5, 0}}),
              (std::vector<std::uint32_t>{0, 1, 4}));
    EXPECT_TRUE(distinctPoints({}).empty());
}

TEST(TypicalSpacing, IsTheSideOfTheSquareThatAPointHasToItself)
{
    Points lattice;
    for (int i = 0; i < 100 * 100; ++i)
        lattice.emplace_back(static_cast<float>(i % 100) * 2, static_cast<float>(i / 100) * 2, 0.0F);
    EXPECT_NEAR(typicalSpacing(PointTree(lattice)), 2, 0.4);
    for (const Points &few : {Points{}, Points{{1, 2, 3}}, Points(20, {1, 2, 3})})
        EXPECT_EQ(typicalSpacing(PointTree(few)), 0);
}
