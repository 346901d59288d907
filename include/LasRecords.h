#pragma once

#include <QtGlobal>

/// \file
/// The records of a LAS file as this library reads them: packed, little-endian, read by one block read each.
///
/// They leave the published format in two places on purpose, and data sets depend on it: the 1.3 header has seven
/// counters of points by return, so that its later fields stand 8 bytes further back, and point format 4 has no GPS
/// time.

#pragma pack(push, 1)

/// The first 26 bytes of a file.
struct stLasFileHeadDesc
{
    char fileSignature[4]; ///< not looked at
    quint16 fileSourceId;
    quint16 globalEncoding;
    quint8 projectGuid[16];
    quint8 versionMajor;
    quint8 versionMinor;
};

/// The header behind the description. The versions differ in the number of counters of points by return.
template <int returnCounters>
struct stLasFileHeadFields
{
    char systemIdentifier[32];
    char generatingSoftware[32];
    quint16 fileCreationDayOfYear;
    quint16 fileCreationYear;
    quint16 headerSize; ///< not looked at
    quint32 offsetToPointData;
    quint32 numberOfVariableLengthRecords;
    quint8 pointDataFormatId;
    quint16 pointDataRecordLength; ///< not looked at: the format alone gives the size of a record
    quint32 numberOfPointRecords;
    quint32 numberOfPointsByReturn[returnCounters];
    double xScaleFactor;
    double yScaleFactor;
    double zScaleFactor;
    double xOffset;
    double yOffset;
    double zOffset;
    double maxX;
    double minX;
    double maxY;
    double minY;
    double maxZ;
    double minZ;
};

struct stLasFileHead_ver_1_2 : stLasFileHeadFields<5>
{
};

struct stLasFileHead_ver_1_3 : stLasFileHeadFields<7>
{
    quint64 startOfWaveformDataPacketRecord;
};

/// The head of one variable length record.
struct stLasFileVariableLengthHead
{
    quint16 reserved;
    char userId[16];
    quint16 recordId;
    quint16 recordLengthAfterHeader;
    char description[32];
};

/// The fields that every point has.
struct stLasRecord_fmt_0
{
    qint32 x;
    qint32 y;
    qint32 z;
    quint16 intensity;
    quint8 returnFlags; ///< from the low bits: return number 3, number of returns 3, scan direction 1, edge of line 1
    quint8 classification;
    quint8 scanAngleRank;
    quint8 userData;
    quint16 pointSourceId;
};

struct stLasRecord_fmt_1 : stLasRecord_fmt_0
{
    double gpsTime;
};

struct stLasRecord_fmt_2 : stLasRecord_fmt_0
{
    quint16 red;
    quint16 green;
    quint16 blue;
};

struct stLasRecord_fmt_3 : stLasRecord_fmt_1
{
    quint16 red;
    quint16 green;
    quint16 blue;
};

/// Without GPS time, unlike the published format.
struct stLasRecord_fmt_4 : stLasRecord_fmt_0
{
    quint8 wavePacketDescriptorIndex;
    quint64 byteOffsetToWaveformData;
    quint32 waveformPacketSize;
    float returnPointWaveformLocation;
    float xt;
    float yt;
    float zt;
};

struct stLasRecord_fmt_5 : stLasRecord_fmt_3
{
    quint8 wavePacketDescriptorIndex;
    quint64 byteOffsetToWaveformData;
    quint32 waveformPacketSize;
    float returnPointWaveformLocation;
    float xt;
    float yt;
    float zt;
};

#pragma pack(pop)

static_assert(sizeof(stLasFileHeadDesc) == 26, "packed");
static_assert(sizeof(stLasFileHead_ver_1_2) == 201, "packed");
static_assert(sizeof(stLasFileHead_ver_1_3) == 217, "packed");
static_assert(sizeof(stLasFileVariableLengthHead) == 54, "packed");
static_assert(sizeof(stLasRecord_fmt_0) == 20, "packed");
static_assert(sizeof(stLasRecord_fmt_1) == 28, "packed");
static_assert(sizeof(stLasRecord_fmt_2) == 26, "packed");
static_assert(sizeof(stLasRecord_fmt_3) == 34, "packed");
static_assert(sizeof(stLasRecord_fmt_4) == 49, "packed");
static_assert(sizeof(stLasRecord_fmt_5) == 63, "packed");
