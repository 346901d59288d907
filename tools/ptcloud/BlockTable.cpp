#include "BlockTable.h"

#include "ColumnNames.h"
#include "FileFacts.h"

#include <QFile>
#include <QJsonObject>

using namespace ptCloud;

namespace
{

/// The triangle count of a block, which the reader tells only together with the points.
quint32 readTriangleCount(QFile &file, qint64 blockOffset)
{
    constexpr qint64 triangleCountAt = 8;
    quint32 count = 0;
    if (!file.seek(blockOffset + triangleCountAt)
        || file.read(reinterpret_cast<char *>(&count), sizeof count) != static_cast<qint64>(sizeof count))
        throw CommandError(QStringLiteral("%1 can't be read: %2").arg(quoted(file.fileName()), file.errorString()));
    return count;
}

QString sortName(EDataSetSort sort)
{
    switch (sort) {
    case EDataSetSort_None:
        return QStringLiteral("none");
    case EDataSetSort_ByBox:
        return QStringLiteral("by box");
    case EDataSetSort_ByArray:
        return QStringLiteral("by array");
    }
    return {};
}

QJsonObject toJson(const BlockRow &row)
{
    return {{QStringLiteral("key"), row.key},
            {QStringLiteral("points"), static_cast<qint64>(row.points)},
            {QStringLiteral("triangles"), static_cast<qint64>(row.triangles)},
            {QStringLiteral("offset"), row.offset},
            {QStringLiteral("box"), boxToJson(row.box)}};
}

QString toText(const BlockRow &row)
{
    const auto edge = [](float low, float high) {
        return QStringLiteral("%1 .. %2")
            .arg(static_cast<double>(low), 0, 'f', 3)
            .arg(static_cast<double>(high), 0, 'f', 3);
    };
    return QStringLiteral("%1 %2 %3 %4  x %5  y %6  z %7")
        .arg(row.key, 8)
        .arg(row.points, 10)
        .arg(row.triangles, 10)
        .arg(row.offset, 14)
        .arg(edge(row.box.xMin(), row.box.xMax()), edge(row.box.yMin(), row.box.yMax()),
             edge(row.box.zMin(), row.box.zMax()));
}

} // namespace

QList<BlockRow> readBlockTable(const PtCloud_DataSetFile &file)
{
    QFile bytes(file.getFilepath());
    if (!bytes.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw CommandError(QStringLiteral("%1 can't be read: %2").arg(quoted(file.getFilepath()), bytes.errorString()));
    QList<BlockRow> rows;
    const auto infos = file.getBlockInfos();
    for (auto it = infos.cbegin(); it != infos.cend(); ++it) {
        const auto &[offset, points, box] = *it;
        rows.append({it.key(), offset, points, readTriangleCount(bytes, offset), box});
    }
    return rows;
}

QJsonArray boxToJson(const pcBoundingBoxf &box)
{
    return {static_cast<double>(box.xMin()), static_cast<double>(box.yMin()), static_cast<double>(box.zMin()),
            static_cast<double>(box.xMax()), static_cast<double>(box.yMax()), static_cast<double>(box.zMax())};
}

void tellBlocks(const Console &console, PtCloud_DataSetFile &file, bool summaryOnly)
{
    const QString path = file.getFilepath();
    const qint64 bytes = sizeOfFile(path);
    const QList<BlockRow> rows = readBlockTable(file);
    qint64 points = 0;
    QJsonArray blocks;
    for (const BlockRow &row : rows) {
        points += row.points;
        if (console.json)
            blocks.append(toJson(row));
    }
    console.line(QStringLiteral("%1: %2 points in %3 blocks, sorted %4, %5 bytes")
                     .arg(path, grouped(points), grouped(rows.size()), sortName(file.getSortType()), grouped(bytes)));
    console.line(QStringLiteral("columns: ") + columnNames(file.getColumns()));
    if (!summaryOnly && !rows.isEmpty()) {
        console.line(QStringLiteral("     key     points  triangles         offset  box"));
        for (const BlockRow &row : rows)
            console.line(toText(row));
    }
    console.object({{QStringLiteral("file"), path},
                    {QStringLiteral("sort"), static_cast<int>(file.getSortType())},
                    {QStringLiteral("columns"), columnNumbers(file.getColumns())},
                    {QStringLiteral("points"), points},
                    {QStringLiteral("bytes"), bytes},
                    {QStringLiteral("blocks"), blocks}});
}
