#include "Stretches.h"

#include "Parallel.h"

#include <algorithm>
#include <atomic>
#include <thread>

void forStretches(std::size_t count, Progress &progress, const std::function<void(std::size_t, std::size_t)> &body)
{
    const std::size_t stretches = (count + stretchLength - 1) / stretchLength;
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<std::size_t> done{0};
    parallelFor(stretches, [&](std::size_t stretch) {
        body(stretch * stretchLength, std::min(count, (stretch + 1) * stretchLength));
        const std::size_t finished = ++done;
        if (std::this_thread::get_id() == caller)
            progress.show(static_cast<double>(finished) / static_cast<double>(stretches));
    });
    progress.show(1);
}
