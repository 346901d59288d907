#pragma once

#include "LasFormat.h"
#include "stPtCloud_PointArray.h"

#include <vector>

namespace ptCloud
{

class LasFile;

/// Reads ranges of point records of a loaded file and converts them into columns.
///
/// It reads in larger pieces when ranges follow one another in the file, and keeps the last piece. Making one waits for
/// the file's own read-ahead to be idle; nobody may ask that for records while a reader is at work, since the two share
/// one file position.
class LasRecordReader
{
public:
    explicit LasRecordReader(const LasFile &file);

    /// Whether the file has a point format that can be read.
    bool isValid() const { return m_format != nullptr; }

    /// Converts `count` records from `start` on into `array` from element `target` on.
    ///
    /// The byte distance of the first record is taken in 32 bits and wraps, as is the number of bytes of the range; the
    /// records of one range lie behind one another. What the file does not hold reads as zeros.
    void read(unsigned int start, unsigned int count, const stPtCloud_PointArray &array, unsigned int target);

private:
    const unsigned char *bytesAt(qint64 position, std::size_t wanted, qint64 end);
    void readPiece(qint64 position, std::size_t wanted);

    const LasFile &m_file;
    const LasFormat *m_format;
    std::vector<unsigned char> m_piece;  ///< bytes of the file from `m_pieceStart` on
    std::vector<unsigned char> m_padded; ///< a range that ends beyond the file, filled up with zeros
    qint64 m_pieceStart = 0;
    qint64 m_pieceEnd = 0;
    std::size_t m_readAhead = 0; ///< bytes that the last piece was asked for at least
};

} // namespace ptCloud
