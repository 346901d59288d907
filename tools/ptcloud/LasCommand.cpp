#include "ColumnNames.h"
#include "Commands.h"
#include "LasReport.h"

#include <QJsonArray>

#include <memory>
#include <string>
#include <vector>

namespace
{

QString range(const LasReport &report, std::size_t axis)
{
    return QStringLiteral("%1 to %2").arg(report.minimum[axis], 0, 'f', 3).arg(report.maximum[axis], 0, 'f', 3);
}

void print(const Console &console, const LasReport &report)
{
    console.line(report.file);
    if (!report.loads) {
        console.line(QStringLiteral("  does not load: ") + report.why);
        return;
    }
    console.line(QStringLiteral("  version %1.%2, point format %3, %4 points")
                     .arg(report.versionMajor)
                     .arg(report.versionMinor)
                     .arg(report.format)
                     .arg(grouped(report.points)));
    console.line(QStringLiteral("  x %1, y %2, z %3").arg(range(report, 0), range(report, 1), range(report, 2)));
    console.line(QStringLiteral("  columns: ") + columnNames(report.columns)
                 + (report.isColor256 ? QStringLiteral(" (8-bit colours)") : QString()));
    if (report.isExact())
        console.line(QStringLiteral("  scale 0.001, offset 0: positions are the true coordinates"));
    for (const QString &warning : report.warnings)
        console.line(QStringLiteral("  WARNING: ") + warning);
}

void run(const Console &console, const std::vector<std::string> &files)
{
    QJsonArray reports;
    for (const std::string &file : files) {
        const LasReport report = reportOnFile(argument(file));
        print(console, report);
        reports.append(report.toJson());
    }
    console.object({{QStringLiteral("files"), reports}});
}

} // namespace

void addLasCommand(CLI::App &app, Console &console)
{
    const auto files = std::make_shared<std::vector<std::string>>();
    CLI::App *command = app.add_subcommand(
        "las", "Tell whether LAS files load, what is in them, and whether positions will be the true coordinates");
    command->add_option("FILE", *files, "LAS files, versions 1.2 and 1.3, point formats 0 to 5")->required();
    command->callback([files, &console] { run(console, *files); });
}
