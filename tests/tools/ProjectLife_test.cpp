#include "ProjectTesting.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

using support::BlockFile;
using support::DiskState;
using support::namesIn;
using support::readFile;
using support::rowOf;
using support::sameDisk;
using support::words;

namespace
{

using NameMap = QMap<QString, QString>;

/// A project with two LAS files of one name and of 30 and 20 points; the second has colours.
class ProjectLife : public support::ProjectTest
{
protected:
    void SetUp() override
    {
        ProjectTest::SetUp();
        m_east = writeLas("east/a.las", 30, 1);
        m_west = writeLas("west/a.las", 20, 2);
        ASSERT_EQ(run("new").exitCode, 0);
        ASSERT_EQ(run({QStringLiteral("import"), m_east, m_west}).exitCode, 0);
    }

    void expectRun(const char *line) const
    {
        const PtcloudRun done = run(line);
        ASSERT_EQ(done.exitCode, 0) << line << ": " << done.errors.constData();
    }
    /// Expects that a command prints the new name, and that the project file lists just these data sets.
    void expectNewDataSet(const char *line, const char *name, const char *allNames) const
    {
        const PtcloudRun done = run(line);
        ASSERT_EQ(done.exitCode, 0) << line << ": " << done.errors.constData();
        EXPECT_EQ(done.output.toStdString(), std::string(name) + '\n') << line;
        expectRecorded(allNames);
    }
    void expectRecorded(const char *allNames) const
    {
        NameMap expected;
        for (const QString &name : words(allNames))
            expected[name] = name;
        EXPECT_EQ(recorded().dataSets, expected);
        EXPECT_EQ(dataSets(), expected.keys());
    }
    BlockFile points(const char *name) const
    {
        const auto file = BlockFile::parse(readFile(inProject(name) + QStringLiteral("/Points")));
        EXPECT_TRUE(file.has_value()) << name;
        return file.value_or(BlockFile());
    }

    QString m_east;
    QString m_west;
};

/// The sixteen-bit numbers of a column run, in ascending order.
std::vector<int> sortedNumbers(const QByteArray &run)
{
    std::vector<int> numbers;
    for (int at = 0; at + 2 <= run.size(); at += 2)
        numbers.push_back(support::get<quint16>(run, at));
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::vector<int> numbersUpTo(std::initializer_list<int> counts)
{
    std::vector<int> numbers;
    for (const int count : counts) {
        for (int i = 0; i < count; ++i)
            numbers.push_back(i);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

constexpr quint32 positions = 0;
constexpr quint32 intensities = 4;

} // namespace

TEST_F(ProjectLife, BeginsWithAnEmptyProjectFile)
{
    const QString dir = path("deep/er");
    const PtcloudRun done({QStringLiteral("new"), QStringLiteral("-p"), dir, QStringLiteral("--json")});
    ASSERT_EQ(done.exitCode, 0) << done.errors.constData();
    EXPECT_EQ(done.json().value(QStringLiteral("project")).toString(), dir);
    EXPECT_EQ(readFile(dir + QStringLiteral("/points_cloud.pcproj")), support::ProjectFile().bytes());
}

TEST_F(ProjectLife, RegistersLasFilesUnderNamesOfTheirOwn)
{
    EXPECT_EQ(recorded().lasFiles, (NameMap{{QStringLiteral("_a.las"), m_west}, {QStringLiteral("a.las"), m_east}}));
    const QJsonArray rows = listed(QStringLiteral("lasFiles"), "las-list");
    EXPECT_EQ(namesIn(rows), (QStringList{QStringLiteral("_a.las"), QStringLiteral("a.las")}));
    EXPECT_EQ(rowOf(rows, QStringLiteral("a.las")).value(QStringLiteral("path")).toString(), m_east);
    EXPECT_EQ(rowOf(rows, QStringLiteral("_a.las")).value(QStringLiteral("path")).toString(), m_west);
}

TEST_F(ProjectLife, TellsThePointsAndTheFormatOfEachLasFile)
{
    const QJsonArray rows = listed(QStringLiteral("lasFiles"), "las-list");
    const QJsonObject east = rowOf(rows, QStringLiteral("a.las"));
    EXPECT_EQ(east.value(QStringLiteral("points")).toInt(-1), 30);
    EXPECT_EQ(east.value(QStringLiteral("format")).toInt(-1), 1);
    const QJsonObject west = rowOf(rows, QStringLiteral("_a.las"));
    EXPECT_EQ(west.value(QStringLiteral("points")).toInt(-1), 20);
    EXPECT_EQ(west.value(QStringLiteral("format")).toInt(-1), 2);
}

TEST_F(ProjectLife, ForgetsALasFileAndLeavesItWhereItIs)
{
    expectRun("las-remove a.las");
    EXPECT_EQ(recorded().lasFiles, (NameMap{{QStringLiteral("_a.las"), m_west}}));
    EXPECT_TRUE(QFile::exists(m_east));
}

TEST_F(ProjectLife, TellsTheColumnsOfALasFile)
{
    const auto columnsOf = [this](const char *line) {
        std::vector<int> numbers;
        for (const QJsonValue &number : listed(QStringLiteral("columns"), line))
            numbers.push_back(number.toInt());
        return numbers;
    };
    EXPECT_EQ(columnsOf("columns a.las"), (std::vector<int>{0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}));
    EXPECT_EQ(columnsOf("columns _a.las"), (std::vector<int>{0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST_F(ProjectLife, MakesADataSetOfAllColumnsThatAllItsFilesHave)
{
    expectNewDataSet("make wall a.las _a.las", "wall", "wall");
    EXPECT_EQ(points("wall").columns, (std::vector<quint32>{0, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST_F(ProjectLife, MakesADataSetOfTheColumnsThatAreAskedFor)
{
    expectNewDataSet("make wall a.las --columns 4,0", "wall", "wall");
    EXPECT_EQ(points("wall").columns, (std::vector<quint32>{intensities, positions}));
    EXPECT_EQ(sortedNumbers(points("wall").blocks.at(0).columns.at(0)), numbersUpTo({30}));
}

TEST_F(ProjectLife, ListsWhatADataSetHolds)
{
    expectRun("make wall a.las --columns 0");
    const QJsonObject row = rowOf(listed(QStringLiteral("dataSets"), "list"), QStringLiteral("wall"));
    EXPECT_EQ(row.value(QStringLiteral("directory")).toString(), QStringLiteral("wall"));
    EXPECT_EQ(row.value(QStringLiteral("points")).toInt(), 30);
    EXPECT_EQ(row.value(QStringLiteral("blocks")).toInt(), 1);
    EXPECT_TRUE(row.value(QStringLiteral("meshes")).isArray());
    EXPECT_TRUE(row.value(QStringLiteral("splits")).isArray());
    const QJsonArray box = row.value(QStringLiteral("box")).toArray();
    ASSERT_EQ(box.size(), 6);
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_LE(box[axis].toDouble(), 0.0);
    EXPECT_GE(box[3].toDouble(), 0.29);
    EXPECT_GE(box[4].toDouble(), 0.145);
    EXPECT_GE(box[5].toDouble(), 0.029);
    EXPECT_EQ(run("list").output.toStdString(), "wall: 30 points in 1 blocks\n");
}

TEST_F(ProjectLife, TellsTheBlocksOfADataSetAndOfItsContents)
{
    makeProject({}, {{QStringLiteral("site"), support::fullDataSet()}});
    const auto pointsOf = [this](const char *line) {
        const QJsonArray blocks = listed(QStringLiteral("blocks"), line);
        EXPECT_EQ(blocks.size(), 1) << line;
        EXPECT_EQ(blocks[0].toObject().value(QStringLiteral("key")).toInt(), 1) << line;
        return blocks[0].toObject().value(QStringLiteral("points")).toInt();
    };
    EXPECT_EQ(pointsOf("blocks site"), 10);
    EXPECT_EQ(pointsOf("blocks site --mesh wall"), 12);
    EXPECT_EQ(pointsOf("blocks site --split north"), 15);
}

TEST_F(ProjectLife, TellsEverythingThatADataSetHolds)
{
    makeProject({}, {{QStringLiteral("site"), support::fullDataSet()}});
    const QJsonObject told = json("info site");
    EXPECT_EQ(told.value(QStringLiteral("name")).toString(), QStringLiteral("site"));
    EXPECT_EQ(QFileInfo(told.value(QStringLiteral("directory")).toString()).absoluteFilePath(), inProject("site"));
    EXPECT_EQ(told.value(QStringLiteral("points")).toObject().value(QStringLiteral("points")).toInt(), 10);
    const auto namesOf = [&told](const char *key) { return namesIn(told.value(QLatin1String(key)).toArray()); };
    EXPECT_EQ(namesOf("meshes"), words("roof wall"));
    EXPECT_EQ(namesOf("splits"), words("north south"));
    EXPECT_EQ(namesOf("cuts"), words("first second"));
    for (const char *key : {"demMesh", "demClassify", "heightMap", "contours"})
        EXPECT_TRUE(told.contains(QLatin1String(key)) && !told.value(QLatin1String(key)).isNull()) << key;
    EXPECT_EQ(namesOf("volumes"), QStringList{QStringLiteral("pit")});

    const QByteArray text = run("info site").output;
    for (const char *word : {"roof", "wall", "north", "south", "first", "second", "pit", "3 x 5 pixels"})
        EXPECT_TRUE(text.contains(word)) << word << " in " << text.constData();
}

TEST_F(ProjectLife, CopiesADataSetWithAllThatItHolds)
{
    makeProject({}, {{QStringLiteral("site"), support::fullDataSet()}});
    expectNewDataSet("copy site twin", "twin", "site twin");
    for (const char *name : {"site", "twin"})
        EXPECT_TRUE(sameDisk(support::diskState(inProject(name)), support::fullDataSet())) << name;
}

TEST_F(ProjectLife, RenamesADataSetWithAllThatItHolds)
{
    makeProject({}, {{QStringLiteral("site"), support::fullDataSet()}});
    expectNewDataSet("rename site yard", "yard", "yard");
    EXPECT_TRUE(sameDisk(support::diskState(inProject("yard")), support::fullDataSet()));
    EXPECT_FALSE(QFile::exists(inProject("site")));
}

TEST_F(ProjectLife, RemovesDataSetsWithTheirDirectories)
{
    makeProject({}, {{QStringLiteral("a"), support::fullDataSet()},
                     {QStringLiteral("b"), support::bareDataSet()},
                     {QStringLiteral("c"), support::bareDataSet()}});
    expectRun("remove c a");
    expectRecorded("b");
    EXPECT_FALSE(QFile::exists(inProject("a")) || QFile::exists(inProject("c")));
    EXPECT_TRUE(sameDisk(support::diskState(inProject("b")), support::bareDataSet()));
}

TEST_F(ProjectLife, MergesDataSetsIntoANewOne)
{
    expectRun("make east a.las --columns 0,4");
    expectRun("make west _a.las --columns 4,0");
    expectNewDataSet("merge both east west", "both", "both east west");
    const BlockFile merged = points("both");
    ASSERT_EQ(merged.blocks.size(), 2U);
    QByteArray all;
    for (std::size_t i = 0; i < merged.blocks.size(); ++i)
        all += merged.blocks[i].columns.at(merged.columns.at(0) == intensities ? 0 : 1);
    EXPECT_EQ(sortedNumbers(all), numbersUpTo({30, 20}));
}

TEST_F(ProjectLife, MergesAndRemovesTheSourcesWhenThatIsWanted)
{
    expectRun("make east a.las");
    expectRun("make west _a.las");
    expectRun("make rest a.las");
    expectNewDataSet("merge both west east --remove-sources", "both", "both rest");
    EXPECT_EQ(support::pointsIn(readFile(inProject("both/Points"))), 50);
    EXPECT_FALSE(QFile::exists(inProject("east")) || QFile::exists(inProject("west")));
}

TEST_F(ProjectLife, IsTheSameAfterItsDirectoryWasMoved)
{
    expectRun("make wall a.las");
    ASSERT_TRUE(QDir().rename(project(), path("elsewhere")));
    const PtcloudRun done({QStringLiteral("list"), QStringLiteral("--project"), path("elsewhere")});
    EXPECT_EQ(done.exitCode, 0) << done.errors.constData();
    EXPECT_EQ(done.output.toStdString(), "wall: 30 points in 1 blocks\n");
}

TEST_F(ProjectLife, IsFoundInTheCurrentDirectoryAndTakesRelativePaths)
{
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(project()));
    const PtcloudRun imported({QStringLiteral("import"), QStringLiteral("../west/a.las"), QStringLiteral("--json")});
    const PtcloudRun made(words("make wall __a.las"));
    ASSERT_TRUE(QDir::setCurrent(before));
    ASSERT_EQ(imported.exitCode, 0) << imported.errors.constData();
    EXPECT_EQ(made.exitCode, 0) << made.errors.constData();
    EXPECT_EQ(QFileInfo(recorded().lasFiles.value(QStringLiteral("__a.las"))).canonicalFilePath(), m_west);
    // A later run, from another directory, still finds it.
    EXPECT_EQ(namesIn(listed(QStringLiteral("lasFiles"), "las-list")).size(), 3);
    expectRecorded("wall");
}

TEST_F(ProjectLife, TakesNamesWithBlanks)
{
    const QString name = QStringLiteral("south wall");
    ASSERT_EQ(run({QStringLiteral("make"), name, QStringLiteral("a.las")}).exitCode, 0);
    EXPECT_EQ(recorded().dataSets, (NameMap{{name, name}}));
    EXPECT_EQ(dataSets(), QStringList{name});
    EXPECT_EQ(run({QStringLiteral("remove"), name}).exitCode, 0);
    EXPECT_EQ(recorded().dataSets, NameMap());
}

TEST_F(ProjectLife, KeepsACopyOfTheProjectFileAsItWasBeforeTheLastSave)
{
    const QByteArray before = readFile(projectFile());
    expectRun("make wall a.las");
    EXPECT_EQ(readFile(ownCopy()), before);
    EXPECT_NE(readFile(projectFile()), before);
}

TEST_F(ProjectLife, WritesNothingWhereNothingChanges)
{
    expectRun("make wall a.las");
    const DiskState before = onDisk();
    for (const char *line :
         {"list", "las-list", "columns a.las", "info wall", "blocks wall", "blocks wall --summary"}) {
        expectRun(line);
        EXPECT_TRUE(sameDisk(onDisk(), before)) << line;
    }
}

TEST_F(ProjectLife, PrintsOneJsonObjectForEachCommand)
{
    const char *const commands[] = {
        "las-list",       "columns a.las",     "make wall a.las",       "list",        "info wall",       "blocks wall",
        "copy wall twin", "rename twin other", "merge both wall other", "remove wall", "las-remove a.las"};
    for (const char *line : commands)
        EXPECT_FALSE(json(line).isEmpty()) << line;
}
