#pragma once

#include "Points.h"
#include "Progress.h"

#include <vector>

/// What `dbscan` takes. The comments name the keys of the settings file.
struct DbscanParameters
{
    double epsilon = 1;   ///< `epsilon`: radius of a neighbourhood, position units, above 0
    int leastPoints = 10; ///< `minpts`: points in it that make a dense place, itself among them, at least 1

    /// Throws `Failure` with `ExitCode::Argument`, key and value.
    void check() const;
};

/// For each point its cluster, numbered from 0 in the order of their first points, or -1 for noise (DBSCAN: Ester,
/// Kriegel, Sander, Xu, "A Density-Based Algorithm for Discovering Clusters in Large Spatial Databases with Noise",
/// 1996).
///
/// A point is core if at least `leastPoints` points lie within epsilon of it. Core points within epsilon of each other
/// are of one cluster. Any other point belongs to the cluster of the core point within epsilon that comes first, and is
/// noise where there is none; so the result does not depend on the order of work.
///
/// Cells whose diagonal is epsilon do the work (Gunawan, "A Faster Algorithm for DBSCAN", 2013): where a cell has
/// enough points all are core, and core points of two cells are compared only up to the first pair that joins them. 70
/// bytes a point; time grows with points, and with neighbours only where these are fewer than `leastPoints`.
std::vector<int> dbscan(const Points &points, const DbscanParameters &parameters, Progress &progress);
