#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <vector>

namespace support
{

/// One point with every field that any format knows; a format takes those that it has.
struct LasPoint
{
    qint32 x = 0;
    qint32 y = 0;
    qint32 z = 0;
    quint16 intensity = 0;
    quint8 returnFlags = 0;
    quint8 classification = 0;
    quint8 scanAngleRank = 0;
    quint8 userData = 0;
    quint16 pointSourceId = 0;
    double gpsTime = 0.0;
    quint16 red = 0;
    quint16 green = 0;
    quint16 blue = 0;
    quint8 wavePacketDescriptorIndex = 0;
    quint64 byteOffsetToWaveformData = 0;
    quint32 waveformPacketSize = 0;
    float returnPointWaveformLocation = 0.0F;
    float xyzT[3] = {0.0F, 0.0F, 0.0F};
};

/// Writes LAS files byte by byte, without the library's records: versions 1.2 and 1.3 in the layout that the library
/// reads (header records of 201 and 217 bytes behind the 26 of the description; format 4 of 49 bytes), and damaged
/// ones.
///
/// What is not set by hand is taken from the points: the number of records, the offset to the point data, and a header
/// range that covers the points at the given scale and offset.
struct LasWriter
{
    quint8 versionMajor = 1;
    quint8 versionMinor = 2;
    quint8 format = 0;
    QByteArray signature = "LASF";
    std::array<double, 3> scale = {0.001, 0.001, 0.001};
    std::array<double, 3> offset = {0.0, 0.0, 0.0};
    std::vector<LasPoint> points;

    qint64 announcedPoints = -1;           ///< number of point records in the header; -1: the true one
    qint64 announcedVariableHeads = -1;    ///< -1: as many as `variableHeads` holds
    qint64 offsetToPointData = -1;         ///< -1: right behind the headers
    std::vector<QByteArray> variableHeads; ///< each written as it stands, 54 bytes when sound
    bool hasBounds = false;                ///< whether the two below replace the points' own range
    std::array<double, 3> minimum = {0.0, 0.0, 0.0};
    std::array<double, 3> maximum = {0.0, 0.0, 0.0};
    QByteArray tail; ///< bytes behind the last record

    /// Offsets of header fields in the file, for tests that damage one.
    static constexpr int offsetToPointDataAt = 96;
    static constexpr int variableHeadCountAt = 100;
    static constexpr int formatAt = 104;
    static constexpr int recordLengthAt = 105;
    static constexpr int pointCountAt = 107;
    /// Where the twelve doubles (scale x y z, offset x y z, max x, min x, max y, min y, max z, min z) begin.
    int doublesAt() const { return versionMinor == 3 ? 26 + 113 : 26 + 105; }
    int headerSize() const { return versionMinor == 3 ? 243 : 227; }

    /// 20, 28, 26, 34, 49, 63 for the formats 0 to 5; 0 for others.
    static int recordSize(quint8 format);
    static QByteArray record(quint8 format, const LasPoint &point);

    QByteArray bytes() const;
    bool write(const QString &path) const;
};

} // namespace support
