#include "AreasFile.h"
#include "Commands.h"
#include "DataSetSource.h"
#include "FileFacts.h"
#include "LibraryLog.h"
#include "OutputFile.h"
#include "VolumeReport.h"
#include "VolumeView.h"

#include "PtCloudDataSet.h"
#include "PtCloud_DataSetFile.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QTemporaryDir>

#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

struct VolumeOptions
{
    SourceOptions source; ///< a data set of the project
    std::string points;
    std::string mesh; ///< a file; with a data set the name of its mesh
    std::string areas;
    std::string method;
    std::string show;
    std::string out;
    std::string csv;
    std::string picture;
};

bool isMesh(const VolumeOptions &options)
{
    return !options.mesh.empty() || options.source.content.isTerrain;
}

void setPath(VolumeCalcAreaList &list, const QString &path)
{
    const QFileInfo info(path);
    list.setFile(info.absoluteDir(), info.fileName());
}

/// Looks at the source as far as the report needs. Reads all of it: a calculation leaves out what can't be read, and
/// does not tell.
VolumeSource lookAt(PtCloud_DataSetFile &file)
{
    VolumeSource source;
    const auto blocks = file.getBlockInfos();
    source.blocks = blocks.size();
    for (auto block = blocks.cbegin(); block != blocks.cend(); ++block) {
        const auto points = std::get<1>(*block);
        source.points += points;
        if (points != 0 && file.readBlock(block.key()) == nullptr) {
            throw CommandError(QStringLiteral("block %1 of %2 can't be read, so that no volume would be right")
                                   .arg(block.key())
                                   .arg(quoted(file.getFilepath())));
        }
    }
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
    if (isThere(out) && sizeOfFile(out) > 0 && (!old.loadFromFile() || old.isEmpty())) {
        throw CommandError(
            QStringLiteral("%1 exists and holds no volumes; remove it first or name another target").arg(quoted(out)));
    }
}

/// The bytes of a volume file that holds the list, read back: the library does not tell of a disk that filled up.
QByteArray bytesOf(const VolumeCalcAreaList &list)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("volume"));
    VolumeCalcAreaList written(list);
    setPath(written, path);
    if (!directory.isValid() || !written.saveToFile())
        return {};
    QFile file(path);
    QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return bytes.size() == file.size() && isAsStored(written) ? bytes : QByteArray();
}

/// Made elsewhere and put in place in one step: the library writes in place, and what stood there would be lost with a
/// disk that is full.
void store(const VolumeCalcAreaList &list, const QString &out)
{
    const QByteArray bytes = bytesOf(list);
    if (bytes.isEmpty())
        throw CommandError(
            QStringLiteral("%1 can't hold the volumes; is there room on the disk?").arg(quoted(QDir::tempPath())));
    writeText(out, bytes);
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

/// Of a data set.
QString volumePath(DataSetSource &source)
{
    return QFileInfo(source.file().getFilepath()).dir().filePath(QStringLiteral("earth.volume"));
}

/// What a file holds and the list does not would be lost with the file that takes its place. A list is empty where its
/// file did not load.
bool holdsAllOf(const VolumeCalcAreaList &list, const QString &path)
{
    return list.isEmpty() ? sizeOfFile(path) <= bytesOf(list).size() : isAsStored(list);
}

/// Takes over areas, each in the place of the one of that name.
void takeAreas(const VolumeCalcAreaList &fresh, VolumeCalcAreaList &list)
{
    QMap<QString, const VolumeCalcArea *> areas;
    fresh.getAreas(areas);
    for (auto it = areas.cbegin(); it != areas.cend(); ++it) {
        list.removeArea(it.key());
        *list.addArea(it.key()) = **it;
    }
}

void runCalculation(const Console &console, const VolumeOptions &options, DataSetSource &source,
                    VolumeCalcAreaList &list)
{
    const EVolumeCalcFunction function = isMesh(options) ? VolumeCalc_DTM : VolumeCalc_GRID;
    VolumeCalcAreaList fresh;
    if (!options.areas.empty()) {
        for (const QString &warning : readAreas(argument(options.areas), fresh))
            console.warn(warning);
    }
    takeAreas(fresh, list);
    if (list.isEmpty())
        throw CommandError(QStringLiteral("no area is stored; give --areas"));
    const VolumeSource facts = lookAt(source.file());
    function == VolumeCalc_DTM ? list.setDTMFile(&source.file()) : list.setGridFile(&source.file());
    if (!list.doCalc(function))
        throw CommandError(QStringLiteral("%1 can't be read").arg(quoted(source.file().getFilepath())));
    if (source.dataSet() != nullptr)
        store(list, volumePath(source));
    else if (!options.out.empty())
        store(list, argument(options.out));
    report(console, options, list, rowsAfterRun(list, function, facts));
}

/// On a data set file; the list begins empty.
void calculateOnFile(const Console &console, const VolumeOptions &options)
{
    const QString path = argument(isMesh(options) ? options.mesh : options.points);
    const QStringList sources{path, argument(options.areas)};
    for (const std::string &target : {options.csv, options.picture})
        refuseSource(argument(target), sources);
    if (!options.out.empty())
        refuseToReplace(argument(options.out), sources);
    DataSetSource source(path);
    VolumeCalcAreaList list;
    setPath(list, options.out.empty() ? QStringLiteral("earth.volume") : argument(options.out));
    runCalculation(console, options, source, list);
}

/// On a data set of the project; the areas are kept with it, those of earlier runs too.
void calculateOnDataSet(const Console &console, const VolumeOptions &options)
{
    SourceOptions chosen = options.source;
    chosen.project.isGiven = true; // a name is never a file here
    chosen.content.mesh = options.mesh;
    DataSetSource source(console, chosen);
    for (const std::string &target : {options.csv, options.picture}) {
        refuseSource(argument(target), {argument(options.areas)});
        source.refuseToOverwrite(argument(target));
    }
    VolumeCalcAreaList &list = *source.dataSet()->getContent_EarthVolume();
    const QString path = volumePath(source);
    if (isThere(path) && !holdsAllOf(list, path))
        throw CommandError(
            QStringLiteral("%1 can't be read; put a sound copy in its place, or move it away").arg(quoted(path)));
    runCalculation(console, options, source, list);
}

void checkUsage(const VolumeOptions &options)
{
    const bool isDataSet = !options.source.name.empty();
    const bool isMeshFile = !isDataSet && !options.mesh.empty();
    if (int(isDataSet) + int(!options.points.empty()) + int(isMeshFile) + int(!options.show.empty()) != 1)
        throw CLI::ValidationError("volume", "takes one of NAME, --points, --mesh and --show");
    if (!isDataSet && options.show.empty() && options.areas.empty())
        throw CLI::RequiredError("--areas");
    if (!options.show.empty() && !(options.areas.empty() && options.out.empty() && options.method.empty()))
        throw CLI::ValidationError("--show", "calculates nothing: --areas, --method and --out have no place with it");
    if (isDataSet && !options.out.empty())
        throw CLI::ValidationError("--out", "has no place with NAME: the result is kept with the data set");
    if (!isDataSet && options.source.content.isTerrain)
        throw CLI::ValidationError("--terrain", "takes the NAME of a data set");
    if ((options.method == "grid" && isMesh(options)) || (options.method == "dtm" && !isMesh(options)))
        throw CLI::ValidationError("--method", "grid works on points, dtm on a mesh");
}

void run(const Console &console, const VolumeOptions &options)
{
    const LibraryLog silence;
    checkUsage(options);
    if (!options.show.empty())
        show(console, options);
    else if (options.source.name.empty())
        calculateOnFile(console, options);
    else
        calculateOnDataSet(console, options);
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
    command->add_option("NAME,--data-set", options->source.name,
                        "A data set of the project; areas and results are kept with it, in its earth.volume, and "
                        "those of earlier runs are calculated again");
    command->add_option("--points", options->points, "A data set file of points");
    command->add_option("--mesh,--on", options->mesh,
                        "A data set file that holds a mesh in one block; with NAME a mesh of that data set");
    command->add_flag("--terrain", options->source.content.isTerrain, "With NAME: its terrain mesh");
    command->add_option("--show", options->show, "Show the results stored in this file, and calculate nothing");
    command->add_option("--areas", options->areas, "GeoJSON file with the areas");
    command->add_option("--method", options->method, "grid (of points, the default there) or dtm (of a mesh)")
        ->check(CLI::IsMember({"grid", "dtm"}));
    command->add_option("--out", options->out, "Store areas and results in this file, such as earth.volume");
    command->add_option("--csv", options->csv, "Write the table to this file too");
    command->add_option("--picture", options->picture, "Draw the areas from above to this .png file");
    addProjectOptions(*command, options->source.project);
    command->callback([options, &console] { run(console, *options); });
}
