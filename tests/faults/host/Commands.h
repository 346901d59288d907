#pragma once

#include <QByteArray>
#include <QString>

/// What the host can do. Each command works on the stand that `FaultStand` lays down in `directory`, calls `arm` when
/// all is ready, and tells what came of it: the result, and what a host then sees.
struct Command
{
    const char *name;
    QByteArray (*run)(const QString &directory);
};

/// From here on a call may fail, as the environment tells. Nothing without the injector.
void arm();

/// Null if none has the name.
const Command *findCommand(const QByteArray &name);

// The commands, by what they are about.
const Command *findControllerCommand(const QByteArray &name);
const Command *findDataSetCommand(const QByteArray &name);
const Command *findBuilder(const QByteArray &name);

template <typename Table>
const Command *findIn(const Table &table, const QByteArray &name)
{
    for (const Command &command : table) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

inline QByteArray toWord(bool done)
{
    return done ? "true" : "false";
}
