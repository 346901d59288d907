#include "ConvertTesting.h"

#include <QDir>

#include <limits>

using support::convertedFrom;
using support::ConvertTest;
using support::fullFile;
using support::get;
using support::PublishedLas;
using support::readFile;
using support::sameBytes;
using support::writeFile;

namespace
{

class ConvertRefusals : public ConvertTest
{
protected:
    void expectRefused(const PublishedLas &las, const char *why, const QStringList &more = {}) const
    {
        ConvertTest::expectRefused(convert(las.bytes(), more), why);
    }
    void expectRefused(const QByteArray &bytes, const char *why) const
    {
        ConvertTest::expectRefused(convert(bytes), why);
    }
};

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

PublishedLas coarse(qint32 x)
{
    PublishedLas las = fullFile(2, 0);
    las.scale.fill(1);
    las.points.resize(1);
    las.points[0].x = x;
    las.points[0].y = las.points[0].z = 0;
    return las;
}

const QStringList unshifted{QStringLiteral("--shift"), QStringLiteral("none")};

} // namespace

TEST_F(ConvertRefusals, RefusesPointsThatAreCompressed)
{
    for (const int format : {0, 1, 3}) {
        for (const int mark : {0x80, 0x40, 0xC0}) {
            PublishedLas las = fullFile(2, format);
            las.formatByte = static_cast<quint8>(format | mark);
            expectRefused(las, "compressed");
        }
    }
}

TEST_F(ConvertRefusals, RefusesFormatsAndVersionsThatItDoesNotKnow)
{
    for (const int format : {9, 10, 63}) {
        PublishedLas las = fullFile(4, 8);
        las.formatByte = static_cast<quint8>(format);
        las.extraBytes = 100;
        expectRefused(las, QByteArray("point format " + QByteArray::number(format)).constData());
    }
    PublishedLas las = fullFile(4, 8);
    las.versionMinor = 5;
    expectRefused(las, "version 1.5");
    las = fullFile(2, 0);
    las.versionMajor = 2;
    expectRefused(las, "version 2.2");
    las.versionMajor = 0;
    expectRefused(las, "version 0.2");
}

TEST_F(ConvertRefusals, RefusesWhatIsNoLasFile)
{
    expectRefused(QByteArray(), "no LAS file");
    expectRefused(QByteArray("LASF"), "no LAS file");
    expectRefused(QByteArray(1000, '\0'), "no LAS file");
    PublishedLas las = fullFile(2, 0);
    las.signature = "LASB";
    expectRefused(las, "no LAS file");
}

TEST_F(ConvertRefusals, RefusesAHeaderThatIsCut)
{
    for (int minor = 0; minor <= 4; ++minor) {
        const PublishedLas las = fullFile(minor, 0);
        for (const int size : {4, 24, 100, 226, las.headerSize() - 1})
            expectRefused(las.bytes().left(size), "in.las");
    }
}

TEST_F(ConvertRefusals, RefusesRecordsShorterThanTheirFields)
{
    for (int format = 0; format <= 8; ++format) {
        PublishedLas las = fullFile(4, format);
        const int size = PublishedLas::recordSize(format);
        for (const int length : {0, 1, 19, size - 1}) {
            las.recordLength = static_cast<quint16>(length);
            expectRefused(las, QByteArray("records of " + QByteArray::number(length) + " bytes").constData());
        }
    }
}

TEST_F(ConvertRefusals, RefusesAFileWithoutPoints)
{
    PublishedLas las = fullFile(2, 3);
    las.announcedPoints = 0;
    expectRefused(las, "no points");
    las = fullFile(2, 3);
    expectRefused(las.bytes().left(las.pointsAt()), "no points");
    expectRefused(las.bytes().left(las.pointsAt() + PublishedLas::recordSize(3) - 1), "no points");
    las = fullFile(4, 6);
    las.announcedPoints64 = 0;
    expectRefused(las, "no points");
}

TEST_F(ConvertRefusals, RefusesPointsThatBeginWhereNoneCanBe)
{
    PublishedLas las = fullFile(2, 0);
    for (const quint32 at : {quint32(0), quint32(226), quint32(las.bytes().size() + 1), quint32(0xffffffff)}) {
        las.offsetToPoints = at;
        expectRefused(las, "would begin at byte");
    }
}

TEST_F(ConvertRefusals, RefusesAScaleOrAnOffsetThatIsNoNumber)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const double scale : {0.0, -0.0, infinity, -infinity, notANumber}) {
            PublishedLas las = fullFile(2, 0);
            las.scale[axis] = scale;
            expectRefused(las, "scale and offset");
        }
        for (const double offset : {infinity, notANumber}) {
            PublishedLas las = fullFile(4, 6);
            las.offset[axis] = offset;
            expectRefused(las, "scale and offset");
        }
    }
}

TEST_F(ConvertRefusals, RefusesCoordinatesBeyondThirtyTwoBits)
{
    expectRefused(coarse(2147484), "32 bits", unshifted);
    expectRefused(coarse(-2147484), "32 bits", unshifted);
    expectRefused(coarse(0), "32 bits", {QStringLiteral("--shift=0,1e300,0")});
    EXPECT_EQ(convert(coarse(2147483).bytes(), unshifted).exitCode, 0);
    // A middle within reach does not help where the ends are not.
    PublishedLas wide = coarse(2147483647);
    wide.points.push_back(wide.points.front());
    wide.points.back().x = -2147483647;
    QFile::remove(out());
    QFile::remove(sideFile());
    expectRefused(wide, "32 bits");
    wide.scale.fill(1e300);
    expectRefused(wide, "32 bits");
}

TEST_F(ConvertRefusals, TakesABadShiftForWrongUsage)
{
    for (const char *shift : {"", "some", "1,2", "1,2,3,4", "1,2,x", "1,,3", "nan,0,0", "0,inf,0", "Auto", "1;2;3"}) {
        const PtcloudRun done = convert(fullFile(2, 0).bytes(), {QStringLiteral("--shift=") + QLatin1String(shift)});
        EXPECT_EQ(done.exitCode, 2) << shift;
        EXPECT_TRUE(done.errors.contains("--shift")) << done.errors.constData();
        EXPECT_FALSE(QFile::exists(out())) << shift;
        EXPECT_FALSE(QFile::exists(sideFile())) << shift;
    }
}

TEST_F(ConvertRefusals, RefusesPathsThatCannotBe)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("in.las")));
    const auto run = [](const QString &source, const QString &target) {
        return PtcloudRun({QStringLiteral("convert"), source, target});
    };
    ConvertTest::expectRefused(run(in(), out()), "in.las");
    ConvertTest::expectRefused(run(path("missing/in.las"), out()), "in.las");
    ASSERT_TRUE(fullFile(2, 0).write(path("sound.las")));
    for (const QString &target : {path("missing/out.las"), in(), m_dir.path()}) {
        const PtcloudRun done = run(path("sound.las"), target);
        EXPECT_EQ(done.exitCode, 1) << qPrintable(target);
        EXPECT_EQ(done.errorLines().size(), 1) << done.errors.constData();
    }
    EXPECT_EQ(PtcloudRun({QStringLiteral("convert"), path("sound.las")}).exitCode, 2);
}

TEST_F(ConvertRefusals, SaysInJsonWhyItRefuses)
{
    PublishedLas las = fullFile(2, 0);
    las.formatByte = quint8(0x80);
    const PtcloudRun done = convert(las.bytes(), {QStringLiteral("--json")});
    ConvertTest::expectRefused(done, "compressed");
    EXPECT_TRUE(done.json().value(QStringLiteral("error")).toString().contains(QStringLiteral("compressed")));
}

TEST_F(ConvertRefusals, NeverReplacesAFileOfAnotherProgram)
{
    PublishedLas survey = fullFile(2, 3);
    for (const QByteArray &foreign : {survey.bytes(), QByteArray("short"), QByteArray()}) {
        ASSERT_TRUE(writeFile(out(), foreign));
        const PtcloudRun done = convert(survey.bytes());
        EXPECT_EQ(done.exitCode, 1);
        EXPECT_TRUE(done.errors.contains("out.las")) << done.errors.constData();
        EXPECT_TRUE(sameBytes(readFile(out()), foreign));
        EXPECT_FALSE(QFile::exists(sideFile()));
    }
}

TEST_F(ConvertRefusals, ReplacesWhatItMadeItself)
{
    PublishedLas las = fullFile(2, 3);
    ASSERT_EQ(convert(las.bytes()).exitCode, 0);
    las.points.pop_back();
    ASSERT_EQ(convert(las.bytes()).exitCode, 0);
    EXPECT_TRUE(sameBytes(readFile(out()), convertedFrom(las).bytes()));
}

TEST_F(ConvertRefusals, LeavesItsOldResultWhereTheNewOneFails)
{
    ASSERT_EQ(convert(fullFile(2, 3).bytes()).exitCode, 0);
    const QByteArray result = readFile(out());
    const QByteArray side = readFile(sideFile());
    ASSERT_EQ(convert(coarse(2147484).bytes(), unshifted).exitCode, 1);
    EXPECT_TRUE(sameBytes(readFile(out()), result));
    EXPECT_TRUE(sameBytes(readFile(sideFile()), side));
}

TEST_F(ConvertRefusals, WritesNoShiftedPointsWhereItCannotTellTheShift)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("out.las.json")));
    const PtcloudRun done = convert(fullFile(2, 3).bytes());
    EXPECT_EQ(done.exitCode, 1);
    ASSERT_EQ(done.errorLines().size(), 1);
    EXPECT_TRUE(done.errorLines().first().contains("out.las.json")) << done.errors.constData();
    EXPECT_FALSE(QFile::exists(out()));
    // Nor is anything half-written left.
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 2);
}

TEST_F(ConvertRefusals, NeverWritesOverItsSource)
{
    // Made by this program, so that only being the source protects it.
    PublishedLas las = fullFile(2, 3);
    las.generator = "ptcloud demo";
    ASSERT_TRUE(las.write(in()));
    ASSERT_TRUE(QFile::link(in(), path("link.las")));
    for (const QString &target : {in(), m_dir.path() + QStringLiteral("/./in.las"), path("link.las")}) {
        const PtcloudRun done({QStringLiteral("convert"), in(), target});
        EXPECT_EQ(done.exitCode, 1) << qPrintable(target);
        EXPECT_EQ(done.errorLines().size(), 1) << done.errors.constData();
        EXPECT_TRUE(sameBytes(readFile(in()), las.bytes()));
    }
}

TEST_F(ConvertRefusals, NeverWritesItsSideFileOverItsSource)
{
    const PublishedLas las = fullFile(2, 3);
    ASSERT_TRUE(las.write(sideFile()));
    EXPECT_EQ(PtcloudRun({QStringLiteral("convert"), sideFile(), out()}).exitCode, 1);
    EXPECT_TRUE(sameBytes(readFile(sideFile()), las.bytes()));
}

TEST_F(ConvertRefusals, ConvertsThePointsThatAreThereAndSaysWhatIsMissing)
{
    const struct
    {
        int minor;
        int format;
    } cases[] = {{2, 3}, {4, 6}, {4, 1}};
    for (const auto &row : cases) {
        PublishedLas las = fullFile(row.minor, row.format);
        const PublishedLas expected = convertedFrom(las);
        if (row.minor == 4)
            las.announcedPoints64 = quint64(1) << 60;
        else
            las.announcedPoints = 1000;
        // Half a record at the end is none.
        const PtcloudRun done = convert(las.bytes() + QByteArray(19, '\x11'), {QStringLiteral("--json")});
        ASSERT_EQ(done.exitCode, 0) << done.errors.constData();
        EXPECT_TRUE(sameBytes(readFile(out()), expected.bytes()));
        const QStringList warnings = textsOf(done.json(), "warnings");
        ASSERT_EQ(warnings.size(), 1);
        EXPECT_TRUE(warnings.first().endsWith(QStringLiteral("and it holds 3"))) << qPrintable(warnings.first());
        EXPECT_TRUE(done.errors.contains("and it holds 3")) << done.errors.constData();
    }
}

TEST_F(ConvertRefusals, BelievesTheSixtyFourBitCountWhereThereIsOne)
{
    PublishedLas las = fullFile(4, 3);
    las.announcedPoints = 1;
    told(las);
    EXPECT_TRUE(sameBytes(readFile(out()), convertedFrom(fullFile(4, 3)).bytes()));
    // Some programs leave it out.
    las.announcedPoints = 3;
    las.announcedPoints64 = 0;
    told(las);
    EXPECT_TRUE(sameBytes(readFile(out()), convertedFrom(fullFile(4, 3)).bytes()));
}

TEST_F(ConvertRefusals, KeepsTheSoundRecordsInFrontOfADamagedOne)
{
    PublishedLas las = fullFile(2, 3);
    las.variableRecords = {{"first", 1, QByteArray(20, '\x51')}, {"second", 2, QByteArray(30, '\x52')}};
    PublishedLas expected = convertedFrom(las);
    for (const quint32 announced : {3U, 0xffffffffU}) {
        las.announcedVariableRecords = announced;
        const QStringList dropped = droppedOf(las);
        EXPECT_EQ(dropped.size(), 1);
        EXPECT_TRUE(dropped.value(0).contains(QStringLiteral("do not stand whole"))) << qPrintable(dropped.value(0));
        EXPECT_TRUE(sameBytes(readFile(out()), expected.bytes()));
    }
    // The second one's body would reach into the points.
    las.announcedVariableRecords = 2;
    QByteArray bytes = las.bytes();
    support::putAt(bytes, 227 + 54 + 20 + 20, quint16(31));
    EXPECT_EQ(textsOf(told(bytes), "dropped").size(), 1);
    expected.variableRecords.pop_back();
    EXPECT_TRUE(sameBytes(readFile(out()), expected.bytes()));
}

TEST_F(ConvertRefusals, RefusesMorePointsThanOneFileIsReadTo)
{
    constexpr qint64 points = 130000000;
    PublishedLas las = fullFile(4, 7);
    las.announcedPoints64 = points;
    ASSERT_TRUE(las.write(in()));
    // The file has a hole where its points would be: it takes no room.
    ASSERT_TRUE(QFile::resize(in(), las.pointsAt() + points * PublishedLas::recordSize(7)));
    ConvertTest::expectRefused(PtcloudRun({QStringLiteral("convert"), in(), out()}), "4 GiB");
}
