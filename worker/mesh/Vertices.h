#pragma once

#include "Mesh.h"

#include <Eigen/Core>

#include <cstdint>
#include <vector>

/// What stands at these indices; nothing where there is nothing to pick from.
Points pick(const Points &all, const std::vector<std::uint32_t> &indices);

std::vector<ptCloud::stTriangle> toTriangles(const std::vector<Eigen::Vector3i> &triangles);

/// A mesh over some points of the source without those that no triangle names. The corners are indices into `sources`;
/// `normals` holds one for each of them, or none.
Mesh compactMesh(const std::vector<std::uint32_t> &sources, const Points &normals,
                 std::vector<ptCloud::stTriangle> triangles);
