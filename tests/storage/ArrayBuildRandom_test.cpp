#include "ArrayBuildTesting.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

using support::PlainArray;
using support::PlainArrayBuild;

namespace
{

/// Arrays of every kind, drawn anew for every seed and alike on every machine.
class ArrayBuildDrawn : public ArrayBuildTest, public ::testing::WithParamInterface<quint32>
{
protected:
    void SetUp() override
    {
        ArrayBuildTest::SetUp();
        std::printf("seed %u\n", GetParam());
        m_random.seed(GetParam());
    }

    qint64 between(qint64 least, qint64 most)
    {
        return least + static_cast<qint64>(m_random() % static_cast<quint64>(most - least + 1));
    }
    bool oneIn(int chances) { return between(1, chances) == 1; }
    template <typename T>
    T oneOf(std::initializer_list<T> values)
    {
        return *(values.begin() + between(0, static_cast<qint64>(values.size()) - 1));
    }

    /// The space that the next array lies in.
    void drawSpace(std::initializer_list<qint64> bases)
    {
        qint64 longest = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            m_base[axis] = oneOf(bases);
            m_span[axis] = oneOf<qint64>({0, 10, 998, 2500, 15997, 15998, 31998, 90000, between(1, 40000)});
            if (axis == 2 && !oneIn(4))
                m_span[axis] = between(0, 3000);
            longest = std::max(longest, m_span[axis] + 2);
        }
        m_edge = std::max<qint64>(longest / 16 / 1000 * 1000, 1000);
    }

    /// Anywhere in the space, often on or beside an edge of the boxes, now and then nowhere.
    float drawCoordinate(std::size_t axis)
    {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        if (m_strays && oneIn(60))
            return oneOf({std::numeric_limits<float>::quiet_NaN(), infinity, -infinity, 3e9F, -3e9F, 1e30F});
        if (oneIn(3)) {
            const qint64 lower = m_base[axis] - oneOf<qint64>({1, 1, 2});
            const auto edge = static_cast<float>(lower + m_edge * between(0, m_span[axis] / m_edge));
            return oneOf({edge, std::nextafter(edge, -infinity), std::nextafter(edge, infinity)});
        }
        return static_cast<float>(m_base[axis]) + 0.25F * static_cast<float>(between(0, 4 * m_span[axis]));
    }

    std::vector<Place> drawPlaces(qint64 count)
    {
        const bool scattered = oneIn(3);
        std::vector<Place> places;
        for (; count > 0; --count) {
            if (scattered || places.empty() || oneIn(12)) {
                places.push_back({drawCoordinate(0), drawCoordinate(1), drawCoordinate(2)});
            } else {
                places.push_back(places.back());
                for (float &coordinate : places.back())
                    coordinate += 0.5F * static_cast<float>(between(-250, 280));
            }
        }
        return places;
    }

    PlainArray drawArray(qint64 points)
    {
        m_strays = oneIn(5);
        Columns columns;
        for (const quint32 column : allColumnsButTriangles()) {
            if (oneIn(3))
                columns.push_back(column);
        }
        PlainArray plain = plainArray(drawPlaces(points), columns, static_cast<unsigned int>(between(1, 1000)));
        plain.tag = static_cast<qint32>(oneOf<qint64>({-1, -1, 0, between(-100000, 100000)}));
        return plain;
    }

    /// Expects the plain build's bytes, or that there was no point to build with.
    void expectBuilds(bool result, const PlainArrayBuild &plain)
    {
        if (!plain.complete) {
            expectFailedEmpty(result, {emptyLine()});
            return;
        }
        EXPECT_TRUE(result);
        support::expectClosed(m_file);
        EXPECT_EQ(m_log.lines(), QStringList());
        expectBytes(plain.blockFile);
    }

    std::mt19937 m_random;

private:
    std::array<qint64, 3> m_base = {};
    std::array<qint64, 3> m_span = {};
    qint64 m_edge = 1000;
    bool m_strays = false;
};

class ArrayBuildRandom : public ArrayBuildDrawn
{
};

TEST_P(ArrayBuildRandom, EqualsThePlainBuildByteForByte)
{
    drawSpace({0, 7, -1500, 400000, -5000000});
    PlainArray plain = drawArray(oneIn(8) ? 1 : between(2, 400));
    if (oneIn(8))
        addTriangles(plain, static_cast<quint32>(between(1, 30)));
    expectBuilds(m_file.makeDataSet_byPointsArray(make(plain)), buildPlainly(plain));
}

INSTANTIATE_TEST_SUITE_P(Seeds, ArrayBuildRandom, ::testing::Range(1U, 61U));

class ArrayListBuildRandom : public ArrayBuildDrawn
{
protected:
    /// Builds from the arrays and compares. Their points stand in the library's own arrays and in plain ones.
    void expectBuildsAsPlain(const std::vector<PlainArray> &plain)
    {
        QList<const ptCloud::stPtCloud_PointArray *> arrays;
        for (const PlainArray &array : plain)
            arrays.append(&make(array));
        expectBuilds(m_file.makeDataSet_byPointsArray(arrays), buildPlainly(plain));
    }
};

TEST_P(ArrayListBuildRandom, EqualsThePlainBuildByteForByteWhereGridsOverlap)
{
    std::vector<PlainArray> plain;
    for (qint64 arrays = between(1, 5); arrays > 0; --arrays) {
        if (plain.empty() || !oneIn(3))
            drawSpace({0, 0, 500, 998, -1500, 3000, 31000});
        const bool none = !plain.empty() && oneIn(8);
        plain.push_back(drawArray(none ? 0 : oneIn(6) ? 1 : between(2, 150)));
        if (plain.size() > 1 && !none && oneIn(6))
            addTriangles(plain.back(), static_cast<quint32>(between(1, 9)));
    }
    if (oneIn(8))
        plain.push_back(plain.front());
    expectBuildsAsPlain(plain);
}

TEST_P(ArrayListBuildRandom, EqualsThePlainBuildByteForByteWhereGridsAreApart)
{
    std::vector<PlainArray> plain;
    for (qint64 at = 0; at < 4; ++at) {
        drawSpace({at * 1000000});
        plain.push_back(drawArray(between(1, 150)));
    }
    expectBuildsAsPlain(plain);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ArrayListBuildRandom, ::testing::Range(1U, 101U));

} // namespace
