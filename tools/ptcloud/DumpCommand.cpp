#include "BlockTable.h"
#include "Commands.h"
#include "LibraryLog.h"

#include "PtCloud_DataSetFile.h"

#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

void run(const Console &console, const QString &path, bool summaryOnly)
{
    const LibraryLog silence;
    PtCloud_DataSetFile file;
    file.setFile(path);
    if (!file.isValid())
        throw CommandError(QStringLiteral("%1 is not an existing file").arg(quoted(path)));
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 is no sound data set file: its head fails a check").arg(quoted(path)));

    tellBlocks(console, file, summaryOnly);
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
