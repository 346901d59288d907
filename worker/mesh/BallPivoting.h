#pragma once

#include "Mesh.h"
#include "Progress.h"

/// What ball pivoting takes.
struct BallPivotingParameters
{
    /// Key `radius`: the radius of the first ball that rolls over the points, in position units, at least 0; balls of
    /// twice and four times the size follow, for what it fell through. 0: from the spacing of the points. More than
    /// `mostSpacings` times the spacing is refused: a ball that touches thousands of points at a time would roll for
    /// days.
    double radius = 0;

    static constexpr double mostSpacings = 6;

    /// Throws `Failure(ExitCode::Argument)`.
    void check() const;
};

/// A mesh whose triangles a ball on the points' outside can touch with its surface alone (Bernardini et al., "The
/// Ball-Pivoting Algorithm for Surface Reconstruction", 1999), by Open3D. Vertices are points of the source; of several
/// at one place, the first. `normals`, one a point, tell the outside and become those of the vertices.
///
/// Throws `Failure`: `Argument`, `Cloud`, `Function` where no ball rests on three points, `Memory`.
Mesh ballPivoting(const Points &points, const Points &normals, const BallPivotingParameters &parameters,
                  Progress &progress);
