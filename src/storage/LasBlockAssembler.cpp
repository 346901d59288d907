#include "LasBlockAssembler.h"

#include <algorithm>
#include <cstring>

namespace ptCloud
{

namespace
{

// Every array of a batch begins on such a boundary, which suits all element types.
constexpr std::size_t alignment = 16;

constexpr std::size_t smallestBudget = 32U * 1024U * 1024U;
// Where runs are short, each batch walks all of the files. With so much more memory for each run their number stays
// bounded, and the time grows with the number of points and no faster.
constexpr std::size_t budgetPerRun = 8;

std::size_t arrayBytes(const ColumnTraits &traits, unsigned int points)
{
    return static_cast<std::size_t>(points) * traits.elementSize;
}

std::size_t aligned(std::size_t bytes)
{
    return (bytes + alignment - 1) / alignment * alignment;
}

unsigned char *elementAt(const stPtCloud_PointArray &array, const ColumnTraits &traits, unsigned int index)
{
    return static_cast<unsigned char *>(traits.get(array)) + arrayBytes(traits, index);
}

} // namespace

LasBlockAssembler::LasBlockAssembler(const LasClassifier &classifier, std::vector<Block> blocks,
                                     const QList<EDataSetColumn> &columns)
    : m_classifier(classifier), m_blocks(std::move(blocks)),
      m_blockOfBox(static_cast<std::size_t>(classifier.grid().boxCount()), 0)
{
    for (std::size_t i = 0; i < m_blocks.size(); ++i)
        m_blockOfBox[static_cast<std::size_t>(m_blocks[i].box)] = i;
    for (const ColumnTraits &traits : unlistedArrays)
        m_arrays.push_back(&traits);
    sortColumns(columns);
}

void LasBlockAssembler::sortColumns(const QList<EDataSetColumn> &columns)
{
    m_lacking.resize(m_classifier.sources().size());
    for (const ColumnTraits &traits : columnArrays) {
        if (!columns.contains(traits.column))
            continue;
        m_arrays.push_back(&traits);
        bool isThere = false;
        std::vector<std::size_t> lackedBy;
        for (std::size_t i = 0; i < m_lacking.size(); ++i) {
            const LasClassifier::Source &source = m_classifier.sources()[i];
            if (source.runs.size() == 0)
                continue;
            if (lasColumns(*source.format).contains(traits.column))
                isThere = true;
            else
                lackedBy.push_back(i);
        }
        if (!isThere) {
            m_unfilled.push_back(&traits);
        } else if (!lackedBy.empty()) {
            m_sometimes.push_back(&traits);
            for (const std::size_t i : lackedBy)
                m_lacking[i].push_back(&traits);
        }
    }
}

bool LasBlockAssembler::allocate()
{
    quint64 runs = 0;
    for (const LasClassifier::Source &source : m_classifier.sources())
        runs += source.runs.size();
    planBatches(smallestBudget + budgetPerRun * static_cast<std::size_t>(runs));

    std::size_t largest = 1;
    for (const Batch &batch : m_batches) {
        std::size_t bytes = 0;
        for (std::size_t i = batch.first; i < batch.end; ++i)
            bytes += bytesOf(m_blocks[i]);
        largest = std::max(largest, bytes);
    }
    m_memory.reset(static_cast<unsigned char *>(std::malloc(largest)));
    if (m_memory == nullptr)
        return false;

    if (m_sometimes.empty())
        return true;
    unsigned int mostPoints = 0;
    for (const Block &block : m_blocks)
        mostPoints = std::max(mostPoints, block.pointCount);
    QList<EDataSetColumn> columns;
    for (const ColumnTraits *traits : m_sometimes)
        columns.append(traits->column);
    return m_before.alloc(mostPoints, columns, false, 0);
}

std::size_t LasBlockAssembler::bytesOf(const Block &block) const
{
    std::size_t bytes = 0;
    for (const ColumnTraits *traits : m_arrays)
        bytes += aligned(arrayBytes(*traits, block.pointCount));
    return bytes;
}

void LasBlockAssembler::planBatches(std::size_t budget)
{
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < m_blocks.size(); ++i) {
        const std::size_t more = bytesOf(m_blocks[i]);
        if (m_batches.empty() || more > budget || bytes > budget - more) {
            m_batches.push_back({i, i});
            bytes = 0;
        }
        m_batches.back().end = i + 1;
        bytes += more;
    }
}

void LasBlockAssembler::fill(const Batch &batch)
{
    placeArrays(batch);
    m_filled.assign(batch.end - batch.first, 0);
    m_gaps.clear();
    m_nextGap = 0;
    const int firstBox = m_blocks[batch.first].box;
    const int lastBox = m_blocks[batch.end - 1].box;
    for (std::size_t i = 0; i < m_classifier.sources().size(); ++i) {
        const LasClassifier::Source &source = m_classifier.sources()[i];
        LasRecordReader reader(*source.file);
        source.runs.walk(firstBox, lastBox, [&](const PointRun &run) {
            takeRun(run, m_blockOfBox[static_cast<std::size_t>(run.box)] - batch.first, i, reader);
        });
    }
    std::stable_sort(m_gaps.begin(), m_gaps.end(), [](const Gap &a, const Gap &b) { return a.block < b.block; });
}

/// Lays the arrays of a batch's blocks into its memory and clears what no record will fill.
void LasBlockAssembler::placeArrays(const Batch &batch)
{
    m_batchArrays = std::vector<BorrowedPointArray>(batch.end - batch.first);
    unsigned char *at = m_memory.get();
    for (std::size_t i = batch.first; i < batch.end; ++i) {
        BorrowedPointArray &array = m_batchArrays[i - batch.first];
        array.m_pointCount = m_blocks[i].pointCount;
        for (const ColumnTraits *traits : m_arrays) {
            traits->set(array, at);
            at += aligned(arrayBytes(*traits, array.m_pointCount));
        }
        std::memset(array.m_pointMarks, 0, array.m_pointCount);
        for (const ColumnTraits *traits : m_unfilled)
            std::memset(traits->get(array), 0, arrayBytes(*traits, array.m_pointCount));
    }
}

void LasBlockAssembler::takeRun(const PointRun &run, std::size_t number, std::size_t source, LasRecordReader &reader)
{
    const BorrowedPointArray &array = m_batchArrays[number];
    unsigned int &filled = m_filled[number];
    for (unsigned int i = 0; i < run.count; ++i)
        array.m_pointIndices[filled + i] = i;
    reader.read(run.first, run.count, array, filled);
    if (!m_lacking[source].empty())
        m_gaps.push_back({number, filled, run.count, &m_lacking[source]});
    filled += run.count;
}

const stPtCloud_PointArray &LasBlockAssembler::finished(const Batch &batch, std::size_t number)
{
    const std::size_t inBatch = number - batch.first;
    const BorrowedPointArray &array = m_batchArrays[inBatch];
    for (; m_nextGap < m_gaps.size() && m_gaps[m_nextGap].block == inBatch; ++m_nextGap) {
        const Gap &gap = m_gaps[m_nextGap];
        for (const ColumnTraits *traits : *gap.lacking)
            std::memcpy(elementAt(array, *traits, gap.first), elementAt(m_before, *traits, gap.first),
                        arrayBytes(*traits, gap.count));
    }
    for (const ColumnTraits *traits : m_sometimes)
        std::memcpy(traits->get(m_before), traits->get(array), arrayBytes(*traits, array.m_pointCount));
    return array;
}

} // namespace ptCloud
