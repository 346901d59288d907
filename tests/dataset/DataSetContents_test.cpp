#include "DataSetDirectory.h"

#include <gtest/gtest.h>

#include <memory>

using namespace ptCloud;
using support::bareDataSet;
using support::ContentFamily;
using support::DiskState;
using support::fullDataSet;
using support::meshBytes;
using support::openContents;
using support::pointsBytes;
using support::sameDisk;
using support::writeFile;

namespace
{

using DataSetContents = support::DataSetTest;

class DataSetFamily : public support::DataSetTest, public ::testing::WithParamInterface<ContentFamily>
{
protected:
    PtCloud_DataSetFile *create(const char *name) { return (m_set.*GetParam().create)(QLatin1String(name)); }
    void add(const char *name, PtCloud_DataSetFile *file) { (m_set.*GetParam().add)(QLatin1String(name), file); }
    void remove(const char *name) { (m_set.*GetParam().remove)(QLatin1String(name)); }
    const QMap<QString, PtCloud_DataSetFile *> &files() { return *(m_set.*GetParam().files)(); }

    QString filePath(const char *name) const { return inProject("site/") + GetParam().fileName(QLatin1String(name)); }
    /// Puts a file where a new content of this name belongs, and adds it.
    PtCloud_DataSetFile *addWritten(const char *name)
    {
        EXPECT_TRUE(writeFile(filePath(name), pointsBytes(20)));
        PtCloud_DataSetFile *file = create(name);
        EXPECT_NE(file, nullptr);
        add(name, file);
        return file;
    }
    QString added(const char *name) const { return line(GetParam().addedSignal, name); }
    QString removed(const char *name) const { return line(GetParam().removedSignal, name); }

private:
    static QString line(const char *signal, const char *name)
    {
        return QStringLiteral("%1(site, %2)").arg(QLatin1String(signal), QLatin1String(name));
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Families, DataSetFamily, ::testing::ValuesIn(support::contentFamilies()), support::CaseName());

TEST(NewDataSet, HoldsNothing)
{
    const PtCloudDataSet dataSet;
    EXPECT_EQ(dataSet.getName(), QString());
    EXPECT_EQ(dataSet.parent(), nullptr);
    support::expectNoContents(dataSet);
    EXPECT_EQ(dataSet.getContent_PointDataSetFile()->getFilepath(), QString());
    EXPECT_EQ(dataSet.getContent_Dem_Mesh()->getFilepath(), QString());
    EXPECT_EQ(dataSet.getContent_Dem_Classify()->getFilepath(), QString());
    EXPECT_EQ(dataSet.getContent_Dem_Contour()->getFilepath(), QString());
}

TEST_F(DataSetContents, SetDirMakesTheDirectoryAndPlacesThePoints)
{
    setDir();
    EXPECT_TRUE(QFileInfo(inProject("site")).isDir());
    EXPECT_TRUE(inSite().isEmpty());
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(m_set.getContent_PointDataSetFile()->getFilepath(), path("Points"));
    EXPECT_FALSE(m_set.getContent_PointDataSetFile()->isOpened());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetContents, SetDirTakesAnExistingDirectoryAsItIs)
{
    support::makeDirectory(inProject("site"), fullDataSet());
    setDir();
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
    EXPECT_TRUE(m_set.getContent_Meshs()->isEmpty());
}

TEST_F(DataSetContents, SetDirUnderAMissingParentMakesNothingButKeepsTheNames)
{
    const DiskState before = onDisk();
    m_set.setDir(inProject("missing"), QStringLiteral("site"));
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    ASSERT_TRUE(QDir().mkpath(inProject("missing/site")));
    EXPECT_EQ(m_set.getFilePath_Points(), inProject("missing/site/Points")) << "the parent was kept too";
}

TEST_F(DataSetContents, SetDirStopsWhereAFileStands)
{
    const DiskState before = onDisk();
    m_set.setDir(project(), QStringLiteral("canary"));
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_EQ(m_set.getName(), QStringLiteral("canary"));
    EXPECT_EQ(m_set.getContent_PointDataSetFile()->getFilepath(), QString());
    EXPECT_EQ(m_set.getFilePath_Points(), QString());
}

TEST_F(DataSetContents, SetDirWithoutAParentKeepsTheName)
{
    m_set.setDir(QString(), QStringLiteral("site"));
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(m_set.getFilePath_Points(), QString());
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("site")));
}

TEST_F(DataSetContents, PathsLieInTheDirectory)
{
    setDir();
    EXPECT_EQ(m_set.getFilePath_Points(), path("Points"));
    EXPECT_EQ(m_set.getFilePath_Dem_Mesh(), path("dem.demmesh"));
    EXPECT_EQ(m_set.getFilePath_Dem_HeightMap(), path("dem.height.png"));
    EXPECT_EQ(m_set.getFilePath_Dem_Contour(), path("dem.contour"));
    EXPECT_EQ(m_set.getFilePath_Dem_Classify(), path("dem.classify"));
}

TEST_F(DataSetContents, PathsAreAbsoluteUnderARelativeParent)
{
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(root()));
    m_set.setDir(QStringLiteral("outer/project"), QStringLiteral("site"));
    const QString points = m_set.getFilePath_Points();
    const QString created = m_set.createEmptyLocatedContent_Points();
    EXPECT_TRUE(QDir::setCurrent(before));
    EXPECT_TRUE(QDir::isAbsolutePath(points));
    EXPECT_EQ(QFileInfo(points).absolutePath(), QFileInfo(inProject("site")).canonicalFilePath());
    EXPECT_TRUE(created.endsWith(QLatin1String("/project/site/tmp_points")));
}

TEST_F(DataSetContents, NewTerrainContentsAreToBeWrittenInTheirFinalPlaces)
{
    setDir();
    EXPECT_EQ(m_set.createEmptyLocatedContent_Points(), path("tmp_points"));
    EXPECT_EQ(m_set.createEmptyLocatedContent_Dem_Mesh(), path("dem.demmesh"));
    EXPECT_EQ(m_set.createEmptyLocatedContent_Dem_HeightMap(), path("dem.height.png"));
    EXPECT_EQ(m_set.createEmptyLocatedContent_Dem_Contour(), path("dem.contour"));
    EXPECT_EQ(m_set.createEmptyLocatedContent_Dem_Classify(), path("dem.classify"));
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), QString()) << "asking changes nothing";
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), QString());
    EXPECT_EQ(m_set.getContent_Dem_Classify()->getFilepath(), QString());
    EXPECT_TRUE(inSite().isEmpty());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetContents, TheVolumeSignalsChangeNothing)
{
    load(fullDataSet());
    m_set.addContent_EarthVolume();
    m_set.removeContent_EarthVolume();
    EXPECT_EQ(m_signals.take(), (QStringList{QStringLiteral("sgContentAdded_EarthVolume(site)"),
                                             QStringLiteral("sgContentRemoved_EarthVolume(site)")}));
    EXPECT_NE(m_set.getContent_EarthVolume()->getArea(QStringLiteral("pit")), nullptr);
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
}

TEST_F(DataSetContents, SavingWritesTheVolumeListAlone)
{
    load(bareDataSet());
    ASSERT_TRUE(m_set.saveToFile());
    DiskState expected = bareDataSet();
    expected[QStringLiteral("earth.volume")] = QByteArray::fromHex("0000000200000000");
    EXPECT_TRUE(sameDisk(inSite(), expected));

    m_set.getContent_EarthVolume()->addArea(QStringLiteral("pit"));
    ASSERT_TRUE(m_set.saveToFile());
    expected[QStringLiteral("earth.volume")] = support::volumeBytes(QStringLiteral("pit"));
    EXPECT_TRUE(sameDisk(inSite(), expected));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_F(DataSetContents, SavingIsTrueEvenWhereTheVolumeListCannotBeWritten)
{
    load(bareDataSet());
    ASSERT_TRUE(QDir().mkpath(path("earth.volume")));
    EXPECT_TRUE(m_set.saveToFile());
}

TEST_F(DataSetContents, TheFamiliesKeepTheirNamesApart)
{
    setDir();
    for (const ContentFamily &family : support::contentFamilies()) {
        PtCloud_DataSetFile *file = (m_set.*family.create)(QStringLiteral("same"));
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(file->getFilepath(), inProject("site/") + family.fileName(QStringLiteral("same")));
        (m_set.*family.add)(QStringLiteral("same"), file);
    }
    m_set.removeContent_Split(QStringLiteral("same"));
    EXPECT_TRUE(m_set.getContent_Meshs()->contains(QStringLiteral("same")));
    EXPECT_TRUE(m_set.getContent_Splits()->isEmpty());
    EXPECT_TRUE(m_set.getContent_Cuts()->contains(QStringLiteral("same")));
}

TEST_P(DataSetFamily, ANewFileIsTheCallersAndTouchesNothing)
{
    setDir();
    const std::unique_ptr<PtCloud_DataSetFile> file(create("new"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->getFilepath(), filePath("new"));
    EXPECT_FALSE(file->isOpened());
    EXPECT_TRUE(files().isEmpty());
    EXPECT_TRUE(inSite().isEmpty());
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetFamily, ANameInUseGivesNoNewFile)
{
    setDir();
    addWritten("taken");
    EXPECT_EQ(create("taken"), nullptr);
    const std::unique_ptr<PtCloud_DataSetFile> otherCase(create("Taken"));
    EXPECT_NE(otherCase, nullptr) << "names are compared letter for letter";
}

TEST_P(DataSetFamily, ADirectoryInThePlaceGivesNoNewFile)
{
    setDir();
    ASSERT_TRUE(QDir().mkpath(filePath("new")));
    EXPECT_EQ(create("new"), nullptr);
}

TEST_P(DataSetFamily, AnUnlistedFileInThePlaceIsTaken)
{
    setDir();
    ASSERT_TRUE(writeFile(filePath("new"), pointsBytes(9)));
    const std::unique_ptr<PtCloud_DataSetFile> file(create("new"));
    ASSERT_NE(file, nullptr);
    ASSERT_TRUE(file->openFile());
    EXPECT_EQ(support::pointsIn(*file), 9);
}

TEST_P(DataSetFamily, AnAddedFileIsListedAndTold)
{
    setDir();
    PtCloud_DataSetFile *file = addWritten("new");
    EXPECT_EQ(files(), (QMap<QString, PtCloud_DataSetFile *>{{QStringLiteral("new"), file}}));
    EXPECT_FALSE(file->isOpened());
    EXPECT_EQ(m_signals.take(), QStringList{added("new")});
}

TEST_P(DataSetFamily, AnAddedFileTakesThePlaceOfTheOneOfThatName)
{
    setDir();
    addWritten("same");
    m_signals.take();
    auto *second = new PtCloud_DataSetFile;
    ASSERT_TRUE(second->setFile(path("elsewhere")));
    add("same", second);
    EXPECT_EQ(files().value(QStringLiteral("same")), second);
    EXPECT_EQ(second->getFilepath(), path("elsewhere")) << "the file stays where the host has put it";
    EXPECT_EQ(support::readFile(filePath("same")), pointsBytes(20)) << "only the object is replaced";
    EXPECT_EQ(m_signals.take(), QStringList{added("same")});
}

TEST_P(DataSetFamily, TheSameFileAddedAgainIsKept)
{
    setDir();
    PtCloud_DataSetFile *file = addWritten("same");
    m_signals.take();
    add("same", file);
    EXPECT_EQ(files().value(QStringLiteral("same")), file);
    EXPECT_TRUE(file->openFile());
    EXPECT_EQ(m_signals.take(), QStringList{added("same")});
}

TEST_P(DataSetFamily, NoFileIsNotAdded)
{
    setDir();
    add("none", nullptr);
    EXPECT_TRUE(files().isEmpty());
    PtCloud_DataSetFile *file = addWritten("same");
    m_signals.take();
    add("same", nullptr);
    EXPECT_EQ(files().value(QStringLiteral("same")), file);
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetFamily, ARemovedFileIsGoneFromListAndDisk)
{
    load(fullDataSet());
    addWritten("new");
    addWritten("other");
    const auto before = files().size();
    m_signals.take();
    ASSERT_TRUE(files().value(QStringLiteral("new"))->openFile());
    remove("new");
    EXPECT_EQ(files().size(), before - 1);
    EXPECT_FALSE(files().contains(QStringLiteral("new")));
    DiskState expected = fullDataSet();
    expected[GetParam().fileName(QStringLiteral("other"))] = pointsBytes(20);
    EXPECT_TRUE(sameDisk(inSite(), expected));
    EXPECT_EQ(m_signals.take(), QStringList{removed("new")});
}

TEST_P(DataSetFamily, AnUnknownNameIsNotRemoved)
{
    load(fullDataSet());
    ASSERT_TRUE(writeFile(filePath("unlisted"), pointsBytes(3)));
    const DiskState before = inSite();
    for (const char *name : {"missing", "unlisted", "ROOF", ""})
        remove(name);
    EXPECT_TRUE(sameDisk(inSite(), before));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetFamily, AFileThatHasVanishedIsRemovedAllTheSame)
{
    setDir();
    addWritten("new");
    m_signals.take();
    ASSERT_TRUE(QFile::remove(filePath("new")));
    remove("new");
    EXPECT_TRUE(files().isEmpty());
    EXPECT_EQ(m_signals.take(), QStringList{removed("new")});
}

TEST_P(DataSetFamily, AllAreRemovedInTheOrderOfTheirNames)
{
    setDir();
    for (const char *name : {"b", "c", "a", "B"})
        addWritten(name);
    m_signals.take();
    (m_set.*GetParam().removeAll)();
    EXPECT_TRUE(files().isEmpty());
    EXPECT_TRUE(inSite().isEmpty());
    EXPECT_EQ(m_signals.take(), (QStringList{removed("B"), removed("a"), removed("b"), removed("c")}));
    (m_set.*GetParam().removeAll)();
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetFamily, EverythingIsDoneWhenASignalComes)
{
    setDir();
    int calls = 0;
    QObject::connect(&m_set, GetParam().added, &m_set, [&](const QString &, const QString &name) {
        ++calls;
        EXPECT_TRUE(files().contains(name));
    });
    QObject::connect(&m_set, GetParam().removed, &m_set, [&](const QString &, const QString &name) {
        ++calls;
        EXPECT_FALSE(files().contains(name));
        EXPECT_FALSE(QFileInfo::exists(filePath(name.toLatin1().constData())));
    });
    addWritten("new");
    remove("new");
    EXPECT_EQ(calls, 2);
}

TEST_P(DataSetFamily, ASlotMayRemoveAllWhileOneIsRemoved)
{
    setDir();
    for (const char *name : {"a", "b", "c"})
        addWritten(name);
    m_signals.take();
    QObject::connect(&m_set, GetParam().removed, &m_set, [this] { (m_set.*GetParam().removeAll)(); });
    remove("b");
    EXPECT_TRUE(files().isEmpty());
    EXPECT_TRUE(inSite().isEmpty());
    QStringList lines = m_signals.take();
    EXPECT_EQ(lines.value(0), removed("b"));
    lines.sort();
    EXPECT_EQ(lines, (QStringList{removed("a"), removed("b"), removed("c")}));
}

TEST_P(DataSetFamily, ASlotMayRemoveOrAddWhileAllAreRemoved)
{
    setDir();
    for (const char *name : {"a", "b", "c"})
        addWritten(name);
    m_signals.take();
    QObject::connect(&m_set, GetParam().removed, &m_set, [this](const QString &, const QString &name) {
        if (name == QLatin1String("a")) {
            remove("b");
            addWritten("z");
        }
    });
    (m_set.*GetParam().removeAll)();
    EXPECT_EQ(m_signals.take(), (QStringList{removed("a"), removed("b"), added("z"), removed("c")}));
    EXPECT_EQ(files().keys(), QStringList{QStringLiteral("z")}) << "what came during the removal stays";
}

TEST_P(DataSetFamily, AVolumeListForgetsAFileThatGoes)
{
    load(fullDataSet());
    VolumeCalcAreaList *list = m_set.getContent_EarthVolume();
    const auto nameAsSources = [&](PtCloud_DataSetFile *file) {
        list->setDTMFile(file);
        list->setGridFile(file);
    };
    const auto expectForgotten = [&] {
        EXPECT_FALSE(list->doCalc(VolumeCalc_DTM));
        EXPECT_FALSE(list->doCalc(VolumeCalc_GRID));
    };
    nameAsSources(addWritten("new"));
    EXPECT_TRUE(list->doCalc(VolumeCalc_DTM));
    remove("new");
    expectForgotten();

    nameAsSources(addWritten("new"));
    add("new", new PtCloud_DataSetFile);
    expectForgotten();

    nameAsSources(addWritten("other"));
    (m_set.*GetParam().removeAll)();
    expectForgotten();

    nameAsSources(addWritten("other"));
    ASSERT_TRUE(m_set.loadFromFile());
    expectForgotten();
}

TEST_F(DataSetContents, AVolumeListKeepsItsSourcesWhenOtherFilesGo)
{
    load(fullDataSet());
    VolumeCalcAreaList *list = m_set.getContent_EarthVolume();
    list->setDTMFile(m_set.getContent_Meshs()->value(QStringLiteral("roof")));
    list->setGridFile(m_set.getContent_PointDataSetFile());
    m_set.removeContent_Mesh(QStringLiteral("wall"));
    m_set.removeContent_AllSplits();
    EXPECT_TRUE(list->doCalc(VolumeCalc_DTM));
    EXPECT_TRUE(list->doCalc(VolumeCalc_GRID));
}
