#pragma once

#include "Points.h"

#include "stPtCloud_PointArray.h"

#include <cstdint>
#include <vector>

/// Triangles over vertices, near the local origin of the cloud that they come from.
///
/// Vertices are points of the source, named in `sources` (one index a vertex; `positions` is then not looked at and may
/// be empty), or places of their own in `positions` (`sources` is then empty).
struct Mesh
{
    std::vector<std::uint32_t> sources;
    Points positions;
    Points normals; ///< empty, or one of length 1 for each vertex
    std::vector<ptCloud::stTriangle> triangles;

    std::size_t vertexCount() const { return sources.empty() ? positions.size() : sources.size(); }
};
