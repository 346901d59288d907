#pragma once

#include "Driver.h"

namespace fuzz
{

/// Areas without and with results of both kinds, over the terrain below.
std::vector<Seed> volumesSeeds();

/// Data set files of the same hill, 8 by 8 in size, from the origin on.
QByteArray volumesMesh();
QByteArray volumesPoints();

} // namespace fuzz
