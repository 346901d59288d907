#include "RegionGrowing.h"

#include "Labels.h"
#include "MemoryGuard.h"
#include "Parallel.h"
#include "PlaneFit.h"
#include "PointTree.h"
#include "RangeCheck.h"
#include "Stretches.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

using namespace ptCloud;

namespace
{

constexpr std::uint64_t bytesOfPoint = 70;
/// Up to so many neighbours of each point are remembered; more are asked for twice, for the sake of memory.
constexpr std::size_t mostRemembered = 32;

class RegionRun
{
public:
    RegionRun(const Points &points, const RegionParameters &parameters)
        : m_points(points), m_parameters(parameters),
          m_neighbours(std::min(static_cast<std::size_t>(parameters.neighbours), points.size())), m_tree(points),
          m_planes(points.size()), m_labels(points.size(), noise)
    {
        constexpr double degrees = 3.14159265358979323846 / 180;
        if (remembersAll())
            m_found.resize(points.size() * m_neighbours);
        constexpr double rounding = 1e-6; // of normals
        m_leastCosine = std::cos(parameters.angle * degrees) - rounding;
    }

    void fitPlanes(Progress &progress)
    {
        forStretches(m_points.size(), progress, [this](std::size_t first, std::size_t last) {
            std::vector<PointTree::Neighbour> found;
            for (std::size_t i = first; i < last; ++i) {
                m_tree.nearest(m_points[i], m_neighbours, found);
                m_planes[i] = fitPlane(m_points, found);
                if (remembersAll())
                    remember(found, i);
            }
        });
    }

    std::vector<int> grow(Progress &progress)
    {
        std::vector<std::uint32_t> order(m_points.size());
        std::iota(order.begin(), order.end(), 0U);
        std::stable_sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) {
            return m_planes[a].curvature < m_planes[b].curvature;
        });
        int regions = 0;
        for (const std::uint32_t start : order) {
            if (m_labels[start] == noise)
                growFrom(start, regions++, progress);
        }
        keepSizes(m_labels, regions, m_parameters.leastPoints, m_parameters.mostPoints);
        return std::move(m_labels);
    }

private:
    bool remembersAll() const { return m_neighbours <= mostRemembered; }

    void remember(const std::vector<PointTree::Neighbour> &found, std::size_t slot)
    {
        std::transform(found.begin(), found.end(), m_found.begin() + static_cast<std::ptrdiff_t>(slot * m_neighbours),
                       [](const PointTree::Neighbour &neighbour) { return neighbour.first; });
    }

    /// Queries of neighbours cost most, so they run ahead for a part of the queue at a time, on all cores. What comes
    /// of them is taken in the queue's order, as if there had been one query after another.
    void growFrom(std::uint32_t start, int region, Progress &progress)
    {
        constexpr std::size_t mostAhead = 4096;
        m_queue.assign(1, start);
        take(start, region);
        for (std::size_t at = 0; at < m_queue.size();) {
            const std::size_t count = std::min(mostAhead, m_queue.size() - at);
            if (!remembersAll())
                findNeighbours(at, count);
            for (std::size_t i = 0; i < count; ++i)
                goOnFrom(m_queue[at + i], remembersAll() ? m_queue[at + i] : i, region);
            at += count;
            progress.show(static_cast<double>(m_taken) / static_cast<double>(m_points.size()));
        }
    }

    void findNeighbours(std::size_t at, std::size_t count)
    {
        constexpr std::size_t length = 32;
        m_found.resize(std::max(m_found.size(), count * m_neighbours));
        parallelFor((count + length - 1) / length, [&](std::size_t part) {
            std::vector<PointTree::Neighbour> found;
            for (std::size_t i = part * length; i < std::min(count, (part + 1) * length); ++i) {
                m_tree.nearest(m_points[m_queue[at + i]], m_neighbours, found);
                remember(found, i);
            }
        });
    }

    /// `slot`: where the point's neighbours stand in `m_found`.
    void goOnFrom(std::uint32_t point, std::size_t slot, int region)
    {
        for (std::size_t k = slot * m_neighbours; k < (slot + 1) * m_neighbours; ++k) {
            const std::uint32_t neighbour = m_found[k];
            if (m_labels[neighbour] != noise || !isSmooth(point, neighbour))
                continue;
            take(neighbour, region);
            if (static_cast<double>(m_planes[neighbour].curvature) < m_parameters.curvature)
                m_queue.push_back(neighbour);
        }
    }

    void take(std::uint32_t point, int region)
    {
        m_labels[point] = region;
        ++m_taken;
    }

    bool isSmooth(std::uint32_t a, std::uint32_t b) const
    {
        return std::fabs(pcVec3d(m_planes[a].normal) * pcVec3d(m_planes[b].normal)) >= m_leastCosine;
    }

    const Points &m_points;
    const RegionParameters m_parameters;
    const std::size_t m_neighbours; ///< no more than there are points
    const PointTree m_tree;
    std::vector<PlaneFit> m_planes;
    std::vector<int> m_labels;
    std::vector<std::uint32_t> m_queue; ///< points from which the region goes on
    std::vector<std::uint32_t> m_found; ///< neighbours of all points by index, or of a part of the queue
    std::size_t m_taken = 0;
    double m_leastCosine = 0;
};

} // namespace

void RegionParameters::check() const
{
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int leastNeighbours = 3;
    constexpr int mostNeighbours = 1000;
    constexpr double rightAngle = 90;
    checkRange("tolerance", neighbours, leastNeighbours, mostNeighbours);
    checkRange("smooth", angle, 0, rightAngle);
    checkRange("cure", curvature, 0, 1);
    checkRange("minCluster", leastPoints, 1, most);
    checkRange("maxCluster", mostPoints, leastPoints, most);
}

std::vector<int> growRegions(const Points &points, const RegionParameters &parameters, Progress &progress)
{
    parameters.check();
    if (points.empty())
        return {};
    const std::uint64_t remembered = parameters.neighbours <= static_cast<int>(mostRemembered)
                                         ? static_cast<std::uint64_t>(parameters.neighbours)
                                         : 0;
    requireMemory(points.size() * (bytesOfPoint + remembered * sizeof(std::uint32_t)),
                  QStringLiteral("growing regions over %1 points").arg(points.size()));
    progress.stage(QStringLiteral("sorting the points into a tree"), 0, 0.1);
    RegionRun run(points, parameters);
    progress.stage(QStringLiteral("estimating normals"), 0.1, 0.5);
    run.fitPlanes(progress);
    progress.stage(QStringLiteral("growing regions"), 0.5, 1);
    return run.grow(progress);
}
