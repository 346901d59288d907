#include "LasSeeds.h"

#include "LasWriter.h"

namespace fuzz
{

namespace
{

/// Some points on a slope; colours beyond 8 bits in all but the first.
std::vector<support::LasPoint> slope(int count)
{
    std::vector<support::LasPoint> points(static_cast<std::size_t>(count));
    int i = 0;
    for (support::LasPoint &point : points) {
        point.x = 1000 * i;
        point.y = -700 * i;
        point.z = 50000 + 11 * i;
        point.intensity = static_cast<quint16>(99 * i);
        point.returnFlags = static_cast<quint8>(0x51 + i);
        point.classification = static_cast<quint8>(i);
        point.scanAngleRank = static_cast<quint8>(250 + i);
        point.userData = 7;
        point.pointSourceId = static_cast<quint16>(300 + i);
        point.gpsTime = 1000.5 + i;
        point.red = static_cast<quint16>(200 * i);
        point.green = static_cast<quint16>(65535 - i);
        point.blue = 255;
        point.wavePacketDescriptorIndex = 1;
        point.byteOffsetToWaveformData = 0x123456789AU + static_cast<quint64>(i);
        point.waveformPacketSize = 64;
        point.returnPointWaveformLocation = 0.5F;
        point.xyzT[2] = -1.0F;
        ++i;
    }
    return points;
}

QByteArray variableHead(quint16 bodyBytes)
{
    QByteArray head(54, '\0');
    head[18] = 7;
    head[20] = static_cast<char>(bodyBytes);
    return head;
}

} // namespace

std::vector<Seed> lasSeeds()
{
    std::vector<Seed> seeds;
    for (quint8 version = 2; version <= 3; ++version) {
        for (quint8 format = 0; format <= 5; ++format) {
            support::LasWriter writer;
            writer.versionMinor = version;
            writer.format = format;
            writer.points = slope(3 + format);
            const QByteArray name = "version" + QByteArray::number(version) + "format" + QByteArray::number(format);
            seeds.push_back({name, writer.bytes()});
        }
    }

    support::LasWriter writer;
    writer.format = 3;
    writer.variableHeads = {variableHead(0), variableHead(12)};
    writer.points = slope(40);
    writer.tail = QByteArray(30, '\x20');
    seeds.push_back({"variableHeads", writer.bytes()});

    writer.announcedPoints = 100000;
    seeds.push_back({"fewerPointsThanAnnounced", writer.bytes()});
    return seeds;
}

} // namespace fuzz
