#include "FileSeekBuf.h"

#include "Bytes.h"
#include "Scarcity.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <system_error>
#include <vector>

using ptCloud::FileSeekBuf;

namespace
{

/// Bytes in which every record of every plausible size differs from its neighbours.
QByteArray pattern(int size)
{
    QByteArray bytes(size, '\0');
    quint32 state = 12345;
    for (char &byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

/// What an attempt to construct throws: its text, or nothing.
std::string thrownBy(const std::function<void()> &attempt)
{
    try {
        attempt();
    } catch (const std::exception &error) {
        return error.what();
    }
    return {};
}

/// A file of records of 7 bytes behind a start of 5 bytes, and the object over it.
class FileSeekBufTest : public ::testing::Test
{
protected:
    static constexpr int m_size = 7;
    static constexpr int m_start = 5;

    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    /// The file on disk, not yet open.
    void create(const QByteArray &bytes)
    {
        m_bytes = bytes;
        m_file.setFileName(m_dir.filePath(QStringLiteral("records")));
        ASSERT_TRUE(support::writeFile(m_file.fileName(), bytes));
    }

    /// A file with so many records, and a reader with so many in each buffer. `more` further bytes end the file.
    void open(int records, unsigned int capacity, unsigned int maximum = UINT_MAX, int more = 0)
    {
        create(pattern(m_start + records * m_size + more));
        ASSERT_TRUE(m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
        m_buffer = std::make_unique<FileSeekBuf>(&m_file, m_size, m_start, maximum, capacity);
    }

    QByteArray recordsAt(unsigned int index, int count) const
    {
        return m_bytes.mid(m_start + static_cast<int>(index) * m_size, count * m_size);
    }

    /// Asks for a record and expects so many, with the bytes that the file has there.
    void expectRun(unsigned int index, int count)
    {
        void *datas = nullptr;
        ASSERT_EQ(m_buffer->getDatas(index, datas), count) << "record " << index;
        ASSERT_EQ(QByteArray(static_cast<const char *>(datas), count * m_size), recordsAt(index, count))
            << "record " << index;
    }

    void expectNothing(unsigned int index)
    {
        int untouched = 0;
        void *datas = &untouched;
        EXPECT_EQ(m_buffer->getDatas(index, datas), 0) << "record " << index;
        EXPECT_EQ(datas, &untouched) << "record " << index;
    }

    QTemporaryDir m_dir;
    QByteArray m_bytes;
    QFile m_file;
    std::unique_ptr<FileSeekBuf> m_buffer;
};

} // namespace

TEST_F(FileSeekBufTest, GivesNothingFromTheNumberOfRecordsOn)
{
    open(20, 8);
    for (const unsigned int index : {20U, 21U, static_cast<unsigned int>(INT_MAX), UINT_MAX})
        expectNothing(index);
    expectRun(0, 8);
}

TEST_F(FileSeekBufTest, ReadsTheNextSpanAhead)
{
    open(24, 8);
    expectRun(3, 5);
    m_buffer->waitForIdle();
    ASSERT_TRUE(QFile::resize(m_file.fileName(), 0));
    expectRun(8, 8);
    expectNothing(16);
}

TEST_F(FileSeekBufTest, ReadsNoSpanTwice)
{
    open(20, 8);
    m_buffer->waitForIdle();
    ASSERT_TRUE(QFile::resize(m_file.fileName(), 0));
    expectRun(0, 8);
    expectNothing(20);
    m_buffer->waitForIdle();
    expectRun(0, 8);
}

TEST_F(FileSeekBufTest, ReadsForwardSpanBySpan)
{
    open(20, 8);
    expectRun(0, 8);
    expectRun(8, 8);
    expectRun(16, 4);
    expectNothing(20);
}

TEST_F(FileSeekBufTest, ReadsForwardWithOneRecordForEachBuffer)
{
    open(9, 1);
    for (unsigned int index = 0; index < 9; ++index)
        expectRun(index, 1);
    expectNothing(9);
}

TEST_F(FileSeekBufTest, GivesTheRestOfASpanFromAnyIndexInIt)
{
    open(20, 8);
    for (unsigned int index = 0; index < 8; ++index)
        expectRun(index, static_cast<int>(8 - index));
}

TEST_F(FileSeekBufTest, ContinuesInTheOtherSpanBehindTheLastRecordOfOne)
{
    open(40, 8);
    for (unsigned int last = 7; last < 39; last += 8) {
        expectRun(last, 1);
        expectRun(last + 1, 8);
    }
}

TEST_F(FileSeekBufTest, HoldsAShortFileInOneSpan)
{
    open(5, 100);
    expectRun(0, 5);
    expectRun(4, 1);
    expectNothing(5);
    expectRun(2, 3);
}

TEST_F(FileSeekBufTest, StopsAtTheNumberThatTheCallerKnowsOf)
{
    open(20, 3, 4);
    expectRun(0, 3);
    expectRun(3, 1);
    expectNothing(4);
}

TEST_F(FileSeekBufTest, LeavesOutAnUnfinishedRecord)
{
    open(4, 10, UINT_MAX, m_size - 1);
    expectRun(0, 4);
    expectNothing(4);
}

TEST_F(FileSeekBufTest, JumpsBackward)
{
    open(100, 10);
    expectRun(0, 10);
    expectRun(10, 10);
    expectRun(20, 10);
    expectRun(3, 10);
    expectRun(13, 10);
}

TEST_F(FileSeekBufTest, JumpsForwardOverSpans)
{
    open(100, 10);
    expectRun(57, 10);
    expectRun(67, 10);
    expectRun(95, 5);
    expectNothing(100);
}

TEST_F(FileSeekBufTest, GivesTheSameBytesAsDirectReadsInAnyOrder)
{
    for (const unsigned int capacity : {1U, 3U, 16U, 64U, 1000U}) {
        const unsigned int seed = 20240 + capacity;
        SCOPED_TRACE("capacity " + std::to_string(capacity) + ", seed " + std::to_string(seed));
        m_buffer.reset();
        m_file.close();
        open(250, capacity);
        std::mt19937 random(seed);
        for (int i = 0; i < 200; ++i) {
            const unsigned int index = static_cast<unsigned int>(random()) % 260U;
            void *datas = nullptr;
            const int count = m_buffer->getDatas(index, datas);
            ASSERT_EQ(count > 0, index < 250) << index;
            if (count <= 0)
                continue;
            ASSERT_LE(count, static_cast<int>(std::min(capacity, 250U - index)));
            ASSERT_EQ(QByteArray(static_cast<const char *>(datas), count * m_size), recordsAt(index, count)) << index;
        }
    }
}

TEST_F(FileSeekBufTest, ARunKeepsItsBytesWhileTheOtherSpanLoads)
{
    constexpr int capacity = 20000;
    open(4 * capacity, capacity);
    for (unsigned int at = 0; at < 4 * capacity; at += capacity) {
        void *datas = nullptr;
        ASSERT_EQ(m_buffer->getDatas(at, datas), capacity);
        const QByteArray expected = recordsAt(at, capacity);
        for (int look = 0; look < 20; ++look)
            ASSERT_EQ(std::memcmp(datas, expected.constData(), static_cast<std::size_t>(expected.size())), 0);
        m_buffer->waitForIdle();
        ASSERT_EQ(std::memcmp(datas, expected.constData(), static_cast<std::size_t>(expected.size())), 0);
    }
}

TEST_F(FileSeekBufTest, LeavesTheFileToOthersWhileItIsIdle)
{
    open(100, 10);
    for (const unsigned int index : {0U, 10U, 20U, 50U}) {
        expectRun(index, 10);
        m_buffer->waitForIdle();
        ASSERT_TRUE(m_file.seek(1));
        ASSERT_EQ(m_file.read(3), m_bytes.mid(1, 3));
    }
}

TEST_F(FileSeekBufTest, RefusesARecordSizeOfZero)
{
    create(pattern(10));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    // The size is looked at before the start.
    for (const qint64 start : {0, 10})
        EXPECT_EQ(thrownBy([&] { FileSeekBuf(&m_file, 0, start, 1, 1); }),
                  "FileSeekBuf : invalid parameter[sizeOfData]");
}

TEST_F(FileSeekBufTest, RefusesAStartThatIsNotInsideTheFile)
{
    create(pattern(10));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    for (const qint64 start : {10LL, 11LL, LLONG_MAX})
        EXPECT_EQ(thrownBy([&] { FileSeekBuf(&m_file, 1, start, 1, 1); }),
                  "FileSeekBuf : invalid parameter[dataStartPos]");
}

TEST_F(FileSeekBufTest, TakesTheLastByteAsAStart)
{
    create(pattern(10));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    m_buffer = std::make_unique<FileSeekBuf>(&m_file, m_size, 9, 1, 4);
    for (const unsigned int index : {0U, 1U, UINT_MAX})
        expectNothing(index);
}

TEST_F(FileSeekBufTest, ABufferForNoRecordsGivesNothing)
{
    open(20, 0);
    for (const unsigned int index : {0U, 1U, 19U, 20U})
        expectNothing(index);
    m_buffer->waitForIdle();
}

TEST_F(FileSeekBufTest, AKnownNumberOfZeroGivesNothing)
{
    open(20, 4, 0);
    expectNothing(0);
}

TEST_F(FileSeekBufTest, ASpanThatCannotBeReachedIsEmptyAndTheOthersAreNot)
{
    create(pattern(20));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    // Record 0 would lie in front of the file, record 1 at its first byte.
    m_buffer = std::make_unique<FileSeekBuf>(&m_file, m_size, -m_size, 10, 1);
    expectNothing(0);
    void *datas = nullptr;
    ASSERT_EQ(m_buffer->getDatas(1, datas), 1);
    EXPECT_EQ(QByteArray(static_cast<const char *>(datas), m_size), m_bytes.left(m_size));
    expectNothing(0);
}

TEST_F(FileSeekBufTest, AFailedSpanIsNotReadAgainWhileTheIndexStaysInIt)
{
    create(pattern(m_start + 20 * m_size));
    ASSERT_TRUE(m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered));
    m_buffer = std::make_unique<FileSeekBuf>(&m_file, m_size, m_start, 20, 4);
    expectNothing(0);
    m_buffer->waitForIdle();
    m_file.close();
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    expectNothing(0);
    expectNothing(3);
    expectRun(4, 4);
    expectRun(12, 4);
    expectRun(0, 4);
}

TEST_F(FileSeekBufTest, AnUntouchedSpanCountsAsTheOneInFrontOfTheFirst)
{
    open(40, 4);
    m_buffer->waitForIdle();
    m_file.close();
    expectNothing(20);
    m_buffer->waitForIdle();
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    // The second buffer was never asked for anything and stands at -1: four records from there end at index 2.
    expectNothing(0);
    expectNothing(2);
    expectRun(3, 4);
    expectRun(0, 4);
}

TEST_F(FileSeekBufTest, AFileCutShortLaterGivesWhatIsLeft)
{
    open(100, 10);
    m_buffer->waitForIdle();
    ASSERT_TRUE(QFile::resize(m_file.fileName(), m_start + 25 * m_size + 3));
    expectRun(0, 10);
    expectRun(10, 10);
    expectRun(20, 5);
    expectRun(24, 1);
    expectNothing(25);
    expectNothing(29);
    expectNothing(30);
    expectNothing(99);
}

TEST_F(FileSeekBufTest, TheNumberOfRecordsWrapsAtThirtyTwoBits)
{
    create({});
    ASSERT_TRUE(QFile::resize(m_file.fileName(), (1LL << 32) + 5));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    m_buffer = std::make_unique<FileSeekBuf>(&m_file, 1, 0, UINT_MAX, 100);
    void *datas = nullptr;
    EXPECT_EQ(m_buffer->getDatas(0, datas), 5);
    expectNothing(5);
}

TEST_F(FileSeekBufTest, EndsDuringALoad)
{
    constexpr unsigned int capacity = 8U << 20;
    create({});
    ASSERT_TRUE(QFile::resize(m_file.fileName(), 4LL * capacity));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    for (int i = 0; i < 20; ++i)
        const FileSeekBuf loading(&m_file, 1, 0, UINT_MAX, capacity);
    for (int i = 0; i < 5; ++i) {
        FileSeekBuf loading(&m_file, 1, 0, UINT_MAX, capacity);
        void *datas = nullptr;
        ASSERT_EQ(loading.getDatas(capacity, datas), static_cast<int>(capacity));
    }
    ASSERT_TRUE(m_file.seek(0));
    EXPECT_EQ(m_file.read(2), QByteArray(2, '\0'));
}

namespace
{

/// Claims a size that no test could afford and delivers a little of it; keeps the most that was asked for at once.
class VastFile : public QFile
{
public:
    explicit VastFile(qint64 claimed) : m_claimed(claimed) {}

    qint64 size() const override { return m_claimed; }
    bool seek(qint64) override { return true; }
    qint64 mostAskedFor() const { return m_most; }

protected:
    qint64 readData(char *data, qint64 maximum) override
    {
        if (maximum > m_most)
            m_most = maximum;
        const qint64 given = std::min<qint64>(maximum, 100);
        std::memset(data, 1, static_cast<std::size_t>(given));
        return given;
    }

private:
    qint64 m_claimed;
    std::atomic<qint64> m_most{0};
};

struct VastCase
{
    const char *name;
    unsigned int recordSize;
    qint64 fileSize;
    qint64 bufferBytes; ///< what a buffer may hold at most
};

std::ostream &operator<<(std::ostream &out, const VastCase &vast)
{
    return out << vast.name;
}

class FileSeekBufVast : public ::testing::TestWithParam<VastCase>
{
};

} // namespace

TEST_P(FileSeekBufVast, LoadsNoMoreThanABufferHolds)
{
    const VastCase &vast = GetParam();
    const QTemporaryDir dir;
    VastFile file(vast.fileSize);
    file.setFileName(dir.filePath(QStringLiteral("vast")));
    ASSERT_TRUE(support::writeFile(file.fileName(), "x"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    const std::string thrown = thrownBy([&] {
        FileSeekBuf buffer(&file, vast.recordSize, 0, UINT_MAX, UINT_MAX);
        void *datas = nullptr;
        const int count = buffer.getDatas(0, datas);
        EXPECT_GE(count, 0);
        EXPECT_EQ(count > 0, datas != nullptr);
        buffer.waitForIdle();
        EXPECT_GT(file.mostAskedFor(), 0);
        EXPECT_LE(file.mostAskedFor(), vast.bufferBytes);
    });
    // A small machine has no two buffers of this size.
    EXPECT_TRUE(thrown.empty() || thrown == "FileSeekBuf : alloc memory failed.") << thrown;
}

INSTANTIATE_TEST_SUITE_P(Sizes, FileSeekBufVast,
                         ::testing::Values(VastCase{"TwoRecordsBeyondFourGigabytes", (1U << 31) + 1, (1LL << 32) + 2,
                                                    (1LL << 31) + 1},
                                           VastCase{"MoreRecordsThanASignedCount", 1, 3LL << 30, INT_MAX}),
                         [](const auto &vast) { return std::string(vast.param.name); });

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(FileSeekBufTest, SaysThatMemoryIsShort)
{
    create({});
    ASSERT_TRUE(QFile::resize(m_file.fileName(), 3LL << 30));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    // No buffer fits into the first room, only one of the two into the second.
    for (const rlim_t spare : {64U << 20, 1536U << 20}) {
        const support::AddressSpaceLimit limit(spare);
        ASSERT_TRUE(limit.holds());
        EXPECT_EQ(thrownBy([&] { FileSeekBuf(&m_file, 1U << 20, 0, UINT_MAX, 1024); }),
                  "FileSeekBuf : alloc memory failed.");
    }
}
#endif

#ifdef SUPPORT_CAN_REFUSE_THREADS
TEST_F(FileSeekBufTest, SaysThatNoThreadCanBeStarted)
{
    create(pattern(100));
    ASSERT_TRUE(m_file.open(QIODevice::ReadOnly));
    {
        const support::NoThreads none;
        ASSERT_TRUE(none.holds());
        try {
            const FileSeekBuf buffer(&m_file, m_size, 0, 10, 4);
            FAIL() << "no exception";
        } catch (const std::system_error &error) {
            EXPECT_EQ(error.code(), std::errc::resource_unavailable_try_again);
        }
    }
    m_buffer = std::make_unique<FileSeekBuf>(&m_file, m_size, 0, 10, 4);
    void *datas = nullptr;
    EXPECT_EQ(m_buffer->getDatas(0, datas), 4);
}
#endif
