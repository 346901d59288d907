#include "ColumnNames.h"
#include "Commands.h"
#include "FileFacts.h"
#include "LasReport.h"
#include "LibraryLog.h"
#include "OutputFile.h"

#include "LasFile.h"
#include "PtCloud_DataSetFile.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

using namespace ptCloud;

namespace
{

struct BuildOptions
{
    std::string out;
    std::vector<std::string> lasFiles;
    std::string columns = "all";
    unsigned int buffer = 1000000;
};

/// Loaded files, side by side in memory: the library walks them in the order of their addresses, which this makes the
/// order of the command line.
struct LasFiles
{
    std::unique_ptr<LasFile[]> files;
    QList<const LasFile *> pointers;
    std::vector<LasReport> reports;
};

/// Building cuts the target to nothing first, so it must not be one of the sources, nor a file of another kind that
/// stands there by a slip of the command line.
void refuseToOverwrite(const QString &out, const std::vector<std::string> &sources)
{
    if (!isThere(out))
        return;
    QStringList paths;
    for (const std::string &source : sources)
        paths << argument(source);
    refuseSource(out, paths);
    if (!QFileInfo(out).isFile())
        throw CommandError(QStringLiteral("%1 is not a regular file; name another target").arg(quoted(out)));
    const LibraryLog silence;
    PtCloud_DataSetFile file;
    if (sizeOfFile(out) != 0 && !(file.setFile(out) && file.openFile()))
        throw CommandError(
            QStringLiteral("%1 exists and is no sound data set file; remove it first or name another target")
                .arg(quoted(out)));
}

LasFiles load(const BuildOptions &options)
{
    LasFiles las;
    las.files = std::make_unique<LasFile[]>(options.lasFiles.size());
    for (std::size_t i = 0; i < options.lasFiles.size(); ++i) {
        const QString path = argument(options.lasFiles[i]);
        if (!las.files[i].load(path, options.buffer)) {
            const LasReport report = reportOnFile(path);
            throw CommandError(QStringLiteral("%1 does not load: %2").arg(quoted(path), report.why),
                               QStringLiteral("ActResult_FileError"));
        }
        las.pointers.append(&las.files[i]);
        las.reports.push_back(reportOnLoaded(las.files[i]));
    }
    return las;
}

void build(PtCloud_DataSetFile &file, const QString &out, const LasFiles &las, const QList<EDataSetColumn> &columns)
{
    qint64 all = 0;
    for (const LasReport &report : las.reports)
        all += report.announced;
    const LasBuildLog log(all);
    if (file.setFile(out) && file.makeDataSet_byLasFile(las.pointers, columns))
        return;
    throw CommandError(QStringLiteral("%1 was not built: %2").arg(quoted(out), log.why()),
                       QStringLiteral("ActResult_MakeFailed"));
}

qint64 pointsIn(PtCloud_DataSetFile &file, int &blocks)
{
    const LibraryLog silence;
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 was built, but can't be read").arg(quoted(file.getFilepath())),
                           QStringLiteral("ActResult_FileError"));
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> map;
    file.getBlocks(map);
    file.closeFile();
    blocks = map.size();
    qint64 points = 0;
    for (const auto &block : qAsConst(map))
        points += std::get<0>(block);
    return points;
}

void run(Console &console, const BuildOptions &options)
{
    const QString out = argument(options.out);
    refuseToOverwrite(out, options.lasFiles);
    const LasFiles las = load(options);
    QStringList warnings;
    qint64 pointsOfFiles = 0;
    for (const LasReport &report : las.reports) {
        for (const QString &warning : report.warnings)
            warnings << QStringLiteral("%1: %2").arg(quoted(report.file), warning);
        pointsOfFiles += report.points;
    }
    const QList<EDataSetColumn> columns = chooseColumns(argument(options.columns), las.reports);
    for (const QString &warning : qAsConst(warnings))
        console.warn(warning);

    PtCloud_DataSetFile file;
    build(file, out, las, columns);

    int blocks = 0;
    const qint64 points = pointsIn(file, blocks);
    const qint64 bytes = sizeOfFile(out);
    if (points < pointsOfFiles) {
        warnings << QStringLiteral(
                        "%1 of %2 points lie outside the range of the last file and were left out; make a data set "
                        "of each file, or repair the range in the header")
                        .arg(grouped(pointsOfFiles - points), grouped(pointsOfFiles));
        console.warn(warnings.last());
    }
    console.line(QStringLiteral("%1: %2 points in %3 blocks, %4 bytes")
                     .arg(out, grouped(points), grouped(blocks), grouped(bytes)));
    console.line(QStringLiteral("columns: ") + columnNames(columns));
    console.object({{QStringLiteral("file"), out},
                    {QStringLiteral("points"), points},
                    {QStringLiteral("blocks"), blocks},
                    {QStringLiteral("bytes"), bytes},
                    {QStringLiteral("columns"), columnNumbers(columns)},
                    {QStringLiteral("warnings"), QJsonArray::fromStringList(warnings)}});
}

} // namespace

void addBuildCommand(CLI::App &app, Console &console)
{
    const auto options = std::make_shared<BuildOptions>();
    CLI::App *command =
        app.add_subcommand("build", "Make one block file from LAS files. The grid of blocks is laid over the "
                                    "range in the header of the last file; points outside are left out");
    command->add_option("OUT", options->out, "The data set file to write")->required();
    command->add_option("LAS", options->lasFiles, "LAS files, in the order in which their points are to stand")
        ->required();
    command
        ->add_option("--columns", options->columns,
                     "Columns by number, such as 0,3,4 (0, the position, among them), or all that every file has")
        ->capture_default_str();
    command->add_option("--buffer", options->buffer, "Records per reading step")
        ->capture_default_str()
        ->check(CLI::Range(1U, 4294967295U));
    command->callback([options, &console] { run(console, *options); });
}
