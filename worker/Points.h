#pragma once

#include "pcVec.h"

#include <vector>

/// Positions that a function works on: finite, and near an origin of their own, so that floats hold them well. Every
/// function here takes them so; `SourceCloud` makes them.
using Points = std::vector<ptCloud::pcVec3f>;
