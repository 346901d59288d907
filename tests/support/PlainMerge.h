#pragma once

#include "BlockFile.h"

#include <optional>
#include <vector>

namespace support
{

/// What comes of merging files in this order, worked out without the library. Nothing where a block lacks a column of
/// the merged file.
std::optional<BlockFile> mergePlainly(const std::vector<BlockFile> &sources);

} // namespace support
