#include "DataSetDirectory.h"

#include <gtest/gtest.h>

#include <string>

using namespace ptCloud;
using support::bareDataSet;
using support::DiskState;
using support::fullDataSet;
using support::meshBytes;
using support::openContents;
using support::pictureBytes;
using support::pointsBytes;
using support::sameDisk;
using support::sampleContours;

namespace
{

/// One of the three terrain contents that have signals.
struct TerrainContent
{
    const char *name;
    const char *fileName;
    QByteArray (*bytes)();
    void (PtCloudDataSet::*attach)();
    void (PtCloudDataSet::*remove)();
    QString (*path)(const PtCloudDataSet &); ///< the path that the object holds

    QString line(const char *what) const
    {
        return QStringLiteral("sgContent%1_Dem_%2(site)").arg(QLatin1String(what), QLatin1String(name));
    }
    QString added() const { return line("Added"); }
    QString removed() const { return line("Removed"); }
};

void PrintTo(const TerrainContent &content, std::ostream *out)
{
    *out << content.name;
}

const TerrainContent terrainContents[] = {
    {"Mesh", "dem.demmesh", [] { return meshBytes(13); }, &PtCloudDataSet::setContent_Dem_Mesh,
     &PtCloudDataSet::removeContent_Dem_Mesh,
     [](const PtCloudDataSet &set) { return set.getContent_Dem_Mesh()->getFilepath(); }},
    {"Contour", "dem.contour", [] { return sampleContours().bytes(); }, &PtCloudDataSet::setContent_Dem_Contour,
     &PtCloudDataSet::removeContent_Dem_Contour,
     [](const PtCloudDataSet &set) { return set.getContent_Dem_Contour()->getFilepath(); }},
    {"Classify", "dem.classify", [] { return pointsBytes(14); }, &PtCloudDataSet::setContent_Dem_Classify,
     &PtCloudDataSet::removeContent_Dem_Classify,
     [](const PtCloudDataSet &set) { return set.getContent_Dem_Classify()->getFilepath(); }},
};

class DataSetTerrain : public support::DataSetTest, public ::testing::WithParamInterface<TerrainContent>
{
protected:
    QString itsPath() const { return GetParam().path(m_set); }
    void attach() { (m_set.*GetParam().attach)(); }
    void remove() { (m_set.*GetParam().remove)(); }
    void writeIt(const QByteArray &bytes) const { write(GetParam().fileName, bytes); }
    bool isOnDisk() const { return QFileInfo::exists(path(GetParam().fileName)); }

    void expectClosed() const
    {
        EXPECT_EQ(openContents(m_set), QStringList());
        EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
        EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup2().isEmpty());
    }
};

using DataSetHeightMap = support::DataSetTest;
using DataSetAllTerrain = support::DataSetTest;

} // namespace

INSTANTIATE_TEST_SUITE_P(Contents, DataSetTerrain, ::testing::ValuesIn(terrainContents), support::CaseName());

TEST_P(DataSetTerrain, AWrittenFileIsAttachedClosedAndTold)
{
    setDir();
    writeIt(GetParam().bytes());
    attach();
    EXPECT_EQ(itsPath(), path(GetParam().fileName));
    expectClosed();
    EXPECT_EQ(m_signals.take(), QStringList{GetParam().added()});
}

TEST_P(DataSetTerrain, AttachingAgainClosesWhatIsOpen)
{
    load(fullDataSet());
    openAll();
    attach();
    EXPECT_EQ(itsPath(), path(GetParam().fileName));
    EXPECT_FALSE(openContents(m_set).contains(QLatin1String(GetParam().fileName)));
    if (GetParam().fileName == std::string("dem.contour")) {
        EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
    }
    EXPECT_EQ(m_signals.take(), QStringList{GetParam().added()});
}

TEST_P(DataSetTerrain, AMissingFileLeavesItAbsentWithoutASignal)
{
    setDir();
    attach();
    EXPECT_EQ(itsPath(), QString());
    expectClosed();
    EXPECT_EQ(m_signals.take(), QStringList());
    EXPECT_FALSE(isOnDisk());
}

TEST_P(DataSetTerrain, AFileThatVanishedBecomesAbsent)
{
    load(fullDataSet());
    ASSERT_TRUE(QFile::remove(path(GetParam().fileName)));
    attach();
    EXPECT_EQ(itsPath(), QString());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetTerrain, ABrokenFileStaysOnDiskUnattached)
{
    setDir();
    writeIt(QByteArray::fromHex("0000000200000000"));
    attach();
    EXPECT_EQ(itsPath(), QString());
    expectClosed();
    EXPECT_TRUE(isOnDisk());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetTerrain, ADirectoryInThePlaceIsNotAttached)
{
    setDir();
    ASSERT_TRUE(QDir().mkpath(path(GetParam().fileName)));
    attach();
    EXPECT_EQ(itsPath(), QString());
    expectClosed();
    EXPECT_TRUE(isOnDisk());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetTerrain, RemovingTakesTheFileAndTells)
{
    load(fullDataSet());
    openAll();
    remove();
    EXPECT_EQ(itsPath(), QString());
    EXPECT_FALSE(openContents(m_set).contains(QLatin1String(GetParam().fileName)));
    DiskState expected = fullDataSet();
    expected.remove(QLatin1String(GetParam().fileName));
    EXPECT_TRUE(sameDisk(inSite(), expected));
    EXPECT_EQ(m_signals.take(), QStringList{GetParam().removed()});
}

TEST_P(DataSetTerrain, RemovingWhatIsAbsentTellsAllTheSame)
{
    setDir();
    remove();
    remove();
    EXPECT_EQ(itsPath(), QString());
    EXPECT_EQ(m_signals.take(), (QStringList{GetParam().removed(), GetParam().removed()}));
}

TEST_P(DataSetTerrain, AFileThatIsNotAttachedIsNotRemoved)
{
    setDir();
    writeIt(QByteArray::fromHex("0000000200000000"));
    attach();
    remove();
    EXPECT_TRUE(isOnDisk());
    EXPECT_EQ(m_signals.take(), QStringList{GetParam().removed()});
}

TEST_P(DataSetTerrain, EverythingIsDoneWhenASignalComes)
{
    setDir();
    writeIt(GetParam().bytes());
    QStringList paths;
    QObject probe;
    const auto note = [&] { paths.append(itsPath()); };
    QObject::connect(&m_set, &PtCloudDataSet::sgContentAdded_Dem_Mesh, &probe, note);
    QObject::connect(&m_set, &PtCloudDataSet::sgContentAdded_Dem_Contour, &probe, note);
    QObject::connect(&m_set, &PtCloudDataSet::sgContentAdded_Dem_Classify, &probe, note);
    QObject::connect(&m_set, &PtCloudDataSet::sgContentRemoved_Dem_Mesh, &probe, note);
    QObject::connect(&m_set, &PtCloudDataSet::sgContentRemoved_Dem_Contour, &probe, note);
    QObject::connect(&m_set, &PtCloudDataSet::sgContentRemoved_Dem_Classify, &probe, note);
    attach();
    remove();
    EXPECT_EQ(paths, (QStringList{path(GetParam().fileName), QString()}));
}

TEST_P(DataSetTerrain, WithoutADirectoryNothingIsAttachedRemovedOrTold)
{
    load(fullDataSet());
    ASSERT_TRUE(QDir().rename(inProject("site"), inProject("moved")));
    const QString before = itsPath();
    attach();
    remove();
    EXPECT_EQ(itsPath(), before);
    EXPECT_EQ(m_signals.take(), QStringList());
    EXPECT_TRUE(sameDisk(support::diskState(inProject("moved")), fullDataSet()));
}

// Something other than a file keeps the path from being taken, and then nothing more is done.
TEST_F(DataSetAllTerrain, AMeshWhoseFileBecameADirectoryKeepsItsPath)
{
    load(fullDataSet());
    ASSERT_TRUE(QFile::remove(path("dem.demmesh")));
    ASSERT_TRUE(QDir().mkpath(path("dem.demmesh")));
    m_set.setContent_Dem_Mesh();
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), path("dem.demmesh"));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetAllTerrain, ClassesWhoseFileBecameADirectoryAreAbsent)
{
    load(fullDataSet());
    ASSERT_TRUE(QFile::remove(path("dem.classify")));
    ASSERT_TRUE(QDir().mkpath(path("dem.classify")));
    m_set.setContent_Dem_Classify();
    EXPECT_EQ(m_set.getContent_Dem_Classify()->getFilepath(), QString());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetAllTerrain, IsRemovedInAFixedOrder)
{
    load(fullDataSet());
    m_set.removeContent_AllDem();
    DiskState expected = fullDataSet();
    for (const char *name : {"dem.demmesh", "dem.height.png", "dem.contour", "dem.classify"})
        expected.remove(QLatin1String(name));
    EXPECT_TRUE(sameDisk(inSite(), expected));
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), nullptr);
    const QStringList removals = {QStringLiteral("sgContentRemoved_Dem_Mesh(site)"),
                                  QStringLiteral("sgContentRemoved_Dem_Contour(site)"),
                                  QStringLiteral("sgContentRemoved_Dem_Classify(site)")};
    EXPECT_EQ(m_signals.take(), removals);
    m_set.removeContent_AllDem();
    EXPECT_EQ(m_signals.take(), removals) << "also where there is none";
}

TEST_F(DataSetHeightMap, IsReadWithoutASignal)
{
    setDir();
    write("dem.height.png", pictureBytes(5));
    m_set.setContent_Dem_HeightMap();
    ASSERT_NE(m_set.getContent_Dem_HeightMap(), nullptr);
    EXPECT_EQ(m_set.getContent_Dem_HeightMap()->size(), QSize(3, 5));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetHeightMap, IsReplacedByTheFileOfTheTime)
{
    load(fullDataSet());
    write("dem.height.png", pictureBytes(8));
    m_set.setContent_Dem_HeightMap();
    ASSERT_NE(m_set.getContent_Dem_HeightMap(), nullptr);
    EXPECT_EQ(m_set.getContent_Dem_HeightMap()->height(), 8);
    write("dem.height.png", "no picture");
    m_set.setContent_Dem_HeightMap();
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), nullptr);
    EXPECT_EQ(support::readFile(path("dem.height.png")), "no picture");
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetHeightMap, IsAbsentWithoutAFile)
{
    load(fullDataSet());
    ASSERT_TRUE(QFile::remove(path("dem.height.png")));
    m_set.setContent_Dem_HeightMap();
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), nullptr);
}

TEST_F(DataSetHeightMap, IsRemovedWithItsFileWithoutASignal)
{
    load(fullDataSet());
    m_set.removeContent_Dem_HeightMap();
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), nullptr);
    EXPECT_FALSE(QFileInfo::exists(path("dem.height.png")));
    m_set.removeContent_Dem_HeightMap();
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetHeightMap, TheFileIsRemovedEvenWhereItIsNoPicture)
{
    load(bareDataSet());
    write("dem.height.png", "no picture");
    m_set.removeContent_Dem_HeightMap();
    EXPECT_TRUE(sameDisk(inSite(), bareDataSet()));
}

TEST_F(DataSetHeightMap, StaysAsItIsWithoutADirectory)
{
    load(fullDataSet());
    ASSERT_TRUE(QDir().rename(inProject("site"), inProject("moved")));
    const QImage *before = m_set.getContent_Dem_HeightMap();
    m_set.setContent_Dem_HeightMap();
    m_set.removeContent_Dem_HeightMap();
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), before);
    EXPECT_TRUE(QFileInfo::exists(inProject("moved/dem.height.png")));
}
