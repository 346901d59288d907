#pragma once

#include <array>

namespace support
{

struct Corner
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// A triangle in space and the level that its solid is measured against.
struct CutTriangle
{
    std::array<Corner, 3> corners;
    double ground = 0.0;
};

struct ExactVolumes
{
    long double dig = 0.0L;
    long double fill = 0.0L;
};

/// The true volumes of what lies between the triangle and the level, above it and below it: the triangle is clipped by
/// the level and each part is summed up as a polygon of its own, in long double.
ExactVolumes exactVolumes(const CutTriangle &triangle);

} // namespace support
