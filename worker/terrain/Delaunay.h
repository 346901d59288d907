#pragma once

#include "Progress.h"

#include <array>
#include <cstdint>
#include <vector>

/// A place in plan on the lattice of millimetres, where orientations and circles can be told exactly.
struct PlanPoint
{
    int x;
    int y;

    bool operator==(const PlanPoint &p) const { return x == p.x && y == p.y; }
    bool operator<(const PlanPoint &p) const { return x != p.x ? x < p.x : y < p.y; }
};

/// No coordinate of a triangulation lies farther from 0 than this: the exact tests fit 128 bits then (537 km).
constexpr int largestPlanCoordinate = 1 << 29;

/// Which way a, b, c turn: above 0 counter-clockwise, 0 in a line. The number is twice the area in square millimetres.
std::int64_t planTurn(const PlanPoint &a, const PlanPoint &b, const PlanPoint &c);
/// Above 0 if d lies inside the circle through a, b, c (counter-clockwise), 0 if on it, below 0 outside. Exact.
int planInCircle(const PlanPoint &a, const PlanPoint &b, const PlanPoint &c, const PlanPoint &d);

/// A triangulation in plan of the convex hull of its points.
///
/// Half-edge 3 t + k runs from corner k of triangle t to the corner behind it. Triangles are counter-clockwise.
struct Triangulation
{
    static constexpr std::uint32_t none = 0xffffffffU;

    std::vector<std::array<std::uint32_t, 3>> triangles; ///< indices of points
    std::vector<std::uint32_t> twins; ///< for each half-edge the one of the neighbour, `none` on the hull

    static std::uint32_t triangleOf(std::uint32_t halfEdge) { return halfEdge / 3; }
    static std::uint32_t next(std::uint32_t halfEdge) { return halfEdge % 3 == 2 ? halfEdge - 2 : halfEdge + 1; }
    std::uint32_t origin(std::uint32_t halfEdge) const { return triangles[halfEdge / 3][halfEdge % 3]; }
};

/// The Delaunay triangulation of points that are sorted and distinct. Of points on one circle, all are joined to the
/// first, so that the result is a function of the set of points.
///
/// The dual of a Voronoi diagram made by a sweep (Fortune 1987), then mended by edge flips with exact tests (Lawson
/// 1977). n log n; up to 110 bytes a point while it runs. Throws `Failure` with `ExitCode::Hull` for fewer than three
/// points or points in a line.
Triangulation delaunay(const std::vector<PlanPoint> &points, Progress &progress);
