#include "EuclideanClusters.h"

#include "CloseCells.h"
#include "Labels.h"
#include "RangeCheck.h"

#include <limits>

void EuclideanParameters::check() const
{
    constexpr int most = std::numeric_limits<int>::max();
    checkRange("tolerance", tolerance, leastDistance, mostDistance);
    checkRange("minCluster", leastPoints, 1, most);
    checkRange("maxCluster", mostPoints, leastPoints, most);
}

std::vector<int> euclideanClusters(const Points &points, const EuclideanParameters &parameters, Progress &progress)
{
    parameters.check();
    CellGrid::checkEdge(points, "tolerance", parameters.tolerance);
    progress.stage(QStringLiteral("sorting the points into cells"), 0, 0.3);
    const CellGrid grid(points, edgeOfCloseCells(parameters.tolerance));
    DisjointSets sets(grid.cellCount());
    ProgressPart joining(progress, 0.3, 0.9);
    uniteCloseCells(grid, std::vector<char>(points.size(), 1), parameters.tolerance, sets, joining);
    progress.stage(QStringLiteral("numbering the clusters"), 0.9, 1);
    std::vector<int> labels(points.size());
    for (std::uint32_t cell = 0; cell < grid.cellCount(); ++cell) {
        const int label = static_cast<int>(sets.find(cell));
        for (std::uint32_t place = grid.begin(cell); place < grid.end(cell); ++place)
            labels[grid.index(place)] = label;
    }
    keepSizes(labels, static_cast<int>(grid.cellCount()), parameters.leastPoints, parameters.mostPoints);
    return labels;
}
