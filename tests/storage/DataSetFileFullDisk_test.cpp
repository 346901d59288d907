#include "DataSetFileTest.h"
#include "LasWriter.h"
#include "Scarcity.h"

#include "LasFile.h"
#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

#include <memory>
#include <string>

#ifdef Q_OS_LINUX
#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#endif

using namespace ptCloud;
using support::BlockFile;
using support::expectClosed;
using support::readFile;

namespace
{

constexpr qint64 mebibyte = 1 << 20;

/// Builds of a known size: all points lie in one place, so that the file is one block.
class FullDisk : public support::DataSetFileTest
{
protected:
    /// Bytes of a file of one block that holds positions alone.
    static constexpr qint64 bytesOf(int points) { return 20 + 28 + 12 + 17LL * points; }
    /// The largest number of points whose file is not larger than this.
    static constexpr int pointsWithin(qint64 bytes) { return static_cast<int>((bytes - 60) / 17); }

    void load(LasFile &las, int points) const
    {
        support::LasWriter writer;
        writer.points.resize(static_cast<std::size_t>(points), {1, 2, 3});
        ASSERT_TRUE(writer.write(path("points.las")));
        ASSERT_TRUE(las.load(path("points.las"), 100000));
    }

    /// Runs the builder over this many points; the LAS file stands where there is room.
    bool build(int points)
    {
        LasFile las;
        load(las, points);
        return m_file.makeDataSet_byLasFile({&las}, {EDataSetColumn_Position});
    }

    /// Expects that the last build gave a whole file, of which every byte is on disk.
    void expectComplete(int points)
    {
        expectClosed(m_file);
        const QByteArray bytes = readFile(m_file.getFilepath());
        ASSERT_EQ(bytes.size(), bytesOf(points));
        QString reason;
        const auto parsed = BlockFile::parse(bytes, &reason);
        ASSERT_TRUE(parsed) << reason.toStdString();
        ASSERT_EQ(parsed->blocks.size(), 1U);
        EXPECT_EQ(parsed->blocks[0].points, static_cast<quint32>(points));
        const QByteArray place = parsed->blocks[0].columns[0].right(12); // the very last bytes of the file
        EXPECT_EQ(place, QByteArray::fromHex("6f12833a6f12033ba69b443b"));
    }

    /// Expects that the last build ran out of room for a file of so many whole mebibytes, and said so.
    void expectOutOfRoom(qint64 mebibytes)
    {
        expectClosed(m_file);
        ASSERT_FALSE(m_log.lines().isEmpty());
        EXPECT_EQ(m_log.lines().last(), QStringLiteral("Resize file failed with size: %1Mbytes.").arg(mebibytes));
        EXPECT_FALSE(m_file.openFile()) << "what is left on disk is no data set";
        expectClosed(m_file);
    }
};

} // namespace

#ifdef Q_OS_UNIX
namespace
{

/// A build into a file that may not grow beyond a size.
class LimitedFileSize : public FullDisk
{
protected:
    bool buildWithin(qint64 bytes, int points)
    {
        LasFile las;
        load(las, points);
        const support::FileSizeLimit limit(bytes);
        EXPECT_TRUE(limit.holds());
        return m_file.makeDataSet_byLasFile({&las}, {EDataSetColumn_Position});
    }
};

} // namespace

TEST_F(LimitedFileSize, AFileThatJustFitsIsBuilt)
{
    const int points = 1000;
    EXPECT_TRUE(buildWithin(bytesOf(points), points));
    expectComplete(points);
}

TEST_F(LimitedFileSize, OneByteTooFewFailsTheBuildWithALine)
{
    const int points = 1000;
    EXPECT_FALSE(buildWithin(bytesOf(points) - 1, points));
    expectOutOfRoom(0);
}

TEST_F(LimitedFileSize, NoRoomForAnyByteFailsTheBuildWithALine)
{
    EXPECT_FALSE(buildWithin(0, 1));
    expectOutOfRoom(0);
    EXPECT_EQ(QFileInfo(path()).size(), 0);
}

TEST_F(LimitedFileSize, TheLineTellsWholeMebibytesRoundedDown)
{
    // 17 bytes for each of 61676 points and 60 more are 24 bytes below one mebibyte.
    EXPECT_FALSE(buildWithin(4096, 61676));
    expectOutOfRoom(0);
    EXPECT_FALSE(buildWithin(4096, 61678));
    expectOutOfRoom(1);
    EXPECT_FALSE(buildWithin(4096, 123358));
    expectOutOfRoom(1);
    EXPECT_FALSE(buildWithin(4096, 123360));
    expectOutOfRoom(2);
}

TEST_F(LimitedFileSize, AFailedBuildTakesTheFormerFileWithIt)
{
    ASSERT_TRUE(build(50));
    ASSERT_TRUE(m_file.openFile());
    EXPECT_FALSE(buildWithin(bytesOf(1000) - 1, 1000));
    expectOutOfRoom(0);
    EXPECT_TRUE(m_file.isValid()) << "what was written stays on disk";
}

TEST_F(LimitedFileSize, TheObjectBuildsAgainOnceThereIsRoom)
{
    EXPECT_FALSE(buildWithin(bytesOf(1000) - 1, 1000));
    EXPECT_TRUE(build(1000));
    expectComplete(1000);
    EXPECT_TRUE(m_file.openFile());
}
#endif

#ifdef Q_OS_LINUX
namespace
{

/// A file system of its own in memory, one mebibyte large. Only this process sees it, so that not even a crash leaves
/// it mounted.
class SmallDisk
{
public:
    explicit SmallDisk(const QString &directory) : m_path(QFile::encodeName(directory))
    {
        m_mounted = QDir().mkpath(directory) && unshare(CLONE_NEWNS) == 0
                    && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
                    && mount("tmpfs", m_path.constData(), "tmpfs", 0, "size=1m") == 0;
        m_error = m_mounted ? 0 : errno;
    }
    ~SmallDisk()
    {
        // A descriptor that a failing test left open must not keep the disk where the temporary directory is removed.
        if (m_mounted && umount2(m_path.constData(), 0) != 0)
            umount2(m_path.constData(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    bool isMounted() const { return m_mounted; }
    std::string error() const { return std::strerror(m_error); }

private:
    QByteArray m_path;
    bool m_mounted = false;
    int m_error = 0;
};

/// A build onto a disk with room for one mebibyte.
class FullSmallDisk : public FullDisk
{
protected:
    void SetUp() override
    {
        DataSetFileTest::SetUp();
        m_disk = std::make_unique<SmallDisk>(path("disk"));
        if (!m_disk->isMounted())
            GTEST_SKIP() << "only a privileged process may mount: " << m_disk->error();
        ASSERT_TRUE(m_file.setFile(path("disk/Points")));
    }
    void TearDown() override
    {
        m_file.closeFile();
        m_disk.reset();
    }

    /// Takes room from the disk until so many bytes are left.
    void leaveRoomFor(qint64 bytes) const
    {
        ASSERT_TRUE(support::writeFile(path("disk/filler"), QByteArray(static_cast<int>(mebibyte - bytes), 'f')));
    }
    void makeRoom() const { ASSERT_TRUE(QFile::remove(path("disk/filler"))); }

    std::unique_ptr<SmallDisk> m_disk;
};

} // namespace

TEST_F(FullSmallDisk, AFileThatFillsTheDiskIsBuilt)
{
    const int points = pointsWithin(mebibyte);
    ASSERT_GT(bytesOf(points), mebibyte - 17);
    EXPECT_TRUE(build(points));
    expectComplete(points);
}

TEST_F(FullSmallDisk, OnePointMoreThanFitsFailsTheBuildWithALine)
{
    EXPECT_FALSE(build(pointsWithin(mebibyte) + 1));
    expectOutOfRoom(1);
}

TEST_F(FullSmallDisk, ABuildOfManyTimesItsSizeFailsWithALine)
{
    EXPECT_FALSE(build(1000000));
    expectOutOfRoom(16); // 17,000,060 bytes are 16.2 mebibytes
}

TEST_F(FullSmallDisk, WithoutAnyRoomLeftEvenTheSmallestBuildFailsWithALine)
{
    leaveRoomFor(0);
    EXPECT_FALSE(build(1));
    expectOutOfRoom(0);
}

// The block is written in one go of 14 KB, which a device's write buffer swallows without a word.
TEST_F(FullSmallDisk, ABlockThatFitsAWriteBufferDoesNotHideThatTheDiskIsFull)
{
    const int points = 800;
    leaveRoomFor(8192);
    EXPECT_FALSE(build(points));
    expectOutOfRoom(0);
    makeRoom();
    EXPECT_TRUE(build(points));
    expectComplete(points);
}

TEST_F(FullSmallDisk, ALongerFileThatIsBuiltOverGivesItsRoom)
{
    ASSERT_TRUE(build(60000));
    EXPECT_TRUE(build(59000));
    expectComplete(59000);
}

TEST_F(FullSmallDisk, ADataSetOnItIsStillRead)
{
    ASSERT_TRUE(build(1000));
    leaveRoomFor(32768);
    ASSERT_TRUE(m_file.openFile());
    const stPtCloud_PointArray *block = m_file.readBlock(1);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->m_pointCount, 1000U);
}

TEST_F(FullSmallDisk, AFailedBuildLeavesItsNeighboursAlone)
{
    leaveRoomFor(8192);
    EXPECT_FALSE(build(5000));
    EXPECT_EQ(readFile(path("disk/filler")), QByteArray(static_cast<int>(mebibyte - 8192), 'f'));
}
#endif
