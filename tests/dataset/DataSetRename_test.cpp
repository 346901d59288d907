#include "DataSetDirectory.h"

#include <gtest/gtest.h>

using namespace ptCloud;
using support::bareDataSet;
using support::contentsOf;
using support::DiskState;
using support::diskState;
using support::fullDataSet;
using support::meshBytes;
using support::openContents;
using support::pointsIn;
using support::sameDisk;

namespace
{

class DataSetRename : public support::DataSetTest
{
protected:
    QString newPath(const char *file) const { return inProject("moved/") + QLatin1String(file); }
    bool rename() { return m_set.rename(QStringLiteral("moved")); }

    /// Expects that the name could not be taken: everything is closed, and all is where it was.
    void expectFailure(const QString &newName)
    {
        openAll();
        const DiskState before = onDisk();
        EXPECT_FALSE(m_set.rename(newName));
        EXPECT_EQ(openContents(m_set), QStringList());
        EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
        EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
        const auto contents = contentsOf(m_set);
        for (auto it = contents.cbegin(); it != contents.cend(); ++it)
            EXPECT_EQ((*it)->getFilepath(), inProject("site/") + it.key());
        EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), path("dem.contour"));
        EXPECT_NE(m_set.getContent_Dem_HeightMap(), nullptr);
        EXPECT_TRUE(sameDisk(onDisk(), before));
        EXPECT_EQ(m_signals.take(), QStringList());
    }
};

} // namespace

TEST_F(DataSetRename, MovesTheDirectoryAndEveryPath)
{
    load(fullDataSet());
    ASSERT_TRUE(rename());
    EXPECT_EQ(m_set.getName(), QStringLiteral("moved"));
    EXPECT_FALSE(QFileInfo::exists(inProject("site")));
    EXPECT_TRUE(sameDisk(diskState(inProject("moved")), fullDataSet()));
    const auto contents = contentsOf(m_set);
    EXPECT_EQ(contents.size(), 9);
    for (auto it = contents.cbegin(); it != contents.cend(); ++it)
        EXPECT_EQ((*it)->getFilepath(), inProject("moved/") + it.key());
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), newPath("dem.contour"));
    EXPECT_EQ(m_set.getFilePath_Points(), newPath("Points"));
    EXPECT_EQ(openContents(m_set), QStringList());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetRename, OpensAgainWhatWasOpenExceptTheContours)
{
    load(fullDataSet());
    openAll();
    const QStringList before = openContents(m_set);
    ASSERT_EQ(before.size(), 9);
    ASSERT_TRUE(rename());
    EXPECT_EQ(openContents(m_set), before);
    EXPECT_EQ(pointsIn(*m_set.getContent_PointDataSetFile()), 10);
    EXPECT_EQ(pointsIn(*m_set.getContent_Meshs()->value(QStringLiteral("wall"))), 12);
    EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
    EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup2().isEmpty());
    EXPECT_TRUE(m_set.getContent_Dem_Contour()->openFile());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetRename, FindsAContentWhoseNameHasAColonInFront)
{
    DiskState files = bareDataSet();
    files[QStringLiteral(":a.mesh")] = meshBytes(3);
    load(files);
    ASSERT_TRUE(rename());
    PtCloud_DataSetFile *const mesh = m_set.getContent_Meshs()->value(QStringLiteral(":a"));
    ASSERT_NE(mesh, nullptr);
    EXPECT_TRUE(mesh->openFile());
}

TEST_F(DataSetRename, OpensNothingElse)
{
    load(fullDataSet());
    const auto contents = contentsOf(m_set);
    for (const QString &name : contents.keys()) {
        ASSERT_TRUE(contents[name]->openFile());
        ASSERT_TRUE(m_set.rename(QStringLiteral("for ") + name));
        EXPECT_EQ(openContents(m_set), QStringList{name});
        contents[name]->closeFile();
    }
}

TEST_F(DataSetRename, KeepsTheObjectsAndWhatIsOnlyInMemory)
{
    load(fullDataSet());
    const auto before = contentsOf(m_set);
    const QImage *heightMap = m_set.getContent_Dem_HeightMap();
    m_set.getContent_EarthVolume()->addArea(QStringLiteral("unsaved"));
    ASSERT_TRUE(rename());
    EXPECT_EQ(contentsOf(m_set), before);
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), heightMap);
    EXPECT_EQ(heightMap->height(), 5);
    EXPECT_NE(m_set.getContent_EarthVolume()->getArea(QStringLiteral("unsaved")), nullptr);
}

TEST_F(DataSetRename, TheVolumeListIsSavedInTheNewPlaceAndKeepsItsSources)
{
    load(fullDataSet());
    VolumeCalcAreaList *list = m_set.getContent_EarthVolume();
    list->setDTMFile(m_set.getContent_Meshs()->value(QStringLiteral("roof")));
    ASSERT_TRUE(rename());
    EXPECT_TRUE(list->doCalc(VolumeCalc_DTM));
    list->clear();
    ASSERT_TRUE(list->saveToFile());
    EXPECT_EQ(support::readFile(newPath("earth.volume")), QByteArray::fromHex("0000000200000000"));
    EXPECT_FALSE(QFileInfo::exists(inProject("site")));
}

TEST_F(DataSetRename, GivesPathsToAbsentTerrainContents)
{
    load(bareDataSet());
    ASSERT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), QString());
    ASSERT_TRUE(rename());
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), newPath("dem.demmesh"));
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), newPath("dem.contour"));
    EXPECT_EQ(m_set.getContent_Dem_Classify()->getFilepath(), newPath("dem.classify"));
    EXPECT_TRUE(sameDisk(diskState(inProject("moved")), bareDataSet()));
}

TEST_F(DataSetRename, APlaceOfItsOwnIsLostToTheRuleOfTheNames)
{
    load(bareDataSet());
    auto *file = new PtCloud_DataSetFile;
    ASSERT_TRUE(file->setFile(inProject("elsewhere")));
    m_set.addContent_Mesh(QStringLiteral("roof"), file);
    m_signals.take();
    ASSERT_TRUE(rename());
    EXPECT_EQ(file->getFilepath(), newPath("roof.mesh"));
}

TEST_F(DataSetRename, AFileThatVanishedIsNotOpenedAgainAndNothingIsSaid)
{
    load(fullDataSet());
    openAll();
    ASSERT_TRUE(QFile::remove(path("roof.mesh")));
    ASSERT_TRUE(QFile::remove(path("Points")));
    ASSERT_TRUE(rename());
    EXPECT_FALSE(m_set.getContent_PointDataSetFile()->isOpened());
    EXPECT_FALSE(m_set.getContent_Meshs()->value(QStringLiteral("roof"))->isOpened());
    EXPECT_TRUE(m_set.getContent_Meshs()->value(QStringLiteral("wall"))->isOpened());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetRename, ToTheNameOfADirectoryFailsWithAllClosed)
{
    load(fullDataSet());
    support::makeDirectory(inProject("moved"), {{QStringLiteral("canary"), "kept"}});
    expectFailure(QStringLiteral("moved"));
}

TEST_F(DataSetRename, ToTheNameOfAnEmptyDirectoryFailsWithAllClosed)
{
    load(fullDataSet());
    ASSERT_TRUE(QDir().mkpath(inProject("moved")));
    expectFailure(QStringLiteral("moved"));
}

TEST_F(DataSetRename, ToTheNameOfAFileFailsWithAllClosed)
{
    load(fullDataSet());
    expectFailure(QStringLiteral("canary"));
}

TEST_F(DataSetRename, ToANameTooLongForTheDiskFailsWithAllClosed)
{
    load(fullDataSet());
    expectFailure(QString(300, QLatin1Char('x')));
}

TEST_F(DataSetRename, WorksAgainAfterAFailure)
{
    load(fullDataSet());
    expectFailure(QStringLiteral("canary"));
    ASSERT_TRUE(rename());
    openAll();
    ASSERT_TRUE(m_set.rename(QStringLiteral("site")));
    EXPECT_EQ(openContents(m_set).size(), 9);
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
}

TEST_F(DataSetRename, WithoutADirectoryFailsAndClosesNothing)
{
    EXPECT_FALSE(rename());
    load(fullDataSet());
    openAll();
    ASSERT_TRUE(QDir().rename(inProject("site"), inProject("away")));
    EXPECT_FALSE(rename());
    EXPECT_EQ(openContents(m_set).size(), 9);
    EXPECT_FALSE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetRename, TheRenamedDataSetLoads)
{
    load(fullDataSet());
    ASSERT_TRUE(rename());
    ASSERT_TRUE(m_set.loadFromFile());
    EXPECT_EQ(contentsOf(m_set).size(), 9);
    EXPECT_TRUE(sameDisk(diskState(inProject("moved")), fullDataSet()));
}
