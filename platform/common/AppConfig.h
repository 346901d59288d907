#pragma once

#include "LogLibrary.h"
#include "points_cloud_common_global.h"

#include <QDir>

/// Where the application lives: its home directory, its programs and its log.
///
/// This is the stand-in for a host's own configuration library; a host that has one names it in the CMake variable
/// `POINTS_CLOUD_COMMON_TARGET`. There is one object in a process. Set the directories before work starts; not for two
/// threads at once.
class POINTS_CLOUD_COMMON_EXPORT AppConfig
{
public:
    static AppConfig &getInstance();

    /// The writable home directory of the application: settings of the worker and the log go here. At first the
    /// platform's place for application data.
    QDir homeDir() const;
    /// The directory of the application's programs, the worker among them. At first that of the running program.
    QDir binDir() const;
    void setHomeDir(const QString &dir);
    void setBinDir(const QString &dir);

    /// The application's log.
    LogLibrary &module_logLib();

private:
    AppConfig() = default;
    Q_DISABLE_COPY(AppConfig)

    QString m_homeDir;
    QString m_binDir;
    LogLibrary m_logLib;
};
