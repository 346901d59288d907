#pragma once

#include "points_cloud_common_global.h"

#include <QString>

#include <functional>

/// How grave a log line is.
enum ELogType : int { LogType_Info = 0, LogType_Warning = 1, LogType_Error = 2 };

/// The application's log: lines appended to `points_cloud.log` in the home directory, or handed to a host's own sink.
class POINTS_CLOUD_COMMON_EXPORT LogLibrary
{
public:
    using Sink = std::function<void(const QString &category, const QString &text, ELogType type, bool flag)>;

    /// Writes one line: time, type, category and text. A line that can't be written is lost without a sign; `flag` is
    /// handed to the sink and has no effect on the file.
    void addLog(const QString &category, const QString &text, ELogType type, bool flag);

    /// From now on lines go to `sink` and not to the file; an empty function ends that.
    void setSink(Sink sink);

private:
    Sink m_sink;
};
