#pragma once

#include "Parameters.h"
#include "Progress.h"

#include <QString>

/// One function of the worker: reads its parameters, checks them and its destination before all else, reads the source,
/// works and writes. What it gives back is told to the user as the last message, such as "12 clusters". It throws
/// `Failure`, or whatever a library throws.
using Runner = QString (*)(const Parameters &parameters, Progress &progress);

/// The function with this id. Throws `Failure(ExitCode::NotSupported)` for an id that is none.
Runner findFunction(int id);

QString runAlphaShape(const Parameters &parameters, Progress &progress);
QString runBallPivoting(const Parameters &parameters, Progress &progress);
QString runPoisson(const Parameters &parameters, Progress &progress);
QString runTerrain(const Parameters &parameters, Progress &progress);
QString runDbscan(const Parameters &parameters, Progress &progress);
QString runKMeans(const Parameters &parameters, Progress &progress);
QString runKMeansExtra(const Parameters &parameters, Progress &progress);
QString runEuclidean(const Parameters &parameters, Progress &progress);
QString runEuclideanFast(const Parameters &parameters, Progress &progress);
QString runRegionGrowing(const Parameters &parameters, Progress &progress);
QString runPatchwork(const Parameters &parameters, Progress &progress);
QString runCloth(const Parameters &parameters, Progress &progress);
QString runPoissonDisk(const Parameters &parameters, Progress &progress);
