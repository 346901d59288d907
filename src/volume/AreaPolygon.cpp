#include "AreaPolygon.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ptCloud
{

AreaPolygon::AreaPolygon(const QList<pcVec3f> &boundary)
    : m_xMin(std::numeric_limits<float>::max()), m_yMin(m_xMin), m_xMax(-m_xMin), m_yMax(-m_xMin)
{
    m_polygon.reserve(boundary.size() + 1);
    for (const pcVec3f &corner : boundary) {
        m_polygon.append({corner.x(), corner.y()});
        m_xMin = std::min(m_xMin, corner.x());
        m_yMin = std::min(m_yMin, corner.y());
        m_xMax = std::max(m_xMax, corner.x());
        m_yMax = std::max(m_yMax, corner.y());
    }
    if (!boundary.isEmpty())
        m_polygon.append(m_polygon.first());
}

bool AreaPolygon::isFinite() const
{
    return std::all_of(m_polygon.cbegin(), m_polygon.cend(),
                       [](const QPointF &corner) { return std::isfinite(corner.x()) && std::isfinite(corner.y()); });
}

} // namespace ptCloud
