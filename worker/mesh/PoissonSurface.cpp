#include "PoissonSurface.h"

#include "MemoryGuard.h"
#include "Open3DCloud.h"
#include "Vertices.h"

#include <open3d/geometry/TriangleMesh.h>

#include <algorithm>
#include <cmath>

using namespace ptCloud;

namespace
{

/// The octree's cube against the box of the points.
constexpr float cubeScale = 1.1F;
double extentOf(const open3d::geometry::PointCloud &cloud)
{
    return (cloud.GetMaxBound() - cloud.GetMinBound()).maxCoeff();
}

/// The depth that the library takes for cells of this width.
int depthFor(const PoissonParameters &parameters, double extent)
{
    if (parameters.width == 0)
        return parameters.depth;
    const double depth = std::ceil(std::log2(extent * static_cast<double>(cubeScale) / parameters.width));
    if (depth > PoissonParameters::mostDepth) {
        throw Failure(
            ExitCode::Argument,
            QStringLiteral("width is %1, too fine for points over %2 units: it must be %3 or more")
                .arg(parameters.width)
                .arg(extent, 0, 'g', 3)
                .arg(extent * static_cast<double>(cubeScale) / std::exp2(PoissonParameters::mostDepth), 0, 'g', 3));
    }
    return std::max(PoissonParameters::leastDepth, static_cast<int>(depth));
}

/// What the solver takes at most, as measured: points, the cells of the surface, and below the depth where each point
/// has a cell of its own, a growing surrounding for each.
std::uint64_t memoryFor(std::size_t points, int depth)
{
    constexpr double base = 64e6;
    constexpr double bytesOfPoint = 400;
    constexpr double bytesOfCell = 1500;
    constexpr double bytesOfSurrounding = 700;
    const auto count = static_cast<double>(points);
    const double cells = std::min(count, std::exp2(2 * depth));
    const double levels = std::max(0.0, depth - std::log2(count) / 2);
    return static_cast<std::uint64_t>(base + count * bytesOfPoint
                                      + cells * (bytesOfCell + bytesOfSurrounding * levels * levels));
}

/// Marks vertices of less density than a share of them has.
std::vector<bool> sparseVertices(const std::vector<double> &densities, double quantile)
{
    std::vector<double> sorted = densities;
    const auto at = sorted.begin() + static_cast<std::ptrdiff_t>(quantile * static_cast<double>(sorted.size()));
    std::nth_element(sorted.begin(), at, sorted.end());
    std::vector<bool> isSparse(densities.size());
    std::transform(densities.begin(), densities.end(), isSparse.begin(), [least = *at](double d) { return d < least; });
    return isSparse;
}

} // namespace

void PoissonParameters::check() const
{
    const auto refuse = [](const char *key, double value, const QString &range) {
        throw Failure(ExitCode::Argument,
                      QStringLiteral("%1 is %2: it must be %3").arg(QLatin1String(key)).arg(value).arg(range));
    };
    if (depth < leastDepth || depth > mostDepth)
        refuse("depth", depth, QStringLiteral("from %1 to %2").arg(leastDepth).arg(mostDepth));
    if (!(width >= 0) || !std::isfinite(width))
        refuse("width", width, QStringLiteral("0 or more"));
    if (!(densityQuantile >= 0 && densityQuantile < 1))
        refuse("desity_divide", densityQuantile, QStringLiteral("0 or more, and below 1"));
}

Mesh poissonSurface(const Points &points, const Points &normals, const PoissonParameters &parameters,
                    Progress &progress)
{
    const QString name = QStringLiteral("solving for the surface");
    progress.stage(name, 0, 1);
    const open3d::geometry::PointCloud cloud = toOpen3D(points, normals);
    const int depth = depthFor(parameters, extentOf(cloud));
    requireMemory(memoryFor(points.size(), depth), name);
    auto [mesh, densities] = callOpen3D(ExitCode::Function, QStringLiteral("no surface came of the points"), [&] {
        return open3d::geometry::TriangleMesh::CreateFromPointCloudPoisson(
            cloud, static_cast<std::size_t>(depth), static_cast<float>(parameters.width), cubeScale, false, 1);
    });
    if (!densities.empty() && parameters.densityQuantile > 0)
        mesh->RemoveVerticesByMask(sparseVertices(densities, parameters.densityQuantile));
    mesh->ComputeVertexNormals();

    Mesh result;
    result.triangles = toTriangles(mesh->triangles_);
    if (result.triangles.empty())
        throw Failure(ExitCode::Function,
                      QStringLiteral("no triangle is left of the surface; try a smaller desity_divide than %1")
                          .arg(parameters.densityQuantile));
    const auto convert = [](const std::vector<Eigen::Vector3d> &from, Points &to) {
        to.resize(from.size());
        std::transform(from.begin(), from.end(), to.begin(), fromEigen);
    };
    convert(mesh->vertices_, result.positions);
    convert(mesh->vertex_normals_, result.normals);
    return result;
}
