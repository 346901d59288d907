// The function that thins points.

#include "AlphaShape.h"
#include "Failure.h"
#include "Function.h"
#include "MeshSampling.h"
#include "Results.h"
#include "SampleElimination.h"
#include "SourceCloud.h"

#include <algorithm>
#include <cmath>

using namespace ptCloud;

namespace
{

/// What the sampler takes.
struct SampleParameters
{
    double percent = 0; ///< key `targetPercents`: the share of the points that stays, above 0, 100 at most
    double factor = 0;  ///< key `init_factor`: random places for each that stays, above 1; over a mesh only
    double alpha = 0;   ///< key `makeMeshAlpha`: of the mesh to sample, in position units; 0: the points themselves

    static SampleParameters from(const Parameters &parameters)
    {
        constexpr double mostPercent = 100;
        constexpr double mostFactor = 1000;
        SampleParameters sample;
        sample.percent = parameters.number("targetPercents", {0, mostPercent});
        if (sample.percent == 0)
            throw Failure(ExitCode::Argument, QStringLiteral("targetPercents is 0: it must be above 0"));
        sample.alpha = parameters.number("makeMeshAlpha", {0});
        if (sample.alpha > 0) {
            sample.factor = parameters.number("init_factor", {1, mostFactor});
            if (sample.factor == 1)
                throw Failure(ExitCode::Argument, QStringLiteral("init_factor is 1: it must be above 1"));
        }
        return sample;
    }

    std::size_t countOf(std::size_t points) const
    {
        constexpr double whole = 100;
        const double wanted = std::round(static_cast<double>(points) * percent / whole);
        return std::max<std::size_t>(1, static_cast<std::size_t>(wanted));
    }
};

constexpr double readEnd = 0.1;
constexpr double meshEnd = 0.5;
constexpr double sampleEnd = 0.95;

} // namespace

QString runPoissonDisk(const Parameters &parameters, Progress &progress)
{
    const auto wanted = SampleParameters::from(parameters);
    const QString destination = parameters.text("dest_filepath");
    const QString source = parameters.text("source_filepath");
    ResultFile::check(destination, source);
    ProgressPart reading(progress, 0, readEnd);
    const SourceCloud cloud(source, reading);
    const std::size_t count = wanted.countOf(cloud.size());
    const auto writing = [&progress] { progress.stage(QStringLiteral("writing the points"), sampleEnd, 1); };
    if (wanted.alpha > 0) {
        ProgressPart meshing(progress, readEnd, meshEnd);
        AlphaParameters shape;
        shape.alpha = wanted.alpha;
        const Mesh mesh = alphaShape(cloud.points(), {}, shape, meshing);
        ProgressPart sampling(progress, meshEnd, sampleEnd);
        const Mesh samples = sampleMesh(cloud.points(), mesh, count, wanted.factor, sampling);
        writing();
        writeVertices(destination, cloud, samples);
    } else {
        ProgressPart sampling(progress, readEnd, sampleEnd);
        const std::vector<std::uint32_t> kept = eliminateSamples(cloud.points(), count, sampling);
        writing();
        writePoints(destination, cloud, kept);
    }
    return QStringLiteral("%1 of %2 points%3").arg(count).arg(cloud.size()).arg(cloud.leftOutNote());
}
