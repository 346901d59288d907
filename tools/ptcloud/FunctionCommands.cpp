// Commands that send a data set through the worker program.

#include "Commands.h"
#include "DataSetInventory.h"
#include "FileFacts.h"
#include "FunctionMethods.h"
#include "LibraryLog.h"
#include "OutputFile.h"
#include "ProjectSession.h"
#include "WorkerProgress.h"

#include "PtCloudDataSet.h"
#include "PtCloud_ContourFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <functional>
#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

struct FunctionRequest
{
    ProjectOptions project;
    std::string name;
    std::string result; ///< name of the new content, or of the new data set
    std::string method;
    std::string preset;
    GivenOptions given;
    unsigned int pixels = 1024;
    unsigned int contours = 20;
    std::vector<std::string> products;
};

const Method &findMethod(const std::vector<Method> &methods, const std::string &name)
{
    return *std::find_if(methods.begin(), methods.end(), [&name](const Method &method) { return name == method.name; });
}

Preset presetOf(const std::string &name)
{
    const auto *const found = std::find_if(std::begin(presetCases), std::end(presetCases),
                                           [&name](const PresetCase &one) { return name == one.name; });
    return found == std::end(presetCases) ? Preset::None : found->preset;
}

bool isSoundDataSet(const QString &path)
{
    PtCloud_DataSetFile file;
    return file.setFile(path) && file.openFile() && !file.getBlockInfos().isEmpty();
}

bool isSoundPicture(const QString &path)
{
    return !QImage(path).isNull();
}

bool isSoundContour(const QString &path)
{
    PtCloud_ContourFile file;
    file.setFile(path);
    return file.openFile();
}

/// For what a worker may leave out.
bool isSoundOrMissing(const QString &)
{
    return true;
}

/// A file that a function is to make, and how to know a sound one.
struct Target
{
    QString path;
    bool (*isSound)(const QString &path);
};

/// Runs a function on a data set. After a failure its directory is as it was: what stood in the place of a target is
/// set aside for the time of the run.
class FunctionRun
{
public:
    FunctionRun(const Console &console, PtCloud_Controller &controller, PtCloudDataSet &dataSet,
                std::vector<Target> targets)
        : m_console(console), m_controller(controller), m_dataSet(dataSet), m_targets(std::move(targets)),
          m_directory(QFileInfo(dataSet.getFilePath_Points()).absolutePath()), m_before(filesIn(m_directory, true))
    {}

    void run(EPtCloud_Function function, const QVariantList &parameters)
    {
        setAside();
        WorkerProgress progress(m_dataSet.getName());
        // The three commands of the library do the same for every function.
        const stControlParam_DataSet_Do_Mesh wanted{nameOf(), m_targets.front().path, function, parameters};
        EEPtCloudActResult result = m_controller.doCmd_DataSet_Do_Mesh(wanted, &progress);
        // A terminal sends Ctrl-C to the worker as well, which may so end before it is killed.
        if (result == ActResult_WorkerCrashed && progress.isCancelRequested())
            result = ActResult_Cancelled;
        const QString broken = result == ActResult_Success ? brokenTarget() : QString();
        if (result == ActResult_Success && broken.isEmpty()) {
            for (const QString &path : qAsConst(m_setAside)) {
                if (!QFile::remove(asideOf(path)))
                    m_console.warn(
                        QStringLiteral("%1, which stood there before, can't be removed").arg(quoted(asideOf(path))));
            }
            return;
        }
        putBack();
        if (!broken.isEmpty())
            throw CommandError(QStringLiteral("the worker says that it is done, and %1 is no sound result; what was "
                                              "there before is back")
                                   .arg(quoted(broken)),
                               QStringLiteral("ActResult_WorkerFailed"));
        const QString why =
            result == ActResult_WorkerFailed ? QStringLiteral(": ") + progress.lastText().simplified() : QString();
        ProjectSession::check(result, QStringLiteral("data set %1%2").arg(quoted(nameOf()), why));
    }

private:
    static QString asideOf(const QString &path) { return path + QStringLiteral(".before"); }
    QString nameOf() const
    {
        const auto dataSets = m_controller.getDataSets();
        return dataSets.key(&m_dataSet);
    }
    QString brokenTarget() const
    {
        for (const Target &target : m_targets) {
            if (!target.isSound(target.path))
                return target.path;
        }
        return {};
    }
    void setAside()
    {
        for (const Target &target : m_targets) {
            if (!m_before.contains(QFileInfo(target.path).fileName()))
                continue;
            if (!moveFile(target.path, asideOf(target.path))) {
                putBack();
                throw CommandError(QStringLiteral("%1 can't be set aside for the run").arg(quoted(target.path)));
            }
            m_setAside << target.path;
        }
    }
    /// Removes what is new, but for what was set aside and can't be put back.
    void putBack()
    {
        QStringList stuck;
        for (const QString &path : qAsConst(m_setAside)) {
            if (!moveFile(asideOf(path), path))
                stuck << asideOf(path);
        }
        for (const QString &name : filesIn(m_directory, true)) {
            const QString path = m_directory + QLatin1Char('/') + name;
            if (!m_before.contains(name) && !stuck.contains(path))
                QFile::remove(path);
        }
        if (!stuck.isEmpty())
            throw CommandError(QStringLiteral("the function failed, and what was there before could not be put back; "
                                              "it is %1")
                                   .arg(quoted(stuck.join(QStringLiteral(", ")))));
    }

    const Console &m_console;
    PtCloud_Controller &m_controller;
    PtCloudDataSet &m_dataSet;
    std::vector<Target> m_targets;
    QString m_directory;
    QStringList m_before;   ///< the files in it
    QStringList m_setAside; ///< targets that stood there
};

void tellContent(const Console &console, const QString &name, PtCloud_DataSetFile &file)
{
    const FileRow row = summarise(name, file);
    console.line(QStringLiteral("%1: %2 points, %3 triangles in %4 blocks")
                     .arg(name, grouped(row.points), grouped(row.triangles), grouped(row.blocks)));
    console.object(toJson(row));
}

/// Meshes and splits differ in where the result belongs.
struct Products
{
    const std::vector<Method> &(*methods)();
    PtCloud_DataSetFile *(PtCloudDataSet::*create)(const QString &) const;
    void (PtCloudDataSet::*add)(const QString &, PtCloud_DataSetFile *);
};

constexpr Products meshProducts = {meshMethods, &PtCloudDataSet::createEmptyLocatedContent_Mesh,
                                   &PtCloudDataSet::addContent_Mesh};
constexpr Products splitProducts = {splitMethods, &PtCloudDataSet::createEmptyLocatedContent_Split,
                                    &PtCloudDataSet::addContent_Split};

void makeContent(const Console &console, const FunctionRequest &request, const Products &products)
{
    const Method &method = findMethod(products.methods(), request.method);
    const QVariantList parameters = parametersOf(method, presetOf(request.preset), request.given);
    ProjectSession session(console, request.project, ProjectSession::Look);
    PtCloudDataSet &dataSet = session.dataSet(argument(request.name));
    const QString result = argument(request.result);
    std::unique_ptr<PtCloud_DataSetFile> target((dataSet.*products.create)(result));
    if (target == nullptr)
        throw CommandError(QStringLiteral("data set %1 can't take a %2: the name is taken or is no plain one")
                               .arg(quoted(argument(request.name)), quoted(result)),
                           QStringLiteral("ActResult_NameExists"));
    FunctionRun(console, session.controller(), dataSet, {{target->getFilepath(), isSoundDataSet}})
        .run(method.function, parameters);
    PtCloud_DataSetFile *const file = target.release();
    (dataSet.*products.add)(result, file);
    tellContent(console, result, *file);
}

void samplePoints(const Console &console, const FunctionRequest &request)
{
    const Method &method = sampleMethods().front();
    const QVariantList parameters = parametersOf(method, presetOf(request.preset), request.given);
    ProjectSession session(console, request.project,
                           request.result.empty() ? ProjectSession::Look : ProjectSession::Change);
    QString name = argument(request.name);
    if (!request.result.empty()) {
        const QString copy = argument(request.result);
        ProjectSession::refuseOwnName(copy);
        ProjectSession::check(session.controller().doCmd_DataSet_Copy({name, copy}),
                              QStringLiteral("%1 to %2").arg(quoted(name), quoted(copy)));
        session.save();
        name = copy;
    }
    PtCloudDataSet &dataSet = session.dataSet(name);
    const QString target = dataSet.createEmptyLocatedContent_Points();
    try {
        FunctionRun(console, session.controller(), dataSet, {{target, isSoundDataSet}})
            .run(method.function, parameters);
    } catch (const CommandError &) {
        if (!request.result.empty() && session.controller().doCmd_DataSet_Remove({name}) == ActResult_Success)
            session.save();
        throw;
    }
    dataSet.updateContent_Points();
    if (isThere(target)) {
        const QString points = dataSet.getFilePath_Points();
        const QString lost =
            QStringLiteral(", which lie beside it: give the right ones the name %1").arg(quoted(points));
        throw CommandError(QStringLiteral("%1 could not be put in the place of the points%2")
                               .arg(quoted(target), isThere(points) ? QString() : lost));
    }
    tellContent(console, name, *dataSet.getContent_PointDataSetFile());
}

/// A product of the terrain: where it goes, and how the data set takes it.
struct TerrainProduct
{
    const char *name;
    QString (PtCloudDataSet::*path)() const;
    void (PtCloudDataSet::*attach)();
    bool (*isSound)(const QString &path);
};

constexpr TerrainProduct terrainProducts[] = {
    {"mesh", &PtCloudDataSet::createEmptyLocatedContent_Dem_Mesh, &PtCloudDataSet::setContent_Dem_Mesh, isSoundDataSet},
    {"height-map", &PtCloudDataSet::createEmptyLocatedContent_Dem_HeightMap, &PtCloudDataSet::setContent_Dem_HeightMap,
     isSoundPicture},
    {"contours", &PtCloudDataSet::createEmptyLocatedContent_Dem_Contour, &PtCloudDataSet::setContent_Dem_Contour,
     isSoundContour},
    {"classes", &PtCloudDataSet::createEmptyLocatedContent_Dem_Classify, &PtCloudDataSet::setContent_Dem_Classify,
     isSoundDataSet},
};

/// Where the worker tells origin, pixel size and heights of a height map.
QString sideFileOf(const QString &picture)
{
    const QFileInfo info(picture);
    return info.dir().filePath(QStringLiteral(".%1.json").arg(info.fileName()));
}

void makeTerrain(const Console &console, const FunctionRequest &request)
{
    ProjectSession session(console, request.project, ProjectSession::Look);
    PtCloudDataSet &dataSet = session.dataSet(argument(request.name));
    const auto isWanted = [&request](const TerrainProduct &product) {
        return request.products.empty()
               || std::find(request.products.begin(), request.products.end(), product.name) != request.products.end();
    };
    QStringList paths;
    std::vector<Target> targets;
    for (const TerrainProduct &product : terrainProducts) {
        paths << (isWanted(product) ? (dataSet.*product.path)() : QString());
        if (isWanted(product))
            targets.push_back({paths.last(), product.isSound});
    }
    if (!paths[1].isEmpty())
        targets.push_back({sideFileOf(paths[1]), isSoundOrMissing});
    const QVariantList parameters{paths[0], paths[1], request.pixels, paths[2], request.contours, paths[3]};
    FunctionRun(console, session.controller(), dataSet, targets).run(Function_dem, parameters);
    for (const TerrainProduct &product : terrainProducts) {
        if (isWanted(product))
            (dataSet.*product.attach)();
    }
    tellDataSet(console, dataSet);
}

using Work = std::function<void(const Console &, const FunctionRequest &)>;

CLI::App *addCommand(CLI::App &app, Console &console, const char *name, const char *help,
                     const std::shared_ptr<FunctionRequest> &request, const Work &work)
{
    CLI::App *command = app.add_subcommand(name, help);
    addProjectOptions(*command, request->project);
    command->add_option("NAME", request->name, "A data set of the project")->required();
    command->callback([request, work, &console] {
        const LibraryLog silence;
        work(console, *request);
    });
    return command;
}

/// Values for all options at once; each option tells its own.
void addPreset(CLI::App &command, std::string &preset)
{
    std::string help = "Values for a usual case; the options tell them, and win where they are given, as in "
                       "--fast-normal=false:";
    std::vector<std::string> names;
    for (const PresetCase &one : presetCases) {
        help += std::string(names.empty() ? " " : "; ") + one.name + ", " + one.help;
        names.emplace_back(one.name);
    }
    command.add_option("--preset", preset, help)->check(CLI::IsMember(names));
}

/// All options of all methods; each tells for which it is.
void addMethodOptions(CLI::App &command, const std::vector<Method> &methods, FunctionRequest &request)
{
    addPreset(command, request.preset);
    GivenOptions &given = request.given;
    for (const Method &method : methods) {
        for (const MethodOption &option : method.options) {
            const std::string name = option.name;
            if (command.get_option_no_throw(name) != nullptr)
                continue;
            const std::string help = helpOf(methods, name);
            if (option.kind == MethodOption::Flag)
                command.add_flag_function(
                    name, [&given, name](std::int64_t times) { given[name] = times > 0 ? "true" : "false"; }, help);
            else
                command.add_option_function<std::string>(
                    name, [&given, name](const std::string &text) { given[name] = text; }, help);
        }
    }
}

void addContentCommand(CLI::App &app, Console &console, const char *name, const char *help, const Products &products)
{
    const auto request = std::make_shared<FunctionRequest>();
    CLI::App *command =
        addCommand(app, console, name, help, request,
                   [&products](const Console &c, const FunctionRequest &r) { makeContent(c, r, products); });
    command->add_option("RESULT", request->result, "The name of the result")->required();
    std::string methodHelp = "How:";
    std::vector<std::string> names;
    for (const Method &method : products.methods()) {
        names.emplace_back(method.name);
        methodHelp += std::string(names.size() > 1 ? "; " : " ") + method.name + ", " + method.help;
    }
    command->add_option("--method", request->method, methodHelp)->required()->check(CLI::IsMember(names));
    addMethodOptions(*command, products.methods(), *request);
}

} // namespace

void addFunctionCommands(CLI::App &app, Console &console)
{
    addContentCommand(app, console, "mesh", "Make a mesh of a data set; Ctrl-C cancels", meshProducts);
    addContentCommand(app, console, "split",
                      "Split a data set into clusters, or into ground and the rest, a block each", splitProducts);

    auto request = std::make_shared<FunctionRequest>();
    CLI::App *command = addCommand(app, console, "sample",
                                   "Thin the points of a data set evenly. The sample TAKES THE PLACE of the points, "
                                   "unless --as names a new data set for it",
                                   request, samplePoints);
    command->add_option("--as", request->result, "Keep the points, and put the sample into a copy of this name")
        ->check([](const std::string &name) { return name.empty() ? std::string("an empty name") : std::string(); });
    addMethodOptions(*command, sampleMethods(), *request);

    request = std::make_shared<FunctionRequest>();
    command = addCommand(app, console, "dem", "Make the terrain products of a data set", request, makeTerrain);
    command->add_option("--pixels", request->pixels, "Longer side of the height map, in pixels")
        ->capture_default_str()
        ->check(CLI::Range(1U, 32768U));
    command->add_option("--contours", request->contours, "Number of height steps between contours")
        ->capture_default_str()
        ->check(CLI::Range(1U, 10000U));
    command->add_option("--only", request->products, "Some of mesh, height-map, contours, classes, separated by commas")
        ->delimiter(',')
        ->check(CLI::IsMember({"mesh", "height-map", "contours", "classes"}));
}
