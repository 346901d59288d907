#pragma once

#include "Points.h"
#include "Progress.h"

/// How the two sides of a normal are told apart.
enum class NormalSide {
    Upward,    ///< each normal points up by itself: fast, and right for terrain
    Consistent ///< neighbours agree, and what hangs together faces up on the whole, or where it is closed at its top
};

/// One normal of length 1 for each point: the direction in which its 16 nearest neighbours spread least.
///
/// Neighbours agree by the tree of least bending over their graph (Hoppe et al., "Surface Reconstruction from
/// Unorganized Points", 1992). O(n log n); 180 bytes a point. Throws `Failure`: `Normals` where all points lie on a
/// line, `Memory`.
Points estimateNormals(const Points &points, NormalSide side, Progress &progress);
