#pragma once

#include "CellGrid.h"
#include "DisjointSets.h"
#include "Progress.h"

#include <vector>

/// The square of the distance, in double precision: what comes of two floats there is as good as exact.
inline double squaredDistance(const ptCloud::pcVec3f &a, const ptCloud::pcVec3f &b)
{
    const double x = static_cast<double>(a.x()) - static_cast<double>(b.x());
    const double y = static_cast<double>(a.y()) - static_cast<double>(b.y());
    const double z = static_cast<double>(a.z()) - static_cast<double>(b.z());
    return x * x + y * y + z * z;
}

/// The edge of cells so small that any two points of one cell lie within `radius` of each other, and so large that a
/// point within `radius` lies at most `CellWalk::mostReach` cells away.
double edgeOfCloseCells(double radius);

/// Unites cells of that edge that have a marked point each within `radius` of the other. `marks` goes by place. So the
/// marked points of the cells of a set are what is found by going on and on from a marked point to all those within the
/// radius (single linkage).
///
/// Fills all of `progress`. A pair of cells is looked into only while nothing else has joined them, and up to the first
/// pair of points that does.
void uniteCloseCells(const CellGrid &grid, const std::vector<char> &marks, double radius, DisjointSets &sets,
                     Progress &progress);
