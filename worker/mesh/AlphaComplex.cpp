#include "AlphaComplex.h"

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

using namespace ptCloud;

namespace
{

/// Points this near to a circle, against its radius, count as on it. Wider than the shifts that keep points off it.
constexpr double circleTolerance = 1e-3;

struct Face
{
    std::array<std::uint32_t, 3> corners; ///< in ascending order
    std::uint32_t tetrahedron;
    std::uint32_t number;
};

} // namespace

AlphaComplex::AlphaComplex(std::vector<Eigen::Vector3d> places, std::vector<Tetrahedron> tetrahedra, double alpha,
                           double thinness)
    : m_places(std::move(places)), m_tetrahedra(std::move(tetrahedra)), m_alpha(alpha), m_thinness(thinness)
{
    // Corners in the order in which each face, seen from outside, runs counterclockwise.
    for (Tetrahedron &t : m_tetrahedra) {
        const Eigen::Vector3d &o = m_places[t[0]];
        if ((m_places[t[1]] - o).cross(m_places[t[2]] - o).dot(m_places[t[3]] - o) < 0)
            std::swap(t[2], t[3]);
    }
    findNeighbours();
    decide(alpha);
    peel();
    cover();
    findThinSolids();
}

/// The face across from a corner, counterclockwise as seen from outside.
std::array<std::uint32_t, 3> AlphaComplex::corners(std::uint32_t tetrahedron, std::size_t face) const
{
    static constexpr std::size_t order[4][3] = {{1, 2, 3}, {0, 3, 2}, {0, 1, 3}, {0, 2, 1}};
    const Tetrahedron &t = m_tetrahedra[tetrahedron];
    return {t[order[face][0]], t[order[face][1]], t[order[face][2]]};
}

AlphaComplex::Ball AlphaComplex::ballOf(const std::array<std::uint32_t, 3> &face) const
{
    const Eigen::Vector3d &o = m_places[face[0]];
    const Eigen::Vector3d a = m_places[face[1]] - o;
    const Eigen::Vector3d b = m_places[face[2]] - o;
    const Eigen::Vector3d n = a.cross(b);
    const Eigen::Vector3d toMiddle =
        (a.squaredNorm() * b.cross(n) + b.squaredNorm() * n.cross(a)) / (2 * n.squaredNorm());
    return {o + toMiddle, toMiddle.norm()};
}

double AlphaComplex::clearance(std::uint32_t tetrahedron, std::size_t face, const Ball &ball) const
{
    return (m_places[m_tetrahedra[tetrahedron][face]] - ball.middle).norm() - ball.radius;
}

/// Whether the four corners lie on one circle.
bool AlphaComplex::isFlat(std::uint32_t tetrahedron) const
{
    for (std::size_t face = 0; face < 4; ++face) {
        const Ball ball = ballOf(corners(tetrahedron, face));
        // What is not a number is no circle either.
        if (!(std::fabs(clearance(tetrahedron, face, ball)) <= circleTolerance * ball.radius))
            return false;
    }
    return true;
}

double AlphaComplex::radius(std::uint32_t tetrahedron) const
{
    if (m_isFlat[tetrahedron] != 0)
        return ballOf(corners(tetrahedron, 0)).radius;
    const Tetrahedron &t = m_tetrahedra[tetrahedron];
    const Eigen::Vector3d &o = m_places[t[0]];
    const Eigen::Vector3d a = m_places[t[1]] - o;
    const Eigen::Vector3d b = m_places[t[2]] - o;
    const Eigen::Vector3d c = m_places[t[3]] - o;
    const double volume = a.cross(b).dot(c);
    const Eigen::Vector3d toMiddle =
        (a.squaredNorm() * b.cross(c) + b.squaredNorm() * c.cross(a) + c.squaredNorm() * a.cross(b)) / (2 * volume);
    return std::isfinite(toMiddle.squaredNorm()) ? toMiddle.norm() : std::numeric_limits<double>::infinity();
}

void AlphaComplex::findNeighbours()
{
    std::vector<Face> faces;
    faces.reserve(m_tetrahedra.size() * 4);
    for (std::uint32_t t = 0; t < m_tetrahedra.size(); ++t) {
        for (std::uint32_t face = 0; face < 4; ++face) {
            std::array<std::uint32_t, 3> sorted = corners(t, face);
            std::sort(sorted.begin(), sorted.end());
            faces.push_back({sorted, t, face});
        }
    }
    std::sort(faces.begin(), faces.end(), [](const Face &a, const Face &b) {
        return std::tie(a.corners, a.tetrahedron) < std::tie(b.corners, b.tetrahedron);
    });
    m_neighbours.assign(m_tetrahedra.size(), {none, none, none, none});
    for (std::size_t i = 1; i < faces.size(); ++i) {
        const Face &a = faces[i - 1];
        const Face &b = faces[i];
        if (a.corners != b.corners)
            continue;
        m_neighbours[a.tetrahedron][a.number] = b.tetrahedron;
        m_neighbours[b.tetrahedron][b.number] = a.tetrahedron;
    }
}

void AlphaComplex::decide(double alpha)
{
    const auto count = static_cast<std::uint32_t>(m_tetrahedra.size());
    m_isFlat.resize(count);
    m_isKept.resize(count);
    for (std::uint32_t t = 0; t < count; ++t) {
        m_isFlat[t] = isFlat(t) ? 1 : 0;
        m_isKept[t] = radius(t) <= alpha ? 1 : 0;
    }
}

/// Takes flat tetrahedra off the shape's surface: they have no inside, and so no outside for their triangles to face.
void AlphaComplex::peel()
{
    const auto isOpen = [this](std::uint32_t t) {
        return std::any_of(m_neighbours[t].begin(), m_neighbours[t].end(),
                           [this](std::uint32_t n) { return n == none || m_isKept[n] == 0; });
    };
    std::vector<std::uint32_t> open;
    const auto take = [&](std::uint32_t t) {
        if (t == none || m_isFlat[t] == 0 || m_isKept[t] == 0 || !isOpen(t))
            return;
        m_isKept[t] = 0;
        open.push_back(t);
    };
    for (std::uint32_t t = 0; t < m_tetrahedra.size(); ++t)
        take(t);
    while (!open.empty()) {
        const std::uint32_t t = open.back();
        open.pop_back();
        for (const std::uint32_t n : m_neighbours[t])
            take(n);
    }
}

/// Marks flat tetrahedra beside something that is kept: its triangles are there already.
void AlphaComplex::cover()
{
    m_isCovered.resize(m_tetrahedra.size());
    std::vector<std::uint32_t> covered;
    const auto take = [&](std::uint32_t t) {
        if (t == none || m_isFlat[t] == 0 || m_isKept[t] != 0 || m_isCovered[t] != 0)
            return;
        m_isCovered[t] = 1;
        covered.push_back(t);
    };
    for (std::uint32_t t = 0; t < m_tetrahedra.size(); ++t) {
        if (m_isKept[t] == 0)
            continue;
        for (const std::uint32_t n : m_neighbours[t])
            take(n);
    }
    while (!covered.empty()) {
        const std::uint32_t t = covered.back();
        covered.pop_back();
        for (const std::uint32_t n : m_neighbours[t])
            take(n);
    }
}

/// By the thickness that a slab of the same volume and surface has.
bool AlphaComplex::isThin(const std::vector<std::uint32_t> &solid) const
{
    double sixVolumes = 0;
    double twoAreas = 0;
    for (const std::uint32_t t : solid) {
        const Eigen::Vector3d &top = m_places[m_tetrahedra[t][0]];
        const auto base = corners(t, 0);
        sixVolumes += std::fabs(outwards(base).dot(m_places[base[0]] - top));
        for (std::size_t face = 0; face < 4; ++face) {
            const std::uint32_t other = m_neighbours[t][face];
            if (other == none || m_isKept[other] == 0)
                twoAreas += outwards(corners(t, face)).norm();
        }
    }
    const double volume = sixVolumes / 6;
    const double area = twoAreas / 2;
    return 2 * volume < m_thinness * area;
}

void AlphaComplex::findThinSolids()
{
    m_isThin.resize(m_tetrahedra.size());
    std::vector<unsigned char> isSeen(m_tetrahedra.size());
    for (std::uint32_t first = 0; first < m_tetrahedra.size(); ++first) {
        std::vector<std::uint32_t> solid;
        const auto take = [&](std::uint32_t t) {
            if (t == none || m_isKept[t] == 0 || isSeen[t] != 0)
                return;
            isSeen[t] = 1;
            solid.push_back(t);
        };
        take(first);
        for (std::size_t i = 0; i < solid.size(); ++i) {
            for (const std::uint32_t n : m_neighbours[solid[i]])
                take(n);
        }
        if (!solid.empty() && isThin(solid)) {
            for (const std::uint32_t t : solid)
                m_isThin[t] = 1;
        }
    }
}

bool AlphaComplex::isSingular(std::uint32_t tetrahedron, std::size_t face) const
{
    const Ball ball = ballOf(corners(tetrahedron, face));
    if (!(ball.radius <= m_alpha))
        return false;
    const auto isClear = [&](std::uint32_t t, std::size_t f) { return m_isFlat[t] != 0 || clearance(t, f, ball) >= 0; };
    if (!isClear(tetrahedron, face))
        return false;
    const std::uint32_t other = m_neighbours[tetrahedron][face];
    if (other == none)
        return true;
    return isClear(other, backFace(tetrahedron, face));
}

/// The same face, as a face of the neighbour across.
std::size_t AlphaComplex::backFace(std::uint32_t tetrahedron, std::size_t face) const
{
    const auto &back = m_neighbours[m_neighbours[tetrahedron][face]];
    return static_cast<std::size_t>(std::find(back.begin(), back.end(), tetrahedron) - back.begin());
}

/// Whether a flat tetrahedron on this side of the face has taken its place, or will by its upper triangles.
bool AlphaComplex::isCoveredFrom(std::uint32_t tetrahedron, std::size_t face, const Eigen::Vector3d &up) const
{
    return m_isFlat[tetrahedron] != 0
           && (m_isCovered[tetrahedron] != 0 || outwards(corners(tetrahedron, face)).dot(up) < 0);
}

Eigen::Vector3d AlphaComplex::upAt(const std::array<std::uint32_t, 3> &face, const Points &normals) const
{
    if (normals.empty())
        return {0, 0, 1};
    const pcVec3f sum = normals[face[0]] + normals[face[1]] + normals[face[2]];
    return {sum.x(), sum.y(), sum.z()};
}

/// At a right angle to the face, twice its area long.
Eigen::Vector3d AlphaComplex::outwards(const std::array<std::uint32_t, 3> &face) const
{
    return (m_places[face[1]] - m_places[face[0]]).cross(m_places[face[2]] - m_places[face[0]]);
}

/// Whether a face of a tetrahedron that is kept is part of the surface.
bool AlphaComplex::isSide(std::uint32_t tetrahedron, std::size_t face, const Points &normals) const
{
    const std::uint32_t other = m_neighbours[tetrahedron][face];
    if (other != none && m_isKept[other] != 0)
        return false;
    const auto corner = corners(tetrahedron, face);
    return m_isThin[tetrahedron] == 0 || outwards(corner).dot(upAt(corner, normals)) >= 0;
}

/// Whether a face between two tetrahedra that are not kept is part of the surface; the one with the smaller number
/// tells.
bool AlphaComplex::isSheet(std::uint32_t tetrahedron, std::size_t face, const Points &normals) const
{
    const std::uint32_t other = m_neighbours[tetrahedron][face];
    if ((other != none && (m_isKept[other] != 0 || other < tetrahedron)) || !isSingular(tetrahedron, face))
        return false;
    const Eigen::Vector3d up = upAt(corners(tetrahedron, face), normals);
    return !isCoveredFrom(tetrahedron, face, up)
           && (other == none || !isCoveredFrom(other, backFace(tetrahedron, face), up));
}

std::vector<stTriangle> AlphaComplex::surface(const Points &normals) const
{
    std::vector<stTriangle> triangles;
    for (std::uint32_t t = 0; t < m_tetrahedra.size(); ++t) {
        for (std::size_t face = 0; face < 4; ++face) {
            auto [a, b, c] = corners(t, face);
            if (m_isKept[t] != 0) {
                if (isSide(t, face, normals))
                    triangles.push_back({a, b, c});
            } else if (isSheet(t, face, normals)) {
                if (outwards({a, b, c}).dot(upAt({a, b, c}, normals)) < 0)
                    std::swap(b, c);
                triangles.push_back({a, b, c});
            }
        }
    }
    return triangles;
}
