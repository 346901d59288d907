#pragma once

#include "pcVec.h"

#include <QList>
#include <QPolygonF>

namespace ptCloud
{

/// The planar outline of an area: the corners as a closed polygon, and the rectangle around them in floats.
class AreaPolygon
{
public:
    explicit AreaPolygon(const QList<pcVec3f> &boundary);

    /// One point more than the area has corners: the first comes again at the end.
    const QPolygonF &polygon() const { return m_polygon; }
    float xMin() const { return m_xMin; }
    float yMin() const { return m_yMin; }
    float xMax() const { return m_xMax; }
    float yMax() const { return m_yMax; }

    /// Whether every corner has a finite x and y.
    bool isFinite() const;
    /// Whether the point lies in the rectangle, its edges included.
    bool rectangleHolds(const pcVec3f &point) const
    {
        return point.x() >= m_xMin && point.x() <= m_xMax && point.y() >= m_yMin && point.y() <= m_yMax;
    }

private:
    QPolygonF m_polygon;
    float m_xMin;
    float m_yMin;
    float m_xMax;
    float m_yMax;
};

} // namespace ptCloud
