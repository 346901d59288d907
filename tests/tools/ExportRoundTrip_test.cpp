#include "ExportTesting.h"
#include "LasWriter.h"
#include "PublishedLas.h"

#include <limits>
#include <random>

using support::BlockFile;
using support::blockOf;
using support::LasPoint;
using support::LasWriter;
using support::PublishedLas;
using support::readFile;
using support::run;
using support::sameBytes;
using support::writeFile;

namespace
{

class ExportRoundTrip : public support::ExportTest
{
protected:
    void expectRun(const QStringList &arguments) const
    {
        const PtcloudRun done(arguments);
        ASSERT_EQ(done.exitCode, 0) << done.errors.constData();
    }
    void build(const QString &las) const { expectRun({QStringLiteral("build"), source(), las}); }
    void writeSideFile(const QByteArray &shift) const
    {
        ASSERT_TRUE(writeFile(path("side.json"), "{\"shift\": " + shift + "}"));
    }
    QStringList unshift(const char *sideFile = "side.json") const
    {
        return {QStringLiteral("--unshift"), path(sideFile)};
    }
};

class ExportedFormat : public ExportRoundTrip, public ::testing::WithParamInterface<int>
{
};

/// Points all over several blocks, with any bits in every field.
std::vector<LasPoint> randomPoints(unsigned int seed)
{
    std::mt19937 random(seed);
    const auto number = [&random](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
    std::vector<LasPoint> points(500);
    for (LasPoint &point : points) {
        point.x = number(-16000000, 16000000);
        point.y = number(-16000000, 16000000);
        point.z = number(-16000000, 16000000);
        point.intensity = static_cast<quint16>(number(0, 65535));
        point.returnFlags = static_cast<quint8>(number(0, 255));
        point.classification = static_cast<quint8>(number(0, 255));
        point.scanAngleRank = static_cast<quint8>(number(0, 255));
        point.userData = static_cast<quint8>(number(0, 255));
        point.pointSourceId = static_cast<quint16>(number(0, 65535));
        point.gpsTime = number(0, 1 << 30) / 7.0;
        point.red = static_cast<quint16>(number(0, 65535));
        point.green = static_cast<quint16>(number(0, 65535));
        point.blue = static_cast<quint16>(number(0, 65535));
    }
    return points;
}

/// The records of a file in an order that does not depend on where they stand.
std::vector<QByteArray> sortedRecords(const QByteArray &bytes, int size)
{
    std::vector<QByteArray> records;
    for (int at = 227; at < bytes.size(); at += size)
        records.push_back(bytes.mid(at, size));
    std::sort(records.begin(), records.end());
    return records;
}

} // namespace

TEST_P(ExportedFormat, IsTheRecordsThatTheDataSetWasBuiltFrom)
{
    constexpr unsigned int seed = 20240607;
    SCOPED_TRACE(seed);
    LasWriter las;
    las.format = static_cast<quint8>(GetParam());
    las.points = randomPoints(seed);
    const QByteArray bytes = las.bytes();
    ASSERT_TRUE(writeFile(path("in.las"), bytes));
    build(path("in.las"));
    const QByteArray result = exported("out.las");
    EXPECT_EQ(support::get<quint8>(result, LasWriter::formatAt), las.format);
    const int size = LasWriter::recordSize(las.format);
    EXPECT_EQ(sortedRecords(result, size), sortedRecords(bytes, size));
    // Scale, offset and range.
    EXPECT_TRUE(sameBytes(result.mid(131, 96), bytes.mid(131, 96)));
}

INSTANTIATE_TEST_SUITE_P(Classic, ExportedFormat, ::testing::Range(0, 4));

TEST_F(ExportRoundTrip, GivesBackTheSurveyThatWasConverted)
{
    PublishedLas survey;
    survey.versionMinor = 4;
    survey.format = 6;
    survey.scale = {0.001, 0.001, 0.001};
    survey.offset = {512000, 4690000, 0};
    survey.points.resize(3);
    for (int i = 0; i < 3; ++i) {
        survey.points[static_cast<std::size_t>(i)].x = 123457 + i;
        survey.points[static_cast<std::size_t>(i)].y = 654321 - i;
        survey.points[static_cast<std::size_t>(i)].z = 250001 + i;
        survey.points[static_cast<std::size_t>(i)].gpsTime = i;
    }
    ASSERT_TRUE(survey.write(path("in.las")));
    expectRun({QStringLiteral("convert"), path("in.las"), path("small.las")});
    build(path("small.las"));

    PublishedLas expected = survey;
    expected.versionMinor = 2;
    expected.format = 1;
    expected.generator = "ptcloud export";
    expected.offset = {512000, 4691000, 0};
    for (auto &point : expected.points)
        point.y -= 1000000;
    EXPECT_TRUE(sameBytes(exported("out.las", unshift("small.las.json")), expected.bytes()));
    EXPECT_EQ(exported("out.csv", unshift("small.las.json") + columns("0")),
              "x,y,z\n512123.457,4690654.321,250.001\n512123.458,4690654.320,250.002\n"
              "512123.459,4690654.319,250.003\n");
}

TEST_F(ExportRoundTrip, TakesTheShiftBackInFullPrecision)
{
    BlockFile file;
    file.columns = {0, 4};
    file.blocks = {blockOf(1, {run({0.25F, -1.5F, 2.0F}), run({quint16(9)})})};
    write(file);
    writeSideFile("[500000, -4600000.5, 0.125]");
    const QByteArray head = "ply\nformat binary_little_endian 1.0\nelement vertex 1\nproperty double x\n"
                            "property double y\nproperty double z\nproperty ushort intensity\nend_header\n";
    EXPECT_TRUE(
        sameBytes(exported("out.ply", unshift()), head + run({500000.25, -4600002.0, 2.125}) + run({quint16(9)})));
    EXPECT_EQ(exported("out.csv", unshift()), "x,y,z,intensity\n500000.250,-4600002.000,2.125,9\n");
    PublishedLas las;
    las.generator = "ptcloud export";
    las.offset = {500000, -4600000.5, 0.125};
    las.points.resize(1);
    las.points[0].x = 250;
    las.points[0].y = -1500;
    las.points[0].z = 2000;
    las.points[0].intensity = 9;
    EXPECT_TRUE(sameBytes(exported("out.las", unshift()), las.bytes()));
}

TEST_F(ExportRoundTrip, TakesTheBoxInTrueCoordinatesThen)
{
    writePositions(run({0.123F, 0.0F, 0.0F, 0.124F, 0.0F, 0.0F, 0.125F, 0.0F, 0.0F}));
    writeSideFile("[500000, 4600000, -100]");
    EXPECT_EQ(exported("out.csv", unshift() + box("500000.123,4600000,-100,500000.124,4600000,-100")),
              "x,y,z\n500000.123,4600000.000,-100.000\n500000.124,4600000.000,-100.000\n");
    expectRefused("none.csv", unshift() + box("0,0,0,1,1,1"), "no point");
}

TEST_F(ExportRoundTrip, RefusesASideFileThatTellsNoShift)
{
    writePositions(run({0.0F, 0.0F, 0.0F}));
    expectRefused("out.csv", unshift("missing.json"), "missing.json");
    for (const char *shift : {"[1, 2]", "[1, 2, 3, 4]", "[1, 2, \"3\"]", "[1, null, 3]", "7", "{}"}) {
        writeSideFile(shift);
        expectRefused("out.csv", unshift(), "side.json");
    }
    for (const char *text : {"", "no JSON", "[1, 2, 3]", "{}"}) {
        ASSERT_TRUE(writeFile(path("side.json"), text));
        expectRefused("out.csv", unshift(), "side.json");
    }
}

TEST_F(ExportRoundTrip, RefusesTargetsThatItCannotOrMustNotWrite)
{
    writePositions(run({0.0F, 0.0F, 0.0F}));
    for (const char *out : {"out.txt", "out", "las", "out.las.gz"})
        expectRefused(out, {}, ".csv");
    expectRefused("missing/out.csv", {}, "out.csv");
    expectRefused("missing/out.las", {}, "out.las");
    ASSERT_TRUE(writeFile(path("out.las"), PublishedLas().bytes()));
    EXPECT_EQ(exportTo("out.las").exitCode, 1);
    EXPECT_TRUE(sameBytes(readFile(path("out.las")), PublishedLas().bytes()));
}

TEST_F(ExportRoundTrip, NeverWritesOverWhatItReads)
{
    writePositions(run({0.0F, 0.0F, 0.0F}));
    const QByteArray points = readFile(source());
    for (const char *link : {"link.las", "link.csv", "link.ply"}) {
        ASSERT_TRUE(QFile::link(source(), path(link)));
        EXPECT_EQ(exportTo(link).exitCode, 1) << link;
    }
    EXPECT_EQ(exportTo("points").exitCode, 1);
    EXPECT_TRUE(sameBytes(readFile(source()), points));

    const QByteArray side = "{\"shift\": [1, 2, 3]}";
    ASSERT_TRUE(writeFile(path("side.csv"), side));
    EXPECT_EQ(exportTo("side.csv", unshift("side.csv")).exitCode, 1);
    EXPECT_TRUE(sameBytes(readFile(path("side.csv")), side));
}

TEST_F(ExportRoundTrip, LeavesItsOldResultWhereTheNewOneFails)
{
    writePositions(run({1.0F, 1.0F, 1.0F}));
    const QByteArray old = exported("out.las");
    EXPECT_EQ(exportTo("out.las", box("5,5,5,6,6,6")).exitCode, 1);
    EXPECT_TRUE(sameBytes(readFile(path("out.las")), old));
    writePositions(run({1.0F, 1.0F, 3e6F}));
    EXPECT_EQ(exportTo("out.las").exitCode, 1);
    EXPECT_TRUE(sameBytes(readFile(path("out.las")), old));
    writePositions(run({1.0F, 1.0F, 2.0F}));
    EXPECT_NE(exported("out.las"), old);
}

TEST_F(ExportRoundTrip, RefusesPositionsThatALasFileCannotHold)
{
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    for (const float z : {2147484.0F, -2147484.0F, std::numeric_limits<float>::infinity(), notANumber}) {
        writePositions(run({0.0F, 0.0F, 0.0F, 0.0F, 0.0F, z}));
        expectRefused("out.las", {}, "does not fit");
    }
    EXPECT_EQ(exported("out.csv"), "x,y,z\n0,0,0\n0,0,nan\n");
    writePositions(run({0.0F, 0.0F, 2147483.0F}));
    EXPECT_EQ(support::get<qint32>(exported("out.las"), 227 + 8), 2147483000);
}

TEST_F(ExportRoundTrip, RefusesColumnsThatAreNotThere)
{
    BlockFile file;
    file.columns = {0, 4};
    file.blocks = {blockOf(1, {run({0.0F, 0.0F, 0.0F}), run({quint16(1)})})};
    write(file);
    expectRefused("out.csv", columns("0,3"), "colour");
    for (const char *wanted : {"19", "-1", "x", "0,,4", "4.0"})
        expectRefused("out.csv", columns(wanted), "--columns");
    file.columns = {4};
    file.blocks = {blockOf(1, {run({0.0F, 0.0F, 0.0F})})};
    file.blocks[0].columns = {run({quint16(1)})};
    write(file);
    expectRefused("out.csv", {}, "no positions");
}

TEST_F(ExportRoundTrip, RefusesASourceThatIsNoSoundDataSetFile)
{
    writePositions(run({0.0F, 0.0F, 0.0F, 1.0F, 1.0F, 1.0F}));
    const QByteArray bytes = readFile(source());
    for (const QByteArray &damaged : {bytes.left(bytes.size() - 1), bytes.left(40), QByteArray(), QByteArray("text")}) {
        ASSERT_TRUE(writeFile(source(), damaged));
        expectRefused("out.csv", {}, "points");
    }
    writePositions(QByteArray());
    expectRefused("out.csv", {}, "no point");
    BlockFile empty;
    empty.columns = {0};
    write(empty);
    expectRefused("out.csv", {}, "no point");
}

TEST_F(ExportRoundTrip, TellsWrongUsageFromFailure)
{
    writePositions(run({0.0F, 0.0F, 0.0F}));
    for (const char *wrong : {"1,1,1,0,2,2", "0,0,0,1,1", "0,0,0,1,1,1,1", "0,0,0,1,1,x", "nan,0,0,1,1,1", ""}) {
        EXPECT_EQ(exportTo("out.csv", box(wrong)).exitCode, 2) << wrong;
        EXPECT_FALSE(QFile::exists(path("out.csv"))) << wrong;
    }
    EXPECT_EQ(PtcloudRun({QStringLiteral("export"), source()}).exitCode, 2);
    EXPECT_EQ(
        exportTo("out.csv", {QStringLiteral("--mesh"), QStringLiteral("a"), QStringLiteral("--terrain")}).exitCode, 2);
}
