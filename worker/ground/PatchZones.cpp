#include "PatchZones.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double pi = 3.14159265358979323846;
constexpr double pointsPerPatch = 30;
constexpr std::uint32_t innermostSectors = 6;

} // namespace

PatchZones::PatchZones(const Points &points, double ringWidth) : m_ringWidth(ringWidth), m_firstPatch{0}
{
    if (points.empty())
        return;
    const auto extent = [&points](int axis) {
        const auto [least, most] = std::minmax_element(
            points.begin(), points.end(), [axis](const auto &a, const auto &b) { return a[axis] < b[axis]; });
        return std::pair<double, double>((*least)[axis], (*most)[axis]);
    };
    const auto [left, right] = extent(0);
    const auto [bottom, top] = extent(1);
    m_x = (left + right) / 2;
    m_y = (bottom + top) / 2;
    const double radius = std::hypot(right - left, top - bottom) / 2;
    const double area = pi * radius * radius;
    m_ringWidth = std::max(ringWidth, std::sqrt(pointsPerPatch * area / static_cast<double>(points.size())));
    const auto rings = static_cast<std::uint32_t>(radius / m_ringWidth) + 1;
    for (std::uint32_t ring = 0; ring < rings; ++ring)
        m_firstPatch.push_back(m_firstPatch.back() + sectors(ring));
}

std::uint32_t PatchZones::sectors(std::uint32_t ring)
{
    std::uint32_t count = innermostSectors;
    for (std::uint32_t rest = ring + 1; rest > 1; rest /= 2)
        count *= 2;
    return count;
}

std::uint32_t PatchZones::patchOf(const ptCloud::pcVec3f &p) const
{
    const double x = p.x() - m_x;
    const double y = p.y() - m_y;
    const auto lastRing = static_cast<std::uint32_t>(m_firstPatch.size() - 2);
    const std::uint32_t ring = std::min(static_cast<std::uint32_t>(std::hypot(x, y) / m_ringWidth), lastRing);
    const double turns = (std::atan2(y, x) + pi) / (2 * pi);
    const auto sector = static_cast<std::uint32_t>(turns * sectors(ring));
    return m_firstPatch[ring] + std::min(sector, sectors(ring) - 1);
}

PatchZones::Border PatchZones::border(std::uint32_t a, std::uint32_t b, double radius, double angle) const
{
    return {a, b, m_x + radius * std::cos(angle), m_y + radius * std::sin(angle)};
}

std::vector<PatchZones::Border> PatchZones::borders() const
{
    std::vector<Border> borders;
    for (std::uint32_t ring = 0; ring + 1 < m_firstPatch.size(); ++ring) {
        const std::uint32_t count = sectors(ring);
        const double middle = (ring + 0.5) * m_ringWidth;
        for (std::uint32_t sector = 0; sector < count; ++sector) {
            const std::uint32_t patch = m_firstPatch[ring] + sector;
            const double end = -pi + 2 * pi * (sector + 1) / count;
            borders.push_back(border(patch, m_firstPatch[ring] + (sector + 1) % count, middle, end));
            if (ring + 2 == m_firstPatch.size())
                continue;
            // One patch outside, or two where a zone begins.
            const std::uint32_t outside = sectors(ring + 1) / count;
            for (std::uint32_t i = sector * outside; i < (sector + 1) * outside; ++i) {
                const double angle = -pi + 2 * pi * (i + 0.5) / (count * outside);
                borders.push_back(border(patch, m_firstPatch[ring + 1] + i, (ring + 1) * m_ringWidth, angle));
            }
        }
    }
    return borders;
}
