#include "BlockFile.h"
#include "Bytes.h"
#include "PtcloudRun.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QTemporaryDir>

#include <vector>

using support::BlockFile;
using support::readFile;
using support::writeFile;

namespace
{

struct Position
{
    float x;
    float y;
    float z;
};

QByteArray raw(const std::vector<Position> &positions)
{
    return QByteArray(reinterpret_cast<const char *>(positions.data()),
                      static_cast<int>(positions.size() * sizeof(Position)));
}

class VolumeCommand : public ::testing::Test
{
protected:
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    /// One block of points, in the middle of each cell of a 10 x 10 raster, at one height.
    QString flatPoints(float height) const
    {
        std::vector<Position> positions;
        for (int i = 0; i < 10; ++i) {
            for (int j = 0; j < 10; ++j)
                positions.push_back({static_cast<float>(i) + 0.5F, static_cast<float>(j) + 0.5F, height});
        }
        BlockFile file;
        file.columns = {0};
        BlockFile::Block block = file.makeBlock(1, static_cast<quint32>(positions.size()));
        block.columns = {raw(positions)};
        const float box[6] = {0, 0, 0, 10, 10, 10};
        std::copy(std::begin(box), std::end(box), std::begin(block.box));
        file.blocks = {block};
        EXPECT_TRUE(writeFile(path("points"), file.bytes()));
        return path("points");
    }

    /// A mesh of one triangle (1, 1), (3, 1), (1, 3) at one height, copied into so many blocks.
    QString flatMesh(float height, int blocks = 1) const
    {
        BlockFile file;
        file.columns = {0, 2};
        for (int key = 1; key <= blocks; ++key) {
            BlockFile::Block block = file.makeBlock(key, 3, 1);
            const quint32 triangle[3] = {0, 1, 2};
            block.columns = {raw({{1, 1, height}, {3, 1, height}, {1, 3, height}}),
                             QByteArray(reinterpret_cast<const char *>(triangle), sizeof triangle)};
            file.blocks.push_back(block);
        }
        EXPECT_TRUE(writeFile(path("mesh"), file.bytes()));
        return path("mesh");
    }

    QString areas(const QByteArray &features) const
    {
        EXPECT_TRUE(writeFile(path("areas.geojson"), R"({"type":"FeatureCollection","features":[)" + features + "]}"));
        return path("areas.geojson");
    }

    PtcloudRun run(const QStringList &arguments) const
    {
        return PtcloudRun(QStringList(QStringLiteral("volume")) + arguments);
    }

    PtcloudRun onPoints(const QByteArray &features, const QStringList &more = {}) const
    {
        return run(QStringList{QStringLiteral("--points"), flatPoints(5), QStringLiteral("--areas"), areas(features)}
                   + more);
    }

    static QJsonObject firstArea(const PtcloudRun &run)
    {
        return run.json().value(QStringLiteral("areas")).toArray().first().toObject();
    }
    static double number(const QJsonObject &area, const char *key)
    {
        return area.value(QLatin1String(key)).toDouble(-1);
    }
    static QString text(const QJsonObject &area, const char *key) { return area.value(QLatin1String(key)).toString(); }

    QTemporaryDir m_dir;
};

QByteArray square(const QByteArray &properties, const QByteArray &height = "0")
{
    const QByteArray ring = "[[1,1,H],[5,1,H],[5,5,H],[1,5,H],[1,1,H]]";
    return R"({"type":"Feature","properties":{)" + properties + R"(},"geometry":{"type":"Polygon","coordinates":[)"
           + QByteArray(ring).replace("H", height) + "]}}";
}

const QStringList json{QStringLiteral("--json")};

} // namespace

TEST_F(VolumeCommand, DigsWhatLiesAboveTheGround)
{
    const PtcloudRun run = onPoints(square(R"("name":"pit","ground_height":3,"grid_size":1)"), json);
    ASSERT_EQ(run.exitCode, 0) << run.errors.constData();
    const QJsonObject area = firstArea(run);
    EXPECT_EQ(text(area, "name"), QStringLiteral("pit"));
    EXPECT_EQ(text(area, "method"), QStringLiteral("grid"));
    EXPECT_EQ(number(area, "ground"), 3);
    EXPECT_EQ(number(area, "maxHeight"), 99999);
    EXPECT_EQ(number(area, "gridSize"), 1);
    // Of the 16 cells of the square the 7 at its high sides are not inside.
    EXPECT_EQ(number(area, "count"), 9);
    EXPECT_EQ(number(area, "dig"), 18);
    EXPECT_EQ(number(area, "fill"), 0);
    EXPECT_EQ(number(area, "net"), 18);
    EXPECT_TRUE(area.value(QStringLiteral("calculated")).toBool());
    EXPECT_EQ(text(area, "why"), QString());
}

TEST_F(VolumeCommand, TakesTheMeanHeightOfTheCornersAsGround)
{
    for (const char *property : {"", R"(,"ground_height":"average")"}) {
        const QByteArray properties = QByteArray(R"("name":"pit","grid_size":1)") + property;
        const QJsonObject area = firstArea(onPoints(square(properties, "7"), json));
        EXPECT_EQ(number(area, "ground"), 7);
        EXPECT_EQ(number(area, "fill"), 18);
        EXPECT_EQ(number(area, "net"), -18);
    }
}

TEST_F(VolumeCommand, CountsTrianglesOfAMesh)
{
    const PtcloudRun run = this->run({QStringLiteral("--mesh"), flatMesh(5), QStringLiteral("--areas"),
                                      areas(square(R"("name":"pit","ground_height":3)")), QStringLiteral("--json"),
                                      QStringLiteral("--method"), QStringLiteral("dtm")});
    ASSERT_EQ(run.exitCode, 0) << run.errors.constData();
    const QJsonObject area = firstArea(run);
    EXPECT_EQ(text(area, "method"), QStringLiteral("dtm"));
    EXPECT_EQ(number(area, "count"), 1);
    EXPECT_EQ(number(area, "dig"), 4);
}

TEST_F(VolumeCommand, SaysWhyAnAreaWasNotCalculated)
{
    const struct
    {
        QByteArray feature;
        const char *why;
    } cases[] = {
        {R"({"type":"Feature","properties":{"name":"a","ground_height":1},"geometry":{"type":"Polygon","coordinates":[[[1,1],[2,2]]]}})",
         "fewer than three corners"},
        {square(R"("name":"a","ground_height":5,"max_height":5)"), "ground is at or above the height limit"},
        {square(R"("name":"a","ground_height":5,"grid_size":0.005)"), "grid size is below 0.01"},
        {square(R"("name":"a","ground_height":5,"grid_size":0.01)"), "grid size is below 0.01"},
    };
    for (const auto &row : cases) {
        const PtcloudRun run = onPoints(row.feature, json);
        EXPECT_EQ(run.exitCode, 0);
        const QJsonObject area = firstArea(run);
        EXPECT_FALSE(area.value(QStringLiteral("calculated")).toBool()) << row.why;
        EXPECT_TRUE(text(area, "why").contains(QLatin1String(row.why))) << qPrintable(text(area, "why"));
        EXPECT_EQ(number(area, "dig"), 0);
    }
}

TEST_F(VolumeCommand, SaysThatAMeshIsNotInOneBlock)
{
    const PtcloudRun run = this->run({QStringLiteral("--mesh"), flatMesh(5, 2), QStringLiteral("--areas"),
                                      areas(square(R"("name":"pit","ground_height":3)")), QStringLiteral("--json")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(text(firstArea(run), "why").contains(QStringLiteral("not in one block")));
}

TEST_F(VolumeCommand, DoubtsAnAreaThatNoPointReaches)
{
    const QByteArray far =
        R"({"type":"Feature","properties":{"name":"far","ground_height":0,"grid_size":1},"geometry":{"type":"Polygon","coordinates":[[[100,100],[109,100],[109,109],[100,109]]]}})";
    const QJsonObject area = firstArea(onPoints(far, json));
    EXPECT_TRUE(area.value(QStringLiteral("calculated")).toBool());
    EXPECT_TRUE(text(area, "why").contains(QStringLiteral("no points in the area"))) << qPrintable(text(area, "why"));
}

TEST_F(VolumeCommand, StoresResultsAndShowsThemWithoutTheSource)
{
    const QString out = path("earth.volume");
    const PtcloudRun first = onPoints(square(R"("name":"pit","ground_height":3,"grid_size":1)"),
                                      json + QStringList{QStringLiteral("--out"), out});
    ASSERT_EQ(first.exitCode, 0) << first.errors.constData();
    QFile::remove(path("points"));
    const PtcloudRun shown = run({QStringLiteral("--show"), out, QStringLiteral("--json")});
    ASSERT_EQ(shown.exitCode, 0) << shown.errors.constData();
    EXPECT_EQ(shown.json(), first.json());
}

TEST_F(VolumeCommand, RefusesPointsThatCantAllBeRead)
{
    // A column of triangles that no block has: the file opens, and its points stay where they are.
    BlockFile file;
    file.columns = {0, 2};
    file.blocks = {file.makeBlock(1, 3)};
    ASSERT_TRUE(writeFile(path("points"), file.bytes()));
    const QString out = path("earth.volume");
    const PtcloudRun refused = run({QStringLiteral("--points"), path("points"), QStringLiteral("--areas"),
                                    areas(square(R"("name":"pit","ground_height":3)")), QStringLiteral("--out"), out});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.errors.contains("block 1 of")) << refused.errors.constData();
    EXPECT_FALSE(QFileInfo::exists(out));
}

TEST_F(VolumeCommand, PrintsATableThatPeopleCanRead)
{
    const PtcloudRun run = onPoints(square(R"("name":"pit","ground_height":3,"grid_size":1)") + ","
                                    + square(R"("name":"tip","ground_height":6,"grid_size":1)"));
    EXPECT_EQ(run.exitCode, 0);
    const QList<QByteArray> lines = run.output.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[1].simplified(), "pit 3.000 18.000 0.000 18.000 9 grid calculated");
    EXPECT_EQ(lines[2].simplified(), "tip 6.000 0.000 9.000 -9.000 9 grid calculated");
    EXPECT_EQ(lines[3].simplified(), "sum 18.000 9.000 9.000");
}

TEST_F(VolumeCommand, WritesACsvFileThatQuotesNames)
{
    const QString csv = path("volumes.csv");
    const PtcloudRun run =
        onPoints(square(R"("name":"a \"b\", c","ground_height":3,"grid_size":1)"), {QStringLiteral("--csv"), csv});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(readFile(csv), "name,method,ground,max_height,grid_size,dig,fill,net,count,calculated,why\r\n"
                             "\"a \"\"b\"\", c\",grid,3,99999,1,18,0,18,9,true,\r\n");
}

TEST_F(VolumeCommand, DrawsDigInRedAndFillInBlue)
{
    const QString picture = path("volumes.png");
    const PtcloudRun run =
        onPoints(square(R"("name":"pit","ground_height":3,"grid_size":1)"), {QStringLiteral("--picture"), picture});
    EXPECT_EQ(run.exitCode, 0);
    const QImage image(picture);
    ASSERT_FALSE(image.isNull());
    const QColor middle = image.pixelColor(image.width() / 3, image.height() / 2);
    EXPECT_GT(middle.red(), middle.blue() + 50);
    EXPECT_EQ(image.pixelColor(2, 2), QColor(Qt::white));

    onPoints(square(R"("name":"pit","ground_height":8,"grid_size":1)"), {QStringLiteral("--picture"), picture});
    const QColor filled = QImage(picture).pixelColor(image.width() / 3, image.height() / 2);
    EXPECT_GT(filled.blue(), filled.red() + 50);
}

TEST_F(VolumeCommand, RefusesAreasThatItCannotCalculate)
{
    const QByteArray ring = "[[1,1,0],[5,1,0],[5,5,0],[1,1,0]]";
    const auto feature = [](const QByteArray &properties, const QByteArray &geometry) {
        return R"({"type":"Feature","properties":{)" + properties + R"(},"geometry":)" + geometry + "}";
    };
    const QByteArray polygon = R"({"type":"Polygon","coordinates":[)" + ring + "]}";
    const struct
    {
        QByteArray features;
        const char *why;
    } cases[] = {
        {feature(R"("name":"a")", R"({"type":"Polygon","coordinates":[)" + ring + "," + ring + "]}"), "holes"},
        {feature(R"("name":"a")", R"({"type":"MultiPolygon","coordinates":[]})"), "\"MultiPolygon\""},
        {feature(R"("name":"a")", "null"), "\"none\""},
        {feature("", polygon), "no \"name\""},
        {feature(R"("name":"a")", polygon) + "," + feature(R"("name":"a")", polygon), "comes twice"},
        {feature(R"("name":"a","ground_height":"low")", polygon), "\"ground_height\""},
        {feature(R"("name":"a","max_height":"high")", polygon), "\"max_height\""},
        {feature(R"("name":"a","grid_size":1e300)", polygon), "\"grid_size\""},
        {feature(R"("name":"a")", R"({"type":"Polygon","coordinates":[[[1,1],[5,1],[5,5]]]})"),
         "average of the heights"},
        {feature(R"("name":"a","ground_height":1)", R"({"type":"Polygon","coordinates":[[["1",1],[5,1],[5,5]]]})"),
         "no number"},
        {R"({"type":"Polygon"})", "no Feature"},
        {"", "holds no area"},
        {"{", "no JSON"},
    };
    for (const auto &row : cases) {
        const PtcloudRun run = onPoints(row.features);
        EXPECT_EQ(run.exitCode, 1) << row.why;
        const QList<QByteArray> lines = run.errorLines();
        ASSERT_EQ(lines.size(), 1) << row.why;
        EXPECT_TRUE(lines.first().contains(row.why)) << lines.first().constData();
        EXPECT_TRUE(lines.first().contains("areas.geojson")) << lines.first().constData();
    }
}

TEST_F(VolumeCommand, WarnsOfCoordinatesThatFloatsCannotHold)
{
    const QByteArray far =
        R"({"type":"Feature","properties":{"name":"far","ground_height":0,"grid_size":1},"geometry":{"type":"Polygon","coordinates":[[[4500000.1,1],[4500009,1],[4500009,9]]]}})";
    EXPECT_TRUE(onPoints(far).errors.contains("coordinates move by up to"));
}

TEST_F(VolumeCommand, NeverWritesOverWhatItReads)
{
    const QString points = flatPoints(5);
    const QString file = areas(square(R"("name":"pit","ground_height":3)"));
    const QByteArray pointsBefore = readFile(points);
    const QByteArray areasBefore = readFile(file);
    for (const char *option : {"--out", "--csv", "--picture"}) {
        for (const QString &target : {points, file, m_dir.path() + QStringLiteral("/./points")}) {
            const PtcloudRun run = this->run({QStringLiteral("--points"), points, QStringLiteral("--areas"), file,
                                              QString::fromLatin1(option), target});
            EXPECT_EQ(run.exitCode, 1) << option;
        }
    }
    EXPECT_EQ(readFile(points), pointsBefore);
    EXPECT_EQ(readFile(file), areasBefore);
}

TEST_F(VolumeCommand, ReplacesOnlyVolumeFiles)
{
    const QByteArray feature = square(R"("name":"pit","ground_height":3,"grid_size":1)");
    ASSERT_TRUE(writeFile(path("notes.txt"), "keep me"));
    EXPECT_EQ(onPoints(feature, {QStringLiteral("--out"), path("notes.txt")}).exitCode, 1);
    EXPECT_EQ(readFile(path("notes.txt")), "keep me");

    EXPECT_EQ(onPoints(feature, {QStringLiteral("--out"), path("earth.volume")}).exitCode, 0);
    EXPECT_EQ(onPoints(feature, {QStringLiteral("--out"), path("earth.volume")}).exitCode, 0);
}

TEST_F(VolumeCommand, TellsWrongUsageFromFailure)
{
    const QString file = areas(square(R"("name":"pit","ground_height":3)"));
    const QString points = flatPoints(5);
    const QList<QStringList> wrong = {
        {},
        {QStringLiteral("--points"), points},
        {QStringLiteral("--areas"), file},
        {QStringLiteral("--points"), points, QStringLiteral("--mesh"), points, QStringLiteral("--areas"), file},
        {QStringLiteral("--points"), points, QStringLiteral("--areas"), file, QStringLiteral("--method"),
         QStringLiteral("dtm")},
        {QStringLiteral("--points"), points, QStringLiteral("--areas"), file, QStringLiteral("--method"),
         QStringLiteral("guess")},
        {QStringLiteral("--show"), points, QStringLiteral("--areas"), file},
    };
    for (const QStringList &arguments : wrong)
        EXPECT_EQ(run(arguments).exitCode, 2) << qPrintable(arguments.join(QLatin1Char(' ')));

    const QList<QStringList> failed = {
        {QStringLiteral("--points"), path("missing"), QStringLiteral("--areas"), file},
        {QStringLiteral("--points"), file, QStringLiteral("--areas"), file},
        {QStringLiteral("--points"), points, QStringLiteral("--areas"), path("missing")},
        {QStringLiteral("--show"), path("missing")},
        {QStringLiteral("--points"), points, QStringLiteral("--areas"), file, QStringLiteral("--out"),
         path("missing/earth.volume")},
    };
    for (const QStringList &arguments : failed) {
        const PtcloudRun run = this->run(arguments);
        EXPECT_EQ(run.exitCode, 1) << qPrintable(arguments.join(QLatin1Char(' ')));
        EXPECT_EQ(run.errorLines().size(), 1);
    }
}

TEST_F(VolumeCommand, ShowsNamesOnOneLineAndNothingThatATerminalObeys)
{
    const QByteArray area = square(R"("name":"a\nb\u001b[2J")");
    const PtcloudRun refused = onPoints(area + ',' + area);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.errors.count('\n'), 1) << refused.errors.constData();
    EXPECT_FALSE(refused.errors.contains('\x1b'));
    const PtcloudRun done = onPoints(area);
    EXPECT_EQ(done.exitCode, 0) << done.errors.constData();
    EXPECT_FALSE(done.output.contains('\x1b'));
}
