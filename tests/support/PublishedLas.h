#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace support
{

/// One point by what its fields mean; each format lays down those that it has, in the bits that it has for them.
struct PublishedPoint
{
    qint32 x = 0;
    qint32 y = 0;
    qint32 z = 0;
    quint16 intensity = 0;
    unsigned int returnNumber = 0;
    unsigned int numberOfReturns = 0;
    bool scansForward = false;
    bool isEdge = false;
    unsigned int classification = 0;
    unsigned int classFlags = 0; ///< 1 synthetic, 2 key point, 4 withheld; 8 overlap, from format 6
    unsigned int scannerChannel = 0;
    double scanAngle = 0.0; ///< degrees: whole ones up to format 5, then steps of 0.006
    quint8 userData = 0;
    quint16 pointSourceId = 0;
    double gpsTime = 0.0;
    std::array<quint16, 3> color = {};
    quint16 nearInfrared = 0;
    QByteArray wavePacket = QByteArray(29, '\x77');
};

/// Writes LAS files in the published layouts, byte by byte: versions 1.0 to 1.4, point formats 0 to 8, records with
/// extra bytes, variable length records with bodies, extended ones behind the points, 64-bit counts; and damaged ones.
///
/// What is not set by hand follows from the points.
struct PublishedLas
{
    struct VariableRecord
    {
        QByteArray userId;
        quint16 recordId = 0;
        QByteArray body;
    };

    quint8 versionMajor = 1;
    quint8 versionMinor = 2;
    quint8 format = 0;
    QByteArray signature = "LASF";
    quint16 fileSourceId = 0; ///< with the next: four reserved bytes in version 1.0
    quint16 globalEncoding = 0;
    QByteArray projectGuid = QByteArray(16, '\0');
    QByteArray systemIdentifier;
    QByteArray generator;
    quint16 creationDay = 1;
    quint16 creationYear = 2024;
    std::array<double, 3> scale = {0.001, 0.001, 0.001};
    std::array<double, 3> offset = {0.0, 0.0, 0.0};
    QByteArray headerTail; ///< bytes that a program added to the header
    std::vector<VariableRecord> variableRecords;
    QByteArray gap; ///< bytes between those and the points
    std::vector<PublishedPoint> points;
    int extraBytes = 0; ///< of each record
    std::vector<VariableRecord> extendedRecords;

    // What lies.
    std::optional<quint32> announcedVariableRecords;
    std::optional<quint32> offsetToPoints;
    std::optional<quint8> formatByte;
    std::optional<quint16> recordLength;
    std::optional<quint32> announcedPoints;   ///< the 32-bit count
    std::optional<quint64> announcedPoints64; ///< the count of version 1.4

    /// 20, 28, 26, 34, 57, 63, 30, 36, 38 for the formats 0 to 8.
    static int recordSize(int format);
    static QByteArray record(int format, const PublishedPoint &point);
    static QByteArray variableRecord(const VariableRecord &record, int versionMinor);

    /// 227, 235 for version 1.3, 375 for version 1.4, and what was added.
    int headerSize() const;
    int pointsAt() const;
    QByteArray bytes() const;
    bool write(const QString &path) const;

private:
    QByteArray frontOfHeader() const;
    QByteArray countsAndRange() const;
    QByteArray backOfHeader(quint64 extendedAt) const;
};

} // namespace support
