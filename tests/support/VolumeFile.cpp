#include "VolumeFile.h"

#include "BigEndian.h"

#include <cstddef>

namespace support
{

namespace
{

void putString(QByteArray &out, const QString &text)
{
    if (text.isNull()) {
        putInt(out, -1);
        return;
    }
    putInt(out, 2 * text.size());
    for (const QChar unit : text)
        putBigEndian(out, unit.unicode(), 2);
}

template <typename Record>
void putRecord(QByteArray &out, const Record &record)
{
    putInt(out, record.version);
    for (const double value : record.floats)
        putDouble(out, value);
    putDouble(out, record.dig);
    putDouble(out, record.fill);
}

template <typename Element>
void putCount(QByteArray &out, const std::optional<qint32> &lie, const std::vector<Element> &elements)
{
    putInt(out, lie.value_or(static_cast<qint32>(elements.size())));
}

void putArea(QByteArray &out, const VolumeFile::Area &area)
{
    putString(out, area.name);
    putInt(out, area.version);
    putInt(out, area.groundHeightType);
    putDouble(out, area.groundHeight);
    putCount(out, area.cornerCount, area.corners);
    for (const auto &corner : area.corners) {
        for (const double value : corner)
            putDouble(out, value);
    }
    putDouble(out, area.maxHeight);
    putDouble(out, area.gridSize);
    putCount(out, area.prismCount, area.prisms);
    for (const VolumeFile::Prism &prism : area.prisms)
        putRecord(out, prism);
    putCount(out, area.quadPrismCount, area.quadPrisms);
    for (const VolumeFile::QuadPrism &prism : area.quadPrisms)
        putRecord(out, prism);
    out.append(static_cast<char>(area.dtmCalculated));
    out.append(static_cast<char>(area.gridCalculated));
}

class Reader : public BigEndianReader
{
public:
    using BigEndianReader::BigEndianReader;

    QString string()
    {
        const auto size = static_cast<quint32>(number(4));
        if (size == 0xffffffff)
            return {};
        QString text = QStringLiteral("");
        for (quint32 i = 0; i < size / 2 && !pastTheEnd(); ++i)
            text.append(QChar(static_cast<ushort>(number(2))));
        return pastTheEnd() ? QString() : text;
    }
};

template <typename Record>
bool readRecords(Reader &reader, std::vector<Record> &records)
{
    const qint32 count = reader.int32();
    for (qint32 i = 0; i < count; ++i) {
        Record record;
        record.version = reader.int32();
        if (record.version != 1)
            return false;
        for (double &value : record.floats)
            value = reader.float64();
        record.dig = reader.float64();
        record.fill = reader.float64();
        records.push_back(record);
    }
    return true;
}

bool readArea(Reader &reader, VolumeFile::Area &area)
{
    area.version = reader.int32();
    if (area.version != 1)
        return false;
    area.groundHeightType = reader.int32();
    area.groundHeight = reader.float64();
    const qint32 corners = reader.int32();
    for (qint32 i = 0; i < corners; ++i) {
        area.corners.emplace_back();
        for (double &value : area.corners.back())
            value = reader.float64();
    }
    area.maxHeight = reader.float64();
    area.gridSize = reader.float64();
    if (!readRecords(reader, area.prisms) || !readRecords(reader, area.quadPrisms))
        return false;
    area.dtmCalculated = static_cast<quint8>(reader.number(1));
    area.gridCalculated = static_cast<quint8>(reader.number(1));
    return true;
}

} // namespace

QByteArray bytesOf(const VolumeFile::Prism &prism)
{
    QByteArray out;
    putRecord(out, prism);
    return out;
}

QByteArray bytesOf(const VolumeFile::QuadPrism &prism)
{
    QByteArray out;
    putRecord(out, prism);
    return out;
}

QByteArray VolumeFile::bytes() const
{
    QByteArray out;
    putInt(out, version);
    putCount(out, areaCount, areas);
    for (const Area &area : areas)
        putArea(out, area);
    for (const QString &text : trailer)
        putString(out, text);
    return out;
}

VolumeFile::Reading VolumeFile::read(const QByteArray &bytes)
{
    Reading reading;
    Reader reader(bytes);
    const qint32 version = reader.int32();
    reading.ok = true;
    if (version == 1 || version == 2) {
        const qint32 count = reader.int32();
        for (qint32 i = 0; i < count && reading.ok; ++i) {
            reading.areas.emplace_back();
            reading.areas.back().name = reader.string();
            reading.ok = readArea(reader, reading.areas.back());
        }
    }
    reading.pastTheEnd = reader.pastTheEnd();
    reading.bytesLeft = reader.left();
    return reading;
}

} // namespace support
