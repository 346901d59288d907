#include "MapPicture.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

constexpr int margin = 24;
constexpr int strip = 56; ///< below the map, for the scale bar

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
      m_scaleBar(roundLength(std::max(extent.width(), extent.height()) / 3)),
      m_image(std::max(static_cast<int>(extent.width() * m_pixelsPerUnit) + 2 * margin, 8 * margin),
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
    m_painter.setRenderHint(QPainter::Antialiasing, false);
    drawScaleBar();
    m_painter.end();
    return m_image;
}

void MapPicture::drawScaleBar()
{
    const int length = static_cast<int>(std::lround(m_scaleBar * m_pixelsPerUnit));
    const int y = m_image.height() - strip / 2;
    m_painter.fillRect(margin, y, length, 3, Qt::black);
    m_painter.fillRect(margin, y - 6, 2, 12, Qt::black);
    m_painter.fillRect(margin + length - 2, y - 6, 2, 12, Qt::black);
    QPoint at(margin + length + 12, y - 7);
    for (const QChar character : QString::number(m_scaleBar, 'f', m_scaleBar < 1 ? 3 : 0))
        at.rx() += drawDigit(m_painter, at, character);
}
