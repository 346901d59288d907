#include "PatchPlane.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>

namespace
{

constexpr std::ptrdiff_t fewestPoints = 10;
constexpr std::ptrdiff_t lowestPoints = 20; // whose mean height seeds go by
constexpr double seedMargin = 0.15;         // metres above that mean
constexpr int mostWalls = 3;
constexpr double wallThickness = 0.1;
constexpr double steepestGround = 0.35; // upward part of its normal; below, a plane is a wall
constexpr int mostRounds = 12;

PatchPlane planeThrough(const Points &points, const std::uint32_t *begin, const std::uint32_t *end)
{
    PatchPlane plane;
    const auto count = static_cast<double>(end - begin);
    if (end - begin < 3)
        return plane;
    Eigen::Vector3d middle = Eigen::Vector3d::Zero();
    const auto position = [&points](std::uint32_t i) {
        return Eigen::Vector3d(points[i].x(), points[i].y(), points[i].z());
    };
    std::for_each(begin, end, [&](std::uint32_t i) { middle += position(i); });
    middle /= count;
    Eigen::Matrix3d covariance = Eigen::Matrix3d::Zero();
    std::for_each(begin, end, [&](std::uint32_t i) {
        const Eigen::Vector3d offset = position(i) - middle;
        covariance += offset * offset.transpose();
    });
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(covariance / count);
    Eigen::Vector3d normal = solver.eigenvectors().col(0);
    if (normal.z() < 0)
        normal = -normal;
    plane.x = middle.x();
    plane.y = middle.y();
    plane.z = middle.z();
    plane.normalX = normal.x();
    plane.normalY = normal.y();
    plane.normalZ = normal.z();
    plane.spread = std::sqrt(std::max(0.0, solver.eigenvalues()(0)));
    return plane;
}

/// Points up to a little above the mean of the lowest ones. They are moved to the front; the answer is their end.
std::uint32_t *takeSeeds(const Points &points, std::uint32_t *begin, std::uint32_t *end)
{
    std::uint32_t *const lowest = begin + std::min(lowestPoints, end - begin);
    std::partial_sort(begin, lowest, end, [&points](std::uint32_t a, std::uint32_t b) {
        return points[a].z() != points[b].z() ? points[a].z() < points[b].z() : a < b;
    });
    double sum = 0;
    std::for_each(begin, lowest, [&](std::uint32_t i) { sum += points[i].z(); });
    const double highest = sum / static_cast<double>(lowest - begin) + seedMargin;
    return std::partition(begin, end, [&](std::uint32_t i) { return points[i].z() < highest; });
}

/// Moves the points of walls to the end; the answer is where they begin.
std::uint32_t *putWallsAside(const Points &points, std::uint32_t *begin, std::uint32_t *end)
{
    for (int wall = 0; wall < mostWalls && end - begin >= fewestPoints; ++wall) {
        const PatchPlane plane = planeThrough(points, begin, takeSeeds(points, begin, end));
        if (!plane.exists() || plane.normalZ >= steepestGround)
            break;
        std::uint32_t *const rest = std::partition(
            begin, end, [&](std::uint32_t i) { return std::abs(plane.distance(points[i])) > wallThickness; });
        // Ground seen from its edge alone may look like a wall; not the whole patch is one.
        if (rest - begin < fewestPoints)
            break;
        end = rest;
    }
    return end;
}

} // namespace

PatchPlane fitPatch(const Points &points, std::uint32_t *begin, std::uint32_t *end)
{
    if (end - begin < fewestPoints)
        return {};
    end = putWallsAside(points, begin, end);
    std::uint32_t *taken = takeSeeds(points, begin, end);
    PatchPlane plane = planeThrough(points, begin, taken);
    for (int round = 0; round < mostRounds && plane.exists(); ++round) {
        std::uint32_t *const nearby = std::partition(
            begin, end, [&](std::uint32_t i) { return std::abs(plane.distance(points[i])) < planeThickness; });
        if (nearby - begin < 3)
            break;
        plane = planeThrough(points, begin, nearby);
        if (nearby == taken && round > 1)
            break;
        taken = nearby;
    }
    return plane;
}
