#include "Results.h"

#include "Failure.h"
#include "MemoryGuard.h"
#include "PtCloud_DataSetFile.h"

#include <algorithm>
#include <list>
#include <memory>
#include <numeric>

using namespace ptCloud;

namespace
{

/// A point with all columns, and as much again for the buffer that a builder sorts points into.
constexpr std::uint64_t bytesOfPoint = 220;
/// Arrays for the columns of a block, however small it is.
constexpr std::uint64_t bytesOfBlock = 400;

[[noreturn]] void failForMemory(std::size_t count)
{
    throw Failure(ExitCode::Memory, QStringLiteral("there is no memory for a result of %1 points").arg(count));
}

[[noreturn]] void failForNothing()
{
    throw Failure(ExitCode::Function, QStringLiteral("no point is left to make a result of"));
}

/// Makes room for `count` points with the columns of `columns`, and with triangles if there are any.
void allocate(stPtCloud_PointArray &array, std::size_t count, const QList<EDataSetColumn> &columns,
              std::size_t triangles = 0)
{
    if (!array.alloc(static_cast<unsigned int>(count), columns, triangles != 0, static_cast<unsigned int>(triangles)))
        failForMemory(count);
}

/// Copies the points with these indices; neighbours in one go.
void gather(stPtCloud_PointArray &target, const stPtCloud_PointArray &source, const std::vector<std::uint32_t> &indices)
{
    for (std::size_t at = 0; at < indices.size();) {
        std::size_t end = at + 1;
        while (end < indices.size() && indices[end] == indices[end - 1] + 1)
            ++end;
        target.copy_noTriangle(source, indices[at], static_cast<unsigned int>(at), static_cast<unsigned int>(end - at));
        at = end;
    }
}

QList<EDataSetColumn> columnsOf(const stPtCloud_PointArray &array)
{
    QList<EDataSetColumn> columns;
    array.getColumns(columns);
    return columns;
}

/// Writes a data set file under its temporary name first. `build` is one of the builders with its arguments.
template <typename Build>
void writeFile(const QString &destination, const Build &build)
{
    ResultFile result(destination);
    PtCloud_DataSetFile file;
    if (!file.setFile(result.temporaryPath()) || !build(file))
        result.fail();
    result.commit();
}

/// The mesh as a block of points; without triangles if they aren't wanted.
void fill(stPtCloud_PointArray &array, const SourceCloud &cloud, const Mesh &mesh, bool withTriangles)
{
    const std::size_t count = mesh.vertexCount();
    QList<EDataSetColumn> columns{EDataSetColumn_Position};
    if (!mesh.sources.empty())
        columns = columnsOf(cloud.array());
    if (!mesh.normals.empty() && !columns.contains(EDataSetColumn_Normal))
        columns.append(EDataSetColumn_Normal);
    columns.append(EDataSetColumn_Triangle);
    allocate(array, count, columns, withTriangles ? mesh.triangles.size() : 0);
    if (mesh.sources.empty())
        std::transform(mesh.positions.begin(), mesh.positions.end(), array.m_position,
                       [&cloud](const pcVec3f &p) { return cloud.toFile(p); });
    else
        gather(array, cloud.array(), mesh.sources);
    std::copy(mesh.normals.begin(), mesh.normals.end(), array.m_normal);
    std::copy_n(mesh.triangles.begin(), array.m_triangleCount, array.m_triangle);
}

void writeArray(const QString &destination, const stPtCloud_PointArray &array)
{
    writeFile(destination, [&array](PtCloud_DataSetFile &file) { return file.makeDataSet_byPointsArray(array); });
}

} // namespace

Blocks blocksOfLabels(const std::vector<int> &labels, bool retainNoise)
{
    const int most = labels.empty() ? -1 : *std::max_element(labels.begin(), labels.end());
    // Noise comes first until all are filled: every label is a place in the list.
    const auto placeOf = [](int label) { return static_cast<std::size_t>(std::ptrdiff_t{label} + 1); };
    Blocks blocks(placeOf(most) + 1);
    std::vector<std::uint32_t> sizes(blocks.size());
    for (const int label : labels)
        ++sizes[placeOf(label)];
    for (std::size_t i = 0; i < blocks.size(); ++i)
        blocks[i].reserve(sizes[i]);
    for (std::size_t i = 0; i < labels.size(); ++i)
        blocks[placeOf(labels[i])].push_back(static_cast<std::uint32_t>(i));

    std::rotate(blocks.begin(), blocks.begin() + 1, blocks.end());
    if (!retainNoise)
        blocks.back().clear();
    std::sort(blocks.begin(), blocks.end() - 1, [](const auto &a, const auto &b) {
        return a.size() != b.size() ? a.size() > b.size() : !a.empty() && a.front() < b.front();
    });
    blocks.erase(std::remove_if(blocks.begin(), blocks.end(), [](const auto &block) { return block.empty(); }),
                 blocks.end());
    return blocks;
}

void writeSplit(const QString &destination, const SourceCloud &cloud, const Blocks &blocks)
{
    const std::size_t count = std::accumulate(blocks.begin(), blocks.end(), std::size_t{0},
                                              [](std::size_t sum, const auto &block) { return sum + block.size(); });
    if (count == 0)
        failForNothing();
    requireMemory(count * bytesOfPoint / 2 + blocks.size() * bytesOfBlock, QStringLiteral("writing the blocks"));
    const QList<EDataSetColumn> columns = columnsOf(cloud.array());
    std::list<stPtCloud_PointArray> arrays;
    std::list<const stPtCloud_PointArray *> pointers;
    for (const std::vector<std::uint32_t> &block : blocks) {
        stPtCloud_PointArray &array = arrays.emplace_back();
        allocate(array, block.size(), columns);
        gather(array, cloud.array(), block);
        pointers.push_back(&array);
    }
    writeFile(destination,
              [&pointers](PtCloud_DataSetFile &file) { return file.makeDataSet_bySplittedPointsArray(pointers); });
}

void writePoints(const QString &destination, const SourceCloud &cloud, const std::vector<std::uint32_t> &indices)
{
    if (indices.empty())
        failForNothing();
    requireMemory(indices.size() * bytesOfPoint, QStringLiteral("writing the points"));
    stPtCloud_PointArray array;
    allocate(array, indices.size(), columnsOf(cloud.array()));
    gather(array, cloud.array(), indices);
    writeArray(destination, array);
}

void writeMesh(const QString &destination, const SourceCloud &cloud, const Mesh &mesh)
{
    if (mesh.triangles.empty())
        throw Failure(ExitCode::Function, QStringLiteral("no triangle came of the points"));
    requireMemory(mesh.vertexCount() * bytesOfPoint + mesh.triangles.size() * 2 * sizeof(stTriangle),
                  QStringLiteral("writing the mesh"));
    stPtCloud_PointArray array;
    fill(array, cloud, mesh, true);
    writeArray(destination, array);
}

void writeVertices(const QString &destination, const SourceCloud &cloud, const Mesh &mesh)
{
    if (mesh.vertexCount() == 0)
        failForNothing();
    requireMemory(mesh.vertexCount() * bytesOfPoint, QStringLiteral("writing the points"));
    stPtCloud_PointArray array;
    fill(array, cloud, mesh, false);
    writeArray(destination, array);
}
