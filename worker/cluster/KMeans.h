#pragma once

#include "Points.h"
#include "Progress.h"

#include <vector>

/// What `kMeans` and `kMeansPlusPlus` take. The comments name the keys of the settings file.
struct KMeansParameters
{
    int mostRounds = 100; ///< `maxIteration`: rounds at most, 1 to 100000
    int clusters = 10;    ///< `clusterNum`: clusters to make, 1 to 10000, and no more than there are points

    /// Throws `Failure` with `ExitCode::Argument`, key and value.
    void check() const;
};

/// For each point its cluster, numbered from 0 in the order of their first points (k-means: Lloyd, "Least Squares
/// Quantization in PCM", 1982). The first centres are points drawn at random, always the same for the same number of
/// points.
///
/// A round gives each point to the nearest centre, of two as near the one with the lower number, and moves each centre
/// to the mean of its points. Rounds end where no point changes its centre. A cluster that is empty after a round gets
/// the point that is farthest from its own centre, unless that leaves another one empty; clusters stay empty only where
/// the points lie in fewer places than there should be clusters.
///
/// Bounds on distances spare most of the work (Hamerly, "Making k-means Even Faster", 2010) and change nothing in what
/// comes out. 40 bytes a point.
std::vector<int> kMeans(const Points &points, const KMeansParameters &parameters, Progress &progress);

/// The same from first centres that are spread out: each further one is a point drawn with a probability that goes with
/// the square of its distance to the nearest centre so far (Arthur, Vassilvitskii, "k-means++: The Advantages of
/// Careful Seeding", 2007). The start takes time as points times clusters.
std::vector<int> kMeansPlusPlus(const Points &points, const KMeansParameters &parameters, Progress &progress);
