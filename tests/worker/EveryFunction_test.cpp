// What holds for each of the worker's functions alike, through the program.

#include "BlockFile.h"
#include "ProgramTesting.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <set>
#include <utility>

using namespace ptCloud;
using namespace support;

namespace
{

/// What a function's results have of its source's points.
enum class Survival {
    None,       ///< places of their own
    All,        ///< each point, in all its columns
    Some,       ///< some of them, in all their columns
    Corners,    ///< likewise, as corners of triangles
    Classified, ///< each point, in all its columns but the classification
};

struct Function
{
    const char *name;
    QByteArray settings;
    Survival survival;
};

void PrintTo(const Function &function, std::ostream *out)
{
    *out << function.name;
}

const Function functions[] = {
    {"AlphaShape", "function=0\nfastNormal=true\nalpha=3\n", Survival::Corners},
    {"BallPivoting", "function=1\nfastNormal=false\nradius=0\n", Survival::Corners},
    {"Poisson", "function=2\nfastNormal=true\ndepth=5\nwidth=0\ndesity_divide=0.01\n", Survival::None},
    {"Terrain", "function=3\nlargePixels=64\ncontourPeace=6\n", Survival::Classified},
    {"Dbscan", "function=100\nepsilon=2\nminpts=4\nretainNoise=true\n", Survival::All},
    {"KMeans", "function=101\nmaxIteration=20\nclusterNum=4\n", Survival::All},
    {"KMeansExtra", "function=102\nmaxIteration=20\nclusterNum=4\n", Survival::All},
    {"Euclidean", "function=103\ntolerance=2\nminCluster=1\nmaxCluster=1000000\n", Survival::All},
    {"EuclideanFast", "function=104\ndisTh=2\nmaxSize=300\n", Survival::All},
    {"RegionGrowing", "function=105\ntolerance=16\nsmooth=30\ncure=0.2\nminCluster=1\nmaxCluster=1000000\n",
     Survival::Some},
    {"Patchwork", "function=106\n", Survival::All},
    {"Cloth",
     "function=107\nsloopSmooth=true\nclass_threshold=0.5\ncloth_resolution=1\ninterations=100\nrigidness=2\n"
     "time_step=0.65\nremove_ground=false\n",
     Survival::All},
    {"Sample", "function=200\ntargetPercents=10\ninit_factor=5\nmakeMeshAlpha=0\n", Survival::Some},
    {"SampleOfMesh", "function=200\ntargetPercents=10\ninit_factor=5\nmakeMeshAlpha=3\n", Survival::None},
};

/// Codes of runs that took their source and came to nothing, each with its cause.
const std::set<int> failures{2, 7, 8, 9, 10, 11};

class EveryFunction : public WorkerProgram, public testing::WithParamInterface<Function>
{
protected:
    static bool isTerrain() { return GetParam().survival == Survival::Classified; }

    static std::vector<const char *> products()
    {
        if (isTerrain())
            return {"mesh", "map.png", ".map.png.json", "contours", "classes"};
        return {"result"};
    }
    /// The product that has the points.
    QString pointFile() const { return m_worker.path(isTerrain() ? "classes" : "result"); }

    WorkerDirectory::End run(const QByteArray &settings)
    {
        return WorkerProgram::run(settings + "meshAbsFilepath=" + m_worker.path("mesh").toUtf8()
                                  + "\nheightMapAbsFilepath=" + m_worker.path("map.png").toUtf8()
                                  + "\ncontourAbsFilepath=" + m_worker.path("contours").toUtf8()
                                  + "\ntreeClassifyAbsFilepath=" + m_worker.path("classes").toUtf8() + "\n");
    }
    WorkerDirectory::End run() { return run(GetParam().settings); }

    /// Expects a whole result, or one of the codes for failures, a reason, and nothing left behind.
    void expectSoundEnd(const WorkerDirectory::End &end, const std::set<int> &codes = failures)
    {
        ASSERT_TRUE(end.isNormal) << "a crash or a hang: " << end.errors.constData();
        EXPECT_FALSE(end.lastLine().isEmpty());
        EXPECT_TRUE(end.code == 0 || codes.count(end.code) == 1) << end.code << ": " << end.errors.constData();
        for (const char *product : products()) {
            EXPECT_EQ(QFile::exists(m_worker.path(product)), end.code == 0) << product;
            EXPECT_FALSE(QFile::exists(m_worker.path((std::string(product) + ".part").c_str()))) << product;
        }
        if (end.code == 0) {
            EXPECT_GT(Result(pointFile()).pointCount(), 0U);
        }
        for (const char *product : products())
            QFile::remove(m_worker.path(product));
    }
};

/// Points along a direction.
Points row(int count, const pcVec3f &step)
{
    Points points;
    for (int i = 0; i < count; ++i)
        points.push_back(step * static_cast<float>(i));
    return points;
}

Points lattice(int side)
{
    Points points;
    for (int i = 0; i < side * side; ++i)
        points.emplace_back(static_cast<float>(i % side), static_cast<float>(i / side), 1.0F);
    return points;
}

/// Random points within so much of zero along each axis.
Points spread(std::size_t count, float reach)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> place(-reach, reach);
    Points points(count);
    for (pcVec3f &p : points)
        p.set(place(random), place(random), place(random));
    return points;
}

Points joined(Points points, const Points &others)
{
    points.insert(points.end(), others.begin(), others.end());
    return points;
}

/// Clouds in which there is little to find, or that reach as far as a coordinate may.
std::vector<std::pair<const char *, Points>> poorClouds()
{
    constexpr float limit = 1e9F;
    const Points ground = toFloats(hills(500, 20));
    Points shifted = ground;
    for (pcVec3f &p : shifted)
        p += pcVec3f(limit / 2, -limit / 2, limit / 2);
    return {{"one point", {{1, 2, 3}}},
            {"two points", {{1, 2, 3}, {2, 2, 3}}},
            {"three points", {{0, 0, 0}, {1, 0, 0}, {0, 1, 1}}},
            {"one place", Points(50, {7, 7, 7})},
            {"two places", joined(Points(30, {1, 1, 1}), Points(30, {2, 2, 2}))},
            {"a line", row(100, {1, 2, 3})},
            {"a pillar", row(100, {0, 0, 0.1F})},
            {"a lattice", lattice(20)},
            {"a crowd at one place", joined(Points(2000, {5, 5, 0}), ground)},
            {"a speck", spread(300, 1e-5F)},
            {"corners of the world", {{limit, limit, limit}, {-limit, -limit, -limit}, {limit, -limit, 0}}},
            {"all the world", spread(300, limit)},
            {"one point far out", joined(ground, {{limit, -limit, limit}})},
            {"far from zero", shifted}};
}

} // namespace

TEST_P(EveryFunction, EndsWellOnPoorClouds)
{
    for (const auto &[name, points] : poorClouds()) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(writeSource(source(), points));
        expectSoundEnd(run());
    }
}

TEST_P(EveryFunction, EndsWith4WhereNoPointHasAPlace)
{
    BlockFile empty;
    empty.columns = {0, 4};
    writeFile(source(), empty.bytes());
    expectSoundEnd(run(), {4});
    ASSERT_TRUE(writeSource(source(), Points(3, {std::nanf(""), 0, 0})));
    expectSoundEnd(run(), {4});
}

TEST_P(EveryFunction, WorksOnProjectedCoordinates)
{
    // Floats hold these to 0.03 and to 0.5 units.
    ASSERT_TRUE(writeSource(source(), toFloats(hills(4000, 60, {500000, 4500000, 300}))));
    const WorkerDirectory::End end = run();
    ASSERT_EQ(end.code, 0) << end.errors.constData();
    Result found(pointFile());
    for (auto it = found.blocks.cbegin(); it != found.blocks.cend(); ++it) {
        const stPtCloud_PointArray *const block = found.file.readBlock(it.key());
        ASSERT_NE(block, nullptr);
        for (unsigned int i = 0; i < block->m_pointCount; ++i) {
            const pcVec3f &p = block->m_position[i];
            ASSERT_TRUE(p.x() > 499980 && p.x() < 500080 && p.y() > 4499980 && p.y() < 4500080);
        }
    }
}

TEST_P(EveryFunction, KeepsAllColumnsWherePointsSurvive)
{
    const Points points = toFloats(hills(3000, 40));
    stPtCloud_PointArray wanted;
    ASSERT_TRUE(writeSource(source(), points, allPointColumns(), [&wanted](stPtCloud_PointArray &array) {
        number(array);
        wanted.alloc(array.m_pointCount, allPointColumns(), false, 0);
        wanted.copy_noTriangle(array, 0, 0, array.m_pointCount);
    }));
    const WorkerDirectory::End end = run();
    ASSERT_EQ(end.code, 0) << end.errors.constData();
    const Survival survival = GetParam().survival;
    Result found(pointFile());
    if (survival == Survival::All || survival == Survival::Classified) {
        EXPECT_EQ(found.pointCount(), points.size());
    }
    if (survival == Survival::None)
        return;
    QList<EDataSetColumn> columns = allPointColumns();
    if (survival == Survival::Corners)
        columns.insert(2, EDataSetColumn_Triangle);
    EXPECT_EQ(found.file.getColumns(), columns);
    for (auto it = found.blocks.cbegin(); it != found.blocks.cend(); ++it) {
        const stPtCloud_PointArray *const block = found.file.readBlock(it.key());
        ASSERT_NE(block, nullptr);
        for (unsigned int i = 0; i < block->m_pointCount; ++i)
            expectPoint(*block, i, wanted, survival == Survival::Classified);
    }
}

TEST_P(EveryFunction, LeavesOutPointsWithoutAPlaceAndSaysSo)
{
    Points points = toFloats(hills(2000, 40));
    points.insert(points.begin(), {std::nanf(""), 1, 1});
    points.insert(points.begin() + 500, {1, std::numeric_limits<float>::infinity(), 1});
    points.emplace_back(1.0F, 1.0F, -1e30F);
    ASSERT_TRUE(writeSource(source(), points));
    const WorkerDirectory::End end = run();
    EXPECT_EQ(end.code, 0) << end.errors.constData();
    EXPECT_TRUE(end.lastLine().endsWith(", 3 points without a usable position left out")) << end.errors.constData();
}

TEST_P(EveryFunction, GivesTheSameForEveryNumberOfThreads)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(4000, 50))));
    std::map<std::string, QByteArray> first;
    for (const char *threads : {"1", "2", "5"}) {
        m_worker.setVariable("OMP_NUM_THREADS", threads);
        ASSERT_EQ(run().code, 0);
        for (const char *product : products()) {
            const QByteArray bytes = readFile(m_worker.path(product));
            EXPECT_FALSE(bytes.isEmpty()) << product;
            const auto [known, isNew] = first.emplace(product, bytes);
            EXPECT_TRUE(isNew || known->second == bytes) << product << ", " << threads;
        }
    }
}

TEST_P(EveryFunction, EndsWith5WhereTheResultWouldReplaceTheSource)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(500, 20))));
    const QByteArray before = readFile(source());
    ASSERT_TRUE(QFile::copy(source(), m_worker.path("halved.part")));
    // The last is the name that the result has until it is whole.
    const std::pair<const char *, const char *> runs[] = {
        {"source", "source"}, {"source", "./source"}, {"halved.part", "halved"}};
    for (const auto &[from, to] : runs) {
        const WorkerDirectory::End end = m_worker.run(GetParam().settings + m_worker.paths(from, to)
                                                      + "meshAbsFilepath=" + m_worker.path(to).toUtf8() + "\n");
        EXPECT_EQ(end.code, 5) << end.errors.constData();
        EXPECT_EQ(readFile(m_worker.path(from)), before);
    }
}

TEST_P(EveryFunction, TakesFilesOfStrangeBlocks)
{
    BlockFile file;
    // A column twice, and triangles that no column holds.
    file.columns = {0, 4, 0, 4};
    const auto add = [&file](qint32 key, const Points &points, quint32 triangles) {
        BlockFile::Block block = file.makeBlock(key, static_cast<quint32>(points.size()), triangles);
        const QByteArray places(reinterpret_cast<const char *>(points.data()),
                                static_cast<int>(points.size() * sizeof(pcVec3f)));
        block.columns[0] = places;
        block.columns[2] = places;
        std::fill(std::begin(block.box), std::end(block.box), std::nanf(""));
        file.blocks.push_back(block);
    };
    add(-5, toFloats(hills(900, 20)), 7);
    add(0, {}, 0);
    add(1000000, toFloats(hills(900, 20, {20, 0, 0})), 0);
    writeFile(source(), file.bytes());
    const WorkerDirectory::End end = run();
    EXPECT_EQ(end.code, 0) << end.errors.constData();
    expectSoundEnd(end);
    // A block whose count is beyond its file.
    file.blocks[0].points = 0x7fffffff;
    writeFile(source(), file.bytes());
    expectSoundEnd(run(), {4, 7});
}

TEST_P(EveryFunction, NeverCrashesOrHangsOnHostileParameters)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(300, 15))));
    std::mt19937 random(11);
    const std::vector<QByteArray> values{"0",    "1",    "-1", "0.5", "2",   "3.7",  "1e-30", "1e30",       "nan",
                                         "-inf", "true", "",   "14",  "100", "99.9", "x",     "2147483648", "1e-3"};
    // Sound settings with some of them replaced, so that not only the first that is asked for is ever refused.
    for (int round = 0; round < 20; ++round) {
        QByteArray changed;
        for (const QByteArray &line : GetParam().settings.split('\n')) {
            const QByteArray key = line.left(line.indexOf('=') + 1);
            const bool isKept = key.isEmpty() || key == "function=" || random() % 2 == 0;
            changed += isKept ? line + "\n" : key + values[random() % values.size()] + "\n";
        }
        // Deep trees of the surface take minutes each.
        changed.replace("depth=14", "depth=9");
        SCOPED_TRACE(changed.constData());
        expectSoundEnd(run(changed));
    }
}

INSTANTIATE_TEST_SUITE_P(Worker, EveryFunction, testing::ValuesIn(functions),
                         [](const auto &test) { return std::string(test.param.name); });
