#pragma once

#include "Console.h"

#include <QString>

#include <functional>

/// Listens to what the library writes to the debug log, which is how it tells of progress and of the reason for a
/// failed build. Where several live, the innermost listens.
class LibraryLog
{
public:
    /// `onProgress` gets the records done and all records of the LAS file that is being walked.
    explicit LibraryLog(std::function<void(qint64 done, qint64 all)> onProgress = {});
    ~LibraryLog();
    LibraryLog(const LibraryLog &) = delete;
    LibraryLog &operator=(const LibraryLog &) = delete;

    /// The last line that told of a failure; empty where there was none.
    QString failure() const { return m_failure; }

    /// For the message handler.
    void take(const QString &text);

private:
    std::function<void(qint64, qint64)> m_onProgress;
    LibraryLog *m_outer;
    QString m_failure;
};

/// Follows a build from LAS files and shows how far it is.
class LasBuildLog
{
public:
    /// @param records  those of all files together
    explicit LasBuildLog(qint64 records);

    /// Why the build failed, as far as the library told.
    QString why() const;

private:
    void show(qint64 done);

    qint64 m_records;
    qint64 m_ofEarlierFiles = 0;
    qint64 m_inThisFile = 0;
    Progress m_progress;
    LibraryLog m_log;
};
