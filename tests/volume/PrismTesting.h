#pragma once

#include "ExactPrism.h"

#include "stPrism.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

/// What the tests of the prisms share.
namespace volume
{

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

struct DigFill
{
    double dig = notANumber;
    double fill = notANumber;
};

/// What the kernel makes of the triangle; its results start as rubbish.
inline DigFill kernelVolumes(const support::CutTriangle &triangle)
{
    const auto &[a, b, c] = triangle.corners;
    DigFill result;
    ptCloud::stPrism::trianglePrismVolume(a.x, a.y, b.x, b.y, c.x, c.y, triangle.ground, a.z, b.z, c.z, result.dig,
                                          result.fill);
    return result;
}

/// The triangle (0, 0), (1, 0), (0, 1), whose area is 0.5.
inline support::CutTriangle halfSquare(double z1, double z2, double z3, double ground)
{
    return {{{{0, 0, z1}, {1, 0, z2}, {0, 1, z3}}}, ground};
}

/// The triangle with its corners in all six orders, its own among them.
inline std::vector<support::CutTriangle> permutations(const support::CutTriangle &triangle)
{
    std::array<std::size_t, 3> order = {0, 1, 2};
    std::vector<support::CutTriangle> all;
    do {
        const auto &c = triangle.corners;
        all.push_back({{{c[order[0]], c[order[1]], c[order[2]]}}, triangle.ground});
    } while (std::next_permutation(order.begin(), order.end()));
    return all;
}

} // namespace volume
