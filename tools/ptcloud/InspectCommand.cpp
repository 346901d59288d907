#include "Commands.h"
#include "DataSetInventory.h"
#include "LibraryLog.h"
#include "StrayFiles.h"

#include "PtCloudDataSet.h"

#include <QFileInfo>

#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

void run(const Console &console, const QString &path, bool sweep)
{
    const QFileInfo info(QDir(path).absolutePath());
    const QDir directory(info.absoluteFilePath());
    if (!directory.exists() || info.fileName().isEmpty())
        throw CommandError(QStringLiteral("%1 is no directory of a data set").arg(quoted(path)));
    const LibraryLog silence;
    PtCloud_DataSetFile points;
    if (!points.setFile(directory.absoluteFilePath(QStringLiteral("Points"))) || !points.openFile()) {
        throw CommandError(
            QStringLiteral("%1 is no directory of a data set: it has no sound file \"Points\"").arg(quoted(path)));
    }
    points.closeFile();
    refuseToSweep(directory, strayFilesOfDataSet(directory), sweep);
    PtCloudDataSet dataSet;
    dataSet.setDir(info.absolutePath(), info.fileName());
    if (!dataSet.loadFromFile())
        throw CommandError(QStringLiteral("%1 does not load").arg(quoted(path)));
    tellDataSet(console, dataSet);
}

} // namespace

void addInspectCommand(CLI::App &app, Console &console)
{
    const auto path = std::make_shared<std::string>();
    const auto sweep = std::make_shared<bool>(false);
    CLI::App *command =
        app.add_subcommand("inspect", "Tell what the directory of a data set holds: points, meshes, splits, cuts, "
                                      "terrain, volumes.\nOpening it deletes every other plain file in it, so it is "
                                      "refused where there are any.");
    command->add_option("DIR", *path, "The directory, which holds a file \"Points\"")->required();
    command->add_flag("--sweep", *sweep, "Delete the files that have no part in the data set");
    command->callback([path, sweep, &console] { run(console, argument(*path), *sweep); });
}
