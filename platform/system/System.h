#pragma once

#include <QFile>
#include <QString>

/// All that differs between operating systems: one header, one implementation file a system, picked by the build.
namespace ptCloud::platform
{

/// The file name of the worker program.
QString workerFileName();

/// Stops every worker program of this user on this machine.
///
/// A worker is a process whose program file is named `open3d_wrapper` or `open3d_wrapper_d` (".exe" on Windows): the
/// name of the file that runs, never an argument, a folder or a part of a name. Elsewhere than on Windows the call
/// waits, at most a second, until they are gone; on Windows it starts the system's own command and does not wait. The
/// calling process itself is left alone.
void stopWorkers();

/// Releases a shared memory block that a crashed process left behind under `key`, so that it can be created again. A
/// block that a live process holds stays.
void releaseStaleSharedMemory(const QString &key);

/// Gives an open file the size `size` with disk space behind every byte. False, and the size as before, where there is
/// not enough space or the file can't be sized.
///
/// A file that is merely resized is sparse on many systems: a full disk then shows only when the bytes are written.
bool reserveFileSpace(QFile &file, qint64 size);

/// Whether a name is one plain path component, so that a file or directory of that name lies where it is put: not
/// empty, not "." or "..", without a separator or a NUL, and without a colon in front, which Qt takes for a path of its
/// resources; on Windows also without \ : * ? " < > |, a blank or dot at the end, and not the name of a device.
bool isPlainName(const QString &name);

/// Whether both paths lead to one file that is there, over whatever links, hard ones too.
bool isSameFile(const QString &a, const QString &b);

/// Gives the file `from` the name `to`, in one step and in the place of a file that has the name already. Both lie in
/// one directory. False, with both as before, where that can't be.
bool replaceFile(const QString &from, const QString &to);

/// Bytes of memory that this process can still take without driving others out of memory, within the limits that were
/// set for it; the largest number where the system doesn't tell.
quint64 availableMemory();

/// Milliseconds of a steady clock, in 32 bits that wrap around after 49.7 days.
quint32 tickCount();

} // namespace ptCloud::platform
