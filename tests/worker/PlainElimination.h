#pragma once

#include "Points.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace support
{

/// Sample elimination by its definition: of all points, again and again the one goes whose neighbours weigh most, each
/// weight taken afresh. `radius` is that of the densest packing of `count` disks.
inline std::vector<std::uint32_t> plainElimination(const Points &points, std::size_t count, double radius)
{
    const double share = static_cast<double>(count) / static_cast<double>(points.size());
    const double least = 2 * radius * (1 - std::pow(share, 1.5)) * 0.65;
    std::vector<std::uint32_t> left(points.size());
    for (std::uint32_t i = 0; i < left.size(); ++i)
        left[i] = i;
    const auto weightOf = [&](std::uint32_t i) {
        double weight = 0;
        for (const std::uint32_t k : left) {
            const double distance = std::max(static_cast<double>((points[i] - points[k]).length()), least);
            if (k != i && distance < 2 * radius)
                weight += std::pow(1 - distance / (2 * radius), 8);
        }
        return weight;
    };
    while (left.size() > count) {
        auto worst = left.begin();
        double most = -1;
        for (auto it = left.begin(); it != left.end(); ++it) {
            const double weight = weightOf(*it);
            if (weight >= most) {
                most = weight;
                worst = it;
            }
        }
        left.erase(worst);
    }
    return left;
}

} // namespace support
