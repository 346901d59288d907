#include "LibraryLog.h"

#include <QStringList>
#include <QtGlobal>

namespace
{

LibraryLog *listener = nullptr; ///< the innermost
QtMessageHandler systemHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtDebugMsg)
        listener->take(text);
    else if (systemHandler != nullptr)
        systemHandler(type, context, text);
}

} // namespace

LibraryLog::LibraryLog(std::function<void(qint64, qint64)> onProgress)
    : m_onProgress(std::move(onProgress)), m_outer(listener)
{
    listener = this;
    if (m_outer == nullptr)
        systemHandler = qInstallMessageHandler(handleMessage);
}

LibraryLog::~LibraryLog()
{
    listener = m_outer;
    if (m_outer == nullptr)
        qInstallMessageHandler(systemHandler);
}

void LibraryLog::take(const QString &text)
{
    const QStringList parts = text.split(QStringLiteral(" / "));
    bool isDone = false;
    bool isAll = false;
    const qint64 done = parts.value(0).toLongLong(&isDone);
    const qint64 all = parts.value(1).toLongLong(&isAll);
    if (parts.size() == 2 && isDone && isAll) {
        if (m_onProgress)
            m_onProgress(done, all);
    } else if (text.startsWith(QLatin1String("makeDataSet_")) || text.startsWith(QLatin1String("Resize file failed"))) {
        m_failure = text;
    }
}
