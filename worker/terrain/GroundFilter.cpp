#include "GroundFilter.h"

#include "ClothFilter.h"
#include "LowNoise.h"
#include "TerrainClasses.h"

#include <algorithm>
#include <cmath>

double latticeStep(const Points &points, double wanted)
{
    if (points.empty())
        return wanted;
    const auto extent = [&points](int axis) {
        const auto [least, most] = std::minmax_element(
            points.begin(), points.end(), [axis](const auto &a, const auto &b) { return a[axis] < b[axis]; });
        return static_cast<double>((*most)[axis]) - (*least)[axis];
    };
    const double area = extent(0) * extent(1);
    return std::max(wanted, std::sqrt(2 * area / static_cast<double>(points.size())));
}

GroundAndNoise findGround(const Points &points, const unsigned char *earlier, Progress &progress)
{
    ProgressPart first(progress, 0, 0.1);
    GroundAndNoise found{std::vector<bool>(points.size()), lowNoise(points, first)};
    const auto mayBeGround = [&](std::size_t i) {
        return !found.isNoise[i] && (earlier == nullptr || earlier[i] != TerrainClass_Building);
    };
    Points clean;
    clean.reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (mayBeGround(i))
            clean.push_back(points[i]);
    }
    ClothParameters parameters;
    parameters.clothResolution = std::min(latticeStep(clean, parameters.clothResolution), 1000.0);
    ProgressPart second(progress, 0.1, 1);
    const std::vector<bool> isGround = clothGround(clean, parameters, second);
    auto next = isGround.begin();
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (mayBeGround(i))
            found.isGround[i] = *next++;
    }
    return found;
}
