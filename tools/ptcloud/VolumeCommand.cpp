#include "AreasFile.h"
#include "Commands.h"
#include "LibraryLog.h"
#include "OutputFile.h"
#include "VolumeReport.h"
#include "VolumeView.h"

#include "PtCloud_DataSetFile.h"

#include <QFileInfo>
#include <QJsonObject>

#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

struct VolumeOptions
{
    std::string points;
    std::string mesh;
    std::string areas;
    std::string method;
    std::string show;
    std::string out;
    std::string csv;
    std::string picture;
};

void setPath(VolumeCalcAreaList &list, const QString &path)
{
    const QFileInfo info(path);
    list.setFile(info.absoluteDir(), info.fileName());
}

/// Opens the source and looks at it as far as the report needs.
VolumeSource openSource(PtCloud_DataSetFile &file, const QString &path)
{
    file.setFile(path);
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 is no sound data set file").arg(quoted(path)));
    VolumeSource source;
    const auto blocks = file.getBlockInfos();
    source.blocks = blocks.size();
    for (const auto &block : blocks)
        source.points += std::get<1>(block);
    if (file.getColumns().contains(EDataSetColumn_Triangle) && source.blocks == 1) {
        const stPtCloud_PointArray *block = file.readBlock(blocks.firstKey());
        source.triangles = block == nullptr ? 0 : block->m_triangleCount;
    }
    return source;
}

/// A file that is there already is replaced only if it is of the same kind.
void refuseToReplace(const QString &out, const QStringList &sources)
{
    refuseSource(out, sources);
    VolumeCalcAreaList old;
    setPath(old, out);
    if (QFileInfo(out).size() > 0 && (!old.loadFromFile() || old.isEmpty())) {
        throw CommandError(
            QStringLiteral("%1 exists and holds no volumes; remove it first or name another target").arg(quoted(out)));
    }
}

/// Stores the list and reads it back: the library does not tell of a disk that filled up meanwhile.
void store(VolumeCalcAreaList &list, const QString &out)
{
    setPath(list, out);
    VolumeCalcAreaList stored(list);
    if (!list.saveToFile())
        throw CommandError(QStringLiteral("%1 can't be written").arg(quoted(out)));
    if (!stored.loadFromFile() || toJson(rowsAsStored(stored)) != toJson(rowsAsStored(list)))
        throw CommandError(QStringLiteral("%1 was not written whole; is there room on the disk?").arg(quoted(out)));
}

void draw(const Console &console, const VolumeCalcAreaList &list, const QString &path)
{
    VolumeView view(list, 1200);
    const QImage image = view.draw();
    if (image.isNull())
        throw CommandError(QStringLiteral("no area has an extent that can be drawn"));
    writePicture(path, image);
    console.line(QStringLiteral("%1: dig red, up to %2 above the ground; fill blue, up to %3 below; scale bar %4 units")
                     .arg(path)
                     .arg(view.highestDig(), 0, 'f', 3)
                     .arg(view.deepestFill(), 0, 'f', 3)
                     .arg(view.scaleBar()));
}

void report(const Console &console, const VolumeOptions &options, const VolumeCalcAreaList &list,
            const QList<VolumeRow> &rows)
{
    for (const QString &line : toTable(rows))
        console.line(line);
    if (!options.csv.empty())
        writeText(argument(options.csv), toCsv(rows));
    if (!options.picture.empty())
        draw(console, list, argument(options.picture));
    console.object({{QStringLiteral("areas"), toJson(rows)}});
}

void show(const Console &console, const VolumeOptions &options)
{
    const QString path = argument(options.show);
    VolumeCalcAreaList list;
    setPath(list, path);
    if (!list.loadFromFile())
        throw CommandError(QStringLiteral("%1 is no sound volume file").arg(quoted(path)));
    for (const std::string &target : {options.csv, options.picture})
        refuseSource(argument(target), {path});
    report(console, options, list, rowsAsStored(list));
}

void calculate(const Console &console, const VolumeOptions &options)
{
    const bool isMesh = !options.mesh.empty();
    const QString path = argument(isMesh ? options.mesh : options.points);
    const QStringList sources{path, argument(options.areas)};
    for (const std::string &target : {options.csv, options.picture})
        refuseSource(argument(target), sources);
    if (!options.out.empty())
        refuseToReplace(argument(options.out), sources);

    const LibraryLog silence;
    VolumeCalcAreaList list;
    for (const QString &warning : readAreas(argument(options.areas), list))
        console.warn(warning);
    PtCloud_DataSetFile file;
    const VolumeSource source = openSource(file, path);
    const EVolumeCalcFunction function = isMesh ? VolumeCalc_DTM : VolumeCalc_GRID;
    isMesh ? list.setDTMFile(&file) : list.setGridFile(&file);
    setPath(list, options.out.empty() ? QStringLiteral("earth.volume") : argument(options.out));
    if (!list.doCalc(function))
        throw CommandError(QStringLiteral("%1 can't be read").arg(quoted(path)));
    if (!options.out.empty())
        store(list, argument(options.out));
    report(console, options, list, rowsAfterRun(list, function, source));
}

void checkUsage(const VolumeOptions &options)
{
    const int sources =
        (options.points.empty() ? 0 : 1) + (options.mesh.empty() ? 0 : 1) + (options.show.empty() ? 0 : 1);
    if (sources != 1)
        throw CLI::ValidationError("volume", "takes one of --points, --mesh and --show");
    if (options.show.empty() && options.areas.empty())
        throw CLI::RequiredError("--areas");
    if (!options.show.empty() && !(options.areas.empty() && options.out.empty() && options.method.empty()))
        throw CLI::ValidationError("--show", "calculates nothing: --areas, --method and --out have no place with it");
    if ((options.method == "grid" && options.points.empty()) || (options.method == "dtm" && options.mesh.empty()))
        throw CLI::ValidationError("--method", "grid works on --points, dtm on --mesh");
}

} // namespace

void addVolumeCommand(CLI::App &app, Console &console)
{
    const auto options = std::make_shared<VolumeOptions>();
    CLI::App *command = app.add_subcommand(
        "volume",
        "Dig and fill of areas against a ground height, from points in a grid of cells or from a mesh.\n"
        "Areas are a GeoJSON file of Polygons in the units of the data set, the third coordinate the height of "
        "a corner;\nproperties: name, ground_height (a number or \"average\", the default), max_height "
        "(99999), grid_size (0.1).\nVolumes are in the cube of that unit.");
    command->add_option("--points", options->points, "A data set file of points");
    command->add_option("--mesh", options->mesh, "A data set file that holds a mesh in one block");
    command->add_option("--show", options->show, "Show the results stored in this file, and calculate nothing");
    command->add_option("--areas", options->areas, "GeoJSON file with the areas");
    command->add_option("--method", options->method, "grid (of points, the default there) or dtm (of a mesh)")
        ->check(CLI::IsMember({"grid", "dtm"}));
    command->add_option("--out", options->out, "Store areas and results in this file, such as earth.volume");
    command->add_option("--csv", options->csv, "Write the table to this file too");
    command->add_option("--picture", options->picture, "Draw the areas from above to this .png file");
    command->callback([options, &console] {
        checkUsage(*options);
        options->show.empty() ? calculate(console, *options) : show(console, *options);
    });
}
