#pragma once

#include "CrashStep.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <random>
#include <vector>

namespace crash
{

/// What a host does, and when it is killed.
struct HostOrder
{
    quint32 seed = 0;
    QStringList lines; ///< the steps; without any they are random and without end
    std::optional<quint32> microseconds;
    int step = -1; ///< from whose begin the calls are counted by which a file changes
    long call = 0; ///< the last one
    int share = 0; ///< of 256 parts of the bytes that it still writes

    /// Random steps with a random end, every other time by the clock.
    static HostOrder random(std::mt19937 &random);
    QString text() const;
};

struct HostEnd
{
    bool isKilled = false; ///< otherwise it came to its end, or hung
    std::vector<JournalEntry> journal;
};

/// Starts a host on a project and waits for its end.
///
/// @param directory  holds the directories `project` and `las`; the host's journal is written there
HostEnd runHost(const QString &directory, const HostOrder &order);

} // namespace crash
