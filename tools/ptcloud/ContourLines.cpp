#include "ContourLines.h"

#include <algorithm>
#include <cmath>

using namespace ptCloud;

namespace
{

using Group = PtCloud_ContourFile::Group;

struct Look
{
    const Group &(PtCloud_ContourFile::*group)() const;
    const char *name;
    QColor color;
    double penWidth;
};

/// In the order of drawing: the strong lines above the others.
const Look looks[] = {
    {&PtCloud_ContourFile::contourGroup2, "contours", QColor(150, 95, 45), 0.9},
    {&PtCloud_ContourFile::contourGroup1, "index contours", QColor(105, 50, 15), 2.0},
};

bool isDrawable(const QPointF &point)
{
    constexpr double farthest = 1e9;
    return std::abs(point.x()) <= farthest && std::abs(point.y()) <= farthest;
}

/// The distance between heights if all have the same; else 0.
double stepOf(const PtCloud_ContourFile &contours)
{
    QList<double> heights = contours.contourGroup1().keys() + contours.contourGroup2().keys();
    std::sort(heights.begin(), heights.end());
    const double step = heights.size() < 2 ? 0 : heights[1] - heights[0];
    for (int i = 1; i < heights.size(); ++i) {
        if (!(std::abs(heights[i] - heights[i - 1] - step) < 1e-6 * step))
            return 0;
    }
    return step;
}

} // namespace

bool drawContourLines(QPainter &painter, const QRectF &area, const PtCloud_ContourFile &contours,
                      const std::function<QPointF(const QPointF &)> &place)
{
    bool isInside = false;
    painter.setRenderHint(QPainter::Antialiasing);
    const auto drawStretch = [&](QPolygonF &stretch) {
        // Without its pen a line along an axis has no rectangle that could meet another.
        const QRectF drawn = stretch.boundingRect().adjusted(-0.5, -0.5, 0.5, 0.5);
        isInside = isInside || (stretch.size() > 1 && drawn.intersects(area));
        painter.drawPolyline(stretch);
        stretch.clear();
    };
    for (const Look &look : looks) {
        painter.setPen(QPen(look.color, look.penWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        for (const QList<QVector<QPointF>> &lines : (contours.*look.group)()) {
            for (const QVector<QPointF> &line : lines) {
                QPolygonF stretch;
                for (const QPointF &point : line) {
                    if (isDrawable(point))
                        stretch << place(point);
                    else
                        drawStretch(stretch);
                }
                drawStretch(stretch);
            }
        }
    }
    return isInside;
}

std::vector<Legend::Entry> contourEntries(const PtCloud_ContourFile &contours)
{
    std::vector<Legend::Entry> entries;
    for (const Look &look : looks) {
        if (!(contours.*look.group)().isEmpty())
            entries.push_back({look.color, QLatin1String(look.name), look.penWidth});
    }
    const double step = stepOf(contours);
    if (step > 0 && !entries.empty())
        entries.push_back({Qt::white, QString::number(step, 'g', 4) + QStringLiteral(" apart")});
    return entries;
}
