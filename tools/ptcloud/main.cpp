#include "Commands.h"

#include <QCoreApplication>

#include <exception>

namespace
{

constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

int run(int argc, char **argv, Console &console)
{
    CLI::App app(
        "Surveyed point clouds from the command line: LAS files become block files that a viewer reads block by "
        "block.\nPositions are the LAS file's integers in thousandths of the unit, whatever scale and offset its "
        "header tells.",
        "ptcloud");
    app.require_subcommand(1);
    app.fallthrough();
    app.add_flag("--json", console.json, "Print one JSON object on standard output and nothing else there");
    addLasCommand(app, console);
    addBuildCommand(app, console);
    addDumpCommand(app, console);
    addPictureCommand(app, console);
    addDemoLasCommand(app, console);
    addVolumeCommand(app, console);
    addContoursCommand(app, console);
    addInspectCommand(app, console);
    addConvertCommand(app, console);
    addExportCommand(app, console);
    addProjectCommands(app, console);
    addFunctionCommands(app, console);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : exitUsage;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Console console;
    try {
        return run(argc, argv, console);
    } catch (const CommandError &error) {
        console.fail(error);
    } catch (const std::exception &error) {
        console.fail(CommandError(QString::fromLocal8Bit(error.what())));
    }
    return exitFailed;
}
