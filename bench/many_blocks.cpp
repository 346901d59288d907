// What a file costs by the number of its blocks: every builder from memory, opening, reading, editing and merging.
//
//   many_blocks DIR COUNT

#include "Growth.h"

#include "PtCloud_DataSetFile.h"
#include "PtCloud_DataSetMemory.h"

#include <QDir>

#include <memory>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr unsigned int pointsOfEach = 20;
constexpr int side = 100; ///< blocks on each axis
constexpr float edge = 1000.0F;

using Arrays = std::vector<std::unique_ptr<stPtCloud_PointArray>>;
using Blocks = QMap<int, std::tuple<pcBoundingBoxf, const stPtCloud_PointArray *>>;

/// Small clusters far from each other, as one array each.
Arrays makeArrays(int count)
{
    Arrays arrays;
    for (int number = 0; number < count; ++number) {
        arrays.push_back(std::make_unique<stPtCloud_PointArray>());
        stPtCloud_PointArray &array = *arrays.back();
        if (!array.alloc(pointsOfEach, {EDataSetColumn_Position, EDataSetColumn_Intensity}, false, 0))
            std::abort();
        for (unsigned int i = 0; i < pointsOfEach; ++i) {
            array.m_position[i].set(edge * static_cast<float>(number % side) + static_cast<float>(i),
                                    edge * static_cast<float>(number / side % side),
                                    edge * static_cast<float>(number / side / side));
        }
    }
    return arrays;
}

pcBoundingBoxf boxOf(const stPtCloud_PointArray &array)
{
    pcBoundingBoxf box;
    for (unsigned int i = 0; i < array.m_pointCount; ++i)
        box.expandBy(array.m_position[i]);
    return box;
}

/// Reads the blocks that meet a tenth of the extent on each axis, or all of them; whether there were some.
bool read(PtCloud_DataSetFile &file, float share)
{
    const pcBoundingBoxf wanted(-1, -1, -1, share * edge * side, share * edge * side, share * edge * side);
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    int met = 0;
    for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
        if (!std::get<1>(*it).intersects(wanted))
            continue;
        if (file.readBlock(it.key()) == nullptr)
            return false;
        ++met;
    }
    return met != 0;
}

bool edit(PtCloud_DataSetFile &source, PtCloud_DataSetFile &target)
{
    PtCloud_DataSetMemory memory;
    if (!memory.makeFromFile(&source))
        return false;
    for (const auto &block : *memory.getAllBlocksPtr())
        std::get<1>(block)->removePointsByIndies({0});
    return memory.saveToFile(&target);
}

void set(PtCloud_DataSetFile &file, const QDir &root, const char *name)
{
    file.setFile(root.absoluteFilePath(QLatin1String(name)));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "many_blocks DIR COUNT\n");
        return 2;
    }
    const int count = QByteArray(argv[2]).toInt();
    const QDir root(QDir(QFile::decodeName(argv[1])).absoluteFilePath(QStringLiteral("blocks")));
    root.mkpath(QStringLiteral("."));
    const Arrays arrays = makeArrays(count);
    std::list<const stPtCloud_PointArray *> splits;
    QList<const stPtCloud_PointArray *> list;
    Blocks blocks;
    for (const auto &array : arrays) {
        splits.push_back(array.get());
        list.append(array.get());
        blocks.insert(list.size(), {boxOf(*array), array.get()});
    }
    PtCloud_DataSetFile file;
    PtCloud_DataSetFile other;
    PtCloud_DataSetFile merged;
    set(file, root, "file");
    set(other, root, "other");
    set(merged, root, "merged");

    Growth growth(count);
    growth.step("build, a grid for each array", [&] { return other.makeDataSet_byPointsArray(list); });
    growth.step("build, a block for each array", [&] { return other.makeDataSet_bySplittedPointsArray(splits); });
    growth.step("build from blocks", [&] {
        return file.makeDataSet_byMemory(EDataSetSort_ByBox, {EDataSetColumn_Position, EDataSetColumn_Intensity},
                                         blocks);
    });
    growth.step("open", [&] { return file.openFile(); });
    growth.step("read a box", [&] { return read(file, 0.1F); });
    growth.step("read all", [&] { return read(file, 2.0F); });
    growth.step("edit all in memory, save", [&] { return edit(file, other); });
    growth.step("merge two", [&] { return merged.makeDataSet_byDataSetFiles({&file, &other}); });
    file.closeFile();
    other.closeFile();
    QDir(root).removeRecursively();
    return 0;
}
