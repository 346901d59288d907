#include "DebugLog.h"

#include <QMutex>
#include <QMutexLocker>
#include <QtGlobal>

#include <cstdio>

namespace support
{

namespace
{

QMutex mutex;
QStringList collected;
QtMessageHandler previous = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtDebugMsg) {
        const QMutexLocker locker(&mutex);
        collected.append(text);
    } else if (previous != nullptr) {
        previous(type, context, text);
    }
}

} // namespace

DebugLog::DebugLog()
{
    collected.clear();
    previous = qInstallMessageHandler(collect);
}

DebugLog::~DebugLog()
{
    qInstallMessageHandler(previous);
}

QStringList DebugLog::lines() const
{
    const QMutexLocker locker(&mutex);
    return collected;
}

} // namespace support
