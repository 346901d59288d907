// Functions that split a cloud into ground and the rest.

#include "ClothFilter.h"
#include "Failure.h"
#include "Function.h"
#include "Patchwork.h"
#include "Results.h"
#include "SourceCloud.h"

namespace
{

constexpr double readEnd = 0.1;
constexpr double filterEnd = 0.95;

ClothParameters clothParameters(const Parameters &parameters)
{
    ClothParameters cloth;
    cloth.slopeSmooth = parameters.flag("sloopSmooth");
    cloth.classThreshold = parameters.number("class_threshold");
    cloth.clothResolution = parameters.number("cloth_resolution");
    cloth.iterations = parameters.integer("interations");
    cloth.rigidness = parameters.integer("rigidness");
    cloth.timeStep = parameters.number("time_step");
    cloth.check();
    return cloth;
}

Blocks groundAndRest(const std::vector<bool> &isGround)
{
    Blocks blocks(2);
    for (std::size_t i = 0; i < isGround.size(); ++i)
        blocks[isGround[i] ? 0 : 1].push_back(static_cast<std::uint32_t>(i));
    return blocks;
}

/// Reads, filters and writes the ground as first block, if it is wanted, and the rest behind it. `advice`: what to try
/// where there is no ground.
template <typename Filter>
QString runGroundFilter(const Parameters &parameters, bool withGround, const QString &advice, Progress &progress,
                        const Filter &filter)
{
    const QString destination = parameters.text("dest_filepath");
    const QString source = parameters.text("source_filepath");
    ResultFile::check(destination, source);
    ProgressPart reading(progress, 0, readEnd);
    const SourceCloud cloud(source, reading);
    ProgressPart filtering(progress, readEnd, filterEnd);
    Blocks blocks = groundAndRest(filter(cloud.points(), filtering));
    if (blocks[0].empty())
        throw Failure(ExitCode::Function,
                      QStringLiteral("no ground was found in %1 points; try %2").arg(cloud.size()).arg(advice));
    if (blocks[1].empty() && !withGround)
        throw Failure(ExitCode::Function,
                      QStringLiteral("all points are ground; try a remove_ground of false, which keeps it"));
    QString told = QStringLiteral("%1 ground points, %2 others%3")
                       .arg(blocks[0].size())
                       .arg(blocks[1].size())
                       .arg(cloud.leftOutNote());
    if (!withGround)
        blocks[0].clear();
    progress.stage(QStringLiteral("writing the blocks"), filterEnd, 1);
    writeSplit(destination, cloud, blocks);
    return told;
}

} // namespace

QString runPatchwork(const Parameters &parameters, Progress &progress)
{
    return runGroundFilter(parameters, true, QStringLiteral("the filter by a cloth"), progress, patchworkGround);
}

QString runCloth(const Parameters &parameters, Progress &progress)
{
    const ClothParameters cloth = clothParameters(parameters);
    const bool withGround = !parameters.flag("remove_ground");
    const QString advice = QStringLiteral("a class_threshold above %1").arg(cloth.classThreshold);
    return runGroundFilter(
        parameters, withGround, advice, progress,
        [&cloth](const Points &points, Progress &filtering) { return clothGround(points, cloth, filtering); });
}
