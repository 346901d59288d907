#include "DataSetDirectory.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

using namespace ptCloud;
using support::bareDataSet;
using support::ContentFamily;
using support::DiskState;
using support::expectNoContents;
using support::fullDataSet;
using support::meshBytes;
using support::openContents;
using support::pictureBytes;
using support::pointsBytes;
using support::sameDisk;
using support::writeFile;

namespace
{

class DataSetLoad : public support::DataSetTest
{
protected:
    /// Loads these files and expects that nothing on disk has changed.
    void loadUnchanged(const DiskState &files)
    {
        load(files);
        EXPECT_TRUE(sameDisk(inSite(), files));
        EXPECT_EQ(openContents(m_set), QStringList());
        EXPECT_EQ(m_signals.take(), QStringList());
    }
    /// Expects that the load fails and touches nothing.
    void expectFailure()
    {
        const DiskState before = onDisk();
        EXPECT_FALSE(m_set.loadFromFile());
        EXPECT_TRUE(sameDisk(onDisk(), before));
        expectNoContents(m_set);
        EXPECT_EQ(m_signals.take(), QStringList());
    }
    /// The full data set with this file in addition.
    static DiskState fullWith(const char *name, const QByteArray &bytes)
    {
        DiskState files = fullDataSet();
        files[QLatin1String(name)] = bytes;
        return files;
    }
    static DiskState fullWithout(const char *name)
    {
        DiskState files = fullDataSet();
        files.remove(QLatin1String(name));
        return files;
    }
};

/// A damaged file of points or a mesh.
struct Damage
{
    const char *name;
    QByteArray (*apply)(QByteArray);
};

void PrintTo(const Damage &damage, std::ostream *out)
{
    *out << damage.name;
}

const Damage damages[] = {
    {"Empty", [](QByteArray) { return QByteArray(); }},
    {"Text", [](QByteArray) { return QByteArray("this is no data set at all"); }},
    {"OtherFormat",
     [](QByteArray bytes) {
         support::putAt<quint32>(bytes, 0, 2);
         return bytes;
     }},
    {"UnknownSort",
     [](QByteArray bytes) {
         support::putAt<quint32>(bytes, 4, 3);
         return bytes;
     }},
    {"UnknownColumn",
     [](QByteArray bytes) {
         support::putAt<quint32>(bytes, 12, 19);
         return bytes;
     }},
    {"CutShort", [](QByteArray bytes) { return bytes.left(bytes.size() - 1); }},
    {"HeadCutShort", [](QByteArray bytes) { return bytes.left(30); }},
    {"TooManyPoints",
     [](QByteArray bytes) {
         support::putAt<quint32>(bytes, 16 + 8 + 28, 0xFFFFFFFFU);
         return bytes;
     }},
};

class DataSetLoadDamaged : public DataSetLoad, public ::testing::WithParamInterface<Damage>
{
};

/// A picture of one bit a pixel.
QByteArray blackPicture(int width, int height)
{
    QImage image(width, height, QImage::Format_Mono);
    image.fill(0);
    return support::pngBytes(image);
}

QStringList names(const char *first, const char *second)
{
    return {QLatin1String(first), QLatin1String(second)};
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Damages, DataSetLoadDamaged, ::testing::ValuesIn(damages), support::CaseName());

TEST_F(DataSetLoad, AttachesEveryContentAndLeavesItClosed)
{
    loadUnchanged(fullDataSet());
    EXPECT_EQ(m_set.getContent_Meshs()->keys(), names("roof", "wall"));
    EXPECT_EQ(m_set.getContent_Splits()->keys(), names("north", "south"));
    EXPECT_EQ(m_set.getContent_Cuts()->keys(), names("first", "second"));
    const auto contents = support::contentsOf(m_set);
    for (auto it = contents.cbegin(); it != contents.cend(); ++it)
        EXPECT_EQ((*it)->getFilepath(), inProject("site/") + it.key());
    ASSERT_NE(m_set.getContent_Dem_HeightMap(), nullptr);
    EXPECT_EQ(m_set.getContent_Dem_HeightMap()->size(), QSize(3, 5));
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), path("dem.contour"));
    EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
    EXPECT_NE(m_set.getContent_EarthVolume()->getArea(QStringLiteral("pit")), nullptr);
}

TEST_F(DataSetLoad, EveryContentReadsItsOwnFile)
{
    load(fullDataSet());
    openAll();
    const QMap<QString, int> points = {
        {QStringLiteral("Points"), 10},      {QStringLiteral("roof.mesh"), 11},    {QStringLiteral("wall.mesh"), 12},
        {QStringLiteral("dem.demmesh"), 13}, {QStringLiteral("dem.classify"), 14}, {QStringLiteral("north.split"), 15},
        {QStringLiteral("south.split"), 16}, {QStringLiteral("first.cut"), 17},    {QStringLiteral("second.cut"), 18}};
    const auto contents = support::contentsOf(m_set);
    ASSERT_EQ(contents.keys(), points.keys());
    for (auto it = contents.cbegin(); it != contents.cend(); ++it)
        EXPECT_EQ(support::pointsIn(**it), points[it.key()]) << it.key().toStdString();
}

TEST_F(DataSetLoad, PointsAloneAreADataSet)
{
    loadUnchanged(bareDataSet());
    expectNoContents(m_set);
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), QString());
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), QString());
    EXPECT_EQ(m_set.getContent_Dem_Classify()->getFilepath(), path("dem.classify")) << "the classes are not looked for";
}

TEST_F(DataSetLoad, WithoutPointsFailsAndTouchesNothing)
{
    support::makeDirectory(inProject("site"), fullWithout("Points"));
    write("stray.txt", "stray");
    setDir();
    expectFailure();
}

TEST_P(DataSetLoadDamaged, PointsFailTheLoadAndNothingIsTouched)
{
    support::makeDirectory(inProject("site"), fullWith("Points", GetParam().apply(pointsBytes(10))));
    write("stray.txt", "stray");
    write("broken.mesh", "broken");
    setDir();
    expectFailure();
}

TEST_P(DataSetLoadDamaged, MeshesSplitsAndCutsAreDeleted)
{
    DiskState files = fullDataSet();
    for (const ContentFamily &family : support::contentFamilies())
        files[family.fileName(QStringLiteral("broken"))] = GetParam().apply(meshBytes(10));
    load(files);
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
    EXPECT_EQ(m_set.getContent_Meshs()->keys(), names("roof", "wall"));
    EXPECT_EQ(m_set.getContent_Splits()->keys(), names("north", "south"));
    EXPECT_EQ(m_set.getContent_Cuts()->keys(), names("first", "second"));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(DataSetLoadDamaged, ATerrainMeshStaysOnDiskUnattached)
{
    loadUnchanged(fullWith("dem.demmesh", GetParam().apply(meshBytes(13))));
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), QString());
}

TEST_P(DataSetLoadDamaged, TerrainClassesStayWithTheirPath)
{
    loadUnchanged(fullWith("dem.classify", GetParam().apply(pointsBytes(14))));
    EXPECT_EQ(m_set.getContent_Dem_Classify()->getFilepath(), path("dem.classify"));
}

TEST_F(DataSetLoad, ContoursOfAnotherVersionStayOnDiskUnattached)
{
    loadUnchanged(fullWith("dem.contour", QByteArray::fromHex("000000020000000000000000")));
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), QString());
}

TEST_F(DataSetLoad, APictureThatIsNoneStaysOnDiskUnattached)
{
    loadUnchanged(fullWith("dem.height.png", "no picture"));
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), nullptr);
}

TEST_F(DataSetLoad, BrokenVolumesStayOnDiskAndTheListIsEmpty)
{
    loadUnchanged(fullWith("earth.volume", support::volumeBytes(QStringLiteral("pit")).left(20)));
    EXPECT_TRUE(m_set.getContent_EarthVolume()->isEmpty());
    ASSERT_TRUE(m_set.saveToFile());
    EXPECT_EQ(support::readFile(path("earth.volume")), QByteArray::fromHex("0000000200000000"));
}

TEST_F(DataSetLoad, DeletesEveryFileThatIsNoPartOfIt)
{
    support::makeDirectory(inProject("site"), fullDataSet());
    for (const char *name : {"stray.txt", "noext", "tmp_points", "tmp_points_2", "roof.mesh.bak", "Points.old",
                             "dem.contour~", "a.b.c", "dem.height.jpg"})
        write(name, pointsBytes(3));
    setDir();
    ASSERT_TRUE(m_set.loadFromFile());
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
}

TEST_F(DataSetLoad, KeepsSubdirectoriesWithAllThatIsInThem)
{
    support::makeDirectory(inProject("site"), bareDataSet());
    support::makeDirectory(path("sub"), {{QStringLiteral("stray.txt"), "kept"}});
    support::makeDirectory(path("attic.mesh"), {{QStringLiteral("stray.mesh"), "kept"}});
    const DiskState before = onDisk();
    setDir();
    ASSERT_TRUE(m_set.loadFromFile());
    EXPECT_TRUE(sameDisk(onDisk(), before));
    EXPECT_TRUE(m_set.getContent_Meshs()->isEmpty()) << "a directory is no mesh";
}

TEST_F(DataSetLoad, KeepsFilesThatDifferFromTheirNameOnlyInCase)
{
    DiskState files = bareDataSet();
    for (const char *name : {"POINTS", "Dem.DemMesh", "DEM.HEIGHT.PNG", "dem.Contour", "dem.Classify", "Earth.Volume"})
        files[QLatin1String(name)] = "whatever";
    loadUnchanged(files);
}

#ifdef Q_OS_UNIX
TEST_F(DataSetLoad, KeepsHiddenFiles)
{
    DiskState files = bareDataSet();
    files[QStringLiteral(".hidden")] = "kept";
    files[QStringLiteral(".mesh")] = meshBytes(3);
    loadUnchanged(files);
    EXPECT_TRUE(m_set.getContent_Meshs()->isEmpty());
}

TEST_F(DataSetLoad, DeletesALinkToAFileButNotTheFile)
{
    support::makeDirectory(inProject("site"), bareDataSet());
    ASSERT_TRUE(QFile::link(inProject("canary"), path("link.txt")));
    ASSERT_TRUE(QFile::link(inProject("canary"), path("link.mesh")));
    ASSERT_TRUE(QFile::link(project(), path("linked directory")));
    setDir();
    ASSERT_TRUE(m_set.loadFromFile());
    EXPECT_EQ(support::readFile(inProject("canary")), "in the project");
    EXPECT_FALSE(QFileInfo(path("link.txt")).isSymLink());
    EXPECT_FALSE(QFileInfo(path("link.mesh")).isSymLink());
    EXPECT_TRUE(QFileInfo(path("linked directory")).isSymLink());
}

TEST_F(DataSetLoad, TakesSuffixesInAnyCase)
{
    DiskState files = bareDataSet();
    files[QStringLiteral("B.MESH")] = meshBytes(4);
    files[QStringLiteral("a.Split")] = pointsBytes(4);
    loadUnchanged(files);
    ASSERT_EQ(m_set.getContent_Meshs()->keys(), QStringList{QStringLiteral("B")});
    EXPECT_EQ(m_set.getContent_Meshs()->first()->getFilepath(), path("B.MESH"));
    EXPECT_EQ(m_set.getContent_Splits()->keys(), QStringList{QStringLiteral("a")});
}

TEST_F(DataSetLoad, TwoFilesOfOneBaseNameAreOneEntryAndBothStay)
{
    DiskState files = bareDataSet();
    files[QStringLiteral("A.MESH")] = meshBytes(4);
    files[QStringLiteral("A.mesh")] = meshBytes(5);
    loadUnchanged(files);
    EXPECT_EQ(m_set.getContent_Meshs()->keys(), QStringList{QStringLiteral("A")});
}
#endif

TEST_F(DataSetLoad, TheKeyIsAllThatStandsBeforeTheLastDot)
{
    DiskState files = bareDataSet();
    files[QStringLiteral("roof.v2.final.mesh")] = meshBytes(4);
    loadUnchanged(files);
    EXPECT_EQ(m_set.getContent_Meshs()->keys(), QStringList{QStringLiteral("roof.v2.final")});
}

TEST_F(DataSetLoad, DirectoriesInThePlacesOfFilesAreAbsentContents)
{
    support::makeDirectory(inProject("site"), bareDataSet());
    for (const char *name : {"dem.demmesh", "dem.height.png", "dem.contour", "dem.classify", "earth.volume",
                             "roof.mesh", "north.split", "first.cut", "tmp_points"})
        ASSERT_TRUE(QDir().mkpath(path(name)));
    const DiskState before = onDisk();
    setDir();
    ASSERT_TRUE(m_set.loadFromFile());
    EXPECT_TRUE(sameDisk(onDisk(), before));
    expectNoContents(m_set);
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), QString());
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), QString());
}

TEST_F(DataSetLoad, ADirectoryInThePlaceOfThePointsFails)
{
    support::makeDirectory(inProject("site"), fullWithout("Points"));
    ASSERT_TRUE(QDir().mkpath(path("Points")));
    setDir();
    expectFailure();
}

TEST_F(DataSetLoad, WithoutADirectoryFails)
{
    expectFailure();
    m_set.setDir(project(), QString());
    expectFailure();
    m_set.setDir(QString(), QStringLiteral("site"));
    expectFailure();
    m_set.setDir(inProject("missing"), QStringLiteral("site"));
    expectFailure();
    m_set.setDir(project(), QStringLiteral("canary"));
    expectFailure();
}

TEST_F(DataSetLoad, ALoadAgainTakesWhatIsThereThen)
{
    load(fullDataSet());
    openAll();
    DiskState files = bareDataSet();
    files[QStringLiteral("new.mesh")] = meshBytes(30);
    files[QStringLiteral("dem.height.png")] = pictureBytes(9);
    ASSERT_TRUE(QDir(inProject("site")).removeRecursively());
    loadUnchanged(files);
    EXPECT_EQ(m_set.getContent_Meshs()->keys(), QStringList{QStringLiteral("new")});
    EXPECT_TRUE(m_set.getContent_Splits()->isEmpty());
    EXPECT_TRUE(m_set.getContent_Cuts()->isEmpty());
    EXPECT_TRUE(m_set.getContent_EarthVolume()->isEmpty());
    EXPECT_EQ(m_set.getContent_Dem_HeightMap()->height(), 9);
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), QString());
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), QString());
}

TEST_F(DataSetLoad, AFailedLoadDropsTheContentsAndKeepsTheirPaths)
{
    load(fullDataSet());
    openAll();
    ASSERT_TRUE(QFile::remove(path("Points")));
    expectFailure();
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(m_set.getContent_Dem_Mesh()->getFilepath(), path("dem.demmesh"));
    EXPECT_EQ(m_set.getContent_Dem_Contour()->getFilepath(), path("dem.contour"));
    EXPECT_EQ(m_set.getContent_Dem_Classify()->getFilepath(), path("dem.classify"));
    EXPECT_EQ(m_set.getContent_PointDataSetFile()->getFilepath(), path("Points"));
}

TEST_F(DataSetLoad, ALoadAfterAVanishedDirectoryDropsTheContentsToo)
{
    load(fullDataSet());
    openAll();
    ASSERT_TRUE(QDir(inProject("site")).removeRecursively());
    expectFailure();
}

TEST_F(DataSetLoad, TheDestructorTouchesNothingOnDisk)
{
    support::makeDirectory(inProject("site"), fullDataSet());
    {
        PtCloudDataSet other;
        other.setDir(project(), QStringLiteral("site"));
        ASSERT_TRUE(other.loadFromFile());
        ASSERT_TRUE(other.getContent_Meshs()->first()->openFile());
    }
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
}

// Both are sound pictures of one bit a pixel; the larger has one row more than any height map is worth.
TEST_F(DataSetLoad, APictureOfMoreThanTwoToThe28PixelsIsNone)
{
    constexpr int width = 1 << 14;
    constexpr int height = 1 << 14;
    loadUnchanged(fullWith("dem.height.png", blackPicture(width, height + 1)));
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), nullptr);
    write("dem.height.png", blackPicture(width, height));
    m_set.setContent_Dem_HeightMap();
    ASSERT_NE(m_set.getContent_Dem_HeightMap(), nullptr);
    EXPECT_EQ(m_set.getContent_Dem_HeightMap()->size(), QSize(width, height));
    write("dem.height.png", blackPicture(width + 1, height));
    m_set.setContent_Dem_HeightMap();
    EXPECT_EQ(m_set.getContent_Dem_HeightMap(), nullptr);
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
// The mesh is sound, mostly a hole, and larger than the memory that there is.
TEST_F(DataSetLoad, AMeshTooLargeForTheMemoryStaysOnDisk)
{
    support::BlockFile mesh;
    mesh.columns = {0};
    mesh.blocks.emplace_back();
    mesh.blocks[0].key = 1;
    mesh.blocks[0].points = 100000000;
    support::makeDirectory(inProject("site"), bareDataSet());
    write("large.mesh", mesh.bytes());
    ASSERT_TRUE(QFile::resize(path("large.mesh"), mesh.bytes().size() + 17LL * 100000000));
    setDir();
    const support::AddressSpaceLimit limit(256U << 20);
    ASSERT_TRUE(limit.holds());
    EXPECT_TRUE(m_set.loadFromFile());
    EXPECT_TRUE(QFileInfo::exists(path("large.mesh")));
    EXPECT_EQ(openContents(m_set), QStringList());
}
#endif

#ifdef Q_OS_LINUX
// Points that can't be read for want of file descriptors are not corrupt, and what is beside them is no litter.
TEST_F(DataSetLoad, WithTooManyOpenFilesFailsAndTouchesNothing)
{
    support::makeDirectory(inProject("site"), fullDataSet());
    write("stray.txt", "stray");
    const DiskState before = onDisk();
    setDir();
    rlimit previous = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &previous), 0);
    const rlimit none{0, previous.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_FALSE(m_set.loadFromFile());
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &previous), 0);
    EXPECT_TRUE(sameDisk(onDisk(), before));
    expectNoContents(m_set);
    EXPECT_TRUE(m_set.loadFromFile());
}
#endif
