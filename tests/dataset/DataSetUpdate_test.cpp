#include "DataSetDirectory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#ifdef Q_OS_LINUX
#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#endif

using namespace ptCloud;
using support::DiskState;
using support::openContents;
using support::pointsBytes;
using support::pointsIn;
using support::sameDisk;

namespace
{

/// A data set of old points, with new ones beside them where a test wants that.
class DataSetUpdate : public support::DataSetTest
{
protected:
    void SetUp() override
    {
        DataSetTest::SetUp();
        load({{QStringLiteral("Points"), oldPoints}});
    }

    PtCloud_DataSetFile &points() const { return *m_set.getContent_PointDataSetFile(); }

    static DiskState files(const char *first, const QByteArray &firstBytes)
    {
        return {{QLatin1String(first), firstBytes}};
    }
    static DiskState files(const char *first, const QByteArray &firstBytes, const char *second,
                           const QByteArray &secondBytes)
    {
        return {{QLatin1String(first), firstBytes}, {QLatin1String(second), secondBytes}};
    }

    /// Updates and expects that it does nothing at all, with the points open and closed.
    void expectUntouched()
    {
        const DiskState before = onDisk();
        m_set.updateContent_Points();
        EXPECT_FALSE(points().isOpened());
        ASSERT_TRUE(points().openFile());
        m_set.updateContent_Points();
        EXPECT_EQ(pointsIn(points()), 7) << "still open";
        EXPECT_TRUE(sameDisk(onDisk(), before));
        EXPECT_EQ(m_signals.take(), QStringList());
    }
    /// Updates with the points open, and expects that they are closed, and the disk as it was.
    void expectFailure()
    {
        const DiskState before = inSite();
        m_set.updateContent_Points();
        EXPECT_EQ(openContents(m_set), QStringList());
        EXPECT_EQ(points().getFilepath(), path("Points"));
        EXPECT_TRUE(sameDisk(inSite(), before));
        EXPECT_EQ(m_signals.take(), QStringList());
    }

    const QByteArray oldPoints = pointsBytes(7);
    const QByteArray newPoints = pointsBytes(9);
    const QStringList updated = {QStringLiteral("sgContentUpdated_Points(site)")};
};

} // namespace

TEST_F(DataSetUpdate, SwapsTheNewPointsInAndLeavesThemClosedIfTheyWere)
{
    write("tmp_points", newPoints);
    m_set.updateContent_Points();
    EXPECT_TRUE(sameDisk(inSite(), files("Points", newPoints)));
    EXPECT_FALSE(points().isOpened());
    EXPECT_EQ(points().getFilepath(), path("Points"));
    EXPECT_EQ(m_signals.take(), updated);
}

TEST_F(DataSetUpdate, OpensTheNewPointsIfTheOldWereOpen)
{
    ASSERT_TRUE(points().openFile());
    write("tmp_points", newPoints);
    m_set.updateContent_Points();
    EXPECT_EQ(pointsIn(points()), 9);
    EXPECT_NE(points().readBlock(1), nullptr);
    EXPECT_EQ(m_signals.take(), updated);
}

TEST_F(DataSetUpdate, TakesWhatWasWrittenWhereItTellsToWrite)
{
    ASSERT_TRUE(support::writeFile(m_set.createEmptyLocatedContent_Points(), newPoints));
    m_set.updateContent_Points();
    EXPECT_EQ(support::readFile(m_set.getFilePath_Points()), newPoints);
    write("tmp_points", oldPoints);
    m_set.updateContent_Points();
    EXPECT_TRUE(sameDisk(inSite(), files("Points", oldPoints)));
    EXPECT_EQ(m_signals.take(), updated + updated);
}

TEST_F(DataSetUpdate, LeavesAllOtherContentsAsTheyAre)
{
    load(support::fullDataSet());
    openAll();
    write("tmp_points", newPoints);
    const auto before = support::contentsOf(m_set);
    m_set.updateContent_Points();
    EXPECT_EQ(openContents(m_set).size(), 9);
    EXPECT_EQ(support::contentsOf(m_set), before);
    EXPECT_FALSE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
    DiskState expected = support::fullDataSet();
    expected[QStringLiteral("Points")] = newPoints;
    EXPECT_TRUE(sameDisk(inSite(), expected));
    EXPECT_EQ(m_signals.take(), updated);
}

TEST_F(DataSetUpdate, IsDoneWhenItsSignalComes)
{
    ASSERT_TRUE(points().openFile());
    write("tmp_points", newPoints);
    DiskState seen;
    int open = 0;
    QObject::connect(&m_set, &PtCloudDataSet::sgContentUpdated_Points, &m_set, [&] {
        seen = inSite();
        open = pointsIn(points());
    });
    m_set.updateContent_Points();
    EXPECT_TRUE(sameDisk(seen, files("Points", newPoints)));
    EXPECT_EQ(open, 9);
}

TEST_F(DataSetUpdate, NewPointsThatDoNotOpenAreTakenAllTheSame)
{
    ASSERT_TRUE(points().openFile());
    write("tmp_points", "broken");
    m_set.updateContent_Points();
    EXPECT_TRUE(sameDisk(inSite(), files("Points", "broken")));
    EXPECT_FALSE(points().isOpened());
    EXPECT_EQ(m_signals.take(), updated);
}

TEST_F(DataSetUpdate, WithoutNewPointsDoesNothing)
{
    expectUntouched();
}

TEST_F(DataSetUpdate, ADirectoryIsNoNewPoints)
{
    ASSERT_TRUE(QDir().mkpath(path("tmp_points")));
    expectUntouched();
}

TEST_F(DataSetUpdate, ALinkIsNoNewPoints)
{
    ASSERT_TRUE(support::writeFile(inProject("elsewhere"), newPoints));
    ASSERT_TRUE(QFile::link(inProject("elsewhere"), path("tmp_points")));
    expectUntouched();
}

TEST_F(DataSetUpdate, WithoutADirectoryDoesNothing)
{
    write("tmp_points", newPoints);
    ASSERT_TRUE(points().openFile());
    ASSERT_TRUE(QDir().rename(inProject("site"), inProject("away")));
    m_set.updateContent_Points();
    EXPECT_EQ(pointsIn(points()), 7);
    EXPECT_TRUE(sameDisk(support::diskState(inProject("away")), files("Points", oldPoints, "tmp_points", newPoints)));
    PtCloudDataSet other;
    other.updateContent_Points();
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetUpdate, OldPointsThatVanishedFailItAndTheNewStayAside)
{
    write("tmp_points", newPoints);
    ASSERT_TRUE(points().openFile());
    ASSERT_TRUE(QFile::remove(path("Points")));
    expectFailure();
}

TEST_F(DataSetUpdate, AFileInTheWayOfTheOldPointsFailsItUntilALoadSweepsIt)
{
    write("tmp_points", newPoints);
    write("tmp_points_2", "in the way");
    ASSERT_TRUE(points().openFile());
    expectFailure();
    m_set.updateContent_Points();
    EXPECT_EQ(support::readFile(path("Points")), oldPoints);

    ASSERT_TRUE(m_set.loadFromFile());
    write("tmp_points", newPoints);
    m_set.updateContent_Points();
    EXPECT_TRUE(sameDisk(inSite(), files("Points", newPoints)));
    EXPECT_EQ(m_signals.take(), updated);
}

TEST_F(DataSetUpdate, ADirectoryInTheWayOfTheOldPointsFailsIt)
{
    write("tmp_points", newPoints);
    ASSERT_TRUE(QDir().mkpath(path("tmp_points_2")));
    ASSERT_TRUE(points().openFile());
    expectFailure();
}

TEST_F(DataSetUpdate, AfterAProcessThatEndedBetweenTheStepsALoadFailsWithoutPoints)
{
    ASSERT_TRUE(QFile::rename(path("Points"), path("tmp_points_2")));
    write("tmp_points", newPoints);
    const DiskState before = inSite();
    EXPECT_FALSE(m_set.loadFromFile());
    EXPECT_TRUE(sameDisk(inSite(), before));
}

TEST_F(DataSetUpdate, AfterAProcessThatEndedAtTheEndALoadSweepsTheOldPoints)
{
    write("Points", newPoints);
    write("tmp_points_2", oldPoints);
    EXPECT_TRUE(m_set.loadFromFile());
    EXPECT_TRUE(sameDisk(inSite(), files("Points", newPoints)));
}

#ifdef Q_OS_LINUX
namespace
{

/// While it lives, a file is a mount of itself: it can be read and written, but neither moved nor removed. Only this
/// process sees it.
class PinnedFile
{
public:
    explicit PinnedFile(const QString &path) : m_path(QFile::encodeName(path))
    {
        m_holds = unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
                  && mount(m_path.constData(), m_path.constData(), nullptr, MS_BIND, nullptr) == 0;
        m_error = m_holds ? 0 : errno;
    }
    ~PinnedFile()
    {
        if (m_holds)
            umount2(m_path.constData(), MNT_DETACH);
    }
    PinnedFile(const PinnedFile &) = delete;
    PinnedFile &operator=(const PinnedFile &) = delete;

    bool holds() const { return m_holds; }
    std::string error() const { return std::strerror(m_error); }

private:
    QByteArray m_path;
    bool m_holds = false;
    int m_error = 0;
};

class DataSetUpdatePinned : public DataSetUpdate, public ::testing::WithParamInterface<const char *>
{
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Files, DataSetUpdatePinned, ::testing::Values("Points", "tmp_points"));

// With the old points pinned the first renaming fails, with the new ones the second.
TEST_P(DataSetUpdatePinned, AFileThatCannotBeMovedFailsItWithTheOldPointsInPlace)
{
    write("tmp_points", newPoints);
    ASSERT_TRUE(points().openFile());
    const auto pinned = std::make_unique<PinnedFile>(path(GetParam()));
    if (!pinned->holds())
        GTEST_SKIP() << "only a privileged process may mount: " << pinned->error();
    expectFailure();
    EXPECT_TRUE(sameDisk(inSite(), files("Points", oldPoints, "tmp_points", newPoints)));
    ASSERT_TRUE(points().openFile());
    EXPECT_EQ(pointsIn(points()), 7);
}
#endif
