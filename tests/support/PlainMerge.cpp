#include "PlainMerge.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace support
{

namespace
{

using Columns = std::vector<quint32>;

bool isIn(const Columns &columns, quint32 column)
{
    return std::find(columns.begin(), columns.end(), column) != columns.end();
}

/// The columns in common so far. An intersection that became empty counts as none at all.
Columns common(const Columns &columns, const Columns &further)
{
    if (columns.empty())
        return further;
    Columns left;
    std::copy_if(columns.begin(), columns.end(), std::back_inserter(left),
                 [&further](quint32 column) { return isIn(further, column); });
    return left;
}

/// Keys wrap at the end of the integers.
qint32 sum(qint32 a, qint32 b)
{
    return static_cast<qint32>(static_cast<quint32>(a) + static_cast<quint32>(b));
}

qint32 largestKey(const BlockFile &file)
{
    const auto largest = std::max_element(
        file.blocks.begin(), file.blocks.end(),
        [](const BlockFile::Block &left, const BlockFile::Block &right) { return left.key < right.key; });
    return largest == file.blocks.end() ? 0 : largest->key;
}

struct Entry
{
    const BlockFile *file;
    const BlockFile::Block *block;
};

std::optional<std::vector<QByteArray>> runsOf(const Entry &entry, const Columns &columns)
{
    std::vector<QByteArray> runs;
    for (const quint32 column : columns) {
        const Columns &own = entry.file->columns;
        const auto at = std::find(own.begin(), own.end(), column);
        if (at == own.end())
            return std::nullopt;
        runs.push_back(entry.block->columns[static_cast<std::size_t>(at - own.begin())]);
    }
    return runs;
}

} // namespace

std::optional<BlockFile> mergePlainly(const std::vector<BlockFile> &sources)
{
    BlockFile merged;
    merged.sort = 0;
    std::map<qint32, Entry> entries;
    qint32 base = 0;
    for (const BlockFile &source : sources) {
        merged.columns = common(merged.columns, source.columns);
        if (merged.sort == 0)
            merged.sort = source.sort;
        else if (merged.sort != source.sort)
            merged.sort = 0;
        for (const BlockFile::Block &block : source.blocks)
            entries[sum(block.key, base)] = {&source, &block};
        base = sum(base, largestKey(source));
    }

    quint32 total = 0;
    for (const auto &[key, entry] : entries) {
        const auto runs = runsOf(entry, merged.columns);
        if (!runs)
            return std::nullopt;
        merged.blocks.push_back(*entry.block);
        BlockFile::Block &block = merged.blocks.back();
        block.key = key;
        block.columns = *runs;
        for (quint32 &index : block.indices)
            index = total++;
    }
    return merged;
}

} // namespace support
