#include "DataSetCommandTesting.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

using namespace ptCloud;
using support::BlockFile;
using support::DiskState;
using support::diskState;
using support::ProjectState;
using support::sameDisk;

namespace
{

using Columns = QList<EDataSetColumn>;

const Columns positions = {EDataSetColumn_Position};

class MakeDataSet : public support::DataSetCommandTest
{
protected:
    EEPtCloudActResult make(const char *name, const QStringList &lasNames = {QStringLiteral("a.las")},
                            const Columns &columns = positions)
    {
        return m_controller.doCmd_DataSet_Make({lasNames, columns, QString::fromUtf8(name)});
    }
    /// Registers a LAS file of one point.
    void addLas(const char *name, qint32 x)
    {
        support::LasWriter writer;
        writer.points.emplace_back();
        writer.points.back().x = x;
        const QString file = path("las/") + QString::fromUtf8(name);
        ASSERT_TRUE(writer.write(file));
        ASSERT_EQ(import(file), ActResult_Success);
        m_signals.clear();
    }
    /// A make that fails before it builds leaves an empty directory and nothing else.
    void expectEmptyDirectoryAdded(const ProjectState &before, const char *name)
    {
        EXPECT_TRUE(sameDisk(diskState(m_dir.path()), with(before.disk, name, {})));
        EXPECT_EQ(m_signals, QStringList());
    }
};

class CopyDataSet : public support::DataSetCommandTest
{
protected:
    EEPtCloudActResult copy(const char *name, const char *newName)
    {
        return m_controller.doCmd_DataSet_Copy({QString::fromUtf8(name), QString::fromUtf8(newName)});
    }
};

class RemoveDataSet : public support::DataSetCommandTest
{
protected:
    EEPtCloudActResult remove(const char *name) { return m_controller.doCmd_DataSet_Remove({QString::fromUtf8(name)}); }
};

class RenameDataSet : public support::DataSetCommandTest
{
protected:
    EEPtCloudActResult rename(const char *name, const char *newName)
    {
        return m_controller.doCmd_DataSet_Rename({QString::fromUtf8(name), QString::fromUtf8(newName)});
    }
};

/// The file of one block that a LAS file of one point at x, 0, 0 gives, with positions alone: the one box begins one
/// unit below the point, and is 1000 units wide.
QByteArray onePoint(qint32 x)
{
    BlockFile file;
    file.columns = {0};
    BlockFile::Block block;
    block.key = 1;
    const qint32 corners[6] = {x - 1, -1, -1, x + 999, 999, 999};
    for (int i = 0; i < 6; ++i)
        block.box[i] = static_cast<float>(corners[i]) / 1000.0F;
    block.points = 1;
    block.indices = {0};
    block.marks = {0};
    QByteArray position;
    support::put(position, static_cast<float>(x) / 1000.0F);
    support::put(position, 0.0F);
    support::put(position, 0.0F);
    block.columns = {position};
    file.blocks = {block};
    return file.bytes();
}

} // namespace

TEST_F(MakeDataSet, BuildsRegistersAndTells)
{
    const ProjectState before = state();
    ASSERT_EQ(make("new"), ActResult_Success);
    EXPECT_TRUE(sameDisk(diskState(m_dir.path()), with(before.disk, "new", {{QStringLiteral("Points"), onePoint(0)}})));
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("added new")));
    ASSERT_NE(dataSet("new"), nullptr);
    EXPECT_EQ(dataSet("new")->getName(), QStringLiteral("new"));
    EXPECT_FALSE(dataSet("new")->getContent_PointDataSetFile()->isOpened());
    EXPECT_EQ(lasFiles(), before.lasFiles);
    EXPECT_EQ(m_controller.getDataSets().size(), 4);
}

TEST_F(MakeDataSet, TakesTheLasFilesInTheOrderOfTheList)
{
    addLas("far.las", 900000);
    // The grid lies over the last file of the list: the points of the other fall outside.
    ASSERT_EQ(make("first", {QStringLiteral("a.las"), QStringLiteral("far.las")}), ActResult_Success);
    EXPECT_EQ(support::readFile(inProject("first/Points")), onePoint(900000));
    ASSERT_EQ(make("second", {QStringLiteral("far.las"), QStringLiteral("a.las")}), ActResult_Success);
    EXPECT_EQ(support::readFile(inProject("second/Points")), onePoint(0));
}

TEST_F(MakeDataSet, TakesALasNameTwice)
{
    ASSERT_EQ(make("new", {QStringLiteral("a.las"), QStringLiteral("a.las")}), ActResult_Success);
    const auto file = BlockFile::parse(support::readFile(inProject("new/Points")));
    ASSERT_TRUE(file);
    ASSERT_EQ(file->blocks.size(), 1U);
    EXPECT_EQ(file->blocks[0].points, 2U);
}

TEST_F(MakeDataSet, KeepsTheColumnsThatAreAsked)
{
    ASSERT_EQ(make("new", {QStringLiteral("a.las")}, {EDataSetColumn_Intensity, EDataSetColumn_Position}),
              ActResult_Success);
    const auto file = BlockFile::parse(support::readFile(inProject("new/Points")));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->columns, (std::vector<quint32>{4, 0}));
}

TEST_F(MakeDataSet, IsLoadedAndRegisteredWhenItIsTold)
{
    bool seen = false;
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Added, [&](const QString &name) {
        PtCloudDataSet *made = m_controller.getDataSet(name);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->getContent_PointDataSetFile()->getFilepath(), inProject("new/Points"));
        EXPECT_EQ(m_controller.doCmd_DataSet_Rename({name, QStringLiteral("newer")}), ActResult_Success);
        seen = true;
    });
    EXPECT_EQ(make("new"), ActResult_Success);
    EXPECT_TRUE(seen);
    EXPECT_EQ(dataSet("new"), nullptr);
    EXPECT_NE(dataSet("newer"), nullptr);
    EXPECT_TRUE(QFile::exists(inProject("newer/Points")));
}

TEST_F(MakeDataSet, EntersAnUnknownLasNameWithAnEmptyPath)
{
    ProjectState before = state();
    EXPECT_EQ(make("new", {QStringLiteral("a.las"), QStringLiteral("A.LAS"), QStringLiteral("other")}),
              ActResult_FileError);
    expectEmptyDirectoryAdded(before, "new");
    before.lasFiles[QStringLiteral("A.LAS")] = QString();
    expectRegistries(before); // the names behind the first that fails are not looked at

    EXPECT_EQ(m_controller.doCmd_LasFile_Remove({QStringLiteral("A.LAS")}), ActResult_Success);
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("las removed A.LAS")));
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(MakeDataSet, LeavesAnEmptyDirectoryWhereALasHeaderDoesNotFitIntoMemory)
{
    ASSERT_TRUE(support::announceManyLasHeads(path("las/a.las")));
    const ProjectState before = state();
    {
        const support::AddressSpaceLimit limit(64U << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_EQ(make("new"), ActResult_FileError);
    }
    expectEmptyDirectoryAdded(before, "new");
    expectRegistries(before);
}
#endif

TEST_F(MakeDataSet, LeavesAnEmptyDirectoryWhereALasFileDoesNotLoadAndCanBeTriedAgain)
{
    addLas("b.las", 1);
    const QString damaged = path("las/b.las");
    const QByteArray sound = support::readFile(damaged);
    ASSERT_TRUE(support::writeFile(damaged, sound.left(100)));
    const ProjectState before = state();
    const QStringList both{QStringLiteral("a.las"), QStringLiteral("b.las")};
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(make("new", both), ActResult_FileError);
        expectEmptyDirectoryAdded(before, "new");
        expectRegistries(before);
    }
    ASSERT_TRUE(support::writeFile(damaged, sound));
    EXPECT_EQ(make("new", both), ActResult_Success);
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("added new")));
}

TEST_F(MakeDataSet, LeavesWhatTheBuilderLeftAndCanBeTriedAgain)
{
    const ProjectState before = state();
    const DiskState withEmptyPoints = with(before.disk, "new", {{QStringLiteral("Points"), QByteArray()}});
    const auto expectFailed = [&](const QStringList &lasNames, const Columns &columns) {
        EXPECT_EQ(make("new", lasNames, columns), ActResult_MakeFailed);
        EXPECT_TRUE(sameDisk(diskState(m_dir.path()), withEmptyPoints));
        expectRegistries(before);
        EXPECT_EQ(m_signals, QStringList());
    };
    const QStringList las{QStringLiteral("a.las")};
    expectFailed(las, {});
    expectFailed(las, {EDataSetColumn_Color});
    expectFailed(las, {EDataSetColumn_Position, EDataSetColumn_Triangle});
    expectFailed(las, {EDataSetColumn_Position, static_cast<EDataSetColumn>(-1)});
    expectFailed({}, positions);
    EXPECT_EQ(m_log.lines().last(), QStringLiteral("makeDataSet_byLasFile: points is empty."));
    EXPECT_EQ(make("new"), ActResult_Success);
}

TEST_F(MakeDataSet, ReportsTheFirstOfSeveralMistakes)
{
    const QStringList unknown{QStringLiteral("unknown")};
    expectRefused(ActResult_NameExists, [&] { return make("ABC", unknown, {}); });
    m_controller.setDir(QString());
    expectRefused(ActResult_CannotRun, [&] { return make("ABC", unknown, {}); });
}

TEST_F(MakeDataSet, FailsWhereTheDirectoryCannotBeMade)
{
    expectRefused(ActResult_MakeFailed, [&] { return make("canary"); }); // a plain file
    m_controller.setDir(path("nowhere"));
    expectRefused(ActResult_MakeFailed, [&] { return make("new"); });
}

TEST_F(MakeDataSet, TakesOverADirectoryThatNoDataSetUses)
{
    ASSERT_TRUE(support::writeFile(inProject("unregistered/Points"), support::pointsBytes(200)));
    ASSERT_EQ(make("unregistered"), ActResult_Success);
    EXPECT_TRUE(sameDisk(diskState(inProject("unregistered")),
                         {{QStringLiteral("Points"), onePoint(0)},
                          {QStringLiteral("stray.mesh"), support::meshBytes(3)}})); // a mesh, so it has a part in it
}

TEST_F(CopyDataSet, CopiesEverythingRegistersAndTells)
{
    const ProjectState before = state();
    PtCloudDataSet *source = dataSet("abc");
    ASSERT_EQ(copy("abc", "twin"), ActResult_Success);
    const DiskState twin = diskState(inProject("twin"));
    // Plain files without a part in a data set are swept when the copy is loaded; directories stay.
    DiskState expected = support::fullDataSet();
    expected[QStringLiteral("nested")] = "directory";
    expected[QStringLiteral("nested/canary")] = "sings";
    expected[QStringLiteral("nested/stray.mesh")] = support::meshBytes(3);
    EXPECT_TRUE(sameDisk(twin, expected));
    EXPECT_TRUE(sameDisk(without(diskState(m_dir.path()), "twin"), before.disk));
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("added twin")));
    EXPECT_EQ(dataSet("abc"), source);
    ASSERT_NE(dataSet("twin"), nullptr);
    EXPECT_NE(dataSet("twin"), source);
    EXPECT_EQ(dataSet("twin")->getName(), QStringLiteral("twin"));
    EXPECT_EQ(dataSet("twin")->getContent_Meshs()->keys(), source->getContent_Meshs()->keys());
}

TEST_F(CopyDataSet, FindsTheDirectoryOfItsSource)
{
    ASSERT_EQ(copy("x", "twin"), ActResult_Success);
    EXPECT_EQ(support::readFile(inProject("twin/Points")), support::pointsBytes(30));
}

TEST_F(CopyDataSet, ReportsTheFirstOfSeveralMistakes)
{
    expectRefused(ActResult_NotFound, [&] { return copy("ABC", "zed"); });
    expectRefused(ActResult_NotFound, [&] { return copy("dir", "new"); });
    expectRefused(ActResult_NameExists, [&] { return copy("abc", "abc"); });
    m_controller.setDir(QString());
    expectRefused(ActResult_CannotRun, [&] { return copy("unknown", "zed"); });
    expectRefused(ActResult_CannotRun, [&] { return copy("abc", "new"); });
}

TEST_F(CopyDataSet, IsTakenBackWhereItDoesNotLoad)
{
    ASSERT_TRUE(support::writeFile(inProject("abc/Points"), "damaged"));
    expectRefused(ActResult_CannotRun, [&] { return copy("abc", "new"); });
}

TEST_F(CopyDataSet, FailsWithoutItsSourceAndOntoAFile)
{
    expectRefused(ActResult_CannotRun, [&] { return copy("abc", "canary"); });
    ASSERT_TRUE(QDir(inProject("zed")).removeRecursively());
    expectRefused(ActResult_CannotRun, [&] { return copy("zed", "new"); });
}

TEST_F(RemoveDataSet, DeletesTheDirectoryForgetsAndTells)
{
    ProjectState expected = state();
    expected.disk = without(expected.disk, "dir");
    expected.dataSets.remove(QStringLiteral("x"));
    expected.dataSetDirectories.remove(QStringLiteral("x"));
    const QPointer<PtCloudDataSet> object = dataSet("x");
    bool seen = false;
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Removed, [&] {
        EXPECT_TRUE(object.isNull());
        EXPECT_TRUE(sameDisk(diskState(m_dir.path()), expected.disk));
        expectRegistries(expected);
        seen = true;
    });
    EXPECT_EQ(remove("x"), ActResult_Success);
    EXPECT_TRUE(seen);
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("removed x")));
    m_signals.clear();
    expectRefused(ActResult_NotFound, [&] { return remove("x"); });
}

TEST_F(RemoveDataSet, FindsNamesLetterForLetter)
{
    for (const char *name : {"ABC", "dir", "unregistered", "", "..", " abc"}) {
        SCOPED_TRACE(name);
        expectRefused(ActResult_NotFound, [&] { return remove(name); });
    }
}

TEST_F(RemoveDataSet, NeedsNoProjectDirectory)
{
    m_controller.setDir(QString());
    expectRefused(ActResult_NotFound, [&] { return remove("unknown"); });
    EXPECT_EQ(remove("zed"), ActResult_Success);
    EXPECT_FALSE(QDir(inProject("zed")).exists());
}

TEST_F(RemoveDataSet, ForgetsADataSetWhoseDirectoryIsGone)
{
    ASSERT_TRUE(QDir(inProject("zed")).removeRecursively());
    const DiskState before = diskState(m_dir.path());
    EXPECT_EQ(remove("zed"), ActResult_Success);
    EXPECT_TRUE(sameDisk(diskState(m_dir.path()), before));
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("removed zed")));
    EXPECT_EQ(dataSet("zed"), nullptr);
}

TEST_F(RemoveDataSet, RemovesALinkAndNotWhatItLeadsTo)
{
    const QString far = path("far");
    ASSERT_TRUE(QDir().rename(inProject("zed"), far));
    ASSERT_TRUE(QFile::link(far, inProject("zed")));
    const DiskState before = diskState(far);
    EXPECT_EQ(remove("zed"), ActResult_Success);
    EXPECT_FALSE(QFileInfo(inProject("zed")).isSymLink());
    EXPECT_TRUE(sameDisk(diskState(far), before));
}

TEST_F(RemoveDataSet, FreesTheName)
{
    ASSERT_EQ(remove("abc"), ActResult_Success);
    EXPECT_EQ(m_controller.doCmd_DataSet_Copy({QStringLiteral("zed"), QStringLiteral("ABC")}), ActResult_Success);
    EXPECT_EQ(m_signals, (QStringList{QStringLiteral("removed abc"), QStringLiteral("added ABC")}));
}

TEST_F(RenameDataSet, MovesTheDirectoryAndTells)
{
    ProjectState expected = state();
    PtCloudDataSet *object = dataSet("x");
    expected.disk = with(without(expected.disk, "dir"), "new", {{QStringLiteral("Points"), support::pointsBytes(30)}});
    expected.dataSets.remove(QStringLiteral("x"));
    expected.dataSets[QStringLiteral("new")] = object;
    expected.dataSetDirectories.remove(QStringLiteral("x"));
    expected.dataSetDirectories[QStringLiteral("new")] = QStringLiteral("new");
    bool seen = false;
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Renamed, [&] {
        EXPECT_TRUE(sameDisk(diskState(m_dir.path()), expected.disk));
        expectRegistries(expected);
        seen = true;
    });
    EXPECT_EQ(rename("x", "new"), ActResult_Success);
    EXPECT_TRUE(seen);
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("renamed x new")));
}

TEST_F(RenameDataSet, OpensAgainWhatWasOpen)
{
    PtCloud_DataSetFile *points = m_controller.getDataSetReader(QStringLiteral("zed"));
    ASSERT_TRUE(points->openFile());
    ASSERT_EQ(rename("zed", "new"), ActResult_Success);
    EXPECT_EQ(m_controller.getDataSetReader(QStringLiteral("new")), points);
    EXPECT_TRUE(points->isOpened());
    EXPECT_EQ(support::pointsIn(*points), 20);
    EXPECT_EQ(points->getFilepath(), inProject("new/Points"));
}

TEST_F(RenameDataSet, NeedsNoProjectDirectory)
{
    m_controller.setDir(QString());
    expectRefused(ActResult_NotFound, [&] { return rename("unknown", "new"); });
    EXPECT_EQ(rename("zed", "new"), ActResult_Success);
    EXPECT_TRUE(QFile::exists(inProject("new/Points")));
}

TEST_F(RenameDataSet, RefusesBlanksAtTheEndsAndItsOwnName)
{
    for (const char *name : {" new", "new ", "\tnew", "new\n", " ", " abc", "abc"}) {
        SCOPED_TRACE(name);
        expectRefused(ActResult_BadName, [&] { return rename("abc", name); });
    }
    EXPECT_EQ(rename("abc", "the new one"), ActResult_Success);
}

TEST_F(RenameDataSet, TakesNoNoticeOfTheRegistryBeforeTheName)
{
    expectRefused(ActResult_BadName, [&] { return rename("unknown", " new"); });
    expectRefused(ActResult_BadName, [&] { return rename("unknown", "unknown"); });
    expectRefused(ActResult_NotFound, [&] { return rename("unknown", "abc"); });
    expectRefused(ActResult_NotFound, [&] { return rename("ABC", "new"); });
    expectRefused(ActResult_NotFound, [&] { return rename("dir", "new"); });
}

TEST_F(RenameDataSet, RefusesAChangeOfCaseAloneAndTheNamesBehindItsOwn)
{
    expectRefused(ActResult_BadName, [&] { return rename("abc", "ABC"); });
    expectRefused(ActResult_BadName, [&] { return rename("abc", "zed"); });
    expectRefused(ActResult_BadName, [&] { return rename("abc", "Zed"); });
    expectRefused(ActResult_BadName, [&] { return rename("abc", "X"); });
}

TEST_F(RenameDataSet, LeavesNamesBeforeItsOwnToTheFileSystem)
{
    expectRefused(ActResult_FileError, [&] { return rename("zed", "abc"); });
    if (QFileInfo::exists(inProject("ABC"))) {
        expectRefused(ActResult_FileError, [&] { return rename("zed", "ABC"); });
        return;
    }
    EXPECT_EQ(rename("zed", "ABC"), ActResult_Success);
    EXPECT_EQ(m_controller.getDataSets().keys(),
              (QStringList{QStringLiteral("ABC"), QStringLiteral("abc"), QStringLiteral("x")}));
}

TEST_F(RenameDataSet, ComparesTheNamesBehindItsOwnInTheOrderOfTheirLetters)
{
    // Capitals stand before small letters: "Capital" is before "abc", and "last" behind it.
    addDataSet("Capital", support::pointsBytes(40));
    addDataSet("last", support::pointsBytes(41));
    expectRefused(ActResult_BadName, [&] { return rename("abc", "LAST"); });
    expectRefused(ActResult_BadName, [&] { return rename("Capital", "ABC"); });
    const bool isOneFile = QFileInfo::exists(inProject("CAPITAL"));
    EXPECT_EQ(rename("abc", "CAPITAL"), isOneFile ? ActResult_FileError : ActResult_Success);
}

TEST_F(RenameDataSet, ReplacesNoOtherEntry)
{
    // Neither has a directory of the wanted name in its way.
    expectRefused(ActResult_FileError, [&] { return rename("zed", "x"); });
    ASSERT_TRUE(QDir(inProject("dir")).removeRecursively());
    expectRefused(ActResult_FileError, [&] { return rename("zed", "dir"); });
    expectRefused(ActResult_FileError, [&] { return rename("abc", "dir"); });
}

TEST_F(RenameDataSet, FailsWhereTheDirectoryCannotBeMoved)
{
    PtCloud_DataSetFile *points = m_controller.getDataSetReader(QStringLiteral("abc"));
    ASSERT_TRUE(points->openFile());
    expectRefused(ActResult_FileError, [&] { return rename("abc", "unregistered"); });
    EXPECT_FALSE(points->isOpened());
    EXPECT_EQ(points->getFilepath(), inProject("abc/Points"));
    expectRefused(ActResult_FileError, [&] { return rename("abc", "canary"); });
    expectRefused(ActResult_FileError, [&] { return rename("x", "dir"); }); // its own directory
    ASSERT_TRUE(QDir(inProject("zed")).removeRecursively());
    expectRefused(ActResult_FileError, [&] { return rename("zed", "new"); });
}
