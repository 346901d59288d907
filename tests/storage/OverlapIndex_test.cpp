#include "OverlapIndex.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using ptCloud::OverlapIndex;
using ptCloud::pcBoundingBoxf;

namespace
{

using Numbers = std::vector<std::size_t>;

bool overlapsOn(float low, float high, float otherLow, float otherHigh)
{
    return low < otherHigh && otherLow < high;
}

/// Asks every box.
Numbers search(const std::vector<pcBoundingBoxf> &boxes, const pcBoundingBoxf &box)
{
    Numbers found;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const pcBoundingBoxf &other = boxes[i];
        if (overlapsOn(other.xMin(), other.xMax(), box.xMin(), box.xMax())
            && overlapsOn(other.yMin(), other.yMax(), box.yMin(), box.yMax())
            && overlapsOn(other.zMin(), other.zMax(), box.zMin(), box.zMax()))
            found.push_back(i);
    }
    return found;
}

class OverlapIndexRandom : public ::testing::TestWithParam<unsigned int>
{
protected:
    void SetUp() override
    {
        std::printf("seed %u\n", GetParam());
        m_random.seed(GetParam());
    }

    float below(int limit) { return static_cast<float>(m_random() % static_cast<unsigned int>(limit)); }
    /// Lengths of every size, many of them powers of two; corners that many boxes share.
    float length()
    {
        const auto power = static_cast<float>(1U << m_random() % 20U);
        return m_random() % 3 == 0 ? power : power + below(1000);
    }
    float corner(int space) { return 500.0F * (below(space) - static_cast<float>(space / 2)); }
    pcBoundingBoxf box(int space)
    {
        const float x = corner(space);
        const float y = corner(space);
        const float z = corner(space);
        return {x, y, z, x + length(), y + length(), z + length()};
    }

    std::mt19937 m_random;
};

} // namespace

TEST(OverlapIndex, FindsNothingAmongNothing)
{
    EXPECT_EQ(OverlapIndex().overlapping({0, 0, 0, 1, 1, 1}), Numbers());
}

TEST(OverlapIndex, FindsABoxThatIsThereTwiceTwiceAndNoneThatOnlyTouches)
{
    OverlapIndex index;
    for (const float x : {0.0F, 1000.0F, -1000.0F, 0.0F})
        index.add({x, 0, 0, x + 1000, 1000, 1000});
    EXPECT_EQ(index.overlapping({0, 0, 0, 1000, 1000, 1000}), (Numbers{0, 3}));
    EXPECT_EQ(index.overlapping({-0.5F, 999, 999, 0.5F, 2000, 2000}), (Numbers{0, 2, 3}));
    EXPECT_EQ(index.overlapping({0, 1000, 0, 1000, 2000, 1000}), Numbers());
}

TEST(OverlapIndex, FindsBoxesAtTheEndsOfTheIntegers)
{
    constexpr float end = 2147483648.0F;
    OverlapIndex index;
    index.add({-end, -end, -end, 1000 - end, 1000 - end, 1000 - end});
    index.add({-end, -end, -end, end, end, end});
    index.add({end, end, end, end + 1000, end + 1000, end + 1000});
    EXPECT_EQ(index.overlapping({-end, -end, -end, end, end, end}), (Numbers{0, 1}));
    EXPECT_EQ(index.overlapping({end, end, end, end + 2000, end + 2000, end + 2000}), (Numbers{2}));
}

TEST_P(OverlapIndexRandom, FindsWhatASearchThroughAllBoxesFinds)
{
    for (const int space : {4, 100, 4000}) {
        OverlapIndex index;
        std::vector<pcBoundingBoxf> boxes;
        for (int i = 0; i < 400; ++i) {
            const pcBoundingBoxf next = box(space);
            ASSERT_EQ(index.overlapping(next), search(boxes, next)) << "box " << i << " of space " << space;
            index.add(next);
            boxes.push_back(next);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, OverlapIndexRandom, ::testing::Range(1U, 9U));
