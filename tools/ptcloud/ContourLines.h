#pragma once

#include "PictureFrame.h"

#include "PtCloud_ContourFile.h"

#include <QPainter>
#include <QPointF>

#include <functional>

/// Draws the lines of a contour file: the first group, the index contours, strong, the second thin. Points that are not
/// finite break a line.
/// @param place  from position units to pixels
/// @return whether any of a line lies in `area`
bool drawContourLines(QPainter &painter, const QRectF &area, const ptCloud::PtCloud_ContourFile &contours,
                      const std::function<QPointF(const QPointF &)> &place);

/// What to tell of the lines in a legend.
std::vector<Legend::Entry> contourEntries(const ptCloud::PtCloud_ContourFile &contours);
