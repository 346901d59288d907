#pragma once

#include "Points.h"
#include "Progress.h"

#include <vector>

/// What `growRegions` takes. The comments name the keys of the settings file.
struct RegionParameters
{
    int neighbours = 30; ///< `tolerance`: nearest points that tell a plane, and to which a region goes on, 3 to 1000
    double angle = 5;    ///< `smooth`: degrees between the normals of points that follow each other, 0 to 90
    double curvature = 0.05;      ///< `cure`: curvature below which a region goes on from a point, 0 to 1
    int leastPoints = 50;         ///< `minCluster`: points of the smallest region that is kept, at least 1
    int mostPoints = 100'000'000; ///< `maxCluster`: points of the largest region that is kept, at least `minCluster`

    /// Throws `Failure` with `ExitCode::Argument`, key and value.
    void check() const;
};

/// For each point its region, numbered from 0 in the order of their first points, or -1 where the region is too small
/// or too large (Rabbani, van den Heuvel, Vosselman, "Segmentation of Point Clouds Using Smoothness Constraint", 2006).
///
/// The nearest points, the point among them, tell a normal and a curvature: the smallest eigenvalue of their covariance
/// matrix over the sum of all three, from 0 on a plane to 1/3 where no direction differs. A region begins at the point
/// of least curvature that is left, the first of several. It goes on to the neighbours that are left and whose normals
/// differ by at most the angle, and from there on again if the curvature there is below the threshold. Normals have no
/// sides. A point whose neighbours lie on a line has no normal; no region takes it.
///
/// O(n log n) for a given number of neighbours; 70 bytes a point, and 4 for each neighbour up to 32.
/// Throws `Failure` with `ExitCode::Memory`.
std::vector<int> growRegions(const Points &points, const RegionParameters &parameters, Progress &progress);
