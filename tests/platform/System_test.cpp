#include "HelperProgram.h"
#include "Scarcity.h"
#include "System.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QSharedMemory>
#include <QTemporaryDir>
#include <QThread>
#include <QUuid>

#include <memory>

#ifdef Q_OS_UNIX
#include <csignal>
#endif
#ifdef Q_OS_LINUX
#include <sched.h>
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
    for (const char *name :
         {"open3d_wrapper_2", "my_open3d_wrapper", "open3d_wrapper.sh", "Open3d_Wrapper", "open3d_wrapper/other",
          "open3d_wrapper_d/other", "open3d_wrappe", "open3d_wrapper (deleted) not"}) {
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

TEST(StopWorkers, EndsThemWhereverTheirFilesLie)
{
    HelperProgram one(worker);
    HelperProgram other(QStringLiteral("a folder/") + worker);
    ASSERT_TRUE(one.start());
    ASSERT_TRUE(other.start());
    platform::stopWorkers();
    EXPECT_TRUE(one.isKilled());
    EXPECT_TRUE(other.isKilled());
}

#ifdef Q_OS_UNIX
TEST(StopWorkers, EndsAWorkerThatIsSuspended)
{
    HelperProgram program(worker);
    ASSERT_TRUE(program.start());
    ASSERT_EQ(::kill(static_cast<pid_t>(program.processId()), SIGSTOP), 0);
    platform::stopWorkers();
    EXPECT_TRUE(program.isKilled());
}

TEST(StopWorkers, LeavesAloneAProgramThatRunsUnderALinkWithTheWorkersName)
{
    HelperProgram program(QStringLiteral("innocent"));
    const QTemporaryDir links;
    const QString link = links.filePath(worker);
    ASSERT_TRUE(QFile::link(program.path(), link));
    QProcess process;
    process.start(link, {QStringLiteral("sleep")});
    ASSERT_TRUE(process.waitForReadyRead());
    platform::stopWorkers();
    EXPECT_FALSE(process.waitForFinished(0));
    EXPECT_EQ(process.state(), QProcess::Running);
    process.kill();
    EXPECT_TRUE(process.waitForFinished());
}
#endif

TEST(StopWorkers, LeavesTheCallerAloneThoughItIsAWorkerByName)
{
    const QTemporaryDir dir;
    const QString copy = dir.filePath(worker);
    ASSERT_TRUE(QFile::copy(QCoreApplication::applicationFilePath(), copy));
    QProcess caller;
    caller.start(copy, {QStringLiteral("--gtest_filter=StopWorkers.HasEndedThemWhenItReturns")});
    ASSERT_TRUE(caller.waitForFinished(120000));
    EXPECT_EQ(caller.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(caller.exitCode(), 0) << caller.readAllStandardOutput().constData();
}

TEST(StopWorkers, HasEndedThemWhenItReturns)
{
    HelperProgram program(worker);
    ASSERT_TRUE(program.start());
    platform::stopWorkers();
    EXPECT_TRUE(program.isKilled(0));
}

namespace
{

/// A key of its own for each test. Nothing is left under it, whatever the test came to, and the files that stand for
/// keys on some systems lie in a directory of the test's own.
class StaleSharedMemory : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        qputenv("TMPDIR", QFile::encodeName(m_dir.path()));
    }
    void TearDown() override
    {
        m_holder.reset();
        QSharedMemory left(m_key);
        if (left.attach())
            left.detach();
        if (m_hadPlace)
            qputenv("TMPDIR", m_place);
        else
            qunsetenv("TMPDIR");
    }

    QTemporaryDir m_dir;
    const bool m_hadPlace = qEnvironmentVariableIsSet("TMPDIR");
    const QByteArray m_place = qgetenv("TMPDIR");
    const QString m_key = freshKey();
    std::unique_ptr<HelperProgram> m_holder = std::make_unique<HelperProgram>(QStringLiteral("holder"));
};

} // namespace

TEST_F(StaleSharedMemory, OfACrashedProcessIsReleased)
{
    ASSERT_TRUE(m_holder->run({QStringLiteral("crash"), m_key}));
    QSharedMemory block(m_key);
    ASSERT_FALSE(block.create(64)) << "nothing was left behind";
    platform::releaseStaleSharedMemory(m_key);
    EXPECT_TRUE(block.create(64)) << qPrintable(block.errorString());
}

TEST_F(StaleSharedMemory, OfALiveProcessStays)
{
    ASSERT_TRUE(m_holder->start({QStringLiteral("hold"), m_key}));
    platform::releaseStaleSharedMemory(m_key);
    {
        QSharedMemory block(m_key);
        EXPECT_FALSE(block.create(64));
        EXPECT_EQ(block.error(), QSharedMemory::AlreadyExists);
        EXPECT_TRUE(block.attach());
    }
    platform::releaseStaleSharedMemory(m_key);
    EXPECT_FALSE(QSharedMemory(m_key).create(64));
    EXPECT_TRUE(m_holder->isRunning());
}

TEST_F(StaleSharedMemory, StaysWhileAnotherThanItsMakerHoldsIt)
{
    ASSERT_TRUE(m_holder->start({QStringLiteral("hold"), m_key}));
    QSharedMemory second(m_key);
    ASSERT_TRUE(second.attach());
    static_cast<char *>(second.data())[5] = 'x';
    m_holder.reset();

    platform::releaseStaleSharedMemory(m_key);
    QSharedMemory third(m_key);
    EXPECT_FALSE(third.create(64));
    ASSERT_TRUE(third.attach());
    EXPECT_EQ(static_cast<const char *>(third.constData())[5], 'x');
}

TEST_F(StaleSharedMemory, OfAStoppedWorkerIsReleased)
{
    m_holder = std::make_unique<HelperProgram>(worker);
    ASSERT_TRUE(m_holder->start({QStringLiteral("hold"), m_key}));
    platform::stopWorkers();
    platform::releaseStaleSharedMemory(m_key);
    QSharedMemory block(m_key);
    EXPECT_TRUE(block.create(64)) << qPrintable(block.errorString());
}

TEST_F(StaleSharedMemory, ThatIsNotThereIsNoMatter)
{
    platform::releaseStaleSharedMemory(m_key);
    QSharedMemory block(m_key);
    EXPECT_FALSE(block.attach());
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

TEST_F(ReserveFileSpace, KeepsWhatStandsThereAndWhereWritingStood)
{
    ASSERT_EQ(m_file.write("abc"), 3);
    ASSERT_TRUE(m_file.flush());
    EXPECT_TRUE(platform::reserveFileSpace(m_file, 6));
    EXPECT_EQ(m_file.pos(), 3);
    EXPECT_EQ(m_file.write("d"), 1);
    EXPECT_TRUE(m_file.seek(0));
    EXPECT_EQ(m_file.readAll(), QByteArray("abcd\0\0", 6));
    EXPECT_TRUE(platform::reserveFileSpace(m_file, 2));
    EXPECT_TRUE(m_file.seek(0));
    EXPECT_EQ(m_file.readAll(), "ab");
}

TEST_F(ReserveFileSpace, RefusesAFileThatCannotBeSized)
{
    m_file.close();
    EXPECT_FALSE(platform::reserveFileSpace(m_file, 10));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    EXPECT_FALSE(platform::reserveFileSpace(m_file, 10));
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
    // In a name space of the process's own, so that a crash leaves no mount behind.
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || ::mount("points_cloud_test", place.constData(), "tmpfs", 0, "size=1m") != 0)
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

TEST(ReplaceFile, PutsAFileInThePlaceOfAnother)
{
    const QTemporaryDir directory;
    const QString from = directory.filePath(QString::fromUtf8("from \xc3\xa4"));
    const QString to = directory.filePath(QStringLiteral("to"));
    const auto write = [](const QString &path, const QByteArray &bytes) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    };
    const auto read = [](const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    };
    EXPECT_FALSE(platform::replaceFile(from, to));
    for (const char *text : {"first", "second"}) {
        ASSERT_TRUE(write(from, text));
        EXPECT_TRUE(platform::replaceFile(from, to));
        EXPECT_EQ(read(to), text);
        EXPECT_FALSE(QFile::exists(from));
    }
    ASSERT_TRUE(write(from, "third"));
    EXPECT_FALSE(platform::replaceFile(from, directory.filePath(QStringLiteral("no/to"))));
    EXPECT_FALSE(platform::replaceFile(from, directory.path()));
    EXPECT_EQ(read(from), "third");
    EXPECT_EQ(read(to), "second");
}

TEST(AvailableMemory, IsWhatAMachineMayHave)
{
    const quint64 available = platform::availableMemory();
    EXPECT_GT(available, quint64{1} << 20U);
#ifdef Q_OS_LINUX
    EXPECT_LE(available, static_cast<quint64>(sysconf(_SC_PHYS_PAGES)) * static_cast<quint64>(sysconf(_SC_PAGESIZE)));
#endif
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST(AvailableMemory, KeepsToTheLimitOfTheProcess)
{
    constexpr rlim_t spare = 50U << 20U;
    const support::AddressSpaceLimit limit(spare);
    ASSERT_TRUE(limit.holds());
    EXPECT_LE(platform::availableMemory(), spare);
    EXPECT_GT(platform::availableMemory(), spare / 2);
}
#endif

TEST(TickCount, NeverGoesBack)
{
    quint32 last = platform::tickCount();
    for (int i = 0; i < 100000; ++i) {
        const quint32 now = platform::tickCount();
        ASSERT_LT(now - last, 0x80000000U);
        last = now;
    }
}

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
    for (const char *name : {"", ".", "..", "/", "a/b", "/abs", "a/", "../a", ":", ":a", ":/a"})
        EXPECT_FALSE(platform::isPlainName(QString::fromUtf8(name))) << name;
    EXPECT_FALSE(platform::isPlainName(QString()));
    EXPECT_FALSE(platform::isPlainName(QStringLiteral("a") + QChar(QChar::Null) + QStringLiteral("b")));
}
