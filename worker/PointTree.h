#pragma once

#include "Points.h"

#include <nanoflann.hpp>

#include <cstdint>
#include <utility>
#include <vector>

/// Finds the neighbours of places among points. Holds on to the points, which must not change meanwhile. Any number of
/// threads may ask at a time.
class PointTree
{
public:
    /// Index of a point, and the square of its distance.
    using Neighbour = std::pair<std::uint32_t, float>;

    explicit PointTree(const Points &points);

    const Points &points() const { return m_source.points; }
    /// The `count` points nearest to a place, or all where there are fewer, in the order of distance, then of index. A
    /// point is its own nearest neighbour.
    void nearest(const ptCloud::pcVec3f &place, std::size_t count, std::vector<Neighbour> &found) const;
    /// The points nearer to a place than `radius`, in no order that counts, though always the same.
    void within(const ptCloud::pcVec3f &place, float radius, std::vector<Neighbour> &found) const;

private:
    /// What nanoflann asks of a set of points.
    struct Source
    {
        const Points &points;
        std::size_t kdtree_get_point_count() const { return points.size(); }
        float kdtree_get_pt(std::size_t index, std::size_t axis) const { return points[index][static_cast<int>(axis)]; }
        template <typename Box>
        bool kdtree_get_bbox(Box &) const
        {
            return false;
        }
    };
    using Tree =
        nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, Source>, Source, 3, std::uint32_t>;

    Source m_source;
    Tree m_tree;
};

/// For each place where a point lies, the first such point: indices in ascending order.
std::vector<std::uint32_t> distinctPoints(const Points &points);

/// The side of the square that each point has to itself on the surface that the points lie on: the median over at most
/// 10,000 points, of which each has 8 neighbours in a disk. 0 where there are fewer than two points.
double typicalSpacing(const PointTree &tree);
