#include "DataSetDirectory.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

#include <memory>

using namespace ptCloud;
using support::bareDataSet;
using support::DiskState;
using support::diskState;
using support::fullDataSet;
using support::meshBytes;
using support::openContents;
using support::pointsBytes;
using support::sameDisk;

namespace
{

using DataSetPtr = std::unique_ptr<PtCloudDataSet>;
using FilePtr = std::unique_ptr<PtCloud_DataSetFile>;

class DataSetCopy : public support::DataSetTest
{
protected:
    DataSetPtr copy(const QString &name = QStringLiteral("twin")) { return DataSetPtr(m_set.copy(name)); }
    DiskState inTwin() const { return diskState(inProject("twin")); }
};

class DataSetPointsCopy : public support::DataSetTest
{
protected:
    void SetUp() override
    {
        DataSetTest::SetUp();
        load(fullDataSet());
        ASSERT_TRUE(m_set.getContent_PointDataSetFile()->openFile());
    }

    FilePtr copyPoints(const char *name) { return FilePtr(m_set.copyPoints(QLatin1String(name))); }

    /// Expects that no copy is made, nothing changes on disk, and the points are closed.
    void expectFailure(const QString &name)
    {
        ASSERT_TRUE(m_set.getContent_PointDataSetFile()->openFile());
        const DiskState before = onDisk();
        const FilePtr file(m_set.copyPoints(name));
        EXPECT_EQ(file, nullptr);
        EXPECT_FALSE(m_set.getContent_PointDataSetFile()->isOpened());
        EXPECT_TRUE(sameDisk(onDisk(), before));
        EXPECT_EQ(m_signals.take(), QStringList());
    }
};

} // namespace

TEST_F(DataSetCopy, IsALoadedDataSetOfItsOwn)
{
    load(fullDataSet());
    const DataSetPtr twin = copy();
    ASSERT_NE(twin, nullptr);
    EXPECT_EQ(twin->getName(), QStringLiteral("twin"));
    EXPECT_EQ(twin->parent(), nullptr);
    EXPECT_TRUE(sameDisk(inTwin(), fullDataSet()));
    const auto contents = support::contentsOf(*twin);
    EXPECT_EQ(contents.size(), 9);
    for (auto it = contents.cbegin(); it != contents.cend(); ++it)
        EXPECT_EQ((*it)->getFilepath(), inProject("twin/") + it.key());
    EXPECT_EQ(openContents(*twin), QStringList());
    ASSERT_NE(twin->getContent_Dem_HeightMap(), nullptr);
    EXPECT_NE(twin->getContent_EarthVolume()->getArea(QStringLiteral("pit")), nullptr);
}

TEST_F(DataSetCopy, LeavesTheSourceAsItIs)
{
    load(fullDataSet());
    openAll();
    const auto before = support::contentsOf(m_set);
    ASSERT_NE(copy(), nullptr);
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(support::contentsOf(m_set), before);
    EXPECT_EQ(openContents(m_set).size(), 9);
    EXPECT_FALSE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetCopy, HasNoConnections)
{
    load(fullDataSet());
    const DataSetPtr twin = copy();
    ASSERT_NE(twin, nullptr);
    twin->removeContent_AllMesh();
    twin->addContent_EarthVolume();
    EXPECT_EQ(m_signals.take(), QStringList());
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
}

TEST_F(DataSetCopy, IsMadeOfWhatIsOnDisk)
{
    load(fullDataSet());
    m_set.getContent_EarthVolume()->addArea(QStringLiteral("unsaved"));
    ASSERT_TRUE(QFile::remove(path("roof.mesh")));
    const DataSetPtr twin = copy();
    ASSERT_NE(twin, nullptr);
    EXPECT_EQ(twin->getContent_EarthVolume()->getArea(QStringLiteral("unsaved")), nullptr);
    EXPECT_EQ(twin->getContent_Meshs()->keys(), QStringList{QStringLiteral("wall")});
}

TEST_F(DataSetCopy, TakesSubdirectoriesAndHiddenFilesAndSweepsStrayOnes)
{
    load(fullDataSet());
    support::makeDirectory(path("sub/deep"), {{QStringLiteral("file"), "deep"}});
    write(".hidden", "hidden");
    write("stray.txt", "stray");
    write("tmp_points", pointsBytes(3));
    DiskState expected = inSite();
    ASSERT_NE(copy(), nullptr);
    EXPECT_TRUE(sameDisk(inSite(), expected)) << "the source is not swept";
    expected.remove(QStringLiteral("stray.txt"));
    expected.remove(QStringLiteral("tmp_points"));
    EXPECT_TRUE(sameDisk(inTwin(), expected));
}

TEST_F(DataSetCopy, OntoAnUnknownDirectoryOverwritesAndSweepsIt)
{
    load(fullDataSet());
    support::makeDirectory(inProject("twin"), {{QStringLiteral("Points"), pointsBytes(3)},
                                               {QStringLiteral("shed.mesh"), meshBytes(4)},
                                               {QStringLiteral("stray.txt"), "stray"}});
    const DataSetPtr twin = copy();
    ASSERT_NE(twin, nullptr);
    DiskState expected = fullDataSet();
    expected[QStringLiteral("shed.mesh")] = meshBytes(4);
    EXPECT_TRUE(sameDisk(inTwin(), expected));
    EXPECT_TRUE(twin->getContent_Meshs()->contains(QStringLiteral("shed")));
}

TEST_F(DataSetCopy, OfCorruptPointsFailsAndIsRemoved)
{
    load(fullDataSet());
    write("Points", "corrupt");
    write("stray.txt", "stray");
    const DiskState before = onDisk();
    EXPECT_EQ(copy(), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetCopy, WithoutPointsFailsAndIsRemoved)
{
    load(fullDataSet());
    ASSERT_TRUE(QFile::remove(path("Points")));
    const DiskState before = onDisk();
    EXPECT_EQ(copy(), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

TEST_F(DataSetCopy, ToTheNameOfAFileFailsAndTheFileStays)
{
    load(fullDataSet());
    const DiskState before = onDisk();
    EXPECT_EQ(copy(QStringLiteral("canary")), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

TEST_F(DataSetCopy, ThatStopsHalfwayLeavesWhatItHasCopied)
{
    load(fullDataSet());
    support::makeDirectory(inProject("twin/roof.mesh"), {{QStringLiteral("canary"), "kept"}});
    EXPECT_EQ(copy(), nullptr);
    EXPECT_EQ(support::readFile(inProject("twin/roof.mesh/canary")), "kept");
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetCopy, WithoutADirectoryFails)
{
    EXPECT_EQ(copy(), nullptr);
    load(fullDataSet());
    openAll();
    ASSERT_TRUE(QDir().rename(inProject("site"), inProject("away")));
    const DiskState before = onDisk();
    EXPECT_EQ(copy(), nullptr);
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_EQ(openContents(m_set).size(), 9);
}

TEST_F(DataSetCopy, OutlivesItsSource)
{
    load(fullDataSet());
    const DataSetPtr twin = copy();
    ASSERT_NE(twin, nullptr);
    m_set.removeFile();
    EXPECT_FALSE(QFileInfo::exists(inProject("site")));
    const DataSetPtr third(twin->copy(QStringLiteral("third")));
    ASSERT_NE(third, nullptr);
    EXPECT_TRUE(sameDisk(diskState(inProject("third")), fullDataSet()));
    EXPECT_TRUE(third->loadFromFile());
}

#ifdef Q_OS_UNIX
// A limit on the size of files stands for a full disk.
TEST_F(DataSetCopy, OntoAFullDiskFailsWithTheSourceWhole)
{
    DiskState files = fullDataSet();
    files[QStringLiteral("roof.mesh")] = meshBytes(11) + QByteArray(100000, '\0');
    load(files);
    {
        const support::FileSizeLimit limit(50000);
        ASSERT_TRUE(limit.holds());
        EXPECT_EQ(copy(), nullptr);
    }
    EXPECT_TRUE(sameDisk(inSite(), files));
    EXPECT_NE(copy(), nullptr) << "once there is room";
    EXPECT_TRUE(sameDisk(inTwin(), files));
}

TEST_F(DataSetPointsCopy, OntoAFullDiskFailsWithThePointsWhole)
{
    const QByteArray large = pointsBytes(10) + QByteArray(100000, '\0');
    write("Points", large);
    {
        const support::FileSizeLimit limit(50000);
        ASSERT_TRUE(limit.holds());
        EXPECT_EQ(copyPoints("roof.mesh"), nullptr);
    }
    EXPECT_FALSE(m_set.getContent_PointDataSetFile()->isOpened());
    EXPECT_EQ(support::readFile(path("Points")), large);
}
#endif

TEST_F(DataSetPointsCopy, OverwritesAFileThatIsThere)
{
    write("draft", "draft");
    const FilePtr file = copyPoints("draft");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->getFilepath(), path("draft"));
    EXPECT_FALSE(file->isOpened());
    EXPECT_FALSE(m_set.getContent_PointDataSetFile()->isOpened());
    DiskState expected = fullDataSet();
    expected[QStringLiteral("draft")] = pointsBytes(10);
    EXPECT_TRUE(sameDisk(inSite(), expected));
    ASSERT_TRUE(file->openFile());
    EXPECT_EQ(support::pointsIn(*file), 10);
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetPointsCopy, IsInNoList)
{
    write("draft.mesh", "draft");
    const auto before = support::contentsOf(m_set);
    const FilePtr file = copyPoints("draft.mesh");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(support::contentsOf(m_set), before);
}

TEST_F(DataSetPointsCopy, ClosesNothingButThePoints)
{
    openAll();
    write("draft", "draft");
    ASSERT_NE(copyPoints("draft"), nullptr);
    EXPECT_EQ(openContents(m_set).size(), 8);
    EXPECT_FALSE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
}

TEST_F(DataSetPointsCopy, ToAFileThatIsNotThereFails)
{
    expectFailure(QStringLiteral("draft"));
}

TEST_F(DataSetPointsCopy, ToADirectoryFails)
{
    support::makeDirectory(path("draft"), {{QStringLiteral("canary"), "kept"}});
    expectFailure(QStringLiteral("draft"));
    ASSERT_TRUE(QDir().mkpath(path("empty")));
    expectFailure(QStringLiteral("empty"));
}

TEST_F(DataSetPointsCopy, OntoThePointsThemselvesFailsAndRemovesNothing)
{
    expectFailure(QStringLiteral("Points"));
}

#ifdef Q_OS_UNIX
TEST_F(DataSetPointsCopy, OntoALinkToThePointsFailsAndRemovesNothing)
{
    ASSERT_TRUE(QFile::link(path("Points"), path("alias")));
    expectFailure(QStringLiteral("alias"));
}
#endif

TEST_F(DataSetPointsCopy, WithoutPointsFails)
{
    write("draft", "draft");
    ASSERT_TRUE(QFile::remove(path("Points")));
    EXPECT_EQ(copyPoints("draft"), nullptr);
    EXPECT_FALSE(m_set.getContent_PointDataSetFile()->isOpened());
}

TEST_F(DataSetPointsCopy, WithoutADirectoryFailsAndClosesNothing)
{
    ASSERT_TRUE(QDir().rename(inProject("site"), inProject("away")));
    EXPECT_EQ(copyPoints("roof.mesh"), nullptr);
    EXPECT_TRUE(m_set.getContent_PointDataSetFile()->isOpened());
    PtCloudDataSet other;
    EXPECT_EQ(other.copyPoints(QStringLiteral("roof.mesh")), nullptr);
}
