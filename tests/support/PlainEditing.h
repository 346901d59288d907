#pragma once

#include "PlainArrayBuild.h"

#include <QByteArray>

#include <array>
#include <optional>
#include <set>

namespace support
{

/// Points with everything that a block of them holds.
struct PlainBlock : PlainArray
{
    std::optional<QByteArray> indices;
    std::optional<QByteArray> marks;
};

/// Removes points and bends the triangles step by step, with sets and maps, without the library. Arrays end at the last
/// element that was kept.
void removePlainly(PlainBlock &block, const std::set<unsigned int> &removed);

/// Removes the points inside a box, or those outside. The corners are min x y z, max x y z.
void removeByBoxPlainly(PlainBlock &block, const std::array<float, 6> &corners, bool inside);
/// Likewise for a sphere: centre, then radius.
void removeBySpherePlainly(PlainBlock &block, const std::array<float, 4> &sphere, bool inside);

} // namespace support
