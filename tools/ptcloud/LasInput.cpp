#include "LasInput.h"

#include "Console.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{

constexpr int headSize_1_2 = 227;
constexpr int headSize_1_4 = 375;
constexpr int ownHeadSize_1_3 = sizeof(stLasFileHeadDesc) + sizeof(stLasFileHead_ver_1_3);
constexpr int lastFormat = 8;
constexpr int firstExtendedFormat = 6;
constexpr int ownSizeOfFormat4 = sizeof(stLasRecord_fmt_4);

/// A published point format: its size, and where its optional fields stand (0: nowhere).
struct Layout
{
    int size;
    int gpsTime;
    int color;
};
constexpr Layout layouts[] = {{20, 0, 0},   {28, 20, 0}, {26, 0, 20},  {34, 20, 28}, {57, 20, 0},
                              {63, 20, 28}, {30, 22, 0}, {36, 22, 30}, {38, 22, 30}};

template <typename T>
T littleEndian(const char *bytes)
{
    return qFromLittleEndian<T>(bytes);
}

template <>
double littleEndian<double>(const char *bytes)
{
    const auto bits = qFromLittleEndian<quint64>(bytes);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

LasInput::LasInput(const QString &path) : m_file(path)
{
    if (!m_file.open(QIODevice::ReadOnly) || m_file.isSequential())
        fail(m_file.isOpen() ? QStringLiteral("it is no regular file") : m_file.errorString());
    readHead();
    checkPoints();
    rewind();
}

void LasInput::fail(const QString &why) const
{
    throw CommandError(QStringLiteral("%1 can't be converted: %2").arg(quoted(m_file.fileName()), why));
}

void LasInput::seek(qint64 position)
{
    if (!m_file.seek(position))
        fail(m_file.errorString());
}

void LasInput::readHead()
{
    const QByteArray bytes = m_file.read(headSize_1_4);
    if (bytes.size() < headSize_1_2 || !bytes.startsWith("LASF"))
        fail(QStringLiteral("it is no LAS file"));
    std::memcpy(&m_description, bytes.constData(), sizeof m_description);
    std::memcpy(&m_head, bytes.constData() + sizeof m_description, sizeof m_head);
    m_minorVersion = m_description.versionMinor;
    if (m_description.versionMajor != 1 || m_minorVersion > 4)
        fail(QStringLiteral("its version %1.%2 is not read; versions 1.0 to 1.4 are")
                 .arg(m_description.versionMajor)
                 .arg(m_minorVersion));
    if (m_minorVersion == 4 && bytes.size() < headSize_1_4)
        fail(QStringLiteral("it ends within its header"));

    const bool isOwn = m_minorVersion == 3 && m_head.headerSize == ownHeadSize_1_3 && bytes.size() >= ownHeadSize_1_3;
    const char *doubles = bytes.constData() + 131 + (isOwn ? 8 : 0);
    for (std::size_t i = 0; i < 3; ++i) {
        m_scale[i] = littleEndian<double>(doubles + 8 * i);
        m_offset[i] = littleEndian<double>(doubles + 24 + 8 * i);
        if (!std::isfinite(m_scale[i]) || !std::isfinite(m_offset[i]) || m_scale[i] == 0.0)
            fail(QStringLiteral("its scale and offset are no usable numbers"));
    }
    m_announced = m_head.numberOfPointRecords;
    if (m_minorVersion == 4) {
        m_hasExtendedRecords = littleEndian<quint32>(bytes.constData() + 243) != 0;
        const auto all = littleEndian<quint64>(bytes.constData() + 247);
        if (all != 0)
            m_announced = static_cast<qint64>(std::min<quint64>(all, std::numeric_limits<qint64>::max()));
    }
}

void LasInput::checkPoints()
{
    m_format = m_head.pointDataFormatId;
    if ((m_head.pointDataFormatId & 0xC0U) != 0)
        fail(QStringLiteral("its points are compressed; write it uncompressed first"));
    if (m_format > lastFormat)
        fail(QStringLiteral("its point format %1 is not read; formats 0 to 8 are").arg(m_format));
    m_recordLength = m_head.pointDataRecordLength;
    const bool isOwn = m_format == 4 && m_recordLength == ownSizeOfFormat4;
    if (m_recordLength < layouts[m_format].size && !isOwn) {
        fail(QStringLiteral("it tells of records of %1 bytes, and format %2 takes %3")
                 .arg(m_recordLength)
                 .arg(m_format)
                 .arg(layouts[m_format].size));
    }
    const qint64 room = m_file.size() - static_cast<qint64>(m_head.offsetToPointData);
    if (static_cast<qint64>(m_head.offsetToPointData) < headSize_1_2 || room < 0)
        fail(QStringLiteral("its points would begin at byte %1, and it has %2 bytes")
                 .arg(m_head.offsetToPointData)
                 .arg(m_file.size()));
    m_points = std::min(m_announced, room / m_recordLength);
    if (m_points == 0)
        fail(QStringLiteral("it holds no points"));
}

bool LasInput::hasGpsTime() const
{
    return layouts[m_format].gpsTime != 0 && m_recordLength >= layouts[m_format].size;
}

bool LasInput::hasColor() const
{
    return layouts[m_format].color != 0;
}

int LasInput::extraBytes() const
{
    return std::max(m_recordLength - layouts[m_format].size, 0);
}

QList<LasInput::VariableRecord> LasInput::variableRecords()
{
    QList<VariableRecord> records;
    const auto end = static_cast<qint64>(m_head.offsetToPointData);
    qint64 at = m_head.headerSize;
    for (quint32 i = 0; i < m_head.numberOfVariableLengthRecords; ++i) {
        stLasFileVariableLengthHead head = {};
        constexpr auto headSize = static_cast<qint64>(sizeof head);
        seek(at);
        const qint64 got = m_file.read(reinterpret_cast<char *>(&head), headSize);
        if (got != headSize || at + headSize + head.recordLengthAfterHeader > end)
            break;
        const QByteArray bytes =
            QByteArray(reinterpret_cast<const char *>(&head), sizeof head) + m_file.read(head.recordLengthAfterHeader);
        if (bytes.size() != headSize + head.recordLengthAfterHeader)
            break;
        const QByteArray userId(head.userId, static_cast<int>(qstrnlen(head.userId, sizeof head.userId)));
        records.append({userId, head.recordId, bytes});
        at += bytes.size();
    }
    // Where the file just ends, what it tells of is not there; what can't be read must not go lost with that.
    if (m_file.error() != QFileDevice::NoError)
        fail(m_file.errorString());
    rewind();
    return records;
}

void LasInput::rewind()
{
    seek(m_head.offsetToPointData);
    m_buffer.clear();
    m_inBuffer = 0;
    m_done = 0;
    m_losses = {};
}

bool LasInput::fill()
{
    constexpr qint64 recordsAtOnce = 1 << 14;
    const qint64 wanted = std::min(recordsAtOnce, m_points - m_done) * m_recordLength;
    m_buffer = m_file.read(wanted);
    m_inBuffer = 0;
    if (m_buffer.size() != wanted)
        fail(QStringLiteral("it could not be read to its end: %1").arg(m_file.errorString()));
    return wanted > 0;
}

bool LasInput::next(stLasRecord_fmt_5 &record)
{
    if (m_inBuffer == m_buffer.size() && !fill())
        return false;
    const char *raw = m_buffer.constData() + m_inBuffer;
    m_inBuffer += m_recordLength;
    ++m_done;
    record = {};
    m_format < firstExtendedFormat ? takeClassic(raw, record) : takeExtended(raw, record);
    if (hasGpsTime())
        record.gpsTime = littleEndian<double>(raw + layouts[m_format].gpsTime);
    if (hasColor()) {
        const char *color = raw + layouts[m_format].color;
        record.red = littleEndian<quint16>(color);
        record.green = littleEndian<quint16>(color + 2);
        record.blue = littleEndian<quint16>(color + 4);
    }
    return true;
}

void LasInput::takeClassic(const char *raw, stLasRecord_fmt_5 &record) const
{
    std::memcpy(&record, raw, sizeof(stLasRecord_fmt_0));
}

void LasInput::takeExtended(const char *raw, stLasRecord_fmt_5 &record)
{
    constexpr unsigned int mostReturns = 7;
    constexpr unsigned int lastClass = 31;
    constexpr double degreesPerStep = 0.006;

    std::memcpy(&record, raw, 14); // x, y, z, intensity stand where they always did
    const auto returns = static_cast<quint8>(raw[14]);
    const auto flags = static_cast<quint8>(raw[15]);
    const unsigned int returnNumber = returns & 15U;
    const unsigned int numberOfReturns = returns >> 4U;
    m_losses.returns += numberOfReturns > mostReturns || returnNumber > mostReturns ? 1 : 0;
    // Scan direction and edge of flight line have the same two bits in both.
    record.returnFlags = static_cast<quint8>(std::min(returnNumber, mostReturns)
                                             | std::min(numberOfReturns, mostReturns) << 3U | (flags & 0xC0U));
    m_losses.overlapFlags += (flags & 8U) != 0 ? 1 : 0;
    m_losses.scannerChannels += (flags & 0x30U) != 0 ? 1 : 0;

    unsigned int classification = static_cast<quint8>(raw[16]);
    if (classification > lastClass) {
        ++m_losses.classes;
        classification = 1;
    }
    // Synthetic, key point and withheld stand above the class.
    record.classification = static_cast<quint8>(classification | (flags & 7U) << 5U);
    record.userData = static_cast<quint8>(raw[17]);
    const double degrees = std::round(littleEndian<qint16>(raw + 18) * degreesPerStep);
    const double held = std::clamp(degrees, -128.0, 127.0);
    m_losses.angles += held != degrees ? 1 : 0;
    record.scanAngleRank = static_cast<quint8>(static_cast<qint8>(held));
    record.pointSourceId = littleEndian<quint16>(raw + 20);
}
