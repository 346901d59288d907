#include "LasBuildTesting.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

using support::BlockFile;
using support::get;

namespace
{

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr qint32 least = std::numeric_limits<qint32>::min();
constexpr qint32 greatest = std::numeric_limits<qint32>::max();

class LasBuildHostile : public LasBuildTest
{
protected:
    using Places = std::vector<std::array<qint32, 3>>;

    /// Points near zero, in the corners of what 32 bits hold, and between.
    static Places farPlaces()
    {
        return {{0, 0, 0},           {5, -7, 20},        {least, least, least}, {least + 1, 0, 0},
                {0, greatest, 3000}, {greatest, 0, 0},   {1, 2, greatest},      {greatest, greatest, greatest},
                {0, 0, least},       {least, 1000, 900}, {70000, -5000, 12},    {least, least, least + 998}};
    }

    /// Loads a file that may be damaged; false if the library doesn't take it.
    bool addIfItLoads(const QByteArray &bytes, unsigned int step)
    {
        m_inputs.clear();
        m_list.clear();
        auto las = std::make_unique<ptCloud::LasFile>();
        if (!support::writeFile(lasFilePath(0), bytes) || !las->load(lasFilePath(0), step))
            return false;
        m_list.append(las.get());
        m_inputs.push_back({bytes, std::move(las)});
        return true;
    }
};

struct HeaderCase
{
    const char *name;
    double scale;
    double offset;
    double minimum;
    double maximum;
};

class LasBuildHostileHeader : public LasBuildHostile, public ::testing::WithParamInterface<HeaderCase>
{
protected:
    static void damage(support::LasWriter &writer, std::size_t axis)
    {
        writer.scale[axis] = GetParam().scale;
        writer.offset[axis] = GetParam().offset;
        writer.minimum[axis] = GetParam().minimum;
        writer.maximum[axis] = GetParam().maximum;
    }
};

TEST_P(LasBuildHostileHeader, EndsLikeThePlainBuildOnAnyAxis)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        support::LasWriter writer = fileOf(farPlaces(), -10.0, 5000.0, 3);
        damage(writer, axis);
        m_list.clear();
        m_inputs.clear();
        add(writer, 5);
        expectBuildsAsPlain({0, 3, 13});
    }
}

TEST_P(LasBuildHostileHeader, EndsLikeThePlainBuildOnAllAxes)
{
    support::LasWriter writer = fileOf(farPlaces(), 0.0, 0.0, 1);
    for (std::size_t axis = 0; axis < 3; ++axis)
        damage(writer, axis);
    add(writer, 5);
    expectBuildsAsPlain({0, 3, 13});
}

TEST_P(LasBuildHostileHeader, DoesNoHarmInAFileThatIsNotTheLast)
{
    support::LasWriter writer = fileOf({{0, 0, 0}, {500, 0, 0}}, 0.0, 0.0);
    for (std::size_t axis = 0; axis < 3; ++axis)
        damage(writer, axis);
    add(writer);
    add(fileOf({{1, 0, 0}, {2, 0, 0}}));
    ASSERT_TRUE(build());
    EXPECT_EQ(built().blocks.at(0).points, 4U);
}

INSTANTIATE_TEST_SUITE_P(
    Values, LasBuildHostileHeader,
    ::testing::Values(
        HeaderCase{"ScaleZero", 0.0, 0.0, 0.0, 5000.0}, HeaderCase{"ScaleZeroAndRangeZero", 0.0, 0.0, 0.0, 0.0},
        HeaderCase{"ScaleZeroBothSigns", 0.0, 0.0, -1.0, 1.0}, HeaderCase{"ScaleNegative", -0.01, 0.0, 0.0, 50.0},
        HeaderCase{"ScaleNotANumber", notANumber, 0.0, 0.0, 5000.0},
        HeaderCase{"ScaleInfinite", infinite, 0.0, -5000.0, 5000.0}, HeaderCase{"ScaleTiny", 1e-320, 0.0, 0.0, 5000.0},
        HeaderCase{"ScaleHuge", 1e300, 0.0, 0.0, 5000.0}, HeaderCase{"OffsetNotANumber", 1.0, notANumber, 0.0, 5000.0},
        HeaderCase{"OffsetInfinite", 1.0, infinite, 0.0, 5000.0}, HeaderCase{"OffsetHuge", 1.0, -1e300, 0.0, 5000.0},
        HeaderCase{"RangeNotANumber", 1.0, 0.0, notANumber, notANumber},
        HeaderCase{"MinimumNotANumber", 1.0, 0.0, notANumber, 5000.0},
        HeaderCase{"MaximumNotANumber", 1.0, 0.0, 0.0, notANumber},
        HeaderCase{"RangeInfinite", 1.0, 0.0, -infinite, infinite},
        HeaderCase{"MaximumInfinite", 1.0, 0.0, 0.0, infinite}, HeaderCase{"RangeHuge", 1.0, 0.0, -1e300, 1e300},
        HeaderCase{"MaximumHuge", 1.0, 0.0, 0.0, 1e300},
        HeaderCase{"RangeOfAllIntegers", 1.0, 0.0, -2147483648.0, 2147483647.0},
        HeaderCase{"RangeOneBeyondAllIntegers", 1.0, 0.0, -2147483649.0, 2147483648.0},
        HeaderCase{"RangeJustInsideAllIntegers", 1.0, 0.0, -2147483648.9, 2147483647.9},
        HeaderCase{"RangeAtTheTop", 1.0, 0.0, 2147483000.0, 2147483647.0},
        HeaderCase{"RangeAtTheBottom", 1.0, 0.0, -2147483648.0, -2147483000.0},
        HeaderCase{"RangeFromTheBottomToZero", 1.0, 0.0, -2147483648.0, 0.0},
        HeaderCase{"RangeSwapped", 1.0, 0.0, 5000.0, -10.0}),
    support::CaseName());

TEST_F(LasBuildHostile, SwappedBoundsGiveTheSameFile)
{
    const Places places = {{0, 0, 0}, {1500, 20, 3}, {4000, 4000, 4000}, {999, 999, 999}};
    add(fileOf(places, 0.0, 4000.0));
    ASSERT_TRUE(build());
    const QByteArray bytes = support::readFile(path());
    m_list.clear();
    add(fileOf(places, 4000.0, 0.0));
    ASSERT_TRUE(build());
    EXPECT_EQ(support::readFile(path()), bytes);
}

TEST_F(LasBuildHostile, ARangeOfAllIntegersKeepsItsCornersInSeventeenBoxes)
{
    support::LasWriter writer = fileOf({{greatest, 0, 0}, {least, 0, 0}, {0, 0, 0}}, 0.0, 0.0);
    writer.minimum[0] = least;
    writer.maximum[0] = greatest;
    add(writer);
    ASSERT_TRUE(build());
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 3U);
    const qint64 lower = -2147483649LL;
    const qint64 edge = 268435000;
    const qint64 numbers[] = {0, 8, 16};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(file.blocks[i].box[0], static_cast<float>(lower + numbers[i] * edge) / 1000.0F);
        EXPECT_EQ(file.blocks[i].box[3], static_cast<float>(lower + (numbers[i] + 1) * edge) / 1000.0F);
    }
    EXPECT_EQ(get<float>(file.blocks[0].columns[0], 0), static_cast<float>(least) / 1000.0F);
    EXPECT_EQ(get<float>(file.blocks[2].columns[0], 0), static_cast<float>(greatest) / 1000.0F);
}

TEST_F(LasBuildHostile, BoundsThatAreNoNumbersStandForTheSmallestInteger)
{
    add(fileOf({{least, least, least}, {least + 998, least, least}, {least + 999, least, least}}, notANumber, 1e300));
    ASSERT_TRUE(build());
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 1U);
    EXPECT_EQ(file.blocks[0].points, 2U);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(file.blocks[0].box[axis], static_cast<float>(-2147483649LL) / 1000.0F);
        EXPECT_EQ(file.blocks[0].box[3 + axis], static_cast<float>(-2147482649LL) / 1000.0F);
    }
}

TEST_F(LasBuildHostile, AVersionThreeFileInItsPublishedLayoutEndsWithoutPoints)
{
    // Its header lacks the two counters that the reader expects, so every double is taken from its neighbour.
    QByteArray bytes = fileOf({{100, 200, 300}, {4000, 5000, 6000}, {70000, 80000, 90000}}).bytes();
    support::putAt<quint8>(bytes, 25, 3);
    support::putAt<quint16>(bytes, 94, 235);
    support::putAt<quint32>(bytes, 96, 235);
    bytes.insert(227, QByteArray(8, '\0'));
    add(bytes, 2);
    expectBuildsAsPlain({0, 4});
    EXPECT_EQ(m_log.lines().last(), emptyLine());
}

TEST_F(LasBuildHostile, AFileCutAnywhereBehindItsHeaderGivesWhatIsLeft)
{
    const support::LasWriter writer = fileOf({{0, 0, 0}, {1500, 0, 0}, {1, 0, 0}}, 0.0, 1500.0, 5);
    const QByteArray bytes = writer.bytes();
    for (auto size = static_cast<int>(writer.headerSize()) + 1; size <= bytes.size(); size += 5) {
        SCOPED_TRACE(size);
        ASSERT_TRUE(addIfItLoads(bytes.left(size), 2));
        expectBuildsAsPlain({0, 3, 13, 18});
    }
}

TEST_F(LasBuildHostile, AFileCutWithinItsHeaderFailsTheBuild)
{
    const QByteArray bytes = fileOf({{0, 0, 0}}).bytes();
    for (const int size : {0, 25, 26, 100, 226, 227}) {
        SCOPED_TRACE(size);
        ptCloud::LasFile las;
        ASSERT_TRUE(support::writeFile(lasFilePath(0), bytes.left(size)));
        ASSERT_FALSE(las.load(lasFilePath(0), 10));
        m_list = {&las};
        EXPECT_FALSE(build());
        support::expectClosed(m_file);
        EXPECT_TRUE(m_log.lines().isEmpty());
    }
}

TEST_F(LasBuildHostile, HugeAnnouncedCountsAreLoggedAndEndWithTheFile)
{
    for (quint8 format = 0; format < 6; ++format) {
        support::LasWriter writer = fileOf({{0, 0, 0}, {1500, 0, 0}, {1, 0, 0}}, 0.0, 1500.0, format);
        writer.announcedPoints = 4294967295LL;
        ASSERT_TRUE(addIfItLoads(writer.bytes(), 2));
        expectBuildsAsPlain({0, 3, 13, 18});
        EXPECT_TRUE(m_log.lines().contains(QStringLiteral("3 / 4294967295")));
    }
}

TEST_F(LasBuildHostile, PointDataThatLiesInTheHeaderIsTakenFromThere)
{
    for (const qint64 start : {0, 1, 96, 200}) {
        support::LasWriter writer = fileOf(farPlaces(), least, greatest, 2);
        writer.offsetToPointData = start;
        ASSERT_TRUE(addIfItLoads(writer.bytes(), 4));
        expectBuildsAsPlain({0, 3, 12});
    }
}

TEST_F(LasBuildHostile, AReadingStepOfNothingEndsWithoutPoints)
{
    add(fileOf({{0, 0, 0}, {1, 0, 0}}), 0);
    add(fileOf({{0, 0, 0}, {1, 0, 0}}), 10);
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    expectLog(m_log.lines(), {}, false);

    m_list.removeFirst();
    EXPECT_TRUE(build());
}

TEST_F(LasBuildHostile, TheLargestReadingStepReadsAllAtOnce)
{
    add(fileOf({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}), 4294967295U);
    ASSERT_TRUE(build());
    EXPECT_EQ(built().blocks.at(0).indices, (std::vector<quint32>{0, 1, 2}));
}

TEST_F(LasBuildHostile, RecordsThatVanishAfterLoadingAreZeros)
{
    // Windows of 2000 records: two are in memory before the file is cut, and what is read later is not buffered. One
    // record outside the grid makes two runs of the second window: the cut lies within the first of them.
    Places places(6000, {10, 20, 30});
    places[3500] = {10, 20, 30000};
    const ptCloud::LasFile *las = add(fileOf(places, 0.0, 100.0, 2), 2000);
    const stLasRecord_fmt_2 *records = nullptr;
    ASSERT_EQ(las->getPointDatas_fmt_2(0, 1, records), 1U);
    quint16 intensity = 0;
    las->readPointData(0, 1, nullptr, nullptr, &intensity, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(intensity, 1000);
    ASSERT_TRUE(QFile::resize(lasFilePath(0), 227 + 3000 * 26));

    ASSERT_TRUE(build({0, 4}));
    const BlockFile file = built();
    ASSERT_EQ(file.blocks.size(), 1U);
    ASSERT_EQ(file.blocks[0].points, 3999U);
    EXPECT_EQ(get<float>(file.blocks[0].columns[0], 12 * 2999), 0.01F);
    EXPECT_EQ(get<quint16>(file.blocks[0].columns[1], 2 * 2999), 1000 + 2999);
    EXPECT_EQ(file.blocks[0].columns[0].mid(12 * 3000), QByteArray(12 * 999, '\0'));
    EXPECT_EQ(file.blocks[0].columns[1].mid(2 * 3000), QByteArray(2 * 999, '\0'));
    EXPECT_EQ(m_log.lines().mid(0, 2), (QStringList{QStringLiteral("2000 / 6000"), QStringLiteral("4000 / 6000")}));
}

/// Overwrites one record of 63 bytes, wherever it stands.
void overwriteRecord(const QString &lasPath, quint32 number, const support::LasPoint &point)
{
    const QByteArray record = support::LasWriter::record(5, point);
    QFile file(lasPath);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.seek(227 + static_cast<qint64>(number) * 63));
    ASSERT_EQ(file.write(record), record.size());
}

TEST_F(LasBuildHostile, ARecordFourGibibytesOnIsReadFromTheWrappedPlace)
{
    // Mostly a hole: zeros, which lie outside the grid. The last record begins 59 bytes beyond 4 GiB, so that it is
    // found where it stands but converted from byte 59 of the point data.
    const quint32 last = 68174085;
    support::LasWriter writer = fileOf({}, 1000000.0, 1000500.0, 5);
    writer.announcedPoints = last + 1LL;
    writer.tail = QByteArray(59, '\0') + support::LasWriter::record(5, point(42, 43, 44, 1));
    ASSERT_TRUE(writer.write(lasFilePath(0)));
    overwriteRecord(lasFilePath(0), last - 30, point(1000000, 1000250, 1000500, 2));
    overwriteRecord(lasFilePath(0), last, point(1000100, 1000100, 1000100, 3));
    ptCloud::LasFile las;
    ASSERT_TRUE(las.load(lasFilePath(0), 4000000));
    m_list = {&las};
    ASSERT_TRUE(build({0, 4}));
    const BlockFile result = built();
    ASSERT_EQ(result.blocks.size(), 1U);
    const float places[] = {1000.0F, 1000.25F, 1000.5F, 0.042F, 0.043F, 0.044F};
    EXPECT_EQ(result.blocks[0].columns[0], QByteArray(reinterpret_cast<const char *>(places), sizeof places));
    EXPECT_EQ(get<quint16>(result.blocks[0].columns[1], 0), 1002);
    EXPECT_EQ(get<quint16>(result.blocks[0].columns[1], 2), 1001);
}

class LasBuildFuzz : public LasBuildHostile, public ::testing::WithParamInterface<quint32>
{
protected:
    void SetUp() override
    {
        LasBuildHostile::SetUp();
        std::printf("seed %u\n", GetParam());
        m_random.seed(GetParam());
    }

    int below(int limit) { return static_cast<int>(m_random() % static_cast<quint32>(limit)); }

    QByteArray soundFile()
    {
        support::LasWriter writer = fileOf(farPlaces(), -100.0, 70000.0, static_cast<quint8>(below(6)));
        writer.versionMinor = static_cast<quint8>(2 + below(2));
        writer.variableHeads = {QByteArray(54, 'v')};
        return writer.bytes();
    }

    std::mt19937 m_random;
};

TEST_P(LasBuildFuzz, FilesWithBytesOverwrittenBuildLikeThePlainBuild)
{
    int loaded = 0;
    for (int turn = 0; turn < 40; ++turn) {
        QByteArray bytes = soundFile();
        for (int hits = 1 + below(6); hits > 0; --hits)
            bytes[24 + below(static_cast<int>(bytes.size()) - 24)] = static_cast<char>(m_random());
        if (addIfItLoads(bytes, 1 + static_cast<unsigned int>(below(8)))) {
            ++loaded;
            expectBuildsAsPlain({0, 4, 9, 13});
        }
    }
    EXPECT_GT(loaded, 0);
}

TEST_P(LasBuildFuzz, HeadersOfRandomNumbersBuildLikeThePlainBuild)
{
    for (int turn = 0; turn < 20; ++turn) {
        support::LasWriter writer = fileOf(farPlaces(), 0.0, 1.0);
        writer.versionMinor = static_cast<quint8>(2 + below(2));
        QByteArray bytes = writer.bytes();
        for (int number = 0; number < 12; ++number) {
            // Any size and sign, from numbers that matter to those far beyond what an integer holds.
            const double value = std::ldexp(static_cast<double>(below(1000000)) - 500000.0, below(60) - 30);
            support::putAt(bytes, writer.doublesAt() + 8 * number, value);
        }
        ASSERT_TRUE(addIfItLoads(bytes, 5));
        expectBuildsAsPlain({0, 4});
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, LasBuildFuzz, ::testing::Range(1U, 11U));

} // namespace
