#pragma once

#include "PointTree.h"

#include <vector>

/// The plane that points near a point lie on.
struct PlaneFit
{
    ptCloud::pcVec3f normal; ///< of length 1, either side; zero where the points lie on a line or in one place
    float curvature = 1;     ///< the part of their spread that is along the normal, 0 to 1/3; 1 without a normal
};

/// By the covariance matrix of the points, which are some of `points`.
PlaneFit fitPlane(const Points &points, const std::vector<PointTree::Neighbour> &neighbours);
