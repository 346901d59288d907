#include "DataSetDirectory.h"

#include <gtest/gtest.h>

#include <memory>

using namespace ptCloud;
using support::DiskState;
using support::fullDataSet;
using support::pointsBytes;
using support::sameDisk;

namespace
{

using DataSetRemoval = support::DataSetTest;
using DataSetTwin = support::DataSetTest;

} // namespace

TEST_F(DataSetRemoval, TakesTheDirectoryWithAllInItAndForgetsIt)
{
    const DiskState before = onDisk();
    load(fullDataSet());
    support::makeDirectory(path("sub/deep"), {{QStringLiteral("file"), "deep"}});
    write(".hidden", "hidden");
    openAll();
    m_set.removeFile();
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_EQ(m_set.getName(), QString());
    EXPECT_EQ(m_set.getFilePath_Points(), QString());
    support::expectNoContents(m_set);
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetRemoval, WithoutADirectoryDoesNothing)
{
    m_set.removeFile();
    m_set.setDir(inProject("missing"), QStringLiteral("site"));
    m_set.removeFile();
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    load(fullDataSet());
    openAll();
    ASSERT_TRUE(QDir().rename(inProject("site"), inProject("away")));
    m_set.removeFile();
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(support::openContents(m_set).size(), 9) << "not even closed";
    EXPECT_TRUE(sameDisk(support::diskState(inProject("away")), fullDataSet()));
}

TEST_F(DataSetRemoval, OfAFileDoesNothing)
{
    m_set.setDir(project(), QStringLiteral("canary"));
    const DiskState before = onDisk();
    m_set.removeFile();
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

TEST_F(DataSetRemoval, ASecondOneRemovesNothingMore)
{
    const DiskState before = onDisk();
    load(fullDataSet());
    m_set.removeFile();
    m_set.removeFile();
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

TEST_F(DataSetRemoval, TheObjectServesAnotherDirectoryAfterwards)
{
    load(fullDataSet());
    m_set.removeFile();
    load(fullDataSet());
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(support::contentsOf(m_set).size(), 9);
}

#ifdef Q_OS_UNIX
TEST_F(DataSetRemoval, OfALinkedDirectoryTakesOnlyTheLink)
{
    const QString store = root() + QStringLiteral("/store");
    support::makeDirectory(store, fullDataSet());
    support::makeDirectory(store, {{QStringLiteral("canary.cut"), pointsBytes(2)}});
    const DiskState before = onDisk();
    ASSERT_TRUE(QFile::link(store, inProject("site")));
    setDir();
    ASSERT_TRUE(m_set.loadFromFile());
    m_set.removeFile();
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_EQ(m_set.getName(), QString());
}

TEST_F(DataSetRemoval, LeavesWhatIsLinkedFromWithin)
{
    const DiskState before = onDisk();
    load(fullDataSet());
    ASSERT_TRUE(QFile::link(root(), path("up")));
    ASSERT_TRUE(QFile::link(inProject("canary"), path("file")));
    m_set.removeFile();
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

// A copy through a link to the source would overwrite the source by itself.
TEST_F(DataSetTwin, OntoALinkToItsSourceFailsBeforeAnyWork)
{
    load(fullDataSet());
    write("stray.txt", "stray");
    ASSERT_TRUE(QFile::link(inProject("site"), inProject("alias")));
    const DiskState before = onDisk();
    EXPECT_EQ(std::unique_ptr<PtCloudDataSet>(m_set.copy(QStringLiteral("alias"))), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

TEST_F(DataSetTwin, OntoALinkIntoItsSourceFailsBeforeAnyWork)
{
    load(fullDataSet());
    ASSERT_TRUE(QDir().mkpath(path("sub")));
    ASSERT_TRUE(QFile::link(path("sub"), inProject("alias")));
    const DiskState before = onDisk();
    EXPECT_EQ(std::unique_ptr<PtCloudDataSet>(m_set.copy(QStringLiteral("alias"))), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
}
#endif

TEST_F(DataSetTwin, OntoItselfFailsBeforeAnyWork)
{
    load(fullDataSet());
    write("stray.txt", "stray");
    openAll();
    const DiskState before = onDisk();
    EXPECT_EQ(std::unique_ptr<PtCloudDataSet>(m_set.copy(QStringLiteral("site"))), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_EQ(support::openContents(m_set).size(), 9);
}

TEST_F(DataSetTwin, OntoItselfFailsEvenWhereThePointsAreCorrupt)
{
    load(fullDataSet());
    write("Points", "corrupt");
    const DiskState before = onDisk();
    EXPECT_EQ(std::unique_ptr<PtCloudDataSet>(m_set.copy(QStringLiteral("site"))), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
}
