#pragma once

#include <QByteArray>
#include <QStringList>

#include <cstddef>
#include <vector>

namespace support
{

/// A sound LAS file as the builder gets it.
struct PlainLasFile
{
    QByteArray bytes;
    quint32 readingStep = 0; ///< records that the loaded file holds in a window
};

/// What comes of a build, worked out box by box and run by run without the library.
struct PlainLasBuild
{
    bool complete = false;
    QByteArray blockFile;
    QStringList readingLines; ///< the debug lines, one for each reading step
};

/// Builds as slowly and literally as can be: every box of the grid is asked for every record, and every record is
/// converted by itself. The files stand in the order of the addresses of their objects, each once; `firstOfList` and
/// `lastOfList` tell which of them begin and end the builder's list.
PlainLasBuild buildPlainly(const std::vector<PlainLasFile> &filesByAddress, std::size_t firstOfList,
                           std::size_t lastOfList, const std::vector<quint32> &columns);

} // namespace support
