#include "VolumeReport.h"

#include "Console.h"

#include <QJsonObject>

#include <algorithm>

using namespace ptCloud;

namespace
{

constexpr float noHeight = -99999.0F;

float groundOf(const VolumeCalcArea &area)
{
    return area.groundHeightType == 0 ? area.getGroundHeightBoundaryAvg() : area.groundHeight;
}

VolumeRow plainRow(const QString &name, const VolumeCalcArea &area)
{
    VolumeRow row;
    row.name = name;
    row.method = QStringLiteral("none");
    row.ground = static_cast<double>(groundOf(area));
    row.maxHeight = static_cast<double>(area.maxHeight);
    row.gridSize = static_cast<double>(area.gridSize);
    return row;
}

VolumeRow dtmRow(const QString &name, const VolumeCalcArea &area)
{
    VolumeRow row = plainRow(name, area);
    row.method = QStringLiteral("dtm");
    row.isCalculated = area.dtmCalculated;
    row.dig = area.getDigVolume_dtm();
    row.fill = area.getFillVolume_dtm();
    row.count = area.prisms.size();
    return row;
}

/// A stored record keeps the ground that it was calculated with, whatever the area's fields say by now.
template <typename Prism>
void takeGround(VolumeRow &row, const QList<Prism> &prisms)
{
    if (!prisms.isEmpty())
        row.ground = static_cast<double>(prisms.first().groundZ);
}

/// Cells that no height reached stay in the sum, far below any ground.
QString aboutEmptyCells(int empty, int all)
{
    if (empty == all)
        return QStringLiteral("no points in the area: its cells count at height -99999, and the fill is meaningless");
    return QStringLiteral(
               "no points near %1 cells, which count at height -99999: the fill is meaningless; draw the area "
               "inside the survey or take larger cells")
        .arg(grouped(empty));
}

VolumeRow gridRow(const QString &name, const VolumeCalcArea &area)
{
    VolumeRow row = plainRow(name, area);
    row.method = QStringLiteral("grid");
    row.isCalculated = area.gridCalculated;
    row.dig = area.getDigVolume_grid();
    row.fill = area.getFillVolume_grid();
    row.count = area.quadPrisms.size();
    const auto empty = std::count_if(area.quadPrisms.cbegin(), area.quadPrisms.cend(),
                                     [](const stQuadPrism &prism) { return prism.topZ == noHeight; });
    if (row.isCalculated && empty > 0)
        row.why = aboutEmptyCells(static_cast<int>(empty), row.count);
    return row;
}

QString whyNot(const VolumeCalcArea &area, EVolumeCalcFunction function, const VolumeSource &source)
{
    if (function == VolumeCalc_GRID && static_cast<double>(area.gridSize) < 0.01)
        return QStringLiteral("the grid size is below 0.01");
    if (groundOf(area) >= area.maxHeight)
        return QStringLiteral("the ground is at or above the height limit");
    if (area.boundary.size() < 3)
        return QStringLiteral("fewer than three corners");
    if (function == VolumeCalc_DTM && source.blocks != 1)
        return QStringLiteral("the mesh is not in one block");
    if (function == VolumeCalc_DTM)
        return QStringLiteral("the mesh can't be read, or memory is short");
    return QStringLiteral("too many cells, or coordinates too large for this grid size in 32-bit floats");
}

QString doubtOf(const VolumeRow &row, const VolumeSource &source)
{
    if (source.points == 0)
        return QStringLiteral("no points");
    if (row.method == QLatin1String("dtm") && source.triangles == 0)
        return QStringLiteral("no triangles");
    if (row.method == QLatin1String("dtm") && row.count == 0)
        return QStringLiteral("no triangle of the mesh lies in the area");
    return row.why;
}

QString toFixed(double value)
{
    return QString::number(value, 'f', 3);
}

QString statusOf(const VolumeRow &row)
{
    if (!row.isCalculated)
        return QStringLiteral("not calculated: ") + row.why;
    return row.why.isEmpty() ? QStringLiteral("calculated") : QStringLiteral("calculated, but: ") + row.why;
}

QString tableLine(const QString &name, int nameWidth, const QStringList &cells, const QString &status)
{
    QString line = name.leftJustified(nameWidth);
    for (const QString &cell : cells)
        line += QLatin1Char(' ') + cell.rightJustified(14);
    return line + QStringLiteral("  ") + status;
}

QString csvText(QString text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) && !text.contains(QLatin1Char('\n'))
        && !text.contains(QLatin1Char('\r')))
        return text;
    return QLatin1Char('"') + text.replace(QLatin1Char('"'), QLatin1String("\"\"")) + QLatin1Char('"');
}

QString csvNumber(double value)
{
    return QString::number(value, 'g', 17);
}

} // namespace

QList<VolumeRow> rowsAfterRun(const VolumeCalcAreaList &list, EVolumeCalcFunction function, const VolumeSource &source)
{
    QList<VolumeRow> rows;
    QMap<QString, const VolumeCalcArea *> areas;
    list.getAreas(areas);
    for (auto it = areas.cbegin(); it != areas.cend(); ++it) {
        VolumeRow row = function == VolumeCalc_DTM ? dtmRow(it.key(), **it) : gridRow(it.key(), **it);
        row.why = row.isCalculated ? doubtOf(row, source) : whyNot(**it, function, source);
        rows.append(row);
    }
    return rows;
}

QList<VolumeRow> rowsAsStored(const VolumeCalcAreaList &list)
{
    QList<VolumeRow> rows;
    QMap<QString, const VolumeCalcArea *> areas;
    list.getAreas(areas);
    for (auto it = areas.cbegin(); it != areas.cend(); ++it) {
        const VolumeCalcArea &area = **it;
        if (area.dtmCalculated) {
            rows.append(dtmRow(it.key(), area));
            takeGround(rows.last(), area.prisms);
        }
        if (area.gridCalculated) {
            rows.append(gridRow(it.key(), area));
            takeGround(rows.last(), area.quadPrisms);
        }
        if (!area.dtmCalculated && !area.gridCalculated) {
            rows.append(plainRow(it.key(), area));
            rows.last().why = QStringLiteral("no result is stored");
        }
    }
    return rows;
}

bool isAsStored(const VolumeCalcAreaList &list)
{
    VolumeCalcAreaList stored(list);
    return stored.loadFromFile() && toJson(rowsAsStored(stored)) == toJson(rowsAsStored(list));
}

QStringList toTable(const QList<VolumeRow> &rows)
{
    int nameWidth = 4;
    for (const VolumeRow &row : rows)
        nameWidth = std::max(nameWidth, row.name.size());
    QStringList lines{tableLine(QStringLiteral("area"), nameWidth,
                                {QStringLiteral("ground"), QStringLiteral("dig"), QStringLiteral("fill"),
                                 QStringLiteral("net"), QStringLiteral("count"), QStringLiteral("method")},
                                QStringLiteral("state"))};
    double dig = 0;
    double fill = 0;
    for (const VolumeRow &row : rows) {
        lines << tableLine(row.name, nameWidth,
                           {toFixed(row.ground), toFixed(row.dig), toFixed(row.fill), toFixed(row.dig - row.fill),
                            grouped(row.count), row.method},
                           statusOf(row));
        dig += row.dig;
        fill += row.fill;
    }
    // Two methods over one area are two answers to one question, and no sum.
    const bool isOneMethod = std::all_of(rows.cbegin(), rows.cend(),
                                         [&rows](const VolumeRow &row) { return row.method == rows.first().method; });
    if (rows.size() > 1 && isOneMethod)
        lines << tableLine(QStringLiteral("sum"), nameWidth,
                           {QString(), toFixed(dig), toFixed(fill), toFixed(dig - fill), QString(), QString()}, {});
    return lines;
}

QJsonArray toJson(const QList<VolumeRow> &rows)
{
    QJsonArray areas;
    for (const VolumeRow &row : rows) {
        areas.append(QJsonObject{{QStringLiteral("name"), row.name},
                                 {QStringLiteral("ground"), row.ground},
                                 {QStringLiteral("maxHeight"), row.maxHeight},
                                 {QStringLiteral("gridSize"), row.gridSize},
                                 {QStringLiteral("method"), row.method},
                                 {QStringLiteral("dig"), row.dig},
                                 {QStringLiteral("fill"), row.fill},
                                 {QStringLiteral("net"), row.dig - row.fill},
                                 {QStringLiteral("count"), row.count},
                                 {QStringLiteral("calculated"), row.isCalculated},
                                 {QStringLiteral("why"), row.why}});
    }
    return areas;
}

QByteArray toCsv(const QList<VolumeRow> &rows)
{
    QString text = QStringLiteral("name,method,ground,max_height,grid_size,dig,fill,net,count,calculated,why\r\n");
    for (const VolumeRow &row : rows) {
        text += QStringList{csvText(row.name),
                            row.method,
                            csvNumber(row.ground),
                            csvNumber(row.maxHeight),
                            csvNumber(row.gridSize),
                            csvNumber(row.dig),
                            csvNumber(row.fill),
                            csvNumber(row.dig - row.fill),
                            QString::number(row.count),
                            row.isCalculated ? QStringLiteral("true") : QStringLiteral("false"),
                            csvText(row.why)}
                    .join(QLatin1Char(','))
                + QStringLiteral("\r\n");
    }
    return text.toUtf8();
}
