#include "MeshSampling.h"

#include "MemoryGuard.h"
#include "Open3DCloud.h"

#include <open3d/geometry/TriangleMesh.h>
#include <open3d/utility/Random.h>

#include <algorithm>

using namespace ptCloud;

namespace
{

constexpr double bytesOfSample = 1500;
constexpr int seed = 1;

} // namespace

Mesh sampleMesh(const Points &points, const Mesh &mesh, std::size_t count, double factor, Progress &progress)
{
    const QString name = QStringLiteral("sampling the mesh");
    progress.stage(name, 0, 1);
    const double memory = static_cast<double>(count) * factor * bytesOfSample;
    constexpr double most = 1e18;
    requireMemory(static_cast<std::uint64_t>(std::min(memory, most)), name);
    open3d::geometry::TriangleMesh surface;
    surface.vertices_.reserve(mesh.sources.size());
    for (const std::uint32_t source : mesh.sources)
        surface.vertices_.push_back(toEigen(points[source]));
    for (const stTriangle &t : mesh.triangles)
        surface.triangles_.emplace_back(static_cast<int>(t.a), static_cast<int>(t.b), static_cast<int>(t.c));
    open3d::utility::random::Seed(seed);
    const auto samples = callOpen3D(ExitCode::Function, QStringLiteral("the mesh can't be sampled"),
                                    [&] { return surface.SamplePointsPoissonDisk(count, factor); });
    Mesh result;
    result.positions.resize(samples->points_.size());
    std::transform(samples->points_.begin(), samples->points_.end(), result.positions.begin(), fromEigen);
    return result;
}
