#include "PublishedLas.h"

#include "Bytes.h"

#include <algorithm>
#include <cmath>

namespace support
{

namespace
{

bool isExtended(int format)
{
    return format >= 6;
}

void putClassicFlags(QByteArray &out, const PublishedPoint &point)
{
    put(out, static_cast<quint8>(point.returnNumber | point.numberOfReturns << 3U | (point.scansForward ? 0x40U : 0U)
                                 | (point.isEdge ? 0x80U : 0U)));
    put(out, static_cast<quint8>(point.classification | point.classFlags << 5U));
    put(out, static_cast<qint8>(point.scanAngle));
    put(out, point.userData);
}

void putExtendedFlags(QByteArray &out, const PublishedPoint &point)
{
    put(out, static_cast<quint8>(point.returnNumber | point.numberOfReturns << 4U));
    put(out, static_cast<quint8>(point.classFlags | point.scannerChannel << 4U | (point.scansForward ? 0x40U : 0U)
                                 | (point.isEdge ? 0x80U : 0U)));
    put(out, static_cast<quint8>(point.classification));
    put(out, point.userData);
    put(out, static_cast<qint16>(std::lround(point.scanAngle / 0.006)));
}

void putVariableHead(QByteArray &out, quint16 front, const PublishedLas::VariableRecord &record)
{
    put(out, front);
    out += record.userId.leftJustified(16, '\0', true);
    put(out, record.recordId);
}

} // namespace

int PublishedLas::recordSize(int format)
{
    constexpr int sizes[] = {20, 28, 26, 34, 57, 63, 30, 36, 38};
    return sizes[format];
}

QByteArray PublishedLas::record(int format, const PublishedPoint &point)
{
    QByteArray out;
    put(out, point.x);
    put(out, point.y);
    put(out, point.z);
    put(out, point.intensity);
    isExtended(format) ? putExtendedFlags(out, point) : putClassicFlags(out, point);
    put(out, point.pointSourceId);
    if (format != 0 && format != 2)
        put(out, point.gpsTime);
    if (format == 2 || format == 3 || format == 5 || format == 7 || format == 8) {
        for (const quint16 channel : point.color)
            put(out, channel);
    }
    if (format == 8)
        put(out, point.nearInfrared);
    if (format == 4 || format == 5)
        out += point.wavePacket;
    return out;
}

QByteArray PublishedLas::variableRecord(const VariableRecord &record, int versionMinor)
{
    constexpr quint16 firstVersionsMark = 0xAABB;
    QByteArray out;
    putVariableHead(out, versionMinor == 0 ? firstVersionsMark : quint16(0), record);
    put(out, static_cast<quint16>(record.body.size()));
    return out + QByteArray("a description").leftJustified(32, '\0') + record.body;
}

int PublishedLas::headerSize() const
{
    const int published = versionMinor >= 4 ? 375 : versionMinor == 3 ? 235 : 227;
    return published + headerTail.size();
}

int PublishedLas::pointsAt() const
{
    int at = headerSize() + gap.size();
    for (const VariableRecord &record : variableRecords)
        at += variableRecord(record, versionMinor).size();
    return at;
}

QByteArray PublishedLas::frontOfHeader() const
{
    QByteArray out = signature;
    put(out, fileSourceId);
    put(out, globalEncoding);
    out += projectGuid;
    put(out, versionMajor);
    put(out, versionMinor);
    out += systemIdentifier.leftJustified(32, '\0', true) + generator.leftJustified(32, '\0', true);
    put(out, creationDay);
    put(out, creationYear);
    put(out, static_cast<quint16>(headerSize()));
    put(out, offsetToPoints.value_or(static_cast<quint32>(pointsAt())));
    put(out, announcedVariableRecords.value_or(static_cast<quint32>(variableRecords.size())));
    put(out, formatByte.value_or(format));
    put(out, recordLength.value_or(static_cast<quint16>(recordSize(format) + extraBytes)));
    return out;
}

QByteArray PublishedLas::countsAndRange() const
{
    QByteArray out;
    put(out, announcedPoints.value_or(isExtended(format) ? 0U : static_cast<quint32>(points.size())));
    for (unsigned int number = 1; number <= 5; ++number) {
        const auto isOfIt = [number](const PublishedPoint &point) { return point.returnNumber == number; };
        const auto count = std::count_if(points.begin(), points.end(), isOfIt);
        put(out, isExtended(format) ? 0U : static_cast<quint32>(count));
    }
    for (const double value : scale)
        put(out, value);
    for (const double value : offset)
        put(out, value);
    std::size_t axis = 0;
    for (const auto member : {&PublishedPoint::x, &PublishedPoint::y, &PublishedPoint::z}) {
        const auto isLess = [member](const PublishedPoint &a, const PublishedPoint &b) {
            return a.*member < b.*member;
        };
        const auto range = std::minmax_element(points.begin(), points.end(), isLess);
        put(out, points.empty() ? 0.0 : (*range.second).*member * scale[axis] + offset[axis]);
        put(out, points.empty() ? 0.0 : (*range.first).*member * scale[axis] + offset[axis]);
        ++axis;
    }
    return out;
}

QByteArray PublishedLas::backOfHeader(quint64 extendedAt) const
{
    QByteArray out;
    if (versionMinor >= 3)
        put<quint64>(out, 0);
    if (versionMinor >= 4) {
        put(out, extendedRecords.empty() ? quint64(0) : extendedAt);
        put(out, static_cast<quint32>(extendedRecords.size()));
        put(out, announcedPoints64.value_or(points.size()));
        for (int i = 0; i < 15; ++i)
            put<quint64>(out, i == 0 ? points.size() : 0);
    }
    return out + headerTail;
}

QByteArray PublishedLas::bytes() const
{
    QByteArray body;
    for (const VariableRecord &record : variableRecords)
        body += variableRecord(record, versionMinor);
    body += gap;
    for (const PublishedPoint &point : points)
        body += record(format, point) + QByteArray(extraBytes, '\x55');
    const auto extendedAt = static_cast<quint64>(headerSize()) + static_cast<quint64>(body.size());
    for (const VariableRecord &record : extendedRecords) {
        putVariableHead(body, 0, record);
        put(body, static_cast<quint64>(record.body.size()));
        body += QByteArray("a description").leftJustified(32, '\0') + record.body;
    }
    return frontOfHeader() + countsAndRange() + backOfHeader(extendedAt) + body;
}

bool PublishedLas::write(const QString &path) const
{
    return writeFile(path, bytes());
}

} // namespace support
