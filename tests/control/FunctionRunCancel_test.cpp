// Cancelling a run.

#include "FunctionRunTesting.h"
#include "HelperProgram.h"

using namespace ptCloud;
using support::FunctionRunTest;
using support::text;

TEST_F(FunctionRunTest, CancelledBeforeTheFirstWaitShowsNothing)
{
    script({text("hang")});
    m_progress.m_wantsCancel = [] { return true; };
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(run(), ActResult_Cancelled);
    EXPECT_GE(timer.elapsed(), 1000) << "half a second before the run and one behind it";
    EXPECT_LT(timer.elapsed(), 10000);
    EXPECT_EQ(m_calls, QStringList({text("log points_cloud_log 0 true: Start mesh_alpha......"), text("cancel?")}));
}

TEST_F(FunctionRunTest, CancelledInTheMiddleStopsAndTellsNothingMore)
{
    script({text("value 40"), text("text busy"), text("write half a resu"), text("touch started"), text("hang")});
    cancelOnceThere("started");
    EXPECT_EQ(run(), ActResult_Cancelled);
    EXPECT_EQ(m_calls.value(m_calls.size() - 1), text("cancel?"));
    EXPECT_EQ(logLines(), QStringList(text("0 Start mesh_alpha......")));
    EXPECT_EQ(support::readFile(path("result")), "half a resu") << "it is up to the host to remove it";
}

TEST_F(FunctionRunTest, CancelledCanBeFollowedByARunAtOnce)
{
    for (int i = 0; i < 3; ++i) {
        QFile::remove(path("script/started"));
        script({text("touch started"), text("hang")});
        cancelOnceThere("started");
        EXPECT_EQ(run(), ActResult_Cancelled);
        m_progress.m_wantsCancel = nullptr;
        script({text("value 3"), text("copy")});
        EXPECT_EQ(run(), ActResult_Success);
        EXPECT_EQ(m_progress.m_value, 3);
    }
}

TEST_F(FunctionRunTest, CancelledStopsEveryOtherWorkerToo)
{
    // One that began after the run did, while the run was at work.
    support::HelperProgram other(text("open3d_wrapper_d"));
    script({text("touch started"), text("hang")});
    m_progress.m_wantsCancel = [&] { return isThere("started") && other.start(); };
    EXPECT_EQ(run(), ActResult_Cancelled);
    EXPECT_TRUE(other.isKilled());
}

TEST_F(FunctionRunTest, CancelledStopsAWorkerThatIsSuspended)
{
    script({text("touch started"), text("suspend")});
    cancelOnceThere("started");
    EXPECT_EQ(run(), ActResult_Cancelled);
}

TEST_F(FunctionRunTest, CancelledStopsAWorkerThatPrintsWithoutEnd)
{
    script({text("touch started"), text("chatter")});
    cancelOnceThere("started");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(run(), ActResult_Cancelled);
    EXPECT_LT(timer.elapsed(), 10000);
}

TEST_F(FunctionRunTest, CancelledByAHostThatThrowsLeavesNoWorker)
{
    script({text("touch started"), text("hang")});
    m_progress.m_wantsCancel = [this]() -> bool {
        if (isThere("started"))
            throw 7;
        return false;
    };
    EXPECT_THROW(run(), int);
    m_progress.m_wantsCancel = nullptr;
    script("copy");
    EXPECT_EQ(run(), ActResult_Success);
}
