#include "ProjectTesting.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

#include <QPointer>

#include <memory>

using namespace ptCloud;
using support::DiskState;
using support::diskState;
using support::ProjectFile;
using support::readFile;
using support::registriesOf;
using support::sameDisk;
using support::writeFile;

namespace
{

class Project : public support::ProjectTest
{
};

} // namespace

TEST_F(Project, WithoutAnythingIsTwelveBytes)
{
    QString error = QStringLiteral("mine");
    EXPECT_TRUE(m_project.save(directory(), &error));
    EXPECT_EQ(error, QStringLiteral("mine"));
    EXPECT_EQ(readFile(file()), QByteArray("\0\0\0\1\0\0\0\0\0\0\0\0", 12));
}

TEST_F(Project, IsSavedByteForByte)
{
    m_project.setDir(directory());
    const QString odd = QString(QChar(0x5c71)) + QStringLiteral(" .las");
    m_project.getController()->setFiles({{QStringLiteral("b"), las("b.las")}, {odd, las("a.las")}, {{}, las("a.las")}},
                                        {{QStringLiteral("x"), QStringLiteral("zed")}}, {});
    ASSERT_TRUE(m_project.save(directory(), nullptr));
    // 1; 3 pairs; "b" is 0x0062; 山 is 0x5c71.
    const QByteArray bytes = readFile(file());
    EXPECT_EQ(bytes.left(8), QByteArray("\0\0\0\1\0\0\0\3", 8));
    EXPECT_TRUE(bytes.contains(QByteArray("\0\0\0\2\0b", 6)));
    EXPECT_TRUE(bytes.endsWith(QByteArray("\0\0\0\1\0\0\0\2\0x\0\0\0\6\0z\0e\0d", 20)));
    ProjectFile expected;
    expected.lasFiles = {{QString(), las("a.las")}, {QStringLiteral("b"), las("b.las")}, {odd, las("a.las")}};
    expected.dataSets = {{QStringLiteral("x"), QStringLiteral("zed")}};
    EXPECT_EQ(bytes, expected.bytes());
}

TEST_F(Project, SavesLasPathsAsTheyWereGiven)
{
    const QString path = m_root.filePath(QStringLiteral("project/../a.las"));
    ASSERT_EQ(m_project.getController()->doCmd_LasFile_Import({path}, nullptr), ActResult_Success);
    ASSERT_TRUE(m_project.save(directory(), nullptr));
    ProjectFile expected;
    expected.lasFiles = {{QStringLiteral("a.las"), path}};
    EXPECT_EQ(readFile(file()), expected.bytes());
}

TEST_F(Project, SavesANullPathAsALengthOfAllOnes)
{
    m_project.setDir(directory());
    ASSERT_EQ(m_project.getController()->doCmd_DataSet_Make(
                  {{QStringLiteral("?")}, {EDataSetColumn_Position}, QStringLiteral("new")}),
              ActResult_FileError);
    ASSERT_TRUE(m_project.save(directory(), nullptr));
    EXPECT_EQ(readFile(file()), QByteArray("\0\0\0\1\0\0\0\1\0\0\0\2\0?\xff\xff\xff\xff\0\0\0\0", 22));
}

TEST_F(Project, IsSavedOverALongerFile)
{
    ASSERT_TRUE(writeFile(file(), QByteArray(1000, 'x')));
    ASSERT_TRUE(m_project.save(directory(), nullptr));
    EXPECT_EQ(readFile(file()), ProjectFile().bytes());
}

TEST_F(Project, IsSavedWhereverAskedAndStaysWhereItIs)
{
    ASSERT_TRUE(load(full()));
    const DiskState before = diskState(directory());
    const QString other = m_root.filePath(QStringLiteral("other"));
    support::makeDirectory(other, {{QStringLiteral("x"), "x"}});
    ASSERT_TRUE(m_project.save(other, nullptr));
    EXPECT_TRUE(sameDisk(diskState(other),
                         {{QStringLiteral("x"), "x"}, {QStringLiteral("points_cloud.pcproj"), full().bytes()}}));
    EXPECT_TRUE(sameDisk(diskState(directory()), before));
    ASSERT_EQ(m_project.getController()->doCmd_DataSet_Copy({QStringLiteral("abc"), QStringLiteral("new")}),
              ActResult_Success);
    EXPECT_TRUE(QFile::exists(inProject("new/Points")));
}

TEST_F(Project, CannotBeSavedWithoutADirectoryOrAPlaceForTheFile)
{
    const DiskState before = diskState(m_root.path());
    QString error = QStringLiteral("mine");
    EXPECT_FALSE(m_project.save(QString(), &error));
    EXPECT_FALSE(m_project.save(QStringLiteral(""), &error));
    EXPECT_FALSE(m_project.save(m_root.filePath(QStringLiteral("nowhere")), &error));
    EXPECT_FALSE(m_project.save(las("a.las"), &error));
    EXPECT_EQ(error, QStringLiteral("mine"));
    EXPECT_TRUE(sameDisk(diskState(m_root.path()), before));
    ASSERT_TRUE(QDir().mkpath(file()));
    EXPECT_FALSE(m_project.save(directory(), nullptr));
}

#ifdef Q_OS_UNIX
TEST_F(Project, IsSavedThroughNoLinkThatLeadsNowhere)
{
    const QString far = m_root.filePath(QStringLiteral("far"));
    ASSERT_TRUE(QFile::link(far, file()));
    EXPECT_FALSE(m_project.save(directory(), nullptr));
    EXPECT_FALSE(QFileInfo::exists(far));
}

TEST_F(Project, IsCutShortByAFullDiskWithoutAWord)
{
    ASSERT_TRUE(load(full()));
    {
        const support::FileSizeLimit limit(10);
        ASSERT_TRUE(limit.holds());
        EXPECT_TRUE(m_project.save(directory(), nullptr));
    }
    EXPECT_EQ(readFile(file()), full().bytes().left(10));
}
#endif

TEST_F(Project, ComesBackAsItWasSaved)
{
    ASSERT_TRUE(load(full()));
    expectRegistries(allLasFiles(), allDataSets());
    ASSERT_TRUE(m_project.save(directory(), nullptr));
    EXPECT_EQ(readFile(file()), full().bytes());
    PtCloud_Project other;
    QString error = QStringLiteral("mine");
    ASSERT_TRUE(other.loadProject(directory(), &error));
    EXPECT_EQ(error, QStringLiteral("mine"));
    EXPECT_EQ(registriesOf(other).lasFiles, allLasFiles());
    EXPECT_EQ(registriesOf(other).dataSets, allDataSets());
    EXPECT_EQ(support::pointsIn(*other.getController()->getDataSetReader(QStringLiteral("abc"))), 0);
    ASSERT_TRUE(other.getController()->getDataSetReader(QStringLiteral("last"))->openFile());
    EXPECT_EQ(support::pointsIn(*other.getController()->getDataSetReader(QStringLiteral("last"))), 5);
}

TEST_F(Project, MovesAsAWholeWithoutLasFilesThatMoved)
{
    ASSERT_TRUE(writeFile(file(), full().bytes()));
    const QString moved = m_root.filePath(QStringLiteral("moved"));
    ASSERT_TRUE(QDir().rename(directory(), moved));
    ASSERT_TRUE(QFile::rename(las("b.las"), las("c.las")));
    ASSERT_TRUE(m_project.loadProject(moved, nullptr));
    expectRegistries({{QStringLiteral("a.las"), las("a.las")}}, allDataSets());
    ASSERT_TRUE(m_project.save(moved, nullptr));
    ProjectFile expected = full();
    expected.lasFiles.pop_back();
    EXPECT_EQ(readFile(moved + QStringLiteral("/points_cloud.pcproj")), expected.bytes());
}

TEST_F(Project, LeavesOutDataSetsThatDoNotLoad)
{
    ASSERT_TRUE(writeFile(inProject("abc/Points"), "damaged"));
    ASSERT_TRUE(QDir(inProject("zed")).removeRecursively());
    ASSERT_TRUE(load(full()));
    expectRegistries(allLasFiles(), {});
    EXPECT_EQ(readFile(inProject("abc/Points")), "damaged");
    EXPECT_TRUE(QDir(inProject("zed")).isEmpty());
}

TEST_F(Project, DeletesPlainFilesBesideItsOwnWhenItIsOpened)
{
    support::makeDirectory(inProject("unregistered"), {{QStringLiteral("notes.txt"), "kept"}});
#ifdef Q_OS_LINUX
    ASSERT_TRUE(writeFile(inProject("POINTS_CLOUD.PCPROJ"), "kept by its name"));
    ASSERT_TRUE(writeFile(inProject(".hidden"), "not listed"));
#endif
    DiskState expected = diskState(m_root.path());
    ASSERT_TRUE(writeFile(inProject("notes.txt"), "gone"));
    ASSERT_TRUE(writeFile(inProject("Points"), "gone"));
    expected[QStringLiteral("project/points_cloud.pcproj")] = full().bytes();
    ASSERT_TRUE(load(full()));
    EXPECT_TRUE(sameDisk(diskState(m_root.path()), expected));
}

TEST_F(Project, TellsNothingWhenItIsOpened)
{
    int signalCount = 0;
    const auto count = [&signalCount] { ++signalCount; };
    QObject::connect(m_project.getController(), &PtCloud_Controller::sg_LasFile_Added, count);
    QObject::connect(m_project.getController(), &PtCloud_Controller::sg_LasFile_Removed, count);
    QObject::connect(m_project.getController(), &PtCloud_Controller::sg_DataSet_Added, count);
    QObject::connect(m_project.getController(), &PtCloud_Controller::sg_DataSet_Removed, count);
    ASSERT_TRUE(load(full()));
    ASSERT_TRUE(load(ProjectFile()));
    EXPECT_EQ(signalCount, 0);
}

TEST_F(Project, OpensInTheCurrentDirectoryWithoutADirectoryAndIsThenEmpty)
{
    ASSERT_TRUE(load(full()));
    ASSERT_TRUE(writeFile(inProject("notes.txt"), "notes"));
    const DiskState before = diskState(m_root.path());
    const QString current = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(directory()));
    EXPECT_TRUE(m_project.loadProject(QString(), nullptr));
    EXPECT_TRUE(QDir::setCurrent(current));
    expectRegistries({}, {});
    EXPECT_TRUE(sameDisk(diskState(m_root.path()), before));
}

TEST_F(Project, CopiesNameOneControllerThatGoesWithTheLast)
{
    auto first = std::make_unique<PtCloud_Project>();
    auto second = std::make_unique<PtCloud_Project>();
    const QPointer<PtCloud_Controller> shared = first->getController();
    const QPointer<PtCloud_Controller> replaced = second->getController();
    ASSERT_NE(shared, replaced);
    *second = *first;
    EXPECT_EQ(second->getController(), shared);
    EXPECT_TRUE(replaced.isNull());
    auto third = std::make_unique<PtCloud_Project>(*second);
    EXPECT_EQ(third->getController(), shared);

    first.reset();
    ASSERT_FALSE(shared.isNull());
    second->setDir(directory());
    third->getController()->setFiles({}, {{QStringLiteral("abc"), QStringLiteral("abc")}}, {});
    EXPECT_FALSE(second->isDataSetEmpty());
    second.reset();
    EXPECT_FALSE(shared.isNull());
    third.reset();
    EXPECT_TRUE(shared.isNull());
}

TEST_F(Project, SurvivesItsOwnAssignment)
{
    const QPointer<PtCloud_Controller> controller = m_project.getController();
    const PtCloud_Project &itself = m_project;
    EXPECT_EQ(&(m_project = itself), &m_project);
    ASSERT_FALSE(controller.isNull());
    EXPECT_EQ(m_project.getController(), controller);
}

TEST_F(Project, IsNotChangedByClear)
{
    EXPECT_TRUE(m_project.isDataSetEmpty());
    ASSERT_TRUE(load(full()));
    PtCloud_Controller *const controller = m_project.getController();
    m_project.clear();
    EXPECT_EQ(m_project.getController(), controller);
    EXPECT_FALSE(m_project.isDataSetEmpty());
    expectRegistries(allLasFiles(), allDataSets());
}
