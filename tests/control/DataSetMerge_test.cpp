#include "DataSetCommandTesting.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

using namespace ptCloud;
using support::BlockFile;
using support::DiskState;
using support::diskState;
using support::ProjectState;
using support::sameDisk;

namespace
{

/// Merges files as told: columns in common, keys of each file counted on from the largest of the one before, and
/// point indices that run through. Sources are in the order of the merge.
BlockFile merged(const std::vector<BlockFile> &sources)
{
    BlockFile result;
    result.sort = 0;
    std::map<qint32, std::pair<const BlockFile *, BlockFile::Block>> blocks;
    qint32 base = 0;
    for (const BlockFile &source : sources) {
        const auto isMissing = [&source](quint32 column) {
            return std::find(source.columns.begin(), source.columns.end(), column) == source.columns.end();
        };
        if (result.columns.empty())
            result.columns = source.columns;
        else
            result.columns.erase(std::remove_if(result.columns.begin(), result.columns.end(), isMissing),
                                 result.columns.end());
        result.sort = result.sort == 0 || result.sort == source.sort ? source.sort : 0;
        qint32 largest = 0;
        for (const BlockFile::Block &block : source.blocks) {
            blocks[block.key + base] = {&source, block};
            largest = std::max(largest, block.key);
        }
        base += largest;
    }
    quint32 total = 0;
    for (auto &[key, entry] : blocks) {
        BlockFile::Block block = entry.second;
        block.key = key;
        for (quint32 &index : block.indices)
            index = total++;
        block.columns.clear();
        for (const quint32 column : result.columns) {
            const auto &columns = entry.first->columns;
            const auto at = std::find(columns.begin(), columns.end(), column) - columns.begin();
            block.columns.push_back(entry.second.columns[static_cast<std::size_t>(at)]);
        }
        result.blocks.push_back(block);
    }
    return result;
}

/// A file with blocks of these counts under keys from `firstKey` on.
BlockFile fileOf(std::vector<quint32> columns, quint32 sort, const std::vector<quint32> &counts, quint8 seed,
                 qint32 firstKey = 1)
{
    BlockFile file;
    file.columns = std::move(columns);
    file.sort = sort;
    for (const quint32 count : counts)
        file.blocks.push_back(file.makeBlock(firstKey++, count, 0, seed++));
    return file;
}

class MergeDataSets : public support::DataSetCommandTest
{
protected:
    EEPtCloudActResult merge(const QSet<QString> &sources, const char *newName = "new", bool removeSources = false)
    {
        return m_controller.doCmd_DataSet_Merge({sources, QString::fromUtf8(newName), removeSources});
    }
    /// Merges data sets of these points, and compares bytes with those for the order that the set had.
    void expectMerged(const std::vector<BlockFile> &files)
    {
        QSet<QString> sources;
        QMap<QString, BlockFile> byName;
        for (const BlockFile &file : files) {
            const QString name = QStringLiteral("source%1").arg(sources.size());
            sources.insert(name);
            byName[name] = file;
            addDataSet(name.toUtf8().constData(), file.bytes());
        }
        const ProjectState before = state();
        ASSERT_EQ(merge(sources), ActResult_Success);
        std::vector<BlockFile> inOrder;
        for (const QString &name : sources)
            inOrder.push_back(byName[name]);
        EXPECT_EQ(support::readFile(inProject("new/Points")), merged(inOrder).bytes());
        EXPECT_TRUE(sameDisk(without(diskState(m_dir.path()), "new"), before.disk));
        EXPECT_EQ(m_signals, QStringList(QStringLiteral("added new")));
        ASSERT_NE(dataSet("new"), nullptr);
        EXPECT_EQ(dataSet("new")->getName(), QStringLiteral("new"));
        EXPECT_FALSE(dataSet("new")->getContent_PointDataSetFile()->isOpened());
    }

    const QSet<QString> m_two = {QStringLiteral("abc"), QStringLiteral("zed")};
    const QSet<QString> m_three = {QStringLiteral("abc"), QStringLiteral("zed"), QStringLiteral("x")};
};

} // namespace

TEST_F(MergeDataSets, PutsAllBlocksIntoOneFile)
{
    expectMerged({fileOf({0, 3, 4}, 1, {3, 5, 1, 2, 4}, 10), fileOf({0, 3, 4}, 1, {7, 1, 6}, 20)});
}

TEST_F(MergeDataSets, KeepsTheColumnsInCommonAndNoSortOfTwoKinds)
{
    expectMerged({fileOf({0, 3}, 1, {3, 5}, 10), fileOf({0, 4}, 2, {7}, 20)});
}

TEST_F(MergeDataSets, TakesManySourcesInTheOrderOfTheSet)
{
    std::vector<BlockFile> files;
    for (quint8 i = 0; i < 12; ++i)
        files.push_back(fileOf({0, 4, i % 2 == 0 ? 9U : 13U}, i % 3 == 0 ? 2U : 1U, {1U + i, 20U - i}, i));
    expectMerged(files);
}

TEST_F(MergeDataSets, LosesABlockWhereKeysBeginAtZero)
{
    expectMerged({fileOf({0}, 2, {3, 5}, 10, 0), fileOf({0}, 2, {7, 2}, 20, 0)});
}

TEST_F(MergeDataSets, CountsFromTheLargestKeyAndNotFromTheNumberOfBlocks)
{
    expectMerged({fileOf({0}, 1, {3, 5}, 10, 100), fileOf({0}, 1, {7}, 20, 5)});
}

TEST_F(MergeDataSets, KeepsTriangles)
{
    BlockFile first;
    first.columns = {0, 2};
    first.blocks = {first.makeBlock(1, 4, 2, 1), first.makeBlock(2, 3, 1, 2)};
    BlockFile second = first;
    second.blocks = {second.makeBlock(1, 6, 3, 3)};
    expectMerged({first, second});
}

TEST_F(MergeDataSets, MakesACopyOfThePointsOfOne)
{
    expectMerged({fileOf({4, 0}, 2, {3, 5}, 10)});
}

TEST_F(MergeDataSets, LeavesItsSourcesOpenAndInPlace)
{
    ASSERT_EQ(merge(m_two), ActResult_Success);
    EXPECT_TRUE(m_controller.getDataSetReader(QStringLiteral("abc"))->isOpened());
    EXPECT_TRUE(m_controller.getDataSetReader(QStringLiteral("zed"))->isOpened());
    EXPECT_FALSE(m_controller.getDataSetReader(QStringLiteral("x"))->isOpened());
    EXPECT_EQ(m_controller.getDataSets().size(), 4);
}

TEST_F(MergeDataSets, MakesASixteenByteFileOfNoSources)
{
    ProjectState before = state();
    EXPECT_EQ(merge({}, "new", true), ActResult_Success);
    QByteArray bytes;
    for (const quint32 word : {1U, 0U, 0U, 0U})
        support::put(bytes, word);
    EXPECT_TRUE(sameDisk(diskState(m_dir.path()), with(before.disk, "new", {{QStringLiteral("Points"), bytes}})));
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("added new")));
    ASSERT_NE(dataSet("new"), nullptr);
}

TEST_F(MergeDataSets, TellsOfTheNewDataSetBeforeItsSourcesGo)
{
    QStringList expected(QStringLiteral("added new"));
    for (const QString &name : m_three)
        expected << QStringLiteral("removed ") + name;
    DiskState disk = state().disk;
    for (const char *directory : {"abc", "zed", "dir"})
        disk = without(disk, directory);
    ASSERT_EQ(merge(m_three, "new", true), ActResult_Success);
    EXPECT_EQ(m_signals, expected);
    EXPECT_TRUE(sameDisk(without(diskState(m_dir.path()), "new"), disk));
    EXPECT_EQ(m_controller.getDataSets().keys(), QStringList(QStringLiteral("new")));
    const auto file = BlockFile::parse(support::readFile(inProject("new/Points")));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->blocks.size(), 3U);
}

TEST_F(MergeDataSets, HasDoneEachStepWhenItTells)
{
    QMap<QString, QPointer<PtCloudDataSet>> objects;
    for (const QString &name : m_three)
        objects[name] = m_controller.getDataSet(name);
    int seen = 0;
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Added, [&](const QString &name) {
        EXPECT_NE(m_controller.getDataSet(name), nullptr);
        EXPECT_EQ(m_controller.getDataSets().size(), 4);
        EXPECT_TRUE(QFile::exists(inProject("abc/Points")));
    });
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Removed, [&](const QString &name) {
        ++seen;
        EXPECT_TRUE(objects[name].isNull());
        EXPECT_EQ(m_controller.getDataSet(name), nullptr);
        EXPECT_EQ(m_controller.getDataSets().size(), 4 - seen);
        EXPECT_FALSE(QDir(inProject(name == QStringLiteral("x") ? QStringLiteral("dir") : name)).exists());
    });
    EXPECT_EQ(merge(m_three, "new", true), ActResult_Success);
    EXPECT_EQ(seen, 3);
}

TEST_F(MergeDataSets, PassesOverASourceThatASlotRemoved)
{
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Added, [this] {
        EXPECT_EQ(m_controller.doCmd_DataSet_Remove({QStringLiteral("abc")}), ActResult_Success);
    });
    EXPECT_EQ(merge(m_two, "new", true), ActResult_Success);
    EXPECT_EQ(m_signals,
              (QStringList{QStringLiteral("added new"), QStringLiteral("removed abc"), QStringLiteral("removed zed")}));
    EXPECT_EQ(m_controller.getDataSets().size(), 2);
}

TEST_F(MergeDataSets, SurvivesASlotThatEmptiesTheProject)
{
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Added,
                     [this] { m_controller.setFiles({}, {}, {}); });
    EXPECT_EQ(merge(m_two, "new", true), ActResult_Success);
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("added new")));
    EXPECT_TRUE(m_controller.isDataSetEmpty());
    EXPECT_TRUE(QFile::exists(inProject("abc/Points")));
}

TEST_F(MergeDataSets, ReportsTheFirstOfSeveralMistakes)
{
    const QSet<QString> unknown{QStringLiteral("abc"), QStringLiteral("ZED")};
    expectRefused(ActResult_NotFound, [&] { return merge(unknown, "new", true); });
    expectRefused(ActResult_NotFound, [&] { return merge({QStringLiteral("dir")}, "..", true); });
    expectRefused(ActResult_NameExists, [&] { return merge(unknown, "ABC", true); });
    m_controller.setDir(QString());
    expectRefused(ActResult_CannotRun, [&] { return merge(unknown, "ABC", true); });
}

TEST_F(MergeDataSets, IsNotMadeOntoASource)
{
    for (const char *name : {"abc", "Zed", "dir"})
        expectRefused(ActResult_NameExists, [&] { return merge(m_three, name, true); });
}

TEST_F(MergeDataSets, RemovesTheNewDirectoryAndNoSourceWhereASourceCannotBeRead)
{
    ASSERT_TRUE(support::writeFile(inProject("zed/Points"), "damaged"));
    expectRefused(ActResult_FileError, [&] { return merge(m_two, "new", true); });
    ASSERT_TRUE(QFile::remove(inProject("zed/Points")));
    expectRefused(ActResult_FileError, [&] { return merge(m_two, "new", true); });
}

TEST_F(MergeDataSets, FailsWhereTheDirectoryCannotBeMade)
{
    expectRefused(ActResult_FileError, [&] { return merge(m_two, "canary", true); }); // a plain file
    m_controller.setDir(path("nowhere"));
    expectRefused(ActResult_FileError, [&] { return merge(m_two, "new", true); });
}

TEST_F(MergeDataSets, TakesTwoSourcesOfOneDirectory)
{
    m_controller.setFiles(
        {}, {{QStringLiteral("one"), QStringLiteral("zed")}, {QStringLiteral("two"), QStringLiteral("zed")}}, {});
    ASSERT_EQ(merge({QStringLiteral("one"), QStringLiteral("two")}, "new", true), ActResult_Success);
    EXPECT_EQ(m_signals.size(), 3);
    EXPECT_EQ(m_controller.getDataSets().keys(), QStringList(QStringLiteral("new")));
    EXPECT_FALSE(QDir(inProject("zed")).exists());
    const auto source = BlockFile::parse(support::pointsBytes(20));
    ASSERT_TRUE(source);
    EXPECT_EQ(support::readFile(inProject("new/Points")), merged({*source, *source}).bytes());
}

TEST_F(MergeDataSets, RemovesADirectoryThatWasThereWhereItFails)
{
    ASSERT_TRUE(support::writeFile(inProject("zed/Points"), "damaged"));
    const ProjectState before = state();
    EXPECT_EQ(merge(m_two, "unregistered", true), ActResult_FileError);
    EXPECT_TRUE(sameDisk(diskState(m_dir.path()), without(before.disk, "unregistered")));
    expectRegistries(before);
    EXPECT_EQ(m_signals, QStringList());
}

TEST_F(MergeDataSets, TouchesNothingUnderANameThatIsNotPlain)
{
    for (const support::HostileName &hostile : support::hostileNames()) {
        SCOPED_TRACE(hostile.name);
        QString name = hostile.text;
        name.replace(QStringLiteral("%1"), m_dir.path());
        expectRefused(ActResult_FileError, [&] { return m_controller.doCmd_DataSet_Merge({m_three, name, true}); });
    }
}

#ifdef Q_OS_UNIX
TEST_F(MergeDataSets, KeepsItsSourcesOnAFullDisk)
{
    const ProjectState before = state();
    const int whole = support::readFile(inProject("abc/Points")).size();
    for (const int space : {0, 20, whole, whole + 50}) {
        SCOPED_TRACE(space);
        EEPtCloudActResult result = ActResult_Success;
        {
            const support::FileSizeLimit limit(space);
            ASSERT_TRUE(limit.holds());
            result = merge(m_two, "new", true);
        }
        EXPECT_EQ(result, ActResult_FileError);
        expectUnchanged(before);
    }
}

TEST_F(MergeDataSets, LeavesASourceThatLinksToTheNewDirectory)
{
    ASSERT_TRUE(support::writeFile(inProject("unregistered/Points"), support::pointsBytes(50)));
    ASSERT_TRUE(QDir(inProject("zed")).removeRecursively());
    ASSERT_TRUE(QFile::link(inProject("unregistered"), inProject("zed")));
    expectRefused(ActResult_FileError, [&] { return merge(m_two, "unregistered", true); });
    EXPECT_EQ(support::readFile(inProject("zed/Points")), support::pointsBytes(50));
}

TEST_F(MergeDataSets, IsNotMadeThroughALinkToASource)
{
    ASSERT_TRUE(QFile::link(inProject("zed"), inProject("new")));
    const ProjectState before = state();
    EXPECT_EQ(merge(m_two, "new", true), ActResult_FileError);
    EXPECT_TRUE(sameDisk(diskState(m_dir.path()), without(before.disk, "new")));
    expectRegistries(before);
    EXPECT_EQ(m_signals, QStringList());
}
#endif
