// What runs leave behind, and what becomes of two hosts on one machine.

#include "FunctionRunTesting.h"

#ifdef Q_OS_LINUX
#include "KernelObjects.h"
#endif

#include <QCoreApplication>

using namespace ptCloud;
using support::FunctionRunTest;
using support::text;

namespace
{

/// Another host, in a process of its own, that runs one test of this program.
class OtherHost
{
public:
    OtherHost(const char *keysVariable, const QString &keys, const char *test)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(keysVariable), keys);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_test = text("--gtest_filter=FunctionRunTest.") + text(test);
    }

    void start() { m_process.start(QCoreApplication::applicationFilePath(), {m_test}); }
    bool hasStarted() const { return m_process.state() != QProcess::NotRunning; }
    ::testing::AssertionResult hasPassed()
    {
        if (m_process.waitForFinished(60000) && m_process.exitCode() == 0)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << m_process.readAll().constData();
    }

private:
    QProcess m_process;
    QString m_test;
};

} // namespace

TEST_F(FunctionRunTest, IsEndedByARunOfAnotherHost)
{
    OtherHost other(keysVariable, path("tmp"), "ShowsWhatTheBlockHoldsOnceEvenWhenTheWorkerEndsAtOnce");
    script({text("touch started"), text("hang")});
    m_progress.m_onText = [&] {
        if (isThere("started") && !other.hasStarted())
            other.start();
    };
    EXPECT_EQ(run(), ActResult_WorkerCrashed);
    EXPECT_EQ(logLines(), QStringList(text("0 Start mesh_alpha......")));
    EXPECT_TRUE(other.hasPassed());
    script("copy");
    EXPECT_EQ(run(), ActResult_Success);
}

#ifdef Q_OS_LINUX
namespace
{

struct Holdings
{
    int files = support::openFiles();
    int threads = support::threads();
    QSet<int> blocks = support::sharedObjects("shm");
    QSet<int> semaphores = support::sharedObjects("sem");
};

class FunctionRunLeftovers : public FunctionRunTest
{
protected:
    EEPtCloudActResult runOf(int turn)
    {
        m_progress.m_wantsCancel = nullptr;
        QFile::remove(path("script/started"));
        switch (turn % 5) {
        case 0:
            script({text("value 1"), text("copy")});
            return run();
        case 1:
            script("die");
            return run();
        case 2:
            script({text("touch started"), text("hang")});
            cancelOnceThere("started");
            return run();
        case 3:
            script({text("lock"), text("die")});
            return run();
        default:
            script({text("print 1000000"), text("exit 11")});
            return runWithoutProgress();
        }
    }
    void expectNothingLeft(const Holdings &before) const
    {
        EXPECT_EQ(support::openFiles(), before.files);
        EXPECT_EQ(support::threads(), before.threads);
        EXPECT_FALSE(support::hasChildren());
        EXPECT_EQ(support::leftObjects("shm", before.blocks), QSet<int>());
        EXPECT_EQ(support::leftObjects("sem", before.semaphores), QSet<int>());
        EXPECT_EQ(QDir(path("tmp")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot), QStringList());
        EXPECT_EQ(QDir(path("home")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                  QStringList(text("o3d_config.ini")));
    }
};

} // namespace

TEST_F(FunctionRunLeftovers, AreNoneAfterAHundredRuns)
{
    const EEPtCloudActResult results[] = {ActResult_Success, ActResult_WorkerCrashed, ActResult_Cancelled,
                                          ActResult_WorkerCrashed, ActResult_WorkerFailed};
    // The first run makes what the process keeps for good.
    ASSERT_EQ(runOf(0), ActResult_Success);
    const Holdings before;
    for (int turn = 0; turn < 100; ++turn) {
        ASSERT_EQ(runOf(turn), results[turn % 5]) << turn;
        if (turn < 5)
            expectNothingLeft(before);
    }
    expectNothingLeft(before);
}

TEST_F(FunctionRunLeftovers, AreNoneAfterRunsThatDidNotStart)
{
    script("copy");
    ASSERT_EQ(run(), ActResult_Success);
    const Holdings before;
    AppConfig::getInstance().setBinDir(path("bin"));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(run(), ActResult_WorkerNotStarted);
    EXPECT_EQ(run(static_cast<EPtCloud_Function>(300)), ActResult_CannotRun);
    expectNothingLeft(before);
}
#endif
