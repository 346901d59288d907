#include "AlphaShape.h"

#include "AlphaComplex.h"
#include "Failure.h"
#include "MemoryGuard.h"
#include "Open3DCloud.h"
#include "PointTree.h"
#include "Vertices.h"

#include <open3d/geometry/TetraMesh.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ptCloud;

namespace
{

constexpr std::uint64_t bytesOfPoint = 2500;
/// Five points make the first cell of a Delaunay tetrahedralisation and tell its neighbours.
constexpr std::size_t fewestPoints = 5;
/// Shift of points against their spacing: far below what a user sees, far above what rounding does to the tetrahedra.
constexpr double shiftOfSpacing = 1e-6;
constexpr double shiftOfExtent = 1e-11;
/// What counts as a rough surface and not as a solid: thin against alpha, and no thicker than the points lie apart.
constexpr double thinnessOfAlpha = 0.1;
constexpr double thinnessOfSpacing = 1;

double extentOf(const Points &points)
{
    float extent = 0;
    for (const pcVec3f &p : points)
        extent = std::max({extent, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    return extent;
}

void shift(std::vector<Eigen::Vector3d> &places, double distance)
{
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same shifts in every run
    constexpr double range = 4294967296.0;
    const auto next = [&] { return (static_cast<double>(random()) / range - 0.5) * 2 * distance; };
    for (Eigen::Vector3d &p : places) {
        p.x() += next();
        p.y() += next();
        p.z() += next();
    }
}

std::vector<AlphaComplex::Tetrahedron> tetrahedraOf(const open3d::geometry::PointCloud &cloud)
{
    const auto [mesh, indices] =
        callOpen3D(ExitCode::Hull, QStringLiteral("the points can't be joined to tetrahedra"),
                   [&cloud] { return open3d::geometry::TetraMesh::CreateFromPointCloud(cloud); });
    std::vector<AlphaComplex::Tetrahedron> tetrahedra(mesh->tetras_.size());
    std::transform(mesh->tetras_.begin(), mesh->tetras_.end(), tetrahedra.begin(), [&map = indices](const auto &t) {
        const auto at = [&](int i) { return static_cast<std::uint32_t>(map[static_cast<std::size_t>(t[i])]); };
        return AlphaComplex::Tetrahedron{at(0), at(1), at(2), at(3)};
    });
    return tetrahedra;
}

} // namespace

void AlphaParameters::check() const
{
    if (!(alpha > 0) || !std::isfinite(alpha))
        throw Failure(ExitCode::Argument, QStringLiteral("alpha is %1: it must be above 0").arg(alpha));
}

Mesh alphaShape(const Points &points, const Points &normals, const AlphaParameters &parameters, Progress &progress)
{
    const QString name = QStringLiteral("joining points to tetrahedra");
    progress.stage(name, 0, 0.7);
    const std::vector<std::uint32_t> sources = distinctPoints(points);
    if (sources.size() < fewestPoints)
        throw Failure(ExitCode::Hull, QStringLiteral("%1 different points make no alpha shape: %2 are needed")
                                          .arg(sources.size())
                                          .arg(fewestPoints));
    requireMemory(sources.size() * bytesOfPoint, name);
    const Points places = pick(points, sources);
    const Points sides = pick(normals, sources);
    const double spacing = typicalSpacing(PointTree(places));
    open3d::geometry::PointCloud cloud = toOpen3D(places, {});
    shift(cloud.points_, std::max(spacing * shiftOfSpacing, extentOf(places) * shiftOfExtent));
    std::vector<AlphaComplex::Tetrahedron> tetrahedra = tetrahedraOf(cloud);

    progress.stage(QStringLiteral("carving the shape"), 0.7, 1);
    const double thinness = std::min(parameters.alpha * thinnessOfAlpha, spacing * thinnessOfSpacing);
    const AlphaComplex complex(std::move(cloud.points_), std::move(tetrahedra), parameters.alpha, thinness);
    std::vector<stTriangle> triangles = complex.surface(sides);
    if (triangles.empty())
        throw Failure(ExitCode::Function,
                      QStringLiteral("alpha %1 leaves no triangle: the points lie about %2 apart; try %3 or more")
                          .arg(parameters.alpha)
                          .arg(spacing, 0, 'g', 3)
                          .arg(spacing * 3, 0, 'g', 2));
    return compactMesh(sources, sides, std::move(triangles));
}
