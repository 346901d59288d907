#include "Bytes.h"
#include "EditingTesting.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <set>

using namespace points;
using support::PlainBlock;

namespace
{

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr unsigned int largestIndex = std::numeric_limits<unsigned int>::max();

/// Blocks of every kind and cuts of every kind, drawn anew for every seed and alike on every machine.
class PointArrayRemovalRandom : public ::testing::TestWithParam<quint32>
{
protected:
    static constexpr int rounds = 50; ///< of blocks for each seed

    void SetUp() override
    {
        std::printf("seed %u\n", GetParam());
        m_random.seed(GetParam());
    }

    unsigned int between(unsigned int least, unsigned int most)
    {
        return least + static_cast<unsigned int>(m_random() % (most - least + 1));
    }
    bool oneIn(unsigned int chances) { return between(1, chances) == 1; }
    template <typename T>
    T oneOf(std::initializer_list<T> values)
    {
        return values.begin()[between(0, static_cast<unsigned int>(values.size()) - 1)];
    }

    QByteArray drawBytes(quint32 size)
    {
        QByteArray bytes(static_cast<int>(size), '\0');
        for (char &byte : bytes)
            byte = static_cast<char>(m_random());
        return bytes;
    }

    /// On the corners of a small lattice, so that points lie on the faces of boxes and the surfaces of spheres; now and
    /// then nowhere.
    float drawCoordinate()
    {
        if (oneIn(20))
            return oneOf({nan, infinity, -infinity, 3e38F, -0.0F});
        const auto whole = static_cast<float>(between(0, 8)) - 4.0F;
        return oneIn(4) ? std::nextafter(whole, oneOf({-infinity, infinity})) : whole;
    }
    QByteArray drawPositions(quint32 points)
    {
        QByteArray bytes;
        for (quint32 i = 0; i < 3 * points; ++i)
            support::put(bytes, drawCoordinate());
        return bytes;
    }

    /// An index, mostly of a point.
    unsigned int drawIndex(quint32 points)
    {
        if (points == 0 || oneIn(15))
            return oneOf({points, points, points + 1, points + between(0, 9), largestIndex, largestIndex - 1});
        return between(0, points - 1);
    }
    void drawTriangles(PlainBlock &block)
    {
        QByteArray &bytes = block.columns[2];
        block.triangles = oneIn(8) ? 0 : between(1, 2 * block.points + 2);
        for (quint32 i = 0; i < 3 * block.triangles; ++i)
            support::put(bytes, drawIndex(block.points));
    }

    PlainBlock drawBlock()
    {
        PlainBlock block;
        block.points = oneIn(30) ? 0 : between(1, oneOf({4U, 70U, 70U, 900U}));
        block.tag = static_cast<qint32>(m_random());
        if (!oneIn(25))
            block.indices.emplace(drawBytes(4 * block.points));
        if (!oneIn(25))
            block.marks.emplace(drawBytes(block.points));
        const bool isFull = oneIn(2);
        for (quint32 value = 0; value < columns.size(); ++value) {
            if (value == 2 ? oneIn(3) : !isFull && oneIn(3))
                continue;
            if (value == 0)
                block.columns[0] = drawPositions(block.points);
            else if (value == 2)
                drawTriangles(block);
            else
                block.columns[value] = drawBytes(block.points * static_cast<quint32>(columns[value].elementBytes));
        }
        return block;
    }

    /// None, a few, many, all but a few, or runs; with and without some that are no points.
    std::set<unsigned int> drawRemoved(quint32 points)
    {
        std::set<unsigned int> removed;
        const unsigned int chances = oneOf({1U, 2U, 2U, 5U, 20U, 100U, 1000U});
        const unsigned int run = oneOf({1U, 1U, 4U, 15U});
        for (unsigned int first = 0; first < points; first += run) {
            for (unsigned int i = first; oneIn(chances) && i < first + run && i < points; ++i)
                removed.insert(i);
        }
        for (unsigned int extra = oneIn(3) ? between(1, 4) : 0; extra > 0; --extra)
            removed.insert(points + oneOf({0U, 0U, 1U, 2U, between(0, 100), largestIndex - points}));
        return removed;
    }

    void drawCut(stPtCloud_PointArray &block, PlainBlock &plain)
    {
        const bool inside = oneIn(2);
        switch (between(1, 4)) {
        case 1:
            return cutBox(block, plain, inside);
        case 2:
            return cutSphere(block, plain, inside);
        default:
            const std::set<unsigned int> removed = drawRemoved(plain.points);
            EXPECT_TRUE(block.removePointsByIndies(removed));
            removePlainly(plain, removed);
        }
    }

    void cutBox(stPtCloud_PointArray &block, PlainBlock &plain, bool inside)
    {
        std::array<float, 6> corners = {};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            corners[axis] = drawCoordinate();
            corners[axis + 3] = oneIn(8) ? drawCoordinate() : corners[axis] + static_cast<float>(between(0, 8));
        }
        const ptCloud::pcBoundingBoxf box(corners[0], corners[1], corners[2], corners[3], corners[4], corners[5]);
        if (inside)
            block.removeInnerByBox(box);
        else
            block.removeOutterByBox(box);
        removeByBoxPlainly(plain, corners, inside);
    }

    void cutSphere(stPtCloud_PointArray &block, PlainBlock &plain, bool inside)
    {
        const float radius = oneIn(6) ? drawCoordinate() : static_cast<float>(between(0, 24)) * 0.25F;
        const std::array<float, 4> values = {drawCoordinate(), drawCoordinate(), drawCoordinate(), radius};
        const ptCloud::pcBoundingSpheref sphere({values[0], values[1], values[2]}, radius);
        if (inside)
            block.removeInnerBySphere(sphere);
        else
            block.removeOutterBySphere(sphere);
        removeBySpherePlainly(plain, values, inside);
    }

    std::mt19937 m_random;
};

TEST_P(PointArrayRemovalRandom, EqualsTheStepByStepRemoval)
{
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        PlainBlock plain = drawBlock();
        stPtCloud_PointArray block;
        fillFrom(block, plain);
        for (unsigned int cuts = between(1, 3); cuts > 0; --cuts) {
            drawCut(block, plain);
            expectHolds(block, plain);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PointArrayRemovalRandom, ::testing::Range(1U, 121U));

} // namespace
