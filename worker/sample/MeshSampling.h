#pragma once

#include "Mesh.h"
#include "Progress.h"

/// `count` places, evenly spread over the triangles of a mesh, by Open3D: of `factor` times as many random ones those
/// go that are crowded most (Yuksel 2015). `points` are those that the mesh's vertices name. A fixed seed makes the
/// random places the same in every run.
///
/// The result has positions alone. `factor` is above 1. Throws `Failure`: `Function`, `Memory`.
Mesh sampleMesh(const Points &points, const Mesh &mesh, std::size_t count, double factor, Progress &progress);
