#pragma once

#include "Mesh.h"
#include "Progress.h"

/// What an alpha shape takes.
struct AlphaParameters
{
    /// Key `alpha`: the radius of the balls that carve the shape, in position units, above 0. About three times the
    /// spacing of the points: below the spacing nothing is left, far above it the convex hull.
    double alpha = 1;

    /// Throws `Failure(ExitCode::Argument)`.
    void check() const;
};

/// The alpha shape of the points (`AlphaComplex` tells what it holds), over Open3D's Delaunay tetrahedra. Vertices are
/// points of the source; of several points at one place, the first. `normals`, one a point or none, tell the sides of
/// thin surfaces and become those of the vertices.
///
/// Points are shifted by about a millionth of their spacing for the tetrahedra, always the same way: on lattices and
/// planes the tetrahedra would be ambiguous. O(n log n) for surveys; 2.5 KB a point. Throws `Failure`: `Hull` where
/// there are too few places, `Function` where alpha leaves nothing, `Memory`.
Mesh alphaShape(const Points &points, const Points &normals, const AlphaParameters &parameters, Progress &progress);
