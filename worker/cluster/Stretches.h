#pragma once

#include "Progress.h"

#include <cstddef>
#include <functional>

/// How long a stretch of `forStretches` is, but for the last.
constexpr std::size_t stretchLength = 2048;

/// Calls `body(first, last)` for stretches that make up 0 to `count`, on all cores, and shows on the way how much of
/// the stage is done. Which thread takes which stretch is left open: bodies must not depend on it. What a body throws
/// is thrown again here.
void forStretches(std::size_t count, Progress &progress, const std::function<void(std::size_t, std::size_t)> &body);
