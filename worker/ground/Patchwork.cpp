#include "Patchwork.h"

#include "MemoryGuard.h"
#include "Parallel.h"
#include "PatchPlane.h"
#include "PatchZones.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace
{

constexpr double ringWidth = 5;         // metres
constexpr double uprightNormal = 0.707; // upward part: up to 45 degrees
constexpr double smallestStep = 0.3;    // metres between neighbours that are one surface, at least
constexpr double largestStep = 1.0;     // and at most
constexpr double standingStep = 0.6;    // metres that what stands on the ground is higher, on average of its border
constexpr double largestRoof = 10000;   // square metres; larger surfaces are ground
constexpr double stepsOfMedian = 4;     // times the median of all steps
constexpr double spreadsOfMedian = 2;   // times the median spread: still flat

constexpr double largestBend = 1.0; // metres that ground may lie from the plane of its patch

constexpr std::uint64_t bytesOfPoint = 24;

/// The points of each patch, patch by patch in one list.
struct PatchedPoints
{
    std::vector<std::size_t> begin; ///< one more than there are patches
    std::vector<std::uint32_t> points;

    PatchedPoints(const Points &cloud, const PatchZones &zones) : begin(zones.patchCount() + std::size_t{1}, 0)
    {
        std::vector<std::uint32_t> patches(cloud.size());
        std::transform(cloud.begin(), cloud.end(), patches.begin(), [&](const auto &p) { return zones.patchOf(p); });
        for (const std::uint32_t patch : patches)
            ++begin[patch + 1];
        std::partial_sum(begin.begin(), begin.end(), begin.begin());
        std::vector<std::size_t> end(begin.begin(), begin.end() - 1);
        points.resize(cloud.size());
        for (std::size_t i = 0; i < cloud.size(); ++i)
            points[end[patches[i]]++] = static_cast<std::uint32_t>(i);
    }
};

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Tells the patches that are ground from roofs, crowns and walls.
///
/// Patches whose planes meet at their border are one surface. A surface whose border lies above the patches around it,
/// on average, stands on the ground. The largest step at which planes still meet, and how flat is flat, are taken from
/// all patches, as the original takes its thresholds from the patches of a ring.
class PatchJudge
{
public:
    PatchJudge(const PatchZones &zones, const std::vector<PatchPlane> &planes)
        : m_zones(zones), m_planes(planes), m_borders(zones.borders()), m_parents(planes.size()),
          m_isGround(planes.size())
    {
        m_borders.erase(std::remove_if(m_borders.begin(), m_borders.end(),
                                       [this](const auto &border) {
                                           return !m_planes[border.a].exists() || !m_planes[border.b].exists();
                                       }),
                        m_borders.end());
        joinSurfaces();
        judge();
    }

    const std::vector<bool> &isGround() const { return m_isGround; }

private:
    /// How far the first patch lies above the second at their border.
    double step(const PatchZones::Border &border) const
    {
        return m_planes[border.a].heightAt(border.x, border.y) - m_planes[border.b].heightAt(border.x, border.y);
    }

    std::uint32_t surfaceOf(std::uint32_t patch)
    {
        while (m_parents[patch] != patch) {
            m_parents[patch] = m_parents[m_parents[patch]];
            patch = m_parents[patch];
        }
        return patch;
    }

    void joinSurfaces()
    {
        std::iota(m_parents.begin(), m_parents.end(), 0U);
        std::vector<double> steps(m_borders.size());
        std::transform(m_borders.begin(), m_borders.end(), steps.begin(),
                       [this](const auto &border) { return std::abs(step(border)); });
        m_largestStep = std::clamp(stepsOfMedian * median(steps), smallestStep, largestStep);
        for (std::size_t i = 0; i < m_borders.size(); ++i) {
            if (steps[i] >= m_largestStep)
                continue;
            const std::uint32_t a = surfaceOf(m_borders[i].a);
            const std::uint32_t b = surfaceOf(m_borders[i].b);
            m_parents[std::max(a, b)] = std::min(a, b);
        }
    }

    /// For each surface, under its first patch, whether it stands on the ground.
    std::vector<bool> surfacesAbove()
    {
        std::vector<double> sums(m_planes.size());
        std::vector<double> counts(m_planes.size());
        for (const PatchZones::Border &border : m_borders) {
            const std::uint32_t a = surfaceOf(border.a);
            const std::uint32_t b = surfaceOf(border.b);
            if (a == b)
                continue;
            // One deep neighbour counts no more than others.
            const double height = std::clamp(step(border), -largestStep, largestStep);
            sums[a] += height;
            sums[b] -= height;
            ++counts[a];
            ++counts[b];
        }
        std::vector<std::uint32_t> sizes(m_planes.size());
        for (std::uint32_t patch = 0; patch < m_planes.size(); ++patch)
            ++sizes[surfaceOf(patch)];
        const double mostPatches = largestRoof / (m_zones.ringWidth() * m_zones.ringWidth());
        std::vector<bool> isAbove(m_planes.size());
        for (std::size_t i = 0; i < isAbove.size(); ++i)
            isAbove[i] = sums[i] > standingStep * counts[i] && sizes[i] <= mostPatches;
        return isAbove;
    }

    void judge()
    {
        const std::vector<bool> isAbove = surfacesAbove();
        std::vector<double> spreads;
        for (const PatchPlane &plane : m_planes) {
            if (plane.exists())
                spreads.push_back(plane.spread);
        }
        const double flat = spreadsOfMedian * median(spreads);
        for (std::uint32_t patch = 0; patch < m_planes.size(); ++patch) {
            const PatchPlane &plane = m_planes[patch];
            const bool isLevel = plane.normalZ > uprightNormal || plane.spread < flat;
            m_isGround[patch] = plane.exists() && isLevel && !isAbove[surfaceOf(patch)];
        }
    }

    const PatchZones &m_zones;
    const std::vector<PatchPlane> &m_planes;
    std::vector<PatchZones::Border> m_borders;
    std::vector<std::uint32_t> m_parents; ///< by patch: towards the first patch of its surface
    std::vector<bool> m_isGround;
    double m_largestStep = 0;
};

/// Tells the ground points of a patch.
///
/// They lie on the patch's own plane, if it is ground. Where the ground bends inside the patch they lie on the plane of
/// a neighbour that is ground, and not far from their own. A patch with too few points for a plane has its neighbours'
/// alone.
class PointJudge
{
public:
    PointJudge(const PatchZones &zones, const std::vector<PatchPlane> &planes, const std::vector<bool> &isGround)
        : m_planes(planes), m_isGround(isGround), m_neighbours(planes.size())
    {
        for (const PatchZones::Border &border : zones.borders()) {
            addNeighbour(border.a, border.b);
            addNeighbour(border.b, border.a);
        }
    }

    bool isGround(std::uint32_t patch, const ptCloud::pcVec3f &p) const
    {
        const PatchPlane &own = m_planes[patch];
        const bool hasPlane = own.exists();
        if (hasPlane && (!m_isGround[patch] || std::abs(own.distance(p)) > largestBend))
            return false;
        if (hasPlane && liesOn(own, p))
            return true;
        const std::vector<std::uint32_t> &neighbours = m_neighbours[patch];
        return std::any_of(neighbours.begin(), neighbours.end(),
                           [&](std::uint32_t neighbour) { return liesOn(m_planes[neighbour], p); });
    }

private:
    static bool liesOn(const PatchPlane &plane, const ptCloud::pcVec3f &p)
    {
        return std::abs(plane.distance(p)) < planeThickness;
    }
    void addNeighbour(std::uint32_t patch, std::uint32_t neighbour)
    {
        if (m_isGround[neighbour])
            m_neighbours[patch].push_back(neighbour);
    }

    const std::vector<PatchPlane> &m_planes;
    const std::vector<bool> &m_isGround;
    std::vector<std::vector<std::uint32_t>> m_neighbours; ///< by patch: those that are ground
};

} // namespace

std::vector<bool> patchworkGround(const Points &points, Progress &progress)
{
    std::vector<bool> isGround(points.size());
    if (points.empty())
        return isGround;
    requireMemory(points.size() * bytesOfPoint, QStringLiteral("the ground filter"));
    progress.stage(QStringLiteral("laying out patches"), 0, 0.3);
    const PatchZones zones(points, ringWidth);
    PatchedPoints patched(points, zones);
    progress.stage(QStringLiteral("fitting planes to patches"), 0.3, 0.9);
    std::vector<PatchPlane> planes(zones.patchCount());
    parallelFor(
        planes.size(),
        [&](std::size_t patch) {
            planes[patch] = fitPatch(points, patched.points.data() + patched.begin[patch],
                                     patched.points.data() + patched.begin[patch + 1]);
        },
        progress);
    progress.stage(QStringLiteral("telling ground from the rest"), 0.9, 1);
    const PatchJudge judge(zones, planes);
    const PointJudge pointJudge(zones, planes, judge.isGround());
    for (std::uint32_t patch = 0; patch < planes.size(); ++patch) {
        for (std::size_t i = patched.begin[patch]; i < patched.begin[patch + 1]; ++i)
            isGround[patched.points[i]] = pointJudge.isGround(patch, points[patched.points[i]]);
    }
    progress.show(1);
    return isGround;
}
