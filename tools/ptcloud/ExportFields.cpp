#include "ExportFields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <type_traits>

using namespace ptCloud;

namespace
{

/// How a value of type `Shown` is named in a PLY header.
template <typename Shown>
constexpr const char *plyTypeOf()
{
    if constexpr (std::is_same_v<Shown, qint8>)
        return "char";
    else if constexpr (std::is_same_v<Shown, quint8>)
        return "uchar";
    else if constexpr (std::is_same_v<Shown, quint16>)
        return "ushort";
    else if constexpr (std::is_same_v<Shown, quint32>)
        return "uint";
    else if constexpr (std::is_same_v<Shown, float>)
        return "float";
    else
        return "double";
}

/// Viewers take colours as bytes.
template <typename Shown, typename Value>
Shown shown(Value value)
{
    if constexpr (std::is_floating_point_v<Value> && std::is_same_v<Shown, quint8>)
        return static_cast<quint8>(std::lround(std::clamp(value, Value(0), Value(1)) * 255));
    else
        return static_cast<Shown>(value);
}

template <auto member, int component>
auto valueAt(const stPtCloud_PointArray &array, quint32 point)
{
    if constexpr (component < 0)
        return (array.*member)[point];
    else
        return (array.*member)[point][component];
}

/// As short as it can be read back from.
template <typename Number>
void appendNumber(QByteArray &text, Number number)
{
    char digits[32];
    std::to_chars_result end{};
    if constexpr (std::is_integral_v<Number> && sizeof(Number) < sizeof(int))
        end = std::to_chars(std::begin(digits), std::end(digits), static_cast<int>(number));
    else
        end = std::to_chars(std::begin(digits), std::end(digits), number);
    text.append(digits, static_cast<int>(end.ptr - digits));
}

constexpr int wholeValue = -1;

/// @tparam Shown  the type in a PLY file; integers are shown by it as text too
template <auto member, typename Shown, int component = wholeValue>
constexpr ExportField field(int column, const char *name)
{
    return {static_cast<EDataSetColumn>(column), name, plyTypeOf<Shown>(),
            [](QByteArray &text, const stPtCloud_PointArray &array, quint32 point) {
                const auto value = valueAt<member, component>(array, point);
                if constexpr (std::is_integral_v<decltype(value)> && std::is_integral_v<Shown>)
                    appendNumber(text, static_cast<Shown>(value));
                else
                    appendNumber(text, value);
            },
            [](QByteArray &bytes, const stPtCloud_PointArray &array, quint32 point) {
                const Shown value = shown<Shown>(valueAt<member, component>(array, point));
                bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
            }};
}

using A = stPtCloud_PointArray;

constexpr ExportField fields[] = {
    field<&A::m_position, float, 0>(EDataSetColumn_Position, "x"),
    field<&A::m_position, float, 1>(EDataSetColumn_Position, "y"),
    field<&A::m_position, float, 2>(EDataSetColumn_Position, "z"),
    field<&A::m_normal, float, 0>(EDataSetColumn_Normal, "nx"),
    field<&A::m_normal, float, 1>(EDataSetColumn_Normal, "ny"),
    field<&A::m_normal, float, 2>(EDataSetColumn_Normal, "nz"),
    field<&A::m_color, quint8, 0>(EDataSetColumn_Color, "red"),
    field<&A::m_color, quint8, 1>(EDataSetColumn_Color, "green"),
    field<&A::m_color, quint8, 2>(EDataSetColumn_Color, "blue"),
    field<&A::m_color, quint8, 3>(EDataSetColumn_Color, "alpha"),
    field<&A::m_intensity, quint16>(EDataSetColumn_Intensity, "intensity"),
    field<&A::m_returnNumber, quint8>(EDataSetColumn_ReturnNumber, "return_number"),
    field<&A::m_numberOfReturns, quint8>(EDataSetColumn_NumberOfReturns, "number_of_returns"),
    field<&A::m_scanDirection, quint8>(EDataSetColumn_ScanDirection, "scan_direction"),
    field<&A::m_edgeOfFlightLine, quint8>(EDataSetColumn_EdgeOfFlightLine, "edge_of_flight_line"),
    field<&A::m_classification, quint8>(EDataSetColumn_Classification, "classification"),
    // The library keeps its bits; it is a number of degrees with a sign.
    field<&A::m_scanAngleRank, qint8>(EDataSetColumn_ScanAngleRank, "scan_angle_rank"),
    field<&A::m_userData, quint8>(EDataSetColumn_UserData, "user_data"),
    field<&A::m_pointSourceId, quint16>(EDataSetColumn_PointSourceId, "point_source_id"),
    field<&A::m_gpsTime, double>(EDataSetColumn_GpsTime, "gps_time"),
    field<&A::m_wavePacketDescriptorIndex, quint8>(EDataSetColumn_WavePacketDescriptorIndex,
                                                   "wave_packet_descriptor_index"),
    field<&A::m_byteOffsetToWaveformData, double>(EDataSetColumn_ByteOffsetToWaveformData,
                                                  "byte_offset_to_waveform_data"),
    field<&A::m_waveformPacketSize, quint32>(EDataSetColumn_WaveformPacketSize, "waveform_packet_size"),
    field<&A::m_returnPointWaveformLocation, float>(EDataSetColumn_ReturnPointWaveformLocation,
                                                    "return_point_waveform_location"),
    field<&A::m_waveformXyzT, float, 0>(EDataSetColumn_WaveformXyzT, "x_t"),
    field<&A::m_waveformXyzT, float, 1>(EDataSetColumn_WaveformXyzT, "y_t"),
    field<&A::m_waveformXyzT, float, 2>(EDataSetColumn_WaveformXyzT, "z_t"),
};

} // namespace

std::vector<ExportField> exportFields(const QList<EDataSetColumn> &columns)
{
    std::vector<ExportField> result;
    for (const ExportField &field : fields) {
        if (columns.contains(field.column))
            result.push_back(field);
    }
    return result;
}
