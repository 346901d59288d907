#include "Commands.h"

#include "LasFile.h"
#include "PtCloud_DataSetFile.h"
#include "PtCloud_DataSetMemory.h"

#include <QCryptographicHash>

#include <memory>

using namespace ptCloud;

namespace
{

constexpr unsigned int pointCount = 4000;
const QList<EDataSetColumn> someColumns = {EDataSetColumn_Position, EDataSetColumn_Intensity};

/// Points on a slope, some ten thousand units wide: several boxes of a grid.
std::unique_ptr<stPtCloud_PointArray> slope(float start)
{
    auto array = std::make_unique<stPtCloud_PointArray>();
    if (!array->alloc(pointCount, someColumns, false, 0))
        return nullptr;
    for (unsigned int i = 0; i < pointCount; ++i) {
        const auto step = static_cast<float>(i);
        array->m_position[i].set(start + step, step / 2, step / 10);
        array->m_intensity[i] = static_cast<unsigned short>(i);
    }
    return array;
}

/// The file that every builder makes; it stands there already, with something else in it.
std::unique_ptr<PtCloud_DataSetFile> target(const QString &directory)
{
    auto file = std::make_unique<PtCloud_DataSetFile>();
    file->setFile(directory + QLatin1String("/built/target"));
    return file;
}

std::unique_ptr<PtCloud_DataSetFile> source(const QString &directory, const char *name)
{
    auto file = std::make_unique<PtCloud_DataSetFile>();
    file->setFile(directory + QLatin1String("/project/") + QLatin1String(name) + QLatin1String("/Points"));
    return file;
}

QByteArray buildLas(const QString &directory)
{
    LasFile first;
    LasFile second;
    if (!first.load(directory + QLatin1String("/las/b.las"), 1000)
        || !second.load(directory + QLatin1String("/las/a.las"), 1000))
        return "no LAS files";
    const auto file = target(directory);
    arm();
    return toWord(file->makeDataSet_byLasFile({&first, &second}, someColumns));
}

QByteArray buildArray(const QString &directory)
{
    const auto array = slope(0);
    const auto file = target(directory);
    arm();
    return toWord(file->makeDataSet_byPointsArray(*array));
}

QByteArray buildArrays(const QString &directory)
{
    const auto first = slope(0);
    const auto second = slope(20000);
    const auto file = target(directory);
    arm();
    return toWord(file->makeDataSet_byPointsArray(QList<const stPtCloud_PointArray *>{first.get(), second.get()}));
}

QByteArray buildSplitted(const QString &directory)
{
    const auto first = slope(0);
    const auto second = slope(20000);
    const auto file = target(directory);
    arm();
    return toWord(file->makeDataSet_bySplittedPointsArray({first.get(), second.get()}));
}

QByteArray buildMemory(const QString &directory)
{
    PtCloud_DataSetMemory memory;
    const auto points = source(directory, "a");
    if (!memory.makeFromFile(points.get()))
        return "no points";
    const auto file = target(directory);
    arm();
    return toWord(memory.saveToFile(file.get()));
}

QByteArray buildMerge(const QString &directory)
{
    const auto first = source(directory, "a");
    const auto second = source(directory, "b");
    const auto file = target(directory);
    arm();
    return toWord(file->makeDataSet_byDataSetFiles({first.get(), second.get()}));
}

void addBlock(QCryptographicHash &hash, const stPtCloud_PointArray &block)
{
    hash.addData(reinterpret_cast<const char *>(block.m_position),
                 static_cast<int>(block.m_pointCount * sizeof(pcVec3f)));
}

QByteArray readMemory(const QString &directory)
{
    PtCloud_DataSetMemory memory;
    const auto points = source(directory, "a");
    arm();
    const bool done = memory.makeFromFile(points.get());
    QCryptographicHash hash(QCryptographicHash::Md5);
    for (const auto &block : qAsConst(*memory.getAllBlocksPtr()))
        addBlock(hash, *std::get<1>(block));
    return toWord(done) + '|' + QByteArray::number(memory.getAllBlocksPtr()->size()) + ' ' + hash.result().toHex();
}

/// A host that reads on where a block can't be read.
QByteArray readBlocks(const QString &directory)
{
    const auto points = source(directory, "a");
    arm();
    if (!points->openFile())
        return "false";
    QByteArray told = "true";
    const QList<int> keys = points->getBlockInfos().keys();
    for (const int key : keys) {
        const stPtCloud_PointArray *const block = points->readBlock(key);
        QCryptographicHash hash(QCryptographicHash::Md5);
        if (block != nullptr)
            addBlock(hash, *block);
        told += '|' + (block == nullptr ? QByteArray("null") : hash.result().toHex());
    }
    return told;
}

QByteArray readLas(const QString &directory)
{
    LasFile las;
    arm();
    if (!las.load(directory + QLatin1String("/las/a.las"), 1000))
        return "false";
    unsigned int records = 0;
    const stLasRecord_fmt_3 *some = nullptr;
    while (const unsigned int count = las.getPointDatas_fmt_3(records, 300, some))
        records += count;
    return "true|" + QByteArray::number(records);
}

constexpr Command commands[] = {
    {"build-las", buildLas},           {"build-array", buildArray},   {"build-arrays", buildArrays},
    {"build-splitted", buildSplitted}, {"build-memory", buildMemory}, {"build-merge", buildMerge},
    {"read-memory", readMemory},       {"read-blocks", readBlocks},   {"read-las", readLas}};

} // namespace

const Command *findBuilder(const QByteArray &name)
{
    return findIn(commands, name);
}
