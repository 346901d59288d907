#include "BlockTable.h"
#include "ColumnNames.h"
#include "Commands.h"
#include "LibraryLog.h"

#include "PtCloud_DataSetFile.h"

#include <QFileInfo>
#include <QJsonArray>

#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

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

void run(const Console &console, const QString &path, bool summaryOnly)
{
    const LibraryLog silence;
    PtCloud_DataSetFile file;
    file.setFile(path);
    if (!file.isValid())
        throw CommandError(QStringLiteral("%1 is not an existing file").arg(quoted(path)));
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 is no sound data set file: its head fails a check").arg(quoted(path)));

    const QList<BlockRow> rows = readBlockTable(file);
    qint64 points = 0;
    QJsonArray blocks;
    for (const BlockRow &row : rows) {
        points += row.points;
        if (console.json)
            blocks.append(toJson(row));
    }
    console.line(QStringLiteral("%1: %2 points in %3 blocks, sorted %4, %5 bytes")
                     .arg(path, grouped(points), grouped(rows.size()), sortName(file.getSortType()),
                          grouped(QFileInfo(path).size())));
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
                    {QStringLiteral("bytes"), QFileInfo(path).size()},
                    {QStringLiteral("blocks"), blocks}});
}

} // namespace

void addDumpCommand(CLI::App &app, Console &console)
{
    const auto path = std::make_shared<std::string>();
    const auto summaryOnly = std::make_shared<bool>(false);
    CLI::App *command =
        app.add_subcommand("dump", "Tell what a data set file holds: sort, columns, and each block with its "
                                   "key, counts, offset in bytes and box in position units");
    command->add_option("FILE", *path, "A data set file")->required();
    command->add_flag("--summary", *summaryOnly, "Leave out the table of blocks");
    command->callback([path, summaryOnly, &console] { run(console, argument(*path), *summaryOnly); });
}
