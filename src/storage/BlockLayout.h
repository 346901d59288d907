#pragma once

#include "PtCloud_Types.h"

#include <QList>

namespace ptCloud
{

/// The sizes that the data set file gives to its parts, for one list of columns.
///
/// Made once for a file and then asked for each block, since a damaged file can list very many columns.
class BlockLayout
{
public:
    static constexpr quint32 formatWord = 1;
    static constexpr quint32 unfinishedWord = 0; ///< in its place while a builder is at work
    static constexpr qint64 wordSize = 4;
    static constexpr qint64 firstColumnAt = 3 * wordSize; ///< behind format word, sort and column count
    static constexpr qint64 boxSize = 6 * wordSize;
    static constexpr qint64 recordHeadSize = wordSize + boxSize; ///< key and box, in front of a block's data
    static constexpr qint64 dataHeadSize = 3 * wordSize;         ///< point count, tag, triangle count

    explicit BlockLayout(const QList<EDataSetColumn> &columns);

    /// False if the list holds a column above 18.
    bool isValid() const { return m_isValid; }

    /// Bytes in front of the first block record.
    static qint64 headSize(int columnCount) { return firstColumnAt + wordSize * columnCount + wordSize; }

    /// Bytes of one block's data; the largest `qint64` where the true number is larger.
    qint64 dataSize(unsigned int points, unsigned int triangles) const;

private:
    quint64 m_bytesPerPoint = 0;
    quint64 m_bytesPerTriangle = 0;
    bool m_isValid = true;
};

} // namespace ptCloud
