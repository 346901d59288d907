#include "LasOutput.h"

#include "Console.h"
#include "FileFacts.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

namespace
{

constexpr int bufferSize = 1 << 20;
constexpr char program[] = "ptcloud ";

template <std::size_t size>
void setText(char (&field)[size], const QByteArray &text)
{
    std::memcpy(field, text.constData(), std::min(size, static_cast<std::size_t>(text.size())));
}

/// Appends the part of a record that a format has. The largest format holds the fields of all others, its optional ones
/// as GPS time, colour, wave packet.
void appendRecord(QByteArray &bytes, int format, const stLasRecord_fmt_5 &record)
{
    const auto *raw = reinterpret_cast<const char *>(&record);
    constexpr int common = sizeof(stLasRecord_fmt_0);
    constexpr int color = sizeof(stLasRecord_fmt_1);
    constexpr int wavePacket = sizeof(stLasRecord_fmt_3);
    bytes.append(raw, common);
    if (format == 1 || format == 3 || format == 5)
        bytes.append(raw + common, color - common);
    if (format == 2 || format == 3 || format == 5)
        bytes.append(raw + color, wavePacket - color);
    if (format == 4 || format == 5)
        bytes.append(raw + wavePacket, static_cast<int>(sizeof record) - wavePacket);
}

} // namespace

LasOutput::LasOutput(const QString &path, const LasHead &head) : m_head(head), m_file(path)
{
    m_range.minimum.fill(std::numeric_limits<qint32>::max());
    m_range.maximum.fill(std::numeric_limits<qint32>::min());
    if (!m_file.open(QIODevice::WriteOnly))
        fail();
    write(headBytes());
    m_buffer.reserve(bufferSize + static_cast<int>(sizeof(stLasRecord_fmt_5)));
}

void LasOutput::fail() const
{
    throw CommandError(QStringLiteral("%1 can't be written: %2").arg(quoted(m_file.fileName()), m_file.errorString()));
}

void LasOutput::write(const QByteArray &bytes)
{
    if (m_file.write(bytes) != bytes.size())
        fail();
}

void LasOutput::add(const stLasRecord_fmt_5 &record)
{
    const qint32 xyz[3] = {record.x, record.y, record.z};
    for (std::size_t i = 0; i < 3; ++i) {
        m_range.minimum[i] = std::min(m_range.minimum[i], xyz[i]);
        m_range.maximum[i] = std::max(m_range.maximum[i], xyz[i]);
    }
    const unsigned int returnNumber = record.returnFlags & 7U;
    if (returnNumber != 0)
        ++m_pointsByReturn[returnNumber - 1];
    ++m_points;
    appendRecord(m_buffer, m_head.format, record);
    if (m_buffer.size() >= bufferSize) {
        write(m_buffer);
        m_buffer.resize(0);
    }
}

void LasOutput::commit()
{
    write(m_buffer);
    if (!m_file.seek(0))
        fail();
    write(headBytes());
    if (!m_file.flush() || !m_file.commit())
        fail();
}

template <typename Fields>
QByteArray LasOutput::headBytes() const
{
    stLasFileHeadDesc desc = {};
    std::memcpy(desc.fileSignature, "LASF", 4);
    desc.fileSourceId = m_head.fileSourceId;
    desc.globalEncoding = m_head.globalEncoding;
    std::memcpy(desc.projectGuid, m_head.projectGuid.data(), m_head.projectGuid.size());
    desc.versionMajor = 1;
    desc.versionMinor = static_cast<quint8>(m_head.minorVersion);

    Fields head = {};
    setText(head.systemIdentifier, m_head.systemIdentifier);
    setText(head.generatingSoftware, m_head.generator);
    head.fileCreationDayOfYear = m_head.creationDay;
    head.fileCreationYear = m_head.creationYear;
    head.headerSize = sizeof desc + sizeof head;
    head.offsetToPointData = head.headerSize + static_cast<quint32>(m_head.variableRecords.size());
    head.numberOfVariableLengthRecords = m_head.variableRecordCount;
    head.pointDataFormatId = static_cast<quint8>(m_head.format);
    head.pointDataRecordLength = static_cast<quint16>(recordSize(m_head.format));
    head.numberOfPointRecords = m_points;
    std::memcpy(head.numberOfPointsByReturn, m_pointsByReturn.data(), sizeof head.numberOfPointsByReturn);
    head.xScaleFactor = head.yScaleFactor = head.zScaleFactor = scale;
    head.xOffset = m_head.offset[0];
    head.yOffset = m_head.offset[1];
    head.zOffset = m_head.offset[2];
    if (m_points > 0) {
        const auto coordinate = [this](const std::array<qint32, 3> &raw, std::size_t axis) {
            return raw[axis] * scale + m_head.offset[axis];
        };
        head.minX = coordinate(m_range.minimum, 0);
        head.maxX = coordinate(m_range.maximum, 0);
        head.minY = coordinate(m_range.minimum, 1);
        head.maxY = coordinate(m_range.maximum, 1);
        head.minZ = coordinate(m_range.minimum, 2);
        head.maxZ = coordinate(m_range.maximum, 2);
    }
    return QByteArray(reinterpret_cast<const char *>(&desc), sizeof desc)
           + QByteArray(reinterpret_cast<const char *>(&head), sizeof head) + m_head.variableRecords;
}

QByteArray LasOutput::headBytes() const
{
    return m_head.minorVersion == 3 ? headBytes<stLasFileHead_ver_1_3>() : headBytes<stLasFileHead_ver_1_2>();
}

int LasOutput::recordSize(int format)
{
    constexpr int sizes[] = {sizeof(stLasRecord_fmt_0), sizeof(stLasRecord_fmt_1), sizeof(stLasRecord_fmt_2),
                             sizeof(stLasRecord_fmt_3), sizeof(stLasRecord_fmt_4), sizeof(stLasRecord_fmt_5)};
    return sizes[format];
}

void LasOutput::refuseToOverwrite(const QString &path)
{
    if (!isThere(path))
        return;
    constexpr int generatorAt = 26 + 32;
    QFile file(path);
    const bool isOurs = QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && file.seek(generatorAt)
                        && file.read(sizeof program - 1) == program;
    if (!isOurs)
        throw CommandError(
            QStringLiteral("%1 exists and was not made by this program; name another file").arg(quoted(path)));
}
