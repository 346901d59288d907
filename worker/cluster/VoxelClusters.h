#pragma once

#include "Points.h"
#include "Progress.h"

#include <vector>

/// What `voxelClusters` takes. The comments name the keys of the settings file.
struct VoxelParameters
{
    double edge = 1;    ///< `disTh`: edge of a cell, position units, above 0
    int mostPoints = 0; ///< `maxSize`: points of a cluster at most; larger ones are cut; 0: any number

    /// Throws `Failure` with `ExitCode::Argument`, key and value.
    void check() const;
};

/// For each point its cluster, numbered from 0 in the order of their first points.
///
/// Points are sorted into cubes of the edge, from the least corner of their box on; cubes with points that touch, if
/// only at a corner, are of one cluster. So points nearer to each other than the edge always belong together, points
/// farther apart than two diagonals only by way of others.
///
/// A cluster with too many points is cut: each piece begins at the first point that is left and takes cube after cube,
/// the nearest in steps first, as long as all points of the next one fit. So a piece hangs together. A cube that alone
/// has too many points is divided in the order of its points.
///
/// 60 bytes a point; time grows with points alone.
std::vector<int> voxelClusters(const Points &points, const VoxelParameters &parameters, Progress &progress);
