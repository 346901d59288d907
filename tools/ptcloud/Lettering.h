#pragma once

#include <QPainter>
#include <QPointF>
#include <QString>

/// Text in pictures, in strokes of its own: letters of a font would need a display's plugins and installed fonts, which
/// a server may lack.
///
/// There are small letters, digits and common signs; capitals are drawn small, anything else leaves a blank.
namespace lettering
{

/// Pixels from the top of a digit to the line that it stands on.
constexpr int height = 12;

/// Pixels that a text takes along the line.
int width(const QString &text);
/// Draws a text in black; `at` is the upper left corner of its first digit.
void draw(QPainter &painter, const QPointF &at, const QString &text);

} // namespace lettering
