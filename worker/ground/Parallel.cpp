#include "Parallel.h"

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace
{

std::size_t threadCount()
{
    static const std::size_t count = [] {
        const int wanted = qEnvironmentVariableIntValue("OMP_NUM_THREADS");
        return wanted > 0 ? static_cast<std::size_t>(wanted)
                          : std::max<std::size_t>(1, std::thread::hardware_concurrency());
    }();
    return count;
}

} // namespace

void parallelFor(std::size_t count, const std::function<void(std::size_t)> &body)
{
    NoProgress nobody;
    parallelFor(count, body, nobody);
}

void parallelFor(std::size_t count, const std::function<void(std::size_t)> &body, Progress &progress)
{
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < count; i = next++)
            body(i);
    };
    std::vector<std::thread> helpers(std::min(threadCount(), std::max<std::size_t>(count, 1)) - 1);
    for (std::thread &helper : helpers)
        helper = std::thread(work);
    for (std::size_t i = next++; i < count; i = next++) {
        body(i);
        progress.show(static_cast<double>(i + 1) / static_cast<double>(count));
    }
    for (std::thread &helper : helpers)
        helper.join();
}
