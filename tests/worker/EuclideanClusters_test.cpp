#include "ClusterScenes.h"
#include "EuclideanClusters.h"
#include "Failure.h"
#include "VoxelClusters.h"

#include <limits>
#include <map>
#include <set>

using namespace ptCloud;
using namespace support;

namespace
{

constexpr int any = std::numeric_limits<int>::max();

NoProgress quiet;

/// Cells of the edge that a cluster's points lie in, from the least corner of all points on.
std::map<int, std::set<std::array<int, 3>>> cellsOf(const Points &points, const std::vector<int> &labels, float edge)
{
    pcVec3f least = points.front();
    for (const pcVec3f &p : points) {
        for (int axis = 0; axis < 3; ++axis)
            least[axis] = std::min(least[axis], p[axis]);
    }
    std::map<int, std::set<std::array<int, 3>>> cells;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const pcVec3f at = (points[i] - least) / edge;
        cells[labels[i]].insert({static_cast<int>(at.x()), static_cast<int>(at.y()), static_cast<int>(at.z())});
    }
    return cells;
}

/// Whether one gets from each cell to any other over cells that touch.
bool hangTogether(std::set<std::array<int, 3>> cells)
{
    std::vector<std::array<int, 3>> front{*cells.begin()};
    cells.erase(cells.begin());
    while (!front.empty()) {
        const std::array<int, 3> at = front.back();
        front.pop_back();
        for (int i = 0; i < 27; ++i) {
            const std::array<int, 3> other{at[0] + i % 3 - 1, at[1] + i / 3 % 3 - 1, at[2] + i / 9 - 1};
            if (cells.erase(other) != 0)
                front.push_back(other);
        }
    }
    return cells.empty();
}

} // namespace

TEST(EuclideanClusters, TwoBallsAndAPlaneAreThreeClusters)
{
    const ClusterScene scene = shuffled(ballsAndPlane(), 2);
    EXPECT_EQ(plain::adjustedRandIndex(euclideanClusters(scene.points, {0.5, 1, any}, quiet), scene.labels), 1);
    EXPECT_EQ(plain::adjustedRandIndex(voxelClusters(scene.points, {0.4, 0}, quiet), scene.labels), 1);
}

TEST(EuclideanClusters, KeepsClustersOfTheSizesThatAreWanted)
{
    const ClusterScene scene = ballsAndPlane();
    std::vector<int> balls = scene.labels;
    std::replace(balls.begin(), balls.end(), 2, -1);
    EXPECT_EQ(euclideanClusters(scene.points, {0.5, 1000, 1000}, quiet), balls);
    EXPECT_EQ(euclideanClusters(scene.points, {0.5, 1, 3599}, quiet), balls);
    EXPECT_EQ(euclideanClusters(scene.points, {0.5, 1001, any}, quiet),
              plain::ofSize(scene.labels, 1001, scene.labels.size()));
    EXPECT_EQ(euclideanClusters(scene.points, {0.5, 4000, any}, quiet), std::vector<int>(scene.labels.size(), -1));
}

TEST(EuclideanClusters, MatchesTheDefinition)
{
    for (const NamedPoints &cloud : hardClouds()) {
        const plain::Places places = toPlaces(cloud.points);
        for (const double tolerance : {0.001, 0.3, 0.559, 1.0, std::sqrt(2.0), 3.0, 1e6}) {
            const plain::Labels all = plain::euclidean(places, tolerance);
            EXPECT_EQ(euclideanClusters(cloud.points, {tolerance, 1, any}, quiet), all)
                << cloud.name << ' ' << tolerance;
            EXPECT_EQ(euclideanClusters(cloud.points, {tolerance, 2, 60}, quiet), plain::ofSize(all, 2, 60))
                << cloud.name << ' ' << tolerance;
        }
    }
}

TEST(EuclideanClusters, MatchesTheDefinitionOverManyCellsOnAllCores)
{
    const Points points = scatter(9000, 40, 6);
    for (const double tolerance : {0.7, 1.1, 1.5}) {
        EXPECT_EQ(euclideanClusters(points, {tolerance, 1, any}, quiet), plain::euclidean(toPlaces(points), tolerance))
            << tolerance;
    }
}

TEST(EuclideanClusters, DenseCellsThatComeNearWithoutTouchingStayApart)
{
    // Two slopes one above the other, 1.1 apart, with many points to a cell.
    Points points;
    plain::Labels labels;
    for (const pcVec3f &p : scatter(4000, 6, 3)) {
        const bool isUpper = points.size() % 2 != 0;
        points.emplace_back(p.x(), p.y(), p.x() + (isUpper ? 1.1F * std::sqrt(2.0F) : 0.0F));
        labels.push_back(isUpper ? 1 : 0);
    }
    EXPECT_EQ(euclideanClusters(points, {1.05, 1, any}, quiet), labels);
}

TEST(EuclideanClusters, RefusesWhatCantBe)
{
    const std::pair<EuclideanParameters, const char *> cases[] = {{{0, 1, any}, "tolerance"},
                                                                  {{-1, 1, any}, "tolerance"},
                                                                  {{std::nan(""), 1, any}, "tolerance"},
                                                                  {{1, 0, any}, "minCluster is 0"},
                                                                  {{1, 10, 9}, "maxCluster is 9: it must be from 10 "}};
    for (const auto &[parameters, words] : cases) {
        try {
            euclideanClusters({}, parameters, quiet);
            ADD_FAILURE() << words;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.code(), ExitCode::Argument);
            EXPECT_TRUE(failure.message().contains(QLatin1String(words))) << failure.what();
        }
    }
}

TEST(VoxelClusters, MatchesTheDefinition)
{
    for (const NamedPoints &cloud : hardClouds()) {
        for (const double edge : {0.01, 0.3, 0.5, 1.0, 3.0, 1e6}) {
            EXPECT_EQ(voxelClusters(cloud.points, {edge, 0}, quiet), plain::voxels(toPlaces(cloud.points), edge))
                << cloud.name << ' ' << edge;
        }
    }
}

TEST(VoxelClusters, MatchesTheDefinitionOverManyCellsOnAllCores)
{
    const Points points = scatter(9000, 40, 6);
    for (const double edge : {0.5, 0.9, 1.3})
        EXPECT_EQ(voxelClusters(points, {edge, 0}, quiet), plain::voxels(toPlaces(points), edge)) << edge;
}

TEST(VoxelClusters, CutsLargeClustersIntoPiecesThatHangTogether)
{
    const ClusterScene scene = shuffled(ballsAndPlane(), 3);
    constexpr double edge = 0.5;
    for (const int most : {1, 7, 100, 999, 1000, 3599, 3600, 100000}) {
        const std::vector<int> labels = voxelClusters(scene.points, {edge, most}, quiet);
        EXPECT_EQ(labels, plain::renumbered(labels));
        std::map<int, int> sizes;
        std::map<int, std::set<int>> wholes;
        for (std::size_t i = 0; i < labels.size(); ++i) {
            ++sizes[labels[i]];
            wholes[labels[i]].insert(scene.labels[i]);
        }
        for (const auto &[label, size] : sizes) {
            EXPECT_LE(size, most);
            EXPECT_EQ(wholes[label].size(), 1U);
        }
        for (const auto &[label, cells] : cellsOf(scene.points, labels, edge))
            EXPECT_TRUE(hangTogether(cells)) << most;
        if (most >= 3600) {
            EXPECT_EQ(plain::adjustedRandIndex(labels, scene.labels), 1);
        }
        if (most == 999) {
            EXPECT_LE(sizes.size(), 20U) << "pieces are about as large as they may be";
        }
    }
}

TEST(VoxelClusters, DividesACellWithTooManyPointsInTheirOrder)
{
    EXPECT_EQ(voxelClusters(Points(7, pcVec3f(1, 1, 1)), {1, 3}, quiet), (std::vector<int>{0, 0, 0, 1, 1, 1, 2}));
}

TEST(VoxelClusters, RefusesWhatCantBe)
{
    EXPECT_THROW(voxelClusters({}, {0, 0}, quiet), Failure);
    EXPECT_THROW(voxelClusters({}, {std::nan(""), 0}, quiet), Failure);
    EXPECT_THROW(voxelClusters({}, {1, -1}, quiet), Failure);
}
