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
    // A worker that is cancelled is not waited for, which is no news for the user.
    else if (systemHandler != nullptr && !text.startsWith(QLatin1String("QProcess: Destroyed while process")))
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

LasBuildLog::LasBuildLog(qint64 records)
    : m_records(records), m_progress(QStringLiteral("reading")), m_log([this](qint64 done, qint64) { show(done); })
{}

void LasBuildLog::show(qint64 done)
{
    if (done < m_inThisFile)
        m_ofEarlierFiles += m_inThisFile;
    m_inThisFile = done;
    const auto all = static_cast<double>(m_ofEarlierFiles + done);
    m_progress.show(m_records == 0 ? 1.0 : all / static_cast<double>(m_records));
}

QString LasBuildLog::why() const
{
    const QString failure = m_log.failure();
    if (failure.contains(QLatin1String("points is empty")))
        return QStringLiteral("no point lies in the range that the last file's header tells");
    if (failure.contains(QLatin1String("reallocBufMems")))
        return QStringLiteral("memory is short");
    if (!failure.isEmpty())
        return QStringLiteral("there is no room for it on the disk");
    return QStringLiteral("it can't be written (is the directory there, and is there room on the disk?)");
}
