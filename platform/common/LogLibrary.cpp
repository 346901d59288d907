#include "LogLibrary.h"

#include "AppConfig.h"

#include <QDateTime>
#include <QFile>

namespace
{

QString typeName(ELogType type)
{
    switch (type) {
    case LogType_Info:
        return QStringLiteral("info");
    case LogType_Warning:
        return QStringLiteral("warning");
    case LogType_Error:
        return QStringLiteral("error");
    }
    return QString::number(static_cast<int>(type));
}

} // namespace

void LogLibrary::addLog(const QString &category, const QString &text, ELogType type, bool flag)
{
    if (m_sink) {
        m_sink(category, text, type, flag);
        return;
    }
    const QDir home = AppConfig::getInstance().homeDir();
    home.mkpath(QStringLiteral("."));
    QFile file(home.absoluteFilePath(QStringLiteral("points_cloud.log")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    const QString line = QDateTime::currentDateTime().toString(Qt::ISODateWithMs) + QLatin1Char(' ') + typeName(type)
                         + QLatin1Char(' ') + category + QLatin1String(": ") + text + QLatin1Char('\n');
    file.write(line.toUtf8());
}

void LogLibrary::setSink(Sink sink)
{
    m_sink = std::move(sink);
}
