#include "VolumeView.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace ptCloud;

namespace
{

constexpr int margin = 24;
constexpr int strip = 56; ///< below the map, for the scale bar
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

/// The largest of 1, 2 and 5 times a power of ten that is not above `length`.
double roundLength(double length)
{
    const double power = std::pow(10.0, std::floor(std::log10(length)));
    for (const double factor : {5.0, 2.0}) {
        if (factor * power <= length)
            return factor * power;
    }
    return power;
}

/// A digit, or a point, in the manner of a pocket calculator: letters would need fonts, which a server may lack.
int drawDigit(QPainter &painter, const QPoint &at, QChar digit)
{
    constexpr int width = 8;
    constexpr int half = 7;
    constexpr int thick = 2;
    if (digit == QLatin1Char('.')) {
        painter.fillRect(at.x(), at.y() + 2 * half, thick, thick, Qt::black);
        return thick + 4;
    }
    // Bits: top, upper left, upper right, middle, lower left, lower right, bottom.
    constexpr std::array<int, 10> lit = {0x77, 0x24, 0x5d, 0x6d, 0x2e, 0x6b, 0x7b, 0x25, 0x7f, 0x6f};
    const std::array<QRect, 7> bars = {QRect(0, 0, width, thick),
                                       QRect(0, 0, thick, half + thick),
                                       QRect(width - thick, 0, thick, half + thick),
                                       QRect(0, half, width, thick),
                                       QRect(0, half, thick, half + thick),
                                       QRect(width - thick, half, thick, half + thick),
                                       QRect(0, 2 * half, width, thick)};
    const int bits = lit[static_cast<std::size_t>(digit.digitValue())];
    for (std::size_t i = 0; i < bars.size(); ++i) {
        if ((bits >> i & 1) != 0)
            painter.fillRect(bars[i].translated(at), Qt::black);
    }
    return width + 4;
}

} // namespace

VolumeView::VolumeView(const VolumeCalcAreaList &list, int longestEdge) : m_longestEdge(longestEdge)
{
    list.getAreas(m_areas);
}

QImage VolumeView::draw()
{
    measure();
    const double longest = std::max(m_extent.width(), m_extent.height());
    if (!(longest > 0) || !std::isfinite(longest))
        return {};
    m_pixelsPerUnit = (m_longestEdge - 2 * margin) / longest;
    const int width = static_cast<int>(m_extent.width() * m_pixelsPerUnit) + 2 * margin;
    const int height = static_cast<int>(m_extent.height() * m_pixelsPerUnit) + 2 * margin + strip;
    QImage image(std::max(width, 8 * margin), height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (const VolumeCalcArea *area : qAsConst(m_areas)) {
        drawCells(painter, *area);
        drawTriangles(painter, *area);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    for (const VolumeCalcArea *area : qAsConst(m_areas))
        drawBoundary(painter, *area);
    painter.setRenderHint(QPainter::Antialiasing, false);
    drawScaleBar(painter, height);
    return image;
}

void VolumeView::measure()
{
    bool isFirst = true;
    const auto widen = [this, &isFirst](double x, double y) {
        if (!std::isfinite(x) || !std::isfinite(y))
            return;
        m_extent = isFirst ? QRectF(x, y, 0, 0)
                           : QRectF(QPointF(std::min(m_extent.left(), x), std::min(m_extent.top(), y)),
                                    QPointF(std::max(m_extent.right(), x), std::max(m_extent.bottom(), y)));
        isFirst = false;
    };
    const auto deepen = [this](double height) {
        m_highestDig = std::max(m_highestDig, height);
        m_deepestFill = std::max(m_deepestFill, -height);
    };
    for (const VolumeCalcArea *area : qAsConst(m_areas)) {
        for (const pcVec3f &corner : area->boundary)
            widen(static_cast<double>(corner.x()), static_cast<double>(corner.y()));
        for (const stQuadPrism &prism : area->quadPrisms) {
            if (prism.topZ != noHeight)
                deepen(heightOf(prism));
        }
        for (const stPrism &prism : area->prisms)
            deepen(heightOf(prism));
    }
}

QPointF VolumeView::place(double x, double y) const
{
    return {margin + (x - m_extent.left()) * m_pixelsPerUnit, margin + (m_extent.bottom() - y) * m_pixelsPerUnit};
}

QColor VolumeView::colorOf(double height) const
{
    const double full = height > 0 ? m_highestDig : m_deepestFill;
    // Half of the way to the full colour even for the least, so that it is seen.
    const double share = full > 0 ? 0.25 + 0.75 * std::min(std::abs(height) / full, 1.0) : 0;
    const auto fade = [share](int channel) { return static_cast<int>(255 - (255 - channel) * share); };
    return height > 0 ? QColor(fade(190), fade(20), fade(20)) : QColor(fade(20), fade(60), fade(190));
}

void VolumeView::drawCells(QPainter &painter, const VolumeCalcArea &area) const
{
    for (const stQuadPrism &prism : area.quadPrisms) {
        const QPointF low = place(static_cast<double>(prism.xMin), static_cast<double>(prism.yMax));
        const QPointF high = place(static_cast<double>(prism.xMax), static_cast<double>(prism.yMin));
        const QPoint from(static_cast<int>(low.x()), static_cast<int>(low.y()));
        const QSize size(std::max(1, static_cast<int>(high.x()) - from.x()),
                         std::max(1, static_cast<int>(high.y()) - from.y()));
        painter.fillRect(QRect(from, size), prism.topZ == noHeight ? QColor(Qt::gray) : colorOf(heightOf(prism)));
    }
}

void VolumeView::drawTriangles(QPainter &painter, const VolumeCalcArea &area) const
{
    painter.setPen(Qt::NoPen);
    for (const stPrism &prism : area.prisms) {
        const QPointF corners[] = {place(static_cast<double>(prism.x1), static_cast<double>(prism.y1)),
                                   place(static_cast<double>(prism.x2), static_cast<double>(prism.y2)),
                                   place(static_cast<double>(prism.x3), static_cast<double>(prism.y3))};
        painter.setBrush(colorOf(heightOf(prism)));
        painter.drawPolygon(corners, 3);
    }
}

void VolumeView::drawBoundary(QPainter &painter, const VolumeCalcArea &area) const
{
    QPolygonF outline;
    for (const pcVec3f &corner : area.boundary)
        outline.append(place(static_cast<double>(corner.x()), static_cast<double>(corner.y())));
    painter.setPen(QPen(Qt::black, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolygon(outline);
}

void VolumeView::drawScaleBar(QPainter &painter, int height)
{
    m_scaleBar = roundLength(std::max(m_extent.width(), m_extent.height()) / 3);
    const int length = static_cast<int>(std::lround(m_scaleBar * m_pixelsPerUnit));
    const int y = height - strip / 2;
    painter.fillRect(margin, y, length, 3, Qt::black);
    painter.fillRect(margin, y - 6, 2, 12, Qt::black);
    painter.fillRect(margin + length - 2, y - 6, 2, 12, Qt::black);
    QPoint at(margin + length + 12, y - 7);
    for (const QChar character : QString::number(m_scaleBar, 'f', m_scaleBar < 1 ? 3 : 0))
        at.rx() += drawDigit(painter, at, character);
}
