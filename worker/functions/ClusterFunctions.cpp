// Functions that split points into clusters.

#include "Dbscan.h"
#include "EuclideanClusters.h"
#include "Failure.h"
#include "Function.h"
#include "KMeans.h"
#include "RegionGrowing.h"
#include "Results.h"
#include "SourceCloud.h"
#include "VoxelClusters.h"

#include <algorithm>

namespace
{

// How much of a run its steps take, roughly.
constexpr double readEnd = 0.2;
constexpr double splitEnd = 0.8;

/// Reads, splits and writes; the splitters differ in between. `advice`: what to try where no cluster comes out.
template <typename Wanted>
QString runSplitter(const Parameters &parameters, Progress &progress, const Wanted &wanted,
                    std::vector<int> (*split)(const Points &, const Wanted &, Progress &), const QString &advice,
                    bool retainNoise = false)
{
    wanted.check();
    const QString destination = parameters.text("dest_filepath");
    const QString source = parameters.text("source_filepath");
    ResultFile::check(destination, source);
    ProgressPart reading(progress, 0, readEnd);
    const SourceCloud cloud(source, reading);
    ProgressPart splitting(progress, readEnd, splitEnd);
    const std::vector<int> labels = split(cloud.points(), wanted, splitting);
    const int clusters = *std::max_element(labels.begin(), labels.end()) + 1;
    if (clusters == 0)
        throw Failure(ExitCode::Function,
                      QStringLiteral("no cluster came of %1 points; try %2").arg(labels.size()).arg(advice));
    progress.stage(QStringLiteral("writing the clusters"), splitEnd, 1);
    writeSplit(destination, cloud, blocksOfLabels(labels, retainNoise));
    return QStringLiteral("%1 clusters, %2 of %3 points in none%4")
        .arg(clusters)
        .arg(std::count(labels.begin(), labels.end(), -1))
        .arg(labels.size())
        .arg(cloud.leftOutNote());
}

KMeansParameters kMeansParameters(const Parameters &parameters)
{
    KMeansParameters wanted;
    wanted.mostRounds = parameters.integer("maxIteration");
    wanted.clusters = parameters.integer("clusterNum");
    return wanted;
}

} // namespace

QString runDbscan(const Parameters &parameters, Progress &progress)
{
    DbscanParameters wanted;
    wanted.epsilon = parameters.number("epsilon");
    wanted.leastPoints = parameters.integer("minpts");
    return runSplitter(
        parameters, progress, wanted, dbscan,
        QStringLiteral("an epsilon above %1 or a minpts below %2").arg(wanted.epsilon).arg(wanted.leastPoints),
        parameters.flag("retainNoise"));
}

QString runKMeans(const Parameters &parameters, Progress &progress)
{
    return runSplitter(parameters, progress, kMeansParameters(parameters), kMeans, QString());
}

QString runKMeansExtra(const Parameters &parameters, Progress &progress)
{
    return runSplitter(parameters, progress, kMeansParameters(parameters), kMeansPlusPlus, QString());
}

QString runEuclidean(const Parameters &parameters, Progress &progress)
{
    EuclideanParameters wanted;
    wanted.tolerance = parameters.number("tolerance");
    wanted.leastPoints = parameters.integer("minCluster");
    wanted.mostPoints = parameters.integer("maxCluster");
    return runSplitter(parameters, progress, wanted, euclideanClusters,
                       QStringLiteral("another tolerance than %1, a minCluster below %2 or a maxCluster above %3")
                           .arg(wanted.tolerance)
                           .arg(wanted.leastPoints)
                           .arg(wanted.mostPoints));
}

QString runEuclideanFast(const Parameters &parameters, Progress &progress)
{
    VoxelParameters wanted;
    wanted.edge = parameters.number("disTh");
    wanted.mostPoints = parameters.integer("maxSize");
    return runSplitter(parameters, progress, wanted, voxelClusters, QString());
}

QString runRegionGrowing(const Parameters &parameters, Progress &progress)
{
    RegionParameters wanted;
    wanted.neighbours = parameters.integer("tolerance");
    wanted.angle = parameters.number("smooth");
    wanted.curvature = parameters.number("cure");
    wanted.leastPoints = parameters.integer("minCluster");
    wanted.mostPoints = parameters.integer("maxCluster");
    return runSplitter(parameters, progress, wanted, growRegions,
                       QStringLiteral("a smooth above %1, a cure above %2 or a minCluster below %3")
                           .arg(wanted.angle)
                           .arg(wanted.curvature)
                           .arg(wanted.leastPoints));
}
