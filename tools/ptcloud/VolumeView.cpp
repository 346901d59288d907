#include "VolumeView.h"

#include <algorithm>
#include <cmath>

using namespace ptCloud;

namespace
{

constexpr float noHeight = -99999.0F;

double heightOf(const stQuadPrism &prism)
{
    return static_cast<double>(prism.topZ) - static_cast<double>(prism.groundZ);
}

/// The mean height of a triangle above the ground.
double heightOf(const stPrism &prism)
{
    return (static_cast<double>(prism.z1) + static_cast<double>(prism.z2) + static_cast<double>(prism.z3)) / 3
           - static_cast<double>(prism.groundZ);
}

} // namespace

VolumeView::VolumeView(const VolumeCalcAreaList &list, int longestEdge) : m_longestEdge(longestEdge)
{
    list.getAreas(m_areas);
}

QImage VolumeView::draw()
{
    Extent extent;
    for (const VolumeCalcArea *area : qAsConst(m_areas)) {
        for (const pcVec3f &corner : area->boundary)
            extent.add(static_cast<double>(corner.x()), static_cast<double>(corner.y()));
    }
    if (!extent.isDrawable())
        return {};
    measureHeights();
    MapPicture map(extent, m_longestEdge);
    for (const VolumeCalcArea *area : qAsConst(m_areas)) {
        drawCells(map, *area);
        drawTriangles(map, *area);
    }
    map.painter().setRenderHint(QPainter::Antialiasing);
    for (const VolumeCalcArea *area : qAsConst(m_areas))
        drawBoundary(map, *area);
    m_scaleBar = map.scaleBar();
    return map.finish();
}

void VolumeView::measureHeights()
{
    const auto deepen = [this](double height) {
        m_highestDig = std::max(m_highestDig, height);
        m_deepestFill = std::max(m_deepestFill, -height);
    };
    for (const VolumeCalcArea *area : qAsConst(m_areas)) {
        for (const stQuadPrism &prism : area->quadPrisms) {
            if (prism.topZ != noHeight)
                deepen(heightOf(prism));
        }
        for (const stPrism &prism : area->prisms)
            deepen(heightOf(prism));
    }
}

QColor VolumeView::colorOf(double height) const
{
    const double full = height > 0 ? m_highestDig : m_deepestFill;
    // Half of the way to the full colour even for the least, so that it is seen.
    const double share = full > 0 ? 0.25 + 0.75 * std::min(std::abs(height) / full, 1.0) : 0;
    const auto fade = [share](int channel) { return static_cast<int>(255 - (255 - channel) * share); };
    return height > 0 ? QColor(fade(190), fade(20), fade(20)) : QColor(fade(20), fade(60), fade(190));
}

void VolumeView::drawCells(MapPicture &map, const VolumeCalcArea &area) const
{
    for (const stQuadPrism &prism : area.quadPrisms) {
        const QPointF low = map.place(static_cast<double>(prism.xMin), static_cast<double>(prism.yMax));
        const QPointF high = map.place(static_cast<double>(prism.xMax), static_cast<double>(prism.yMin));
        const QPoint from(static_cast<int>(low.x()), static_cast<int>(low.y()));
        const QSize size(std::max(1, static_cast<int>(high.x()) - from.x()),
                         std::max(1, static_cast<int>(high.y()) - from.y()));
        map.painter().fillRect(QRect(from, size), prism.topZ == noHeight ? QColor(Qt::gray) : colorOf(heightOf(prism)));
    }
}

void VolumeView::drawTriangles(MapPicture &map, const VolumeCalcArea &area) const
{
    map.painter().setPen(Qt::NoPen);
    for (const stPrism &prism : area.prisms) {
        const QPointF corners[] = {map.place(static_cast<double>(prism.x1), static_cast<double>(prism.y1)),
                                   map.place(static_cast<double>(prism.x2), static_cast<double>(prism.y2)),
                                   map.place(static_cast<double>(prism.x3), static_cast<double>(prism.y3))};
        map.painter().setBrush(colorOf(heightOf(prism)));
        map.painter().drawPolygon(corners, 3);
    }
}

void VolumeView::drawBoundary(MapPicture &map, const VolumeCalcArea &area)
{
    QPolygonF outline;
    for (const pcVec3f &corner : area.boundary)
        outline.append(map.place(static_cast<double>(corner.x()), static_cast<double>(corner.y())));
    map.painter().setPen(QPen(Qt::black, 2));
    map.painter().setBrush(Qt::NoBrush);
    map.painter().drawPolygon(outline);
}
