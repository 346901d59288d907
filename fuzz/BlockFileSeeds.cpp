#include "BlockFileSeeds.h"

#include "BlockFile.h"
#include "Bytes.h"

#include <numeric>

namespace fuzz
{

namespace
{

using support::BlockFile;

/// Puts the points of a block on a lattice of 2 in its box, from the corner on.
void spread(BlockFile::Block &block, float corner)
{
    QByteArray &positions = block.columns.front();
    for (quint32 i = 0; i < block.points; ++i) {
        const float place[] = {corner + static_cast<float>(i % 4) * 2.0F, corner + static_cast<float>(i / 4) * 2.0F,
                               static_cast<float>(i) / 8.0F};
        for (int axis = 0; axis < 3; ++axis)
            support::putAt(positions, static_cast<int>(i) * 12 + axis * 4, place[axis]);
    }
    const float box[] = {corner, corner, 0.0F, corner + 8.0F, corner + 8.0F, 8.0F};
    std::copy(std::begin(box), std::end(box), std::begin(block.box));
}

/// Triangles between points that follow on one another.
void join(QByteArray &triangles)
{
    for (int corner = 0; corner * 4 < triangles.size(); ++corner)
        support::putAt(triangles, corner * 4, static_cast<quint32>(corner / 3 + corner % 3));
}

struct Counts
{
    quint32 points;
    quint32 triangles;
};

QByteArray bytesOf(std::vector<quint32> columns, quint32 sort, const std::vector<Counts> &blocks)
{
    BlockFile file;
    file.sort = sort;
    file.columns = std::move(columns);
    qint32 key = 0;
    for (const Counts &counts : blocks) {
        BlockFile::Block block = file.makeBlock(++key, counts.points, counts.triangles);
        if (file.columns.front() == 0)
            spread(block, static_cast<float>(key) * 8.0F);
        for (std::size_t i = 0; i < file.columns.size(); ++i) {
            if (BlockFile::countsTriangles(file.columns[i]))
                join(block.columns[i]);
        }
        file.blocks.push_back(block);
    }
    return file.bytes();
}

} // namespace

std::vector<Seed> blockFileSeeds()
{
    std::vector<quint32> points = {0, 1, 3};
    std::vector<quint32> all(19);
    std::iota(all.begin(), all.end(), 0U);
    std::vector<quint32> las(all.begin() + 3, all.end());
    las.insert(las.begin(), 0);
    return {{"empty", bytesOf({0}, 0, {})},
            {"positions", bytesOf({0}, 0, {{3, 0}})},
            {"sortedByBox", bytesOf(points, 1, {{6, 0}, {1, 0}, {0, 0}, {9, 0}})},
            {"sortedByArray", bytesOf(las, 2, {{4, 0}, {5, 0}})},
            {"mesh", bytesOf({0, 1, 2}, 1, {{8, 6}})},
            {"allColumns", bytesOf(all, 1, {{5, 3}, {4, 0}})},
            {"columnTwice", bytesOf({0, 4, 4, 0}, 1, {{3, 0}, {2, 0}})},
            {"trianglesWithoutColumn", bytesOf({0}, 1, {{3, 7}})},
            {"trianglesWithoutOne", bytesOf({0, 2}, 1, {{3, 0}})},
            {"withoutPositions", bytesOf({4, 9}, 1, {{3, 0}})}};
}

} // namespace fuzz
