#include "LasPointConversion.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace ptCloud
{

namespace
{

// Offsets of the fields that every format has.
constexpr int xyzOffset = 0;
constexpr int intensityOffset = 12;
constexpr int returnFlagsOffset = 14;
constexpr int classificationOffset = 15;
constexpr int scanAngleRankOffset = 16;
constexpr int userDataOffset = 17;
constexpr int pointSourceIdOffset = 18;

// Offsets from the start of the wave packet fields.
constexpr int descriptorIndexOffset = 0;
constexpr int byteOffsetOffset = 1;
constexpr int packetSizeOffset = 9;
constexpr int locationOffset = 13;
constexpr int xyzTOffset = 17;

template <typename T>
T readField(const unsigned char *bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// A run of raw records, walked field by field.
class Records
{
public:
    Records(const unsigned char *bytes, unsigned int recordSize, unsigned int count)
        : m_bytes(bytes), m_recordSize(recordSize), m_count(count)
    {}

    /// Hands each record's field to `convert`, together with its element of `column`; a null column is skipped.
    template <typename Element, typename Convert>
    void fill(Element *column, unsigned int target, int offset, Convert convert) const
    {
        if (column == nullptr)
            return;
        const unsigned char *field = m_bytes + offset;
        Element *element = column + target;
        for (unsigned int i = 0; i < m_count; ++i, field += m_recordSize, ++element)
            convert(field, *element);
    }

    /// Copies a field as it stands.
    template <typename Element>
    void copy(Element *column, unsigned int target, int offset) const
    {
        fill(column, target, offset,
             [](const unsigned char *field, Element &element) { std::memcpy(&element, field, sizeof element); });
    }

    /// Takes `mask` bits of the return flags from bit `shift` on.
    void copyBits(unsigned char *column, unsigned int target, unsigned int shift, unsigned int mask) const
    {
        fill(column, target, returnFlagsOffset, [shift, mask](const unsigned char *field, unsigned char &element) {
            element = static_cast<unsigned char>((static_cast<unsigned int>(*field) >> shift) & mask);
        });
    }

private:
    const unsigned char *m_bytes;
    unsigned int m_recordSize;
    unsigned int m_count;
};

void convertPosition(const unsigned char *field, pcVec3f &position)
{
    // To float first and divided there: the raw integers count as thousandths whatever scale the header tells.
    position.set(static_cast<float>(readField<qint32>(field)) / 1000.0F,
                 static_cast<float>(readField<qint32>(field + 4)) / 1000.0F,
                 static_cast<float>(readField<qint32>(field + 8)) / 1000.0F);
}

/// Whether colours are 8 bits wide is only sampled, so a value may pass the divisor: it is held to 1.
float colorChannel(const unsigned char *field, float divisor)
{
    return std::min(static_cast<float>(readField<quint16>(field)) / divisor, 1.0F);
}

} // namespace

QList<EDataSetColumn> lasColumns(const LasFormat &format)
{
    QList<EDataSetColumn> columns = {EDataSetColumn_Position};
    if (format.color != LasFormat::none)
        columns << EDataSetColumn_Color;
    columns << EDataSetColumn_Intensity << EDataSetColumn_ReturnNumber << EDataSetColumn_NumberOfReturns
            << EDataSetColumn_ScanDirection << EDataSetColumn_EdgeOfFlightLine << EDataSetColumn_Classification
            << EDataSetColumn_ScanAngleRank << EDataSetColumn_UserData << EDataSetColumn_PointSourceId;
    if (format.gpsTime != LasFormat::none)
        columns << EDataSetColumn_GpsTime;
    if (format.wavePacket != LasFormat::none)
        columns << EDataSetColumn_WavePacketDescriptorIndex << EDataSetColumn_ByteOffsetToWaveformData
                << EDataSetColumn_WaveformPacketSize << EDataSetColumn_ReturnPointWaveformLocation
                << EDataSetColumn_WaveformXyzT;
    return columns;
}

void convertLasRecords(const LasFormat &format, bool isColor256, const unsigned char *records, unsigned int count,
                       const stPtCloud_PointArray &array, unsigned int target)
{
    const Records run(records, format.recordSize, count);
    run.fill(array.m_position, target, xyzOffset, convertPosition);
    if (format.color != LasFormat::none) {
        const float divisor = isColor256 ? 255.0F : 65535.0F;
        run.fill(array.m_color, target, format.color, [divisor](const unsigned char *field, pcVec4f &color) {
            color.set(colorChannel(field, divisor), colorChannel(field + 2, divisor), colorChannel(field + 4, divisor),
                      1.0F);
        });
    }
    run.copy(array.m_intensity, target, intensityOffset);
    run.copyBits(array.m_returnNumber, target, 0, 7);
    run.copyBits(array.m_numberOfReturns, target, 3, 7);
    run.copyBits(array.m_scanDirection, target, 6, 1);
    run.copyBits(array.m_edgeOfFlightLine, target, 7, 1);
    run.copy(array.m_classification, target, classificationOffset);
    run.copy(array.m_scanAngleRank, target, scanAngleRankOffset);
    run.copy(array.m_userData, target, userDataOffset);
    run.copy(array.m_pointSourceId, target, pointSourceIdOffset);
    if (format.gpsTime != LasFormat::none)
        run.copy(array.m_gpsTime, target, format.gpsTime);
    if (format.wavePacket != LasFormat::none) {
        run.copy(array.m_wavePacketDescriptorIndex, target, format.wavePacket + descriptorIndexOffset);
        run.copy(array.m_byteOffsetToWaveformData, target, format.wavePacket + byteOffsetOffset);
        run.copy(array.m_waveformPacketSize, target, format.wavePacket + packetSizeOffset);
        run.copy(array.m_returnPointWaveformLocation, target, format.wavePacket + locationOffset);
        run.copy(array.m_waveformXyzT, target, format.wavePacket + xyzTOffset);
    }
}

} // namespace ptCloud
