#pragma once

#include "BoxGrid.h"
#include "LasFormat.h"
#include "PointRuns.h"

#include <QList>

#include <optional>
#include <vector>

namespace ptCloud
{

class LasFile;

/// The first pass over LAS files: which runs of records fall into which box.
///
/// Only the raw coordinates are looked at, in the files' own read-ahead buffers. What grows with the number of points
/// is the list of runs alone.
class LasClassifier
{
public:
    /// One file and what was found in it.
    struct Source
    {
        const LasFile *file;
        const LasFormat *format;
        unsigned char formatId;
        unsigned int pointCount; ///< as the header tells
        RunList runs;
    };

    /// Reads the headers and lays the grid over the range of the last file. False for a null entry and for a version
    /// other than 1.2 and 1.3.
    bool readHeaders(const QList<const LasFile *> &files);

    /// Walks the records of every file. A file ends for this pass where it stops giving records.
    void classify();

    /// The grid; there is none before `readHeaders`, and none of an empty list.
    const BoxGrid &grid() const { return *m_grid; }
    /// The files in the order of their addresses, each once.
    const std::vector<Source> &sources() const { return m_sources; }
    /// Points of each box.
    const std::vector<quint64> &pointsOfBoxes() const { return m_pointsOfBoxes; }

private:
    void classify(Source &source);

    std::optional<BoxGrid> m_grid;
    std::vector<Source> m_sources;
    std::vector<quint64> m_pointsOfBoxes;
    unsigned int m_step = 0; ///< records asked for at a time, in all files
};

} // namespace ptCloud
