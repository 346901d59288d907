#include "LasFile.h"

#include "BorrowedPointArray.h"
#include "FileSeekBuf.h"
#include "LasFormat.h"
#include "LasRecordReader.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <exception>
#include <limits>

namespace ptCloud
{

namespace
{

/// Reads one whole packed record; false where the file ends within it.
template <typename Record>
bool readRecord(QFile &file, Record &record)
{
    return file.read(reinterpret_cast<char *>(&record), sizeof record) == static_cast<qint64>(sizeof record);
}

template <typename Head>
std::unique_ptr<Head> readHead(QFile &file)
{
    auto head = std::make_unique<Head>();
    if (!readRecord(file, *head))
        head.reset();
    return head;
}

} // namespace

LasFile::LasFile() = default;

LasFile::~LasFile()
{
    clear();
}

bool LasFile::load(const QString &path, unsigned int bufSize)
{
    // A host may have closed the device itself; the read-ahead of the earlier file must not outlive it.
    if (isOpen() || m_fileSeekBuf)
        clear();
    setFileName(path);
    // Opening a pipe or a device could block for ever.
    if (!QFileInfo(path).isFile())
        return false;
    // Headers are read whole and points in large pieces: a buffer in between would only be filled and thrown away.
    if (!open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    if (!readHeader() || !startReadAhead(bufSize)) {
        clear();
        return false;
    }
    return true;
}

bool LasFile::readHeader()
{
    if (!readRecord(*this, m_headDesc) || m_headDesc.versionMajor != 1)
        return false;
    if (m_headDesc.versionMinor == 2)
        m_head_ver_1_2 = readHead<stLasFileHead_ver_1_2>(*this);
    else if (m_headDesc.versionMinor == 3)
        m_head_ver_1_3 = readHead<stLasFileHead_ver_1_3>(*this);
    if (m_head_ver_1_2 == nullptr && m_head_ver_1_3 == nullptr)
        return false;

    if (!readVariableLengthHeads(getNumberOfVariableLengthRecords()))
        return false;
    if (static_cast<qint64>(offsetToPointData()) >= size() || findLasFormat(getPointDataFormat()) == nullptr)
        return false;
    m_format = getPointDataFormat();
    m_isColor256 = checkIsColor256();
    return true;
}

bool LasFile::readVariableLengthHeads(quint32 count)
{
    // Where the file can't hold what the header announces, the load fails in the end. Some heads are kept even then,
    // but not as many as a damaged count and a large file would yield.
    constexpr quint32 mostOfAFailedLoad = 1000000;
    const qint64 held = (size() - pos()) / static_cast<qint64>(sizeof(stLasFileVariableLengthHead));
    const quint32 limit = held < static_cast<qint64>(count) ? std::min(count, mostOfAFailedLoad) : count;

    std::array<stLasFileVariableLengthHead, 1024> heads;
    constexpr qint64 headSize = sizeof(stLasFileVariableLengthHead);
    for (quint32 done = 0; done < limit;) {
        const auto wanted = std::min<qint64>(limit - done, static_cast<qint64>(heads.size()));
        const qint64 bytes = read(reinterpret_cast<char *>(heads.data()), wanted * headSize);
        const qint64 complete = std::max<qint64>(bytes, 0) / headSize;
        m_variableLenHeads.insert(m_variableLenHeads.end(), heads.begin(), heads.begin() + complete);
        if (complete < wanted)
            return false;
        done += static_cast<quint32>(complete);
    }
    return limit == count;
}

bool LasFile::startReadAhead(unsigned int bufSize)
{
    const unsigned int recordSize = findLasFormat(m_format)->recordSize;
    const qint64 held = (size() - static_cast<qint64>(offsetToPointData())) / recordSize;
    const auto usable = static_cast<unsigned int>(std::min<qint64>(numberOfPointRecords(), held));
    try {
        m_fileSeekBuf = std::make_unique<FileSeekBuf>(this, recordSize, offsetToPointData(), usable, bufSize);
    } catch (const std::exception &) {
        return false;
    }
    m_bufSize = bufSize;
    return true;
}

/// Looks at some thousand records spread over the file: colours that all stay below 256 are 8-bit values.
bool LasFile::checkIsColor256()
{
    const LasFormat &format = *findLasFormat(m_format);
    if (format.color == LasFormat::none)
        return false;
    const quint32 records = numberOfPointRecords();
    const quint32 stride = std::max(records / 1000, 1U);
    // A record that can't be read whole counts as the one before it, the first of all as black. The index is 64 bits
    // wide, since the last one plus the stride can pass 32.
    std::array<unsigned char, sizeof(stLasRecord_fmt_5)> record = {};
    bool isColor256 = true;
    for (quint64 index = 0; index < records && isColor256; index += stride) {
        const quint32 distance = static_cast<quint32>(index) * format.recordSize;
        seek(static_cast<qint64>(offsetToPointData()) + distance);
        if (read(reinterpret_cast<char *>(record.data()), format.recordSize) != format.recordSize)
            continue;
        const unsigned char *color = record.data() + format.color;
        const int highBytes = color[1] | color[3] | color[5];
        isColor256 = highBytes == 0;
    }
    return isColor256;
}

void LasFile::clear()
{
    m_fileSeekBuf.reset();
    close();
    m_head_ver_1_2.reset();
    m_head_ver_1_3.reset();
}

unsigned char LasFile::getPointDataFormat() const
{
    if (m_head_ver_1_2)
        return m_head_ver_1_2->pointDataFormatId;
    return m_head_ver_1_3 ? m_head_ver_1_3->pointDataFormatId : std::numeric_limits<unsigned char>::max();
}

unsigned int LasFile::getNumberOfVariableLengthRecords() const
{
    if (m_head_ver_1_2)
        return m_head_ver_1_2->numberOfVariableLengthRecords;
    return m_head_ver_1_3 ? m_head_ver_1_3->numberOfVariableLengthRecords : std::numeric_limits<unsigned int>::max();
}

quint32 LasFile::offsetToPointData() const
{
    if (m_head_ver_1_2)
        return m_head_ver_1_2->offsetToPointData;
    return m_head_ver_1_3 ? m_head_ver_1_3->offsetToPointData : 0;
}

quint32 LasFile::numberOfPointRecords() const
{
    if (m_head_ver_1_2)
        return m_head_ver_1_2->numberOfPointRecords;
    return m_head_ver_1_3 ? m_head_ver_1_3->numberOfPointRecords : 0;
}

void LasFile::getColumns(QList<EDataSetColumn> &columns) const
{
    if (const LasFormat *format = findLasFormat(getPointDataFormat()))
        columns.append(lasColumns(*format));
}

const stLasFileVariableLengthHead *LasFile::variableLenHead(unsigned int index) const
{
    const bool isHeld =
        index <= static_cast<unsigned int>(std::numeric_limits<int>::max()) && index < m_variableLenHeads.size();
    return isHeld ? &m_variableLenHeads[index] : nullptr;
}

template <typename Record>
unsigned int LasFile::window(unsigned char format, unsigned int start, unsigned int maxCount,
                             const Record *&records) const
{
    if (m_fileSeekBuf == nullptr || m_format != format)
        return 0;
    void *datas = nullptr;
    const auto available = static_cast<unsigned int>(m_fileSeekBuf->getDatas(start, datas));
    if (available != 0)
        records = static_cast<const Record *>(datas);
    return std::min(available, maxCount);
}

unsigned int LasFile::getPointDatas_fmt_0(unsigned int start, unsigned int maxCount,
                                          const stLasRecord_fmt_0 *&records) const
{
    return window(0, start, maxCount, records);
}

unsigned int LasFile::getPointDatas_fmt_1(unsigned int start, unsigned int maxCount,
                                          const stLasRecord_fmt_1 *&records) const
{
    return window(1, start, maxCount, records);
}

unsigned int LasFile::getPointDatas_fmt_2(unsigned int start, unsigned int maxCount,
                                          const stLasRecord_fmt_2 *&records) const
{
    return window(2, start, maxCount, records);
}

unsigned int LasFile::getPointDatas_fmt_3(unsigned int start, unsigned int maxCount,
                                          const stLasRecord_fmt_3 *&records) const
{
    return window(3, start, maxCount, records);
}

unsigned int LasFile::getPointDatas_fmt_4(unsigned int start, unsigned int maxCount,
                                          const stLasRecord_fmt_4 *&records) const
{
    return window(4, start, maxCount, records);
}

unsigned int LasFile::getPointDatas_fmt_5(unsigned int start, unsigned int maxCount,
                                          const stLasRecord_fmt_5 *&records) const
{
    return window(5, start, maxCount, records);
}

void LasFile::readPointData(unsigned int start, unsigned int count, float *xyz, float *rgba, unsigned short *intensity,
                            unsigned char *returnNumber, unsigned char *numberOfReturns, unsigned char *scanDirection,
                            unsigned char *edgeOfFlightLine, unsigned char *classification,
                            unsigned char *scanAngleRank, unsigned char *userData, unsigned short *pointSourceId,
                            double *gpsTime, unsigned char *wavePacketDescriptorIndex,
                            quint64 *byteOffsetToWaveformData, unsigned int *waveformPacketSize,
                            float *returnPointWaveformLocation, float *xyzT) const
{
    if (count == 0 || !isOpen())
        return;
    LasRecordReader reader(*this);
    if (!reader.isValid())
        return;

    BorrowedPointArray arrays;
    arrays.m_position = reinterpret_cast<pcVec3f *>(xyz);
    arrays.m_color = reinterpret_cast<pcVec4f *>(rgba);
    arrays.m_intensity = intensity;
    arrays.m_returnNumber = returnNumber;
    arrays.m_numberOfReturns = numberOfReturns;
    arrays.m_scanDirection = scanDirection;
    arrays.m_edgeOfFlightLine = edgeOfFlightLine;
    arrays.m_classification = classification;
    arrays.m_scanAngleRank = scanAngleRank;
    arrays.m_userData = userData;
    arrays.m_pointSourceId = pointSourceId;
    arrays.m_gpsTime = gpsTime;
    arrays.m_wavePacketDescriptorIndex = wavePacketDescriptorIndex;
    arrays.m_byteOffsetToWaveformData = byteOffsetToWaveformData;
    arrays.m_waveformPacketSize = waveformPacketSize;
    arrays.m_returnPointWaveformLocation = returnPointWaveformLocation;
    arrays.m_waveformXyzT = reinterpret_cast<pcVec3f *>(xyzT);
    reader.read(start, count, arrays, 0);
}

} // namespace ptCloud
