#pragma once

#include <QString>

/// What the disk says of a path. Where it does not answer, nothing is guessed but `CommandError` thrown: a file that
/// can't be looked at is not one that is missing, in whose place a command may put its own.

/// Whether there is a file, a directory or anything else.
bool isThere(const QString &path);

/// The absolute path, without links; empty where nothing is there.
QString realPath(const QString &path);

/// Bytes of a file.
qint64 sizeOfFile(const QString &path);
