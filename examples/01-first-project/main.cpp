// The life of a project: LAS files in, data sets made, copied, merged, renamed and removed, the project saved and
// opened again.
//
//   01-first-project DIR LAS...      DIR: a directory that is not there yet

#include <points_cloud.h>

#include <QCoreApplication>
#include <QDir>

#include <cstdio>

using namespace ptCloud;

namespace
{

/// Every command answers with a code; 0 is success. docs/hosting.md tells what the others mean for each command.
bool done(EEPtCloudActResult result, const char *what)
{
    std::printf("%-28s %s (%d)\n", what, result == ActResult_Success ? "done" : "failed", result);
    return result == ActResult_Success;
}

/// What a data set holds: its file is open only while it is looked at.
void tell(const QString &name, const PtCloudDataSet &dataSet)
{
    PtCloud_DataSetFile *points = dataSet.getContent_PointDataSetFile();
    if (!points->openFile())
        return;
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;
    points->getBlocks(blocks);
    points->closeFile();
    qint64 count = 0;
    for (const auto &block : qAsConst(blocks))
        count += std::get<0>(block);
    std::printf("  %s: %lld points in %d blocks\n", qPrintable(name), static_cast<long long>(count), blocks.size());
}

/// Imports the files and makes a data set of each, with the columns that it can supply.
bool makeDataSets(PtCloud_Controller &controller, const QStringList &paths, QSet<QString> &names)
{
    for (const QString &path : paths) {
        QString lasName;
        if (!done(controller.doCmd_LasFile_Import({path}, &lasName), "import"))
            return false;
        stControlParam_DataSet_Make make;
        make.name = QStringLiteral("flight %1").arg(names.size() + 1);
        make.lasNames << lasName;
        controller.getLasFileColumns(lasName, make.columns);
        if (!done(controller.doCmd_DataSet_Make(make), "make"))
            return false;
        names.insert(make.name);
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 3) {
        std::fprintf(stderr, "01-first-project DIR LAS...\n");
        return 2;
    }
    const QString dir = arguments[1];
    // Opening a project deletes every plain file that has no part in it, so it gets a directory of its own.
    if (QDir(dir).exists() || !QDir().mkpath(dir)) {
        std::fprintf(stderr, "%s is there already, or can't be made\n", qPrintable(dir));
        return 1;
    }

    PtCloud_Project project;
    project.setDir(dir);
    PtCloud_Controller &controller = *project.getController();
    QObject::connect(&controller, &PtCloud_Controller::sg_DataSet_Added,
                     [](const QString &name) { std::printf("  signal: added %s\n", qPrintable(name)); });
    QObject::connect(&controller, &PtCloud_Controller::sg_DataSet_Removed,
                     [](const QString &name) { std::printf("  signal: removed %s\n", qPrintable(name)); });

    QSet<QString> flights;
    if (!makeDataSets(controller, arguments.mid(2), flights))
        return 1;
    const QString first = QStringLiteral("flight 1");
    if (!done(controller.doCmd_DataSet_Copy({first, QStringLiteral("backup")}), "copy")
        || !done(controller.doCmd_DataSet_Merge({flights, QStringLiteral("site"), true}), "merge, sources removed")
        || !done(controller.doCmd_DataSet_Rename({QStringLiteral("site"), QStringLiteral("quarry")}), "rename")
        || !done(controller.doCmd_DataSet_Remove({QStringLiteral("backup")}), "remove"))
        return 1;

    // No command saves by itself.
    if (!project.save(dir, nullptr))
        return 1;

    PtCloud_Project again;
    if (!again.loadProject(dir, nullptr))
        return 1;
    std::printf("opened again:\n");
    const auto dataSets = again.getController()->getDataSets();
    for (auto it = dataSets.cbegin(); it != dataSets.cend(); ++it)
        tell(it.key(), **it);
    return 0;
}
