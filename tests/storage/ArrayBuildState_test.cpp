#include "ArrayBuildTesting.h"

#include <QDir>

using support::BlockFile;

namespace
{

class ArrayBuildState;

struct Builder
{
    const char *name;
    bool (*build)(ArrayBuildState &test, ptCloud::PtCloud_DataSetFile &target);
};

/// What all builders from arrays and files do alike. Each has a source of two points and a color for each.
class ArrayBuildState : public ArrayBuildTest, public ::testing::WithParamInterface<Builder>
{
public:
    const ptCloud::stPtCloud_PointArray *array() const { return m_array; }
    ptCloud::PtCloud_DataSetFile *source() { return &m_source; }

protected:
    void SetUp() override
    {
        ArrayBuildTest::SetUp();
        const support::PlainArray plain = plainArray(2, {3});
        m_array = &make(plain);
        const BlockFile file = fileOf(1, {0, 3}, {blockOf(1, {-1, -1, -1, 9, 9, 9}, plain, {0, 3})});
        ASSERT_TRUE(support::writeFile(path("source"), file.bytes()));
        ASSERT_TRUE(m_source.setFile(path("source")));
        ASSERT_TRUE(m_source.openFile());
        m_lines = m_log.lines();
    }

    bool build(ptCloud::PtCloud_DataSetFile &target) { return GetParam().build(*this, target); }
    bool build() { return build(m_file); }

    /// The lines since the test began.
    QStringList lines() const { return m_log.lines().mid(m_lines.size()); }

    /// Expects that a build could not even begin.
    void expectNotBegun()
    {
        const QString before = m_file.getFilepath();
        EXPECT_FALSE(build());
        support::expectClosed(m_file);
        EXPECT_EQ(lines(), QStringList());
        EXPECT_EQ(m_file.getFilepath(), before);
        EXPECT_TRUE(m_source.isOpened());
    }

    /// Expects a whole file of one block with both points.
    void expectWhole() const
    {
        const BlockFile file = built();
        EXPECT_EQ(file.columns, (Columns{0, 3}));
        ASSERT_EQ(file.blocks.size(), 1U);
        EXPECT_EQ(file.blocks[0].indices, (std::vector<quint32>{0, 1}));
        EXPECT_EQ(file.blocks[0].columns[0], support::columnBytes(*m_array, 0));
        EXPECT_EQ(file.blocks[0].columns[1], support::columnBytes(*m_array, 3));
    }

    static constexpr int bytes = 16 + 4 * 2 + 28 + 12 + 2 * 33; ///< of the file that each builds

private:
    const ptCloud::stPtCloud_PointArray *m_array = nullptr;
    ptCloud::PtCloud_DataSetFile m_source;
    QStringList m_lines;
};

TEST_P(ArrayBuildState, FailsWithoutAPath)
{
    ASSERT_TRUE(m_file.setFile(QString()));
    expectNotBegun();
}

TEST_P(ArrayBuildState, FailsWhereTheDirectoryIsMissing)
{
    ASSERT_TRUE(m_file.setFile(path("missing/Points")));
    expectNotBegun();
    EXPECT_FALSE(QFileInfo::exists(path("missing")));
}

TEST_P(ArrayBuildState, FailsWhereADirectoryStands)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("Points")));
    expectNotBegun();
    EXPECT_TRUE(QFileInfo(path()).isDir());
}

TEST_P(ArrayBuildState, MakesTheFileWhereThereIsNone)
{
    EXPECT_TRUE(build());
    support::expectClosed(m_file);
    EXPECT_EQ(lines(), QStringList());
    expectWhole();
}

TEST_P(ArrayBuildState, LeavesNothingOfALongerFile)
{
    write(QByteArray(100000, 'x'));
    EXPECT_TRUE(build());
    expectWhole();
}

TEST_P(ArrayBuildState, ClosesWhatTheObjectHadOpen)
{
    BlockFile before = support::soundFile({0, 4, 13, 2}, {{5, 1}, {7, 2}});
    before.sort = 0;
    ASSERT_TRUE(opens(before));
    EXPECT_TRUE(build());
    support::expectClosed(m_file);
    expectWhole();
}

TEST_P(ArrayBuildState, ClosesWhatTheObjectHadOpenWhenItFailsToo)
{
    ASSERT_TRUE(opens(support::soundFile({0}, {{5, 0}})));
    ASSERT_TRUE(QFile::remove(path()));
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("Points")));
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
}

TEST_P(ArrayBuildState, GivesTheSameBytesAgain)
{
    ASSERT_TRUE(build());
    const QByteArray first = support::readFile(path());
    ASSERT_TRUE(build());
    expectBytes(first);
    ASSERT_TRUE(m_file.openFile());
    ASSERT_TRUE(build());
    expectBytes(first);
}

TEST_P(ArrayBuildState, LetsTwoObjectsBuildFromOneSource)
{
    ptCloud::PtCloud_DataSetFile other;
    ASSERT_TRUE(other.setFile(path("Other")));
    ASSERT_TRUE(build(other));
    ASSERT_TRUE(build());
    expectBytes(support::readFile(path("Other")));
}

#ifdef Q_OS_UNIX
TEST_P(ArrayBuildState, FailsWithALineForWantOfRoomAndBuildsOnceThereIsSome)
{
    writeOldContents();
    {
        const support::FileSizeLimit limit(bytes - 1);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(build());
    }
    support::expectClosed(m_file);
    EXPECT_EQ(lines(), QStringList(QStringLiteral("Resize file failed with size: 0Mbytes.")));
    EXPECT_TRUE(m_file.isValid()) << "what was written stays on disk";
    EXPECT_FALSE(m_file.openFile());
    {
        const support::FileSizeLimit limit(bytes);
        ASSERT_TRUE(limit.holds());
        EXPECT_TRUE(build());
    }
    expectWhole();
    EXPECT_EQ(support::readFile(path()).size(), bytes);
}
#endif

const Builder builders[] = {
    {"Array", [](ArrayBuildState &test,
                 ptCloud::PtCloud_DataSetFile &target) { return target.makeDataSet_byPointsArray(*test.array()); }},
    {"ArrayList",
     [](ArrayBuildState &test, ptCloud::PtCloud_DataSetFile &target) {
         return target.makeDataSet_byPointsArray(QList<const ptCloud::stPtCloud_PointArray *>{test.array()});
     }},
    {"Splitted",
     [](ArrayBuildState &test, ptCloud::PtCloud_DataSetFile &target) {
         return target.makeDataSet_bySplittedPointsArray({test.array()});
     }},
    {"Memory",
     [](ArrayBuildState &test, ptCloud::PtCloud_DataSetFile &target) {
         return target.makeDataSet_byMemory(
             ptCloud::EDataSetSort_ByBox, {ptCloud::EDataSetColumn_Position, ptCloud::EDataSetColumn_Color},
             {{1, std::make_tuple(ptCloud::pcBoundingBoxf(0, 0, 0, 1, 1, 1), test.array())}});
     }},
    {"Files", [](ArrayBuildState &test,
                 ptCloud::PtCloud_DataSetFile &target) { return target.makeDataSet_byDataSetFiles({test.source()}); }},
};

INSTANTIATE_TEST_SUITE_P(Builders, ArrayBuildState, ::testing::ValuesIn(builders), support::CaseName());

} // namespace
