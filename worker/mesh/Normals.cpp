#include "Normals.h"

#include "Failure.h"
#include "MemoryGuard.h"
#include "Parallel.h"
#include "PointTree.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <tuple>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr std::size_t neighbourCount = 16;
/// Edges that each point brings into the graph of neighbours.
constexpr std::size_t edgesOfPoint = 8;
constexpr std::uint64_t bytesOfPoint = 180;
/// Points that a thread takes at a time.
constexpr std::size_t batchSize = 4096;

using Neighbours = std::vector<PointTree::Neighbour>;

pcVec3f directionOfLeastSpread(const Points &points, const Neighbours &neighbours)
{
    Eigen::Vector3d middle = Eigen::Vector3d::Zero();
    const auto place = [&points](const PointTree::Neighbour &n) {
        const pcVec3f &p = points[n.first];
        return Eigen::Vector3d(p.x(), p.y(), p.z());
    };
    for (const PointTree::Neighbour &n : neighbours)
        middle += place(n);
    middle /= static_cast<double>(neighbours.size());
    Eigen::Matrix3d spread = Eigen::Matrix3d::Zero();
    for (const PointTree::Neighbour &n : neighbours) {
        const Eigen::Vector3d d = place(n) - middle;
        spread += d * d.transpose();
    }
    const double size = spread.trace();
    if (!(size > 0))
        return {0, 0, 1};
    // Eigenvalues come in ascending order.
    const Eigen::Vector3d n = Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(spread / size).eigenvectors().col(0);
    return {static_cast<float>(n.x()), static_cast<float>(n.y()), static_cast<float>(n.z())};
}

/// Whether no three points make a triangle.
bool isOnLine(const Points &points)
{
    if (points.size() < 3)
        return true;
    const auto direction = [&points](const pcVec3f &p) { return pcVec3d(p) - pcVec3d(points.front()); };
    const auto farthest = *std::max_element(points.begin(), points.end(), [&](const pcVec3f &a, const pcVec3f &b) {
        return direction(a).length2() < direction(b).length2();
    });
    const pcVec3d along = direction(farthest);
    constexpr double tolerance = 1e-6;
    const double least = along.length2() * tolerance;
    return std::all_of(points.begin(), points.end(),
                       [&](const pcVec3f &p) { return (along ^ direction(p)).length() <= least; });
}

/// Up, or where the normal lies level, towards +y, else +x.
bool pointsDown(const pcVec3f &n)
{
    return std::tuple(n.z(), n.y(), n.x()) < std::tuple(0.0F, 0.0F, 0.0F);
}

struct Edge
{
    float bending; ///< 0 where the two planes are one
    std::uint32_t a;
    std::uint32_t b;
};

bool operator<(const Edge &a, const Edge &b)
{
    return std::tie(a.bending, a.a, a.b) < std::tie(b.bending, b.a, b.b);
}

/// Sets of points with, for each point, whether its normal has to be turned to agree with its set.
class Agreement
{
public:
    explicit Agreement(std::size_t count) : m_parent(count), m_turned(count, 0)
    {
        std::iota(m_parent.begin(), m_parent.end(), 0U);
    }

    struct Place
    {
        std::uint32_t root;
        bool isTurned;
    };

    /// Shortens the way to the root as it goes.
    Place find(std::uint32_t point)
    {
        std::uint32_t root = point;
        bool isTurned = false;
        for (; m_parent[root] != root; root = m_parent[root])
            isTurned = isTurned != (m_turned[root] != 0);
        const Place place{root, isTurned};
        while (m_parent[point] != root && point != root) {
            const std::uint32_t next = m_parent[point];
            const bool wasTurned = m_turned[point] != 0;
            m_parent[point] = root;
            m_turned[point] = isTurned ? 1 : 0;
            isTurned = isTurned != wasTurned;
            point = next;
        }
        return place;
    }

    /// Makes one set of two; `isOpposed`: the two normals point to different sides as they are.
    void join(std::uint32_t a, std::uint32_t b, bool isOpposed)
    {
        const Place first = find(a);
        const Place second = find(b);
        if (first.root == second.root)
            return;
        const auto [low, high] = std::minmax(first.root, second.root);
        m_parent[high] = low;
        m_turned[high] = (first.isTurned != second.isTurned) != isOpposed ? 1 : 0;
    }

private:
    std::vector<std::uint32_t> m_parent;
    std::vector<unsigned char> m_turned; ///< against the parent
};

/// What tells the outer side of normals that agree: ground, roofs and whatever else is open to the sky face up on the
/// whole; a body that is closed does so at its highest point.
class Tally
{
public:
    void add(const pcVec3f &point, const pcVec3f &normal)
    {
        if (m_count == 0 || point.z() > m_top) {
            m_top = point.z();
            m_isTopDown = pointsDown(normal);
        }
        ++m_count;
        m_rise += static_cast<double>(normal.z());
    }
    bool isInsideOut() const
    {
        constexpr double openShare = 0.2;
        return std::fabs(m_rise) > openShare * m_count ? m_rise < 0 : m_isTopDown;
    }

private:
    std::uint32_t m_count = 0;
    float m_top = 0;
    bool m_isTopDown = false;
    double m_rise = 0;
};

std::vector<Edge> neighbourEdges(const PointTree &tree, const Points &normals)
{
    const Points &points = tree.points();
    std::vector<Edge> edges(points.size() * edgesOfPoint);
    parallelFor((points.size() + batchSize - 1) / batchSize, [&](std::size_t batch) {
        Neighbours found;
        const std::size_t end = std::min(points.size(), (batch + 1) * batchSize);
        for (std::size_t i = batch * batchSize; i < end; ++i) {
            tree.nearest(points[i], edgesOfPoint + 1, found);
            const auto self = static_cast<std::uint32_t>(i);
            auto *edge = &edges[i * edgesOfPoint];
            auto *const last = edge + edgesOfPoint;
            for (const PointTree::Neighbour &n : found) {
                if (n.first != self && edge != last)
                    *edge++ = {1 - std::fabs(normals[i] * normals[n.first]), std::min(self, n.first),
                               std::max(self, n.first)};
            }
            std::fill(edge, last, Edge{0, self, self});
        }
    });
    std::sort(edges.begin(), edges.end());
    return edges;
}

void makeConsistent(const PointTree &tree, Points &normals)
{
    const Points &points = tree.points();
    Agreement agreement(points.size());
    for (const Edge &edge : neighbourEdges(tree, normals))
        agreement.join(edge.a, edge.b, normals[edge.a] * normals[edge.b] < 0);

    std::vector<Tally> tallies(points.size());
    for (std::uint32_t i = 0; i < points.size(); ++i) {
        const Agreement::Place place = agreement.find(i);
        if (place.isTurned)
            normals[i] = -normals[i];
        tallies[place.root].add(points[i], normals[i]);
    }
    for (std::uint32_t i = 0; i < points.size(); ++i) {
        if (tallies[agreement.find(i).root].isInsideOut())
            normals[i] = -normals[i];
    }
}

} // namespace

Points estimateNormals(const Points &points, NormalSide side, Progress &progress)
{
    if (isOnLine(points))
        throw Failure(
            ExitCode::Normals,
            QStringLiteral("no normals: all %1 points lie on one line; a mesh needs a surface").arg(points.size()));
    const QString name = QStringLiteral("estimating normals");
    requireMemory(points.size() * bytesOfPoint, name);
    const bool isSlow = side == NormalSide::Consistent;
    progress.stage(name, 0, isSlow ? 0.6 : 1);
    const PointTree tree(points);
    Points normals(points.size());
    constexpr std::size_t batchesOfStep = 16;
    const std::size_t batches = (points.size() + batchSize - 1) / batchSize;
    for (std::size_t first = 0; first < batches; first += batchesOfStep) {
        progress.show(static_cast<double>(first) / static_cast<double>(batches));
        parallelFor(std::min(batchesOfStep, batches - first), [&](std::size_t batch) {
            Neighbours found;
            const std::size_t end = std::min(points.size(), (first + batch + 1) * batchSize);
            for (std::size_t i = (first + batch) * batchSize; i < end; ++i) {
                tree.nearest(points[i], neighbourCount, found);
                normals[i] = directionOfLeastSpread(points, found);
                if (pointsDown(normals[i]))
                    normals[i] = -normals[i];
            }
        });
    }
    if (isSlow) {
        progress.stage(QStringLiteral("making normals agree, which a fastNormal of true leaves out,"), 0.6, 1);
        makeConsistent(tree, normals);
    }
    return normals;
}
