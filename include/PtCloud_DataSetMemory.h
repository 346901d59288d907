#pragma once

#include "IDataSetReader.h"

#include <QList>

#include <memory>
#include <vector>

namespace ptCloud
{

class PtCloud_DataSetFile;

/// A data set whose blocks all lie in memory, for a host that edits points and writes the result back.
///
///     PtCloud_DataSetMemory memory;
///     if (!memory.makeFromFile(&file))
///         return;
///     for (auto &block : *memory.getAllBlocksPtr())
///         std::get<1>(block)->removeInnerBySphere(boulder);
///     memory.saveToFile(&other);
///
/// It is always readable; opening and closing do nothing, and a block stays good as long as the object keeps it. The
/// object owns the arrays in its map. Copies of it show the same arrays, not copies of them: an array is released with
/// the last object whose map holds it. What a host takes out of a map is the host's, and an array that it puts in must
/// have come from `new`. Not for two threads at once, copies of it included.
class POINTS_CLOUD_EXPORT PtCloud_DataSetMemory : public IDataSetReader
{
public:
    using BlockMap = QMap<int, std::tuple<pcBoundingBoxf, stPtCloud_PointArray *>>;

    PtCloud_DataSetMemory();
    ~PtCloud_DataSetMemory() override;
    PtCloud_DataSetMemory(const PtCloud_DataSetMemory &other);
    /// The arrays that this object held before are released with it, not at once.
    PtCloud_DataSetMemory &operator=(const PtCloud_DataSetMemory &other);

    void getBlocks(QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> &blocks) const override;
    const stPtCloud_PointArray *readBlock(int key) override;
    bool openFile() override { return true; }
    void closeFile() override {}
    EDataSetSort getSortType() override { return m_sortType; }
    EDataSetType getDataSetType() override { return EDataSetType_Memory; }

    /// Takes a copy of every block of the file, which stays open; sort and columns come from it if it has a block.
    /// Blocks under other keys stay, and a replaced array is released with the object. False with nothing changed if
    /// the file can't be opened; false with **nothing left** if a block can't be read or memory is short.
    bool makeFromFile(PtCloud_DataSetFile *file);

    /// Writes all blocks into the file, as `PtCloud_DataSetFile::makeDataSet_byMemory` does: the indices and marks of
    /// the blocks are written over, and an object without blocks leaves an emptied file and the answer false.
    bool saveToFile(PtCloud_DataSetFile *file);

    /// The blocks, to be edited, added and replaced.
    BlockMap *getAllBlocksPtr() { return &m_blocks; }

private:
    struct Family;

    void clear();
    void join(const PtCloud_DataSetMemory &other);
    void park(const BlockMap &blocks);
    bool takeBlocks(PtCloud_DataSetFile &file);
    stPtCloud_PointArray *arrayAt(int key) const;

    EDataSetSort m_sortType = EDataSetSort_None;
    QList<EDataSetColumn> m_columns;
    BlockMap m_blocks;
    std::vector<stPtCloud_PointArray *> m_parked; ///< replaced, and released with the object
    std::shared_ptr<Family> m_family;             ///< all that may hold the same arrays
};

} // namespace ptCloud
