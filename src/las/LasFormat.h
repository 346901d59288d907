#pragma once

#include "LasRecords.h"
#include "PtCloud_Types.h"

#include <QList>

namespace ptCloud
{

/// What is known of a point format: the size of its records and where its optional fields stand.
struct LasFormat
{
    static constexpr int none = -1;

    unsigned int recordSize;
    int gpsTime;    ///< offset in the record, or `none`
    int color;      ///< offset of red; green and blue follow
    int wavePacket; ///< offset of the descriptor index; the other wave packet fields follow
};

/// The six formats that are read.
inline constexpr LasFormat lasFormats[] = {
    {sizeof(stLasRecord_fmt_0), LasFormat::none, LasFormat::none, LasFormat::none},
    {sizeof(stLasRecord_fmt_1), 20, LasFormat::none, LasFormat::none},
    {sizeof(stLasRecord_fmt_2), LasFormat::none, 20, LasFormat::none},
    {sizeof(stLasRecord_fmt_3), 20, 28, LasFormat::none},
    {sizeof(stLasRecord_fmt_4), LasFormat::none, LasFormat::none, 20},
    {sizeof(stLasRecord_fmt_5), 20, 28, 34},
};

/// Null for a format above 5.
inline const LasFormat *findLasFormat(unsigned char format)
{
    constexpr unsigned int count = sizeof(lasFormats) / sizeof(lasFormats[0]);
    return format < count ? &lasFormats[format] : nullptr;
}

/// The columns that records of a format fill, in ascending order.
QList<EDataSetColumn> lasColumns(const LasFormat &format);

} // namespace ptCloud
