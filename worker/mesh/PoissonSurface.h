#pragma once

#include "Mesh.h"
#include "Progress.h"

/// What the Poisson surface takes.
struct PoissonParameters
{
    static constexpr int leastDepth = 2;
    static constexpr int mostDepth = 14;

    /// Key `depth`: of the octree, from 2 to 14; each step doubles the detail, and may take four times the memory.
    int depth = 8;
    /// Key `width`: of the octree's finest cells, in position units, at least 0; above 0 it tells the depth instead.
    /// Such that the depth comes out above 14 it is refused.
    double width = 0;
    /// Key `desity_divide`: the share of the surface that is taken away again, where points were fewest; 0 to below 1.
    double densityQuantile = 0;

    /// Throws `Failure(ExitCode::Argument)`.
    void check() const;
};

/// The smooth surface whose gradient fits the normals best (Kazhdan and Hoppe, "Screened Poisson Surface
/// Reconstruction", 2013), by Open3D. It is closed before thin parts are taken away, passes near the points and not
/// through them, and has vertices and normals of its own.
///
/// The same input gives the same surface in the same order: the solver runs in one thread, since with several its sums
/// depend on who comes first. Throws `Failure`: `Argument`, `Cloud`, `Function` where nothing is left, `Memory`.
Mesh poissonSurface(const Points &points, const Points &normals, const PoissonParameters &parameters,
                    Progress &progress);
