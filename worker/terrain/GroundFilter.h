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
/// ground of the rest. The cloth is coarser where the cloud is sparse. `earlier` are the classes of the source, or
/// null: what it calls a building is no ground, and large flat roofs near the border are hard to tell from it
/// otherwise.
GroundAndNoise findGround(const Points &points, const unsigned char *earlier, Progress &progress);

/// The wanted distance of lattice nodes, or as much more as makes it a node for each two points.
double latticeStep(const Points &points, double wanted);
