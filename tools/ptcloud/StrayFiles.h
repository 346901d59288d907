#pragma once

#include <QDir>
#include <QStringList>

/// The plain files that loading a data set's directory would delete: what has no part in a data set, and meshes, splits
/// and cuts that are not sound.
QStringList strayFilesOfDataSet(const QDir &directory);

/// Whether a file of this name can be a content of a data set.
bool isContentName(const QString &name);

/// Throws `CommandError`, naming the files, if there are any and `sweep` was not given.
void refuseToSweep(const QDir &directory, const QStringList &strays, bool sweep);
