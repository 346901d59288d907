#pragma once

#include "PlainClusters.h"
#include "WorkerTesting.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace support
{

/// Points with the clusters that they are known to belong to.
struct ClusterScene
{
    Points points;
    plain::Labels labels;

    void add(const std::vector<pcVec3d> &places)
    {
        const int label = labels.empty() ? 0 : labels.back() + 1;
        for (const pcVec3d &place : places) {
            points.emplace_back(place);
            labels.push_back(label);
        }
    }
};

/// Two balls above a plane, 0.2 between points, at least one metre from each other.
inline ClusterScene ballsAndPlane()
{
    ClusterScene scene;
    scene.add(ball(1000, 1.5, {-3, 0, 4}));
    scene.add(ball(1000, 1.5, {3, 0, 4}));
    std::vector<pcVec3d> plane;
    for (int x = 0; x < 60; ++x) {
        for (int y = 0; y < 60; ++y)
            plane.emplace_back(0.2 * x - 6, 0.2 * y - 6, 0);
    }
    scene.add(plane);
    return scene;
}

/// The same points in another order, which no algorithm should mind.
inline ClusterScene shuffled(const ClusterScene &scene, unsigned int seed)
{
    std::vector<std::size_t> order(scene.points.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(seed));
    ClusterScene mixed;
    for (const std::size_t i : order) {
        mixed.points.push_back(scene.points[i]);
        mixed.labels.push_back(scene.labels[i]);
    }
    return mixed;
}

inline plain::Places toPlaces(const Points &points)
{
    plain::Places places;
    for (const pcVec3f &p : points)
        places.push_back({p.x(), p.y(), p.z()});
    return places;
}

struct NamedPoints
{
    std::string name;
    Points points;
};

/// So many points within a cube.
inline Points scatter(std::size_t count, double side, unsigned int seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> place(-side / 2, side / 2);
    Points points;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = place(random);
        const double y = place(random);
        points.emplace_back(pcVec3d(x, y, place(random)));
    }
    return points;
}

/// Clouds on which a rule has to decide about what is equal, and random ones.
inline std::vector<NamedPoints> hardClouds()
{
    std::vector<NamedPoints> clouds{
        {"none", {}},
        {"one", {{1, 2, 3}}},
        {"two", {{0, 0, 0}, {0.5F, 0, 0}}},
        {"two at a whole step", {{0, 0, 0}, {1, 0, 0}}},
        {"all equal", Points(100, pcVec3f(5, 5, 5))},
        {"two places", Points(50, pcVec3f(5, 5, 5))},
    };
    clouds.back().points.resize(100, pcVec3f(5, 6, 5));
    Points line;
    Points lattice;
    for (int i = 0; i < 200; ++i)
        line.emplace_back(static_cast<float>(i) * 0.25F, static_cast<float>(i) * 0.5F, 0.0F);
    for (int i = 0; i < 512; ++i)
        lattice.emplace_back(static_cast<float>(i % 8), static_cast<float>(i / 8 % 8), static_cast<float>(i / 64));
    clouds.push_back({"line", line});
    clouds.push_back({"lattice", lattice});
    for (unsigned int seed = 1; seed <= 4; ++seed)
        clouds.push_back({"scattered " + std::to_string(seed), scatter(250 * seed, 10, seed)});
    Points heaps = scatter(300, 20, 9);
    for (const pcVec3f &middle : scatter(12, 20, 10)) {
        for (const pcVec3f &d : scatter(50, 1, 11))
            heaps.push_back(middle + d);
    }
    clouds.push_back({"heaps", heaps});
    return clouds;
}

} // namespace support
