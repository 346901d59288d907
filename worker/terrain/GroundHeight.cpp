#include "GroundHeight.h"

#include <algorithm>
#include <cmath>

namespace
{

/// Corners in a cell, on average.
constexpr double cornersPerCell = 2;

/// Places outside the range of exact tests are as good at its end: all ground is within.
int toPlan(double metres)
{
    return static_cast<int>(
        std::clamp<double>(std::round(metres * 1000), -largestPlanCoordinate, largestPlanCoordinate));
}

} // namespace

GroundHeight::GroundHeight(const GroundModel &ground) : m_ground(ground)
{
    const auto byY = [](const PlanPoint &a, const PlanPoint &b) { return a.y < b.y; };
    const auto [lowest, highest] = std::minmax_element(ground.places.begin(), ground.places.end(), byY);
    m_left = ground.places.front().x;
    m_bottom = lowest->y;
    const double width = static_cast<double>(ground.places.back().x) - m_left + 1;
    const double height = static_cast<double>(highest->y) - m_bottom + 1;
    const double cells = std::max(1.0, static_cast<double>(ground.places.size()) / cornersPerCell);
    // No side has more cells than there are to be in all, however long and narrow the ground is.
    m_cellSize = std::max({1.0, std::sqrt(width * height / cells), width / cells, height / cells});
    m_columns = static_cast<std::uint32_t>(width / m_cellSize) + 1;
    m_rows = static_cast<std::uint32_t>(height / m_cellSize) + 1;
    m_triangles.assign(static_cast<std::size_t>(m_columns) * m_rows, Triangulation::none);
    const auto cellOf = [this](const PlanPoint &p) {
        const auto column = static_cast<std::size_t>((static_cast<double>(p.x) - m_left) / m_cellSize);
        const auto row = static_cast<std::size_t>((static_cast<double>(p.y) - m_bottom) / m_cellSize);
        return row * m_columns + column;
    };
    for (std::uint32_t t = 0; t < ground.mesh.triangles.size(); ++t)
        m_triangles[cellOf(ground.places[ground.mesh.triangles[t][0]])] = t;
    std::uint32_t last = 0;
    for (std::uint32_t &triangle : m_triangles) {
        if (triangle == Triangulation::none)
            triangle = last;
        last = triangle;
    }
}

std::uint32_t GroundHeight::beginNear(const PlanPoint &p) const
{
    const auto cell = [this](int coordinate, int first, std::uint32_t count) {
        const double at = (static_cast<double>(coordinate) - first) / m_cellSize;
        return static_cast<std::size_t>(std::clamp(at, 0.0, count - 1.0));
    };
    return m_triangles[cell(p.y, m_bottom, m_rows) * m_columns + cell(p.x, m_left, m_columns)];
}

/// From triangle to triangle through any edge that has the place on its outer side. In a Delaunay triangulation such a
/// walk never comes to a triangle twice (De Floriani et al. 1991).
double GroundHeight::at(double x, double y) const
{
    const PlanPoint p{toPlan(x), toPlan(y)};
    const std::vector<PlanPoint> &places = m_ground.places;
    const Triangulation &mesh = m_ground.mesh;
    std::uint32_t triangle = beginNear(p);
    for (;;) {
        std::uint32_t exit = Triangulation::none;
        for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3 && exit == Triangulation::none; ++h) {
            if (planTurn(places[mesh.origin(h)], places[mesh.origin(Triangulation::next(h))], p) < 0)
                exit = h;
        }
        if (exit == Triangulation::none)
            return onTriangle(triangle, p);
        if (mesh.twins[exit] == Triangulation::none)
            return onBorder(exit, x, y);
        triangle = Triangulation::triangleOf(mesh.twins[exit]);
    }
}

/// By the place on the lattice, for which the triangle was found: in a triangle of a millimetre's width any other might
/// be far off.
double GroundHeight::onTriangle(std::uint32_t triangle, const PlanPoint &p) const
{
    const auto &[a, b, c] = m_ground.mesh.triangles[triangle];
    const std::vector<PlanPoint> &places = m_ground.places;
    const auto partA = static_cast<double>(planTurn(places[b], places[c], p));
    const auto partB = static_cast<double>(planTurn(places[c], places[a], p));
    const auto partC = static_cast<double>(planTurn(places[a], places[b], p));
    return (m_ground.heights[a] * partA + m_ground.heights[b] * partB + m_ground.heights[c] * partC)
           / (partA + partB + partC);
}

double GroundHeight::onBorder(std::uint32_t halfEdge, double x, double y) const
{
    const std::uint32_t a = m_ground.mesh.origin(halfEdge);
    const std::uint32_t b = m_ground.mesh.origin(Triangulation::next(halfEdge));
    const double abX = m_ground.x(b) - m_ground.x(a);
    const double abY = m_ground.y(b) - m_ground.y(a);
    const double along = (abX * (x - m_ground.x(a)) + abY * (y - m_ground.y(a))) / (abX * abX + abY * abY);
    const double part = std::clamp(along, 0.0, 1.0);
    return m_ground.heights[a] * (1 - part) + m_ground.heights[b] * part;
}
