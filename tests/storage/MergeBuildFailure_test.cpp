#include "MergeBuildTesting.h"
#include "Scarcity.h"

#include <QDir>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using support::BlockFile;
using support::mergePlainly;

namespace
{

class MergeBuildFailure : public MergeBuildTest
{
protected:
    void SetUp() override
    {
        MergeBuildTest::SetUp();
        m_plain = {fileOf({0, 4}, {1, 2}), fileOf({0, 4}, {1}, 1, 5)};
    }

    /// Expects that a merge whose blocks have these heads failed at one of them in silence, and closed the target.
    void expectFailedAtABlock(bool result, const std::vector<BlockFile> &opened, const BlockFile &planned)
    {
        EXPECT_FALSE(result);
        support::expectClosed(m_file);
        EXPECT_EQ(m_log.lines(), linesOf(opened));
        expectHeads(planned);
    }

    std::vector<BlockFile> m_plain;
};

struct UnopenableCase
{
    const char *name;
    QByteArray bytes; ///< of the file; without any, there is no file
};

class MergeBuildUnopenable : public MergeBuildFailure, public ::testing::WithParamInterface<UnopenableCase>
{
protected:
    /// A closed object over what can't be opened.
    ptCloud::PtCloud_DataSetFile &addUnopenable()
    {
        ptCloud::PtCloud_DataSetFile &file = add(GetParam().bytes);
        if (GetParam().bytes.isEmpty()) {
            EXPECT_TRUE(QFile::remove(file.getFilepath()));
        }
        return file;
    }
};

TEST_P(MergeBuildUnopenable, LeavesTheTargetAndTheSourcesBeforeOpen)
{
    Files files = addAll(m_plain);
    ptCloud::PtCloud_DataSetFile &bad = addUnopenable();
    files.insert(1, &bad);

    EXPECT_FALSE(merge(files));
    EXPECT_TRUE(m_file.isOpened());
    EXPECT_EQ(m_log.lines(), linesOf({m_plain[0]}));
    EXPECT_TRUE(QFile::exists(path()));
    EXPECT_EQ(support::readFile(path()).size(), 0);
    expectSound(*files[0], m_plain[0]);
    support::expectClosed(bad);
    support::expectClosed(*files[2]);
    EXPECT_EQ(support::readFile(bad.getFilepath()), GetParam().bytes);

    m_file.closeFile();
    support::expectClosed(m_file);
}

TEST_P(MergeBuildUnopenable, DoesNotSpoilTheNextMerge)
{
    Files files = addAll(m_plain);
    ptCloud::PtCloud_DataSetFile &bad = addUnopenable();
    EXPECT_FALSE(merge(files + Files{&bad}));
    // The target is still open, and has met the columns of the sources before.
    EXPECT_TRUE(m_file.makeDataSet_byDataSetFiles({files[1]}));
    support::expectClosed(m_file);
    expectBytes(mergePlainly({m_plain[1]}).value().bytes());
}

INSTANTIATE_TEST_SUITE_P(Sources, MergeBuildUnopenable,
                         ::testing::Values(UnopenableCase{"Missing", QByteArray()},
                                           UnopenableCase{"Short", QByteArray("\x01\0\0", 3)},
                                           UnopenableCase{"OfAnotherFormat", QByteArray(40, '\2')}),
                         support::CaseName());

TEST_F(MergeBuildFailure, OfASourceWithoutAPathLeavesTheTargetOpen)
{
    ptCloud::PtCloud_DataSetFile none;
    EXPECT_FALSE(merge(Files{&none}));
    EXPECT_TRUE(m_file.isOpened());
    support::expectClosed(none);
    EXPECT_EQ(m_log.lines(), QStringList());
}

TEST_F(MergeBuildFailure, OfANullEntryLeavesTheOtherSourcesWhole)
{
    Files files = addAll(m_plain);
    for (int at = 0; at <= files.size(); ++at) {
        Files withNull = files;
        withNull.insert(at, nullptr);
        EXPECT_FALSE(merge(withNull));
        for (int i = 0; i < files.size(); ++i)
            EXPECT_EQ(support::readFile(files[i]->getFilepath()), m_plain[static_cast<std::size_t>(i)].bytes());
        m_file.closeFile();
    }
    EXPECT_TRUE(merge(files));
}

TEST_F(MergeBuildFailure, AtABlockThatLacksAColumnTakenLater)
{
    // None is in common after the second file, so the third one's columns are taken, which the second one lacks.
    const std::vector<BlockFile> plain = {fileOf({0, 3}, {1, 2}), fileOf({4}, {1}, 1, 5), fileOf({0}, {1}, 1, 9)};
    EXPECT_FALSE(mergePlainly(plain));
    const Files files = addAll(plain);
    BlockFile lacking = plain[1];
    lacking.columns = {0};
    lacking.blocks[0].columns[0] = QByteArray(12 * static_cast<int>(lacking.blocks[0].points), '\0');
    const BlockFile planned = mergePlainly({plain[0], lacking, plain[2]}).value();
    expectFailedAtABlock(merge(files), plain, planned);
    for (int i = 0; i < 3; ++i)
        expectSound(*files[i], plain[static_cast<std::size_t>(i)]);
    const int untilLacking = 20 + 2 * 40 + 17 * static_cast<int>(plain[0].blocks[0].points + plain[0].blocks[1].points);
    EXPECT_EQ(support::readFile(path()).left(untilLacking), planned.bytes().left(untilLacking))
        << "what went before is whole";
}

TEST_F(MergeBuildFailure, AtASourceThatNamesTrianglesAndHasNone)
{
    BlockFile bare = fileOf({0, 2}, {});
    bare.blocks = {bare.makeBlock(1, 3, 0)};
    const std::vector<BlockFile> plain = {fileOf({0}, {1}), bare};
    const Files files = addAll(plain);
    expectFailedAtABlock(merge(files), plain, mergePlainly(plain).value());
    EXPECT_TRUE(files[1]->isOpened());
    EXPECT_EQ(files[1]->readBlock(1), nullptr);
}

TEST_F(MergeBuildFailure, AtASourceThatWasCutShortSinceItWasOpened)
{
    const Files files = addAll(m_plain);
    ASSERT_TRUE(files[1]->openFile());
    QFile onDisk(files[1]->getFilepath());
    ASSERT_TRUE(onDisk.resize(onDisk.size() - 1));
    expectFailedAtABlock(merge(files), {m_plain[1], m_plain[0]}, mergePlainly(m_plain).value());
    expectSound(*files[0], m_plain[0]);
    EXPECT_TRUE(files[1]->isOpened());
}

#ifdef Q_OS_UNIX
TEST_F(MergeBuildFailure, ForWantOfRoomSaysSoAndKeepsTheSources)
{
    const Files files = addAll(m_plain);
    const BlockFile planned = mergePlainly(m_plain).value();
    QStringList lines = linesOf(m_plain);
    write(oldContents());
    {
        const support::FileSizeLimit limit(planned.bytes().size() - 1);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(m_file.makeDataSet_byDataSetFiles(files));
    }
    support::expectClosed(m_file);
    EXPECT_EQ(m_log.lines(), lines << QStringLiteral("Resize file failed with size: 0Mbytes."));
    EXPECT_FALSE(m_file.openFile()) << "what is left on disk is no data set";
    expectSound(*files[0], m_plain[0]);
    expectSound(*files[1], m_plain[1]);

    EXPECT_TRUE(m_file.makeDataSet_byDataSetFiles(files));
    expectBytes(planned.bytes());
}
#endif

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(MergeBuildFailure, ForWantOfMemorySaysSoAndKeepsTheSources)
{
    // Blocks of zeros that need no room on disk, with colours too large for memory that was freed earlier.
    constexpr quint32 points = 3000000;
    BlockFile head;
    head.columns = {0, 3};
    head.blocks.emplace_back();
    head.blocks[0].points = points;
    ptCloud::PtCloud_DataSetFile &source = add(head.bytes());
    ASSERT_TRUE(QFile(source.getFilepath()).resize(64 + qint64{33} * points));
    ASSERT_TRUE(source.openFile());
    QStringList lines = m_log.lines();
    write(oldContents());
    {
        const support::AddressSpaceLimit limit(rlim_t{30} << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(m_file.makeDataSet_byDataSetFiles({&source}));
    }
    support::expectClosed(m_file);
    EXPECT_EQ(m_log.lines(), lines << QStringLiteral("makeDataSet_byLasFile: reallocBufMems failed."));
    EXPECT_EQ(support::readFile(path()).size(), 0);
    EXPECT_TRUE(source.isOpened());
    EXPECT_NE(source.readBlock(0), nullptr);
}
#endif

/// Merges onto one of the sources, which must come to no harm.
class MergeBuildOntoASource : public MergeBuildFailure
{
protected:
    void SetUp() override
    {
        MergeBuildFailure::SetUp();
        m_files = addAll(m_plain);
        m_sourcePath = m_files[1]->getFilepath();
    }

    void expectRefused(const Files &files)
    {
        EXPECT_FALSE(m_file.makeDataSet_byDataSetFiles(files));
        support::expectClosed(m_file);
        for (int i = 0; i < m_files.size(); ++i)
            EXPECT_EQ(support::readFile(m_files[i]->getFilepath()), m_plain[static_cast<std::size_t>(i)].bytes());
        EXPECT_FALSE(QFile::exists(path()));
    }

    void expectRefusedAt(const QString &target)
    {
        ASSERT_TRUE(m_file.setFile(target));
        expectRefused(m_files);
        expectRefused({m_files[1]});
        expectRefused({m_files[1], m_files[0]});
    }

    Files m_files;
    QString m_sourcePath;
};

TEST_F(MergeBuildOntoASource, IsRefusedForTheSamePath)
{
    expectRefusedAt(m_sourcePath);
}

TEST_F(MergeBuildOntoASource, IsRefusedForASourceThatIsOpen)
{
    ASSERT_TRUE(m_files[1]->openFile());
    expectRefusedAt(m_sourcePath);
    expectSound(*m_files[1], m_plain[1]);
}

TEST_F(MergeBuildOntoASource, IsRefusedForAnotherSpellingOfThePath)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("below")));
    expectRefusedAt(path("below/../source1"));
    expectRefusedAt(path(".//source1"));
    expectRefusedAt(QDir::current().relativeFilePath(m_sourcePath));
}

TEST_F(MergeBuildOntoASource, IsRefusedForTheSameObject)
{
    ASSERT_TRUE(m_file.setFile(m_sourcePath));
    expectRefused({m_files[0], &m_file});
    expectRefused({&m_file});
    ASSERT_TRUE(m_file.openFile());
    expectRefused({&m_file, m_files[0]});
}

TEST_F(MergeBuildOntoASource, IsRefusedForTheSameObjectWithoutAFile)
{
    EXPECT_FALSE(m_file.makeDataSet_byDataSetFiles({&m_file}));
    support::expectClosed(m_file);
}

#ifdef Q_OS_UNIX
TEST_F(MergeBuildOntoASource, IsRefusedForALinkToTheSource)
{
    ASSERT_TRUE(QFile::link(m_sourcePath, path("link")));
    expectRefusedAt(path("link"));
}

TEST_F(MergeBuildOntoASource, IsRefusedForASourceThatIsALinkToTheTarget)
{
    ASSERT_TRUE(QFile::link(m_sourcePath, path("link")));
    ASSERT_TRUE(m_files[1]->setFile(path("link")));
    expectRefusedAt(m_sourcePath);
}

TEST_F(MergeBuildOntoASource, IsRefusedForALinkToTheDirectory)
{
    ASSERT_TRUE(QFile::link(m_dir.path(), path("link")));
    expectRefusedAt(path("link/source1"));
}

TEST_F(MergeBuildOntoASource, IsRefusedForAnotherNameOfTheSameFile)
{
    ASSERT_EQ(::link(QFile::encodeName(m_sourcePath).constData(), QFile::encodeName(path("name")).constData()), 0);
    expectRefusedAt(path("name"));
}
#endif

TEST_F(MergeBuildOntoASource, IsNotSuspectedWhereTheTargetOnlyHoldsTheSame)
{
    ASSERT_TRUE(QFile::copy(m_sourcePath, path()));
    EXPECT_TRUE(m_file.makeDataSet_byDataSetFiles(m_files));
    expectBytes(mergePlainly(m_plain).value().bytes());
}

} // namespace
