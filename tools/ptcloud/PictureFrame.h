#pragma once

#include <QColor>
#include <QImage>
#include <QString>

#include <vector>

/// What the colours of a picture mean.
struct Legend
{
    struct Entry
    {
        QColor color;
        QString text;
        double penWidth = 0; ///< of a line in this colour; 0: a swatch
    };

    QString title;
    std::vector<QRgb> ramp; ///< colours in equal steps from `low` to `high`; none: no ramp
    double low = 0;
    double high = 0;
    std::vector<Entry> entries;

    bool isEmpty() const { return title.isEmpty() && ramp.empty() && entries.empty(); }
};

/// Puts a drawing on a white sheet, with a scale bar below and the legend on its right. The drawing's upper left corner
/// lies `frameMargin` pixels from both edges.
QImage framed(const QImage &drawing, double unitsPerPixel, const Legend &legend);

constexpr int frameMargin = 16;
