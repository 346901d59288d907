#include "DataSetDirectory.h"
#include "PtcloudRun.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QJsonArray>
#include <QTemporaryDir>

using support::readFile;
using support::writeFile;

namespace
{

class DataSetCommands : public ::testing::Test
{
protected:
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    void write(const char *name, const QByteArray &bytes) const
    {
        ASSERT_TRUE(QDir().mkpath(path("set")));
        ASSERT_TRUE(writeFile(path("set/") + QString::fromLatin1(name), bytes));
    }

    static PtcloudRun run(const char *command, const QString &target, const QStringList &more = {})
    {
        return PtcloudRun(QStringList{QString::fromLatin1(command), target} + more);
    }
    PtcloudRun inspect(const QStringList &more = {QStringLiteral("--json")}) const
    {
        return run("inspect", path("set"), more);
    }

    static int number(const QJsonObject &object, const char *key) { return object.value(QLatin1String(key)).toInt(-1); }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(DataSetCommands, InspectTellsEveryContent)
{
    write("Points", support::pointsBytes(7));
    write("roof.mesh", support::meshBytes(5));
    write("walls.mesh", support::meshBytes(6));
    write("part.split", support::pointsBytes(3));
    write("hole.cut", support::pointsBytes(4));
    write("dem.demmesh", support::meshBytes(8));
    write("dem.classify", support::pointsBytes(9));
    write("dem.height.png", support::pictureBytes(20));
    write("dem.contour", support::sampleContours().bytes());
    write("earth.volume", support::volumeBytes(QStringLiteral("pit")));

    const PtcloudRun run = inspect();
    ASSERT_EQ(run.exitCode, 0) << run.errors.constData();
    const QJsonObject set = run.json();
    EXPECT_EQ(set.value(QStringLiteral("name")).toString(), QStringLiteral("set"));
    EXPECT_EQ(set.value(QStringLiteral("directory")).toString(), path("set"));
    const QJsonObject points = set.value(QStringLiteral("points")).toObject();
    EXPECT_EQ(number(points, "points"), 7);
    EXPECT_EQ(number(points, "blocks"), 1);
    EXPECT_EQ(number(points, "bytes"), support::pointsBytes(7).size());
    const QJsonArray meshes = set.value(QStringLiteral("meshes")).toArray();
    ASSERT_EQ(meshes.size(), 2);
    EXPECT_EQ(meshes[0].toObject().value(QStringLiteral("name")).toString(), QStringLiteral("roof"));
    EXPECT_EQ(number(meshes[1].toObject(), "points"), 6);
    EXPECT_EQ(number(meshes[1].toObject(), "triangles"), 1);
    EXPECT_EQ(set.value(QStringLiteral("splits")).toArray().size(), 1);
    EXPECT_EQ(set.value(QStringLiteral("cuts")).toArray().size(), 1);
    EXPECT_EQ(number(set.value(QStringLiteral("demMesh")).toObject(), "points"), 8);
    EXPECT_EQ(number(set.value(QStringLiteral("demClassify")).toObject(), "points"), 9);
    EXPECT_EQ(number(set.value(QStringLiteral("heightMap")).toObject(), "height"), 20);
    EXPECT_EQ(set.value(QStringLiteral("contours")).toArray().size(), 2);
    const QJsonObject area = set.value(QStringLiteral("volumes")).toArray().first().toObject();
    EXPECT_EQ(area.value(QStringLiteral("name")).toString(), QStringLiteral("pit"));

    EXPECT_TRUE(inspect({}).output.contains("mesh       walls: 6 points, 1 triangles"));
}

TEST_F(DataSetCommands, InspectTellsWhatIsAbsent)
{
    write("Points", support::pointsBytes(7));
    const QJsonObject set = inspect().json();
    EXPECT_TRUE(set.value(QStringLiteral("meshes")).toArray().isEmpty());
    for (const char *key : {"demMesh", "demClassify", "heightMap", "contours"})
        EXPECT_TRUE(set.value(QLatin1String(key)).isNull()) << key;
}

TEST_F(DataSetCommands, InspectRefusesToDeleteWhatItWasNotTold)
{
    write("Points", support::pointsBytes(7));
    write("notes.txt", "mine");
    write("damaged.mesh", "no mesh");
    write("sound.mesh", support::meshBytes(5));
    const PtcloudRun refused = inspect();
    EXPECT_EQ(refused.exitCode, 1);
    ASSERT_EQ(refused.errorLines().size(), 1);
    EXPECT_TRUE(refused.errorLines().first().contains("damaged.mesh, notes.txt"));
    EXPECT_TRUE(refused.errorLines().first().contains("--sweep"));
    EXPECT_EQ(readFile(path("set/notes.txt")), "mine");
    EXPECT_EQ(readFile(path("set/damaged.mesh")), "no mesh");

    EXPECT_EQ(inspect({QStringLiteral("--sweep")}).exitCode, 0);
    EXPECT_FALSE(QFile::exists(path("set/notes.txt")));
    EXPECT_FALSE(QFile::exists(path("set/damaged.mesh")));
    EXPECT_EQ(readFile(path("set/sound.mesh")), support::meshBytes(5));
}

TEST_F(DataSetCommands, InspectTouchesNothingWithoutSoundPoints)
{
    write("notes.txt", "mine");
    for (const QByteArray &points : {QByteArray(), QByteArray("no points")}) {
        if (!points.isEmpty())
            write("Points", points);
        EXPECT_EQ(inspect({QStringLiteral("--sweep")}).exitCode, 1);
        EXPECT_EQ(readFile(path("set/notes.txt")), "mine");
    }
    EXPECT_EQ(run("inspect", path("missing")).exitCode, 1);
    EXPECT_EQ(run("inspect", QStringLiteral("/")).exitCode, 1);
    EXPECT_FALSE(QFile::exists(path("missing")));
}

TEST_F(DataSetCommands, ContoursTellsHeightsLinesAndPoints)
{
    const support::ContourFile sample = support::sampleContours();
    write("dem.contour", sample.bytes());
    const PtcloudRun run = this->run("contours", path("set/dem.contour"), {QStringLiteral("--json")});
    ASSERT_EQ(run.exitCode, 0) << run.errors.constData();
    const QJsonArray groups = run.json().value(QStringLiteral("groups")).toArray();
    ASSERT_EQ(groups.size(), 2);
    for (int group = 0; group < 2; ++group) {
        const QJsonArray heights = groups[group].toObject().value(QStringLiteral("heights")).toArray();
        int withLines = 0;
        for (const auto &height : sample.groups[group].heights) {
            if (height.lines.empty())
                continue;
            std::size_t points = 0;
            for (const auto &line : height.lines)
                points += line.points.size();
            const QJsonObject told = heights[withLines++].toObject();
            EXPECT_EQ(told.value(QStringLiteral("height")).toDouble(), height.height);
            EXPECT_EQ(number(told, "lines"), static_cast<int>(height.lines.size()));
            EXPECT_EQ(number(told, "points"), static_cast<int>(points));
        }
        EXPECT_EQ(heights.size(), withLines);
    }
}

TEST_F(DataSetCommands, ContoursDrawsThem)
{
    write("dem.contour", support::sampleContours().bytes());
    const QString picture = path("contours.png");
    EXPECT_EQ(run("contours", path("set/dem.contour"), {QStringLiteral("--picture"), picture}).exitCode, 0);
    EXPECT_FALSE(QImage(picture).isNull());
}

TEST_F(DataSetCommands, ContoursRefusesWhatIsNone)
{
    write("text", "no contours");
    write("empty", support::ContourFile().bytes());
    EXPECT_EQ(run("contours", path("set/text")).exitCode, 1);
    EXPECT_EQ(run("contours", path("set/missing")).exitCode, 1);
    EXPECT_EQ(run("contours", path("set")).exitCode, 1);
    EXPECT_EQ(run("contours", path("set/empty")).exitCode, 0);
    EXPECT_EQ(run("contours", path("set/empty"), {QStringLiteral("--picture"), path("none.png")}).exitCode, 1);
    EXPECT_EQ(run("contours", path("set/text"), {QStringLiteral("--picture"), path("set/text")}).exitCode, 1);
    EXPECT_EQ(readFile(path("set/text")), "no contours");
}
