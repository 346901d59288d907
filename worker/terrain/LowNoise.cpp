#include "LowNoise.h"

#include "ClothLattice.h"
#include "GroundFilter.h"

#include <algorithm>
#include <array>
#include <limits>

namespace
{

constexpr int reach = 2;        // nodes to each side that a node is compared with
constexpr std::size_t rank = 3; // of the lowest among those, counted from 1
constexpr float deepest = 2.0F; // metres below that one where noise begins

/// The height of the node's neighbour of that rank; nothing is noise where there are fewer neighbours with points.
float lowNeighbour(const ClothLattice &lattice, const Points &points, int column, int row)
{
    std::array<float, rank> lowest;
    lowest.fill(std::numeric_limits<float>::max());
    std::size_t known = 0;
    for (int r = std::max(0, row - reach); r <= std::min(lattice.rows() - 1, row + reach); ++r) {
        for (int c = std::max(0, column - reach); c <= std::min(lattice.columns() - 1, column + reach); ++c) {
            const std::uint32_t point = lattice.lowestPoint(lattice.node(c, r));
            if (point == ClothLattice::noPoint || (c == column && r == row))
                continue;
            ++known;
            float height = points[point].z();
            for (float &held : lowest) {
                if (height < held)
                    std::swap(held, height);
            }
        }
    }
    return known < rank ? std::numeric_limits<float>::lowest() : lowest.back();
}

} // namespace

std::vector<bool> lowNoise(const Points &points, Progress &progress)
{
    std::vector<bool> isNoise(points.size());
    if (points.empty())
        return isNoise;
    progress.stage(QStringLiteral("looking for points below the ground"), 0, 1);
    const ClothLattice lattice(points, latticeStep(points, 1.0));
    std::vector<float> noiseBelow(lattice.nodeCount());
    for (int row = 0; row < lattice.rows(); ++row) {
        for (int column = 0; column < lattice.columns(); ++column)
            noiseBelow[lattice.node(column, row)] = lowNeighbour(lattice, points, column, row) - deepest;
        progress.show(0.9 * (row + 1) / lattice.rows());
    }
    for (std::size_t i = 0; i < points.size(); ++i)
        isNoise[i] = points[i].z() < noiseBelow[lattice.nearestNode(points[i])];
    return isNoise;
}
