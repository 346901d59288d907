#pragma once

#include "PtCloud_ContourFile.h"

#include <QImage>
#include <QJsonArray>
#include <QStringList>

/// For each group its heights, and for each height its lines and points.
QJsonArray contoursToJson(const ptCloud::PtCloud_ContourFile &contours);
/// One line for each group, and below it one for each height.
QStringList contoursToTable(const ptCloud::PtCloud_ContourFile &contours);
/// A plan of the lines, the groups in two colours; null if they have no extent.
QImage drawContours(const ptCloud::PtCloud_ContourFile &contours);
