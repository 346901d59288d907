#pragma once

#include "PtCloud_DataSetFile.h"

#include <QDebug>

#include <new>

namespace ptCloud
{

/// What all builders share: the file is opened and emptied, `build` fills it, and it is closed whatever happens. True
/// only if `build` is content and every byte has reached the file.
template <typename Build>
bool PtCloud_DataSetFile::buildFile(Build build)
{
    return finishFile([this, &build] { return open(true) && build(); });
}

/// The same for a file that is open already.
template <typename Build>
bool PtCloud_DataSetFile::finishFile(Build build)
{
    bool done = false;
    try {
        done = build() && m_file->flush() && m_file->error() == QFileDevice::NoError;
    } catch (const std::bad_alloc &) {
        done = false;
    }
    if (m_file) {
        // A failure is told by the result, and the head stands in front of what was written all the same.
        if (done || m_file->size() != 0)
            done = writeFormatWord() && done;
        // On some file systems only this tells that bytes did not reach the disk.
        m_file->close();
        done = done && m_file->error() == QFileDevice::NoError;
    }
    closeFile();
    return done;
}

// The two lines by which the builders tell why, in the words of the first of them.

inline void logPointsEmpty()
{
    qDebug().noquote() << "makeDataSet_byLasFile: points is empty.";
}

inline void logNoMemory()
{
    qDebug().noquote() << "makeDataSet_byLasFile: reallocBufMems failed.";
}

} // namespace ptCloud
