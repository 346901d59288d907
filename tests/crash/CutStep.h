#pragma once

#include "ProjectModel.h"

#include <QSet>

namespace crash
{

/// What a host that is killed may leave, beyond the state before its last step and the state behind it. Everything else
/// is a fault. `words` tells each.
enum class Told {
    HalfBuilt,
    HalfBuiltBeside,
    HalfCopied,
    HalfRemoved,
    MergedBesideSources,
    CutProjectFile,
    EmptyProjectFile,
    CutVolumes,
    CutContours,
    HalfWrittenCut,
    LeftTemporaryPoints,
    SwapWithoutPoints,
    NotSavedYet,
    EntryWithoutPoints,
};
const char *words(Told told);
constexpr int toldCount = static_cast<int>(Told::EntryWithoutPoints) + 1;

/// Compares what is found on disk with the states before and behind a step that did not end. Gives what is found
/// although nothing tells that it may be there, one line each; enters what is told.
QStringList findUntold(const Step &step, const Project &before, const Project &after, const Project &found,
                       QSet<Told> &told);

/// The differences between two projects on disk, one line each.
QStringList differences(const Project &expected, const Project &found);

inline uint qHash(Told told)
{
    return static_cast<uint>(told);
}

} // namespace crash
