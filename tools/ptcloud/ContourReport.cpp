#include "ContourReport.h"

#include "Console.h"
#include "ContourLines.h"
#include "MapPicture.h"

#include <QJsonObject>

using namespace ptCloud;

namespace
{

using Group = PtCloud_ContourFile::Group;
using Lines = QList<QVector<QPointF>>;

qint64 pointsOf(const Lines &lines)
{
    qint64 points = 0;
    for (const QVector<QPointF> &line : lines)
        points += line.size();
    return points;
}

QList<const Group *> groupsOf(const PtCloud_ContourFile &contours)
{
    return {&contours.contourGroup1(), &contours.contourGroup2()};
}

} // namespace

QJsonArray contoursToJson(const PtCloud_ContourFile &contours)
{
    QJsonArray groups;
    for (const Group *group : groupsOf(contours)) {
        QJsonArray heights;
        for (auto it = group->cbegin(); it != group->cend(); ++it) {
            heights.append(QJsonObject{{QStringLiteral("height"), it.key()},
                                       {QStringLiteral("lines"), it->size()},
                                       {QStringLiteral("points"), pointsOf(*it)}});
        }
        groups.append(QJsonObject{{QStringLiteral("heights"), heights}});
    }
    return groups;
}

QStringList contoursToTable(const PtCloud_ContourFile &contours)
{
    QStringList lines;
    int number = 0;
    for (const Group *group : groupsOf(contours)) {
        lines << QStringLiteral("group %1: %2 heights").arg(++number).arg(grouped(group->size()));
        for (auto it = group->cbegin(); it != group->cend(); ++it) {
            lines << QStringLiteral("%1  %2 lines, %3 points")
                         .arg(it.key(), 14, 'f', 3)
                         .arg(grouped(it->size()), grouped(pointsOf(*it)));
        }
    }
    return lines;
}

QImage drawContours(const PtCloud_ContourFile &contours)
{
    Extent extent;
    for (const Group *group : groupsOf(contours)) {
        for (const Lines &lines : *group) {
            for (const QVector<QPointF> &line : lines) {
                for (const QPointF &point : line)
                    extent.add(point.x(), point.y());
            }
        }
    }
    if (!extent.isDrawable())
        return {};
    MapPicture map(extent, 1200);
    drawContourLines(map.painter(), map.painter().viewport(), contours,
                     [&map](const QPointF &point) { return map.place(point.x(), point.y()); });
    return map.finish();
}
