#pragma once

#include "Points.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

/// Clouds whose ground is known.
struct GroundScene
{
    Points points;
    std::vector<bool> isGround;

    void add(double x, double y, double z, bool ground)
    {
        points.emplace_back(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
        isGround.push_back(ground);
    }
};

/// How often a filter was wrong: of true ground called the rest (type I), and of the rest called ground (type II).
struct GroundErrors
{
    double typeOne;
    double typeTwo;
};

inline GroundErrors groundErrors(const GroundScene &scene, const std::vector<bool> &found)
{
    double ground = 0;
    double missed = 0;
    double invented = 0;
    for (std::size_t i = 0; i < found.size(); ++i) {
        ground += scene.isGround[i] ? 1 : 0;
        missed += scene.isGround[i] && !found[i] ? 1 : 0;
        invented += !scene.isGround[i] && found[i] ? 1 : 0;
    }
    return {missed / ground, invented / std::max(1.0, static_cast<double>(found.size()) - ground)};
}

/// Scatters points over a square with (0, 0) in the middle, four a square metre: `surface(x, y, scene)` adds each.
inline GroundScene scatterScene(double extent, const std::function<void(double, double, GroundScene &)> &surface)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(-extent / 2, extent / 2);
    GroundScene scene;
    const auto count = static_cast<int>(4 * extent * extent);
    for (int i = 0; i < count; ++i) {
        const double x = place(random);
        const double y = place(random);
        surface(x, y, scene);
    }
    return scene;
}

/// A tilted plane with six houses of 8 to 18 metres and forty trees, below which two points of five are ground.
inline GroundScene tiltedScene(double degrees, double extent = 120)
{
    struct House
    {
        double x, y, halfWidth, halfLength, height;
    };
    struct Tree
    {
        double x, y, radius, height;
    };
    const House houses[] = {{-40, -35, 5, 8, 5}, {-10, -40, 4, 4, 4}, {35, -30, 9, 6, 9},
                            {-35, 25, 6, 9, 7},  {15, 20, 7, 7, 6},   {42, 40, 5, 9, 8}};
    std::mt19937 random(11);
    std::uniform_real_distribution<double> unit(0, 1);
    std::normal_distribution<double> noise(0, 0.03);
    std::vector<Tree> trees;
    for (int i = 0; i < 40; ++i) {
        const double x = (unit(random) - 0.5) * extent;
        const double y = (unit(random) - 0.5) * extent;
        trees.push_back({x, y, 1.5 + 2.5 * unit(random), 4 + 10 * unit(random)});
    }
    const double slope = std::tan(degrees * std::acos(-1.0) / 180);
    return scatterScene(extent, [&](double x, double y, GroundScene &scene) {
        const double ground = slope * x + noise(random);
        for (const House &house : houses) {
            if (std::abs(x - house.x) < house.halfWidth && std::abs(y - house.y) < house.halfLength) {
                scene.add(x, y, slope * (house.x + house.halfWidth) + house.height + noise(random), false);
                return;
            }
        }
        for (const Tree &tree : trees) {
            const double reach = std::hypot(x - tree.x, y - tree.y) / tree.radius;
            if (reach < 1 && unit(random) > 0.4) {
                const double crown = tree.height * (1 - 0.7 * reach * unit(random));
                scene.add(x, y, slope * x + std::max(crown, 1.5), false);
                return;
            }
        }
        scene.add(x, y, ground, true);
    });
}

/// A plain with a valley along y, 8 metres deep, and a road along x that crosses it on a bridge 8 metres wide.
inline GroundScene bridgeScene(double flank = 1.0 / 1.5)
{
    std::mt19937 random(13);
    std::normal_distribution<double> noise(0, 0.03);
    return scatterScene(120, [&](double x, double y, GroundScene &scene) {
        // A flat bottom 16 metres wide between its flanks.
        const double depth = std::clamp(8 - flank * (std::abs(x) - 8), 0.0, 8.0);
        const bool isDeck = depth > 0 && std::abs(y) < 4;
        // Next to its ends the deck is no farther from the ground than the ground's own roughness.
        scene.add(x, y, (isDeck ? 0 : -depth) + noise(random), !isDeck || depth < 0.5);
    });
}

/// A plain with an excavation of 30 by 30 metres, 6 metres deep, with walls of 60 degrees.
inline GroundScene pitScene()
{
    std::mt19937 random(17);
    std::normal_distribution<double> noise(0, 0.03);
    return scatterScene(120, [&](double x, double y, GroundScene &scene) {
        const double inside = 15 - std::max(std::abs(x), std::abs(y));
        scene.add(x, y, -std::clamp(inside * std::sqrt(3.0), 0.0, 6.0) + noise(random), true);
    });
}
