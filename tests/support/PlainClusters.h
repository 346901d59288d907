#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace support
{

/// Clusters by their definitions, taken literally: every point is compared with every other. Slow, and the measure of
/// the fast ones. Labels count from 0 in the order of the clusters' first points; -1 is no cluster. Knows nothing of
/// the worker.
namespace plain
{

using Place = std::array<float, 3>;
using Places = std::vector<Place>;
using Labels = std::vector<int>;

/// Numbers anew, from 0, in the order of first points.
Labels renumbered(const Labels &labels);
/// Puts all of them but those of a size from `least` to `most` at -1.
Labels ofSize(const Labels &labels, std::size_t least, std::size_t most);

Labels dbscan(const Places &points, double epsilon, std::size_t leastPoints);
/// What hangs together by steps of at most the tolerance.
Labels euclidean(const Places &points, double tolerance);
/// What hangs together over cubes that touch, from the least corner of the points' box on.
Labels voxels(const Places &points, double edge);

using Centre = std::array<double, 3>;
/// Lloyd's rounds; all distances each time.
Labels kMeans(const Places &points, std::vector<Centre> centres, int mostRounds);

/// How well two ways to divide the same points agree: 1 where they are the same, about 0 where they have nothing to do
/// with each other (Hubert, Arabie, "Comparing Partitions", 1985). Points in no cluster count as one cluster.
double adjustedRandIndex(const Labels &a, const Labels &b);

} // namespace plain

} // namespace support
