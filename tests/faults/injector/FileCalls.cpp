// Calls on files and their descriptors. Where a call has a twin for large files, both are here: programs use either.

#include "FaultInjector.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdarg>

using fault::Call;

namespace
{

mode_t modeOf(int flags, va_list &arguments)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(arguments, mode_t) : 0;
}

/// Opens by `open`; what is opened below the directory is watched from then on. Directories are opened to list them.
template <typename Open>
int openWatched(int directory, const char *path, int flags, Open open)
{
    const bool isBelow = fault::isBelow(directory, path);
    const bool isListed = (flags & O_DIRECTORY) != 0 && (flags & O_TMPFILE) != O_TMPFILE;
    if (isBelow && fault::fails(isListed ? Call::List : Call::Open))
        return -1;
    const int descriptor = open();
    fault::watch(descriptor, isBelow);
    return descriptor;
}

bool failsOn(int descriptor, Call call)
{
    return fault::isWatched(descriptor) && fault::fails(call);
}

/// Whether a transfer of `count` bytes fails; `count` is what of it may be done otherwise.
bool failsOn(int descriptor, Call call, std::size_t &count)
{
    return fault::isWatched(descriptor) && fault::fails(call, count);
}

int failingReserve(int descriptor)
{
    return failsOn(descriptor, Call::Reserve) ? errno : 0;
}

int duplicated(int from, int to)
{
    fault::watch(to, fault::isWatched(from));
    return to;
}

} // namespace

extern "C" {

int open(const char *path, int flags, ...)
{
    FAULT_NEXT(open)
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openWatched(AT_FDCWD, path, flags, [&] { return real(path, flags, mode); });
}

int open64(const char *path, int flags, ...)
{
    FAULT_NEXT(open64)
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openWatched(AT_FDCWD, path, flags, [&] { return real(path, flags, mode); });
}

int openat(int directory, const char *path, int flags, ...)
{
    FAULT_NEXT(openat)
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openWatched(directory, path, flags, [&] { return real(directory, path, flags, mode); });
}

int openat64(int directory, const char *path, int flags, ...)
{
    FAULT_NEXT(openat64)
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openWatched(directory, path, flags, [&] { return real(directory, path, flags, mode); });
}

int creat(const char *path, mode_t mode)
{
    FAULT_NEXT(creat)
    return openWatched(AT_FDCWD, path, O_CREAT, [&] { return real(path, mode); });
}

int creat64(const char *path, mode_t mode)
{
    FAULT_NEXT(creat64)
    return openWatched(AT_FDCWD, path, O_CREAT, [&] { return real(path, mode); });
}

ssize_t read(int descriptor, void *bytes, size_t count)
{
    FAULT_NEXT(read)
    return failsOn(descriptor, Call::Read, count) ? -1 : real(descriptor, bytes, count);
}

ssize_t pread(int descriptor, void *bytes, size_t count, off_t offset)
{
    FAULT_NEXT(pread)
    return failsOn(descriptor, Call::Read, count) ? -1 : real(descriptor, bytes, count, offset);
}

ssize_t pread64(int descriptor, void *bytes, size_t count, off64_t offset)
{
    FAULT_NEXT(pread64)
    return failsOn(descriptor, Call::Read, count) ? -1 : real(descriptor, bytes, count, offset);
}

ssize_t readv(int descriptor, const iovec *parts, int count)
{
    FAULT_NEXT(readv)
    return failsOn(descriptor, Call::Read) ? -1 : real(descriptor, parts, count);
}

ssize_t write(int descriptor, const void *bytes, size_t count)
{
    FAULT_NEXT(write)
    return failsOn(descriptor, Call::Write, count) ? -1 : real(descriptor, bytes, count);
}

ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t offset)
{
    FAULT_NEXT(pwrite)
    return failsOn(descriptor, Call::Write, count) ? -1 : real(descriptor, bytes, count, offset);
}

ssize_t pwrite64(int descriptor, const void *bytes, size_t count, off64_t offset)
{
    FAULT_NEXT(pwrite64)
    return failsOn(descriptor, Call::Write, count) ? -1 : real(descriptor, bytes, count, offset);
}

ssize_t writev(int descriptor, const iovec *parts, int count)
{
    FAULT_NEXT(writev)
    return failsOn(descriptor, Call::Write) ? -1 : real(descriptor, parts, count);
}

ssize_t sendfile(int to, int from, off_t *offset, size_t count) noexcept
{
    FAULT_NEXT(sendfile)
    return failsOn(to, Call::Write, count) ? -1 : real(to, from, offset, count);
}

ssize_t sendfile64(int to, int from, off64_t *offset, size_t count) noexcept
{
    FAULT_NEXT(sendfile64)
    return failsOn(to, Call::Write, count) ? -1 : real(to, from, offset, count);
}

ssize_t copy_file_range(int from, off64_t *fromOffset, int to, off64_t *toOffset, size_t count, unsigned int flags)
{
    FAULT_NEXT(copy_file_range)
    return failsOn(to, Call::Write, count) ? -1 : real(from, fromOffset, to, toOffset, count, flags);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    FAULT_NEXT(ioctl)
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    return request == FICLONE && failsOn(descriptor, Call::Write) ? -1 : real(descriptor, request, argument);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept
{
    FAULT_NEXT(lseek)
    return failsOn(descriptor, Call::Seek) ? -1 : real(descriptor, offset, whence);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept
{
    FAULT_NEXT(lseek64)
    return failsOn(descriptor, Call::Seek) ? -1 : real(descriptor, offset, whence);
}

int ftruncate(int descriptor, off_t size) noexcept
{
    FAULT_NEXT(ftruncate)
    return failsOn(descriptor, Call::Truncate) ? -1 : real(descriptor, size);
}

int ftruncate64(int descriptor, off64_t size) noexcept
{
    FAULT_NEXT(ftruncate64)
    return failsOn(descriptor, Call::Truncate) ? -1 : real(descriptor, size);
}

int truncate(const char *path, off_t size) noexcept
{
    FAULT_NEXT(truncate)
    return fault::isBelow(path) && fault::fails(Call::Truncate) ? -1 : real(path, size);
}

int truncate64(const char *path, off64_t size) noexcept
{
    FAULT_NEXT(truncate64)
    return fault::isBelow(path) && fault::fails(Call::Truncate) ? -1 : real(path, size);
}

int fallocate(int descriptor, int mode, off_t offset, off_t size)
{
    FAULT_NEXT(fallocate)
    return failsOn(descriptor, Call::Reserve) ? -1 : real(descriptor, mode, offset, size);
}

int fallocate64(int descriptor, int mode, off64_t offset, off64_t size)
{
    FAULT_NEXT(fallocate64)
    return failsOn(descriptor, Call::Reserve) ? -1 : real(descriptor, mode, offset, size);
}

int posix_fallocate(int descriptor, off_t offset, off_t size)
{
    FAULT_NEXT(posix_fallocate)
    const int error = failingReserve(descriptor);
    return error != 0 ? error : real(descriptor, offset, size);
}

int posix_fallocate64(int descriptor, off64_t offset, off64_t size)
{
    FAULT_NEXT(posix_fallocate64)
    const int error = failingReserve(descriptor);
    return error != 0 ? error : real(descriptor, offset, size);
}

void *mmap(void *address, size_t size, int protection, int flags, int descriptor, off_t offset) noexcept
{
    FAULT_NEXT(mmap)
    return failsOn(descriptor, Call::Map) ? MAP_FAILED : real(address, size, protection, flags, descriptor, offset);
}

void *mmap64(void *address, size_t size, int protection, int flags, int descriptor, off64_t offset) noexcept
{
    FAULT_NEXT(mmap64)
    return failsOn(descriptor, Call::Map) ? MAP_FAILED : real(address, size, protection, flags, descriptor, offset);
}

/// Of files that can be written: of others, nothing is left to fail. The descriptor is gone all the same, as with the
/// system's own failures.
int close(int descriptor)
{
    FAULT_NEXT(close)
    const bool isCounted = fault::isWatched(descriptor) && (fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
    fault::watch(descriptor, false);
    const int result = real(descriptor);
    return isCounted && fault::fails(Call::Close) ? -1 : result;
}

int fsync(int descriptor)
{
    FAULT_NEXT(fsync)
    return failsOn(descriptor, Call::Sync) ? -1 : real(descriptor);
}

int fdatasync(int descriptor)
{
    FAULT_NEXT(fdatasync)
    return failsOn(descriptor, Call::Sync) ? -1 : real(descriptor);
}

int dup(int descriptor) noexcept
{
    FAULT_NEXT(dup)
    return duplicated(descriptor, real(descriptor));
}

int dup2(int descriptor, int other) noexcept
{
    FAULT_NEXT(dup2)
    return duplicated(descriptor, real(descriptor, other));
}

int dup3(int descriptor, int other, int flags) noexcept
{
    FAULT_NEXT(dup3)
    return duplicated(descriptor, real(descriptor, other, flags));
}

} // extern "C"
