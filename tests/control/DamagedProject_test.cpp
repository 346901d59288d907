#include "ProjectTesting.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

#include <string>

using namespace ptCloud;
using support::DiskState;
using support::diskState;
using support::ProjectFile;
using support::ProjectFileContents;
using support::putBigEndian;
using support::putInt;
using support::putString;
using support::readFile;
using support::sameDisk;
using support::writeFile;

namespace
{

class DamagedProject : public support::ProjectTest
{
};

class RefusedProject : public support::ProjectTest
{
protected:
    /// Opens the full project and puts a file in its directory that opening one would delete.
    void SetUp() override
    {
        ProjectTest::SetUp();
        ASSERT_TRUE(load(full()));
        ASSERT_TRUE(writeFile(inProject("notes.txt"), "notes"));
    }
    /// Expects that the directory is refused, with nothing changed on disk or in the project that is open.
    void expectRefused(const QString &dir)
    {
        const DiskState before = diskState(m_root.path());
        PtCloudDataSet *const open = m_project.getController()->getDataSet(QStringLiteral("abc"));
        QString error = QStringLiteral("mine");
        EXPECT_FALSE(m_project.loadProject(dir, &error));
        EXPECT_EQ(error, QStringLiteral("mine"));
        EXPECT_TRUE(sameDisk(diskState(m_root.path()), before));
        expectRegistries(allLasFiles(), allDataSets());
        EXPECT_EQ(m_project.getController()->getDataSet(QStringLiteral("abc")), open);
        support::Names paths;
        m_project.getController()->getDataSetFilepaths(paths);
        EXPECT_EQ(paths.value(QStringLiteral("abc")), inProject("abc"));
    }
    void expectBytesRefused(const QByteArray &bytes)
    {
        const QString other = m_root.filePath(QStringLiteral("other"));
        support::makeDirectory(other, {{QStringLiteral("points_cloud.pcproj"), bytes}, {QStringLiteral("x"), "x"}});
        expectRefused(other);
        ASSERT_TRUE(writeFile(file(), bytes));
        expectRefused(directory());
    }
};

} // namespace

TEST_F(RefusedProject, NeedsItsDirectoryAndItsFile)
{
    support::makeDirectory(m_root.filePath(QStringLiteral("without")), {{QStringLiteral("x"), "x"}});
    support::makeDirectory(m_root.filePath(QStringLiteral("folder/points_cloud.pcproj")), {});
    expectRefused(m_root.filePath(QStringLiteral("nowhere")));
    expectRefused(m_root.filePath(QStringLiteral("without")));
    expectRefused(m_root.filePath(QStringLiteral("folder")));
    expectRefused(file());
}

TEST_F(RefusedProject, HasAnotherVersion)
{
    for (const qint32 version : {2, 0, -1, 0x01000000}) {
        SCOPED_TRACE(version);
        ProjectFile contents = full();
        contents.version = version;
        expectBytesRefused(contents.bytes());
    }
    for (int size = 0; size < 4; ++size)
        expectBytesRefused(full().bytes().left(size));
}

TEST_F(RefusedProject, HasANegativeCount)
{
    for (const qint64 count : {0xffffffffLL, 0x80000000LL}) {
        ProjectFile contents = full();
        contents.announcedLasFiles = count;
        expectBytesRefused(contents.bytes());
        contents = full();
        contents.announcedDataSets = count;
        expectBytesRefused(contents.bytes());
    }
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(RefusedProject, HasATextThatMemoryDoesNotHold)
{
    const QString other = m_root.filePath(QStringLiteral("other"));
    QByteArray bytes;
    for (const qint32 number : {1, 1, 0x20000000}) // version, pairs, bytes of the first text
        putInt(bytes, number);
    support::makeDirectory(other, {{QStringLiteral("points_cloud.pcproj"), bytes}, {QStringLiteral("x"), "x"}});
    ASSERT_TRUE(QFile::resize(other + QStringLiteral("/points_cloud.pcproj"), 0x30000000));
    {
        const support::AddressSpaceLimit limit(64U << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_FALSE(m_project.loadProject(other, nullptr));
    }
    EXPECT_TRUE(QFile::exists(other + QStringLiteral("/x")));
    expectRegistries(allLasFiles(), allDataSets());
}
#endif

TEST_F(DamagedProject, CutAnywhereLoadsAsFarAsItGoes)
{
    const QByteArray whole = full().bytes();
    for (int size = 4; size <= whole.size(); ++size) {
        SCOPED_TRACE(size);
        ASSERT_TRUE(writeFile(inProject("notes.txt"), "gone"));
        const QByteArray cut = whole.left(size);
        const ProjectFileContents contents(cut);
        ASSERT_TRUE(contents.isAccepted);
        ASSERT_TRUE(load(cut));
        expectRestored(contents);
        EXPECT_EQ(QDir(directory()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                  (QStringList{QStringLiteral("abc"), QStringLiteral("points_cloud.pcproj"), QStringLiteral("zed")}));
    }
}

TEST_F(DamagedProject, OfEightBytesIsEmpty)
{
    ASSERT_TRUE(load(full()));
    ASSERT_TRUE(writeFile(inProject("notes.txt"), "gone"));
    EXPECT_TRUE(load(QByteArray("\0\0\0\1\0\0\0\0", 8)));
    expectRegistries({}, {});
    EXPECT_TRUE(m_project.isDataSetEmpty());
    EXPECT_FALSE(QFile::exists(inProject("notes.txt")));
    EXPECT_EQ(readFile(file()).size(), 8);
}

TEST_F(DamagedProject, CutWithinItsLastLasFileKeepsTheOthers)
{
    // Version, count, and the first pair: 4 + 2 * 5 for "a.las", 4 + twice the length of the path.
    const int firstPairEnds = 8 + 14 + 4 + 2 * static_cast<int>(las("a.las").size());
    ASSERT_TRUE(load(full().bytes().left(firstPairEnds + 10)));
    expectRegistries({{QStringLiteral("a.las"), las("a.las")}}, {});
}

TEST_F(DamagedProject, AnnouncesMoreThanItHolds)
{
    const qint64 memory = support::peakMemory();
    for (const qint64 count : {3LL, 1000000LL, 0x7fffffffLL}) {
        SCOPED_TRACE(count);
        ProjectFile contents = full();
        contents.announcedDataSets = count;
        ASSERT_TRUE(load(contents));
        expectRegistries(allLasFiles(), allDataSets());

        contents = full();
        contents.dataSets.clear();
        contents.announcedLasFiles = count;
        const QByteArray bytes = contents.bytes();
        ASSERT_TRUE(load(bytes.left(bytes.size() - 4)));
        expectRegistries(allLasFiles(), {});

        QByteArray counts;
        putInt(counts, 1);
        putInt(counts, static_cast<qint32>(count));
        ASSERT_TRUE(load(counts));
        expectRegistries({}, {});
    }
    EXPECT_LT(support::peakMemory() - memory, 100 << 20);
}

TEST_F(DamagedProject, TakesTheDataSetsForLasFilesWhereItsFirstCountIsTooLarge)
{
    // The count of data sets, 2, is read as the length of a key, and from there on nothing is as it was meant.
    ProjectFile contents = full();
    contents.announcedLasFiles = 0x7fffffff;
    ASSERT_TRUE(load(contents));
    const ProjectFileContents plain(contents.bytes());
    EXPECT_TRUE(plain.dataSets.isEmpty());
    expectRestored(plain);
    EXPECT_TRUE(m_project.isDataSetEmpty());
}

TEST_F(DamagedProject, AnnouncesAStringBeyondItsEnd)
{
    const qint64 memory = support::peakMemory();
    for (const quint32 size : {0xfffffffeU, 0x7ffffffeU, 0x80000000U, 100000U}) {
        SCOPED_TRACE(size);
        QByteArray bytes;
        putInt(bytes, 1);
        putInt(bytes, 2);
        putString(bytes, QStringLiteral("a.las"));
        putString(bytes, las("a.las"));
        putBigEndian(bytes, size, 4);
        bytes += full().bytes();
        ASSERT_TRUE(load(bytes));
        expectRegistries({{QStringLiteral("a.las"), las("a.las")}}, {});
    }
    EXPECT_LT(support::peakMemory() - memory, 100 << 20);
}

TEST_F(DamagedProject, ReadsOnBehindAStringOfOddLength)
{
    for (const quint32 size : {1U, 5U, 0x7fffffffU, 0xfffffffdU}) {
        SCOPED_TRACE(size);
        QByteArray bytes;
        putInt(bytes, 1);
        putInt(bytes, 2);
        putString(bytes, QStringLiteral("odd"));
        putBigEndian(bytes, size, 4); // stands for an empty path, and takes nothing behind it
        putString(bytes, QStringLiteral("a.las"));
        putString(bytes, las("a.las"));
        putInt(bytes, 1);
        putBigEndian(bytes, size, 4); // an empty key is a key
        putString(bytes, QStringLiteral("abc"));
        ASSERT_TRUE(load(bytes));
        expectRegistries({{QStringLiteral("a.las"), las("a.las")}}, {{QString(), QStringLiteral("abc")}});
    }
}

TEST_F(DamagedProject, NamesAKeyTwiceAndTheLastCounts)
{
    ProjectFile contents;
    contents.lasFiles = {{QStringLiteral("k"), las("a.las")},
                         {QStringLiteral("gone"), las("a.las")},
                         {QStringLiteral("k"), las("b.las")},
                         {QStringLiteral("gone"), las("nowhere.las")}};
    contents.dataSets = {{QStringLiteral("k"), QStringLiteral("abc")}, {QStringLiteral("k"), QStringLiteral("zed")}};
    ASSERT_TRUE(load(contents));
    expectRegistries({{QStringLiteral("k"), las("b.las")}}, {{QStringLiteral("k"), QStringLiteral("zed")}});
}

TEST_F(DamagedProject, HoldsKeysInAnyOrderAndBytesBehindItsEnd)
{
    ProjectFile contents = full();
    std::swap(contents.lasFiles[0], contents.lasFiles[1]);
    std::swap(contents.dataSets[0], contents.dataSets[1]);
    ASSERT_TRUE(load(contents.bytes() + full().bytes()));
    expectRegistries(allLasFiles(), allDataSets());
    ASSERT_TRUE(m_project.save(directory(), nullptr));
    EXPECT_EQ(readFile(file()), full().bytes());
}

TEST_F(DamagedProject, KeepsNamesThatACommandWouldNotGive)
{
    ProjectFile contents;
    contents.dataSets = {{QStringLiteral("ABC"), QStringLiteral("abc")},
                         {QStringLiteral("abc"), QStringLiteral("zed")},
                         {QStringLiteral("../x"), QStringLiteral("abc")}};
    ASSERT_TRUE(load(contents));
    expectRegistries({}, {{QStringLiteral("ABC"), QStringLiteral("abc")},
                          {QStringLiteral("abc"), QStringLiteral("zed")},
                          {QStringLiteral("../x"), QStringLiteral("abc")}});
    const auto all = m_project.getController()->getDataSets();
    EXPECT_NE(all.value(QStringLiteral("ABC")), all.value(QStringLiteral("../x")));
    ASSERT_EQ(m_project.getController()->doCmd_DataSet_Remove({QStringLiteral("ABC")}), ActResult_Success);
    EXPECT_EQ(m_project.getController()->doCmd_DataSet_Remove({QStringLiteral("../x")}), ActResult_Success);
    expectRegistries({}, {{QStringLiteral("abc"), QStringLiteral("zed")}});
    EXPECT_EQ(readFile(inProject("zed/Points")), points(5));
}

TEST_F(DamagedProject, ReachesNothingOutsideByTheNamesOfDirectories)
{
    // Sound data sets with files that loading one would delete, wherever such a name could lead.
    for (const QString &place : {m_root.path(), m_root.filePath(QStringLiteral("victim")), inProject("nested/deep")})
        support::makeDirectory(place, {{QStringLiteral("Points"), points(7)}, {QStringLiteral("stray"), "stray"}});
    ProjectFile contents = full();
    int index = 0;
    for (const QString &name :
         {QStringLiteral(".."), QStringLiteral("."), QString(), QStringLiteral(""), QStringLiteral("../victim"),
          m_root.filePath(QStringLiteral("victim")), QStringLiteral("nested/deep"), QStringLiteral("../new"),
          QStringLiteral("abc/new"), QStringLiteral("../../canary"), m_root.filePath(QStringLiteral("new")),
          QStringLiteral("abc/"), QStringLiteral("./abc"), QStringLiteral("new") + QChar(0)})
        contents.dataSets.emplace_back(QStringLiteral("hostile%1").arg(++index), name);
    DiskState expected = diskState(m_root.path());
    expected[QStringLiteral("project/points_cloud.pcproj")] = contents.bytes();
    ASSERT_TRUE(load(contents));
    expectRegistries(allLasFiles(), allDataSets());
    EXPECT_TRUE(sameDisk(diskState(m_root.path()), expected));
}

TEST_F(DamagedProject, NamesNoLasFileThatIsNone)
{
    ProjectFile contents = full();
    contents.lasFiles = {{QStringLiteral("directory"), m_root.path()},
                         {QStringLiteral("empty"), QStringLiteral("")},
                         {QStringLiteral("null"), QString()},
                         {QStringLiteral("nul"), las("a.las") + QChar(0)},
                         {QStringLiteral("not opened"), las("canary")}};
    ASSERT_TRUE(load(contents));
    expectRegistries({{QStringLiteral("not opened"), las("canary")}}, allDataSets());
}

TEST_F(DamagedProject, OfAnyBytesIsRefusedOrLoadedWithoutHarmAround)
{
    constexpr quint32 seed = 20240611;
    quint32 random = seed;
    const auto next = [&random](quint32 limit) {
        random = random * 1664525U + 1013904223U;
        return (random >> 8) % limit;
    };
    const QByteArray sound = full().bytes();
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        QByteArray bytes = sound;
        for (quint32 change = next(4); change < 4; ++change)
            bytes[static_cast<int>(4 + next(static_cast<quint32>(sound.size()) - 4))] = static_cast<char>(next(256));
        const ProjectFileContents plain(bytes);
        ASSERT_EQ(load(bytes), plain.isAccepted);
        if (plain.isAccepted)
            expectRestored(plain);
        ASSERT_EQ(readFile(las("canary")), QByteArray("sings"));
        ASSERT_EQ(readFile(inProject("abc/Points")), points(3));
        ASSERT_EQ(readFile(inProject("zed/Points")), points(5));
    }
}
