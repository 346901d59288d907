#pragma once

#include "CrashStep.h"

#include <QByteArray>
#include <QString>

#include <random>

namespace crash
{

/// One host that was started and killed.
struct KilledHost
{
    bool isKilled = false; ///< otherwise it ended by itself, which no host does
    bool byTheClock = false;
    QString how; ///< for a failure: how it was killed, and the seed of its steps
    std::vector<JournalEntry> journal;
};

/// Starts a host on the project, and kills it: every other time at a random moment, or at a random one of the calls by
/// which it changes files.
///
/// @param journalPath  a file beside the project, replaced
KilledHost killOneHost(const QString &projectDir, const QString &lasDir, const QString &journalPath,
                       std::mt19937 &random);

} // namespace crash
