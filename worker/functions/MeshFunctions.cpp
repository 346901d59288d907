// Functions that make meshes.

#include "AlphaShape.h"
#include "BallPivoting.h"
#include "Failure.h"
#include "Function.h"
#include "Normals.h"
#include "PoissonSurface.h"
#include "Results.h"
#include "SourceCloud.h"

#include <algorithm>
#include <cmath>

using namespace ptCloud;

namespace
{

// How much of a run its steps take, roughly.
constexpr double readEnd = 0.1;
constexpr double normalsEnd = 0.4;
constexpr double meshEnd = 0.95;

/// The normals that the source has, where each of them is one.
Points normalsOf(const stPtCloud_PointArray &array)
{
    Points normals;
    if (array.m_normal == nullptr)
        return normals;
    normals.assign(array.m_normal, array.m_normal + array.m_pointCount);
    for (pcVec3f &normal : normals) {
        normal.normalize();
        if (!(std::fabs(normal.length2() - 1) < 1e-3F))
            return {};
    }
    return normals;
}

/// Reads, tells or estimates normals, makes the mesh and writes it; the three meshers differ in between.
template <typename Make>
QString runMesher(const Parameters &parameters, Progress &progress, const Make &make)
{
    const NormalSide side = parameters.flag("fastNormal") ? NormalSide::Upward : NormalSide::Consistent;
    const QString destination = parameters.text("dest_filepath");
    const QString source = parameters.text("source_filepath");
    ResultFile::check(destination, source);
    ProgressPart reading(progress, 0, readEnd);
    const SourceCloud cloud(source, reading);
    if (cloud.size() < 3)
        throw Failure(ExitCode::Hull, QStringLiteral("%1 points make no triangle: it takes three").arg(cloud.size()));
    Points normals = normalsOf(cloud.array());
    if (normals.empty()) {
        ProgressPart estimating(progress, readEnd, normalsEnd);
        normals = estimateNormals(cloud.points(), side, estimating);
    }
    ProgressPart meshing(progress, normalsEnd, meshEnd);
    const Mesh mesh = make(cloud.points(), normals, meshing);
    progress.stage(QStringLiteral("writing the mesh"), meshEnd, 1);
    writeMesh(destination, cloud, mesh);
    return QStringLiteral("a mesh of %1 triangles%2").arg(mesh.triangles.size()).arg(cloud.leftOutNote());
}

} // namespace

QString runAlphaShape(const Parameters &parameters, Progress &progress)
{
    AlphaParameters wanted;
    wanted.alpha = parameters.number("alpha");
    wanted.check();
    return runMesher(parameters, progress, [&wanted](const Points &points, const Points &normals, Progress &part) {
        return alphaShape(points, normals, wanted, part);
    });
}

QString runBallPivoting(const Parameters &parameters, Progress &progress)
{
    BallPivotingParameters wanted;
    wanted.radius = parameters.number("radius");
    wanted.check();
    return runMesher(parameters, progress, [&wanted](const Points &points, const Points &normals, Progress &part) {
        return ballPivoting(points, normals, wanted, part);
    });
}

QString runPoisson(const Parameters &parameters, Progress &progress)
{
    PoissonParameters wanted;
    wanted.depth = parameters.integer("depth");
    wanted.width = parameters.number("width");
    wanted.densityQuantile = parameters.number("desity_divide");
    wanted.check();
    return runMesher(parameters, progress, [&wanted](const Points &points, const Points &normals, Progress &part) {
        return poissonSurface(points, normals, wanted, part);
    });
}
