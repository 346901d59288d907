#pragma once

#include <QString>
#include <QStringList>

/// What the disk says of a path. Where it does not answer, nothing is guessed but `CommandError` thrown: a file that
/// can't be looked at is not one that is missing, in whose place a command may put its own.

/// Whether there is a file, a directory or anything else.
bool isThere(const QString &path);

/// The absolute path, without links; empty where nothing is there.
QString realPath(const QString &path);

/// The names of the plain files in a directory, in order. Hidden are those with a dot in front.
QStringList filesIn(const QString &directory, bool withHidden = false);

/// Bytes of a file.
qint64 sizeOfFile(const QString &path);
