#include "GroundScenes.h"
#include "WorkerTesting.h"

#include "PtCloud_ContourFile.h"

#include <QDir>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>

using namespace ptCloud;
using namespace support;

namespace
{

constexpr float shift = 4096; // floats hold centimetres there, and it is a whole number

/// A slope with houses and trees, intensities that count the points, and houses told as such by the source.
bool writeSurvey(const QString &path)
{
    GroundScene scene = tiltedScene(10);
    scene.add(0, 0, -40, false);
    for (pcVec3f &p : scene.points)
        p += pcVec3f(shift, shift, 0);
    return writeSource(path, scene.points,
                       {EDataSetColumn_Position, EDataSetColumn_Intensity, EDataSetColumn_Classification},
                       [](stPtCloud_PointArray &array) {
                           for (unsigned int i = 0; i < array.m_pointCount; ++i) {
                               array.m_intensity[i] = static_cast<unsigned short>(i);
                               array.m_classification[i] = i % 1000 == 0 ? 6 : 1;
                           }
                       });
}

class TerrainRun : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(writeSurvey(worker.path("source"))); }

    QByteArray terrain(const QByteArray &pixels = "120", const QByteArray &steps = "10") const
    {
        return "function=3\n" + worker.paths() + "meshAbsFilepath=" + worker.path("mesh").toUtf8()
               + "\nheightMapAbsFilepath=" + worker.path("map.png").toUtf8() + "\nlargePixels=" + pixels
               + "\ncontourAbsFilepath=" + worker.path("contours").toUtf8() + "\ncontourPeace=" + steps
               + "\ntreeClassifyAbsFilepath=" + worker.path("classes").toUtf8() + "\n";
    }
    QByteArray cloth(const QByteArray &change = {}) const
    {
        return "function=107\n" + worker.paths()
               + "sloopSmooth=true\nclass_threshold=0.5\ncloth_resolution=1\ninterations=500\nrigidness=2\n"
                 "time_step=0.65\nremove_ground=false\n"
               + change;
    }
    QByteArray bytes(const QString &path) const
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
        return file.readAll();
    }
    int codeOf(const QByteArray &lines)
    {
        const WorkerDirectory::End end = worker.run(lines);
        EXPECT_TRUE(end.isNormal);
        return end.code;
    }
    QStringList files() const { return QDir(worker.directory()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }
    /// The number of points of each block, by key.
    std::vector<unsigned int> blocks(const char *name) const
    {
        PtCloud_DataSetFile file;
        EXPECT_TRUE(file.setFile(worker.path(name)) && file.openFile());
        QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
        file.getBlocks(blocks);
        std::vector<unsigned int> counts;
        for (const auto &block : qAsConst(blocks))
            counts.push_back(std::get<0>(block));
        return counts;
    }

    WorkerDirectory worker;
};

} // namespace

TEST_F(TerrainRun, MakesAllProducts)
{
    const WorkerDirectory::End end = worker.run(terrain());
    ASSERT_EQ(end.code, 0) << end.errors.constData();

    PtCloud_DataSetFile mesh;
    ASSERT_TRUE(mesh.setFile(worker.path("mesh")) && mesh.openFile());
    const stPtCloud_PointArray *const block = mesh.readBlock(1);
    ASSERT_NE(block, nullptr);
    const Surface surface = measure(block->m_position, block->m_pointCount, block->m_triangle, block->m_triangleCount);
    EXPECT_TRUE(surface.isSound && surface.namesEachCorner);
    EXPECT_EQ(surface.badEdges, 0U);
    EXPECT_EQ(surface.upward, block->m_triangleCount);
    EXPECT_NEAR(surface.area, 120 * 120 / std::cos(0.1745), 300);
    EXPECT_NE(block->m_intensity, nullptr);

    const QImage map(worker.path("map.png"));
    EXPECT_EQ(map.format(), QImage::Format_Grayscale16);
    EXPECT_EQ(std::max(map.width(), map.height()), 120);
    const QByteArray told = bytes(worker.path(".map.png.json"));
    EXPECT_EQ(map.text(QStringLiteral("Description")).simplified(), QString::fromUtf8(told).simplified());
    const QJsonObject description = QJsonDocument::fromJson(told).object();
    EXPECT_NEAR(description[QStringLiteral("left")].toDouble(), shift - 60, 0.5);
    EXPECT_NEAR(description[QStringLiteral("pixelSize")].toDouble(), 1, 0.01);

    PtCloud_ContourFile contours;
    contours.setFile(worker.path("contours"));
    ASSERT_TRUE(contours.openFile());
    EXPECT_EQ(contours.contourGroup1().size(), 2);
    EXPECT_EQ(contours.contourGroup2().size(), 8);
    for (const QVector<QPointF> &line : contours.contourGroup1().first()) {
        for (const QPointF &p : line)
            ASSERT_NEAR((p.x() - shift) * std::tan(0.1745), contours.contourGroup1().firstKey(), 0.6);
    }
}

TEST_F(TerrainRun, ClassifiesAndKeepsAllElse)
{
    ASSERT_EQ(codeOf(terrain()), 0);
    const GroundScene scene = tiltedScene(10);
    PtCloud_DataSetFile file;
    ASSERT_TRUE(file.setFile(worker.path("classes")) && file.openFile());
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    // By the number that each point carries.
    std::map<unsigned short, unsigned char> classes;
    std::size_t count = 0;
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        const stPtCloud_PointArray *const block = file.readBlock(it.key());
        ASSERT_NE(block, nullptr);
        count += block->m_pointCount;
        for (unsigned int i = 0; i < block->m_pointCount; ++i)
            classes[block->m_intensity[i]] = block->m_classification[i];
    }
    ASSERT_EQ(count, scene.points.size() + 1);
    ASSERT_EQ(classes.size(), count);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < scene.points.size(); ++i) {
        const unsigned char found = classes.at(static_cast<unsigned short>(i));
        const bool isVegetation = found >= 3 && found <= 5;
        if (i % 1000 == 0)
            EXPECT_EQ(found, 6);
        else
            wrong += scene.isGround[i] ? found != 2 : !isVegetation;
    }
    EXPECT_LT(wrong, count / 20);
    EXPECT_EQ(classes.at(static_cast<unsigned short>(scene.points.size())), 7);
}

TEST_F(TerrainRun, LeavesOutWhatHasNoPath)
{
    const QByteArray lines = "function=3\n" + worker.paths() + "meshAbsFilepath=\nheightMapAbsFilepath=\n"
                             + "contourAbsFilepath=" + worker.path("contours").toUtf8()
                             + "\ncontourPeace=5\ntreeClassifyAbsFilepath=\n";
    ASSERT_EQ(codeOf(lines), 0);
    EXPECT_EQ(files(), (QStringList{QStringLiteral("contours"), QStringLiteral("settings.ini"),
                                    QStringLiteral("source"), QStringLiteral("worker_by_hand")}));
}

TEST_F(TerrainRun, IsTheSameForEveryNumberOfThreads)
{
    const char *const names[] = {"mesh", "map.png", ".map.png.json", "contours", "classes", "result"};
    std::map<std::string, QByteArray> first;
    for (const char *threads : {"1", "2", "5"}) {
        worker.setVariable("OMP_NUM_THREADS", threads);
        ASSERT_EQ(codeOf(terrain()), 0);
        ASSERT_EQ(codeOf(cloth()), 0);
        for (const char *name : names) {
            const auto [known, isNew] = first.emplace(name, bytes(worker.path(name)));
            EXPECT_TRUE(isNew || known->second == bytes(worker.path(name))) << name << ", " << threads;
        }
    }
}

TEST_F(TerrainRun, RefusesParametersThatCantBe)
{
    EXPECT_EQ(codeOf(terrain("0")), 2);
    EXPECT_EQ(codeOf(terrain("16385")), 2);
    EXPECT_EQ(codeOf(terrain("120", "0")), 2);
    EXPECT_EQ(codeOf(terrain("120", "many")), 2);
    EXPECT_EQ(codeOf(terrain() + "contourAbsFilepath=" + worker.path("mesh").toUtf8() + "\n"), 2);
    EXPECT_EQ(codeOf(terrain() + "contourAbsFilepath=" + worker.path(".map.png.json").toUtf8() + "\n"), 2);
    EXPECT_EQ(codeOf(terrain() + "dest_filepath=\n"), 5);
    EXPECT_EQ(codeOf("function=3\n" + worker.paths()), 5);
    EXPECT_EQ(codeOf(terrain() + "meshAbsFilepath=/nowhere/mesh\n"), 5);
    for (const char *change : {"rigidness=0", "rigidness=1.5", "class_threshold=nan", "cloth_resolution=0",
                               "interations=0", "time_step=0", "sloopSmooth=perhaps", "remove_ground="})
        EXPECT_EQ(codeOf(cloth(QByteArray(change) + "\n")), 2) << change;
    EXPECT_EQ(files().size(), 3) << qPrintable(files().join(QLatin1Char(' ')));
}

TEST_F(TerrainRun, FailsWhereThereIsNoGroundToTriangulate)
{
    ASSERT_TRUE(writeSource(worker.path("source"), {{0, 0, 0}, {1, 1, 1}}));
    EXPECT_EQ(codeOf(terrain()), 9);
    ASSERT_TRUE(writeSource(worker.path("source"), {{0, 0, 5}, {9, 0, 5}, {0, 9, 5}}));
    EXPECT_EQ(codeOf(terrain()), 11);
    EXPECT_EQ(files().size(), 3) << "a run that fails leaves nothing";
}

TEST_F(TerrainRun, SplitsGroundFromTheRest)
{
    const auto points = static_cast<unsigned int>(tiltedScene(10).points.size() + 1);
    ASSERT_EQ(codeOf(cloth()), 0);
    const std::vector<unsigned int> split = blocks("result");
    ASSERT_EQ(split.size(), 2U);
    EXPECT_EQ(split[0] + split[1], points);
    EXPECT_GT(split[0], split[1]);
    ASSERT_EQ(codeOf(cloth("remove_ground=true\n")), 0);
    EXPECT_EQ(blocks("result"), std::vector<unsigned int>{split[1]});
    ASSERT_EQ(codeOf("function=106\n" + worker.paths()), 0);
    const std::vector<unsigned int> patched = blocks("result");
    ASSERT_EQ(patched.size(), 2U);
    EXPECT_EQ(patched[0] + patched[1], points);
    EXPECT_GT(patched[0], patched[1]);
}
