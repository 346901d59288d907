#pragma once

#include <QString>
#include <QtGlobal>

/// Marks what the stand-in for the host's `toolkits` library exports.
#if defined(POINTS_CLOUD_TOOLKITS_BUILD)
#define POINTS_CLOUD_TOOLKITS_EXPORT Q_DECL_EXPORT
#else
#define POINTS_CLOUD_TOOLKITS_EXPORT Q_DECL_IMPORT
#endif

namespace tk
{

/// File system helpers that Qt has no single call for. The stand-in for a host's own library; a host that has one names
/// it in the CMake variable `POINTS_CLOUD_TOOLKITS_TARGET`.
class POINTS_CLOUD_TOOLKITS_EXPORT Toolkits
{
public:
    /// Copies all that lies in `from` into `to`, sub-directories and hidden files included, and makes `to` where it is
    /// missing. A link to a directory is passed over, never followed; a link to a file is copied as that file; a pipe,
    /// a device or a link to nothing is a failure.
    ///
    /// With `overwrite` a file that exists is replaced, else it is a failure. False at the first failure: what was
    /// copied until then stays. A directory is never copied into itself.
    static bool CopyDirectory(const QString &from, const QString &to, bool overwrite);
};

} // namespace tk
