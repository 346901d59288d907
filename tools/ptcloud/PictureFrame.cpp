#include "PictureFrame.h"

#include "Lettering.h"
#include "ScaleBar.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace
{

constexpr int stripHeight = 32; ///< below the drawing, for the scale bar
constexpr int rowHeight = 22;
constexpr int swatchSize = 14;
constexpr int textLeft = 26; ///< from the left of a swatch or ramp
constexpr int leastRamp = 60;
constexpr int mostRamp = 240;
constexpr double leastBar = 60;

QString figure(double value, double step)
{
    const int decimals = step > 0 ? std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6) : 2;
    return QString::number(value, 'f', decimals);
}

/// What stands on the right of a drawing, row under row.
class LegendColumn
{
public:
    LegendColumn(const Legend &legend, int height) : m_legend(legend)
    {
        const int others = rowHeight * ((legend.title.isEmpty() ? 0 : 1) + static_cast<int>(legend.entries.size()) + 1);
        m_rampHeight = legend.ramp.empty() ? 0 : std::clamp(height - others, leastRamp, mostRamp);
        m_rampStep = stepOf(legend.high - legend.low);
    }

    int height() const
    {
        const int rows = (m_legend.title.isEmpty() ? 0 : 1) + static_cast<int>(m_legend.entries.size());
        return rows * rowHeight + (m_rampHeight > 0 ? m_rampHeight + rowHeight : 0);
    }

    int width() const
    {
        int width = lettering::width(m_legend.title);
        for (const Legend::Entry &entry : m_legend.entries)
            width = std::max(width, textLeft + lettering::width(entry.text));
        if (m_rampHeight > 0) {
            for (const double end : {m_legend.low, m_legend.high})
                width = std::max(width, textLeft + lettering::width(figure(end, m_rampStep)));
        }
        return width;
    }

    void draw(QPainter &painter, QPoint at) const
    {
        if (!m_legend.title.isEmpty()) {
            lettering::draw(painter, at, m_legend.title);
            at.ry() += rowHeight;
        }
        if (m_rampHeight > 0) {
            drawRamp(painter, at);
            at.ry() += m_rampHeight + rowHeight;
        }
        for (const Legend::Entry &entry : m_legend.entries) {
            drawEntry(painter, at, entry);
            at.ry() += rowHeight;
        }
    }

private:
    /// About five figures beside the ramp, each a round number.
    static double stepOf(double range)
    {
        if (!(range > 0))
            return 0;
        const double power = std::pow(10.0, std::floor(std::log10(range / 4)));
        for (const double factor : {1.0, 2.0, 5.0}) {
            if (factor * power >= range / 5)
                return factor * power;
        }
        return 10 * power;
    }

    void drawRamp(QPainter &painter, const QPoint &at) const
    {
        for (int row = 0; row < m_rampHeight; ++row) {
            const std::size_t index = m_legend.ramp.size() * static_cast<std::size_t>(m_rampHeight - 1 - row)
                                      / static_cast<std::size_t>(m_rampHeight);
            painter.fillRect(at.x(), at.y() + row, swatchSize, 1, QColor(m_legend.ramp[index]));
        }
        if (m_rampStep <= 0) {
            drawFigure(painter, at, m_legend.low);
            return;
        }
        const double first = std::ceil(m_legend.low / m_rampStep);
        for (double count = first; count * m_rampStep <= m_legend.high; ++count)
            drawFigure(painter, at, count * m_rampStep);
    }

    void drawFigure(QPainter &painter, const QPoint &at, double value) const
    {
        const double range = m_legend.high - m_legend.low;
        const double share = range > 0 ? (m_legend.high - value) / range : 0.5;
        const int y = at.y() + static_cast<int>(std::lround(share * (m_rampHeight - 1)));
        painter.fillRect(at.x() + swatchSize, y, 5, 1, Qt::black);
        lettering::draw(painter, QPoint(at.x() + textLeft, y - lettering::height / 2), figure(value, m_rampStep));
    }

    static void drawEntry(QPainter &painter, const QPoint &at, const Legend::Entry &entry)
    {
        const QRect swatch(at.x(), at.y() - (swatchSize - lettering::height) / 2, swatchSize, swatchSize);
        if (entry.penWidth > 0) {
            painter.setPen(QPen(entry.color, entry.penWidth));
            painter.drawLine(swatch.left(), swatch.center().y(), swatch.right(), swatch.center().y());
        } else {
            painter.fillRect(swatch, entry.color);
        }
        lettering::draw(painter, at + QPoint(textLeft, 0), entry.text);
    }

    const Legend &m_legend;
    int m_rampHeight = 0;
    double m_rampStep = 0;
};

} // namespace

QImage framed(const QImage &drawing, double unitsPerPixel, const Legend &legend)
{
    const ScaleBar bar(unitsPerPixel, std::max(leastBar, drawing.width() / 3.0));
    const LegendColumn column(legend, drawing.height());
    const int legendWidth = legend.isEmpty() ? 0 : column.width() + frameMargin;
    const int bodyHeight = std::max(drawing.height(), column.height());
    QImage sheet(std::max(drawing.width() + legendWidth, bar.width()) + 2 * frameMargin,
                 bodyHeight + stripHeight + 2 * frameMargin, QImage::Format_RGB32);
    if (sheet.isNull())
        return {};
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    painter.drawImage(frameMargin, frameMargin, drawing);
    column.draw(painter, QPoint(drawing.width() + 2 * frameMargin, frameMargin));
    bar.draw(painter, QPoint(frameMargin, frameMargin + bodyHeight + stripHeight - lettering::height));
    return sheet;
}
