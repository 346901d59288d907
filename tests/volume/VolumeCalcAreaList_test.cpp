#include "BlockFile.h"
#include "Bytes.h"
#include "DebugLog.h"

#include "PtCloud_DataSetFile.h"
#include "VolumeCalcAreaList.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <array>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace ptCloud;

namespace
{

static_assert(VolumeCalc_DTM == 0 && VolumeCalc_GRID == 1);
static_assert(std::is_same_v<decltype(std::declval<VolumeCalcAreaList &>().getArea(QString())), VolumeCalcArea *>);
static_assert(
    std::is_same_v<decltype(std::declval<const VolumeCalcAreaList &>().getArea(QString())), const VolumeCalcArea *>);

const QString pit = QStringLiteral("pit");
const QString heap = QStringLiteral("heap");

using Points = std::vector<std::array<float, 3>>;

/// A data set file of positions with one block for each list of points, and one triangle in each block.
QByteArray blockFile(const std::vector<Points> &blocks)
{
    support::BlockFile file;
    file.columns = {0, 2};
    qint32 key = 0;
    for (const Points &points : blocks) {
        support::BlockFile::Block block = file.makeBlock(++key, static_cast<quint32>(points.size()), 1);
        block.box[0] = block.box[1] = block.box[2] = 0.0F;
        block.box[3] = block.box[4] = block.box[5] = 1.0F;
        block.columns[0].clear();
        for (const auto &point : points)
            support::put(block.columns[0], point);
        block.columns[1].clear();
        support::put(block.columns[1], std::array<quint32, 3>{0, 1, 2});
        file.blocks.push_back(block);
    }
    return file.bytes();
}

/// A triangle of half a square metre, 1 above the ground of the areas below.
const Points meshPoints = {{0, 0, 2}, {1, 0, 2}, {0, 1, 2}};
/// The first lies in the one cell of the areas below, 3 above their ground.
const Points cloudPoints = {{0.25F, 0.25F, 4}, {0.9F, 0.9F, 9}, {0.9F, 0.1F, 9}};
constexpr double meshDig = 0.5;
constexpr double gridDig = 0.75;

void makeSquare(VolumeCalcArea &area)
{
    area.groundHeightType = 1;
    area.groundHeight = 1;
    area.gridSize = 0.5F;
    area.boundary = {pcVec3f(0, 0, 0), pcVec3f(1, 0, 0), pcVec3f(1, 1, 0), pcVec3f(0, 1, 0)};
}

/// A list with a mesh and a point file, of which nothing is set yet.
class AreaList : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        ASSERT_TRUE(support::writeFile(path("mesh"), blockFile({meshPoints})));
        ASSERT_TRUE(support::writeFile(path("points"), blockFile({cloudPoints})));
        ASSERT_TRUE(m_mesh.setFile(path("mesh")));
        ASSERT_TRUE(m_points.setFile(path("points")));
        m_list.setFile(QDir(m_dir.path()), QStringLiteral("earth.volume"));
    }

    QString path(const char *name) const { return m_dir.filePath(QLatin1String(name)); }

    void setBothFiles()
    {
        m_list.setDTMFile(&m_mesh);
        m_list.setGridFile(&m_points);
    }
    VolumeCalcArea *addSquare(const QString &name)
    {
        VolumeCalcArea *area = m_list.addArea(name);
        makeSquare(*area);
        return area;
    }

    QTemporaryDir m_dir;
    support::DebugLog m_log;
    PtCloud_DataSetFile m_mesh;
    PtCloud_DataSetFile m_points;
    VolumeCalcAreaList m_list;
};

TEST_F(AreaList, StartsEmpty)
{
    VolumeCalcAreaList list;
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.getArea(pit), nullptr);
    EXPECT_FALSE(list.saveToFile());
    EXPECT_FALSE(list.loadFromFile());
    EXPECT_FALSE(list.doCalc(VolumeCalc_DTM));
    EXPECT_FALSE(list.doCalc(VolumeCalc_GRID));
}

TEST_F(AreaList, AddsAnAreaOfDefaults)
{
    VolumeCalcArea *area = m_list.addArea(pit);
    ASSERT_NE(area, nullptr);
    EXPECT_FALSE(m_list.isEmpty());
    EXPECT_EQ(area->maxHeight, 99999.0F);
    EXPECT_EQ(area->gridSize, 0.1F);
    EXPECT_TRUE(area->boundary.isEmpty());
    EXPECT_EQ(m_list.getArea(pit), area);
    EXPECT_EQ(std::as_const(m_list).getArea(pit), area);
}

TEST_F(AreaList, AddsNoAreaOfANameThatIsTaken)
{
    m_list.addArea(pit)->groundHeight = 7;
    EXPECT_EQ(m_list.addArea(pit), nullptr);
    EXPECT_EQ(m_list.getArea(pit)->groundHeight, 7.0F);
    EXPECT_NE(m_list.addArea(QStringLiteral("Pit")), nullptr);
    EXPECT_NE(m_list.addArea(QString()), nullptr);
    EXPECT_EQ(m_list.addArea(QStringLiteral("")), nullptr);
}

TEST_F(AreaList, FindsNothingUnderAnotherName)
{
    m_list.addArea(pit);
    EXPECT_EQ(m_list.getArea(heap), nullptr);
    EXPECT_EQ(std::as_const(m_list).getArea(heap), nullptr);
    EXPECT_EQ(m_list.getArea(QString()), nullptr);
}

TEST_F(AreaList, RemovesAnAreaAndNothingElse)
{
    m_list.addArea(pit);
    const VolumeCalcArea *kept = m_list.addArea(heap);
    m_list.removeArea(QStringLiteral("none"));
    m_list.removeArea(pit);
    m_list.removeArea(pit);
    EXPECT_EQ(m_list.getArea(pit), nullptr);
    EXPECT_EQ(m_list.getArea(heap), kept);
    m_list.removeArea(heap);
    EXPECT_TRUE(m_list.isEmpty());
    EXPECT_NE(m_list.addArea(pit), nullptr);
}

TEST_F(AreaList, KeepsPointersThroughOtherAreasComingAndGoing)
{
    VolumeCalcArea *area = m_list.addArea(pit);
    for (int i = 0; i < 1000; ++i)
        m_list.addArea(QString::number(i));
    for (int i = 0; i < 1000; i += 2)
        m_list.removeArea(QString::number(i));
    area->groundHeight = 3;
    EXPECT_EQ(m_list.getArea(pit), area);
    EXPECT_EQ(m_list.getArea(pit)->groundHeight, 3.0F);
}

TEST_F(AreaList, EntersItsAreasIntoAMapThatKeepsItsOtherEntries)
{
    VolumeCalcArea other;
    QMap<QString, VolumeCalcArea *> found{{pit, &other}, {QStringLiteral("mine"), &other}};
    QMap<QString, const VolumeCalcArea *> constFound{{pit, &other}, {QStringLiteral("mine"), &other}};
    m_list.getAreas(found);
    EXPECT_EQ(found.size(), 2);
    VolumeCalcArea *first = m_list.addArea(pit);
    VolumeCalcArea *second = m_list.addArea(heap);
    m_list.getAreas(found);
    std::as_const(m_list).getAreas(constFound);
    EXPECT_EQ(found, (QMap<QString, VolumeCalcArea *>{{heap, second}, {QStringLiteral("mine"), &other}, {pit, first}}));
    EXPECT_EQ(constFound,
              (QMap<QString, const VolumeCalcArea *>{{heap, second}, {QStringLiteral("mine"), &other}, {pit, first}}));
}

TEST_F(AreaList, ClearsItsAreasAlone)
{
    setBothFiles();
    m_list.addArea(heap);
    m_list.clear();
    EXPECT_TRUE(m_list.isEmpty());
    EXPECT_EQ(m_list.getArea(heap), nullptr);
    const VolumeCalcArea *area = addSquare(pit);
    EXPECT_TRUE(m_list.doCalc(VolumeCalc_DTM));
    EXPECT_TRUE(m_list.doCalc(VolumeCalc_GRID));
    EXPECT_EQ(area->getDigVolume_dtm(), meshDig);
    EXPECT_EQ(area->getDigVolume_grid(), gridDig);
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_TRUE(QFile::exists(path("earth.volume")));
}

TEST_F(AreaList, TakesItsFileThroughAConstList)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("sub")));
    const VolumeCalcAreaList &list = m_list;
    list.setFile(QDir(path("sub")), QStringLiteral("own.volume"));
    EXPECT_TRUE(list.saveToFile());
    EXPECT_TRUE(QFile::exists(path("sub/own.volume")));
    EXPECT_FALSE(QFile::exists(path("earth.volume")));
    list.setFile(QDir(path("sub")), QString());
    EXPECT_FALSE(list.saveToFile());
}

TEST_F(AreaList, GivesAnotherListItsDirectoryAndANameAlone)
{
    VolumeCalcAreaList other;
    other.setDTMFile(&m_mesh);
    makeSquare(*other.addArea(heap));
    m_list.addArea(pit);
    m_list.setGridFile(&m_points);
    m_list.copyTo(other, QStringLiteral("copy.volume"));

    EXPECT_EQ(other.getArea(pit), nullptr);
    ASSERT_NE(other.getArea(heap), nullptr);
    EXPECT_FALSE(other.doCalc(VolumeCalc_GRID));
    EXPECT_TRUE(other.doCalc(VolumeCalc_DTM));
    EXPECT_EQ(other.getArea(heap)->getDigVolume_dtm(), meshDig);
    EXPECT_TRUE(other.saveToFile());
    EXPECT_TRUE(QFile::exists(path("copy.volume")));
    EXPECT_FALSE(QFile::exists(path("earth.volume")));
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_TRUE(QFile::exists(path("earth.volume")));

    m_list.copyTo(other, QString());
    EXPECT_FALSE(other.saveToFile());
}

/// Both ways of copying a list.
VolumeCalcAreaList copied(const VolumeCalcAreaList &list, bool byAssignment)
{
    if (!byAssignment)
        return VolumeCalcAreaList(list);
    VolumeCalcAreaList copy;
    copy.addArea(QStringLiteral("dropped"));
    copy = list;
    return copy;
}

TEST_F(AreaList, CopiesAreasFileAndSources)
{
    setBothFiles();
    addSquare(pit);
    for (const bool byAssignment : {false, true}) {
        VolumeCalcAreaList copy = copied(m_list, byAssignment);
        EXPECT_EQ(copy.getArea(QStringLiteral("dropped")), nullptr);
        VolumeCalcArea *area = copy.getArea(pit);
        ASSERT_NE(area, nullptr);
        EXPECT_EQ(area->boundary.size(), 4);
        EXPECT_TRUE(copy.doCalc(VolumeCalc_DTM));
        EXPECT_TRUE(copy.doCalc(VolumeCalc_GRID));
        EXPECT_EQ(area->getDigVolume_dtm(), meshDig);
        EXPECT_EQ(area->getDigVolume_grid(), gridDig);
        EXPECT_FALSE(m_list.getArea(pit)->dtmCalculated);
        EXPECT_TRUE(copy.saveToFile());
        EXPECT_TRUE(QFile::remove(path("earth.volume")));
    }
}

TEST_F(AreaList, KeepsItsPointersWhenItIsCopied)
{
    VolumeCalcArea *area = m_list.addArea(pit);
    QMap<QString, VolumeCalcArea *> areas;
    m_list.getAreas(areas);
    for (const bool byAssignment : {false, true}) {
        VolumeCalcAreaList copy = copied(m_list, byAssignment);
        area->groundHeight = 5;
        EXPECT_NE(copy.getArea(pit), area);
        EXPECT_EQ(copy.getArea(pit)->groundHeight, 0.0F);
        copy.getArea(pit)->groundHeight = 8;
        m_list.addArea(heap);
        m_list.removeArea(heap);
        EXPECT_EQ(m_list.getArea(pit), area);
        EXPECT_EQ(areas.value(pit), area);
        EXPECT_EQ(m_list.getArea(pit)->groundHeight, 5.0F);
        EXPECT_EQ(std::as_const(m_list).getArea(pit)->groundHeight, 5.0F);
        area->groundHeight = 0;
    }
}

TEST_F(AreaList, SurvivesItsOwnAssignment)
{
    m_list.addArea(pit)->groundHeight = 5;
    const VolumeCalcAreaList &same = m_list;
    m_list = same;
    ASSERT_NE(m_list.getArea(pit), nullptr);
    EXPECT_EQ(m_list.getArea(pit)->groundHeight, 5.0F);
    EXPECT_TRUE(m_list.saveToFile());
}

TEST_F(AreaList, CalculatesNothingWithoutAFileName)
{
    setBothFiles();
    const VolumeCalcArea *area = addSquare(pit);
    m_list.rename(QString());
    EXPECT_FALSE(m_list.doCalc(VolumeCalc_DTM));
    EXPECT_FALSE(m_list.doCalc(VolumeCalc_GRID));
    EXPECT_FALSE(area->dtmCalculated || area->gridCalculated || m_mesh.isOpened() || m_points.isOpened());
    m_list.rename(QStringLiteral("any"));
    EXPECT_TRUE(m_list.doCalc(VolumeCalc_DTM));
}

TEST_F(AreaList, CalculatesNothingOfAnUnknownKind)
{
    setBothFiles();
    const VolumeCalcArea *area = addSquare(pit);
    for (const int kind : {2, 3, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_FALSE(m_list.doCalc(static_cast<EVolumeCalcFunction>(kind))) << kind;
        EXPECT_FALSE(area->dtmCalculated || area->gridCalculated || m_mesh.isOpened() || m_points.isOpened());
    }
}

enum class Source { Absent, Closed, Open };

struct CalcRun
{
    const char *name;
    EVolumeCalcFunction function;
    Source mesh;
    Source points;
    bool result;
    bool meshOpenAfter;
    bool pointsOpenAfter;
};

const CalcRun runs[] = {
    {"MeshClosedAfterwards", VolumeCalc_DTM, Source::Closed, Source::Closed, true, false, false},
    {"MeshThatWasOpen", VolumeCalc_DTM, Source::Open, Source::Closed, true, true, false},
    {"MeshBesideOpenPoints", VolumeCalc_DTM, Source::Closed, Source::Open, true, false, true},
    {"MeshBesideNoPoints", VolumeCalc_DTM, Source::Closed, Source::Absent, true, false, false},
    {"NoMesh", VolumeCalc_DTM, Source::Absent, Source::Open, false, false, true},
    {"PointsLeftOpen", VolumeCalc_GRID, Source::Closed, Source::Closed, true, false, true},
    {"PointsCloseTheMeshInstead", VolumeCalc_GRID, Source::Open, Source::Closed, true, false, true},
    {"PointsThatWereOpen", VolumeCalc_GRID, Source::Open, Source::Open, true, true, true},
    {"OpenPointsBesideAClosedMesh", VolumeCalc_GRID, Source::Closed, Source::Open, true, false, true},
    {"PointsBesideNoMesh", VolumeCalc_GRID, Source::Absent, Source::Closed, true, false, true},
    {"OpenPointsBesideNoMesh", VolumeCalc_GRID, Source::Absent, Source::Open, true, false, true},
    {"NoPoints", VolumeCalc_GRID, Source::Open, Source::Absent, false, true, false},
};

class AreaListRun : public AreaList, public ::testing::WithParamInterface<CalcRun>
{
};

/// Whether the file is as the run wants it.
bool prepare(PtCloud_DataSetFile &file, Source source)
{
    return source != Source::Open || file.openFile();
}

std::string nameOf(const ::testing::TestParamInfo<CalcRun> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(AreaList, AreaListRun, ::testing::ValuesIn(runs), nameOf);

TEST_P(AreaListRun, LeavesOpenWhatItShould)
{
    const CalcRun &run = GetParam();
    ASSERT_TRUE(prepare(m_mesh, run.mesh) && prepare(m_points, run.points));
    m_list.setDTMFile(run.mesh == Source::Absent ? nullptr : &m_mesh);
    m_list.setGridFile(run.points == Source::Absent ? nullptr : &m_points);
    const VolumeCalcArea *area = addSquare(pit);

    EXPECT_EQ(m_list.doCalc(run.function), run.result);
    EXPECT_EQ(m_mesh.isOpened(), run.meshOpenAfter);
    EXPECT_EQ(m_points.isOpened(), run.pointsOpenAfter);
    EXPECT_EQ(area->dtmCalculated, run.result && run.function == VolumeCalc_DTM);
    EXPECT_EQ(area->gridCalculated, run.result && run.function == VolumeCalc_GRID);
    EXPECT_EQ(area->getDigVolume_dtm(), area->dtmCalculated ? meshDig : 0.0);
    EXPECT_EQ(area->getDigVolume_grid(), area->gridCalculated ? gridDig : 0.0);
    EXPECT_EQ(area->getFillVolume_dtm() + area->getFillVolume_grid(), 0.0);
    EXPECT_FALSE(QFile::exists(path("earth.volume")));
}

TEST_F(AreaList, OpensAndClosesTheSourceOfAnEmptyListToo)
{
    setBothFiles();
    EXPECT_TRUE(m_list.doCalc(VolumeCalc_DTM));
    EXPECT_FALSE(m_mesh.isOpened());
    EXPECT_TRUE(m_list.doCalc(VolumeCalc_GRID));
    EXPECT_TRUE(m_points.isOpened());
}

TEST_F(AreaList, ClosesAFileThatIsMeshAndPointsAtOnceAfterEitherRun)
{
    m_list.setDTMFile(&m_mesh);
    m_list.setGridFile(&m_mesh);
    const VolumeCalcArea *area = addSquare(pit);
    for (const EVolumeCalcFunction function : {VolumeCalc_DTM, VolumeCalc_GRID}) {
        EXPECT_TRUE(m_list.doCalc(function));
        EXPECT_FALSE(m_mesh.isOpened());
        ASSERT_TRUE(m_mesh.openFile());
        EXPECT_TRUE(m_list.doCalc(function));
        EXPECT_TRUE(m_mesh.isOpened());
        m_mesh.closeFile();
    }
    EXPECT_TRUE(area->dtmCalculated && area->gridCalculated);
}

TEST_F(AreaList, FailsOverASourceThatCanNotBeOpened)
{
    setBothFiles();
    const VolumeCalcArea *area = addSquare(pit);
    ASSERT_TRUE(m_list.doCalc(VolumeCalc_GRID));
    m_points.closeFile();
    ASSERT_TRUE(m_mesh.openFile());
    ASSERT_TRUE(QFile::remove(path("points")));
    EXPECT_FALSE(m_list.doCalc(VolumeCalc_GRID));
    // Nothing was begun: the mesh stays open, and the earlier result stands.
    EXPECT_TRUE(m_mesh.isOpened());
    EXPECT_EQ(area->getDigVolume_grid(), gridDig);
}

TEST_F(AreaList, CalculatesOnPastAreasThatCanNotBe)
{
    setBothFiles();
    VolumeCalcArea *tooFew = addSquare(QStringLiteral("a"));
    tooFew->boundary.removeLast();
    tooFew->boundary.removeLast();
    VolumeCalcArea *tooHigh = addSquare(QStringLiteral("m"));
    tooHigh->maxHeight = 1;
    const VolumeCalcArea *first = addSquare(QStringLiteral("b"));
    const VolumeCalcArea *last = addSquare(QStringLiteral("z"));
    for (const EVolumeCalcFunction function : {VolumeCalc_DTM, VolumeCalc_GRID})
        EXPECT_TRUE(m_list.doCalc(function));
    for (const VolumeCalcArea *failed : {tooFew, tooHigh})
        EXPECT_FALSE(failed->dtmCalculated || failed->gridCalculated);
    for (const VolumeCalcArea *area : {first, last}) {
        EXPECT_EQ(area->getDigVolume_dtm(), meshDig);
        EXPECT_EQ(area->getDigVolume_grid(), gridDig);
    }
}

TEST_F(AreaList, IsTrueEvenWhereNoAreaCouldBeCalculated)
{
    setBothFiles();
    ASSERT_TRUE(support::writeFile(path("mesh"), blockFile({meshPoints, meshPoints})));
    const VolumeCalcArea *area = addSquare(pit);
    EXPECT_TRUE(m_list.doCalc(VolumeCalc_DTM));
    EXPECT_FALSE(area->dtmCalculated);
    EXPECT_TRUE(area->prisms.isEmpty());
}

TEST_F(AreaList, DropsAResultThatCanNoLongerBeHadAndKeepsTheOther)
{
    setBothFiles();
    VolumeCalcArea *area = addSquare(pit);
    ASSERT_TRUE(m_list.doCalc(VolumeCalc_DTM));
    ASSERT_TRUE(m_list.doCalc(VolumeCalc_GRID));
    area->boundary.clear();
    EXPECT_EQ(area->getDigVolume_dtm(), meshDig);
    EXPECT_TRUE(m_list.doCalc(VolumeCalc_DTM));
    EXPECT_FALSE(area->dtmCalculated);
    EXPECT_TRUE(area->prisms.isEmpty());
    EXPECT_EQ(area->getDigVolume_grid(), gridDig);
    EXPECT_EQ(area->quadPrisms.size(), 1);
}

TEST_F(AreaList, ReplacesAResultInsteadOfAddingToIt)
{
    setBothFiles();
    const VolumeCalcArea *area = addSquare(pit);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(m_list.doCalc(VolumeCalc_DTM));
        EXPECT_TRUE(m_list.doCalc(VolumeCalc_GRID));
        EXPECT_EQ(area->prisms.size(), 1);
        EXPECT_EQ(area->quadPrisms.size(), 1);
    }
}

} // namespace
