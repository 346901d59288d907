// How runs of this project's worker end that come to nothing, each by a real cause: result, log and last message.

#include "ControllerWorkerTesting.h"
#include "Scarcity.h"

using namespace ptCloud;
using namespace support;

namespace
{

const WorkerFunction alpha = {"", Function_mesh_alpha, Product::Mesh, 0, nullptr};
const WorkerFunction pivot = {"", Function_mesh_ball_pivoting, Product::Mesh, 0, nullptr};
const WorkerFunction poisson = {"", Function_mesh_poisson, Product::Mesh, 0, nullptr};
const QVariantList soundAlpha = {true, 3.0};

class WorkerFailures : public ControllerWorkerTest
{
protected:
    void SetUp() override
    {
        ControllerWorkerTest::SetUp();
        usePoints(smallSurvey(1000));
    }
    /// Expects that the run fails with this line in the log and a last message that has the text, and leaves no file.
    void expectFailure(const WorkerFunction &function, const QVariantList &parameters, const QString &destination,
                       const char *log, const char *message)
    {
        const QStringList before = filesOfSite();
        EXPECT_EQ(run(function, parameters, destination), ActResult_WorkerFailed);
        EXPECT_TRUE(
            logLines().last().endsWith(QLatin1String("failed with error: ") + QLatin1String(log) + QLatin1Char('.')))
            << logLines().last().toStdString();
        EXPECT_TRUE(logLines().last().startsWith(QStringLiteral("2 ")));
        EXPECT_TRUE(m_progress.m_text.contains(QString::fromUtf8(message))) << m_progress.m_text.toStdString();
        EXPECT_EQ(filesOfSite(), before);
    }
    void expectFailure(const WorkerFunction &function, const QVariantList &parameters, const char *log,
                       const char *message)
    {
        expectFailure(function, parameters, destination(function.product), log, message);
    }
};

} // namespace

TEST_F(WorkerFailures, TellOfAParameterThatCannotBe)
{
    expectFailure(alpha, {true, -2.0}, "argument", "alpha is -2: it must be above 0");
    expectFailure(alpha, {true, QStringLiteral("nan")}, "argument", "alpha is \"nan\"");
}

TEST_F(WorkerFailures, TellOfSettingsThatAreNotThere)
{
    // A place that not even the superuser can write to.
    ASSERT_TRUE(writeFile(path("plain"), {}));
    AppConfig::getInstance().setHomeDir(path("plain/home"));
    expectFailure(alpha, soundAlpha, "config file", "o3d_config.ini");
}

TEST_F(WorkerFailures, TellOfASourceThatIsNotThereOrBroken)
{
    ASSERT_TRUE(writeFile(points(), readFile(points()).left(1000)));
    expectFailure(alpha, soundAlpha, "read source dataset file", "can't be read");
    ASSERT_TRUE(QFile::remove(points()));
    expectFailure(alpha, soundAlpha, "read source dataset file", "is not there");
    ASSERT_TRUE(QDir(m_project + QStringLiteral("/site")).removeRecursively());
    expectFailure(alpha, soundAlpha, path("result"), "read source dataset file", "source_filepath is empty");
}

TEST_F(WorkerFailures, TellOfADestinationThatCannotBeWritten)
{
    expectFailure(alpha, soundAlpha, path("no/such/directory"), "write dest dataset file", "can't be written");
    expectFailure(alpha, soundAlpha, points(), "write dest dataset file", "it is the source");
    expectFailure(alpha, soundAlpha, QString(), "write dest dataset file", "the path of the result is empty");
}

#ifdef Q_OS_UNIX

TEST_F(WorkerFailures, TellOfAFullDisk)
{
    constexpr qint64 limit = 10000;
    const FileSizeLimit disk(limit);
    ASSERT_TRUE(disk.holds());
    expectFailure(alpha, soundAlpha, "write dest dataset file", "the disk may be full");
}

TEST_F(WorkerFailures, TellOfAFunctionThatIsNone)
{
    // The library itself asks for none; but where it can't write settings, those of another host stay.
    ASSERT_TRUE(writeFile(settingsPath(), "[section]\nfunction=4\n"));
    const FileSizeLimit disk(0);
    ASSERT_TRUE(disk.holds());
    expectFailure(alpha, soundAlpha, "function not supported", "function 4 is none of this worker's");
}

#endif

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(WorkerFailures, TellWhatMemoryIsMissing)
{
    usePoints(smallSurvey(200000));
    const QString result = destination(Product::Mesh);
    constexpr rlim_t spare = 2500000000;
    const AddressSpaceLimit limit(spare);
    ASSERT_TRUE(limit.holds());
    expectFailure(poisson, {true, 14, 0.0, 0.0}, result, "alloc memory", "solving for the surface takes about");
}
#endif

TEST_F(WorkerFailures, TellThatThereAreNoNormals)
{
    Points line;
    for (int i = 0; i < 30; ++i)
        line.emplace_back(static_cast<float>(i), static_cast<float>(i), static_cast<float>(i));
    usePoints(line);
    expectFailure(alpha, soundAlpha, "estimate normals", "all 30 points lie on one line");
}

TEST_F(WorkerFailures, TellThatTooFewPointsMakeNoTriangle)
{
    usePoints({{1, 2, 3}, {2, 3, 3}});
    expectFailure(pivot, {true, 0.0}, "QHull", "2 points make no triangle");
}

TEST_F(WorkerFailures, TellThatAllPointsLieAtOnePlace)
{
    // With normals of their own they come as far as the mesher.
    const QList<EDataSetColumn> columns = {EDataSetColumn_Position, EDataSetColumn_Normal};
    ASSERT_TRUE(writeSource(points(), Points(20, {1, 2, 3}), columns, [](stPtCloud_PointArray &array) {
        std::fill(array.m_normal, array.m_normal + array.m_pointCount, pcVec3f(0, 0, 1));
    }));
    expectFailure(poisson, {true, 6, 0.0, 0.0}, "create open3d point cloud", "all 20 points lie at one place");
}

TEST_F(WorkerFailures, TellThatNothingComesOfThePointsAndWhatToTry)
{
    expectFailure(alpha, {true, 0.001}, "function failed", "try ");
    expectFailure(pivot, {true, 0.0001}, "function failed", "try ");
}
