#pragma once

#include "ScaleBar.h"

#include <QImage>
#include <QPainter>
#include <QPointF>

/// The rectangle around points; those that are not finite are left out.
class Extent
{
public:
    void add(double x, double y);
    /// Whether it has a width or a height.
    bool isDrawable() const;
    double width() const { return m_xMax - m_xMin; }
    double height() const { return m_yMax - m_yMin; }
    double xMin() const { return m_xMin; }
    double yMax() const { return m_yMax; }

private:
    bool m_isEmpty = true;
    double m_xMin = 0;
    double m_yMin = 0;
    double m_xMax = 0;
    double m_yMax = 0;
};

/// A white sheet to draw a plan on, in position units with y upwards, and a scale bar below it.
class MapPicture
{
public:
    /// @param extent       drawable
    /// @param longestEdge  pixels of the longer edge
    MapPicture(const Extent &extent, int longestEdge);

    QPainter &painter() { return m_painter; }
    /// Where a position lies on the sheet.
    QPointF place(double x, double y) const;
    /// The length of the scale bar, in position units: 1, 2 or 5 times a power of ten.
    double scaleBar() const { return m_scaleBar.length(); }
    /// Adds the scale bar and ends the drawing.
    QImage finish();

private:
    Extent m_extent;
    double m_pixelsPerUnit;
    ScaleBar m_scaleBar;
    QImage m_image;
    QPainter m_painter;
};
