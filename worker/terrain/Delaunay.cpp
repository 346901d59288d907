#include "Delaunay.h"

#include "Failure.h"

#include <boost/multiprecision/cpp_int.hpp>
#include <boost/polygon/voronoi_builder.hpp>

#include <algorithm>
#include <utility>

namespace
{

using Wide = boost::multiprecision::int128_t;
using Corners = std::array<std::uint32_t, 3>;

constexpr double sweepEnd = 0.8; // of the work
constexpr std::size_t trianglesPerShow = 1 << 14;

/// What the sweep reports, kept as triangles alone: each vertex of a Voronoi diagram is where three cells meet.
///
/// The sweep hands back, for a boundary between two cells, what was given to it when the boundary was made. Here that
/// is the site on its left, so that the site between two boundaries that meet is the left one of the second.
class DualTriangles
{
public:
    DualTriangles(const std::vector<PlanPoint> &points, std::vector<Corners> &triangles, Progress &progress)
        : m_points(points), m_triangles(triangles), m_progress(progress), m_sites(points.size())
    {
        for (std::size_t i = 0; i < m_sites.size(); ++i)
            m_sites[i] = static_cast<std::uint32_t>(i);
    }

    // The names below are those that the sweep calls.

    void _reserve(std::size_t siteCount) { m_triangles.reserve(2 * siteCount); }

    template <typename Site>
    void _process_single_site(const Site &)
    {}

    template <typename Site>
    std::pair<void *, void *> _insert_new_edge(const Site &left, const Site &right)
    {
        return {handle(left), handle(right)};
    }

    template <typename Site, typename Circle>
    std::pair<void *, void *> _insert_new_edge(const Site &left, const Site &right, const Circle &, void *,
                                               void *secondEdge)
    {
        const auto a = static_cast<std::uint32_t>(left.initial_index());
        const auto b = *static_cast<std::uint32_t *>(secondEdge);
        const auto c = static_cast<std::uint32_t>(right.initial_index());
        const bool isClockwise = planTurn(m_points[a], m_points[b], m_points[c]) < 0;
        m_triangles.push_back(isClockwise ? Corners{a, c, b} : Corners{a, b, c});
        if (m_triangles.size() % trianglesPerShow == 0)
            m_progress.show(sweepEnd * static_cast<double>(m_triangles.size())
                            / (2.0 * static_cast<double>(m_points.size())));
        return {handle(left), handle(right)};
    }

    void _build() {}

private:
    template <typename Site>
    void *handle(const Site &site)
    {
        return &m_sites[site.initial_index()];
    }

    const std::vector<PlanPoint> &m_points;
    std::vector<Corners> &m_triangles;
    Progress &m_progress;
    std::vector<std::uint32_t> m_sites; ///< each its own index
};

void sweep(const std::vector<PlanPoint> &points, std::vector<Corners> &triangles, Progress &progress)
{
    boost::polygon::default_voronoi_builder builder;
    for (const PlanPoint &p : points)
        builder.insert_point(p.x, p.y);
    DualTriangles dual(points, triangles, progress);
    builder.construct(&dual);
}

/// Finds for each half-edge the one that runs the other way, by the list of half-edges that leave each point.
void joinTriangles(Triangulation &mesh, std::size_t pointCount)
{
    const auto count = static_cast<std::uint32_t>(3 * mesh.triangles.size());
    mesh.twins.assign(count, Triangulation::none);
    std::vector<std::uint32_t> first(pointCount + 1, 0);
    for (std::uint32_t h = 0; h < count; ++h)
        ++first[mesh.origin(h) + 1];
    for (std::size_t i = 0; i < pointCount; ++i)
        first[i + 1] += first[i];
    std::vector<std::uint32_t> leaving(count);
    std::vector<std::uint32_t> end(first.begin(), first.end() - 1);
    for (std::uint32_t h = 0; h < count; ++h)
        leaving[end[mesh.origin(h)]++] = h;
    for (std::uint32_t h = 0; h < count; ++h) {
        const std::uint32_t from = mesh.origin(h);
        const std::uint32_t to = mesh.origin(Triangulation::next(h));
        for (std::uint32_t i = first[to]; i < first[to + 1]; ++i) {
            if (mesh.origin(Triangulation::next(leaving[i])) == from)
                mesh.twins[h] = leaving[i];
        }
    }
}

/// Flips edges until each is the one that the exact tests want (Lawson 1977). The sweep decides by floating-point
/// circles, so it may differ where four points come near one circle.
class EdgeFlips
{
public:
    EdgeFlips(const std::vector<PlanPoint> &points, Triangulation &mesh) : m_points(points), m_mesh(mesh) {}

    void run(Progress &progress)
    {
        for (std::uint32_t h = 0; h < m_mesh.twins.size(); ++h) {
            if (h % trianglesPerShow == 0)
                progress.show(sweepEnd + (1 - sweepEnd) * h / static_cast<double>(m_mesh.twins.size()));
            m_suspects.push_back(h);
            while (!m_suspects.empty()) {
                const std::uint32_t suspect = m_suspects.back();
                m_suspects.pop_back();
                if (mustFlip(suspect))
                    flip(suspect);
            }
        }
    }

private:
    std::uint32_t apex(std::uint32_t h) const { return m_mesh.origin(Triangulation::next(Triangulation::next(h))); }

    bool mustFlip(std::uint32_t h) const
    {
        const std::uint32_t twin = m_mesh.twins[h];
        if (twin == Triangulation::none)
            return false;
        const std::uint32_t a = m_mesh.origin(h);
        const std::uint32_t b = m_mesh.origin(twin);
        const std::uint32_t c = apex(h);
        const std::uint32_t d = apex(twin);
        const int side = planInCircle(m_points[a], m_points[b], m_points[c], m_points[d]);
        return side > 0 || (side == 0 && std::min(c, d) < std::min(a, b));
    }

    void set(std::uint32_t h, std::uint32_t origin, std::uint32_t twin)
    {
        m_mesh.triangles[h / 3][h % 3] = origin;
        m_mesh.twins[h] = twin;
        if (twin != Triangulation::none)
            m_mesh.twins[twin] = h;
    }

    /// Turns the edge a-b between the triangles a, b, c and b, a, d into c-d.
    void flip(std::uint32_t h)
    {
        const std::uint32_t ab = h;
        const std::uint32_t bc = Triangulation::next(ab);
        const std::uint32_t ca = Triangulation::next(bc);
        const std::uint32_t ba = m_mesh.twins[h];
        const std::uint32_t ad = Triangulation::next(ba);
        const std::uint32_t db = Triangulation::next(ad);
        const std::uint32_t b = m_mesh.origin(bc);
        const std::uint32_t c = m_mesh.origin(ca);
        const std::uint32_t a = m_mesh.origin(ad);
        const std::uint32_t d = m_mesh.origin(db);
        const std::uint32_t outerBc = m_mesh.twins[bc];
        const std::uint32_t outerAd = m_mesh.twins[ad];
        // a, d, c takes the place of a, b, c, and b, c, d that of b, a, d.
        set(ab, a, outerAd);
        set(bc, d, Triangulation::none);
        m_mesh.triangles[ca / 3][ca % 3] = c;
        set(ba, b, outerBc);
        set(ad, c, bc);
        m_mesh.triangles[db / 3][db % 3] = d;
        m_suspects.insert(m_suspects.end(), {ab, ca, ba, db});
    }

    const std::vector<PlanPoint> &m_points;
    Triangulation &m_mesh;
    std::vector<std::uint32_t> m_suspects;
};

/// Twice the area under the lower hull (side 1) or the upper hull (side -1) of sorted points, down to the x axis.
Wide twiceAreaUnderHull(const std::vector<PlanPoint> &points, int side)
{
    std::vector<PlanPoint> hull;
    for (const PlanPoint &p : points) {
        while (hull.size() >= 2 && side * planTurn(hull[hull.size() - 2], hull.back(), p) <= 0)
            hull.pop_back();
        hull.push_back(p);
    }
    Wide area = 0;
    for (std::size_t i = 1; i < hull.size(); ++i)
        area += (Wide(hull[i].x) - hull[i - 1].x) * (Wide(hull[i].y) + hull[i - 1].y);
    return area;
}

/// Whether the triangles, each counter-clockwise, cover exactly the convex hull.
bool coversHull(const std::vector<PlanPoint> &points, const Triangulation &mesh)
{
    Wide area = 0;
    for (const Corners &t : mesh.triangles) {
        const std::int64_t turn = planTurn(points[t[0]], points[t[1]], points[t[2]]);
        if (turn <= 0)
            return false;
        area += turn;
    }
    return area == twiceAreaUnderHull(points, -1) - twiceAreaUnderHull(points, 1);
}

} // namespace

std::int64_t planTurn(const PlanPoint &a, const PlanPoint &b, const PlanPoint &c)
{
    const auto span = [](int from, int to) { return static_cast<std::int64_t>(to) - from; };
    return span(a.x, b.x) * span(a.y, c.y) - span(a.y, b.y) * span(a.x, c.x);
}

int planInCircle(const PlanPoint &a, const PlanPoint &b, const PlanPoint &c, const PlanPoint &d)
{
    const auto lift = [&d](const PlanPoint &p) {
        const std::int64_t dx = static_cast<std::int64_t>(p.x) - d.x;
        const std::int64_t dy = static_cast<std::int64_t>(p.y) - d.y;
        return dx * dx + dy * dy;
    };
    const Wide determinant =
        Wide(planTurn(d, b, c)) * lift(a) + Wide(planTurn(d, c, a)) * lift(b) + Wide(planTurn(d, a, b)) * lift(c);
    return determinant.sign();
}

Triangulation delaunay(const std::vector<PlanPoint> &points, Progress &progress)
{
    if (points.size() < 3) {
        throw Failure(ExitCode::Hull,
                      QStringLiteral("%1 different ground points in plan can't be triangulated; it takes three")
                          .arg(points.size()));
    }
    Triangulation mesh;
    sweep(points, mesh.triangles, progress);
    if (mesh.triangles.empty())
        throw Failure(ExitCode::Hull,
                      QStringLiteral("the ground points lie in one line in plan; a surface needs width"));
    joinTriangles(mesh, points.size());
    EdgeFlips(points, mesh).run(progress);
    if (!coversHull(points, mesh))
        throw Failure(ExitCode::Hull, QStringLiteral("the triangulation of the ground failed; try fewer points"));
    return mesh;
}
