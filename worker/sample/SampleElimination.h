#pragma once

#include "Points.h"
#include "Progress.h"

#include <cstdint>
#include <vector>

/// Chooses `count` of the points, evenly spread over the surface that they lie on: of all points, again and again the
/// one goes that is crowded most (Yuksel, "Sample Elimination for Generating Poisson Disk Sample Sets", 2015). Gives
/// their indices, ascending; all of them where `count` is not below their number.
///
/// Where many more points are there than are wanted, some seven for each that stays are looked at, drawn evenly from
/// the cells of a grid, and of a crowd in one place no more than 64 unless more of them must stay. O(n log n), at most
/// 100 bytes a point; the same for every number of threads. Throws `Failure(Memory)`.
std::vector<std::uint32_t> eliminateSamples(const Points &points, std::size_t count, Progress &progress);
