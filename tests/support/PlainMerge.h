#pragma once

#include "BlockFile.h"

#include <optional>
#include <vector>

namespace support
{

/// What comes of merging files in this order, worked out without the library. Nothing where a block lacks a column of
/// the merged file, or can't be read since its file names the triangle column and has no triangle at all.
std::optional<BlockFile> mergePlainly(const std::vector<BlockFile> &sources);

} // namespace support
