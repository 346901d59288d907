// Workers that keep to no rule.

#include "FunctionRunTesting.h"
#include "HelperProgram.h"

#include <QThread>

#ifdef Q_OS_LINUX
#include "KernelObjects.h"

#include <thread>
#endif

using namespace ptCloud;
using support::FunctionRunTest;
using support::text;

TEST_F(FunctionRunTest, TakesAMessageWithoutAnEndAsItsThousandBytes)
{
    const auto shownFor = [this](const char *letter) {
        script({text("value 200"), text("fill ") + text(letter)});
        EXPECT_EQ(run(), ActResult_Success);
        EXPECT_EQ(m_progress.m_value, 200);
        return m_progress.m_text;
    };
    EXPECT_EQ(shownFor("x"), QString(1000, QLatin1Char('x')));
    EXPECT_EQ(shownFor("\xc3\xb6"), QString(500, QChar(0xf6)));
    // The last letter is cut in the middle.
    EXPECT_EQ(shownFor("\xe4\xb8\xad"), QString(333, QChar(0x4e2d)) + QChar(QChar::ReplacementCharacter));
}

TEST_F(FunctionRunTest, TakesBytesThatAreNoTextAsReplacements)
{
    script("bytes 41ff42fe00434400");
    EXPECT_EQ(run(), ActResult_Success);
    const QChar replacement(QChar::ReplacementCharacter);
    EXPECT_EQ(m_progress.m_text, text("A") + replacement + text("B") + replacement);
}

TEST_F(FunctionRunTest, EndsTheMessageAtItsFirstZero)
{
    script({text("fill x"), text("bytes 00")});
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(m_progress.m_text, QString());
    script({text("fill x"), text("bytes 414200")});
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(m_progress.m_text, text("AB"));
}

TEST_F(FunctionRunTest, LetsAWorkerWaitForInputThatNeverComes)
{
    script({text("touch started"), text("read")});
    cancelOnceThere("started");
    EXPECT_EQ(run(), ActResult_Cancelled);
}

TEST_F(FunctionRunTest, WaitsForAWorkerThatHoldsTheLockForLong)
{
    script({text("await shown"), text("lock"), text("wait 500"), text("unlock"), text("value 8")});
    m_progress.m_onText = [this] { release(text("shown")); };
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(m_progress.m_value, 8);
}

TEST_F(FunctionRunTest, GoesOnAfterAWorkerThatDiedWithTheLock)
{
    m_progress.m_onText = [this] { release(text("shown")); };
    for (int i = 0; i < 3; ++i) {
        QFile::remove(path("script/shown"));
        script({text("await shown"), text("value 8"), text("lock"), text("die")});
        EXPECT_EQ(run(), ActResult_WorkerCrashed);
        EXPECT_EQ(m_progress.m_value, 8);
    }
    script({text("lock"), text("exit 11")});
    EXPECT_EQ(run(), ActResult_WorkerFailed);
    script("text free");
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(m_progress.m_text, text("free"));
}

#ifdef Q_OS_LINUX
TEST_F(FunctionRunTest, IsFreedByTheEndOfAWorkerThatIsSuspendedWithTheLock)
{
    script({text("await shown"), text("lock"), text("touch locked"), text("suspend")});
    m_progress.m_onText = [this] { release(text("shown")); };
    std::thread rescuer([this] {
        for (int i = 0; i < 2000 && !isThere("locked"); ++i)
            QThread::msleep(5);
        QThread::msleep(300);
        // What another host's start, or this one's user, would do.
        PtCloud_Controller().reset();
    });
    EXPECT_EQ(run(), ActResult_WorkerCrashed);
    rescuer.join();
}

namespace
{

class FunctionRunLock : public FunctionRunTest
{
protected:
    /// How many wait for the block's lock while a worker holds it.
    int waitersDuring(ILongLiveActionProgress *progress)
    {
        const QSet<int> before = support::sharedObjects("sem");
        script({text("lock"), text("touch locked"), text("await counted"), text("unlock")});
        int waiters = -1;
        std::thread observer([&] {
            for (int i = 0; i < 2000 && !isThere("locked"); ++i)
                QThread::msleep(5);
            QThread::msleep(400);
            waiters = support::waitersFor(support::sharedObjects("sem") - before);
            release(text("counted"));
        });
        EXPECT_EQ(m_controller.doCmd_DataSet_Do_Mesh(parameters(), progress), ActResult_Success);
        observer.join();
        return waiters;
    }
};

} // namespace

TEST_F(FunctionRunLock, IsWaitedForToReadTheProgress)
{
    EXPECT_EQ(waitersDuring(&m_progress), 1);
}

TEST_F(FunctionRunLock, IsLeftAloneWithoutProgress)
{
    EXPECT_EQ(waitersDuring(nullptr), 0);
}

TEST_F(FunctionRunLock, ThatIsBrokenShowsNothingMoreAndTheRunGoesOn)
{
    const QSet<int> semaphores = support::sharedObjects("sem");
    const QSet<int> blocks = support::sharedObjects("shm");
    script({text("touch attached"), text("await broken"), text("value 8"), text("wait 300"), text("copy")});
    int shownSince = 0;
    m_progress.m_onText = [&] {
        if (isThere("broken"))
            ++shownSince;
        if (isThere("broken") || !isThere("attached"))
            return;
        // The lock, and the place where a new one could be made.
        for (const int id : support::sharedObjects("sem") - semaphores) {
            if (::semctl(id, 0, GETPID) == ::getpid()) {
                EXPECT_EQ(::semctl(id, 0, IPC_RMID), 0);
            }
        }
        EXPECT_TRUE(QDir(path("tmp")).removeRecursively());
        release(text("broken"));
    };
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(shownSince, 0);
    EXPECT_EQ(logLines().value(1), text("0 mesh_alpha sucessed."));
    EXPECT_GE(m_calls.count(text("cancel?")), 3);
    support::removeOwn(support::sharedObjects("shm") - blocks);
}

TEST_F(FunctionRunTest, TakesOverTheBlockOfACrashedHostWhoseTemporaryFilesWereSwept)
{
    // Such a block is in the way of whoever makes the next file that gets the number of the old one.
    const QSet<int> blocks = support::sharedObjects("shm");
    const QSet<int> semaphores = support::sharedObjects("sem");
    script("copy");
    for (int i = 0; i < 4; ++i) {
        support::HelperProgram host(text("host"));
        ASSERT_TRUE(host.run({text("crash"), text("open3d_wrapper_shared_memory")}));
        ASSERT_TRUE(QDir(path("tmp")).removeRecursively());
        ASSERT_TRUE(QDir().mkpath(path("tmp")));
    }
    EXPECT_EQ(run(), ActResult_Success);
    support::removeOrphans(support::sharedObjects("shm") - blocks, support::sharedObjects("sem") - semaphores);
}

TEST_F(FunctionRunTest, KeepsNothingOfWhatAWorkerPrints)
{
    script({text("print 50000000"), text("value 6")});
    const qint64 before = support::peakMemory();
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_LT(support::peakMemory() - before, 8000);
    EXPECT_EQ(m_progress.m_value, 6);
}

TEST_F(FunctionRunTest, LetsAWorkerPrintWhileItHoldsTheLock)
{
    script({text("lock"), text("print 5000000"), text("unlock"), text("value 6")});
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(m_progress.m_value, 6);
    EXPECT_EQ(runWithoutProgress(), ActResult_Success);
}
#endif
