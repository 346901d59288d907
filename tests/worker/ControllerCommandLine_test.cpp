// The host on the command line with this project's worker beside it: results, failures and Ctrl-C as a user sees them.

#include "../tools/FunctionCommandTesting.h"
#include "WorkerTesting.h"

#include "PtCloud_DataSetFile.h"

#include <random>

namespace
{

using support::DiskState;

/// A rolling square in the data set `site`, and the real worker beside the host.
class HostWithWorker : public support::FunctionCommandTest
{
protected:
    void SetUp() override
    {
        FunctionCommandTest::SetUp();
        removeWorker();
        ASSERT_TRUE(QFile::copy(QStringLiteral(WORKER_PROGRAM), worker()));
        usePoints(2000);
    }
    void usePoints(std::size_t count) const
    {
        const double side = std::sqrt(static_cast<double>(count)) / 2;
        ASSERT_TRUE(support::writeSource(inProject("site/Points"), support::toFloats(support::hills(count, side))));
    }
    QJsonObject made(const char *line) const
    {
        const auto host = startForJson(line);
        EXPECT_EQ(host->finish(), 0) << host->errors().constData();
        EXPECT_TRUE(host->errorLines().isEmpty());
        return host->json();
    }
};

int number(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toInt(-1);
}

} // namespace

TEST_F(HostWithWorker, MakesAMesh)
{
    const QJsonObject told = made("mesh site hill --method alpha --preset terrain");
    EXPECT_GT(number(told, "triangles"), 3000);
    EXPECT_EQ(
        number(support::rowOf(listed(QStringLiteral("meshes"), "info site"), QStringLiteral("hill")), "triangles"),
        number(told, "triangles"));
}

TEST_F(HostWithWorker, MakesASplit)
{
    const QJsonObject told = made("split site parts --method kmeans --clusters 7");
    EXPECT_EQ(number(told, "blocks"), 7);
    EXPECT_EQ(number(told, "points"), 2000);
}

TEST_F(HostWithWorker, MakesASample)
{
    EXPECT_EQ(number(made("sample site --as thin --preset terrain"), "points"), 500);
    EXPECT_EQ(number(made("sample site --percent 50"), "points"), 1000);
}

TEST_F(HostWithWorker, MakesTheTerrain)
{
    const QJsonObject told = made("dem site --pixels 50 --contours 4");
    for (const char *product : {"demMesh", "heightMap", "contours", "demClassify"})
        EXPECT_FALSE(told.value(QLatin1String(product)).isNull()) << product;
    EXPECT_EQ(number(told.value(QStringLiteral("demClassify")).toObject(), "points"), 2000);
}

TEST_F(HostWithWorker, TellsInOneLineWhatToTry)
{
    const DiskState before = onDisk();
    const auto host = startForJson("mesh site hill --method alpha --alpha 0.001");
    expectFailure(*host, "ActResult_WorkerFailed", "alpha 0.001 leaves no triangle: the points lie about 0.");
    EXPECT_TRUE(host->errorLines().value(0).contains("; try ")) << host->errors().constData();
    EXPECT_TRUE(support::sameDisk(onDisk(), before));
}

#ifdef Q_OS_LINUX

TEST_F(HostWithWorker, LeavesNoWorkerAndNoFileAfterCtrlC)
{
    usePoints(300000);
    const DiskState before = onDisk();
    const auto host = startForJson("mesh site hill --method poisson --depth 10");
    ASSERT_TRUE(host->tells(" 25 %  ")) << host->errors().constData();
    QList<qint64> processes = workers();
    EXPECT_EQ(processes.size(), 1);
    processes << host->processId();
    // As a terminal does it.
    for (const qint64 process : processes)
        ASSERT_EQ(::kill(static_cast<pid_t>(process), SIGINT), 0);
    expectFailure(*host, "ActResult_Cancelled", "cancelled");
    EXPECT_EQ(workers(), QList<qint64>());
    EXPECT_TRUE(support::sameDisk(onDisk(), before));
}

#endif
