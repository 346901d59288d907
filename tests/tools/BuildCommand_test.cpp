#include "BlockFile.h"
#include "Bytes.h"
#include "LasWriter.h"
#include "PtcloudRun.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>

using support::BlockFile;
using support::LasPoint;
using support::LasWriter;

namespace
{

class BlockFileCommands : public ::testing::Test
{
protected:
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    /// A survey of the host's own making.
    QString demo(const char *name, const char *points, const QStringList &more = {}) const
    {
        const QString file = path(name);
        const PtcloudRun run(
            QStringList{QStringLiteral("demo-las"), file, QStringLiteral("--points"), QString::fromLatin1(points)}
            + more);
        EXPECT_EQ(run.exitCode, 0) << run.errors.constData();
        return file;
    }

    static void expectOneErrorLine(const PtcloudRun &run, const char *text)
    {
        EXPECT_EQ(run.exitCode, 1);
        ASSERT_EQ(run.errorLines().size(), 1) << run.errors.constData();
        EXPECT_TRUE(run.errorLines().first().contains(text)) << run.errors.constData();
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(BlockFileCommands, BuildTurnsALasFileIntoABlockFile)
{
    const QString las = demo("a.las", "20000");
    const PtcloudRun run({QStringLiteral("build"), path("out"), las, QStringLiteral("--json")});
    ASSERT_EQ(run.exitCode, 0) << run.errors.constData();
    EXPECT_EQ(run.json().value(QStringLiteral("points")).toInt(), 20000);
    const auto file = BlockFile::parse(support::readFile(path("out")));
    ASSERT_TRUE(file.has_value());
    EXPECT_EQ(file->columns, (std::vector<quint32>{0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}));
    EXPECT_EQ(run.json().value(QStringLiteral("blocks")).toInt(), static_cast<int>(file->blocks.size()));
}

TEST_F(BlockFileCommands, BuildTakesTheColumnsThatAreAskedFor)
{
    const QString las = demo("a.las", "100");
    const PtcloudRun run(
        {QStringLiteral("build"), path("out"), las, QStringLiteral("--columns"), QStringLiteral("13,0")});
    ASSERT_EQ(run.exitCode, 0) << run.errors.constData();
    EXPECT_EQ(BlockFile::parse(support::readFile(path("out")))->columns, (std::vector<quint32>{13, 0}));
}

TEST_F(BlockFileCommands, BuildOfSeveralFilesTakesTheColumnsThatAllHave)
{
    const QString a = demo("a.las", "100", {QStringLiteral("--format"), QStringLiteral("1")});
    const QString b = demo("b.las", "100", {QStringLiteral("--format"), QStringLiteral("2")});
    ASSERT_EQ(PtcloudRun({QStringLiteral("build"), path("out"), a, b}).exitCode, 0);
    EXPECT_EQ(BlockFile::parse(support::readFile(path("out")))->columns,
              (std::vector<quint32>{0, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST_F(BlockFileCommands, BuildKeepsThePointsOfTheFilesInTheOrderOfTheCommandLine)
{
    LasPoint point;
    const auto fileOf = [&](const char *name, quint16 first) {
        LasWriter writer;
        for (quint16 i = 0; i < 3; ++i) {
            point.intensity = static_cast<quint16>(first + i);
            writer.points.push_back(point);
        }
        EXPECT_TRUE(writer.write(path(name)));
        return path(name);
    };
    const QString a = fileOf("a.las", 10);
    const QString b = fileOf("b.las", 20);
    const QString c = fileOf("c.las", 30);
    ASSERT_EQ(
        PtcloudRun({QStringLiteral("build"), path("out"), b, c, a, QStringLiteral("--columns"), QStringLiteral("0,4")})
            .exitCode,
        0);
    const auto file = BlockFile::parse(support::readFile(path("out")));
    ASSERT_TRUE(file && file->blocks.size() == 1);
    QByteArray intensities;
    for (const int value : {20, 21, 22, 30, 31, 32, 10, 11, 12})
        support::put(intensities, static_cast<quint16>(value));
    EXPECT_EQ(file->blocks[0].columns[1], intensities);
}

TEST_F(BlockFileCommands, BuildWarnsOfAScaleThatIsNotOneThousandth)
{
    LasWriter writer;
    writer.scale = {0.01, 0.01, 0.01};
    writer.points.resize(3);
    ASSERT_TRUE(writer.write(path("a.las")));
    const PtcloudRun run({QStringLiteral("build"), path("out"), path("a.las")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.errors.contains("warning: ")) << run.errors.constData();
    EXPECT_TRUE(run.errors.contains("volumes 0.001 times")) << run.errors.constData();
}

TEST_F(BlockFileCommands, BuildTellsHowManyPointsLieOutsideTheLastFilesRange)
{
    LasWriter far;
    far.points.resize(4);
    for (LasPoint &point : far.points)
        point.x = 10000000;
    LasWriter near;
    near.points.resize(2);
    ASSERT_TRUE(far.write(path("far.las")) && near.write(path("near.las")));
    const PtcloudRun run(
        {QStringLiteral("build"), path("out"), path("far.las"), path("near.las"), QStringLiteral("--json")});
    EXPECT_EQ(run.json().value(QStringLiteral("points")).toInt(), 2);
    EXPECT_TRUE(run.errors.contains("4 of 6 points lie outside")) << run.errors.constData();
}

TEST_F(BlockFileCommands, BuildNeverOverwritesASource)
{
    const QString las = demo("a.las", "100");
    const QByteArray before = support::readFile(las);
    ASSERT_TRUE(QFile::link(las, path("link")));
    expectOneErrorLine(PtcloudRun({QStringLiteral("build"), las, las}), "is one of the files to read");
    expectOneErrorLine(PtcloudRun({QStringLiteral("build"), path("link"), las}), "is one of the files to read");
    EXPECT_EQ(support::readFile(las), before);
}

TEST_F(BlockFileCommands, BuildNeverOverwritesAFileOfAnotherKind)
{
    const QString a = demo("a.las", "100");
    const QString b = demo("b.las", "100");
    const QByteArray before = support::readFile(a);
    expectOneErrorLine(PtcloudRun({QStringLiteral("build"), a, b}), "is no sound data set file");
    EXPECT_EQ(support::readFile(a), before);
}

TEST_F(BlockFileCommands, BuildReplacesABlockFile)
{
    const QString las = demo("a.las", "100");
    ASSERT_EQ(PtcloudRun({QStringLiteral("build"), path("out"), las}).exitCode, 0);
    EXPECT_EQ(PtcloudRun({QStringLiteral("build"), path("out"), las}).exitCode, 0);
}

TEST_F(BlockFileCommands, BuildTellsWhyItFails)
{
    const QString las = demo("a.las", "100");
    LasWriter writer;
    writer.points.resize(2);
    writer.hasBounds = true;
    writer.minimum = writer.maximum = {5000.0, 5000.0, 5000.0};
    ASSERT_TRUE(writer.write(path("outside.las")));

    expectOneErrorLine(PtcloudRun({QStringLiteral("build"), path("out"), path("none.las")}),
                       "No such file or directory");
    expectOneErrorLine(PtcloudRun({QStringLiteral("build"), path("out"), path("outside.las")}),
                       "no point lies in the range");
    expectOneErrorLine(PtcloudRun({QStringLiteral("build"), path("no/such/dir"), las}), "can't be written");
    expectOneErrorLine(PtcloudRun({QStringLiteral("build"), m_dir.path(), las}), "is not a regular file");
    expectOneErrorLine(
        PtcloudRun({QStringLiteral("build"), path("out"), las, QStringLiteral("--columns"), QStringLiteral("0,x")}),
        "is no column");
    expectOneErrorLine(
        PtcloudRun({QStringLiteral("build"), path("out"), las, QStringLiteral("--columns"), QStringLiteral("3")}),
        "position");
}

TEST_F(BlockFileCommands, AnErrorIsAlsoOneJsonObject)
{
    const PtcloudRun run({QStringLiteral("build"), path("out"), path("none.las"), QStringLiteral("--json")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.json().value(QStringLiteral("error")).toString().contains(QStringLiteral("none.las")));
    EXPECT_EQ(run.json().value(QStringLiteral("result")).toString(), QStringLiteral("ActResult_FileError"));
}

TEST_F(BlockFileCommands, WrongUsageEndsWithTwo)
{
    EXPECT_EQ(PtcloudRun({}).exitCode, 2);
    EXPECT_EQ(PtcloudRun({QStringLiteral("nonsense")}).exitCode, 2);
    EXPECT_EQ(PtcloudRun({QStringLiteral("build"), path("out")}).exitCode, 2);
    EXPECT_EQ(PtcloudRun({QStringLiteral("demo-las"), path("a.las")}).exitCode, 2);
    EXPECT_EQ(PtcloudRun({QStringLiteral("build"), path("out"), path("a.las"), QStringLiteral("--buffer"),
                          QStringLiteral("0")})
                  .exitCode,
              2);
    EXPECT_EQ(PtcloudRun({QStringLiteral("build"), QStringLiteral("--help")}).exitCode, 0);
}

TEST_F(BlockFileCommands, DumpTellsWhatABlockFileHolds)
{
    BlockFile file;
    file.sort = 2;
    file.columns = {0, 2, 4};
    file.blocks = {file.makeBlock(-5, 3, 2), file.makeBlock(7, 1, 0)};
    ASSERT_TRUE(support::writeFile(path("file"), file.bytes()));
    const PtcloudRun run({QStringLiteral("dump"), path("file"), QStringLiteral("--json")});
    ASSERT_EQ(run.exitCode, 0) << run.errors.constData();
    const QJsonObject json = run.json();
    EXPECT_EQ(json.value(QStringLiteral("sort")).toInt(), 2);
    EXPECT_EQ(json.value(QStringLiteral("columns")).toArray(), (QJsonArray{0, 2, 4}));
    EXPECT_EQ(json.value(QStringLiteral("points")).toInt(), 4);
    const QJsonArray blocks = json.value(QStringLiteral("blocks")).toArray();
    ASSERT_EQ(blocks.size(), 2);
    EXPECT_EQ(blocks.at(0).toObject(),
              (QJsonObject{{QStringLiteral("key"), -5},
                           {QStringLiteral("points"), 3},
                           {QStringLiteral("triangles"), 2},
                           {QStringLiteral("offset"), 16 + 12 + 28},
                           {QStringLiteral("box"), QJsonArray{-5.0, -4.5, -4.0, -3.5, -3.0, -2.5}}}));
    EXPECT_EQ(blocks.at(1).toObject().value(QStringLiteral("key")).toInt(), 7);
}

TEST_F(BlockFileCommands, DumpRefusesWhatIsNoBlockFile)
{
    const QString las = demo("a.las", "10");
    expectOneErrorLine(PtcloudRun({QStringLiteral("dump"), las}), "no sound data set file");
    expectOneErrorLine(PtcloudRun({QStringLiteral("dump"), path("none")}), "is not an existing file");
}

TEST_F(BlockFileCommands, DemoLasMakesEveryFormatAndVersion)
{
    constexpr int sizes[] = {20, 28, 26, 34, 49, 63};
    for (const QString &version : {QStringLiteral("1.2"), QStringLiteral("1.3")}) {
        for (int format = 0; format < 6; ++format) {
            const QString file =
                demo("a.las", "50",
                     {QStringLiteral("--format"), QString::number(format), QStringLiteral("--version"), version});
            const int head = version == QStringLiteral("1.2") ? 227 : 243;
            EXPECT_EQ(QFileInfo(file).size(), head + 50 * sizes[format]);
            const PtcloudRun run({QStringLiteral("las"), file, QStringLiteral("--json")});
            const QJsonObject report = run.json().value(QStringLiteral("files")).toArray().first().toObject();
            EXPECT_EQ(report.value(QStringLiteral("format")).toInt(), format);
            EXPECT_EQ(report.value(QStringLiteral("version")).toString(), version);
            EXPECT_TRUE(report.value(QStringLiteral("exact")).toBool());
            EXPECT_TRUE(report.value(QStringLiteral("warnings")).toArray().isEmpty());
        }
    }
}

TEST_F(BlockFileCommands, RandomOrderHoldsTheSamePointsAsFlightOrder)
{
    constexpr int head = 227;
    constexpr int size = 34;
    const auto recordsOf = [&](const QString &file) {
        const QByteArray bytes = support::readFile(file);
        std::multiset<QByteArray> records;
        for (int at = head; at < bytes.size(); at += size)
            records.insert(bytes.mid(at, size));
        return records;
    };
    const QString flight = demo("f.las", "777");
    const QString random = demo("r.las", "777", {QStringLiteral("--order"), QStringLiteral("random")});
    EXPECT_NE(support::readFile(flight), support::readFile(random));
    EXPECT_EQ(recordsOf(flight), recordsOf(random));
}

TEST_F(BlockFileCommands, DemoLasOverwritesNothingButItsOwn)
{
    ASSERT_TRUE(support::writeFile(path("precious.las"), "flown at great expense"));
    expectOneErrorLine(PtcloudRun({QStringLiteral("demo-las"), path("precious.las"), QStringLiteral("--points"),
                                   QStringLiteral("10")}),
                       "was not made by this program");
    EXPECT_EQ(support::readFile(path("precious.las")), QByteArray("flown at great expense"));
    demo("own.las", "10");
    demo("own.las", "20");
}
