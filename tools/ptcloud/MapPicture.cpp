#include "MapPicture.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr int margin = 24;
constexpr int strip = 56; ///< below the map, for the scale bar

} // namespace

void Extent::add(double x, double y)
{
    if (!std::isfinite(x) || !std::isfinite(y))
        return;
    m_xMin = m_isEmpty ? x : std::min(m_xMin, x);
    m_yMin = m_isEmpty ? y : std::min(m_yMin, y);
    m_xMax = m_isEmpty ? x : std::max(m_xMax, x);
    m_yMax = m_isEmpty ? y : std::max(m_yMax, y);
    m_isEmpty = false;
}

bool Extent::isDrawable() const
{
    const double longest = std::max(width(), height());
    return longest > 0 && std::isfinite(longest);
}

MapPicture::MapPicture(const Extent &extent, int longestEdge)
    : m_extent(extent), m_pixelsPerUnit((longestEdge - 2 * margin) / std::max(extent.width(), extent.height())),
      m_scaleBar(1 / m_pixelsPerUnit, (longestEdge - 2 * margin) / 3.0),
      m_image(std::max(static_cast<int>(extent.width() * m_pixelsPerUnit), m_scaleBar.width()) + 2 * margin,
              static_cast<int>(extent.height() * m_pixelsPerUnit) + 2 * margin + strip, QImage::Format_RGB32)
{
    m_image.fill(Qt::white);
    m_painter.begin(&m_image);
}

QPointF MapPicture::place(double x, double y) const
{
    return {margin + (x - m_extent.xMin()) * m_pixelsPerUnit, margin + (m_extent.yMax() - y) * m_pixelsPerUnit};
}

QImage MapPicture::finish()
{
    m_scaleBar.draw(m_painter, QPoint(margin, m_image.height() - strip / 2));
    m_painter.end();
    return m_image;
}
