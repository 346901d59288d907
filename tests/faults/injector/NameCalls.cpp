// Calls on names: of files and of directories.

#include "FaultInjector.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

using fault::Call;

namespace
{

bool failsOn(const char *path, Call call)
{
    return fault::isBelow(path) && fault::fails(call);
}

bool failsAt(int directory, const char *path, Call call)
{
    return fault::isBelow(directory, path) && fault::fails(call);
}

/// A move, or a second name.
bool failsAt(int from, const char *fromPath, int to, const char *toPath)
{
    return (fault::isBelow(from, fromPath) || fault::isBelow(to, toPath)) && fault::fails(Call::Rename);
}

bool failsOn(int descriptor, Call call)
{
    return fault::isWatched(descriptor) && fault::fails(call);
}

} // namespace

extern "C" {

int rename(const char *from, const char *to) noexcept
{
    FAULT_NEXT(rename)
    return failsAt(AT_FDCWD, from, AT_FDCWD, to) ? -1 : real(from, to);
}

int renameat(int from, const char *fromPath, int to, const char *toPath) noexcept
{
    FAULT_NEXT(renameat)
    return failsAt(from, fromPath, to, toPath) ? -1 : real(from, fromPath, to, toPath);
}

int renameat2(int from, const char *fromPath, int to, const char *toPath, unsigned int flags) noexcept
{
    FAULT_NEXT(renameat2)
    return failsAt(from, fromPath, to, toPath) ? -1 : real(from, fromPath, to, toPath, flags);
}

int link(const char *from, const char *to) noexcept
{
    FAULT_NEXT(link)
    return failsAt(AT_FDCWD, from, AT_FDCWD, to) ? -1 : real(from, to);
}

int linkat(int from, const char *fromPath, int to, const char *toPath, int flags) noexcept
{
    FAULT_NEXT(linkat)
    return failsAt(from, fromPath, to, toPath) ? -1 : real(from, fromPath, to, toPath, flags);
}

int unlink(const char *path) noexcept
{
    FAULT_NEXT(unlink)
    return failsOn(path, Call::Remove) ? -1 : real(path);
}

int unlinkat(int directory, const char *path, int flags) noexcept
{
    FAULT_NEXT(unlinkat)
    return failsAt(directory, path, Call::Remove) ? -1 : real(directory, path, flags);
}

int rmdir(const char *path) noexcept
{
    FAULT_NEXT(rmdir)
    return failsOn(path, Call::Remove) ? -1 : real(path);
}

int remove(const char *path) noexcept
{
    FAULT_NEXT(remove)
    return failsOn(path, Call::Remove) ? -1 : real(path);
}

int mkdir(const char *path, mode_t mode) noexcept
{
    FAULT_NEXT(mkdir)
    return failsOn(path, Call::MakeDirectory) ? -1 : real(path, mode);
}

int mkdirat(int directory, const char *path, mode_t mode) noexcept
{
    FAULT_NEXT(mkdirat)
    return failsAt(directory, path, Call::MakeDirectory) ? -1 : real(directory, path, mode);
}

DIR *opendir(const char *path)
{
    FAULT_NEXT(opendir)
    const bool isBelow = fault::isBelow(path);
    if (isBelow && fault::fails(Call::List))
        return nullptr;
    DIR *const directory = real(path);
    if (directory != nullptr)
        fault::watch(dirfd(directory), isBelow);
    return directory;
}

/// A failure looks like the end, but for `errno`.
dirent *readdir(DIR *directory)
{
    FAULT_NEXT(readdir)
    return failsOn(dirfd(directory), Call::List) ? nullptr : real(directory);
}

dirent64 *readdir64(DIR *directory)
{
    FAULT_NEXT(readdir64)
    return failsOn(dirfd(directory), Call::List) ? nullptr : real(directory);
}

int closedir(DIR *directory)
{
    FAULT_NEXT(closedir)
    fault::watch(dirfd(directory), false);
    return real(directory);
}

int stat(const char *path, struct stat *info) noexcept
{
    FAULT_NEXT(stat)
    return failsOn(path, Call::Look) ? -1 : real(path, info);
}

int stat64(const char *path, struct stat64 *info) noexcept
{
    FAULT_NEXT(stat64)
    return failsOn(path, Call::Look) ? -1 : real(path, info);
}

int lstat(const char *path, struct stat *info) noexcept
{
    FAULT_NEXT(lstat)
    return failsOn(path, Call::Look) ? -1 : real(path, info);
}

int lstat64(const char *path, struct stat64 *info) noexcept
{
    FAULT_NEXT(lstat64)
    return failsOn(path, Call::Look) ? -1 : real(path, info);
}

int fstat(int descriptor, struct stat *info) noexcept
{
    FAULT_NEXT(fstat)
    return failsOn(descriptor, Call::Look) ? -1 : real(descriptor, info);
}

int fstat64(int descriptor, struct stat64 *info) noexcept
{
    FAULT_NEXT(fstat64)
    return failsOn(descriptor, Call::Look) ? -1 : real(descriptor, info);
}

int statx(int directory, const char *path, int flags, unsigned int mask, struct statx *info) noexcept
{
    FAULT_NEXT(statx)
    const bool fails = (flags & AT_EMPTY_PATH) != 0 && path[0] == '\0' ? failsOn(directory, Call::Look)
                                                                       : failsAt(directory, path, Call::Look);
    return fails ? -1 : real(directory, path, flags, mask, info);
}

int access(const char *path, int mode) noexcept
{
    FAULT_NEXT(access)
    return failsOn(path, Call::Look) ? -1 : real(path, mode);
}

} // extern "C"
