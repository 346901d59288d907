// What a project costs by the number of its data sets: each command done once for every one of them.
//
//   many_data_sets DIR COUNT
//
// A command that takes a new name compares it with every name there is: make, rename, copy and merge so take the longer
// the more there are, by 0.1 to 0.3 ms for each thousand.

#include "Growth.h"

#include "PtCloudDataSet.h"
#include "PtCloud_Controller.h"
#include "PtCloud_Project.h"

#include <QDir>

#include <memory>

using namespace ptCloud;

namespace
{

QString name(const char *prefix, int number)
{
    return QLatin1String(prefix) + QString::number(number);
}

/// Whether the command succeeds for every number.
template <typename Command>
bool each(int count, Command command)
{
    for (int i = 0; i < count; ++i) {
        if (command(i) != ActResult_Success)
            return false;
    }
    return true;
}

/// The last of them takes longest to find, the first to name: all of them, and the objects behind the names.
bool askForNames(PtCloud_Controller &controller, int count)
{
    QMap<QString, QString> paths;
    controller.getDataSetFilepaths(paths);
    for (auto it = paths.cbegin(); it != paths.cend(); ++it) {
        if (controller.getDataSet(it.key()) == nullptr || controller.getDataSetReader(it.key()) == nullptr)
            return false;
    }
    return paths.size() == count && controller.getDataSets().size() == count;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "many_data_sets DIR COUNT\n");
        return 2;
    }
    const int count = QByteArray(argv[2]).toInt();
    const QDir root(QDir(QFile::decodeName(argv[1])).absoluteFilePath(QStringLiteral("data-sets")));
    root.mkpath(QStringLiteral("project"));
    const QString dir = root.absoluteFilePath(QStringLiteral("project"));
    const QString survey = QDir(QFile::decodeName(argv[1])).absoluteFilePath(QStringLiteral("small.las"));
    auto project = std::make_unique<PtCloud_Project>();
    project->setDir(dir);
    if (project->getController()->doCmd_LasFile_Import({survey}, nullptr) != ActResult_Success)
        return 1;

    Growth growth(count);
    growth.step("make", [&] {
        return each(count, [&](int i) {
            return project->getController()->doCmd_DataSet_Make(
                {{QStringLiteral("small.las")}, {EDataSetColumn_Position}, name("set", i)});
        });
    });
    growth.step("save", [&] { return project->save(dir, nullptr); });
    growth.step("close", [&] {
        project.reset();
        return true;
    });
    growth.step("load", [&] {
        project = std::make_unique<PtCloud_Project>();
        return project->loadProject(dir, nullptr);
    });
    PtCloud_Controller &controller = *project->getController();
    growth.step("names", [&] { return askForNames(controller, count); });
    growth.step("rename", [&] {
        return each(count, [&](int i) {
            return controller.doCmd_DataSet_Rename({name("set", i), name("renamed", i)});
        });
    });
    growth.step("copy half", [&] {
        return each(count / 2, [&](int i) {
            return controller.doCmd_DataSet_Copy({name("renamed", i), name("copy", i)});
        });
    });
    growth.step("merge pairs", [&] {
        return each(count / 2, [&](int i) {
            return controller.doCmd_DataSet_Merge({{name("renamed", i), name("copy", i)}, name("merged", i), true});
        });
    });
    growth.step("remove", [&] {
        return each(count / 2, [&](int i) { return controller.doCmd_DataSet_Remove({name("merged", i)}); })
               && each(count / 2,
                       [&](int i) { return controller.doCmd_DataSet_Remove({name("renamed", count / 2 + i)}); })
               && controller.isDataSetEmpty();
    });
    QDir(root).removeRecursively();
    return 0;
}
