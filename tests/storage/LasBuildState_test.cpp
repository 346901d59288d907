#include "LasBuildTesting.h"
#include "Scarcity.h"

#include <QDir>

using support::BlockFile;

namespace
{

class LasBuildState : public LasBuildTest
{
protected:
    using Places = std::vector<std::array<qint32, 3>>;

    /// A build that fails after the file was opened: false, nothing but these lines, an empty file, a closed object.
    void expectFailure(const std::vector<quint32> &columns, const QStringList &lines)
    {
        write(QByteArray("what stood here before"));
        const auto before = static_cast<int>(m_log.lines().size());
        EXPECT_FALSE(build(columns));
        support::expectClosed(m_file);
        EXPECT_EQ(m_log.lines().mid(before), lines);
        EXPECT_TRUE(QFile::exists(path()));
        EXPECT_EQ(support::readFile(path()), QByteArray());
    }
};

TEST_F(LasBuildState, IsClosedAfterSuccessAndTheFileOpens)
{
    add(fileOf({{1, 2, 3}, {5000, 2, 3}}, 3));
    ASSERT_TRUE(build({0, 3, 9}));
    support::expectClosed(m_file);
    EXPECT_EQ(m_file.getFilepath(), path());

    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.getSortType(), ptCloud::EDataSetSort_ByBox);
    EXPECT_EQ(m_file.getColumns(),
              (QList<ptCloud::EDataSetColumn>{ptCloud::EDataSetColumn_Position, ptCloud::EDataSetColumn_Color,
                                              ptCloud::EDataSetColumn_Classification}));
    EXPECT_EQ(m_file.getBlockInfos().keys(), (QList<int>{1, 2}));
    const BlockFile file = built();
    for (const BlockFile::Block &block : file.blocks) {
        EXPECT_EQ(block.tag, -1);
        EXPECT_EQ(block.triangles, 0U);
        support::expectBlockAt(support::readFile(path()), block.recordOffset + 28, file.columns,
                               m_file.readBlock(block.key));
    }
}

TEST_F(LasBuildState, DropsWhatWasOpenAndLongerBefore)
{
    const BlockFile longer = support::soundFile({0, 3, 13}, {{50}, {400}, {3}});
    ASSERT_TRUE(opens(longer));
    add(fileOf({{1, 2, 3}}));
    ASSERT_TRUE(build());
    support::expectClosed(m_file);
    EXPECT_EQ(support::readFile(path()).size(), 16 + 4 + 28 + 12 + 5 + 12);
    EXPECT_EQ(built().blocks.size(), 1U);
}

TEST_F(LasBuildState, MakesTheSameFileAgain)
{
    add(fileOf({{1, 2, 3}, {5000, 2, 3}, {2, 2, 3}}, 5), 2);
    ASSERT_TRUE(build({0, 18}));
    const QByteArray bytes = support::readFile(path());
    ASSERT_TRUE(build({0, 18}));
    EXPECT_EQ(support::readFile(path()), bytes);
}

TEST_F(LasBuildState, LeavesTheLasFilesLoaded)
{
    const ptCloud::LasFile *las = add(fileOf({{1, 2, 3}, {5000, 2, 3}}));
    ASSERT_TRUE(build());
    EXPECT_TRUE(las->isLoaded());
    const stLasRecord_fmt_0 *records = nullptr;
    ASSERT_EQ(las->getPointDatas_fmt_0(0, 2, records), 2U);
    EXPECT_EQ(static_cast<qint32>(records[1].x), 5000);
}

TEST_F(LasBuildState, RefusesToStartWithoutAPath)
{
    add(fileOf({{1, 2, 3}}));
    ASSERT_TRUE(m_file.setFile(QString()));
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    EXPECT_TRUE(m_log.lines().isEmpty());
}

TEST_F(LasBuildState, RefusesToStartInAFolderThatIsNotThere)
{
    add(fileOf({{1, 2, 3}}));
    ASSERT_TRUE(m_file.setFile(path("missing/Points")));
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    EXPECT_TRUE(m_log.lines().isEmpty());
    EXPECT_FALSE(QFile::exists(path("missing")));
}

TEST_F(LasBuildState, RefusesToStartWhereAFolderHasTakenThePath)
{
    add(fileOf({{1, 2, 3}}));
    ASSERT_TRUE(QDir().mkdir(path()));
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    EXPECT_TRUE(m_log.lines().isEmpty());
    EXPECT_TRUE(QFileInfo(path()).isDir());
}

struct ColumnList
{
    const char *name;
    std::vector<quint32> columns;
};

class LasBuildRefuses : public LasBuildState, public ::testing::WithParamInterface<ColumnList>
{
};

TEST_P(LasBuildRefuses, InSilence)
{
    add(fileOf({{1, 2, 3}}));
    expectFailure(GetParam().columns, {});
}

INSTANTIATE_TEST_SUITE_P(Columns, LasBuildRefuses,
                         ::testing::Values(ColumnList{"AnEmptyList", {}}, ColumnList{"NoPosition", {3, 4}},
                                           ColumnList{"Normals", {0, 1}}, ColumnList{"NormalsAlone", {1}},
                                           ColumnList{"NormalsInFront", {1, 0}}, ColumnList{"Triangles", {0, 3, 2, 4}},
                                           ColumnList{"Nineteen", {0, 19}}, ColumnList{"NineteenInFront", {19, 0}},
                                           ColumnList{"MinusOne", {0, 0xFFFFFFFFU}},
                                           ColumnList{"TheSmallestNumber", {0, 0x80000000U}}),
                         support::CaseName());

TEST_F(LasBuildState, FailsInSilenceForAFileOfAnotherVersionWhereverItStands)
{
    add(fileOf({{1, 2, 3}}));
    support::LasWriter writer = fileOf({{1, 2, 3}});
    writer.versionMinor = 4;
    ptCloud::LasFile newer;
    ASSERT_TRUE(writer.write(lasFilePath(7)));
    ASSERT_FALSE(newer.load(lasFilePath(7), 100));
    m_list.append(&newer);
    expectFailure({0}, {});
    m_list = {&newer, m_list.first()};
    expectFailure({0}, {});
}

TEST_F(LasBuildState, FailsInSilenceForAFileThatWasNeverLoaded)
{
    const ptCloud::LasFile unloaded;
    m_list = {&unloaded};
    expectFailure({0}, {});
    add(fileOf({{1, 2, 3}}));
    expectFailure({0}, {});
}

TEST_F(LasBuildState, FailsInSilenceForAFileThatIsNoLongerLoaded)
{
    add(fileOf({{1, 2, 3}}));
    ptCloud::LasFile &las = *m_inputs.back().las;
    ASSERT_FALSE(las.load(path("missing.las"), 100));
    expectFailure({0}, {});

    support::LasWriter writer = fileOf({{1, 2, 3}});
    writer.format = 9;
    ASSERT_TRUE(writer.write(lasFilePath(7)));
    ASSERT_FALSE(las.load(lasFilePath(7), 100));
    expectFailure({0}, {});
}

TEST_F(LasBuildState, FailsForANullEntry)
{
    add(fileOf({{1, 2, 3}}));
    m_list.append(nullptr);
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    m_list = {nullptr};
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
}

TEST_F(LasBuildState, SaysThatThereAreNoPointsForAnEmptyList)
{
    write(QByteArray("what stood here before"));
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    ASSERT_FALSE(m_log.lines().isEmpty());
    EXPECT_EQ(m_log.lines().last(), emptyLine());
    EXPECT_EQ(support::readFile(path()), QByteArray());
}

TEST_F(LasBuildState, SaysThatThereAreNoPointsWhenNoneFellIntoABox)
{
    add(fileOf({{5000, 0, 0}, {0, 5000, 0}, {0, 0, -5000}}, 0.0, 10.0), 2);
    write(QByteArray("what stood here before"));
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    expectLog(m_log.lines(), {QStringLiteral("2 / 3"), QStringLiteral("3 / 3")}, false);
    EXPECT_EQ(support::readFile(path()), QByteArray());
}

TEST_F(LasBuildState, SaysThatThereAreNoPointsInFilesWithoutAny)
{
    support::LasWriter none = fileOf({}, 0.0, 10.0);
    none.tail = QByteArray(1, '\0');
    add(none);
    none.announcedPoints = 12; // none of them is there
    add(none);
    EXPECT_FALSE(build());
    support::expectClosed(m_file);
    expectLog(m_log.lines(), {}, false);
}

class LasBuildScarcity : public LasBuildState
{
protected:
    /// Loads a file of this many equal points.
    void addPoints(int count) { add(fileOf(Places(static_cast<std::size_t>(count), {1, 2, 3})), 100000); }

    static std::vector<quint32> allColumns() { return {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}; }
};

/// A suite of its own: memory that an earlier test of the process has freed is no longer short.
class LasBuildBatches : public LasBuildScarcity
{
};

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(LasBuildBatches, FitIntoMemoryThatDoesNotHoldAllBlocks)
{
    Places places;
    for (int i = 0; i < 1000000; ++i)
        places.push_back({i / 62500 * 2000, 0, 0});
    add(fileOf(places), 100000);
    {
        const support::AddressSpaceLimit limit(rlim_t{44} << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_TRUE(build(allColumns()));
    }
    EXPECT_EQ(built().blocks.size(), 16U);
    EXPECT_EQ(QFileInfo(path()).size(), 16 + 4 * 17 + 16 * (28 + 12) + 1000000 * 81);
}

TEST_F(LasBuildScarcity, OfMemoryFailsWithALine)
{
    addPoints(1000000);
    {
        const support::AddressSpaceLimit limit(rlim_t{40} << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(build(allColumns()));
    }
    support::expectClosed(m_file);
    EXPECT_EQ(m_log.lines().last(), QStringLiteral("makeDataSet_byLasFile: reallocBufMems failed."));
    EXPECT_TRUE(build({0}));
    EXPECT_EQ(built().blocks.at(0).points, 1000000U);
}
#endif

#ifdef Q_OS_UNIX
TEST_F(LasBuildScarcity, OfDiskSpaceFailsWithTheSizeInWholeMebibytes)
{
    addPoints(50000);
    {
        const support::FileSizeLimit limit(1 << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(build(allColumns()));
    }
    support::expectClosed(m_file);
    // 50,000 points of 81 bytes and a few bytes of head: 3.86 mebibytes.
    EXPECT_EQ(m_log.lines().last(), QStringLiteral("Resize file failed with size: 3Mbytes."));
    EXPECT_LE(QFileInfo(path()).size(), 1 << 20);

    EXPECT_TRUE(build(allColumns()));
    EXPECT_EQ(support::readFile(path()).size(), 16 + 4 * 17 + 28 + 12 + 50000 * 81);
}
#endif

} // namespace
