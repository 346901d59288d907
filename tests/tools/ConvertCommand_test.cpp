#include "ConvertTesting.h"
#include "LasWriter.h"

#include <QDir>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

using support::convertedFrom;
using support::ConvertTest;
using support::fullFile;
using support::get;
using support::PublishedLas;
using support::PublishedPoint;
using support::readFile;
using support::sameBytes;

namespace
{

class ConvertCommand : public ConvertTest
{
};

struct Layout
{
    int minor;
    int format;
};

class ConvertLayout : public ConvertTest, public ::testing::WithParamInterface<Layout>
{
};

std::vector<Layout> publishedLayouts()
{
    constexpr int lastFormats[] = {1, 1, 3, 5, 8};
    std::vector<Layout> layouts;
    for (int minor = 0; minor <= 4; ++minor) {
        for (int format = 0; format <= lastFormats[minor]; ++format)
            layouts.push_back({minor, format});
    }
    return layouts;
}

const PublishedLas::VariableRecord coordinateSystem{"LASF_Projection", 34735, QByteArray(72, '\x21')};
const PublishedLas::VariableRecord waveform{"LASF_Spec", 100, QByteArray(26, '\x22')};
const PublishedLas::VariableRecord extraBytesNames{"LASF_Spec", 4, QByteArray(192, '\x23')};
const PublishedLas::VariableRecord ofAProgram{"a program", 7, QByteArray(1000, '\x24')};
const PublishedLas::VariableRecord empty{"sixteen letters.", 65535, QByteArray()};

/// A file of one point at such raw integers.
PublishedLas onePoint(qint32 x, qint32 y, qint32 z)
{
    PublishedLas las;
    PublishedPoint point;
    point.x = x;
    point.y = y;
    point.z = z;
    las.points = {point};
    return las;
}

/// A coordinate of the first point of a file with a header of 227 bytes.
qint32 firstRaw(const QByteArray &bytes, int axis)
{
    return get<qint32>(bytes, get<quint32>(bytes, 96) + 4LL * axis);
}

QStringList shift(const char *value)
{
    return {QStringLiteral("--shift=") + QLatin1String(value)};
}

bool has(const QStringList &lines, const char *text)
{
    return std::any_of(lines.begin(), lines.end(),
                       [text](const QString &line) { return line.contains(QLatin1String(text)); });
}

} // namespace

TEST_P(ConvertLayout, KeepsEveryFieldThatTheOldFormatsHave)
{
    const PublishedLas las = fullFile(GetParam().minor, GetParam().format);
    const PublishedLas expected = convertedFrom(las);
    const QJsonObject told = this->told(las);
    EXPECT_TRUE(sameBytes(readFile(out()), expected.bytes()));
    EXPECT_EQ(told.value(QStringLiteral("points")).toInt(), 3);
    EXPECT_EQ(told.value(QStringLiteral("format")).toInt(-1), expected.format);
    expectExactFile();
}

TEST_P(ConvertLayout, NamesJustThatWhichTheOldFormatsLack)
{
    QStringList expected;
    if (GetParam().format == 4 || GetParam().format == 5)
        expected << QStringLiteral("the wave packets");
    if (GetParam().format == 8)
        expected << QStringLiteral("the near infrared channel");
    EXPECT_EQ(droppedOf(fullFile(GetParam().minor, GetParam().format)), expected);
}

TEST_P(ConvertLayout, SkipsTheExtraBytesOfRecords)
{
    PublishedLas las = fullFile(GetParam().minor, GetParam().format);
    las.extraBytes = 11;
    EXPECT_TRUE(has(droppedOf(las), "11 extra bytes of each record"));
    EXPECT_TRUE(sameBytes(readFile(out()), convertedFrom(las).bytes()));
}

TEST_P(ConvertLayout, FindsThePointsBehindWhateverStandsInFront)
{
    PublishedLas las = fullFile(GetParam().minor, GetParam().format);
    las.headerTail = QByteArray(9, '\x31');
    las.variableRecords = {coordinateSystem, ofAProgram, empty};
    las.gap = QByteArray(2, '\x32');
    told(las);
    PublishedLas expected = convertedFrom(las);
    // Records are kept to the bit, the mark of the first version in front of them too.
    const QByteArray whole = expected.bytes();
    QByteArray records;
    for (const auto &record : las.variableRecords)
        records += PublishedLas::variableRecord(record, GetParam().minor);
    EXPECT_TRUE(sameBytes(readFile(out()), whole.left(227) + records + whole.mid(227 + records.size())));
    expectExactFile();
}

INSTANTIATE_TEST_SUITE_P(Published, ConvertLayout, ::testing::ValuesIn(publishedLayouts()), [](const auto &layout) {
    return "V1_" + std::to_string(layout.param.minor) + "_Format" + std::to_string(layout.param.format);
});

TEST_F(ConvertCommand, ReadsTheLibrarysOwnLayouts)
{
    for (const quint8 format : {quint8(0), quint8(3), quint8(4), quint8(5)}) {
        support::LasWriter writer;
        writer.versionMinor = 3;
        writer.format = format;
        writer.points.resize(2);
        writer.points[1].x = 123456;
        writer.points[1].gpsTime = 5.5;
        writer.points[1].blue = 77;
        told(writer.bytes());
        const quint8 plainer = format == 5 ? 3 : format == 4 ? 0 : format;
        const QByteArray record = support::LasWriter::record(plainer, writer.points[1]);
        EXPECT_TRUE(sameBytes(readFile(out()).right(record.size()), record)) << int(format);
        EXPECT_EQ(get<quint8>(readFile(out()), 104), plainer);
    }
}

TEST_F(ConvertCommand, KeepsGpsTimesToTheBitEvenIfTheyAreNoNumbers)
{
    constexpr quint64 bits = 0x7ff0dead0000beefU;
    PublishedLas las = onePoint(1, 2, 3);
    las.format = 1;
    QByteArray bytes = las.bytes();
    support::putAt(bytes, bytes.size() - 8, bits);
    told(bytes);
    EXPECT_EQ(get<quint64>(readFile(out()).right(8), 0), bits);
}

TEST_F(ConvertCommand, KeepsTheKindOfGpsTime)
{
    PublishedLas las = fullFile(4, 6);
    las.globalEncoding = 1;
    told(las);
    EXPECT_TRUE(sameBytes(readFile(out()), convertedFrom(las).bytes()));

    las.versionMinor = 1; // there the same bytes are reserved
    las.format = 1;
    told(las);
    EXPECT_EQ(get<quint16>(readFile(out()), 6), 0);
}

TEST_F(ConvertCommand, TellsThatReturnNumbersWereNotMeasured)
{
    PublishedLas las = fullFile(4, 6);
    EXPECT_EQ(droppedOf(las), QStringList());
    las.globalEncoding = 8; // synthetic return numbers, for which version 1.2 has no bit
    EXPECT_EQ(droppedOf(las).size(), 1);
}

TEST_F(ConvertCommand, NamesTheRecordsThatItDrops)
{
    PublishedLas las = fullFile(4, 7);
    las.variableRecords = {waveform, ofAProgram, extraBytesNames, coordinateSystem};
    las.extendedRecords = {{"LASF_Projection", 2112, QByteArray(300, '\x41')}};
    const QStringList dropped = droppedOf(las);
    EXPECT_EQ(dropped.size(), 3);
    EXPECT_TRUE(has(dropped, "record 100 of LASF_Spec"));
    EXPECT_TRUE(has(dropped, "record 4 of LASF_Spec"));
    EXPECT_TRUE(has(dropped, "the extended variable length records"));
    PublishedLas expected = convertedFrom(las);
    expected.variableRecords = {ofAProgram, coordinateSystem};
    EXPECT_TRUE(sameBytes(readFile(out()), expected.bytes()));
}

TEST_F(ConvertCommand, DropsTheCoordinateSystemThatAShiftMakesWrong)
{
    PublishedLas las = fullFile(2, 3);
    las.variableRecords = {coordinateSystem, ofAProgram};
    EXPECT_EQ(droppedOf(las, shift("0,0,0")), QStringList());
    const QStringList dropped = droppedOf(las, shift("0,0,1"));
    EXPECT_EQ(dropped.size(), 1);
    EXPECT_TRUE(has(dropped, "record 34735 of LASF_Projection"));
    PublishedLas expected = convertedFrom(las);
    expected.variableRecords = {ofAProgram};
    for (PublishedPoint &point : expected.points)
        point.z -= 1000;
    EXPECT_TRUE(sameBytes(readFile(out()), expected.bytes()));
}

TEST_F(ConvertCommand, HoldsWhatTheOldRecordsHaveNoBitsFor)
{
    PublishedLas las = fullFile(4, 6);
    las.points.resize(2);
    las.points[0].classification = 32;
    las.points[0].returnNumber = 8;
    las.points[0].numberOfReturns = 15;
    las.points[0].scanAngle = 180;
    las.points[0].classFlags = 8 | 2;
    las.points[1].classification = 255;
    las.points[1].returnNumber = 7;
    las.points[1].numberOfReturns = 9;
    las.points[1].scanAngle = -130.2;
    las.points[1].scannerChannel = 3;
    const QStringList dropped = droppedOf(las);

    PublishedLas expected = convertedFrom(las);
    for (PublishedPoint &point : expected.points) {
        point.classification = 1;
        point.returnNumber = 7;
        point.numberOfReturns = 7;
    }
    expected.points[0].scanAngle = 127;
    expected.points[1].scanAngle = -128;
    expected.points[0].classFlags = 2;
    EXPECT_TRUE(sameBytes(readFile(out()).mid(227), expected.bytes().mid(227)));
    EXPECT_EQ(dropped.size(), 5);
    for (const char *loss : {"classes above 31 (made 1) of 2 points", "return numbers above 7 (made 7) of 2 points",
                             "scan angles beyond -128 to 127 degrees (held there) of 2 points",
                             "the overlap flags of 1 points", "the scanner channels of 1 points"})
        EXPECT_TRUE(has(dropped, loss)) << loss;
}

TEST_F(ConvertCommand, RoundsFineScanAnglesToWholeDegrees)
{
    PublishedLas las = fullFile(4, 6);
    las.points[0].scanAngle = 8.4;
    las.points[1].scanAngle = 8.604;
    las.points[2].scanAngle = -8.604;
    told(las);
    PublishedLas expected = convertedFrom(las);
    expected.points[0].scanAngle = 8;
    expected.points[1].scanAngle = 9;
    expected.points[2].scanAngle = -9;
    EXPECT_TRUE(sameBytes(readFile(out()), expected.bytes()));
}

TEST_F(ConvertCommand, BringsScaleAndOffsetIntoThousandths)
{
    constexpr qint32 largest = std::numeric_limits<qint32>::max();
    const struct
    {
        double scale;
        double offset;
        qint32 raw;
        const char *shift;
        qint32 expected;
    } cases[] = {
        {0.01, 0, 123, "none", 1230},
        {0.01, 0, -123, "none", -1230},
        {0.01, 500000, 123, "none", 500001230},
        {0.01, 500000, 123, "500000,500000,500000", 1230},
        {0.01, 500000, 123, "500000.5,500000.5,500000.5", 730},
        {1, 0, 7, "none", 7000},
        {0.5, 0.25, 3, "none", 1750},
        {-0.01, 0, 5, "none", -50},
        {0.0001, 0, 12344, "none", 1234},
        {0.0001, 0, 12346, "none", 1235},
        {0.0001, 0, -12346, "none", -1235},
        {0.0000001, 2, 10004, "none", 2001},
        {0.001, 0, largest - 1, "none", largest - 1},
        {0.001, 0, 1 - largest, "none", 1 - largest},
        {0.001, -1000000, largest, "none", 1147483647},
        {1, 4000000000.0, 12, "4000000000,4000000000,4000000000", 12000},
    };
    for (const auto &row : cases) {
        PublishedLas las = onePoint(row.raw, row.raw, row.raw);
        las.scale.fill(row.scale);
        las.offset.fill(row.offset);
        const QStringList dropped = droppedOf(las, shift(row.shift));
        const QByteArray bytes = readFile(out());
        for (int axis = 0; axis < 3; ++axis)
            EXPECT_EQ(firstRaw(bytes, axis), row.expected) << row.raw << " * " << row.scale << " + " << row.offset;
        EXPECT_EQ(has(dropped, "finer than 0.001"), std::abs(row.scale) < 0.001) << row.scale;
    }
}

TEST_F(ConvertCommand, KeepsTheAxesApart)
{
    PublishedLas las = onePoint(1, 2, 3);
    las.scale = {0.01, 0.1, 1};
    las.offset = {10, 20, 30};
    told(las, shift("1,-2,0.5"));
    PublishedLas expected = onePoint(9010, 22200, 32500);
    EXPECT_TRUE(sameBytes(readFile(out()).right(20), expected.bytes().right(20)));
}

TEST_F(ConvertCommand, MovesAxesThatReachTooFarByWholeThousands)
{
    const struct
    {
        double low;
        double high;
        double shift;
    } cases[] = {
        {-16384, 16384, 0},       {16000, 16385, 16000},          {-16385, 100, -8000}, {500100, 500700, 500000},
        {500100, 501100, 501000}, {-4600700, -4600100, -4600000}, {-17000, 17000, 0},   {20400, 20500, 20000},
    };
    for (const auto &row : cases) {
        PublishedLas las = onePoint(static_cast<int>(row.low), 0, 5);
        las.scale.fill(1);
        las.points.push_back(las.points.front());
        las.points.back().x = static_cast<int>(row.high);
        const QJsonArray told = this->told(las).value(QStringLiteral("shift")).toArray();
        EXPECT_EQ(told, (QJsonArray{row.shift, 0, 0})) << row.low << " to " << row.high;
        EXPECT_EQ(shiftOnDisk(), told);
        EXPECT_EQ(firstRaw(readFile(out()), 0), static_cast<int>((row.low - row.shift) * 1000));
        EXPECT_EQ(firstRaw(readFile(out()), 2), 5000);
    }
}

TEST_F(ConvertCommand, TellsTheShiftThatWasAskedFor)
{
    const PublishedLas las = onePoint(1000, 2000, 3000);
    const struct
    {
        const char *wanted;
        QJsonArray shift;
        const char *line;
    } cases[] = {
        {"none", {0, 0, 0}, "shift: 0.000, 0.000, 0.000 "},
        {"auto", {0, 0, 0}, "shift: 0.000, 0.000, 0.000 "},
        {"0.1,-2,300000.123", {0.1, -2, 300000.123}, "shift: 0.100, -2.000, 300000.123 "},
        {"1e3,0,0", {1000, 0, 0}, "shift: 1000.000, 0.000, 0.000 "},
    };
    for (const auto &row : cases) {
        const PtcloudRun done = convert(las.bytes(), shift(row.wanted));
        EXPECT_EQ(done.exitCode, 0) << done.errors.constData();
        EXPECT_TRUE(done.output.contains(row.line)) << done.output.constData();
        EXPECT_EQ(shiftOnDisk(), row.shift) << row.wanted;
    }
}

TEST_F(ConvertCommand, SaysInTheSideFileWhereThePointsCameFrom)
{
    told(onePoint(1, 2, 3));
    const QJsonObject side = QJsonDocument::fromJson(readFile(sideFile())).object();
    EXPECT_EQ(side.value(QStringLiteral("source")).toString(), in());
}

TEST_F(ConvertCommand, TellsPeopleWhatItDrops)
{
    PublishedLas las = fullFile(4, 8);
    las.extraBytes = 3;
    const PtcloudRun done = convert(las.bytes());
    EXPECT_TRUE(done.output.contains("dropped: 3 extra bytes of each record\n")) << done.output.constData();
    EXPECT_TRUE(done.output.contains("dropped: the near infrared channel\n")) << done.output.constData();
}

/// Files of real surveys, where they lie beside the checkout. Only what holds no points can't be converted.
TEST_F(ConvertCommand, MakesExactFilesOfRealOnes)
{
    const QDir data(QStringLiteral(POINTS_CLOUD_TEST_DATA_DIR));
    for (const QString &name : data.entryList({QStringLiteral("*.las")})) {
        const QByteArray bytes = readFile(data.filePath(name));
        const PtcloudRun done = convert(bytes);
        if (name == QLatin1String("no-points.las")) {
            EXPECT_EQ(done.exitCode, 1);
            continue;
        }
        ASSERT_EQ(done.exitCode, 0) << qPrintable(name) << ": " << done.errors.constData();
        expectExactFile();
        const QByteArray result = readFile(out());
        const qint64 room = (bytes.size() - qint64(get<quint32>(bytes, 96))) / get<quint16>(bytes, 105);
        EXPECT_EQ(get<quint32>(result, 107), std::min<qint64>(get<quint32>(bytes, 107), room)) << qPrintable(name);
        EXPECT_EQ(get<quint8>(result, 25), 2) << qPrintable(name);
        for (int axis = 0; axis < 3; ++axis) {
            const double truth =
                firstRaw(bytes, axis) * get<double>(bytes, 131 + 8 * axis) + get<double>(bytes, 155 + 8 * axis);
            EXPECT_NEAR(firstRaw(result, axis) * 0.001 + shiftOnDisk().at(axis).toDouble(), truth, 0.00051)
                << qPrintable(name);
        }
    }
}
