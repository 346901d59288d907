// The worker's clustering beside others, in one run: DBSCAN beside Open3D's own, Euclidean clusters and k-means beside
// a plain loop that asks nanoflann for every point's neighbours within the same radius.
//
//   clusters [POINTS] [ROUNDS]    one million points and three rounds by default

#include "Best.h"
#include "Dbscan.h"
#include "EuclideanClusters.h"
#include "KMeans.h"
#include "PointTree.h"
#include "RegionGrowing.h"
#include "VoxelClusters.h"

#include <open3d/geometry/PointCloud.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace ptCloud;

namespace
{

/// Ground in waves, four points to the square metre, and on it a ball of leaves for every 2000 points.
Points survey(std::size_t count)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> unit(0, 1);
    std::normal_distribution<double> noise(0, 0.03);
    const double width = std::sqrt(static_cast<double>(count) / 4);
    const auto ground = [](double x, double y) { return 5 * std::sin(x / 40) + 3 * std::cos(y / 25); };
    const auto point = [](double x, double y, double z) {
        return pcVec3f(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
    };
    Points points;
    points.reserve(count);
    while (points.size() < count) {
        const double treeX = unit(random) * width;
        const double treeY = unit(random) * width;
        const std::size_t leaves = std::min<std::size_t>(600, count - points.size());
        for (std::size_t i = 0; i < leaves; ++i) {
            const double turn = 6.283185307 * unit(random);
            const double up = 2 * unit(random) - 1;
            const double level = std::sqrt(1 - up * up);
            const double radius = 1.5 + noise(random);
            points.push_back(point(treeX + radius * level * std::cos(turn), treeY + radius * level * std::sin(turn),
                                   ground(treeX, treeY) + 6 + radius * up));
        }
        const std::size_t rest = std::min<std::size_t>(1400, count - points.size());
        for (std::size_t i = 0; i < rest; ++i) {
            const double x = unit(random) * width;
            const double y = unit(random) * width;
            points.push_back(point(x, y, ground(x, y) + noise(random)));
        }
    }
    return points;
}

open3d::geometry::PointCloud cloudOf(const Points &points)
{
    open3d::geometry::PointCloud cloud;
    for (const pcVec3f &p : points)
        cloud.points_.emplace_back(p.x(), p.y(), p.z());
    return cloud;
}

/// Clusters as a program would find them that asks for the neighbours of one point after another.
std::size_t plainRadiusLoop(const Points &points, float radius)
{
    const PointTree tree(points);
    std::vector<char> isSeen(points.size());
    std::vector<std::uint32_t> front;
    std::vector<PointTree::Neighbour> found;
    std::size_t clusters = 0;
    for (std::uint32_t first = 0; first < points.size(); ++first) {
        if (isSeen[first] != 0)
            continue;
        ++clusters;
        isSeen[first] = 1;
        front.assign(1, first);
        while (!front.empty()) {
            const std::uint32_t at = front.back();
            front.pop_back();
            tree.within(points[at], radius, found);
            for (const PointTree::Neighbour &neighbour : found) {
                if (isSeen[neighbour.first] == 0) {
                    isSeen[neighbour.first] = 1;
                    front.push_back(neighbour.first);
                }
            }
        }
    }
    return clusters;
}

int clusterCount(const std::vector<int> &labels)
{
    return labels.empty() ? 0 : 1 + *std::max_element(labels.begin(), labels.end());
}

} // namespace

int main(int argc, char **argv)
{
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    const Points points = survey(count);
    constexpr double radius = 1.0;
    constexpr int leastPoints = 10;
    NoProgress progress;
    const auto measure = [rounds](const char *name, const std::function<int()> &work) {
        int clusters = 0;
        const double seconds = best(rounds, [&] { clusters = work(); });
        std::printf("%-34s %9.3f s %9d clusters\n", name, seconds, clusters);
        std::fflush(stdout);
        return seconds;
    };

    std::printf("%zu points, radius %g\n", points.size(), radius);
    const open3d::geometry::PointCloud cloud = cloudOf(points);
    const double theirs =
        measure("Open3D DBSCAN", [&] { return clusterCount(cloud.ClusterDBSCAN(radius, leastPoints)); });
    const double ours = measure("DBSCAN", [&] {
        return clusterCount(dbscan(points, {radius, leastPoints}, progress));
    });
    std::printf("  DBSCAN is %.1f times as fast as Open3D's\n", theirs / ours);

    const double loop = measure("plain nanoflann radius loop",
                                [&] { return static_cast<int>(plainRadiusLoop(points, static_cast<float>(radius))); });
    const std::pair<const char *, std::function<int()>> others[] = {
        {"Euclidean",
         [&] {
             return clusterCount(euclideanClusters(points, {radius, 1, 1000000000}, progress));
         }},
        {"Euclidean on voxels",
         [&] {
             return clusterCount(voxelClusters(points, {radius, 0}, progress));
         }},
        {"k-means, 10 clusters",
         [&] {
             return clusterCount(kMeans(points, {50, 10}, progress));
         }},
        {"k-means++, 10 clusters",
         [&] {
             return clusterCount(kMeansPlusPlus(points, {50, 10}, progress));
         }},
        {"k-means, 100 clusters",
         [&] {
             return clusterCount(kMeans(points, {50, 100}, progress));
         }},
        {"k-means++, 100 clusters",
         [&] {
             return clusterCount(kMeansPlusPlus(points, {50, 100}, progress));
         }},
        {"region growing, 30 neighbours",
         [&] {
             return clusterCount(growRegions(points, {30, 5, 0.05, 50, 1000000000}, progress));
         }},
    };
    for (const auto &[name, work] : others)
        std::printf("  %.1f times as fast as the loop\n", loop / measure(name, work));
    return 0;
}
