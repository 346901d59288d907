#include "ProjectTesting.h"
#include "Scarcity.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLockFile>

#include <chrono>
#include <ostream>
#include <random>
#include <thread>

#ifdef Q_OS_UNIX
#include <sys/resource.h>

#include <csignal>
#endif

using support::BlockFile;
using support::DiskState;
using support::ProjectFile;
using support::readFile;
using support::words;

namespace
{

/// What a command may leave of the data sets `a` and `b` when it is ended, or fails, at any point.
enum class Leaves {
    Both,          ///< both, and perhaps the new one
    BothOrNew,     ///< both, or the new one, which holds what both held
    OtherAndMoved, ///< `b`; `a` under one of its names
    Other          ///< `b`; `a` whole, or gone
};

struct Command
{
    const char *name;
    const char *line;
    Leaves leaves;
    int newPoints; ///< in thirds of what `a` holds; -1 where there is no new data set
};

void PrintTo(const Command &command, std::ostream *out)
{
    *out << command.line;
}

const Command commands[] = {{"Import", "import more.las", Leaves::Both, -1},
                            {"Make", "make new a.las", Leaves::Both, 1},
                            {"Copy", "copy a new", Leaves::Both, 3},
                            {"Merge", "merge new a b", Leaves::Both, 6},
                            {"MergeAndRemove", "merge new a b --remove-sources", Leaves::BothOrNew, 6},
                            {"Rename", "rename a new", Leaves::OtherAndMoved, 3},
                            {"Remove", "remove a", Leaves::Other, -1}};

/// A project with the LAS file `a.las` and the data sets `a` and `b`, which is laid down again and again.
class EndedHosts : public support::ProjectTest, public ::testing::WithParamInterface<Command>
{
protected:
    /// `third` points in the LAS file, three times as many in each data set.
    void setUpProject(int third, int lasEntries = 1)
    {
        m_third = third;
        writeLas("a.las", third);
        writeLas("more.las", 3);
        m_lasFiles.clear();
        m_lasFiles.emplace_back(QStringLiteral("a.las"), path("a.las"));
        for (int i = 1; i < lasEntries; ++i)
            m_lasFiles.emplace_back(QStringLiteral("a%1.las").arg(i), path("a.las"));
        for (int i = 0; i < 2; ++i) {
            BlockFile file;
            file.columns = {0, 4};
            for (int key = 1; key <= 3; ++key)
                file.blocks.push_back(
                    file.makeBlock(key, static_cast<quint32>(third), 0, static_cast<quint8>(key + i)));
            m_points[i] = file.bytes();
        }
        startAfresh();
    }
    void startAfresh() const
    {
        QDir(project()).removeRecursively();
        makeProject(m_lasFiles, {{QStringLiteral("a"), {{QStringLiteral("Points"), m_points[0]}}},
                                 {QStringLiteral("b"), {{QStringLiteral("Points"), m_points[1]}}}});
    }

    /// A command's words for this project's own paths.
    QStringList arguments(const char *line) const
    {
        QStringList result = words(line) << QStringLiteral("-p") << project();
        result.replaceInStrings(QStringLiteral("more.las"), path("more.las"));
        return result;
    }

    /// The data sets that the next host finds; it may ask for --recover first.
    QStringList openAgain() const
    {
        PtcloudRun opened = run("list --json");
        if (opened.exitCode == 1 && opened.errors.contains("--recover"))
            opened = run("list --json --recover");
        EXPECT_EQ(opened.exitCode, 0) << opened.errors.constData();
        return support::namesIn(opened.json().value(QStringLiteral("dataSets")).toArray());
    }

    QByteArray pointsOf(const char *name) const { return readFile(inProject(name) + QStringLiteral("/Points")); }
    /// Whether a source is registered; if it is, it must be whole.
    bool isThere(const QStringList &names, int source) const
    {
        const char *const name = source == 0 ? "a" : "b";
        const bool isListed = names.contains(QString::fromLatin1(name));
        EXPECT_TRUE(!isListed || pointsOf(name) == m_points[source]) << name << " is damaged";
        return isListed;
    }
    bool isNewThere(const QStringList &names, const Command &command) const
    {
        const bool isListed = names.contains(QStringLiteral("new"));
        EXPECT_TRUE(!isListed || support::pointsIn(pointsOf("new")) == qint64{m_third} * command.newPoints)
            << "the new data set is damaged";
        return isListed;
    }

    /// What holds after any end. A host that was killed, which could undo nothing, may have got as far as renaming the
    /// directory: the project file still tells the old name, and an entry without its directory is passed over.
    void expectNothingLost(const QStringList &names, const Command &command, bool wasKilled) const
    {
        const bool isA = isThere(names, 0);
        const bool isB = isThere(names, 1);
        const bool isNew = isNewThere(names, command);
        switch (command.leaves) {
        case Leaves::Both:
            EXPECT_TRUE(isA && isB);
            break;
        case Leaves::BothOrNew:
            EXPECT_TRUE(isNew || (isA && isB)) << "the sources are gone, and nothing has their points";
            break;
        case Leaves::OtherAndMoved:
            EXPECT_TRUE(isB);
            EXPECT_TRUE(isA || isNew || wasKilled) << "registered under neither name";
            EXPECT_TRUE(pointsOf("a") == m_points[0] || pointsOf("new") == m_points[0]);
            break;
        case Leaves::Other:
            EXPECT_TRUE(isB);
            break;
        }
        // Nothing that was laid down stops the same work from being done after all.
        if (command.leaves == Leaves::Both && !isNew) {
            const PtcloudRun again(arguments(command.line));
            EXPECT_EQ(again.exitCode, 0) << again.errors.constData();
        }
    }

    int m_third = 0;
    ProjectFile::Pairs m_lasFiles;
    QByteArray m_points[2];
};

/// How long the host takes when nobody kills it.
std::chrono::microseconds runToTheEnd(const QStringList &arguments)
{
    QElapsedTimer timer;
    timer.start();
    const PtcloudRun done(arguments);
    EXPECT_EQ(done.exitCode, 0) << done.errors.constData();
    return std::chrono::microseconds(timer.nsecsElapsed() / 1000);
}

void runAndKill(const QStringList &arguments, std::chrono::microseconds delay)
{
    QProcess host;
    host.start(QStringLiteral(PTCLOUD_PROGRAM), arguments);
    EXPECT_TRUE(host.waitForStarted());
    std::this_thread::sleep_for(delay);
    host.kill();
    EXPECT_TRUE(host.waitForFinished(120000));
}

#ifdef Q_OS_UNIX

/// A host that dies where a file of its grows too large, as programs do unless they ask for an error instead.
class HostThatDiesOfALargeFile : public QProcess
{
protected:
    void setupChildProcess() override
    {
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        std::signal(SIGXFSZ, SIG_DFL);
    }
};

/// Runs the host; no file that it writes grows beyond `size`. Whether it ended by itself.
bool runAndKillAtFileSize(const QStringList &arguments, qint64 size)
{
    HostThatDiesOfALargeFile host;
    {
        const support::FileSizeLimit limit(size);
        EXPECT_TRUE(limit.holds());
        host.start(QStringLiteral(PTCLOUD_PROGRAM), arguments);
        EXPECT_TRUE(host.waitForStarted());
    }
    EXPECT_TRUE(host.waitForFinished(120000));
    return host.exitStatus() == QProcess::NormalExit;
}

PtcloudRun runOnAFullDisk(const QStringList &arguments, qint64 size)
{
    const support::FileSizeLimit limit(size);
    EXPECT_TRUE(limit.holds());
    return PtcloudRun(arguments);
}

/// Bytes that a host's lock takes at the most: it tells the process, and this program has the longer name.
qint64 sizeOfALock()
{
    const QTemporaryDir dir;
    QLockFile lock(dir.filePath(QStringLiteral("lock")));
    EXPECT_TRUE(lock.lock());
    return QFileInfo(dir.filePath(QStringLiteral("lock"))).size() + 10;
}

#endif

} // namespace

TEST_P(EndedHosts, KilledAtAnyMomentLoseNothing)
{
    constexpr int rounds = 12;
    constexpr unsigned int seed = 2203;
    setUpProject(30000);
    const QStringList command = arguments(GetParam().line);
    const auto whole = static_cast<int>(runToTheEnd(command).count());

    std::mt19937 random(seed);
    std::uniform_int_distribution<int> delays(1, whole);
    for (int round = 0; round < rounds; ++round) {
        const std::chrono::microseconds delay(delays(random));
        SCOPED_TRACE(::testing::Message() << "seed " << seed << ", round " << round << ", killed after "
                                          << delay.count() << " of " << whole << " microseconds");
        startAfresh();
        runAndKill(command, delay);
        expectNothingLost(openAgain(), GetParam(), true);
    }
}

#ifdef Q_OS_UNIX

TEST_P(EndedHosts, KilledWhileTheyWriteASmallFileLoseNothing)
{
    // The project file and its copy are smaller than the points: each limit ends the host at another byte of one of
    // them, or at the beginning of the points.
    setUpProject(200, 4);
    const qint64 size = readFile(projectFile()).size();
    int killed = 0;
    for (qint64 limit = sizeOfALock(); limit < size + 100; limit += 41) {
        SCOPED_TRACE(::testing::Message() << "killed at byte " << limit << " of a file");
        startAfresh();
        killed += runAndKillAtFileSize(arguments(GetParam().line), limit) ? 0 : 1;
        expectNothingLost(openAgain(), GetParam(), true);
    }
    EXPECT_GT(killed, 5);
}

TEST_P(EndedHosts, OnAFullDiskTellSoAndLoseNothing)
{
    setUpProject(200, 4);
    const qint64 size = readFile(projectFile()).size();
    for (qint64 limit = sizeOfALock(); limit < size; limit += 41) {
        SCOPED_TRACE(::testing::Message() << "files hold up to " << limit << " bytes");
        startAfresh();
        expectFailed(runOnAFullDisk(arguments(GetParam().line), limit));
        expectNothingLost(openAgain(), GetParam(), false);
    }
}

TEST_P(EndedHosts, ThatCannotWriteTheProjectFileLoseNothing)
{
    // The points fit, the project file, which is longer, does not.
    constexpr qint64 limit = 3000;
    setUpProject(10, 40);
    ASSERT_LT(m_points[0].size() + m_points[1].size(), limit);
    ASSERT_GT(readFile(projectFile()).size(), limit);
    expectFailed(runOnAFullDisk(arguments(GetParam().line), limit), "", "points_cloud.pcproj");
    expectNothingLost(openAgain(), GetParam(), false);
}

#endif

INSTANTIATE_TEST_SUITE_P(Project, EndedHosts, ::testing::ValuesIn(commands), support::CaseName());

#ifdef Q_OS_UNIX

TEST_F(EndedHosts, KilledWhileTheyTakeTheLockHoldItNoLonger)
{
    setUpProject(10);
    for (qint64 limit = 0; limit < 40; limit += 5) {
        startAfresh();
        EXPECT_FALSE(runAndKillAtFileSize(arguments("list"), limit));
        EXPECT_EQ(openAgain(), words("a b")) << limit;
    }
}

TEST_F(EndedHosts, KilledWhileTheyMakeAProjectLetItBeMade)
{
    const qint64 size = ProjectFile().bytes().size();
    for (qint64 limit = 0; limit < size; limit += 4) {
        QDir(project()).removeRecursively();
        EXPECT_FALSE(runAndKillAtFileSize(arguments("new"), limit));
        EXPECT_EQ(run("new").exitCode, 0) << limit;
        EXPECT_EQ(openAgain(), QStringList()) << limit;
    }
}

TEST_F(EndedHosts, OnAFullDiskBlameNoOtherProgram)
{
    setUpProject(10);
    const DiskState before = onDisk();
    for (const qint64 limit : {0, 20}) {
        const PtcloudRun done = runOnAFullDisk(arguments("import more.las"), limit);
        expectFailed(done, "", "project");
        EXPECT_FALSE(done.errors.contains("another program")) << done.errors.constData();
        EXPECT_TRUE(support::sameDisk(onDisk(), before)) << limit;
    }
}

TEST_F(EndedHosts, AMergeOntoAFullDiskKeepsItsSources)
{
    setUpProject(1000);
    const DiskState before = onDisk();
    const qint64 source = m_points[0].size();
    for (const qint64 limit : {qint64{5000}, source, source + 1, source * 3 / 2, source * 2 - 1000}) {
        const PtcloudRun done = runOnAFullDisk(arguments("merge new a b --remove-sources"), limit);
        expectFailed(done, "ActResult_FileError", "new");
        EXPECT_TRUE(support::sameDisk(onDisk(), before)) << limit;
    }
    EXPECT_EQ(openAgain(), words("a b"));
}

TEST_F(EndedHosts, AMakeOrCopyOntoAFullDiskKeepsWhatWasThere)
{
    setUpProject(1000);
    const QByteArray before = readFile(projectFile());
    expectFailed(runOnAFullDisk(arguments("make new a.las"), 5000), "ActResult_MakeFailed", "new");
    expectFailed(runOnAFullDisk(arguments("copy a new"), 5000), "ActResult_CannotRun", "new");
    EXPECT_EQ(readFile(projectFile()), before);
    EXPECT_EQ(openAgain(), words("a b"));
    EXPECT_EQ(pointsOf("a"), m_points[0]);
}

#endif
