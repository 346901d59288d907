#pragma once

#include "Driver.h"

namespace fuzz
{

/// Every version and point format that is read, with few points.
std::vector<Seed> lasSeeds();

} // namespace fuzz
