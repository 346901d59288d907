#pragma once

#include "LasFormat.h"
#include "stPtCloud_PointArray.h"

namespace ptCloud
{

/// Turns raw records into columns: the one place that knows what a LAS field means.
///
/// Record i goes to element `target` + i of each column of `array` that is there and that the format has a field for;
/// the other columns are left as they are.
///
/// @param isColor256  whether the file's colour values are 8 bits wide
void convertLasRecords(const LasFormat &format, bool isColor256, const unsigned char *records, unsigned int count,
                       const stPtCloud_PointArray &array, unsigned int target);

} // namespace ptCloud
