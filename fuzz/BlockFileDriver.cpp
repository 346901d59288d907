// A data set file: opened, every block read, taken into memory, edited there, saved and built anew.

#include "BlockFileSeeds.h"
#include "Choices.h"
#include "Driver.h"

#include "DataSetFileTest.h"
#include "PtCloud_DataSetMemory.h"

#include <algorithm>
#include <cstring>
#include <set>

using namespace ptCloud;
using fuzz::check;
using support::BlockFile;

namespace
{

constexpr quint32 columnKinds = 19;

QByteArray pointBytes(const void *elements, const stPtCloud_PointArray &block, unsigned int size)
{
    return elements == nullptr ? QByteArray()
                               : QByteArray(static_cast<const char *>(elements), int(block.m_pointCount * size));
}

/// All that a block holds besides its indices and marks, which builders write over.
struct Contents
{
    explicit Contents(const stPtCloud_PointArray &block)
        : points(block.m_pointCount), tag(block.m_blockTag), triangles(block.m_triangleCount)
    {
        for (quint32 column = 0; column < columnKinds; ++column)
            columns.push_back(support::columnBytes(block, column));
    }
    bool operator==(const Contents &other) const
    {
        return points == other.points && tag == other.tag && triangles == other.triangles && columns == other.columns;
    }

    unsigned int points;
    int tag;
    unsigned int triangles;
    std::vector<QByteArray> columns;
};

bool isSameBox(const pcBoundingBoxf &a, const pcBoundingBoxf &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0; // not a number is the same as itself here
}

/// The block against the bytes that stand in the file from `offset` on.
void checkBlock(const QByteArray &input, qint64 offset, const QList<EDataSetColumn> &columns,
                const stPtCloud_PointArray &block)
{
    check(block.m_pointCount == support::get<quint32>(input, offset), "a block has the points that the file tells");
    check(block.m_blockTag == support::get<qint32>(input, offset + 4), "a block has the tag that the file tells");
    check(block.m_triangleCount == support::get<quint32>(input, offset + 8), "and the triangles");
    int at = static_cast<int>(offset) + 12;
    const auto next = [&](quint32 count, quint32 size) {
        const QByteArray run = input.mid(at, static_cast<int>(count * size));
        at += run.size();
        return run;
    };
    check(pointBytes(block.m_pointIndices, block, 4) == next(block.m_pointCount, 4), "indices are the file's");
    check(pointBytes(block.m_pointMarks, block, 1) == next(block.m_pointCount, 1), "marks are the file's");
    std::vector<QByteArray> runs(columnKinds);
    for (const EDataSetColumn listed : columns) {
        const auto column = static_cast<quint32>(listed);
        const quint32 count = BlockFile::countsTriangles(column) ? block.m_triangleCount : block.m_pointCount;
        runs[column] = next(count, static_cast<quint32>(BlockFile::elementSize(column)));
    }
    for (quint32 column = 0; column < columnKinds; ++column)
        check(support::columnBytes(block, column) == runs[column], "a column is its last run");
}

/// Reads every block twice. Answers whether all could be read.
bool checkBlocks(PtCloud_DataSetFile &file, const QByteArray &input)
{
    const auto infos = file.getBlockInfos();
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    file.getBlocks(blocks);
    check(blocks.keys() == infos.keys(), "both lists of blocks have the same keys");

    bool allRead = true;
    for (auto it = infos.cbegin(); it != infos.cend(); ++it) {
        const auto &[offset, points, box] = *it;
        check(std::get<0>(blocks[it.key()]) == points && isSameBox(std::get<1>(blocks[it.key()]), box),
              "both lists of blocks tell the same");
        const stPtCloud_PointArray *block = file.readBlock(it.key());
        allRead = allRead && block != nullptr;
        if (block == nullptr)
            continue;
        checkBlock(input, offset, file.getColumns(), *block);
        const Contents contents(*block);
        check(file.readBlock(it.key()) != nullptr && Contents(*block) == contents, "a second read yields the same");
    }
    // A listed column of triangles, and nowhere a triangle.
    check(allRead || file.getColumns().contains(EDataSetColumn_Triangle), "a block that fits the file is read");
    return allRead;
}

float toFloat(fuzz::Choices &choices)
{
    // Mostly where the points of the seeds are.
    if (choices.byte() % 4 != 0)
        return static_cast<float>(choices.byte()) / 4.0F;
    const quint32 word = choices.word();
    float value = 0.0F;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

pcBoundingBoxf toBox(fuzz::Choices &choices)
{
    float edges[6];
    for (float &edge : edges)
        edge = toFloat(choices);
    return {edges[0], edges[1], edges[2], edges[3], edges[4], edges[5]};
}

pcBoundingSpheref toSphere(fuzz::Choices &choices)
{
    const float x = toFloat(choices);
    const float y = toFloat(choices);
    const float z = toFloat(choices);
    return {{x, y, z}, toFloat(choices)};
}

void removeByIndex(stPtCloud_PointArray &block, fuzz::Choices &choices)
{
    std::set<unsigned int> indices;
    for (int count = choices.byte() % 8; count != 0; --count)
        indices.insert(choices.byte() % 4 == 0 ? choices.word() : choices.below(block.m_pointCount + 1));
    const auto inside =
        static_cast<unsigned int>(std::distance(indices.begin(), indices.lower_bound(block.m_pointCount)));
    const unsigned int before = block.m_pointCount;
    block.removePointsByIndies(indices);
    check(block.m_pointCount == before - inside, "exactly the points of the indices go");
}

void edit(stPtCloud_PointArray &block, fuzz::Choices &choices)
{
    const unsigned int before = block.m_pointCount;
    switch (choices.byte() % 7) {
    case 0:
        block.removeInnerByBox(toBox(choices));
        break;
    case 1:
        block.removeOutterByBox(toBox(choices));
        break;
    case 2:
        block.removeInnerBySphere(toSphere(choices));
        break;
    case 3:
        block.removeOutterBySphere(toSphere(choices));
        break;
    case 4:
        removeByIndex(block, choices);
        break;
    case 5: {
        QSet<unsigned int> marked;
        block.markPoints({choices.word(), choices.byte(), 0});
        block.markPoint(choices.byte(), true);
        block.removeAllMarks(marked);
        for (const unsigned int index : qAsConst(marked))
            check(index < before, "a mark is a point's");
        break;
    }
    default: {
        QMap<EDataSetColumn, QVariant> values;
        const unsigned int index = choices.byte();
        check(block.getPeace(index, values) == (block.m_position != nullptr && index <= before),
              "the values of a point are there for every point");
        break;
    }
    }
    check(block.m_pointCount <= before, "an edit makes no points");
}

/// Whether two readers show the same blocks.
void checkSame(IDataSetReader &a, IDataSetReader &b)
{
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocksOfA;
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocksOfB;
    a.getBlocks(blocksOfA);
    b.getBlocks(blocksOfB);
    check(blocksOfA.keys() == blocksOfB.keys(), "the same keys");
    check(blocksOfA.isEmpty() || a.getSortType() == b.getSortType(), "the same sort");
    for (auto it = blocksOfA.cbegin(); it != blocksOfA.cend(); ++it) {
        check(isSameBox(std::get<1>(*it), std::get<1>(blocksOfB[it.key()])), "the same box");
        const stPtCloud_PointArray *blockOfA = a.readBlock(it.key());
        const stPtCloud_PointArray *blockOfB = b.readBlock(it.key());
        check(blockOfA != nullptr && blockOfB != nullptr && Contents(*blockOfA) == Contents(*blockOfB),
              "the same points");
    }
}

void checkSave(PtCloud_DataSetMemory &memory, const QList<EDataSetColumn> &columns)
{
    PtCloud_DataSetFile saved;
    saved.setFile(fuzz::scratchDirectory() + QStringLiteral("/saved"));
    if (!memory.saveToFile(&saved)) {
        check(memory.getAllBlocksPtr()->isEmpty() || !columns.contains(EDataSetColumn_Position)
                  || columns.contains(EDataSetColumn_Triangle),
              "what was read can be saved");
        return;
    }
    check(saved.openFile(), "what was saved can be opened");
    check(saved.getColumns() == columns, "what was saved has the columns");
    // Of triangles that all went in an edit the file is written and no block is read: nothing to compare then.
    const bool isReadable =
        !columns.contains(EDataSetColumn_Triangle) || saved.readBlock(saved.getBlockInfos().firstKey()) != nullptr;
    if (isReadable)
        checkSame(memory, saved);
}

/// Grids over whatever stands for positions, and a merge.
void buildAnew(PtCloud_DataSetFile &file, PtCloud_DataSetMemory &memory, fuzz::Choices &choices)
{
    PtCloud_DataSetFile built;
    built.setFile(fuzz::scratchDirectory() + QStringLiteral("/built"));
    QList<const stPtCloud_PointArray *> arrays;
    for (const auto &block : *memory.getAllBlocksPtr())
        arrays.append(std::get<1>(block));
    bool isDone = false;
    switch (choices.byte() % 4) {
    case 0:
        isDone = !arrays.isEmpty() && built.makeDataSet_byPointsArray(*arrays.first());
        break;
    case 1:
        isDone = built.makeDataSet_byPointsArray(arrays);
        break;
    case 2:
        // Told: arrays with triangles do not belong there.
        if (!file.getColumns().contains(EDataSetColumn_Triangle))
            isDone = built.makeDataSet_bySplittedPointsArray({arrays.cbegin(), arrays.cend()});
        break;
    default:
        isDone = built.makeDataSet_byDataSetFiles({&file, &file});
        break;
    }
    if (isDone)
        check(built.openFile(), "what was built can be opened");
}

void run(PtCloud_DataSetFile &file, const QByteArray &input)
{
    fuzz::Choices choices(input);
    const bool allRead = checkBlocks(file, input);
    PtCloud_DataSetMemory memory;
    check(memory.makeFromFile(&file) == allRead, "a file whose blocks can all be read goes into memory");
    if (!allRead)
        return;
    checkSame(file, memory);
    const PtCloud_DataSetMemory copy(memory);
    for (int edits = choices.byte() % 8; edits != 0 && !memory.getAllBlocksPtr()->isEmpty(); --edits) {
        const QList<int> keys = memory.getAllBlocksPtr()->keys();
        edit(*std::get<1>((*memory.getAllBlocksPtr())[keys.at(choices.byte() % keys.size())]), choices);
    }
    checkSave(memory, file.getColumns());
    buildAnew(file, memory, choices);
}

bool runInput(const QByteArray &input)
{
    const QString path = fuzz::scratchFile(QStringLiteral("Points"), input);
    PtCloud_DataSetFile file;
    check(file.setFile(path), "a plain file is taken");
    const bool isOpen = file.openFile();
    check(isOpen == file.isOpened(), "a refused file is closed");
    if (isOpen)
        run(file, input);
    else
        check(file.getColumns().isEmpty() && file.getBlockInfos().isEmpty(), "a refused file shows nothing");
    check(support::readFile(path) == input, "reading leaves the file as it is");
    return isOpen;
}

const fuzz::Driver driver("BlockFile", runInput, fuzz::blockFileSeeds);

} // namespace
