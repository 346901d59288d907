#pragma once

#include "PtCloud_Types.h"
#include "pcBoundingVolume.h"
#include "stPtCloud_PointArray.h"

#include <QMap>

#include <tuple>

namespace ptCloud
{

/// A data set as a set of keyed blocks of points, wherever they lie.
///
///     reader->openFile();
///     QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
///     reader->getBlocks(blocks);
///     for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
///         if (std::get<1>(*it).intersects(region))
///             use(reader->readBlock(it.key()));
///     }
///     reader->closeFile();
///
/// One thread at a time; two readers of one file are two objects.
class POINTS_CLOUD_EXPORT IDataSetReader
{
public:
    IDataSetReader() = default;
    virtual ~IDataSetReader();

    /// Enters the point count and the box of each block under its key. Other entries of the map stay. The box is the
    /// block's cell in position coordinates, not the tight bounds of its points.
    virtual void getBlocks(QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> &blocks) const = 0;

    /// The points of one block; null if there is no such block, or it can't be read. The reader keeps ownership, and
    /// the pointer is good until the next call of `readBlock` or `closeFile`.
    virtual const stPtCloud_PointArray *readBlock(int key) = 0;

    virtual bool openFile() = 0;
    virtual void closeFile() = 0;

    /// `EDataSetSort_None` while closed.
    virtual EDataSetSort getSortType() = 0;
    virtual EDataSetType getDataSetType() = 0;

private:
    Q_DISABLE_COPY(IDataSetReader)
};

} // namespace ptCloud
