#include "Parallel.h"
#include "Stretches.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <stdexcept>
#include <vector>

namespace
{

constexpr std::size_t many = 10000;

/// Keeps what it is shown.
class Watcher : public Progress
{
public:
    void stage(const QString &, double, double) override {}
    void show(double fraction) override { m_shown.push_back(fraction); }
    const std::vector<double> &shown() const { return m_shown; }

private:
    std::vector<double> m_shown;
};

} // namespace

TEST(ParallelFor, CallsEachNumberOnce)
{
    for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{2}, many}) {
        std::vector<std::atomic<int>> calls(count);
        parallelFor(count, [&](std::size_t i) { ++calls[i]; });
        EXPECT_TRUE(std::all_of(calls.begin(), calls.end(), [](const auto &n) { return n == 1; })) << count;
    }
}

TEST(ParallelFor, ShowsHowFarItIsAndNeverLess)
{
    Watcher watcher;
    parallelFor(
        many, [](std::size_t) {}, watcher);
    EXPECT_TRUE(std::is_sorted(watcher.shown().begin(), watcher.shown().end()));
    EXPECT_TRUE(watcher.shown().empty() || watcher.shown().back() <= 1);
}

TEST(ParallelFor, HandsOnWhatABodyThrows)
{
    for (const std::size_t bad : {std::size_t{0}, std::size_t{1}, many / 2, many - 1}) {
        std::atomic<std::size_t> calls{0};
        const auto body = [&](std::size_t i) {
            ++calls;
            if (i == bad)
                throw std::bad_alloc();
        };
        EXPECT_THROW(parallelFor(many, body), std::bad_alloc) << bad;
        EXPECT_GT(calls, bad);
    }
}

TEST(ParallelFor, HandsOnOneOfManyFailures)
{
    EXPECT_THROW(parallelFor(many, [](std::size_t) { throw std::runtime_error("no"); }), std::runtime_error);
}

TEST(ForStretches, CoversAllOnceAndHandsOnWhatABodyThrows)
{
    std::vector<std::atomic<int>> calls(many);
    NoProgress quiet;
    forStretches(many, quiet, [&](std::size_t first, std::size_t last) {
        for (std::size_t i = first; i < last; ++i)
            ++calls[i];
    });
    EXPECT_TRUE(std::all_of(calls.begin(), calls.end(), [](const auto &n) { return n == 1; }));
    const auto fail = [](std::size_t first, std::size_t) {
        if (first > 0)
            throw std::bad_alloc();
    };
    EXPECT_THROW(forStretches(many, quiet, fail), std::bad_alloc);
}
