#include "LasRecordReader.h"

#include "FileSeekBuf.h"
#include "LasFile.h"
#include "LasPointConversion.h"

#include <algorithm>
#include <cstring>

namespace ptCloud
{

namespace
{

constexpr std::size_t smallestPiece = 4U * 1024U;
constexpr std::size_t largestPiece = 256U * 1024U; // stays in a core's own cache while it is converted
constexpr auto recordsAtOnce = static_cast<unsigned int>(largestPiece / sizeof(stLasRecord_fmt_5));

} // namespace

LasRecordReader::LasRecordReader(const LasFile &file) : m_file(file), m_format(findLasFormat(file.getFormat()))
{
    if (file.m_fileSeekBuf)
        file.m_fileSeekBuf->waitForIdle();
}

void LasRecordReader::read(unsigned int start, unsigned int count, const stPtCloud_PointArray &array,
                           unsigned int target)
{
    const unsigned int size = m_format->recordSize;
    qint64 position = static_cast<qint64>(m_file.offsetToPointData()) + start * size;
    const qint64 end = position + count * size;
    while (count != 0) {
        const unsigned int n = std::min(count, recordsAtOnce);
        const std::size_t bytes = static_cast<std::size_t>(n) * size;
        convertLasRecords(*m_format, m_file.m_isColor256, bytesAt(position, bytes, end), n, array, target);
        position += static_cast<qint64>(bytes);
        target += n;
        count -= n;
    }
}

/// `wanted` bytes from `position` on, those from `end` on as zeros.
const unsigned char *LasRecordReader::bytesAt(qint64 position, std::size_t wanted, qint64 end)
{
    const qint64 last = std::min(position + static_cast<qint64>(wanted), end);
    if (position < last && (position < m_pieceStart || last > m_pieceEnd))
        readPiece(position, wanted);

    const qint64 available = std::min(last, m_pieceEnd) - position;
    if (available == static_cast<qint64>(wanted))
        return m_piece.data() + (position - m_pieceStart);
    m_padded.assign(wanted, 0);
    if (available > 0)
        std::memcpy(m_padded.data(), m_piece.data() + (position - m_pieceStart), static_cast<std::size_t>(available));
    return m_padded.data();
}

void LasRecordReader::readPiece(qint64 position, std::size_t wanted)
{
    const bool goesOn = position >= m_pieceStart && position <= m_pieceEnd + static_cast<qint64>(m_readAhead);
    m_readAhead = goesOn ? std::clamp(2 * m_readAhead, smallestPiece, largestPiece) : smallestPiece;
    m_piece.resize(std::max(wanted, m_readAhead));

    // The device is shared, and moving it is no change of the file that the caller holds.
    auto &device = const_cast<LasFile &>(m_file);
    qint64 bytes = 0;
    if (device.seek(position))
        bytes = device.read(reinterpret_cast<char *>(m_piece.data()), static_cast<qint64>(m_piece.size()));
    m_pieceStart = position;
    m_pieceEnd = position + std::max<qint64>(bytes, 0);
}

} // namespace ptCloud
