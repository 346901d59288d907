#pragma once

#include <QPainter>

/// A bar whose length in position units is written beside it.
class ScaleBar
{
public:
    /// The longest that is 1, 2 or 5 times a power of ten and takes no more than these pixels.
    ScaleBar(double unitsPerPixel, double mostPixels);

    /// In position units.
    double length() const { return m_length; }
    /// Pixels of the bar and the figure beside it.
    int width() const;
    /// `at` is the left end of the bar.
    void draw(QPainter &painter, const QPoint &at) const;

private:
    QString text() const;

    double m_length;
    int m_pixels;
};
