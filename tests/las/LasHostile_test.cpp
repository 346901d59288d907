#include "LasTesting.h"

#include "Scarcity.h"

#include <QFile>
#include <QFileInfo>

#include <new>
#include <random>
#include <string>
#include <vector>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

using namespace ptCloud;
using support::expectUnloaded;
using support::LasBytes;
using support::LasWriter;
using support::putAt;
using support::soundLas;
using support::walk;
using support::windowOf;

namespace
{

using LasHostile = support::LasTest;

/// Converts positions alone.
void readPositions(const LasFile &las, unsigned int start, unsigned int count, float *xyz)
{
    las.readPointData(start, count, xyz, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

/// A sound file with two variable heads and three points.
QByteArray smallFile(quint8 minor, quint8 format = 3)
{
    LasWriter las = soundLas(format, 3, minor);
    las.variableHeads = {QByteArray(54, 'a'), QByteArray(54, 'b')};
    return las.bytes();
}

/// Loads and expects what the bytes themselves say: refused and unloaded, or loaded with the records that are there.
void expectAsTheBytesSay(LasFile &las, const QString &path, const LasBytes &bytes)
{
    ASSERT_TRUE(support::writeFile(path, bytes.bytes));
    ASSERT_EQ(las.load(path, 2), bytes.loads());
    if (!bytes.loads()) {
        expectUnloaded(las);
        return;
    }
    EXPECT_TRUE(las.isLoaded());
    EXPECT_EQ(las.getFormat(), bytes.format());
    EXPECT_EQ(walk(las, bytes.format()), bytes.records(0, bytes.usable()));
}

} // namespace

TEST_F(LasHostile, IsCutAnywhere)
{
    for (const quint8 minor : {quint8{2}, quint8{3}}) {
        const QByteArray whole = smallFile(minor);
        for (int size = 0; size <= whole.size(); ++size) {
            LasFile las;
            const LasBytes cut(whole.left(size));
            expectAsTheBytesSay(las, path(), cut);
            const int headers = (minor == 3 ? 243 : 227) + 2 * 54;
            ASSERT_EQ(las.isLoaded(), size > headers) << "version 1." << int{minor} << ", " << size << " bytes";
        }
    }
}

TEST_F(LasHostile, AVersionThreeFileNeedsItsLongRecord)
{
    LasWriter writer = soundLas(0, 1, 3);
    writer.offsetToPointData = 200;
    const QByteArray bytes = writer.bytes();
    EXPECT_FALSE(loads(bytes.left(235)));
    EXPECT_FALSE(loads(bytes.left(242)));
    EXPECT_TRUE(loads(bytes.left(243)));
}

TEST_F(LasHostile, IsOfAnotherVersion)
{
    for (int major = 0; major < 256; ++major)
        for (const int minor : {0, 1, 2, 3, 4, 5, 18, 255}) {
            LasBytes bytes(soundLas(0, 20, 3).bytes());
            putAt(bytes.bytes, 24, static_cast<quint8>(major));
            putAt(bytes.bytes, 25, static_cast<quint8>(minor));
            LasFile las;
            ASSERT_EQ(support::writeFile(path(), bytes.bytes) && las.load(path(), 5),
                      major == 1 && (minor == 2 || minor == 3))
                << major << "." << minor;
            ASSERT_EQ(las.isOpen(), las.isLoaded());
        }
}

TEST_F(LasHostile, IsOfAnUnknownFormat)
{
    ASSERT_TRUE(loads(soundLas(2, 3)));
    for (int format = 6; format < 256; ++format) {
        QByteArray bytes = smallFile(2);
        putAt(bytes, LasWriter::formatAt, static_cast<quint8>(format));
        ASSERT_FALSE(loads(bytes)) << format;
        ASSERT_FALSE(m_las.isOpen());
        ASSERT_EQ(m_las.getFormat(), 2);
        ASSERT_EQ(m_las.getPointDataFormat(), 255);
    }
    // Compressed files have the top bit set.
    QByteArray compressed = smallFile(2);
    putAt<quint8>(compressed, LasWriter::formatAt, 0x82);
    EXPECT_FALSE(loads(compressed));
    EXPECT_TRUE(m_las.getLoadErrorString().isEmpty());
}

TEST_F(LasHostile, AnnouncesMoreVariableHeadsThanItHas)
{
    for (const quint32 count : {6U, 1000U, 79536432U, 1069128089U, 2147483648U, 4294967295U}) {
        QByteArray bytes = smallFile(2);
        putAt(bytes, LasWriter::variableHeadCountAt, count);
        LasFile las;
        ASSERT_TRUE(support::writeFile(path(), bytes));
        EXPECT_FALSE(las.load(path(), 5)) << count;
        expectUnloaded(las);
        // 210 bytes lie behind the header: three whole heads were read before there were no more.
        EXPECT_NE(las.variableLenHead(2), nullptr) << count;
        EXPECT_EQ(las.variableLenHead(3), nullptr) << count;
    }
}

TEST_F(LasHostile, AnnouncesMoreVariableHeadsThanALargeFileHas)
{
    QByteArray bytes = smallFile(2);
    putAt<quint32>(bytes, LasWriter::variableHeadCountAt, 4294967295U);
    ASSERT_TRUE(support::writeFile(path(), bytes) && QFile::resize(path(), 60LL << 20));
    EXPECT_FALSE(m_las.load(path(), 5));
    expectUnloaded(m_las);
}

TEST_F(LasHostile, AnnouncesVariableHeadsThatReachIntoThePoints)
{
    LasBytes bytes(smallFile(2));
    ASSERT_EQ(bytes.bytes.size(), 227 + 2 * 54 + 3 * 34);
    putAt<quint32>(bytes.bytes, LasWriter::variableHeadCountAt, 3);
    ASSERT_TRUE(loads(bytes.bytes));
    const stLasFileVariableLengthHead *third = m_las.variableLenHead(2);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(QByteArray(reinterpret_cast<const char *>(third), 54), bytes.records(0, 3).left(54));
    EXPECT_EQ(walk(m_las, 3), bytes.records(0, 3));
}

TEST_F(LasHostile, AnnouncesMorePointsThanAnyFileHolds)
{
    for (quint8 format = 0; format < 6; ++format)
        for (const qint64 announced : {2147483647LL, 2147483648LL, 4294967295LL}) {
            LasWriter writer = soundLas(format, 10);
            writer.announcedPoints = announced;
            LasFile las;
            expectAsTheBytesSay(las, path(), LasBytes(writer.bytes()));
            EXPECT_EQ(las.isColor256(), support::hasColour(format));
        }
}

TEST_F(LasHostile, AnnouncesPointDataBeyondItsEnd)
{
    for (const quint32 offset : {10000U, 2147483648U, 4294967295U}) {
        QByteArray bytes = smallFile(3);
        putAt(bytes, LasWriter::offsetToPointDataAt, offset);
        EXPECT_FALSE(loads(bytes)) << offset;
    }
}

TEST_F(LasHostile, HasHeaderFieldsOfAnyValue)
{
    constexpr unsigned int seed = 311;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&random](unsigned int limit) { return static_cast<int>(random() % limit); };
    int loaded = 0;
    for (int round = 0; round < 400; ++round) {
        const auto minor = static_cast<quint8>(2 + below(2));
        LasBytes bytes(smallFile(minor, static_cast<quint8>(below(6))));
        // What decides lies in the bytes 24, 25 and 94 to 110.
        for (int change = below(3); change >= 0; --change)
            putAt(bytes.bytes, below(20) == 0 ? 24 + below(2) : 94 + below(17), static_cast<quint8>(below(256)));
        if (below(3) == 0)
            bytes.bytes.truncate(below(static_cast<unsigned int>(bytes.bytes.size()) + 1));
        LasFile las;
        expectAsTheBytesSay(las, path(), bytes);
        ASSERT_FALSE(HasFailure()) << "round " << round;
        loaded += las.isLoaded() ? 1 : 0;
    }
    EXPECT_GT(loaded, 50);
    EXPECT_LT(loaded, 350);
}

TEST_F(LasHostile, IsNoFile)
{
    for (const QString &name : {QString(), m_dir.path(), path("missing"), path("missing/a.las")}) {
        EXPECT_FALSE(m_las.load(name, 10)) << name.toStdString();
        expectUnloaded(m_las);
    }
    ASSERT_TRUE(loads(soundLas(0, 3)));
    EXPECT_FALSE(m_las.load(m_dir.path(), 10));
    expectUnloaded(m_las);
}

TEST_F(LasHostile, IsAnEmptyFile)
{
    EXPECT_FALSE(loads(QByteArray()));
    expectUnloaded(m_las);
}

#ifdef Q_OS_UNIX
TEST_F(LasHostile, IsAPipeOrADevice)
{
    // Opening a pipe that nobody writes would never return.
    const QString pipe = path("pipe");
    ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(pipe, path("link")));
    for (const QString &name :
         {pipe, path("link"), QStringLiteral("/dev/null"), QStringLiteral("/dev/zero"), QStringLiteral("/dev/tty")}) {
        EXPECT_FALSE(m_las.load(name, 10)) << name.toStdString();
        expectUnloaded(m_las);
    }
}

TEST_F(LasHostile, IsReachedThroughALink)
{
    ASSERT_TRUE(soundLas(0, 3).write(path()));
    ASSERT_TRUE(QFile::link(path(), path("good")));
    ASSERT_TRUE(QFile::link(path("nowhere"), path("dangling")));
    ASSERT_TRUE(QFile::link(m_dir.path(), path("directory")));
    ASSERT_TRUE(QFile::link(path("circle"), path("circle")));
    EXPECT_TRUE(m_las.load(path("good"), 10));
    for (const char *name : {"dangling", "directory", "circle"}) {
        EXPECT_FALSE(m_las.load(path(name), 10)) << name;
        expectUnloaded(m_las);
    }
    EXPECT_FALSE(QFileInfo::exists(path("nowhere")));
}
#endif

TEST_F(LasHostile, ShrinksAfterItWasLoaded)
{
    constexpr quint32 count = 50000;
    const LasBytes bytes(soundLas(1, count).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 10));
    ASSERT_TRUE(QFile::resize(m_las.fileName(), bytes.pointData() + 20000 * 28));
    EXPECT_EQ(windowOf(m_las, 1, 10000, 10).bytes, bytes.records(10000, 10));
    EXPECT_EQ(windowOf(m_las, 1, 30000, 10).count, 0U);
    std::vector<float> xyz(30, 1.0F);
    readPositions(m_las, 30000, 10, xyz.data());
    EXPECT_EQ(xyz, std::vector<float>(30, 0.0F));
    EXPECT_TRUE(m_las.isLoaded());
}

TEST_F(LasHostile, IsOpenedByTheHostAlone)
{
    ASSERT_TRUE(soundLas(0, 3).write(path()));
    m_las.setFileName(path());
    ASSERT_TRUE(m_las.open(QIODevice::ReadOnly));
    EXPECT_TRUE(m_las.isLoaded());
    EXPECT_EQ(m_las.getPointDataFormat(), 255);
    EXPECT_EQ(m_las.getNumberOfVariableLengthRecords(), 4294967295U);
    EXPECT_EQ(windowOf(m_las, 0, 0, 3).count, 0U);
    std::vector<float> xyz(9, 7.0F);
    readPositions(m_las, 0, 3, xyz.data());
    EXPECT_EQ(xyz, std::vector<float>(9, 7.0F));
    // The next load takes over.
    EXPECT_TRUE(m_las.load(path(), 10));
    EXPECT_EQ(windowOf(m_las, 0, 0, 3).count, 3U);
}

TEST_F(LasHostile, IsClosedByTheHost)
{
    const LasBytes bytes(soundLas(0, 10).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 4));
    std::vector<float> xyz(3, 7.0F);
    readPositions(m_las, 0, 1, xyz.data()); // returns once the read-ahead is at rest
    m_las.close();
    EXPECT_FALSE(m_las.isLoaded());
    xyz = {7.0F, 7.0F, 7.0F};
    readPositions(m_las, 0, 1, xyz.data());
    EXPECT_EQ(xyz, std::vector<float>(3, 7.0F));
    ASSERT_TRUE(loads(bytes.bytes, 3));
    EXPECT_EQ(walk(m_las, 0), bytes.records(0, 10));

    m_las.close();
    const LasBytes newer(soundLas(4, 5, 3).bytes());
    ASSERT_TRUE(loads(newer.bytes, 3));
    EXPECT_EQ(m_las.getFileHead_ver_1_2(), nullptr) << "of the file before";
    EXPECT_EQ(walk(m_las, 4), newer.records(0, 5));
}

TEST_F(LasHostile, IsOpenedByTheHostAfterAFailedLoad)
{
    ASSERT_TRUE(loads(soundLas(0, 3)));
    ASSERT_FALSE(m_las.load(path("missing"), 10));
    // The old format is still known, while no header is there any more.
    const QByteArray bytes = soundLas(1, 3).bytes();
    ASSERT_TRUE(support::writeFile(path(), bytes));
    m_las.setFileName(path());
    ASSERT_TRUE(m_las.open(QIODevice::ReadOnly));
    EXPECT_EQ(windowOf(m_las, 0, 0, 3).count, 0U);
    float xyz[3] = {};
    readPositions(m_las, 10, 1, xyz);
    // Without a header the points begin at the front of the file.
    EXPECT_EQ(xyz[0], static_cast<float>(support::get<qint32>(bytes, 200)) / 1000.0F);
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(LasHostile, NeedsBuffersThatNoMemoryIsLeftFor)
{
    ASSERT_TRUE(loads(soundLas(0, 1)));
    LasWriter writer = soundLas(3, 1);
    writer.announcedPoints = 4294967295LL;
    ASSERT_TRUE(writer.write(path()) && QFile::resize(path(), 8LL << 30));
    const support::AddressSpaceLimit limit(64U << 20);
    ASSERT_TRUE(limit.holds());
    EXPECT_FALSE(m_las.load(path(), UINT_MAX));
    expectUnloaded(m_las);
    EXPECT_EQ(m_las.getBufSize(), 1000U);
    // By then the header was accepted.
    EXPECT_EQ(m_las.getFormat(), 3);
    EXPECT_TRUE(m_las.isColor256());
    EXPECT_TRUE(m_las.load(path(), 100));
}

TEST_F(LasHostile, IsAskedForMorePointsThanMemoryHolds)
{
    const LasBytes bytes(soundLas(0, 3).bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    {
        const support::AddressSpaceLimit limit(64U << 20);
        ASSERT_TRUE(limit.holds());
        // Two gigabytes of records: a reader that wants them all at once says so, one that doesn't goes through.
        try {
            readPositions(m_las, 0, 100000000, nullptr);
        } catch (const std::bad_alloc &) {
        }
    }
    EXPECT_TRUE(m_las.isLoaded());
    EXPECT_EQ(walk(m_las, 0), bytes.records(0, 3));
}
#endif
