#pragma once

#include <QStringList>

class QDir;

namespace ptCloud
{

/// Removes every plain file directly in the directory that is not among `keep`, whatever the case. Directories stay,
/// and so do files that can't be removed.
void removeOtherFiles(const QDir &directory, const QStringList &keep);

} // namespace ptCloud
