#include "ContourTesting.h"
#include "DataSetFileTest.h"
#include "Scarcity.h"

#include <functional>
#include <limits>
#include <random>

using contour::contents;
using contour::kept;
using contour::noContours;
using support::contourLine;
using support::putAt;
using support::sampleContours;

namespace
{

/// What a reader makes of a count without bytes behind it: this many elements and no more.
constexpr int allowance = 1000000;
constexpr qint32 most = std::numeric_limits<qint32>::max();

class HostileContourFile : public contour::ContourFileTest
{
protected:
    /// Opens a file of these bytes, and expects that it takes little memory.
    bool opensInBounds(const QByteArray &bytes)
    {
        const qint64 before = support::peakMemory();
        const bool result = opens(bytes);
        EXPECT_LT(support::peakMemory() - before, 256LL << 20);
        return result;
    }
};

/// Where a count of a file lies about what follows.
struct CountPosition
{
    const char *name;
    std::function<void(support::ContourFile &, qint32)> set;
};

void PrintTo(const CountPosition &position, std::ostream *out)
{
    *out << position.name;
}

class HostileContourCount : public HostileContourFile, public ::testing::WithParamInterface<CountPosition>
{
protected:
    /// Expects what a plain reader finds. Where elements are taken for counts, that can be more than it should try.
    void expectReadPlainly(const QByteArray &bytes)
    {
        EXPECT_TRUE(opensInBounds(bytes));
        if (const auto expected = support::ContourFile::read(bytes)) {
            EXPECT_EQ(contents(m_file).toHex(), kept(*expected).bytes().toHex());
        }
    }
    /// The sample with the count at this position set.
    static support::ContourFile sampleWith(qint32 count)
    {
        support::ContourFile file = sampleContours();
        GetParam().set(file, count);
        return file;
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Positions, HostileContourCount,
    ::testing::Values(
        CountPosition{"HeightsOfTheFirstGroup",
                      [](support::ContourFile &file, qint32 count) { file.groups[0].heightCount = count; }},
        CountPosition{"HeightsOfTheSecondGroup",
                      [](support::ContourFile &file, qint32 count) { file.groups[1].heightCount = count; }},
        CountPosition{"LinesOfTheFirstHeight",
                      [](support::ContourFile &file, qint32 count) { file.groups[0].heights[0].lineCount = count; }},
        CountPosition{"LinesOfTheLastHeight",
                      [](support::ContourFile &file, qint32 count) { file.groups[1].heights[0].lineCount = count; }},
        CountPosition{
            "PointsOfTheFirstLine",
            [](support::ContourFile &file, qint32 count) { file.groups[0].heights[0].lines[0].pointCount = count; }},
        CountPosition{
            "PointsOfTheLastLine",
            [](support::ContourFile &file, qint32 count) { file.groups[1].heights[0].lines[1].pointCount = count; }}),
    support::CaseName());

// The elements stay in the file, and what comes next is read out of them: the plain reader goes the same way.
TEST_P(HostileContourCount, BelowOneIsNone)
{
    for (const qint32 count : {0, -1, std::numeric_limits<qint32>::min()}) {
        SCOPED_TRACE(count);
        expectReadPlainly(sampleWith(count).bytes());
    }
}

TEST_P(HostileContourCount, BeyondTheFileIsReadInBoundedTimeAndMemory)
{
    for (const qint32 count : {allowance + 1, 0x01000000, most})
        EXPECT_TRUE(opensInBounds(sampleWith(count).bytes())) << count;
}

// A count that misses by little is filled with zeros.
TEST_P(HostileContourCount, SlightlyBeyondTheFileReadsZeros)
{
    for (const qint32 count : {3, 4, 5, 9, 1000}) {
        SCOPED_TRACE(count);
        expectReadPlainly(sampleWith(count).bytes());
    }
}

TEST_F(HostileContourFile, CutAnywhereReadsAsZerosFromThere)
{
    const QByteArray whole = sampleContours().bytes();
    for (int size = 4; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const auto expected = support::ContourFile::read(whole.left(size));
        ASSERT_TRUE(expected);
        expectRead(whole.left(size), *expected);
    }
}

TEST_F(HostileContourFile, CutWithinTheVersionIsRefused)
{
    const QByteArray whole = sampleContours().bytes();
    for (int size = 0; size < 4; ++size) {
        EXPECT_FALSE(opens(whole.left(size)));
        EXPECT_EQ(contents(m_file), noContours());
    }
}

TEST_F(HostileContourFile, CutInTheMiddleOfAPointKeepsTheLineAtItsFullLength)
{
    support::ContourFile file;
    file.groups[0].heights = {{1.0, {contourLine({{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}})}, {}}};
    const QByteArray bytes = file.bytes();
    const int secondPoint = 4 + 4 + 8 + 4 + 4 + 16;
    ASSERT_TRUE(opens(bytes.left(secondPoint + 12)));
    ASSERT_EQ(m_file.contourGroup1()[1.0].size(), 1);
    EXPECT_EQ(m_file.contourGroup1()[1.0][0], (QVector<QPointF>{{1.0, 2.0}, {3.0, 0.0}, {0.0, 0.0}}));
    EXPECT_TRUE(m_file.contourGroup2().isEmpty());
}

TEST_F(HostileContourFile, AMillionPointsWithoutBytesAreThereAsZeros)
{
    support::ContourFile file;
    file.groups[1].heights = {{1.0, {contourLine({{1.0, 2.0}})}, {}}};
    file.groups[1].heights[0].lines[0].pointCount = allowance;
    ASSERT_TRUE(opensInBounds(file.bytes()));
    const QVector<QPointF> &line = m_file.contourGroup2()[1.0][0];
    ASSERT_EQ(line.size(), allowance);
    EXPECT_EQ(line.first(), QPointF(1.0, 2.0));
    EXPECT_EQ(line.count(QPointF(0.0, 0.0)), allowance - 1);
}

TEST_F(HostileContourFile, AMillionLinesWithoutBytesAreThereAndEmpty)
{
    support::ContourFile file;
    file.groups[1].heights = {{1.0, {contourLine({{1.0, 2.0}})}, {}}};
    file.groups[1].heights[0].lineCount = allowance;
    ASSERT_TRUE(opensInBounds(file.bytes()));
    const QList<QVector<QPointF>> &lines = m_file.contourGroup2()[1.0];
    ASSERT_EQ(lines.size(), allowance);
    EXPECT_EQ(lines.first(), (QVector<QPointF>{{1.0, 2.0}}));
    EXPECT_EQ(lines.count(QVector<QPointF>()), allowance - 1);
}

TEST_F(HostileContourFile, AllPointsInTheWorldKeepTheOnesThatAreThere)
{
    support::ContourFile file;
    file.groups[0].heights = {{1.0, {contourLine({{9.0, 9.0}})}, {}}};
    file.groups[1].heights = {{1.0, {contourLine({{1.0, 2.0}, {3.0, 4.0}})}, {}}};
    file.groups[1].heights[0].lines[0].pointCount = most;
    ASSERT_TRUE(opensInBounds(file.bytes()));
    EXPECT_EQ(m_file.contourGroup1()[1.0], (QList<QVector<QPointF>>{{{9.0, 9.0}}}));
    ASSERT_EQ(m_file.contourGroup2()[1.0].size(), 1);
    const QVector<QPointF> &line = m_file.contourGroup2()[1.0][0];
    ASSERT_GE(line.size(), 2);
    EXPECT_LE(line.size(), allowance + 2);
    EXPECT_EQ(line[0], QPointF(1.0, 2.0));
    EXPECT_EQ(line[1], QPointF(3.0, 4.0));
    EXPECT_EQ(line.count(QPointF(0.0, 0.0)), line.size() - 2);
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(HostileContourFile, PointsThatAreThereButDoNotFitIntoMemoryAreRefused)
{
    support::ContourFile file;
    file.groups[0].heights = {{1.0, {contourLine({{1.0, 2.0}})}, {}}};
    file.groups[0].heights[0].lines[0].pointCount = most;
    ASSERT_TRUE(opens(support::ContourFile().bytes()));
    ASSERT_TRUE(support::writeFile(m_file.getFilepath(), file.bytes()));
    ASSERT_TRUE(QFile::resize(m_file.getFilepath(), 1LL << 30));
    {
        const support::AddressSpaceLimit limit(64U << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(m_file.openFile());
    }
    EXPECT_TRUE(m_file.contourGroup1().isEmpty());
    EXPECT_TRUE(m_file.contourGroup2().isEmpty());
}
#endif

TEST_F(HostileContourFile, AllLinesInTheWorldKeepTheOnesThatAreThere)
{
    support::ContourFile file;
    file.groups[1].heights = {{1.0, {contourLine({{1.0, 2.0}}), contourLine({{3.0, 4.0}})}, {}}};
    file.groups[1].heights[0].lineCount = most;
    ASSERT_TRUE(opensInBounds(file.bytes()));
    const QList<QVector<QPointF>> &lines = m_file.contourGroup2()[1.0];
    ASSERT_GE(lines.size(), 2);
    EXPECT_LE(lines.size(), allowance + 2);
    EXPECT_EQ(lines[0], (QVector<QPointF>{{1.0, 2.0}}));
    EXPECT_EQ(lines[1], (QVector<QPointF>{{3.0, 4.0}}));
    EXPECT_EQ(lines.count(QVector<QPointF>()), lines.size() - 2);
}

TEST_F(HostileContourFile, AllHeightsInTheWorldAddNothing)
{
    support::ContourFile file;
    file.groups[0].heightCount = most;
    ASSERT_TRUE(opensInBounds(file.bytes().left(8)));
    EXPECT_EQ(contents(m_file), noContours());

    file = {};
    file.groups[1].heights = {{-3.0, {contourLine({{1.0, 2.0}})}, {}}};
    file.groups[1].heightCount = most;
    ASSERT_TRUE(opensInBounds(file.bytes()));
    EXPECT_EQ(m_file.contourGroup2(), (ptCloud::PtCloud_ContourFile::Group{{-3.0, {{{1.0, 2.0}}}}}));
}

// A real survey may have more than any allowance; what the file backs is read.
TEST_F(HostileContourFile, MoreThanAMillionPointsThatAreThereAreRead)
{
    constexpr int points = 1200000;
    support::ContourFile file;
    file.groups[0].heights.resize(1);
    file.groups[0].heights[0].lines.resize(1);
    for (int i = 0; i < points; ++i)
        file.groups[0].heights[0].lines[0].points.push_back({static_cast<double>(i), -0.5});
    file.groups[1].heights = {{1.0, {contourLine({{1.0, 2.0}})}, {}}};
    const QByteArray bytes = file.bytes();
    ASSERT_TRUE(opens(bytes));
    EXPECT_TRUE(contents(m_file) == bytes);
}

TEST_F(HostileContourFile, MoreThanAMillionLinesThatAreThereAreRead)
{
    constexpr int lines = 1200000;
    support::ContourFile file;
    file.groups[0].heights.resize(1);
    file.groups[0].heights[0].lines.resize(lines);
    file.groups[1].heights = {{1.0, {contourLine({{1.0, 2.0}})}, {}}};
    const QByteArray bytes = file.bytes();
    ASSERT_TRUE(opens(bytes));
    EXPECT_TRUE(contents(m_file) == bytes);
}

TEST_F(HostileContourFile, RandomDamageIsReadInBoundedTimeAndMemory)
{
    constexpr unsigned seed = 4711;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const QByteArray whole = sampleContours().bytes();
    const quint8 patterns[] = {0x00, 0x01, 0x7f, 0x80, 0xff};
    for (int round = 0; round < 100; ++round) {
        QByteArray bytes = whole;
        for (int i = 0; i < 3; ++i)
            putAt(bytes, static_cast<int>(4 + random() % static_cast<unsigned>(whole.size() - 4)),
                  patterns[random() % 5]);
        ASSERT_TRUE(opensInBounds(bytes)) << "round " << round;
    }
}
