#include "ProjectTesting.h"

#include <QFile>
#include <QLockFile>

#include <ostream>
#include <string>
#include <vector>

using support::bareDataSet;
using support::DiskState;
using support::ProjectFile;
using support::readFile;
using support::sameDisk;
using support::words;
using support::writeFile;

namespace
{

/// A project with the LAS files `a.las` and `b.las` and the data sets `abc` and `zed`.
class ProjectRefusals : public support::ProjectTest
{
protected:
    void SetUp() override
    {
        ProjectTest::SetUp();
        makeProject({{QStringLiteral("a.las"), writeLas("a.las", 30)}, {QStringLiteral("b.las"), writeLas("b.las", 5)}},
                    {{QStringLiteral("abc"), bareDataSet()}, {QStringLiteral("zed"), bareDataSet()}});
    }

    void write(const char *name, const QByteArray &bytes) const { ASSERT_TRUE(writeFile(inProject(name), bytes)); }
    /// Lays down what an earlier save keeps.
    void writeOwnCopy(const QByteArray &bytes) const
    {
        ASSERT_TRUE(QDir().mkpath(inProject(".ptcloud")));
        ASSERT_TRUE(writeFile(ownCopy(), bytes));
    }
    void expectUsable() const { EXPECT_EQ(dataSets(), words("abc zed")); }
};

struct Refusal
{
    const char *name;
    const char *line;
    const char *result;
    const char *text;
};

void PrintTo(const Refusal &refusal, std::ostream *out)
{
    *out << refusal.line;
}

class RefusedCommands : public ProjectRefusals, public ::testing::WithParamInterface<Refusal>
{
};

constexpr const char *notFound = "ActResult_NotFound";
constexpr const char *nameExists = "ActResult_NameExists";
constexpr const char *badName = "ActResult_BadName";
constexpr const char *fileError = "ActResult_FileError";
constexpr const char *makeFailed = "ActResult_MakeFailed";
constexpr const char *cannotRun = "ActResult_CannotRun";

const Refusal refusals[] = {{"NewOnAProject", "new", "", "is a project already"},
                            {"ImportOfAMissingFile", "import nowhere.las", fileError, "nowhere.las"},
                            {"LasRemoveOfAnUnknownName", "las-remove nosuch", notFound, "nosuch"},
                            {"LasRemoveInAnotherCase", "las-remove A.LAS", notFound, "A.LAS"},
                            {"LasRemoveWhenTheSecondIsUnknown", "las-remove a.las nosuch", notFound, "nosuch"},
                            {"ColumnsOfAnUnknownName", "columns nosuch", notFound, "nosuch"},
                            {"MakeOfATakenName", "make abc a.las", nameExists, "abc"},
                            {"MakeOfANameTakenInAnotherCase", "make ABC a.las", nameExists, "ABC"},
                            {"MakeFromAnUnknownName", "make new nosuch", notFound, "nosuch"},
                            {"MakeWhenTheSecondIsUnknown", "make new a.las nosuch", notFound, "nosuch"},
                            {"MakeOutsideTheProject", "make ../new a.las", makeFailed, "../new"},
                            {"MakeOfTheDirectoryAbove", "make .. a.las", makeFailed, ".."},
                            {"MakeOfTheProjectItself", "make . a.las", makeFailed, "."},
                            {"MakeOfTheHostsOwnDirectory", "make .ptcloud a.las", "", ".ptcloud"},
                            {"MakeOfTheHostsOwnDirectoryInCapitals", "make .PTCLOUD a.las", "", ".PTCLOUD"},
                            {"MakeOfAColumnThatIsNone", "make new a.las --columns 0,19", "", "19"},
                            {"MakeOfColumnsInWords", "make new a.las --columns position", "", "position"},
                            {"InfoOfAnUnknownName", "info nosuch", notFound, "nosuch"},
                            {"InfoInAnotherCase", "info ABC", notFound, "ABC"},
                            {"BlocksOfAnUnknownName", "blocks nosuch", notFound, "nosuch"},
                            {"BlocksOfAnUnknownMesh", "blocks abc --mesh nosuch", notFound, "nosuch"},
                            {"BlocksOfAnUnknownSplit", "blocks abc --split nosuch", notFound, "nosuch"},
                            {"CopyOfAnUnknownName", "copy nosuch new", notFound, "nosuch"},
                            {"CopyToATakenName", "copy abc ZED", nameExists, "ZED"},
                            {"CopyToItself", "copy abc abc", nameExists, "abc"},
                            {"CopyOutsideTheProject", "copy abc ../new", cannotRun, "../new"},
                            {"CopyToTheHostsOwnDirectory", "copy abc .ptcloud", "", ".ptcloud"},
                            {"MergeToATakenName", "merge ABC zed", nameExists, "ABC"},
                            {"MergeOfAnUnknownName", "merge new abc nosuch", notFound, "new"},
                            {"MergeAndRemoveOfAnUnknownName", "merge new abc nosuch --remove-sources", notFound, "new"},
                            {"MergeOutsideTheProject", "merge ../new abc zed --remove-sources", fileError, "../new"},
                            {"MergeToTheHostsOwnDirectory", "merge .ptcloud abc zed --remove-sources", "", ".ptcloud"},
                            {"RenameToItself", "rename abc abc", badName, "abc"},
                            {"RenameInAnotherCase", "rename abc ABC", badName, "ABC"},
                            {"RenameToATakenName", "rename abc zed", badName, "zed"},
                            {"RenameToATakenNameThatSortsBefore", "rename zed abc", fileError, "abc"},
                            {"RenameOfAnUnknownName", "rename nosuch new", notFound, "nosuch"},
                            {"RenameOutsideTheProject", "rename abc ../new", fileError, "../new"},
                            {"RenameToTheHostsOwnDirectory", "rename abc .Ptcloud", "", ".Ptcloud"},
                            {"RemoveOfAnUnknownName", "remove nosuch", notFound, "nosuch"},
                            {"RemoveInAnotherCase", "remove ABC", notFound, "ABC"},
                            {"RemoveWhenTheSecondIsUnknown", "remove abc nosuch", notFound, "nosuch"}};

class WrongUsage : public ProjectRefusals, public ::testing::WithParamInterface<const char *>
{
};

/// Every command that opens a project.
const char *const openingCommands[] = {"import a.las",     "las-list",
                                       "las-remove a.las", "columns a.las",
                                       "make new a.las",   "list",
                                       "info abc",         "blocks abc",
                                       "copy abc new",     "merge new abc",
                                       "rename abc new",   "remove abc",
                                       "volume abc",       "export abc nowhere/out.csv"};

class OpeningCommands : public ProjectRefusals, public ::testing::WithParamInterface<const char *>
{
};

std::string commandName(const ::testing::TestParamInfo<const char *> &info)
{
    std::string name;
    for (const char letter : words(info.param).first().toStdString()) {
        if (letter != '-')
            name += letter;
    }
    return name;
}

} // namespace

TEST_P(RefusedCommands, SayWhyAndChangeNothing)
{
    expectRefused(GetParam().line, GetParam().result, GetParam().text);
    expectUsable();
}

INSTANTIATE_TEST_SUITE_P(Project, RefusedCommands, ::testing::ValuesIn(refusals), support::CaseName());

TEST_P(WrongUsage, EndsWithTwoAndChangesNothing)
{
    const DiskState before = onDisk();
    const PtcloudRun done = run(GetParam());
    EXPECT_TRUE(done.isFinished);
    EXPECT_EQ(done.exitCode, 2);
    EXPECT_FALSE(done.errors.isEmpty());
    EXPECT_TRUE(done.output.isEmpty()) << done.output.constData();
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

INSTANTIATE_TEST_SUITE_P(Project, WrongUsage,
                         ::testing::Values("nosuchcommand", "import", "las-remove", "columns", "make new", "make",
                                           "info", "blocks", "blocks abc --mesh m --split s", "copy abc", "rename abc",
                                           "merge new", "remove", "list abc", "list --nosuchoption",
                                           "remove abc --remove-sources"));

TEST_P(OpeningCommands, NeedAProject)
{
    ASSERT_TRUE(QDir().mkpath(path("empty")));
    for (const char *dir : {"empty", "missing"}) {
        const DiskState before = support::diskState(m_dir.path());
        const PtcloudRun done(words(GetParam()) << QStringLiteral("-p") << path(dir));
        expectFailed(done, "", dir);
        EXPECT_TRUE(done.errorLines().first().contains("is no project")) << done.errors.constData();
        EXPECT_TRUE(sameDisk(support::diskState(m_dir.path()), before)) << dir;
    }
}

TEST_P(OpeningCommands, RefuseToDeleteFilesThatHaveNoPartInTheProject)
{
    write("notes.txt", "mine");
    write("abc/plan.pdf", "mine too");
    expectRefused(GetParam(), "", "notes.txt");
    expectRefused(GetParam(), "", "abc/plan.pdf");
    expectRefused(GetParam(), "", "--sweep");
}

TEST_P(OpeningCommands, RefuseAProjectFileThatIsCut)
{
    const QByteArray whole = readFile(projectFile());
    write("points_cloud.pcproj", whole.left(whole.size() - 2));
    // Nothing is told of the files beside it: which of them belong to the project is not known.
    write("notes.txt", "mine");
    expectRefused(GetParam(), "", "--recover");
}

TEST_P(OpeningCommands, RefuseAProjectThatAnotherProgramHolds)
{
    ASSERT_TRUE(QDir().mkpath(inProject(".ptcloud")));
    QLockFile other(inProject(".ptcloud/lock"));
    ASSERT_TRUE(other.lock());
    expectRefused(GetParam(), "", "another program works in");
    other.unlock();
    expectUsable();
}

INSTANTIATE_TEST_SUITE_P(Project, OpeningCommands, ::testing::ValuesIn(openingCommands), commandName);

TEST_F(ProjectRefusals, ImportRegistersAllFilesOrNone)
{
    expectRefused({QStringLiteral("import"), writeLas("sound.las", 3), path("nowhere.las")}, fileError, "nowhere.las");
    ASSERT_TRUE(writeFile(path("cut.las"), lasBytes(3).left(100)));
    expectRefused({QStringLiteral("import"), path("sound.las"), path("cut.las")}, fileError, "cut.las");
    ASSERT_TRUE(QDir().mkpath(path("folder.las")));
    expectRefused({QStringLiteral("import"), path("folder.las")}, fileError, "folder.las");
}

TEST_F(ProjectRefusals, NewNeedsADirectoryThatCanBeMade)
{
    ASSERT_TRUE(writeFile(path("file"), "x"));
    for (const char *dir : {"file", "file/below"}) {
        const DiskState before = onDisk();
        expectFailed(PtcloudRun(words("new -p") << path(dir)), "", dir);
        EXPECT_TRUE(sameDisk(onDisk(), before)) << dir;
    }
}

TEST_F(ProjectRefusals, NamesWithBlanksAtTheirEndsAreNoNewNames)
{
    for (const char *name : {" new", "new ", "\tnew"})
        expectRefused({QStringLiteral("rename"), QStringLiteral("abc"), QString::fromUtf8(name)}, badName, "abc");
}

TEST_F(ProjectRefusals, AMakeFromADamagedFileCanBeTriedAgain)
{
    ASSERT_TRUE(writeFile(path("b.las"), lasBytes(5).left(150)));
    const DiskState before = onDisk();
    expectFailed(run("make new a.las b.las"), fileError, "b.las");
    DiskState after = onDisk();
    // The library leaves the directory that it had made, empty.
    EXPECT_EQ(after.value(QStringLiteral("project/new"), "directory"), QByteArray("directory"));
    after.remove(QStringLiteral("project/new"));
    EXPECT_TRUE(sameDisk(after, before));
    expectUsable();

    ASSERT_TRUE(writeFile(path("b.las"), lasBytes(5)));
    EXPECT_EQ(run("make new a.las b.las").exitCode, 0);
    EXPECT_EQ(dataSets(), words("abc new zed"));
    EXPECT_EQ(support::pointsIn(readFile(inProject("new/Points"))), 35);
}

TEST_F(ProjectRefusals, AMakeThatFindsNoPointsRegistersNothing)
{
    support::LasWriter elsewhere;
    elsewhere.points.resize(5);
    elsewhere.hasBounds = true;
    elsewhere.minimum = {100.0, 100.0, 100.0};
    elsewhere.maximum = {101.0, 101.0, 101.0};
    ASSERT_TRUE(elsewhere.write(path("b.las")));
    const QByteArray before = readFile(projectFile());
    expectFailed(run("make new b.las"), makeFailed, "new");
    EXPECT_EQ(readFile(projectFile()), before);
    expectUsable();
}

TEST_F(ProjectRefusals, SweepDeletesWhatHasNoPartInTheProject)
{
    write("notes.txt", "mine");
    write("abc/tmp_points", support::pointsBytes(3));
    write("abc/roof.mesh", support::meshBytes(4).left(30));
    write("abc/wall.mesh", support::meshBytes(4));
    for (const char *name : {"notes.txt", "abc/tmp_points", "abc/roof.mesh"})
        expectRefused("list", "", name);
    EXPECT_FALSE(run("list").errors.contains("wall.mesh"));

    const PtcloudRun swept = run("list --sweep --json");
    EXPECT_EQ(swept.exitCode, 0) << swept.errors.constData();
    EXPECT_EQ(QDir(project()).entryList(QDir::Files), QStringList{QStringLiteral("points_cloud.pcproj")});
    EXPECT_EQ(QDir(inProject("abc")).entryList(QDir::Files), words("Points wall.mesh"));
    expectUsable();
}

TEST_F(ProjectRefusals, DirectoriesAndHiddenFilesAreNotInTheWay)
{
    write(".hidden", "mine");
    write("abc/.hidden", "mine");
    ASSERT_TRUE(QDir().mkpath(inProject("plans")) && QDir().mkpath(inProject("abc/plans")));
    write("plans/notes.txt", "mine");
    write("abc/plans/notes.txt", "mine");
    const DiskState before = onDisk();
    expectUsable();
    EXPECT_EQ(run("list --sweep").exitCode, 0);
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

TEST_F(ProjectRefusals, FilesOfADirectoryThatIsNoDataSetAreNotInTheWay)
{
    ASSERT_TRUE(QFile::remove(inProject("zed/Points")));
    write("zed/notes.txt", "mine");
    EXPECT_EQ(dataSets(), words("abc"));
    EXPECT_EQ(readFile(inProject("zed/notes.txt")), QByteArray("mine"));
}

TEST_F(ProjectRefusals, AProjectFileThatIsCutAnywhereIsTold)
{
    const QByteArray whole = readFile(projectFile());
    writeOwnCopy(whole);
    for (int size = 0; size < whole.size(); size += 5) {
        write("points_cloud.pcproj", whole.left(size));
        const DiskState before = onDisk();
        expectFailed(run("list"), "", "points_cloud.pcproj");
        EXPECT_TRUE(sameDisk(onDisk(), before)) << size;
    }
    EXPECT_EQ(run("list --recover").exitCode, 0);
    EXPECT_EQ(readFile(projectFile()), whole);
    expectUsable();
}

TEST_F(ProjectRefusals, AProjectFileOfAnotherKindIsTold)
{
    ProjectFile version;
    version.version = 2;
    ProjectFile negative;
    negative.announcedDataSets = -2 & 0xffffffffLL;
    ProjectFile endless;
    endless.announcedLasFiles = 0x7fffffff;
    const QByteArray text = "points of the south wall";
    for (const QByteArray &bytes : {version.bytes(), negative.bytes(), endless.bytes(), text}) {
        write("points_cloud.pcproj", bytes);
        expectRefused("list", "", "points_cloud.pcproj");
    }
}

TEST_F(ProjectRefusals, RecoverPutsTheCopyBackBeforeACommandRuns)
{
    ASSERT_EQ(run("make first a.las").exitCode, 0);
    ASSERT_EQ(run("make second b.las").exitCode, 0);
    write("points_cloud.pcproj", readFile(projectFile()).left(50));
    const PtcloudRun done = run("copy first third --recover");
    EXPECT_EQ(done.exitCode, 0) << done.errors.constData();
    // What the last save told is lost, its directory is not.
    EXPECT_EQ(dataSets(), words("abc first third zed"));
    EXPECT_EQ(support::pointsIn(readFile(inProject("second/Points"))), 5);
}

TEST_F(ProjectRefusals, RecoverPutsBackAProjectFileThatIsGone)
{
    writeOwnCopy(readFile(projectFile()));
    ASSERT_TRUE(QFile::remove(projectFile()));
    expectRefused("list", "", "--recover");
    EXPECT_EQ(run("list --recover").exitCode, 0);
    expectUsable();
}

TEST_F(ProjectRefusals, RecoverNeedsAGoodCopy)
{
    const QByteArray whole = readFile(projectFile());
    expectRefused("list --recover", "", "no good copy");
    for (const QByteArray &copy : {QByteArray(), whole.left(40)}) {
        writeOwnCopy(copy);
        expectRefused("list --recover", "", "no good copy");
        write("points_cloud.pcproj", whole.left(30));
        expectRefused("list --recover", "", "no good copy");
        write("points_cloud.pcproj", whole);
    }
    expectUsable();
}

TEST_F(ProjectRefusals, ADamagedProjectFileNeverReplacesTheCopy)
{
    const QByteArray whole = readFile(projectFile());
    writeOwnCopy(whole);
    write("points_cloud.pcproj", whole.left(30));
    for (const char *line : openingCommands) {
        EXPECT_EQ(run(line).exitCode, 1) << line;
        EXPECT_EQ(readFile(ownCopy()), whole) << line;
    }
}

TEST_F(ProjectRefusals, TwoHostsAtOnceDoNotLoseEachOthersWork)
{
    QProcess hosts[2];
    const char *const lines[] = {"make first a.las", "make second b.las"};
    for (int i = 0; i < 2; ++i)
        hosts[i].start(QStringLiteral(PTCLOUD_PROGRAM), words(lines[i]) << QStringLiteral("-p") << project());
    QStringList expected = words("abc zed");
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(hosts[i].waitForFinished(120000));
        if (hosts[i].exitCode() == 0)
            expected << words(lines[i])[1];
        else
            EXPECT_TRUE(hosts[i].readAllStandardError().contains("another program works in")) << lines[i];
    }
    EXPECT_GT(expected.size(), 2);
    expected.sort();
    EXPECT_EQ(dataSets(), expected);
}
