#include "ProjectTesting.h"

#include "SameBytes.h"

#include <QFile>

using support::BlockFile;
using support::DiskState;
using support::readFile;
using support::sameBytes;
using support::sameDisk;
using support::words;

namespace
{

/// A project whose data set `site` has a number of its own at the one point of each of its files.
class ProjectExport : public support::ProjectTest
{
protected:
    void SetUp() override
    {
        ProjectTest::SetUp();
        makeProject({}, {{QStringLiteral("site"),
                          {{QStringLiteral("Points"), onePoint(1)},
                           {QStringLiteral("roof.mesh"), onePoint(2)},
                           {QStringLiteral("north.split"), onePoint(3)},
                           {QStringLiteral("dem.demmesh"), onePoint(4)}}},
                         {QStringLiteral("bare"), {{QStringLiteral("Points"), onePoint(5)}}}});
    }

    static QByteArray onePoint(float x)
    {
        BlockFile file;
        file.columns = {0};
        BlockFile::Block block = file.makeBlock(1, 1);
        block.columns = {QByteArray()};
        for (const float number : {x, 0.0F, 0.0F})
            support::put(block.columns[0], number);
        file.blocks = {block};
        return file.bytes();
    }

    QByteArray exported(const char *arguments) const
    {
        const QString out = path("out.csv");
        QFile::remove(out);
        const PtcloudRun done = run(words(arguments) << out);
        EXPECT_EQ(done.exitCode, 0) << arguments << ": " << done.errors.constData();
        return readFile(out);
    }
};

} // namespace

TEST_F(ProjectExport, TakesThePointsUnlessAnotherFileIsChosen)
{
    EXPECT_EQ(exported("export site"), "x,y,z\n1,0,0\n");
    EXPECT_EQ(exported("export --data-set site"), "x,y,z\n1,0,0\n");
    EXPECT_EQ(exported("export site --mesh roof"), "x,y,z\n2,0,0\n");
    EXPECT_EQ(exported("export site --split north"), "x,y,z\n3,0,0\n");
    EXPECT_EQ(exported("export site --terrain"), "x,y,z\n4,0,0\n");
    EXPECT_EQ(exported("export bare"), "x,y,z\n5,0,0\n");
}

TEST_F(ProjectExport, LeavesTheProjectAsItWas)
{
    const DiskState before = onDisk();
    exported("export site");
    ASSERT_TRUE(QFile::remove(path("out.csv")));
    EXPECT_TRUE(sameDisk(onDisk(), before));
}

TEST_F(ProjectExport, RefusesWhatTheProjectDoesNotHave)
{
    const auto refuse = [this](const char *arguments, const char *text) {
        expectRefused(words(arguments) << path("out.csv"), "ActResult_NotFound", text);
    };
    refuse("export nowhere", "nowhere");
    refuse("export SITE", "SITE");
    refuse("export site --mesh wall", "wall");
    refuse("export site --split roof", "roof");
    refuse("export bare --terrain", "terrain");
}

TEST_F(ProjectExport, TakesANameForADataSetWhereAProjectIsNamed)
{
    const QString file = inProject("site/Points");
    expectRefused({QStringLiteral("export"), file, path("out.csv")}, "ActResult_NotFound", "Points");
    EXPECT_EQ(PtcloudRun({QStringLiteral("export"), file, path("out.csv")}).exitCode, 0);
    EXPECT_EQ(readFile(path("out.csv")), "x,y,z\n1,0,0\n");
}

TEST_F(ProjectExport, NeverWritesOverTheDataSet)
{
    ASSERT_TRUE(QFile::link(inProject("site/Points"), path("link.csv")));
    expectRefused({QStringLiteral("export"), QStringLiteral("site"), path("link.csv")}, "", "link.csv");
}

TEST_F(ProjectExport, GivesBackTheRecordsThatADataSetWasMadeOf)
{
    const QString survey = writeLas("survey.las", 50, 3);
    ASSERT_EQ(run({QStringLiteral("import"), survey}).exitCode, 0);
    ASSERT_EQ(run("make made survey.las").exitCode, 0);
    ASSERT_EQ(run({QStringLiteral("export"), QStringLiteral("made"), path("out.las")}).exitCode, 0);
    // One block holds all points, in their order.
    EXPECT_TRUE(sameBytes(readFile(path("out.las")).mid(227), readFile(survey).mid(227)));
}
