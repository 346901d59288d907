#include "LasTesting.h"

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace ptCloud;
using support::get;
using support::LasBytes;
using support::LasWindow;
using support::soundLas;
using support::walk;
using support::windowOf;

namespace
{

using LasConcurrency = support::LasTest;

/// Whether windows at random places show what the file's bytes show there.
bool windowsMatch(const LasFile &las, const LasBytes &bytes, unsigned int seed, int rounds)
{
    std::mt19937 random(seed);
    const auto usable = static_cast<unsigned int>(bytes.usable());
    for (int round = 0; round < rounds; ++round) {
        const unsigned int start = static_cast<unsigned int>(random()) % (usable + usable / 20);
        const LasWindow window = windowOf(las, bytes.format(), start, 1 + static_cast<unsigned int>(random()) % 500U);
        if ((window.count > 0) != (start < usable) || window.bytes != bytes.records(start, window.count))
            return false;
    }
    return true;
}

/// Whether the x of some records show what the file's bytes show.
bool positionsMatch(const LasFile &las, const LasBytes &bytes, unsigned int start, unsigned int count)
{
    std::vector<float> xyz(std::size_t{3} * count);
    las.readPointData(start, count, xyz.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    for (unsigned int i = 0; i < count; ++i)
        if (xyz[std::size_t{3} * i] != static_cast<float>(get<qint32>(bytes.records(start + i, 1), 0)) / 1000.0F)
            return false;
    return true;
}

} // namespace

TEST_F(LasConcurrency, WindowsAtRandomPlacesShowTheFile)
{
    const LasBytes bytes(soundLas(3, 3000).bytes());
    for (const unsigned int bufSize : {1U, 100U, 999U, 5000U}) {
        constexpr unsigned int seed = 25;
        SCOPED_TRACE("buffer of " + std::to_string(bufSize) + ", seed " + std::to_string(seed));
        ASSERT_TRUE(loads(bytes.bytes, bufSize));
        EXPECT_TRUE(windowsMatch(m_las, bytes, seed, 200));
    }
}

TEST_F(LasConcurrency, AWindowKeepsItsRecordsWhileTheNextIsRead)
{
    constexpr unsigned int step = 20000;
    const LasBytes bytes(soundLas(5, 3 * step).bytes());
    ASSERT_TRUE(loads(bytes.bytes, step));
    for (unsigned int start = 0; start < 3 * step; start += step) {
        const LasWindow window = windowOf(m_las, 5, start, step);
        ASSERT_EQ(window.count, step);
        const QByteArray expected = bytes.records(start, step);
        for (int look = 0; look < 10; ++look)
            ASSERT_EQ(QByteArray(static_cast<const char *>(window.records), expected.size()), expected);
    }
}

TEST_F(LasConcurrency, BothWaysOfReadingTakeTurns)
{
    const LasBytes bytes(soundLas(1, 5000).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 600));
    for (unsigned int start = 0; start < 5000; start += 250) {
        // Each window sets the read-ahead going; the other way waits for it.
        const LasWindow window = windowOf(m_las, 1, start, 250);
        ASSERT_EQ(window.bytes, bytes.records(start, window.count));
        ASSERT_TRUE(positionsMatch(m_las, bytes, 4900 - start / 2, 40)) << start;
    }
}

TEST_F(LasConcurrency, EachThreadReadsAFileObjectOfItsOwn)
{
    const LasBytes bytes(soundLas(2, 4000).bytes());
    ASSERT_TRUE(support::writeFile(path(), bytes.bytes));
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < 6; ++i)
        threads.emplace_back([&, i] {
            LasFile las;
            if (las.load(path(), 50 + 300 * i) && windowsMatch(las, bytes, i, 100)
                && walk(las, 2) == bytes.records(0, 4000) && positionsMatch(las, bytes, i, 1000))
                ++good;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(good, 6);
}

TEST_F(LasConcurrency, AnObjectMovesFromThreadToThread)
{
    const LasBytes bytes(soundLas(4, 2000).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 150));
    for (unsigned int i = 0; i < 4; ++i) {
        bool matches = false;
        std::thread([&] {
            matches = windowsMatch(m_las, bytes, i, 50) && positionsMatch(m_las, bytes, i, 100);
        }).join();
        EXPECT_TRUE(matches) << i;
    }
}

TEST_F(LasConcurrency, EndsWhileTheFirstWindowIsRead)
{
    const LasBytes bytes(soundLas(5, 60000).bytes());
    ASSERT_TRUE(support::writeFile(path(), bytes.bytes));
    for (int i = 0; i < 30; ++i) {
        const auto las = std::make_unique<LasFile>();
        ASSERT_TRUE(las->load(path(), 60000));
    }
    LasFile las;
    ASSERT_TRUE(las.load(path(), 60000));
    EXPECT_EQ(walk(las, 5), bytes.records(0, 60000));
}

TEST_F(LasConcurrency, EndsWhileTheNextWindowIsRead)
{
    const LasBytes bytes(soundLas(5, 60000).bytes());
    ASSERT_TRUE(support::writeFile(path(), bytes.bytes));
    for (int i = 0; i < 20; ++i) {
        LasFile las;
        ASSERT_TRUE(las.load(path(), 30000));
        ASSERT_EQ(windowOf(las, 5, 0, 1).count, 1U);
    }
}

TEST_F(LasConcurrency, LoadsAnotherFileWhileAWindowIsRead)
{
    const LasBytes first(soundLas(5, 60000).bytes());
    const LasBytes second(soundLas(0, 500).bytes());
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(loads(first.bytes, 30000));
        ASSERT_EQ(windowOf(m_las, 5, 29999, 10).count, 1U);
        ASSERT_TRUE(loads(second.bytes, 100));
        ASSERT_EQ(walk(m_las, 0), second.records(0, 500));
    }
}
