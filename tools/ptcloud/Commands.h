#pragma once

#include "Console.h"

#include <CLI/CLI.hpp>

/// Each adds one command to the program: its options, its help and what it does. The callback throws `CommandError`
/// when the command can't be done.
void addLasCommand(CLI::App &app, Console &console);
void addBuildCommand(CLI::App &app, Console &console);
void addDumpCommand(CLI::App &app, Console &console);
void addPictureCommand(CLI::App &app, Console &console);
void addDemoLasCommand(CLI::App &app, Console &console);
void addVolumeCommand(CLI::App &app, Console &console);
void addContoursCommand(CLI::App &app, Console &console);
void addInspectCommand(CLI::App &app, Console &console);
void addConvertCommand(CLI::App &app, Console &console);
void addExportCommand(CLI::App &app, Console &console);
/// All commands that work in a project.
void addProjectCommands(CLI::App &app, Console &console);
/// Those among them that the worker program does.
void addFunctionCommands(CLI::App &app, Console &console);
