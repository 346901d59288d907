#pragma once

#include "Progress.h"

#include <cstddef>
#include <functional>

/// Calls `body(i)` for each i below `count` on all cores, or on as many threads as `OMP_NUM_THREADS` says, and returns
/// when all are done. Which thread takes which i is left open: bodies must not depend on it. Where one throws, the
/// others are left undone and what it threw is thrown again here.
void parallelFor(std::size_t count, const std::function<void(std::size_t)> &body);
/// The same, and shows how far it is.
void parallelFor(std::size_t count, const std::function<void(std::size_t)> &body, Progress &progress);
