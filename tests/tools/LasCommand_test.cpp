#include "Bytes.h"
#include "LasWriter.h"
#include "PtcloudRun.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QTemporaryDir>

#include <cmath>

using support::LasPoint;
using support::LasWriter;

namespace
{

class LasCommand : public ::testing::Test
{
protected:
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    /// What `ptcloud las --json` says of one file.
    QJsonObject reportOn(const LasWriter &writer) const
    {
        const QString file = path("file.las");
        EXPECT_TRUE(writer.write(file));
        const PtcloudRun run({QStringLiteral("las"), file, QStringLiteral("--json")});
        EXPECT_EQ(run.exitCode, 0);
        const QJsonArray files = run.json().value(QStringLiteral("files")).toArray();
        EXPECT_EQ(files.size(), 1);
        return files.first().toObject();
    }

    static QString warningsOf(const QJsonObject &report)
    {
        QStringList lines;
        for (const QJsonValue &line : report.value(QStringLiteral("warnings")).toArray())
            lines << line.toString();
        return lines.join(QLatin1Char('\n'));
    }

    static LasWriter onePoint()
    {
        LasWriter writer;
        writer.format = 3;
        LasPoint point;
        point.x = 1000;
        point.y = 2000;
        point.z = 3000;
        point.red = 300;
        writer.points = {point};
        return writer;
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(LasCommand, TellsAllThatThereIsToKnowOfAFile)
{
    const QJsonObject report = reportOn(onePoint());
    EXPECT_EQ(report.value(QStringLiteral("file")).toString(), path("file.las"));
    EXPECT_TRUE(report.value(QStringLiteral("loads")).toBool());
    EXPECT_EQ(report.value(QStringLiteral("version")).toString(), QStringLiteral("1.2"));
    EXPECT_EQ(report.value(QStringLiteral("format")).toInt(), 3);
    EXPECT_EQ(report.value(QStringLiteral("points")).toInt(), 1);
    EXPECT_EQ(report.value(QStringLiteral("announced")).toInt(), 1);
    EXPECT_EQ(report.value(QStringLiteral("scale")).toArray(), (QJsonArray{0.001, 0.001, 0.001}));
    EXPECT_EQ(report.value(QStringLiteral("offset")).toArray(), (QJsonArray{0.0, 0.0, 0.0}));
    EXPECT_FALSE(report.value(QStringLiteral("colors256")).toBool());
    EXPECT_EQ(report.value(QStringLiteral("columns")).toArray(), (QJsonArray{0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}));
    EXPECT_EQ(report.value(QStringLiteral("bounds")).toObject().value(QStringLiteral("max")).toArray(),
              (QJsonArray{1.0, 2.0, 3.0}));
}

TEST_F(LasCommand, CallsAFileWithScaleOneThousandthAndNoOffsetExact)
{
    const QJsonObject report = reportOn(onePoint());
    EXPECT_TRUE(report.value(QStringLiteral("exact")).toBool());
    EXPECT_EQ(warningsOf(report), QString());
}

TEST_F(LasCommand, WarnsThatVolumesGoWithTheCubeOfAWrongScale)
{
    LasWriter writer = onePoint();
    writer.scale = {0.01, 0.01, 0.01};
    const QJsonObject report = reportOn(writer);
    EXPECT_FALSE(report.value(QStringLiteral("exact")).toBool());
    EXPECT_NEAR(report.value(QStringLiteral("factor")).toArray().first().toDouble(), 0.1, 1e-12);
    const QString warnings = warningsOf(report);
    EXPECT_TRUE(warnings.contains(QStringLiteral("scale is 0.01 and not 0.001"))) << qPrintable(warnings);
    EXPECT_TRUE(warnings.contains(QStringLiteral("positions will be 0.1 times the true lengths")))
        << qPrintable(warnings);
    EXPECT_TRUE(warnings.contains(QStringLiteral("volumes 0.001 times the true volumes"))) << qPrintable(warnings);
    EXPECT_TRUE(warnings.contains(QStringLiteral("cube"))) << qPrintable(warnings);
}

TEST_F(LasCommand, WarnsOfTheShiftThatAnOffsetLeavesOut)
{
    LasWriter writer = onePoint();
    writer.offset = {500.0, 0.0, -20.0};
    const QJsonObject report = reportOn(writer);
    EXPECT_FALSE(report.value(QStringLiteral("exact")).toBool());
    const QString warnings = warningsOf(report);
    EXPECT_TRUE(warnings.contains(QStringLiteral("offset is 500, 0, -20 and not 0"))) << qPrintable(warnings);
    EXPECT_TRUE(warnings.contains(QStringLiteral("shifted by -500, 0, 20"))) << qPrintable(warnings);
}

TEST_F(LasCommand, WarnsOfCoordinatesThatFloatsCannotHold)
{
    LasWriter writer = onePoint();
    writer.points.front().x = 2000000000;
    EXPECT_TRUE(warningsOf(reportOn(writer)).contains(QStringLiteral("32-bit floats stand 0.125 apart")));
}

TEST_F(LasCommand, WarnsOfRecordsThatAreLongerThanTheirFormat)
{
    const QString file = path("file.las");
    QByteArray bytes = onePoint().bytes();
    support::putAt<quint16>(bytes, LasWriter::recordLengthAt, 40);
    ASSERT_TRUE(support::writeFile(file, bytes));
    const PtcloudRun run({QStringLiteral("las"), file});
    EXPECT_TRUE(run.output.contains("records of 40 bytes")) << run.output.constData();
}

TEST_F(LasCommand, TellsWhyAFileDoesNotLoad)
{
    struct Row
    {
        QByteArray bytes;
        const char *why;
    };
    LasWriter old = onePoint();
    old.versionMinor = 1;
    LasWriter tooNew = onePoint();
    tooNew.format = 6;
    LasWriter compressed = onePoint();
    compressed.format = 0x83;
    QByteArray offsetBehind = onePoint().bytes();
    support::putAt<quint32>(offsetBehind, LasWriter::offsetToPointDataAt, 100000);
    LasWriter heads = onePoint();
    heads.announcedVariableHeads = 5000;
    const Row rows[] = {
        {QByteArray("LASF"), "first 26 bytes"},
        {onePoint().bytes().left(100), "ends within its header"},
        {old.bytes(), "version 1.1 is not read"},
        {tooNew.bytes(), "point format 6 is not read"},
        {compressed.bytes(), "compressed"},
        {offsetBehind, "point data would begin at byte 100000"},
        {heads.bytes(), "5000 variable length records"},
    };
    for (const Row &row : rows) {
        ASSERT_TRUE(support::writeFile(path("bad.las"), row.bytes));
        const PtcloudRun run({QStringLiteral("las"), path("bad.las"), QStringLiteral("--json")});
        EXPECT_EQ(run.exitCode, 0);
        const QJsonObject report = run.json().value(QStringLiteral("files")).toArray().first().toObject();
        EXPECT_FALSE(report.value(QStringLiteral("loads")).toBool());
        const QString why = report.value(QStringLiteral("why")).toString();
        EXPECT_TRUE(why.contains(QLatin1String(row.why))) << row.why << " | " << qPrintable(why);
    }
}

TEST_F(LasCommand, TellsOfAMissingFileAndOfADirectory)
{
    const PtcloudRun run({QStringLiteral("las"), path("missing.las"), m_dir.path()});
    EXPECT_TRUE(run.output.contains("No such file or directory"));
    EXPECT_TRUE(run.output.contains("it is not a regular file"));
}

TEST_F(LasCommand, ReportsOnSeveralFilesInTheirOrder)
{
    ASSERT_TRUE(onePoint().write(path("a.las")));
    ASSERT_TRUE(onePoint().write(path("b.las")));
    const PtcloudRun run({QStringLiteral("--json"), QStringLiteral("las"), path("b.las"), path("a.las")});
    const QJsonArray files = run.json().value(QStringLiteral("files")).toArray();
    ASSERT_EQ(files.size(), 2);
    EXPECT_EQ(files.at(0).toObject().value(QStringLiteral("file")).toString(), path("b.las"));
    EXPECT_EQ(files.at(1).toObject().value(QStringLiteral("file")).toString(), path("a.las"));
}
