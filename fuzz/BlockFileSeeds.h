#pragma once

#include "Driver.h"

namespace fuzz
{

/// Every column and every sort; meshes; blocks of a point and without one.
std::vector<Seed> blockFileSeeds();

} // namespace fuzz
