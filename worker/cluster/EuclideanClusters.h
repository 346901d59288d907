#pragma once

#include "Points.h"
#include "Progress.h"

#include <vector>

/// What `euclideanClusters` takes. The comments name the keys of the settings file.
struct EuclideanParameters
{
    double tolerance = 1; ///< `tolerance`: distance up to which two points belong together, position units, above 0
    int leastPoints = 1;  ///< `minCluster`: points of the smallest cluster that is kept, at least 1
    int mostPoints = 100'000'000; ///< `maxCluster`: points of the largest cluster that is kept, at least `minCluster`

    /// Throws `Failure` with `ExitCode::Argument`, key and value.
    void check() const;
};

/// For each point its cluster, numbered from 0 in the order of their first points, or -1 where the cluster is too small
/// or too large.
///
/// A cluster is what hangs together by steps of at most the tolerance (Rusu, "Semantic 3D Object Maps for Everyday
/// Manipulation in Human Living Environments", 2010, 6.2; single linkage). The points are not asked one by one for
/// their neighbours: those of a cell whose diagonal is the tolerance belong together anyway, and cells are joined by
/// the first pair of points that is near enough. 70 bytes a point; time grows with points, hardly with neighbours.
std::vector<int> euclideanClusters(const Points &points, const EuclideanParameters &parameters, Progress &progress);
