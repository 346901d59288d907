#pragma once

#include "Delaunay.h"
#include "Points.h"

/// The ground as a surface: the Delaunay triangulation in plan of ground points, with a height at each corner.
///
/// Corners lie on whole millimetres in plan, sorted by x, then y. Of points that share one, the lowest is taken, and of
/// equals the first.
struct GroundModel
{
    std::vector<PlanPoint> places;      ///< of each corner, in millimetres
    std::vector<float> heights;         ///< of each corner, in metres
    std::vector<std::uint32_t> sources; ///< the point that each corner is
    Triangulation mesh;

    double x(std::uint32_t corner) const { return places[corner].x / 1000.0; }
    double y(std::uint32_t corner) const { return places[corner].y / 1000.0; }
    float lowest() const;
    float highest() const;
};

/// Throws `Failure` with `ExitCode::Hull` where the ground points are fewer than three in plan, lie in one line, or
/// farther than 536 km from the origin.
GroundModel makeGroundModel(const Points &points, const std::vector<bool> &isGround, Progress &progress);
