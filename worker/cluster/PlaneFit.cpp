#include "PlaneFit.h"

#include <Eigen/Eigenvalues>

#include <algorithm>

using namespace ptCloud;

PlaneFit fitPlane(const Points &points, const std::vector<PointTree::Neighbour> &neighbours)
{
    const pcVec3f &first = points[neighbours.front().first];
    // From one of them, so that a place far from the origin costs no digits.
    const auto place = [&](const PointTree::Neighbour &neighbour) {
        const pcVec3d d = pcVec3d(points[neighbour.first]) - pcVec3d(first);
        return Eigen::Vector3d(d.x(), d.y(), d.z());
    };
    Eigen::Vector3d sum = Eigen::Vector3d::Zero();
    Eigen::Matrix3d squares = Eigen::Matrix3d::Zero();
    for (const PointTree::Neighbour &neighbour : neighbours) {
        const Eigen::Vector3d at = place(neighbour);
        sum += at;
        squares += at * at.transpose();
    }
    const Eigen::Matrix3d spread = squares - sum * sum.transpose() / static_cast<double>(neighbours.size());
    const double whole = spread.trace();
    if (!(whole > 0))
        return {};
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(spread / whole);
    // In ascending order. What is this narrow is a line whose points are rounded.
    constexpr double narrow = 1e-8;
    if (solver.eigenvalues()[1] < narrow)
        return {};
    const Eigen::Vector3d n = solver.eigenvectors().col(0);
    PlaneFit plane;
    plane.normal = pcVec3f(static_cast<float>(n.x()), static_cast<float>(n.y()), static_cast<float>(n.z()));
    plane.curvature = static_cast<float>(std::max(0.0, solver.eigenvalues()[0]));
    return plane;
}
