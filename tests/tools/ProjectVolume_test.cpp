#include "ProjectTesting.h"

#include "PlainVolume.h"
#include "SameBytes.h"
#include "VolumeFile.h"

#include <QFile>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace plain = support::plain;
using support::BlockFile;
using support::DiskState;
using support::readFile;
using support::rowOf;
using support::sameBytes;
using support::sameDisk;
using support::VolumeFile;
using support::words;

namespace
{

constexpr unsigned int seed = 20240608;

/// Points on a raster of eighths over a square of 8 at an eastern edge, in any order.
plain::Block randomBlock(std::mt19937 &random, float east)
{
    const auto eighths = [&random](int most) {
        return static_cast<float>(std::uniform_int_distribution<int>(0, most)(random)) / 8;
    };
    plain::Block block{{east, 0, east + 8, 8}, {}};
    for (int i = 0; i < 400; ++i)
        block.points.push_back({east + eighths(63), eighths(63), eighths(80)});
    return block;
}

QByteArray raw(const std::vector<plain::Point> &points)
{
    QByteArray bytes;
    for (const plain::Point &point : points) {
        for (const float number : {point.x, point.y, point.z})
            support::put(bytes, number);
    }
    return bytes;
}

QByteArray fileOf(const std::vector<plain::Block> &blocks)
{
    BlockFile file;
    file.columns = {0};
    for (const plain::Block &block : blocks) {
        const auto key = static_cast<qint32>(file.blocks.size());
        file.blocks.push_back(file.makeBlock(key, static_cast<quint32>(block.points.size())));
        BlockFile::Block &written = file.blocks.back();
        written.columns = {raw(block.points)};
        const float box[6] = {block.rectangle[0], block.rectangle[1], 0, block.rectangle[2], block.rectangle[3], 10};
        std::copy(std::begin(box), std::end(box), written.box);
    }
    return file.bytes();
}

QByteArray meshOf(const std::vector<plain::Point> &points, const std::vector<plain::Triangle> &triangles,
                  int blocks = 1)
{
    BlockFile file;
    file.columns = {0, 2};
    QByteArray corners;
    for (const plain::Triangle &triangle : triangles) {
        for (const unsigned int corner : triangle)
            support::put(corners, corner);
    }
    for (int key = 1; key <= blocks; ++key) {
        file.blocks.push_back(
            file.makeBlock(key, static_cast<quint32>(points.size()), static_cast<quint32>(triangles.size())));
        file.blocks.back().columns = {raw(points), corners};
    }
    return file.bytes();
}

/// A four-sided area with one wing cut in, over the middle of the points.
plain::Area sampleArea(float ground, float gridSize)
{
    plain::Area area;
    area.groundHeightType = 1;
    area.groundHeight = ground;
    area.gridSize = gridSize;
    area.boundary = {{1, 1, 2}, {14.5F, 1.5F, 4}, {13, 7, 6}, {7.5F, 4, 1}, {2, 6.5F, 7}};
    return area;
}

QByteArray feature(const char *name, const plain::Area &area)
{
    QByteArray ring;
    for (const plain::Point &corner : area.boundary) {
        ring += (ring.isEmpty() ? "[" : ",[") + QByteArray::number(double(corner.x)) + ','
                + QByteArray::number(double(corner.y)) + ',' + QByteArray::number(double(corner.z)) + ']';
    }
    const QByteArray ground =
        area.groundHeightType == 0 ? QByteArray("\"average\"") : QByteArray::number(double(area.groundHeight));
    return QByteArray(R"({"type":"Feature","properties":{"name":")") + name + R"(","ground_height":)" + ground
           + R"(,"grid_size":)" + QByteArray::number(double(area.gridSize)) + R"(,"max_height":)"
           + QByteArray::number(double(area.maxHeight)) + R"(},"geometry":{"type":"Polygon","coordinates":[[)" + ring
           + "]]}}";
}

std::vector<std::array<double, 6>> floatsOf(const std::vector<plain::Cell> &cells)
{
    std::vector<std::array<double, 6>> result;
    for (const plain::Cell &c : cells)
        result.push_back({c.xMin, c.xMax, c.yMin, c.yMax, c.ground, c.top});
    return result;
}

std::vector<std::array<double, 6>> floatsOf(const std::vector<VolumeFile::QuadPrism> &prisms)
{
    std::vector<std::array<double, 6>> result;
    for (const VolumeFile::QuadPrism &prism : prisms)
        result.push_back(prism.floats);
    return result;
}

std::vector<std::array<double, 10>> floatsOf(const std::vector<plain::Prism> &prisms)
{
    std::vector<std::array<double, 10>> result;
    for (const plain::Prism &p : prisms)
        result.push_back({p.a.x, p.a.y, p.a.z, p.b.x, p.b.y, p.b.z, p.c.x, p.c.y, p.c.z, p.ground});
    return result;
}

std::vector<std::array<double, 10>> floatsOf(const std::vector<VolumeFile::Prism> &prisms)
{
    std::vector<std::array<double, 10>> result;
    for (const VolumeFile::Prism &prism : prisms)
        result.push_back(prism.floats);
    return result;
}

/// A project with a data set `site` of two blocks of points, a mesh `roof`, a mesh `parts` in two blocks, and a
/// terrain; and with a data set `bare`.
class ProjectVolume : public support::ProjectTest
{
protected:
    void SetUp() override
    {
        ProjectTest::SetUp();
        std::mt19937 random(seed);
        m_blocks = {randomBlock(random, 0), randomBlock(random, 8)};
        const QByteArray points = fileOf(m_blocks);
        makeProject({}, {{QStringLiteral("site"),
                          {{QStringLiteral("Points"), points},
                           {QStringLiteral("roof.mesh"), meshOf(m_corners, m_triangles)},
                           {QStringLiteral("parts.mesh"), meshOf(m_corners, m_triangles, 2)},
                           {QStringLiteral("dem.demmesh"), meshOf(raised(), m_triangles)}}},
                         {QStringLiteral("bare"), {{QStringLiteral("Points"), points}}}});
    }

    std::vector<plain::Point> raised() const
    {
        std::vector<plain::Point> points = m_corners;
        for (plain::Point &point : points)
            point.z += 100;
        return points;
    }
    QString areas(const QByteArray &features) const
    {
        const QString file = path("areas.geojson");
        EXPECT_TRUE(support::writeFile(file, R"({"type":"FeatureCollection","features":[)" + features + "]}"));
        return file;
    }
    /// Runs with areas, or without, and gives the rows that are told.
    QJsonArray volume(const char *line, const QByteArray &features = {}) const
    {
        QStringList arguments = words(line) << QStringLiteral("--json");
        if (!features.isEmpty())
            arguments << QStringLiteral("--areas") << areas(features);
        const PtcloudRun done = run(arguments);
        EXPECT_EQ(done.exitCode, 0) << line << ": " << done.errors.constData();
        return done.json().value(QStringLiteral("areas")).toArray();
    }
    std::vector<VolumeFile::Area> stored(const char *file = "site/earth.volume") const
    {
        const auto reading = VolumeFile::read(readFile(inProject(file)));
        EXPECT_TRUE(reading.ok && !reading.pastTheEnd);
        return reading.areas;
    }
    QStringList storedNames() const
    {
        QStringList names;
        for (const VolumeFile::Area &area : stored())
            names << area.name;
        return names;
    }

    std::vector<std::array<double, 6>> cellsOf(const plain::Area &area) const
    {
        std::vector<plain::Cell> cells;
        EXPECT_TRUE(plain::calcGrid(area, m_blocks, cells));
        return floatsOf(cells);
    }
    std::vector<std::array<double, 10>> prismsOf(const plain::Area &area, const std::vector<plain::Point> &points) const
    {
        std::vector<plain::Prism> prisms;
        EXPECT_TRUE(plain::calcDtm(area, points, m_triangles, prisms));
        return floatsOf(prisms);
    }
    /// Lays files down as they were: damage to one must not hide damage to the next.
    void putBack(const DiskState &files) const
    {
        for (auto it = files.cbegin(); it != files.cend(); ++it) {
            if (*it != "directory") {
                ASSERT_TRUE(support::writeFile(path(it.key().toUtf8().constData()), *it));
            }
        }
    }
    /// Expects that the numbers told are the sums over these cells.
    static void expectSums(const QJsonObject &row, const std::vector<std::array<double, 6>> &cells)
    {
        double dig = 0;
        double fill = 0;
        for (const auto &c : cells) {
            const double height = c[5] - c[4];
            (height > 0 ? dig : fill) += std::abs(height) * (c[1] - c[0]) * (c[3] - c[2]);
        }
        EXPECT_NEAR(row.value(QStringLiteral("dig")).toDouble(), dig, 1e-4 * (1 + dig));
        EXPECT_NEAR(row.value(QStringLiteral("fill")).toDouble(), fill, 1e-4 * (1 + fill));
        EXPECT_NEAR(row.value(QStringLiteral("net")).toDouble(), dig - fill, 1e-4 * (1 + dig + fill));
        EXPECT_EQ(row.value(QStringLiteral("count")).toInt(), static_cast<int>(cells.size()));
        EXPECT_EQ(row.value(QStringLiteral("method")).toString(), QStringLiteral("grid"));
        EXPECT_TRUE(row.value(QStringLiteral("calculated")).toBool());
    }

    std::vector<plain::Block> m_blocks;
    std::vector<plain::Point> m_corners = {{2, 2, 1}, {5, 2, 3}, {5, 5, 8}, {2, 5, 2}, {20, 2, 4}};
    std::vector<plain::Triangle> m_triangles = {{0, 1, 2}, {0, 2, 3}, {1, 4, 2}};
};

} // namespace

TEST_F(ProjectVolume, KeepsAreasAndResultsWithTheDataSet)
{
    SCOPED_TRACE(seed);
    plain::Area pit = sampleArea(4, 0.5F);
    plain::Area tip = sampleArea(0, 1);
    tip.groundHeightType = 0;
    tip.maxHeight = 7;
    const QJsonArray rows = volume("volume site", feature("pit", pit) + ',' + feature("tip", tip));
    expectSums(rowOf(rows, QStringLiteral("pit")), cellsOf(pit));
    expectSums(rowOf(rows, QStringLiteral("tip")), cellsOf(tip));

    const auto areas = stored();
    ASSERT_EQ(storedNames(), words("pit tip"));
    EXPECT_EQ(floatsOf(areas[0].quadPrisms), cellsOf(pit));
    EXPECT_EQ(floatsOf(areas[1].quadPrisms), cellsOf(tip));
    EXPECT_EQ(areas[0].groundHeightType, 1);
    EXPECT_EQ(areas[0].groundHeight, 4);
    EXPECT_EQ(areas[0].gridSize, 0.5);
    EXPECT_EQ(areas[1].groundHeightType, 0);
    EXPECT_EQ(areas[1].maxHeight, 7);
    ASSERT_EQ(areas[0].corners.size(), pit.boundary.size());
    EXPECT_EQ(areas[0].corners[1], (std::array<double, 3>{14.5, 1.5, 4}));
    EXPECT_EQ(areas[0].gridCalculated, 1);
    EXPECT_EQ(areas[0].dtmCalculated, 0);
}

TEST_F(ProjectVolume, TouchesNothingElseOfTheProject)
{
    const QByteArray pit = feature("pit", sampleArea(4, 1));
    volume("volume bare", pit);
    DiskState before = onDisk();
    volume("volume site", pit);
    DiskState after = onDisk();
    EXPECT_FALSE(after.take(QStringLiteral("project/site/earth.volume")).isEmpty());
    EXPECT_TRUE(sameDisk(after, before));
    // Both have the same points.
    EXPECT_TRUE(sameBytes(readFile(inProject("site/earth.volume")), readFile(inProject("bare/earth.volume"))));
}

TEST_F(ProjectVolume, ReplacesAnAreaByNameAndKeepsTheOthers)
{
    volume("volume site", feature("pit", sampleArea(4, 1)) + ',' + feature("tip", sampleArea(5, 1)));
    const QJsonArray rows =
        volume("volume site", feature("pit", sampleArea(2, 0.5F)) + ',' + feature("Pit", sampleArea(3, 1)));
    EXPECT_EQ(support::namesIn(rows), words("Pit pit tip"));
    ASSERT_EQ(storedNames(), words("Pit pit tip"));
    expectSums(rowOf(rows, QStringLiteral("pit")), cellsOf(sampleArea(2, 0.5F)));
    expectSums(rowOf(rows, QStringLiteral("tip")), cellsOf(sampleArea(5, 1)));
    EXPECT_EQ(floatsOf(stored()[1].quadPrisms), cellsOf(sampleArea(2, 0.5F)));
    EXPECT_EQ(floatsOf(stored()[2].quadPrisms), cellsOf(sampleArea(5, 1)));
}

TEST_F(ProjectVolume, CalculatesStoredAreasAgainWhenThePointsChanged)
{
    volume("volume site", feature("pit", sampleArea(4, 1)));
    for (plain::Block &block : m_blocks) {
        for (plain::Point &point : block.points)
            point.z += 1;
    }
    ASSERT_TRUE(support::writeFile(inProject("site/Points"), fileOf(m_blocks)));
    const QJsonArray rows = volume("volume site");
    ASSERT_EQ(rows.size(), 1);
    expectSums(rows.first().toObject(), cellsOf(sampleArea(4, 1)));
    EXPECT_EQ(floatsOf(stored()[0].quadPrisms), cellsOf(sampleArea(4, 1)));
}

TEST_F(ProjectVolume, CalculatesAreasThatAnotherProgramStored)
{
    const plain::Area area = sampleArea(4, 1);
    VolumeFile file;
    VolumeFile::Area pit;
    pit.name = QString::fromUtf8("Größe 2");
    pit.groundHeightType = 1;
    pit.groundHeight = 4;
    pit.gridSize = 1;
    for (const plain::Point &corner : area.boundary)
        pit.corners.push_back({corner.x, corner.y, corner.z});
    file.areas = {pit};
    ASSERT_TRUE(support::writeFile(inProject("site/earth.volume"), file.bytes()));
    const QJsonArray rows = volume("volume site");
    ASSERT_EQ(support::namesIn(rows), QStringList{pit.name});
    expectSums(rows.first().toObject(), cellsOf(area));
    EXPECT_EQ(floatsOf(stored()[0].quadPrisms), cellsOf(area));
}

TEST_F(ProjectVolume, VolumesThatCanNotBeReadAreNotReplaced)
{
    const QByteArray other = "volumes of another program";
    ASSERT_TRUE(support::writeFile(inProject("site/earth.volume"), other));
    const PtcloudRun done = run(words("volume site --areas") << areas(feature("heap", sampleArea(4, 1))));
    EXPECT_EQ(done.exitCode, 1);
    EXPECT_TRUE(done.errors.contains("earth.volume\" can't be read")) << done.errors.constData();
    EXPECT_TRUE(sameBytes(readFile(inProject("site/earth.volume")), other));
}

TEST_F(ProjectVolume, NumbersThatAreNoneStandInTheWayOfNothing)
{
    VolumeFile file;
    file.areas.emplace_back();
    file.areas.back().name = QStringLiteral("odd");
    file.areas.back().groundHeight = std::numeric_limits<double>::quiet_NaN();
    ASSERT_TRUE(support::writeFile(inProject("site/earth.volume"), file.bytes()));
    const PtcloudRun info = run(words("info site"));
    EXPECT_EQ(info.exitCode, 0);
    EXPECT_FALSE(info.errors.contains("earth.volume")) << info.errors.constData();
    EXPECT_EQ(volume("volume site", feature("heap", sampleArea(4, 1))).size(), 2);
    EXPECT_EQ(storedNames(), words("heap odd"));
}

TEST_F(ProjectVolume, WorksOnAMeshOfTheDataSetAndOnItsTerrain)
{
    const plain::Area area = sampleArea(4, 1);
    for (const char *line : {"volume site --mesh roof", "volume --data-set site --on roof --method dtm"}) {
        const QJsonObject row = rowOf(volume(line, feature("pit", area)), QStringLiteral("pit"));
        EXPECT_EQ(row.value(QStringLiteral("method")).toString(), QStringLiteral("dtm"));
        EXPECT_EQ(row.value(QStringLiteral("count")).toInt(), static_cast<int>(prismsOf(area, m_corners).size()));
        EXPECT_EQ(floatsOf(stored()[0].prisms), prismsOf(area, m_corners)) << line;
        EXPECT_FALSE(stored()[0].prisms.empty());
        EXPECT_EQ(stored()[0].dtmCalculated, 1);
        EXPECT_EQ(stored()[0].gridCalculated, 0);
    }
    const QJsonObject row = rowOf(volume("volume site --terrain"), QStringLiteral("pit"));
    EXPECT_EQ(floatsOf(stored()[0].prisms), prismsOf(area, raised()));
    EXPECT_EQ(row.value(QStringLiteral("fill")).toDouble(-1), 0);
    EXPECT_GT(row.value(QStringLiteral("dig")).toDouble(), 0);
}

TEST_F(ProjectVolume, KeepsTheResultsOfBothMethods)
{
    const plain::Area area = sampleArea(4, 1);
    volume("volume site", feature("pit", area));
    volume("volume site --mesh roof");
    ASSERT_EQ(storedNames(), words("pit"));
    EXPECT_EQ(floatsOf(stored()[0].quadPrisms), cellsOf(area));
    EXPECT_EQ(floatsOf(stored()[0].prisms), prismsOf(area, m_corners));
}

TEST_F(ProjectVolume, StoresAnAreaThatCannotBeCalculatedAndSaysWhy)
{
    plain::Area high = sampleArea(9, 1);
    high.maxHeight = 8;
    const QJsonArray rows = volume("volume site", feature("high", high) + ',' + feature("pit", sampleArea(4, 1)));
    const QJsonObject row = rowOf(rows, QStringLiteral("high"));
    EXPECT_FALSE(row.value(QStringLiteral("calculated")).toBool(true));
    EXPECT_TRUE(row.value(QStringLiteral("why")).toString().contains(QStringLiteral("height limit")));
    expectSums(rowOf(rows, QStringLiteral("pit")), cellsOf(sampleArea(4, 1)));
    ASSERT_EQ(storedNames(), words("high pit"));
    EXPECT_EQ(stored()[0].gridCalculated, 0);

    const QJsonArray onParts = volume("volume site --mesh parts");
    EXPECT_TRUE(rowOf(onParts, QStringLiteral("pit"))
                    .value(QStringLiteral("why"))
                    .toString()
                    .contains(QStringLiteral("not in one block")));
}

TEST_F(ProjectVolume, ShowsWhatIsStored)
{
    const QJsonArray rows = volume("volume site", feature("pit", sampleArea(4, 1)));
    const PtcloudRun shown(
        {QStringLiteral("volume"), QStringLiteral("--show"), inProject("site/earth.volume"), QStringLiteral("--json")});
    EXPECT_EQ(shown.json().value(QStringLiteral("areas")).toArray(), rows);
}

TEST_F(ProjectVolume, RefusesWhatTheProjectDoesNotHave)
{
    const QString file = areas(feature("pit", sampleArea(4, 1)));
    const auto refuse = [&](const char *line, const char *text) {
        expectRefused(words(line) << QStringLiteral("--areas") << file, "ActResult_NotFound", text);
    };
    refuse("volume nowhere", "nowhere");
    refuse("volume site --mesh wall", "wall");
    refuse("volume bare --terrain", "terrain");
    expectRefused("volume site", "", "--areas");
}

TEST_F(ProjectVolume, KeepsItsAreasWhereNewOnesAreRefused)
{
    volume("volume site", feature("pit", sampleArea(4, 1)));
    for (const QByteArray &bad : {QByteArray("{"), feature("", sampleArea(4, 1)), QByteArray()}) {
        expectRefused({QStringLiteral("volume"), QStringLiteral("site"), QStringLiteral("--areas"), areas(bad)}, "",
                      "areas.geojson");
    }
    expectRefused({QStringLiteral("volume"), QStringLiteral("site"), QStringLiteral("--areas"), path("missing")}, "",
                  "missing");
}

TEST_F(ProjectVolume, NeverWritesItsTableOrPictureOverWhatItReads)
{
    const QByteArray pit = feature("pit", sampleArea(4, 1));
    volume("volume site", pit);
    const QString file = areas(pit);
    const DiskState before = onDisk();
    for (const QString &target :
         {file, inProject("site/Points"), inProject("site/earth.volume"), inProject("points_cloud.pcproj")}) {
        for (const char *option : {"--csv", "--picture"}) {
            const PtcloudRun done = run({QStringLiteral("volume"), QStringLiteral("site"), QStringLiteral("--areas"),
                                         file, QString::fromUtf8(option), target});
            EXPECT_EQ(done.exitCode, 1) << option << ' ' << qPrintable(target);
            EXPECT_TRUE(sameDisk(onDisk(), before)) << option << ' ' << qPrintable(target);
            putBack(before);
        }
    }
}

TEST_F(ProjectVolume, TellsWrongUsageFromFailure)
{
    const QString file = areas(feature("pit", sampleArea(4, 1)));
    const DiskState before = onDisk();
    for (const char *line :
         {"volume", "volume site --out x.volume", "volume site --method dtm", "volume site --mesh roof --method grid",
          "volume site --terrain --method grid", "volume site --points x", "volume --terrain",
          "volume --points x --terrain", "volume site --method guess"}) {
        const PtcloudRun done = run(words(line) << QStringLiteral("--areas") << file);
        EXPECT_EQ(done.exitCode, 2) << line << done.errors.constData();
    }
    EXPECT_TRUE(sameDisk(onDisk(), before));
}
