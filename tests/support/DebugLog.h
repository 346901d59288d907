#pragma once

#include <QStringList>

namespace support
{

/// Collects the debug lines that are written while it lives, instead of letting them reach the terminal. One at a time.
class DebugLog
{
public:
    DebugLog();
    ~DebugLog();
    DebugLog(const DebugLog &) = delete;
    DebugLog &operator=(const DebugLog &) = delete;

    /// The texts of all `qDebug` lines so far.
    QStringList lines() const;
};

} // namespace support
