#include "AppConfig.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace
{

QString programDir()
{
    if (QCoreApplication::instance() != nullptr)
        return QCoreApplication::applicationDirPath();
    // Without an application object Qt does not tell; Linux does, and elsewhere the current directory has to serve.
    const QString program = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    return program.isEmpty() ? QDir::currentPath() : QFileInfo(program).absolutePath();
}

} // namespace

AppConfig &AppConfig::getInstance()
{
    static AppConfig instance;
    return instance;
}

QDir AppConfig::homeDir() const
{
    return m_homeDir.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) : m_homeDir;
}

QDir AppConfig::binDir() const
{
    return m_binDir.isEmpty() ? programDir() : m_binDir;
}

void AppConfig::setHomeDir(const QString &dir)
{
    m_homeDir = dir;
}

void AppConfig::setBinDir(const QString &dir)
{
    m_binDir = dir;
}

LogLibrary &AppConfig::module_logLib()
{
    return m_logLib;
}
