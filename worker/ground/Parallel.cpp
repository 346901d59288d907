#include "Parallel.h"

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
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
    std::mutex mutex;
    std::exception_ptr failure;
    const auto work = [&](Progress &watcher) {
        try {
            for (std::size_t i = next++; i < count; i = next++) {
                body(i);
                watcher.show(static_cast<double>(i + 1) / static_cast<double>(count));
            }
        } catch (...) {
            next = count;
            const std::lock_guard<std::mutex> lock(mutex);
            if (!failure)
                failure = std::current_exception();
        }
    };
    const std::size_t wanted = std::min(threadCount(), std::max<std::size_t>(count, 1)) - 1;
    std::vector<std::thread> helpers;
    helpers.reserve(wanted);
    try {
        while (helpers.size() < wanted) {
            helpers.emplace_back([&work] {
                NoProgress nobody;
                work(nobody);
            });
        }
    } catch (const std::system_error &) {
        // The system has no more threads to give: those that there are do the work.
    }
    work(progress);
    for (std::thread &helper : helpers)
        helper.join();
    if (failure)
        std::rethrow_exception(failure);
}
