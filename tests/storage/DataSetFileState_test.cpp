#include "DataSetFileTest.h"

#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <type_traits>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

using namespace ptCloud;
using support::BlockFile;
using support::dataOffset;
using support::expectBlockAt;
using support::expectClosed;
using support::soundFile;

namespace
{

using DataSetFileState = support::DataSetFileTest;
using BlockInfos = QMap<int, std::tuple<qint64, unsigned int, pcBoundingBoxf>>;

static_assert(!std::is_copy_constructible_v<PtCloud_DataSetFile>, "two copies would free one buffer");
static_assert(!std::is_copy_assignable_v<PtCloud_DataSetFile>);
static_assert(std::is_same_v<decltype(&PtCloud_DataSetFile::isOpened), bool (PtCloud_DataSetFile::*)() const>);
static_assert(std::is_same_v<decltype(&PtCloud_DataSetFile::isValid), bool (PtCloud_DataSetFile::*)() const>);
static_assert(
    std::is_same_v<decltype(&PtCloud_DataSetFile::getBlockInfos), BlockInfos (PtCloud_DataSetFile::*)() const>);
static_assert(std::is_same_v<decltype(&PtCloud_DataSetFile::getColumns),
                             const QList<EDataSetColumn> &(PtCloud_DataSetFile::*)() const>);

/// How many descriptors this process holds open on the file.
int descriptorsOn(const QString &path)
{
    const QString wanted = QFileInfo(path).canonicalFilePath();
    int count = 0;
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    for (const QString &name : descriptors.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
        count += QFile::symLinkTarget(descriptors.filePath(name)) == wanted ? 1 : 0;
    return count;
}

/// Something under a path that is no regular file.
struct Obstacle
{
    const char *name;
    bool (*make)(const QString &path, const QString &elsewhere);
};

class DataSetFileObstacle : public support::DataSetFileTest, public ::testing::WithParamInterface<Obstacle>
{
};

} // namespace

TEST(DataSetFile, IsConstructedEmptyAndClosed)
{
    PtCloud_DataSetFile file;
    EXPECT_TRUE(file.getFilepath().isEmpty());
    EXPECT_FALSE(file.isValid());
    expectClosed(file);
    EXPECT_FALSE(file.openFile());
    expectClosed(file);
    file.closeFile();
    file.removeFile();
    EXPECT_EQ(file.getDataSetType(), EDataSetType_File);
}

TEST_F(DataSetFileState, APathWhereNothingStandsIsTaken)
{
    for (const char *name : {"missing", "no/such/directory/Points", "H\xc3\xb6hen \xe7\x82\xb9"}) {
        const QString missing = m_dir.filePath(QString::fromUtf8(name));
        EXPECT_TRUE(m_file.setFile(missing));
        EXPECT_EQ(m_file.getFilepath(), missing);
        EXPECT_FALSE(m_file.isValid());
        EXPECT_FALSE(m_file.openFile());
        expectClosed(m_file);
        EXPECT_FALSE(QFileInfo::exists(missing)) << "opening for reading makes no file";
    }
}

TEST_F(DataSetFileState, ThePathMayHoldAnyLetters)
{
    const BlockFile contents = soundFile({0}, {{2}});
    const QString odd = m_dir.filePath(QString::fromUtf8("H\xc3\xb6hen \xe7\x82\xb9.Points"));
    ASSERT_TRUE(support::writeFile(odd, contents.bytes()));
    ASSERT_TRUE(m_file.setFile(odd));
    EXPECT_TRUE(m_file.isValid());
    ASSERT_TRUE(m_file.openFile());
    expectBlockAt(contents.bytes(), dataOffset(contents, 0), contents.columns, m_file.readBlock(1));
}

TEST_F(DataSetFileState, TheEmptyPathIsTakenAndNamesNoFile)
{
    ASSERT_TRUE(opens(soundFile({0}, {{2}})));
    EXPECT_TRUE(m_file.setFile(QString()));
    EXPECT_TRUE(m_file.getFilepath().isEmpty());
    expectClosed(m_file);
    EXPECT_FALSE(m_file.isValid());
    EXPECT_FALSE(m_file.openFile());
    EXPECT_TRUE(QFile::exists(path()));
}

TEST_F(DataSetFileState, SetFileClosesEvenForThePathThatItHas)
{
    ASSERT_TRUE(opens(soundFile({0}, {{2}})));
    EXPECT_TRUE(m_file.setFile(path()));
    expectClosed(m_file);
    EXPECT_TRUE(m_file.openFile());
}

TEST_F(DataSetFileState, ValidMeansThatAFileStandsThere)
{
    EXPECT_FALSE(m_file.isValid());
    write(QByteArray("not a data set"));
    EXPECT_TRUE(m_file.isValid());
    EXPECT_FALSE(m_file.openFile());
    EXPECT_TRUE(m_file.isValid());
    ASSERT_TRUE(QFile::remove(path()));
    EXPECT_FALSE(m_file.isValid());
    ASSERT_TRUE(QDir().mkdir(path()));
    EXPECT_FALSE(m_file.isValid());
    EXPECT_FALSE(m_file.openFile());
    expectClosed(m_file);
}

TEST_F(DataSetFileState, ALinkToAFileIsAsGoodAsTheFile)
{
    const BlockFile contents = soundFile({0, 4}, {{3}});
    write(contents);
    const QString link = path("link");
    ASSERT_TRUE(QFile::link(path(), link));
    EXPECT_TRUE(m_file.setFile(link));
    EXPECT_EQ(m_file.getFilepath(), link);
    EXPECT_TRUE(m_file.isValid());
    ASSERT_TRUE(m_file.openFile());
    expectBlockAt(contents.bytes(), dataOffset(contents, 0), contents.columns, m_file.readBlock(1));
}

TEST_F(DataSetFileState, ALinkToNothingIsAPathWhereNothingStands)
{
    const QString link = path("link");
    ASSERT_TRUE(QFile::link(path("gone"), link));
    EXPECT_TRUE(m_file.setFile(link));
    EXPECT_EQ(m_file.getFilepath(), link);
    EXPECT_FALSE(m_file.isValid());
    EXPECT_FALSE(m_file.openFile());
    EXPECT_FALSE(QFileInfo::exists(path("gone")));
}

TEST_P(DataSetFileObstacle, IsNotTakenAsAFileButClosesTheObject)
{
    ASSERT_TRUE(opens(soundFile({0}, {{2}})));
    const QString obstacle = path("obstacle");
    ASSERT_TRUE(GetParam().make(obstacle, path("elsewhere")));
    EXPECT_FALSE(m_file.setFile(obstacle));
    EXPECT_EQ(m_file.getFilepath(), path());
    expectClosed(m_file);
    EXPECT_TRUE(m_file.isValid());
    EXPECT_TRUE(m_file.openFile());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DataSetFileObstacle,
    ::testing::Values(
        Obstacle{"Directory", [](const QString &path, const QString &) { return QDir().mkdir(path); }},
        Obstacle{"LinkToADirectory",
                 [](const QString &path, const QString &elsewhere) {
                     return QDir().mkdir(elsewhere) && QFile::link(elsewhere, path);
                 }}
#ifdef Q_OS_UNIX
        ,
        Obstacle{"Fifo", [](const QString &path,
                            const QString &) { return mkfifo(QFile::encodeName(path).constData(), 0600) == 0; }},
        Obstacle{"LinkToADevice",
                 [](const QString &path, const QString &) { return QFile::link(QStringLiteral("/dev/null"), path); }}
#endif
        ),
    support::CaseName());

TEST_F(DataSetFileState, ClosingDropsAllButThePath)
{
    ASSERT_TRUE(opens(soundFile({0, 4}, {{2}, {3}})));
    EXPECT_TRUE(m_file.isOpened());
    EXPECT_EQ(m_file.getSortType(), EDataSetSort_ByBox);
    m_file.closeFile();
    expectClosed(m_file);
    EXPECT_EQ(m_file.getFilepath(), path());
    m_file.closeFile();
    expectClosed(m_file);
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getColumns().size(), 2);
    EXPECT_EQ(m_file.getBlockInfos().keys(), (QList<int>{1, 2}));
}

TEST_F(DataSetFileState, AFileIsHeldOnlyWhileTheObjectIsOpen)
{
    write(soundFile({0}, {{2}}));
    {
        PtCloud_DataSetFile file;
        ASSERT_TRUE(file.setFile(path()));
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(descriptorsOn(path()), 0);
            ASSERT_TRUE(file.openFile());
            ASSERT_TRUE(file.openFile());
            EXPECT_EQ(descriptorsOn(path()), 1);
            file.closeFile();
        }
        ASSERT_TRUE(file.openFile());
    }
    EXPECT_EQ(descriptorsOn(path()), 0) << "destruction closes";
    EXPECT_FALSE(opens(QByteArray("not a data set")));
    EXPECT_EQ(descriptorsOn(path()), 0) << "a refused file is not held";
}

TEST_F(DataSetFileState, OpeningAnOpenObjectDoesNotReadTheHeadAgain)
{
    const BlockFile first = soundFile({0}, {{2}});
    BlockFile second = soundFile({0, 3}, {{5}, {7}, {1}});
    second.sort = 2;
    ASSERT_TRUE(opens(first));
    write(second);
    EXPECT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getSortType(), EDataSetSort_ByBox);
    EXPECT_EQ(m_file.getColumns().size(), 1);
    EXPECT_EQ(m_file.getBlockInfos().keys(), QList<int>{1});
    EXPECT_EQ(std::get<1>(m_file.getBlockInfos()[1]), 2U);

    m_file.closeFile();
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getSortType(), EDataSetSort_ByArray);
    EXPECT_EQ(m_file.getColumns().size(), 2);
    EXPECT_EQ(m_file.getBlockInfos().size(), 3);
}

TEST_F(DataSetFileState, OpeningAnOpenObjectSucceedsEvenIfTheFileIsGone)
{
    ASSERT_TRUE(opens(soundFile({0}, {{2}})));
    ASSERT_TRUE(QFile::remove(path()));
    EXPECT_TRUE(m_file.openFile());
    EXPECT_TRUE(m_file.isOpened());
    EXPECT_FALSE(m_file.isValid());
    m_file.closeFile();
    EXPECT_FALSE(m_file.openFile());
}

TEST_F(DataSetFileState, AFailedOpeningLeavesNothingOfTheFileBehind)
{
    const QByteArray sound = soundFile({0, 4}, {{2}, {3}}).bytes();
    EXPECT_FALSE(opens(sound.left(sound.size() - 1)));
    expectClosed(m_file);
    EXPECT_TRUE(opens(sound));
    EXPECT_EQ(m_file.getColumns().size(), 2) << "the columns of the failed attempt are not kept in front";
}

TEST_F(DataSetFileState, AnObjectMovesFromFileToFile)
{
    ASSERT_TRUE(opens(soundFile({0, 2, 13}, {{20, 4}})));
    EXPECT_NE(m_file.readBlock(1), nullptr);
    const BlockFile other = soundFile({0}, {{1}, {2}});
    ASSERT_TRUE(support::writeFile(path("other"), other.bytes()));
    ASSERT_TRUE(m_file.setFile(path("other")));
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getColumns(), QList<EDataSetColumn>{EDataSetColumn_Position});
    expectBlockAt(other.bytes(), dataOffset(other, 1), other.columns, m_file.readBlock(2));
}

TEST_F(DataSetFileState, RemovingClosesAndDeletesTheFileOnly)
{
    ASSERT_TRUE(opens(soundFile({0}, {{2}})));
    ASSERT_TRUE(support::writeFile(path("neighbour"), "x"));
    m_file.removeFile();
    expectClosed(m_file);
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_TRUE(QFile::exists(path("neighbour")));
    EXPECT_EQ(m_file.getFilepath(), path());
    EXPECT_FALSE(m_file.isValid());
    m_file.removeFile();
    EXPECT_EQ(m_file.getFilepath(), path());
}

TEST_F(DataSetFileState, RemovingALinkLeavesItsTarget)
{
    write(soundFile({0}, {{2}}));
    ASSERT_TRUE(QFile::link(path(), path("link")));
    ASSERT_TRUE(m_file.setFile(path("link")));
    m_file.removeFile();
    EXPECT_FALSE(QFileInfo(path("link")).isSymLink());
    EXPECT_TRUE(QFile::exists(path()));
}

TEST_F(DataSetFileState, BlocksAreAddedToAMapThatKeepsItsOtherEntries)
{
    ASSERT_TRUE(opens(soundFile({0}, {{2}, {3}})));
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    blocks[7] = {70U, pcBoundingBoxf()};
    blocks[2] = {20U, pcBoundingBoxf()};
    m_file.getBlocks(blocks);
    EXPECT_EQ(blocks.keys(), (QList<int>{1, 2, 7}));
    EXPECT_EQ(std::get<0>(blocks[2]), 3U);
    EXPECT_EQ(std::get<0>(blocks[7]), 70U);
}

TEST_F(DataSetFileState, BlockInfosAreANewMapEachTime)
{
    ASSERT_TRUE(opens(soundFile({0}, {{2}, {3}})));
    BlockInfos infos = m_file.getBlockInfos();
    infos.remove(1);
    infos[2] = {0, 0U, pcBoundingBoxf()};
    infos[9] = {0, 0U, pcBoundingBoxf()};
    const BlockInfos fresh = static_cast<const PtCloud_DataSetFile &>(m_file).getBlockInfos();
    EXPECT_EQ(fresh.keys(), (QList<int>{1, 2}));
    EXPECT_EQ(std::get<0>(fresh[2]), 20 + 28 + (12 + 17 * 2) + 28);
    EXPECT_EQ(std::get<1>(fresh[2]), 3U);
    EXPECT_TRUE(std::get<2>(fresh[2]) == pcBoundingBoxf(2.0F, 2.5F, 3.0F, 3.5F, 4.0F, 4.5F));
}
