#pragma once

#include "Points.h"
#include "Progress.h"

/// For each point whether it lies below the ground by mistake, as echoes by way of a second surface do.
///
/// In a lattice of one metre (coarser for sparse clouds) a node's lowest point is compared with the lowest ones of the
/// 24 nodes around: the third lowest of them, less two metres, is where noise begins. So up to three neighbouring nodes
/// may hold noise, and trenches and shafts that go on for more stay. Linear.
std::vector<bool> lowNoise(const Points &points, Progress &progress);
