#pragma once

#include "Points.h"
#include "Progress.h"

#include <cstddef>
#include <vector>

/// Centres of clusters, by number.
using Centres = std::vector<ptCloud::pcVec3d>;

/// So many points, drawn at random without putting any back, in the order of their indices. There are as many points.
Centres randomStart(const Points &points, std::size_t count);

/// So many points, drawn one after another, those far from all before rather than those near (k-means++). Fewer where
/// the points lie in fewer places.
Centres spreadStart(const Points &points, std::size_t count, Progress &progress);
