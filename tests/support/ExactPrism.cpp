#include "ExactPrism.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace support
{

namespace
{

/// A corner with its height over the level.
struct Vertex
{
    long double x;
    long double y;
    long double height;
};
using Polygon = std::vector<Vertex>;

/// The part of the polygon on the side of the level that `side` (1 or -1) names.
Polygon clip(const Polygon &polygon, long double side)
{
    Polygon kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Vertex &from = polygon[i];
        const Vertex &to = polygon[(i + 1) % polygon.size()];
        if (from.height * side >= 0)
            kept.push_back(from);
        if ((from.height > 0 && to.height < 0) || (from.height < 0 && to.height > 0)) {
            const long double part = from.height / (from.height - to.height);
            kept.push_back({from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part, 0.0L});
        }
    }
    return kept;
}

/// Between a planar polygon and the level: over each triangle of a fan, its area times its mean height.
long double volume(const Polygon &polygon)
{
    long double sum = 0.0L;
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        const Vertex &a = polygon[0];
        const Vertex &b = polygon[i - 1];
        const Vertex &c = polygon[i];
        const long double twice = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        sum += twice * (a.height + b.height + c.height) / 6.0L;
    }
    return std::fabs(sum);
}

} // namespace

ExactVolumes exactVolumes(const CutTriangle &triangle)
{
    Polygon polygon;
    for (const Corner &corner : triangle.corners)
        polygon.push_back({corner.x, corner.y, static_cast<long double>(corner.z) - triangle.ground});
    return {volume(clip(polygon, 1.0L)), volume(clip(polygon, -1.0L))};
}

} // namespace support
