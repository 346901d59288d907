#include "LasBuildTesting.h"

#include <cstdio>
#include <random>

namespace
{

enum class Order { Flight, Random, Sorted };

/// Draws numbers and points, alike on every machine.
class LasBuildDrawn : public LasBuildTest
{
protected:
    using Place = std::array<qint32, 3>;

    void seed(quint32 number)
    {
        std::printf("seed %u\n", number);
        m_random.seed(number);
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

    support::LasPoint drawPoint(const Place &place, bool colors256)
    {
        support::LasPoint drawn = point(place[0], place[1], place[2], static_cast<int>(between(0, 1000000)));
        drawn.gpsTime = static_cast<double>(m_random()) / 1000.0;
        drawn.byteOffsetToWaveformData = (static_cast<quint64>(m_random()) << 32U) | m_random();
        const qint64 brightest = colors256 ? 255 : 65535;
        for (quint16 *channel : {&drawn.red, &drawn.green, &drawn.blue})
            *channel = static_cast<quint16>(between(0, brightest));
        return drawn;
    }

    std::mt19937 m_random;
};

/// Small files of every kind, drawn anew for every seed.
class LasBuildRandom : public LasBuildDrawn, public ::testing::WithParamInterface<quint32>
{
protected:
    void SetUp() override
    {
        LasBuildDrawn::SetUp();
        seed(GetParam());
    }

    /// The space that the files of a case share. Its edges are those of the grid if a header covers just this range.
    void drawSpace()
    {
        qint64 longest = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            m_base[axis] = static_cast<qint32>(oneOf<qint64>({0, -1500, 7, 400000, -90000000}));
            m_span[axis] = static_cast<qint32>(
                oneOf<qint64>({0, 10, 998, 2500, 15997, 15998, 31998, 90000, 123457, between(1, 60000)}));
            longest = std::max<qint64>(longest, m_span[axis] + 2);
        }
        m_edge = static_cast<qint32>(std::max<qint64>(longest / 16 / 1000 * 1000, 1000));
    }

    qint32 drawCoordinate(std::size_t axis)
    {
        const qint32 lower = m_base[axis] - 1;
        switch (between(0, 9)) {
        case 0:
            return static_cast<qint32>(lower + between(-5000, m_span[axis] + 5000));
        case 1:
        case 2:
        case 3:
            return static_cast<qint32>(lower + m_edge * between(0, m_span[axis] / m_edge + 1) + between(-1, 1));
        default:
            return static_cast<qint32>(m_base[axis] + between(0, m_span[axis]));
        }
    }

    std::vector<Place> drawPlaces(Order order, int count)
    {
        std::vector<Place> places;
        for (int i = 0; i < count; ++i) {
            if (order == Order::Flight && i > 0 && !oneIn(15)) {
                places.push_back(places.back());
                for (qint32 &coordinate : places.back())
                    coordinate += static_cast<qint32>(between(-200, 220));
            } else {
                places.push_back({drawCoordinate(0), drawCoordinate(1), drawCoordinate(2)});
            }
        }
        if (order == Order::Sorted)
            std::sort(places.begin(), places.end());
        return places;
    }

    /// A header's range over the shared space, by the file's scale and offset; sometimes the wrong way round.
    void drawBounds(support::LasWriter &writer)
    {
        writer.hasBounds = true;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double scale = writer.scale[axis];
            const double offset = writer.offset[axis];
            writer.minimum[axis] = m_base[axis] * scale + offset;
            writer.maximum[axis] = (static_cast<double>(m_base[axis]) + m_span[axis]) * scale + offset;
            if (oneIn(8))
                std::swap(writer.minimum[axis], writer.maximum[axis]);
        }
    }

    void drawSurroundings(support::LasWriter &writer)
    {
        for (qint64 heads = between(0, 2); heads > 0; --heads)
            writer.variableHeads.emplace_back(54, 'v');
        if (oneIn(3))
            writer.offsetToPointData = writer.headerSize() + 54 * 2 + between(0, 100);
        if (oneIn(3) || writer.points.empty())
            writer.tail = QByteArray(static_cast<int>(between(1, 70)), '\x33');
        if (oneIn(4))
            writer.announcedPoints = between(0, static_cast<qint64>(writer.points.size()) + 5);
        if (oneIn(12))
            writer.announcedPoints = oneOf<qint64>({5000, 3000000000LL, 4294967295LL});
    }

    int drawCount() { return oneIn(8) ? static_cast<int>(between(0, 1)) : static_cast<int>(between(2, 400)); }

    QByteArray drawFile()
    {
        support::LasWriter writer;
        writer.format = static_cast<quint8>(between(0, 5));
        writer.versionMinor = static_cast<quint8>(between(2, 3));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            writer.scale[axis] = oneOf({0.001, 0.01, 1.0, 0.3048, 1e-7});
            writer.offset[axis] = oneOf({0.0, 0.0, 500000.0, -1234.5});
        }
        const auto order = oneOf({Order::Flight, Order::Flight, Order::Random, Order::Sorted});
        const bool colors256 = oneIn(2);
        for (const Place &place : drawPlaces(order, drawCount()))
            writer.points.push_back(drawPoint(place, colors256));
        if (!oneIn(4))
            drawBounds(writer);
        drawSurroundings(writer);
        return writer.bytes();
    }

    std::vector<quint32> drawColumns()
    {
        std::vector<quint32> columns = {0};
        for (quint32 column = 3; column < 19; ++column) {
            if (oneIn(2))
                columns.push_back(column);
        }
        for (std::size_t i = columns.size() - 1; i > 0; --i)
            std::swap(columns[i], columns[static_cast<std::size_t>(between(0, static_cast<qint64>(i)))]);
        if (oneIn(6))
            columns.push_back(columns.front());
        return columns;
    }

    std::array<qint32, 3> m_base = {};
    std::array<qint32, 3> m_span = {};
    qint32 m_edge = 1000;
};

TEST_P(LasBuildRandom, EqualsThePlainBuildByteForByte)
{
    drawSpace();
    for (qint64 files = between(1, 3); files > 0; --files) {
        const QByteArray bytes = drawFile();
        add(bytes, static_cast<unsigned int>(oneOf<qint64>({between(1, 3), 7, between(2, 60), 100, 1000000})));
    }
    for (int i = 0; i < m_list.size(); ++i)
        std::swap(m_list[i], m_list[static_cast<int>(between(0, m_list.size() - 1))]);
    if (oneIn(10))
        m_list.append(m_list.first());
    expectBuildsAsPlain(drawColumns());
    // Again, over what stands there now, with other columns.
    expectBuildsAsPlain(drawColumns());
}

INSTANTIATE_TEST_SUITE_P(Seeds, LasBuildRandom, ::testing::Range(1U, 81U));

struct LargeCase
{
    const char *name;
    Order order;
    qint32 length; ///< of the strip that the points lie in
};

/// Some ten thousand points in each of a few blocks, from files whose formats have different fields, so that no block
/// and no reading of a file is done in one piece.
class LasBuildLarge : public LasBuildDrawn, public ::testing::WithParamInterface<LargeCase>
{
protected:
    /// Each file covers a stretch of the strip of its own; the stretches overlap.
    QByteArray drawStretch(quint8 format, int count, qint32 begin, qint32 end)
    {
        support::LasWriter writer = fileOf({}, 0.0, GetParam().length, format);
        writer.minimum = {0.0, 0.0, 0.0};
        writer.maximum = {static_cast<double>(GetParam().length), 0.0, 0.0};
        std::vector<Place> places;
        places.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            places.push_back({static_cast<qint32>(between(begin, end)), static_cast<qint32>(between(0, 990)), 0});
        if (GetParam().order == Order::Sorted)
            std::sort(places.begin(), places.end());
        writer.points.reserve(places.size());
        for (const Place &place : places)
            writer.points.push_back(drawPoint(place, false));
        return writer.bytes();
    }
};

TEST_P(LasBuildLarge, EqualsThePlainBuildByteForByte)
{
    seed(2024);
    const qint32 length = GetParam().length;
    add(drawStretch(5, 200000, 0, length / 2), 100000);
    add(drawStretch(0, 250000, length / 4, length), 70001);
    add(drawStretch(1, 220000, 0, length), 1000000);
    add(drawStretch(4, 30000, length / 3, length / 2), 1000000);
    expectBuildsAsPlain({0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18});
}

INSTANTIATE_TEST_SUITE_P(Strips, LasBuildLarge,
                         ::testing::Values(LargeCase{"OfLongRuns", Order::Sorted, 16000},
                                           LargeCase{"OfShortRuns", Order::Random, 16000},
                                           LargeCase{"OfOneBlock", Order::Sorted, 900},
                                           LargeCase{"OfTwoBlocks", Order::Random, 1300}),
                         support::CaseName());

} // namespace
