#pragma once

#include "Points.h"

#include "stPtCloud_PointArray.h"

#include <Eigen/Core>

#include <array>
#include <cstdint>
#include <vector>

/// The part of a Delaunay tetrahedralisation that an alpha shape takes (Edelsbrunner and Mücke, "Three-dimensional
/// alpha shapes", 1994): tetrahedra whose circumscribed ball has at most the radius alpha, and triangles that bound
/// them or have an empty ball of that radius of their own, so that a thin surface is there as well as a solid.
///
/// Points of a rough surface make thin solids as well, whose two sides a user would see as two surfaces: of a solid
/// thinner than `thinness` one side is taken. Four points on one circle are a flat tetrahedron whose two pairs of
/// triangles fill the same place: one pair is taken.
class AlphaComplex
{
public:
    using Tetrahedron = std::array<std::uint32_t, 4>;

    AlphaComplex(std::vector<Eigen::Vector3d> places, std::vector<Tetrahedron> tetrahedra, double alpha,
                 double thinness);

    /// The triangles of the shape, corners as indices of places. Those of a solid face outwards, the others to the side
    /// of the normals of their corners, or up where `normals` is empty.
    std::vector<ptCloud::stTriangle> surface(const Points &normals) const;

private:
    static constexpr std::uint32_t none = ~0U;

    struct Ball
    {
        Eigen::Vector3d middle;
        double radius;
    };

    std::array<std::uint32_t, 3> corners(std::uint32_t tetrahedron, std::size_t face) const;
    /// The smallest ball with the three corners of a face on its surface.
    Ball ballOf(const std::array<std::uint32_t, 3> &face) const;
    /// How far the corner that isn't on the face lies out of the face's ball; below 0: in it.
    double clearance(std::uint32_t tetrahedron, std::size_t face, const Ball &ball) const;
    bool isFlat(std::uint32_t tetrahedron) const;
    double radius(std::uint32_t tetrahedron) const;

    void findNeighbours();
    void decide(double alpha);
    void peel();
    void cover();
    void findThinSolids();
    bool isThin(const std::vector<std::uint32_t> &solid) const;
    /// Whether the triangle between a tetrahedron and its neighbour, none of which is kept, belongs to the shape.
    bool isSingular(std::uint32_t tetrahedron, std::size_t face) const;
    std::size_t backFace(std::uint32_t tetrahedron, std::size_t face) const;
    bool isSide(std::uint32_t tetrahedron, std::size_t face, const Points &normals) const;
    bool isSheet(std::uint32_t tetrahedron, std::size_t face, const Points &normals) const;
    bool isCoveredFrom(std::uint32_t tetrahedron, std::size_t face, const Eigen::Vector3d &up) const;
    Eigen::Vector3d outwards(const std::array<std::uint32_t, 3> &face) const;
    Eigen::Vector3d upAt(const std::array<std::uint32_t, 3> &face, const Points &normals) const;

    std::vector<Eigen::Vector3d> m_places;
    std::vector<Tetrahedron> m_tetrahedra;
    std::vector<std::array<std::uint32_t, 4>> m_neighbours; ///< across from each corner
    double m_alpha;
    double m_thinness;
    std::vector<unsigned char> m_isKept;
    std::vector<unsigned char> m_isFlat;
    std::vector<unsigned char> m_isThin;
    std::vector<unsigned char> m_isCovered; ///< flat, and something that is kept has taken its place
};
