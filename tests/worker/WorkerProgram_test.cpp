// The worker program as a host finds it: started with a settings file, it ends with a code and a message.

#include "ClusterScenes.h"
#include "ProgramTesting.h"
#include "Scarcity.h"

using namespace ptCloud;
using namespace support;

namespace
{

const QByteArray alpha = "function=0\nfastNormal=false\nalpha=3\n";
const QByteArray pivot = "function=1\nfastNormal=false\nradius=0\n";
const QByteArray poisson = "function=2\nfastNormal=false\ndepth=6\nwidth=0\ndesity_divide=0\n";
const QByteArray thin = "function=200\ntargetPercents=10\ninit_factor=5\nmakeMeshAlpha=0\n";
const QByteArray thinMesh = "function=200\ntargetPercents=10\ninit_factor=5\nmakeMeshAlpha=3\n";
const QByteArray allFunctions[] = {alpha, pivot, poisson, thin, thinMesh};

} // namespace

TEST_F(WorkerProgram, MakesMeshesOfProjectedCoordinates)
{
    // Floats near 4,500,000 lie half a unit apart.
    constexpr double radius = 200;
    const pcVec3d middle(500000, 4500000, 100);
    ASSERT_TRUE(writeSource(source(), toFloats(ball(4000, radius, middle))));
    for (const QByteArray &function : {QByteArray("function=0\nfastNormal=false\nalpha=40\n"), pivot, poisson}) {
        SCOPED_TRACE(function.constData());
        const WorkerDirectory::End end = run(function);
        ASSERT_EQ(end.code, 0) << end.errors.constData();
        Result mesh(result());
        ASSERT_EQ(mesh.blocks.size(), 1);
        const stPtCloud_PointArray *const block = mesh.file.readBlock(mesh.blocks.firstKey());
        ASSERT_NE(block, nullptr);
        const Surface surface =
            measure(block->m_position, block->m_pointCount, block->m_triangle, block->m_triangleCount);
        EXPECT_TRUE(surface.isClosed()) << surface.openEdges << ", " << surface.badEdges;
        EXPECT_NEAR(surface.area, ballArea(radius), ballArea(radius) * 0.02);
        EXPECT_NEAR(surface.volume, ballVolume(radius), ballVolume(radius) * 0.02);
        for (unsigned int i = 0; i < block->m_pointCount; ++i)
            ASSERT_NEAR((pcVec3d(block->m_position[i]) - middle).length(), radius, 2);
    }
}

TEST_F(WorkerProgram, ThinsToTheShareThatIsWanted)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(2000, 40))));
    ASSERT_EQ(run(thin).code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 200U);
    ASSERT_EQ(run("function=200\ntargetPercents=100\ninit_factor=0\nmakeMeshAlpha=0\n").code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 2000U);
    ASSERT_EQ(run("function=200\ntargetPercents=0.0001\ninit_factor=0\nmakeMeshAlpha=0\n").code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 1U);
    ASSERT_EQ(run(thinMesh).code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 200U);
    EXPECT_EQ(Result(result()).file.getColumns(), QList<EDataSetColumn>{EDataSetColumn_Position});
}

TEST_F(WorkerProgram, LeavesOutPointsWithoutAPlaceAndSaysSo)
{
    Points points = toFloats(hills(1000, 30));
    points.insert(points.begin(), {std::nanf(""), 1, 1});
    points.insert(points.begin() + 500, {1, std::numeric_limits<float>::infinity(), 1});
    points.emplace_back(1.0F, 1.0F, -1e30F);
    ASSERT_TRUE(writeSource(source(), points));
    for (const QByteArray &function : allFunctions) {
        const WorkerDirectory::End end = run(function);
        EXPECT_EQ(end.code, 0) << end.errors.constData();
        EXPECT_TRUE(end.lastLine().endsWith(", 3 points without a usable position left out")) << end.errors.constData();
    }
}

TEST_F(WorkerProgram, WritesClustersLargestFirstThenByTheirFirstPointsThenNoise)
{
    const ClusterScene scene = ballsAndPlane();
    Points points = scene.points;
    for (const float x : {100.0F, 200.0F, 300.0F})
        points.emplace_back(x, 0.0F, 0.0F);
    ASSERT_TRUE(writeSource(source(), points));
    using Heap = std::pair<unsigned int, pcVec3f>; // how many, and the first of them
    const auto heaps = [this](const QByteArray &function) {
        const WorkerDirectory::End end = run(function);
        EXPECT_TRUE(end.lastLine().startsWith("3 clusters, 3 of 5603 points in none")) << end.errors.constData();
        Result found(result());
        std::vector<Heap> written;
        for (auto it = found.blocks.cbegin(); it != found.blocks.cend(); ++it) {
            const stPtCloud_PointArray *const block = found.file.readBlock(it.key());
            if (block != nullptr)
                written.emplace_back(block->m_pointCount, block->m_position[0]);
        }
        return written;
    };
    const std::vector<Heap> clusters{{3600, points[2000]}, {1000, points[0]}, {1000, points[1000]}};
    std::vector<Heap> withNoise = clusters;
    withNoise.emplace_back(3, points[5600]);
    EXPECT_EQ(heaps("function=100\nepsilon=0.5\nminpts=5\nretainNoise=true\n"), withNoise);
    EXPECT_EQ(heaps("function=100\nepsilon=0.5\nminpts=5\nretainNoise=false\n"), clusters);
    EXPECT_EQ(heaps("function=103\ntolerance=0.5\nminCluster=4\nmaxCluster=100000\n"), clusters);
    EXPECT_EQ(heaps("function=105\ntolerance=10\nsmooth=25\ncure=1\nminCluster=4\nmaxCluster=100000\n"), clusters);
}

TEST_F(WorkerProgram, LetsAResultAppearWhole)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(20000, 100))));
    writeFile(result(), "before");
    const QStringList arguments{m_worker.settings(alpha + m_worker.paths())};
    const auto process = m_worker.start(arguments);
    while (!process->waitForFinished(1)) {
        const QByteArray bytes = readFile(result());
        if (bytes != "before") {
            EXPECT_EQ(Result(result()).blocks.size(), 1);
        }
    }
    EXPECT_EQ(process->exitCode(), 0);
    EXPECT_NE(readFile(result()), "before");
    EXPECT_FALSE(QFile::exists(m_worker.path("result.part")));
}

TEST_F(WorkerProgram, LeavesNoHalfResultWhenKilled)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(20000, 100))));
    writeFile(result(), "before");
    const QByteArray lines = alpha + m_worker.paths();
    for (const char *stage : {"reading", "estimating", "agree", "tetrahedra", "carving"}) {
        SCOPED_TRACE(stage);
        const auto process = m_worker.start({m_worker.settings(lines)});
        process->setReadChannel(QProcess::StandardError);
        QByteArray told;
        while (!told.contains(stage) && process->waitForReadyRead())
            told += process->readAllStandardError();
        EXPECT_TRUE(told.contains(stage));
        process->kill();
        process->waitForFinished();
        EXPECT_EQ(process->exitStatus(), QProcess::CrashExit);
        EXPECT_EQ(readFile(result()), "before");
    }
    // What a killed run has left is in nobody's way.
    writeFile(m_worker.path("result.part"), "half");
    EXPECT_EQ(run(alpha).code, 0);
    EXPECT_FALSE(QFile::exists(m_worker.path("result.part")));
}

TEST_F(WorkerProgram, EndsWith2ForParametersThatCannotBe)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(500, 20))));
    expectEnd("function=0\nfastNormal=true\nalpha=0\n", 2, "alpha is 0: it must be above 0");
    expectEnd("function=0\nfastNormal=true\nalpha=nan\n", 2, "alpha is \"nan\": it must be a number");
    expectEnd("function=0\nfastNormal=perhaps\nalpha=1\n", 2, "fastNormal is \"perhaps\"");
    expectEnd("function=0\nfastNormal=true\n", 2, "the settings lack the key alpha");
    expectEnd("function=1\nfastNormal=true\nradius=-1\n", 2, "radius is -1: it must be 0 or more");
    expectEnd("function=1\nfastNormal=true\nradius=1000\n", 2, "radius is 1000, and the points lie about");
    expectEnd("function=2\nfastNormal=true\ndepth=15\nwidth=0\ndesity_divide=0\n", 2, "depth is 15");
    expectEnd("function=2\nfastNormal=true\ndepth=4294967295\nwidth=0\ndesity_divide=0\n", 2, "depth is");
    expectEnd("function=2\nfastNormal=true\ndepth=8\nwidth=1e-9\ndesity_divide=0\n", 2, "width is 1e-09, too fine");
    expectEnd("function=2\nfastNormal=true\ndepth=8\nwidth=0\ndesity_divide=1\n", 2, "desity_divide is 1");
    expectEnd("function=200\ntargetPercents=0\ninit_factor=5\nmakeMeshAlpha=0\n", 2, "targetPercents is 0");
    expectEnd("function=200\ntargetPercents=101\ninit_factor=5\nmakeMeshAlpha=0\n", 2, "targetPercents is \"101\"");
    expectEnd("function=200\ntargetPercents=50\ninit_factor=1\nmakeMeshAlpha=2\n", 2, "init_factor is 1");
    expectEnd("function=200\ntargetPercents=50\ninit_factor=2\nmakeMeshAlpha=-2\n", 2, "makeMeshAlpha is \"-2\"");
    expectEnd("function=x\n", 2, "function is \"x\"");
    for (const QStringList &arguments : {QStringList(), QStringList{QStringLiteral("a"), QStringLiteral("b")}}) {
        const WorkerDirectory::End end = m_worker.run(arguments);
        EXPECT_EQ(end.code, 2);
        EXPECT_TRUE(end.lastLine().startsWith("usage: ")) << end.errors.constData();
    }
}

TEST_F(WorkerProgram, EndsWith3WithoutSettings)
{
    const WorkerDirectory::End missing = m_worker.run(QStringList{m_worker.path("missing.ini")});
    EXPECT_EQ(missing.code, 3);
    EXPECT_TRUE(missing.lastLine().contains("missing.ini can't be read")) << missing.errors.constData();
    EXPECT_EQ(m_worker.run(QStringList{m_worker.directory()}).code, 3);
    expectEnd("alpha=1\n", 3, "has no section [section] with a key \"function\"");
}

TEST_F(WorkerProgram, EndsWith4WithoutASource)
{
    expectEnd(alpha, 4, "is not there");
    writeFile(source(), "no data set file");
    expectEnd(alpha, 4, "can't be read, or is no data set file");
    ASSERT_TRUE(writeSource(source(), Points(3, {std::nanf(""), 0, 0})));
    expectEnd(alpha, 4, "has no usable point, 3 points without a usable position left out");
    const WorkerDirectory::End end = m_worker.run(alpha + "source_filepath=\ndest_filepath=" + result().toUtf8());
    EXPECT_EQ(end.code, 4);
    EXPECT_TRUE(end.lastLine().contains("source_filepath is empty")) << end.errors.constData();
}

TEST_F(WorkerProgram, EndsWith4ForASourceThatIsCutShort)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(500, 20))));
    const QByteArray bytes = readFile(source());
    for (const int size : {0, 3, 20, 100, bytes.size() / 2, bytes.size() - 1}) {
        writeFile(source(), bytes.left(size));
        expectEnd(alpha, 4, "the source");
    }
}

TEST_F(WorkerProgram, EndsWith5WithoutADestination)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(500, 20))));
    const auto endWith = [this](const char *destination) {
        return m_worker.run(alpha + m_worker.paths("source", destination));
    };
    for (const char *destination : {"no/directory/result", ".", "source"}) {
        const WorkerDirectory::End end = endWith(destination);
        EXPECT_EQ(end.code, 5) << destination;
        EXPECT_TRUE(end.lastLine().contains("can't be written")) << end.errors.constData();
    }
    const WorkerDirectory::End end =
        m_worker.run(alpha + "source_filepath=" + source().toUtf8() + "\ndest_filepath=\n");
    EXPECT_EQ(end.code, 5);
    EXPECT_TRUE(end.lastLine().contains("the path of the result is empty")) << end.errors.constData();
    EXPECT_EQ(Result(source()).pointCount(), 500U);
}

#ifdef Q_OS_UNIX
TEST_F(WorkerProgram, EndsWith5OnAFullDisk)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(5000, 50))));
    const QString settings = m_worker.settings(alpha + m_worker.paths());
    constexpr qint64 limit = 50000;
    const FileSizeLimit disk(limit);
    ASSERT_TRUE(disk.holds());
    const WorkerDirectory::End end = m_worker.run(QStringList{settings});
    EXPECT_EQ(end.code, 5) << end.errors.constData();
    EXPECT_TRUE(end.lastLine().contains("the disk may be full")) << end.errors.constData();
    expectNoResult();
}
#endif

TEST_F(WorkerProgram, EndsWith6ForAFunctionThatIsNone)
{
    for (const char *id : {"4", "99", "108", "201", "-1", "2147483647"})
        expectEnd(QByteArray("function=") + id + "\n", 6, "is none of this worker's");
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(WorkerProgram, EndsWith7WithTheFiguresWhereMemoryIsShort)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(200000, 400))));
    const QString settings =
        m_worker.settings("function=2\nfastNormal=true\ndepth=14\nwidth=0\ndesity_divide=0\n" + m_worker.paths());
    constexpr rlim_t spare = 2500000000;
    const AddressSpaceLimit limit(spare);
    ASSERT_TRUE(limit.holds());
    const WorkerDirectory::End end = m_worker.run(QStringList{settings});
    EXPECT_EQ(end.code, 7) << end.errors.constData();
    EXPECT_TRUE(end.lastLine().contains("solving for the surface takes about")) << end.errors.constData();
    expectNoResult();
}
#endif

TEST_F(WorkerProgram, EndsWith8WhereThereAreNoNormals)
{
    Points line;
    for (int i = 0; i < 30; ++i)
        line.emplace_back(static_cast<float>(i), static_cast<float>(i), static_cast<float>(i));
    ASSERT_TRUE(writeSource(source(), line));
    for (const QByteArray &function : {alpha, pivot, poisson})
        expectEnd(function, 8, "no normals: all 30 points lie on one line");
}

TEST_F(WorkerProgram, EndsWith9ForTooFewPoints)
{
    ASSERT_TRUE(writeSource(source(), {{1, 2, 3}, {2, 3, 3}}));
    for (const QByteArray &function : {alpha, pivot, poisson})
        expectEnd(function, 9, "2 points make no triangle");
    ASSERT_TRUE(writeSource(source(), {{1, 2, 3}, {2, 3, 3}, {2, 2, 2}}));
    expectEnd(alpha, 9, "3 different points make no alpha shape: 5 are needed");
}

TEST_F(WorkerProgram, EndsWith10WhereAllPointsLieAtOnePlace)
{
    ASSERT_TRUE(writeSource(source(), Points(20, {1, 2, 3}), allPointColumns(), number));
    expectEnd(pivot, 10, "all 1 points lie at one place");
    expectEnd(poisson, 10, "all 20 points lie at one place");
}

TEST_F(WorkerProgram, EndsWith11WhereNothingComesOfThePoints)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(1000, 30))));
    expectEnd("function=0\nfastNormal=true\nalpha=0.001\n", 11, "alpha 0.001 leaves no triangle: the points lie about");
    expectEnd("function=1\nfastNormal=true\nradius=0.0001\n", 11, "no ball of radius 0.0001 rests on three points");
    expectEnd("function=100\nepsilon=0.001\nminpts=5\nretainNoise=true\n", 11,
              "no cluster came of 1000 points; try an epsilon above 0.001 or a minpts below 5");
    expectEnd("function=103\ntolerance=1\nminCluster=5000\nmaxCluster=6000\n", 11, "no cluster came of 1000 points");
    expectEnd("function=105\ntolerance=8\nsmooth=0\ncure=0\nminCluster=1000\nmaxCluster=6000\n", 11,
              "no cluster came of 1000 points; try a smooth above 0");
}
