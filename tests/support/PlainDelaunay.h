#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

namespace support
{

/// Whole coordinates in plan.
using PlainPlaces = std::vector<std::pair<int, int>>;

/// The Delaunay triangles of different places, tried out: three corners, in ascending order, whose circle holds no
/// other place. Of places on one circle, which bound a polygon, the smallest is joined to all others.
std::set<std::array<std::uint32_t, 3>> plainDelaunay(const PlainPlaces &places);

/// How many places lie inside the circle of one of these triangles, summed over all triangles.
std::size_t placesInsideCircles(const PlainPlaces &places, const std::vector<std::array<std::uint32_t, 3>> &triangles);

/// How many of these different places lie on the border of their convex hull, between its corners too.
std::size_t placesOnHull(const PlainPlaces &places);

} // namespace support
