// A block file beyond 4 GiB: merged, opened, read in boxes at its end, edited and written again, with every value that
// comes back looked at.
//
//   large_blocks DIR COUNT
//
// COUNT is the number of blocks, a million points each, 19 bytes a point.

#include "Growth.h"

#include "PtCloud_DataSetFile.h"
#include "PtCloud_DataSetMemory.h"

#include <QDir>

#include <memory>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr unsigned int pointsOfEach = 1000000;
constexpr int blocksOfEach = 10; ///< of a source

float xOf(int block, unsigned int point)
{
    return static_cast<float>(block * 1000) + static_cast<float>(point % 1000);
}

/// A file of ten blocks, the first of which is number `first` of all.
bool makeSource(PtCloud_DataSetFile &file, int first)
{
    std::vector<std::unique_ptr<stPtCloud_PointArray>> arrays;
    QMap<int, std::tuple<pcBoundingBoxf, const stPtCloud_PointArray *>> blocks;
    for (int i = 0; i < blocksOfEach; ++i) {
        arrays.push_back(std::make_unique<stPtCloud_PointArray>());
        stPtCloud_PointArray &array = *arrays.back();
        if (!array.alloc(pointsOfEach, {EDataSetColumn_Position, EDataSetColumn_Intensity}, false, 0))
            return false;
        for (unsigned int point = 0; point < pointsOfEach; ++point) {
            array.m_position[point].set(xOf(first + i, point), static_cast<float>(point / 1000), 0);
            array.m_intensity[point] = static_cast<unsigned short>(point + static_cast<unsigned int>(first + i));
        }
        const auto x = static_cast<float>((first + i) * 1000);
        blocks.insert(i + 1, {pcBoundingBoxf(x, 0, 0, x + 999, 999, 0), &array});
    }
    return file.makeDataSet_byMemory(EDataSetSort_ByBox, {EDataSetColumn_Position, EDataSetColumn_Intensity}, blocks);
}

bool makeSources(std::vector<PtCloud_DataSetFile> &files, const QDir &root)
{
    for (std::size_t i = 0; i < files.size(); ++i) {
        files[i].setFile(root.absoluteFilePath(QStringLiteral("source%1").arg(i)));
        if (!makeSource(files[i], static_cast<int>(i) * blocksOfEach))
            return false;
    }
    return true;
}

/// Whether a block of the merged file holds what its number tells, from the point `missing` on one point further.
bool isSound(const stPtCloud_PointArray *block, int number, unsigned int firstIndex, unsigned int missing)
{
    if (block == nullptr || block->m_pointCount != (missing < pointsOfEach ? pointsOfEach - 1 : pointsOfEach))
        return false;
    for (unsigned int i = 0; i < block->m_pointCount; ++i) {
        const unsigned int point = i < missing ? i : i + 1;
        if (block->m_pointIndices[i] != firstIndex + i || block->m_position[i].x() != xOf(number, point)
            || block->m_position[i].y() != static_cast<float>(point / 1000)
            || block->m_intensity[i] != static_cast<unsigned short>(point + static_cast<unsigned int>(number)))
            return false;
    }
    return true;
}

/// Reads the blocks that meet a range of x, and looks at each.
bool readBox(PtCloud_DataSetFile &file, float from, float to, int expected)
{
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    int met = 0;
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        if (!std::get<1>(*it).intersects(pcBoundingBoxf(from, 0, 0, to, 1000, 1000)))
            continue;
        const int number = it.key() - 1;
        ++met;
        if (!isSound(file.readBlock(it.key()), number, static_cast<unsigned int>(number) * pointsOfEach, pointsOfEach))
            return false;
    }
    return met == expected;
}

/// Takes one point out of every block and writes the result.
bool edit(PtCloud_DataSetFile &source, PtCloud_DataSetFile &target)
{
    PtCloud_DataSetMemory memory;
    if (!memory.makeFromFile(&source))
        return false;
    source.closeFile();
    for (const auto &block : *memory.getAllBlocksPtr())
        std::get<1>(block)->removePointsByIndies({500});
    return memory.saveToFile(&target);
}

bool isEdited(PtCloud_DataSetFile &file, int count)
{
    if (!file.openFile())
        return false;
    for (int number = 0; number < count; ++number) {
        if (!isSound(file.readBlock(number + 1), number, 0, 500))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "large_blocks DIR COUNT\n");
        return 2;
    }
    const int count = QByteArray(argv[2]).toInt() / blocksOfEach * blocksOfEach;
    const QDir root(QDir(QFile::decodeName(argv[1])).absoluteFilePath(QStringLiteral("large-blocks")));
    root.mkpath(QStringLiteral("."));
    std::vector<PtCloud_DataSetFile> sources(static_cast<std::size_t>(count / blocksOfEach));
    QList<PtCloud_DataSetFile *> list;
    for (PtCloud_DataSetFile &source : sources)
        list.append(&source);
    PtCloud_DataSetFile merged;
    PtCloud_DataSetFile edited;
    merged.setFile(root.absoluteFilePath(QStringLiteral("merged")));
    edited.setFile(root.absoluteFilePath(QStringLiteral("edited")));

    Growth growth(count);
    growth.step("build sources", [&] { return makeSources(sources, root); });
    growth.step("merge", [&] { return merged.makeDataSet_byDataSetFiles(list); });
    for (PtCloud_DataSetFile &source : sources)
        source.removeFile();
    growth.step("open", [&] { return merged.openFile(); });
    growth.step("read the box at the end", [&] {
        return readBox(merged, static_cast<float>(count * 1000) - 1500, static_cast<float>(count * 1000), 2);
    });
    growth.step("read and look at all", [&] { return readBox(merged, 0, static_cast<float>(count * 1000), count); });
    const qint64 last = std::get<0>(merged.getBlockInfos().last());
    growth.step("edit all in memory, save", [&] { return edit(merged, edited); });
    growth.step("read and look at all edited", [&] { return isEdited(edited, count); });
    std::fprintf(stderr, "%d blocks, the last at byte %lld: every point is right\n", count,
                 static_cast<long long>(last));
    edited.closeFile();
    QDir(root).removeRecursively();
    return 0;
}
