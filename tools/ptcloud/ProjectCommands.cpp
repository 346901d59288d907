#include "BlockTable.h"
#include "ColumnNames.h"
#include "Commands.h"
#include "DataSetInventory.h"
#include "DataSetSource.h"
#include "LasReport.h"
#include "LibraryLog.h"
#include "ProjectSession.h"

#include <QJsonArray>

#include <QDir>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace ptCloud;

namespace
{

/// One command on a project and what it was told.
struct Request
{
    ProjectOptions project;
    std::string name;
    std::string newName;
    std::vector<std::string> names;
    std::string columns = "all";
    ContentChoice content;
    bool removeSources = false;
    bool summary = false;
};

using Work = std::function<void(const Console &, const Request &)>;

/// Adds a command with the options that all of them have; `work` runs once the rest is parsed.
CLI::App *addProjectCommand(CLI::App &app, Console &console, const char *name, const char *help,
                            const std::shared_ptr<Request> &request, const Work &work)
{
    CLI::App *command = app.add_subcommand(name, help);
    addProjectOptions(*command, request->project);
    command->callback([request, work, &console] {
        const LibraryLog silence;
        work(console, *request);
    });
    return command;
}

QJsonObject dataSetToJson(const QString &name, const PtCloudDataSet &dataSet)
{
    QJsonObject row = toJson(summarise(name, *dataSet.getContent_PointDataSetFile()));
    row.insert(QStringLiteral("directory"), dataSet.getName());
    row.insert(QStringLiteral("meshes"), QJsonArray::fromStringList(dataSet.getContent_Meshs()->keys()));
    row.insert(QStringLiteral("splits"), QJsonArray::fromStringList(dataSet.getContent_Splits()->keys()));
    row.insert(QStringLiteral("cuts"), QJsonArray::fromStringList(dataSet.getContent_Cuts()->keys()));
    return row;
}

void tellNewDataSet(const Console &console, const QString &name)
{
    console.line(name);
    console.object({{QStringLiteral("dataSet"), name}});
}

void makeNew(const Console &console, const Request &request)
{
    const QString dir = argument(request.project.dir);
    ProjectSession::create(dir);
    console.line(QStringLiteral("%1 is a project now").arg(dir));
    console.object({{QStringLiteral("project"), dir}});
}

void importLas(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Change);
    QJsonArray names;
    QStringList lines;
    for (const std::string &file : request.names) {
        QString name;
        const QString path = QDir::cleanPath(QDir().absoluteFilePath(argument(file)));
        ProjectSession::check(session.controller().doCmd_LasFile_Import({path}, &name), quoted(path));
        lines << QStringLiteral("%1: %2").arg(name, path);
        names.append(name);
    }
    session.save();
    for (const QString &line : qAsConst(lines))
        console.line(line);
    console.object({{QStringLiteral("lasFiles"), names}});
}

void listLas(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Look);
    QMap<QString, QString> files;
    session.controller().getLasFilepaths(files);
    QJsonArray rows;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const LasReport report = reportOnFile(*it);
        const QString content =
            report.loads ? QStringLiteral("%1 points of format %2").arg(grouped(report.points)).arg(report.format)
                         : report.why;
        console.line(QStringLiteral("%1: %2, %3").arg(it.key(), *it, content));
        rows.append(QJsonObject{{QStringLiteral("name"), it.key()},
                                {QStringLiteral("path"), *it},
                                {QStringLiteral("points"), report.points},
                                {QStringLiteral("format"), report.format}});
    }
    console.object({{QStringLiteral("lasFiles"), rows}});
}

void removeLas(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Change);
    for (const std::string &name : request.names)
        ProjectSession::check(session.controller().doCmd_LasFile_Remove({argument(name)}), quoted(argument(name)));
    session.save();
    console.object({{QStringLiteral("removed"), static_cast<int>(request.names.size())}});
}

/// A registered LAS file as it is now. Throws if none has the name or it does not load.
LasReport lasFile(ProjectSession &session, const QString &name)
{
    QMap<QString, QString> files;
    session.controller().getLasFilepaths(files);
    if (!files.contains(name))
        ProjectSession::check(ActResult_NotFound, QStringLiteral("LAS file %1").arg(quoted(name)));
    LasReport report = reportOnFile(files.value(name));
    if (!report.loads)
        throw CommandError(QStringLiteral("%1 does not load: %2").arg(quoted(report.file), report.why),
                           QStringLiteral("ActResult_FileError"));
    return report;
}

void listColumns(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Look);
    const QList<EDataSetColumn> columns = lasFile(session, argument(request.name)).columns;
    console.line(columnNames(columns));
    console.object({{QStringLiteral("columns"), columnNumbers(columns)}});
}

void makeDataSet(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Change);
    stControlParam_DataSet_Make wanted;
    wanted.name = argument(request.name);
    ProjectSession::refuseOwnName(wanted.name);
    std::vector<LasReport> files;
    for (const std::string &name : request.names) {
        wanted.lasNames << argument(name);
        files.push_back(lasFile(session, argument(name)));
        for (const QString &warning : qAsConst(files.back().warnings))
            console.warn(QStringLiteral("%1: %2").arg(quoted(files.back().file), warning));
    }
    wanted.columns = chooseColumns(argument(request.columns), files);
    qint64 records = 0;
    for (const LasReport &file : files)
        records += file.announced;
    const LasBuildLog log(records);
    const EEPtCloudActResult result = session.controller().doCmd_DataSet_Make(wanted);
    ProjectSession::check(
        result,
        QStringLiteral("data set %1%2")
            .arg(quoted(wanted.name), result == ActResult_MakeFailed ? QStringLiteral(": ") + log.why() : QString()));
    session.save();
    tellNewDataSet(console, wanted.name);
}

void listDataSets(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Look);
    QJsonArray rows;
    const auto dataSets = session.controller().getDataSets();
    for (auto it = dataSets.cbegin(); it != dataSets.cend(); ++it) {
        const QJsonObject row = dataSetToJson(it.key(), **it);
        console.line(QStringLiteral("%1: %2 points in %3 blocks")
                         .arg(it.key(), grouped(static_cast<qint64>(row.value(QStringLiteral("points")).toDouble())),
                              grouped(row.value(QStringLiteral("blocks")).toInt())));
        rows.append(row);
    }
    console.object({{QStringLiteral("dataSets"), rows}});
}

void tellInfo(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Look);
    tellDataSet(console, session.dataSet(argument(request.name)));
}

void listBlocks(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Look);
    const PtCloudDataSet &dataSet = session.dataSet(argument(request.name));
    PtCloud_DataSetFile &file = chooseContent(argument(request.name), dataSet, request.content);
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 can't be read").arg(quoted(file.getFilepath())));
    tellBlocks(console, file, request.summary);
    file.closeFile();
}

void copyDataSet(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Change);
    const stControlParam_DataSet_Copy wanted{argument(request.name), argument(request.newName)};
    ProjectSession::refuseOwnName(wanted.newName);
    const EEPtCloudActResult result = session.controller().doCmd_DataSet_Copy(wanted);
    ProjectSession::check(result, QStringLiteral("%1 to %2").arg(quoted(wanted.name), quoted(wanted.newName)));
    session.save();
    tellNewDataSet(console, wanted.newName);
}

void mergeDataSets(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Change);
    stControlParam_DataSet_Merge wanted;
    wanted.newName = argument(request.newName);
    ProjectSession::refuseOwnName(wanted.newName);
    for (const std::string &name : request.names)
        wanted.sourceNames.insert(argument(name));
    const EEPtCloudActResult result = session.controller().doCmd_DataSet_Merge(wanted);
    ProjectSession::check(result, QStringLiteral("merge into %1").arg(quoted(wanted.newName)));
    session.save();
    // Only now, so that at no moment the points stand in no registered data set.
    if (request.removeSources) {
        for (const QString &name : qAsConst(wanted.sourceNames))
            ProjectSession::check(session.controller().doCmd_DataSet_Remove({name}), quoted(name));
        session.save();
    }
    tellNewDataSet(console, wanted.newName);
}

void renameDataSet(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Change);
    const stControlParam_DataSet_Rename wanted{argument(request.name), argument(request.newName)};
    ProjectSession::refuseOwnName(wanted.newName);
    const EEPtCloudActResult result = session.controller().doCmd_DataSet_Rename(wanted);
    ProjectSession::check(result, QStringLiteral("%1 to %2").arg(quoted(wanted.name), quoted(wanted.newName)));
    session.save();
    tellNewDataSet(console, wanted.newName);
}

void removeDataSets(const Console &console, const Request &request)
{
    ProjectSession session(console, request.project, ProjectSession::Change);
    for (const std::string &name : request.names)
        session.dataSet(argument(name));
    for (const std::string &name : request.names)
        ProjectSession::check(session.controller().doCmd_DataSet_Remove({argument(name)}),
                              QStringLiteral("data set %1").arg(quoted(argument(name))));
    session.save();
    console.object({{QStringLiteral("removed"), static_cast<int>(request.names.size())}});
}

} // namespace

void addProjectCommands(CLI::App &app, Console &console)
{
    const auto request = std::make_shared<Request>();
    const auto add = [&](const char *name, const char *help, const Work &work) {
        return addProjectCommand(app, console, name, help, request, work);
    };
    add("new", "Make a project in a directory", makeNew);
    add("import", "Register LAS files", importLas)->add_option("LAS", request->names, "LAS files")->required();
    add("las-list", "List the registered LAS files", listLas);
    add("las-remove", "Forget LAS files; the files stay", removeLas)
        ->add_option("NAME", request->names, "Registered names")
        ->required();
    add("columns", "Tell the columns that a LAS file has", listColumns)
        ->add_option("LASNAME", request->name, "A registered name")
        ->required();

    CLI::App *command = add("make", "Make a data set from LAS files", makeDataSet);
    command->add_option("NAME", request->name, "The new data set")->required();
    command->add_option("LASNAME", request->names, "Registered names")->required();
    command->add_option("--columns", request->columns, "all, or numbers such as 0,3,4")->capture_default_str();

    add("list", "List the data sets", listDataSets);
    add("info", "Tell what a data set holds", tellInfo)->add_option("NAME", request->name, "A data set")->required();

    command = add("blocks", "Tell the blocks of a data set, with boxes in position units", listBlocks);
    command->add_option("NAME", request->name, "A data set")->required();
    addContentOptions(*command, request->content);
    command->add_flag("--summary", request->summary, "Leave out the table");

    const auto addWithNewName = [&](const char *name, const char *help, const Work &work) {
        CLI::App *added = add(name, help, work);
        added->add_option("NAME", request->name, "A data set")->required();
        added->add_option("NEW", request->newName, "The new name")->required();
    };
    addWithNewName("copy", "Copy a data set with all that it holds", copyDataSet);
    addWithNewName("rename", "Rename a data set", renameDataSet);

    command = add("merge", "Merge the points of data sets into a new one", mergeDataSets);
    command->add_option("NEW", request->newName, "The new data set")->required();
    command->add_option("NAME", request->names, "The data sets to merge")->required();
    command->add_flag("--remove-sources", request->removeSources, "Remove them when the merge is done");

    add("remove", "Remove data sets with their directories", removeDataSets)
        ->add_option("NAME", request->names, "Data sets")
        ->required();
}
