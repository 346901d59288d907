#include "ScaleBar.h"

#include "Lettering.h"

#include <cmath>

namespace
{

constexpr int gap = 10; ///< between the bar and its figure

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

} // namespace

ScaleBar::ScaleBar(double unitsPerPixel, double mostPixels)
    : m_length(roundLength(unitsPerPixel * mostPixels)),
      m_pixels(static_cast<int>(std::lround(m_length / unitsPerPixel)))
{}

QString ScaleBar::text() const
{
    return QString::number(m_length, 'g', 12) + QStringLiteral(" units");
}

int ScaleBar::width() const
{
    return m_pixels + gap + lettering::width(text());
}

void ScaleBar::draw(QPainter &painter, const QPoint &at) const
{
    painter.fillRect(at.x(), at.y() - 1, m_pixels, 3, Qt::black);
    painter.fillRect(at.x(), at.y() - 6, 2, 13, Qt::black);
    painter.fillRect(at.x() + m_pixels - 2, at.y() - 6, 2, 13, Qt::black);
    lettering::draw(painter, at + QPoint(m_pixels + gap, -lettering::height / 2), text());
}
