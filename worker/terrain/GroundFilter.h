#pragma once

#include "Points.h"
#include "Progress.h"

/// What a point of a survey is to its terrain.
struct GroundAndNoise
{
    std::vector<bool> isGround;
    std::vector<bool> isNoise; ///< below the ground by mistake; never ground
};

/// The ground of a survey, without a parameter: low noise is taken out, and `clothGround` with its defaults finds the
/// ground of the rest. The cloth is coarser where the cloud is sparse.
GroundAndNoise findGround(const Points &points, Progress &progress);

/// The wanted distance of lattice nodes, or as much more as makes it a node for each two points.
double latticeStep(const Points &points, double wanted);
