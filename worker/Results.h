#pragma once

#include "Mesh.h"
#include "ResultFile.h"
#include "SourceCloud.h"

#include <QString>

#include <cstdint>
#include <vector>

/// Points of the source by index, one list for each block of the result.
using Blocks = std::vector<std::vector<std::uint32_t>>;

/// The blocks of labelled points: one a label, in the order of falling size and then of the smallest index. Points with
/// the label -1 are noise: they make the last block, or none. A block's indices ascend.
Blocks blocksOfLabels(const std::vector<int> &labels, bool retainNoise);

// Each throws `Failure`: `Function` where there is nothing to write, `Memory`, or `WriteDest`.

/// One block for each list, in this order, with all columns of the source. Empty lists are passed over.
void writeSplit(const QString &destination, const SourceCloud &cloud, const Blocks &blocks);
/// Some points of the source, with all its columns, sorted into blocks by place.
void writePoints(const QString &destination, const SourceCloud &cloud, const std::vector<std::uint32_t> &indices);
/// One block: positions, triangles, normals where the mesh has some, and all other columns of the source where vertices
/// are points of it.
void writeMesh(const QString &destination, const SourceCloud &cloud, const Mesh &mesh);
/// Vertices alone, as points sorted into blocks by place.
void writeVertices(const QString &destination, const SourceCloud &cloud, const Mesh &mesh);
