#include "BallPivoting.h"

#include "MemoryGuard.h"
#include "Open3DCloud.h"
#include "PointTree.h"
#include "Vertices.h"

#include <open3d/geometry/TriangleMesh.h>

#include <cmath>

using namespace ptCloud;

namespace
{

constexpr std::uint64_t bytesOfPoint = 1500;
/// The first ball, against the spacing of the points, where the user names none.
constexpr double standardSpacings = 1.5;

double firstRadius(double wanted, double spacing)
{
    if (wanted == 0)
        return spacing * standardSpacings;
    if (wanted > spacing * BallPivotingParameters::mostSpacings) {
        throw Failure(ExitCode::Argument,
                      QStringLiteral("radius is %1, and the points lie about %2 apart: it must be %3 at most; try %4")
                          .arg(wanted)
                          .arg(spacing, 0, 'g', 3)
                          .arg(spacing * BallPivotingParameters::mostSpacings, 0, 'g', 3)
                          .arg(spacing * standardSpacings, 0, 'g', 2));
    }
    return wanted;
}

} // namespace

void BallPivotingParameters::check() const
{
    if (!(radius >= 0) || !std::isfinite(radius))
        throw Failure(ExitCode::Argument, QStringLiteral("radius is %1: it must be 0 or more").arg(radius));
}

Mesh ballPivoting(const Points &points, const Points &normals, const BallPivotingParameters &parameters,
                  Progress &progress)
{
    const QString name = QStringLiteral("rolling a ball over the points");
    progress.stage(name, 0, 1);
    const std::vector<std::uint32_t> sources = distinctPoints(points);
    requireMemory(sources.size() * bytesOfPoint, name);
    const Points places = pick(points, sources);
    const Points sides = pick(normals, sources);
    open3d::geometry::PointCloud cloud = toOpen3D(places, sides);
    const double spacing = typicalSpacing(PointTree(places));
    const double radius = firstRadius(parameters.radius, spacing);
    const auto mesh = callOpen3D(ExitCode::Function, QStringLiteral("the ball stumbled"), [&] {
        return open3d::geometry::TriangleMesh::CreateFromPointCloudBallPivoting(cloud,
                                                                                {radius, radius * 2, radius * 4});
    });
    std::vector<stTriangle> triangles = toTriangles(mesh->triangles_);
    if (triangles.empty())
        throw Failure(ExitCode::Function,
                      QStringLiteral("no ball of radius %1 rests on three points, which lie about %2 apart; try %3")
                          .arg(radius, 0, 'g', 3)
                          .arg(spacing, 0, 'g', 3)
                          .arg(spacing * standardSpacings, 0, 'g', 2));
    return compactMesh(sources, sides, std::move(triangles));
}
