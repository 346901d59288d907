#include "HelperProgram.h"
#include "Scarcity.h"
#include "System.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QSharedMemory>
#include <QTemporaryDir>
#include <QThread>
#include <QUuid>

#ifdef Q_OS_LINUX
#include <sys/mount.h>
#include <sys/stat.h>
#endif

using namespace ptCloud;
using support::HelperProgram;

namespace
{

const QString worker = QStringLiteral("open3d_wrapper");

QString freshKey()
{
    return QStringLiteral("points_cloud_test_") + QUuid::createUuid().toString(QUuid::Id128);
}

} // namespace

TEST(StopWorkers, EndsAProcessWhoseProgramHasTheWorkersName)
{
    for (const QString &name : {worker, worker + QStringLiteral("_d")}) {
        HelperProgram program(name);
        ASSERT_TRUE(program.start());
        platform::stopWorkers();
        EXPECT_TRUE(program.isKilled()) << qPrintable(name);
    }
}

TEST(StopWorkers, EndsAllOfThem)
{
    HelperProgram one(worker);
    HelperProgram other(worker + QStringLiteral("_d"));
    ASSERT_TRUE(one.start());
    ASSERT_TRUE(other.start());
    platform::stopWorkers();
    EXPECT_TRUE(one.isKilled());
    EXPECT_TRUE(other.isKilled());
}

TEST(StopWorkers, EndsAWorkerWhoseProgramFileWasRemoved)
{
    HelperProgram program(worker);
    ASSERT_TRUE(program.start());
    ASSERT_TRUE(QFile::remove(program.path()));
    platform::stopWorkers();
    EXPECT_TRUE(program.isKilled());
}

TEST(StopWorkers, LeavesAloneWhatOnlyResemblesAWorker)
{
    for (const char *name : {"open3d_wrapper_2", "my_open3d_wrapper", "open3d_wrapper.sh", "Open3d_Wrapper",
                             "open3d_wrapper/other", "open3d_wrappe"}) {
        HelperProgram program(QString::fromLatin1(name));
        ASSERT_TRUE(program.start());
        platform::stopWorkers();
        EXPECT_TRUE(program.isRunning()) << name;
    }
}

TEST(StopWorkers, LeavesAloneAProcessThatOnlyNamesAWorkerInItsArguments)
{
    HelperProgram program(QStringLiteral("innocent"));
    ASSERT_TRUE(program.start({QStringLiteral("sleep"), worker, QStringLiteral("/opt/") + worker}));
    platform::stopWorkers();
    EXPECT_TRUE(program.isRunning());
}

TEST(StopWorkers, HasEndedThemWhenItReturns)
{
    HelperProgram program(worker);
    ASSERT_TRUE(program.start());
    platform::stopWorkers();
    EXPECT_TRUE(program.isKilled(0));
}

TEST(StaleSharedMemory, OfACrashedProcessIsReleased)
{
    const QString key = freshKey();
    HelperProgram program(QStringLiteral("crasher"));
    ASSERT_TRUE(program.run({QStringLiteral("crash"), key}));
    QSharedMemory block(key);
    ASSERT_FALSE(block.create(64)) << "nothing was left behind";
    platform::releaseStaleSharedMemory(key);
    EXPECT_TRUE(block.create(64)) << qPrintable(block.errorString());
}

TEST(StaleSharedMemory, OfALiveProcessStays)
{
    const QString key = freshKey();
    HelperProgram program(QStringLiteral("holder"));
    ASSERT_TRUE(program.start({QStringLiteral("hold"), key}));
    platform::releaseStaleSharedMemory(key);
    {
        QSharedMemory block(key);
        EXPECT_FALSE(block.create(64));
        EXPECT_EQ(block.error(), QSharedMemory::AlreadyExists);
        EXPECT_TRUE(block.attach());
    }
    platform::releaseStaleSharedMemory(key);
    EXPECT_TRUE(program.isRunning());
}

TEST(StaleSharedMemory, ThatIsNotThereIsNoMatter)
{
    const QString key = freshKey();
    platform::releaseStaleSharedMemory(key);
    QSharedMemory block(key);
    EXPECT_TRUE(block.create(64));
}

namespace
{

class ReserveFileSpace : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_file.open(QIODevice::ReadWrite | QIODevice::Truncate)); }

    QTemporaryDir m_dir;
    QFile m_file{m_dir.filePath(QStringLiteral("file"))};
};

} // namespace

TEST_F(ReserveFileSpace, GivesTheFileItsSizeInZeros)
{
    EXPECT_TRUE(platform::reserveFileSpace(m_file, 100000));
    EXPECT_EQ(m_file.size(), 100000);
    EXPECT_EQ(m_file.readAll(), QByteArray(100000, '\0'));
    EXPECT_TRUE(platform::reserveFileSpace(m_file, 0));
    EXPECT_EQ(m_file.size(), 0);
}

TEST_F(ReserveFileSpace, RefusesANegativeSize)
{
    EXPECT_FALSE(platform::reserveFileSpace(m_file, -1));
    EXPECT_EQ(m_file.size(), 0);
}

#ifdef Q_OS_LINUX
TEST_F(ReserveFileSpace, TakesTheSpaceAndLeavesNoHole)
{
    ASSERT_TRUE(platform::reserveFileSpace(m_file, 1 << 20));
    struct stat info = {};
    ASSERT_EQ(::fstat(m_file.handle(), &info), 0);
    EXPECT_GE(info.st_blocks * 512, 1 << 20);
}
#endif

#ifdef Q_OS_UNIX
TEST_F(ReserveFileSpace, FailsBeyondTheLargestFileAndKeepsTheSize)
{
    ASSERT_TRUE(platform::reserveFileSpace(m_file, 1000));
    const support::FileSizeLimit limit(1 << 16);
    ASSERT_TRUE(limit.holds());
    EXPECT_FALSE(platform::reserveFileSpace(m_file, 1 << 20));
    EXPECT_EQ(m_file.size(), 1000);
}
#endif

#ifdef Q_OS_LINUX
TEST_F(ReserveFileSpace, FailsOnAFullFileSystemAndKeepsTheSize)
{
    const QByteArray place = QFile::encodeName(m_dir.filePath(QStringLiteral("small")));
    ASSERT_TRUE(QDir().mkpath(QFile::decodeName(place)));
    if (::mount("points_cloud_test", place.constData(), "tmpfs", 0, "size=1m") != 0)
        GTEST_SKIP() << "a file system can't be mounted here";
    {
        QFile file(QFile::decodeName(place) + QStringLiteral("/file"));
        EXPECT_TRUE(file.open(QIODevice::ReadWrite));
        EXPECT_TRUE(platform::reserveFileSpace(file, 1000));
        EXPECT_FALSE(platform::reserveFileSpace(file, 64 << 20));
        EXPECT_EQ(file.size(), 1000);
    }
    EXPECT_EQ(::umount(place.constData()), 0);
}
#endif

TEST(TickCount, CountsMilliseconds)
{
    QElapsedTimer timer;
    const quint32 before = platform::tickCount();
    timer.start();
    while (timer.elapsed() < 30)
        QThread::msleep(1);
    const quint32 passed = platform::tickCount() - before;
    EXPECT_GE(passed, 29U);
    EXPECT_LE(static_cast<qint64>(passed), timer.elapsed() + 2);
}

TEST(PlainName, IsOnePathComponent)
{
    for (const char *name : {"a", "Points", "two words", ".hidden", "...", "a.b", "\xc3\xa4\xe4\xb8\xad", "-"})
        EXPECT_TRUE(platform::isPlainName(QString::fromUtf8(name))) << name;
    for (const char *name : {"", ".", "..", "/", "a/b", "/abs", "a/", "../a"})
        EXPECT_FALSE(platform::isPlainName(QString::fromUtf8(name))) << name;
    EXPECT_FALSE(platform::isPlainName(QString()));
    EXPECT_FALSE(platform::isPlainName(QStringLiteral("a") + QChar(QChar::Null) + QStringLiteral("b")));
}
