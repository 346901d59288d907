#pragma once

#include "BorrowedPointArray.h"
#include "LasClassifier.h"
#include "LasRecordReader.h"

#include <cstdlib>
#include <memory>
#include <vector>

namespace ptCloud
{

/// The second pass over LAS files: turns runs of records into whole blocks.
///
/// Blocks are made in batches that fit a bounded piece of memory. For each batch the files are walked once, forward,
/// and every run of the batch is converted to its place; a block at a time would jump through the files once for each
/// block. The points of a block come in the order of the files and of the records all the same.
///
/// A column that a file's format lacks keeps what the same place held in the block before, as if all blocks had been
/// made in one buffer, zero at first.
class LasBlockAssembler
{
public:
    struct Block
    {
        int box;
        unsigned int pointCount;
    };

    /// @param blocks  the boxes that are to become blocks, ascending
    LasBlockAssembler(const LasClassifier &classifier, std::vector<Block> blocks, const QList<EDataSetColumn> &columns);

    /// Plans the batches and gets the memory for them; false where there is not enough.
    bool allocate();

    /// Hands each block to `write(number, array)` in order, number counting from 0. Stops with false when that gives
    /// false. The array is good for the one call.
    template <typename Write>
    bool assemble(Write write)
    {
        for (const Batch &batch : m_batches) {
            fill(batch);
            for (std::size_t i = batch.first; i < batch.end; ++i) {
                if (!write(i, finished(batch, i)))
                    return false;
            }
        }
        return true;
    }

private:
    struct Batch
    {
        std::size_t first; ///< number of the first block
        std::size_t end;   ///< one past the last
    };

    /// A range of a block's points whose file lacks some of the columns.
    struct Gap
    {
        std::size_t block;
        unsigned int first;
        unsigned int count;
        const std::vector<const ColumnTraits *> *lacking;
    };

    struct Free
    {
        void operator()(unsigned char *memory) const { std::free(memory); }
    };

    void sortColumns(const QList<EDataSetColumn> &columns);
    void planBatches(std::size_t budget);
    std::size_t bytesOf(const Block &block) const;
    void fill(const Batch &batch);
    void placeArrays(const Batch &batch);
    void takeRun(const PointRun &run, std::size_t number, std::size_t source, LasRecordReader &reader);
    const stPtCloud_PointArray &finished(const Batch &batch, std::size_t number);

    const LasClassifier &m_classifier;
    std::vector<Block> m_blocks;
    std::vector<std::size_t> m_blockOfBox;
    std::vector<const ColumnTraits *> m_arrays;               ///< indices, marks, and each listed column once
    std::vector<const ColumnTraits *> m_unfilled;             ///< listed columns that no file has
    std::vector<const ColumnTraits *> m_sometimes;            ///< listed columns that some files have and others lack
    std::vector<std::vector<const ColumnTraits *>> m_lacking; ///< of `m_sometimes`, what each source lacks

    std::vector<Batch> m_batches;
    std::unique_ptr<unsigned char, Free> m_memory; ///< the arrays of one batch
    std::vector<BorrowedPointArray> m_batchArrays;
    std::vector<unsigned int> m_filled; ///< points that each block of the batch has so far
    std::vector<Gap> m_gaps;            ///< of the batch, by block
    std::size_t m_nextGap = 0;
    stPtCloud_PointArray m_before; ///< what earlier blocks left in the columns of `m_sometimes`
};

} // namespace ptCloud
