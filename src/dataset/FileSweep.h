#pragma once

#include <QFileInfoList>
#include <QStringList>

class QDir;

namespace ptCloud
{

/// The plain files directly in a directory; fewer, without a word, where it can't be read.
QFileInfoList plainFilesIn(const QDir &directory);

/// Removes the files that are not among `keep`, whatever the case. Those that can't be removed stay.
void removeOtherFiles(const QFileInfoList &files, const QStringList &keep);

} // namespace ptCloud
