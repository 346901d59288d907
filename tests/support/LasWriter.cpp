#include "LasWriter.h"

#include "Bytes.h"

#include <algorithm>

namespace support
{

int LasWriter::recordSize(quint8 format)
{
    constexpr int sizes[] = {20, 28, 26, 34, 49, 63};
    return format < 6 ? sizes[format] : 0;
}

QByteArray LasWriter::record(quint8 format, const LasPoint &point)
{
    QByteArray bytes;
    put(bytes, point.x);
    put(bytes, point.y);
    put(bytes, point.z);
    put(bytes, point.intensity);
    put(bytes, point.returnFlags);
    put(bytes, point.classification);
    put(bytes, point.scanAngleRank);
    put(bytes, point.userData);
    put(bytes, point.pointSourceId);
    if (format == 1 || format == 3 || format == 5)
        put(bytes, point.gpsTime);
    if (format == 2 || format == 3 || format == 5) {
        put(bytes, point.red);
        put(bytes, point.green);
        put(bytes, point.blue);
    }
    if (format == 4 || format == 5) {
        put(bytes, point.wavePacketDescriptorIndex);
        put(bytes, point.byteOffsetToWaveformData);
        put(bytes, point.waveformPacketSize);
        put(bytes, point.returnPointWaveformLocation);
        for (const float t : point.xyzT)
            put(bytes, t);
    }
    return bytes;
}

QByteArray LasWriter::bytes() const
{
    std::array<double, 3> low = minimum;
    std::array<double, 3> high = maximum;
    if (!hasBounds && !points.empty()) {
        const auto raw = [](const LasPoint &p) { return std::array<qint32, 3>{p.x, p.y, p.z}; };
        for (std::size_t axis = 0; axis < 3; ++axis) {
            qint32 least = raw(points.front())[axis];
            qint32 most = least;
            for (const LasPoint &point : points) {
                least = std::min(least, raw(point)[axis]);
                most = std::max(most, raw(point)[axis]);
            }
            low[axis] = least * scale[axis] + offset[axis];
            high[axis] = most * scale[axis] + offset[axis];
        }
    }

    QByteArray variable;
    for (const QByteArray &head : variableHeads)
        variable += head;

    QByteArray out = signature.leftJustified(4, '\0', true);
    put<quint16>(out, 7);
    put<quint16>(out, 0);
    out += QByteArray(16, '\x11');
    put(out, versionMajor);
    put(out, versionMinor);
    out += QByteArray("system").leftJustified(32, '\0');
    out += QByteArray("software").leftJustified(32, '\0');
    put<quint16>(out, 123);
    put<quint16>(out, 2024);
    put<quint16>(out, static_cast<quint16>(headerSize()));
    put<quint32>(out,
                 static_cast<quint32>(offsetToPointData >= 0 ? offsetToPointData : headerSize() + variable.size()));
    put<quint32>(out, static_cast<quint32>(announcedVariableHeads >= 0 ? announcedVariableHeads
                                                                       : static_cast<qint64>(variableHeads.size())));
    put(out, format);
    put<quint16>(out, static_cast<quint16>(recordSize(format)));
    put<quint32>(out,
                 static_cast<quint32>(announcedPoints >= 0 ? announcedPoints : static_cast<qint64>(points.size())));
    const int returnCounters = versionMinor == 3 ? 7 : 5;
    for (int i = 0; i < returnCounters; ++i)
        put<quint32>(out, static_cast<quint32>(i == 0 ? points.size() : 0));
    for (const double s : scale)
        put(out, s);
    for (const double o : offset)
        put(out, o);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        put(out, high[axis]);
        put(out, low[axis]);
    }
    if (versionMinor == 3)
        put<quint64>(out, 0);
    out += variable;
    if (offsetToPointData > out.size())
        out += QByteArray(static_cast<int>(offsetToPointData - out.size()), '\xee');
    for (const LasPoint &point : points)
        out += record(format, point);
    return out + tail;
}

bool LasWriter::write(const QString &path) const
{
    return writeFile(path, bytes());
}

} // namespace support
