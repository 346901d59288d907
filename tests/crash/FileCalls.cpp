// Stands in front of the calls by which files change. All of them go on to the system; one of them may be the last.

#include "FileCalls.h"

#include <csignal>
#include <cstdarg>
#include <cstdlib>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::string watched; // empty: nothing is counted
long callsLeft = 0;
int shareOfWrite = 0;

bool isWatched(const char *path)
{
    return !watched.empty() && path != nullptr && std::string(path).compare(0, watched.size(), watched) == 0;
}

bool isWatched(int descriptor)
{
    if (watched.empty())
        return false;
    char target[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target - 1);
    if (length <= 0)
        return false;
    target[length] = '\0';
    return isWatched(static_cast<const char *>(target));
}

[[noreturn]] void end()
{
    ::kill(::getpid(), SIGKILL);
    for (;;)
        ::pause();
}

/// Counts the call if it is one that counts. True if it is the last.
template <typename File>
bool isLast(File file)
{
    return isWatched(file) && --callsLeft == 0;
}

template <typename Function>
Function systemCall(const char *name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

/// Carries out one call that takes a path or a descriptor first.
template <typename Result, typename File, typename... Arguments>
Result pass(const char *name, File file, Arguments... arguments)
{
    if (isLast(file))
        end();
    return systemCall<Result (*)(File, Arguments...)>(name)(file, arguments...);
}

int openFile(const char *name, const char *path, int flags, va_list arguments)
{
    const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = makes ? va_arg(arguments, mode_t) : 0;
    if ((makes || (flags & O_TRUNC) != 0) && isLast(path))
        end();
    return systemCall<int (*)(const char *, int, mode_t)>(name)(path, flags, mode);
}

} // namespace

namespace crash
{

void killAtFileCall(const std::string &directory, long number, int share)
{
    watched = directory;
    callsLeft = number;
    shareOfWrite = share;
}

} // namespace crash

#define IN_FRONT extern "C" __attribute__((visibility("default")))

IN_FRONT int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int result = openFile("open", path, flags, arguments);
    va_end(arguments);
    return result;
}

IN_FRONT int open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int result = openFile("open64", path, flags, arguments);
    va_end(arguments);
    return result;
}

IN_FRONT ssize_t write(int descriptor, const void *bytes, size_t count)
{
    const auto next = systemCall<ssize_t (*)(int, const void *, size_t)>("write");
    if (isLast(descriptor)) {
        next(descriptor, bytes, count * static_cast<size_t>(shareOfWrite) / 256);
        end();
    }
    return next(descriptor, bytes, count);
}

IN_FRONT int ftruncate(int descriptor, off_t size) noexcept
{
    return pass<int>("ftruncate", descriptor, size);
}

IN_FRONT int ftruncate64(int descriptor, off64_t size) noexcept
{
    return pass<int>("ftruncate64", descriptor, size);
}

IN_FRONT int posix_fallocate(int descriptor, off_t offset, off_t size)
{
    return pass<int>("posix_fallocate", descriptor, offset, size);
}

IN_FRONT int rename(const char *from, const char *to) noexcept
{
    return pass<int>("rename", from, to);
}

IN_FRONT int renameat2(int fromDirectory, const char *from, int toDirectory, const char *to, unsigned flags) noexcept
{
    if (isLast(from))
        end();
    return systemCall<int (*)(int, const char *, int, const char *, unsigned)>("renameat2")(fromDirectory, from,
                                                                                            toDirectory, to, flags);
}

IN_FRONT int link(const char *from, const char *to) noexcept
{
    return pass<int>("link", from, to);
}

IN_FRONT int linkat(int fromDirectory, const char *from, int toDirectory, const char *to, int flags) noexcept
{
    if (isLast(to))
        end();
    return systemCall<int (*)(int, const char *, int, const char *, int)>("linkat")(fromDirectory, from, toDirectory,
                                                                                    to, flags);
}

IN_FRONT int unlink(const char *path) noexcept
{
    return pass<int>("unlink", path);
}

IN_FRONT int mkdir(const char *path, mode_t mode) noexcept
{
    return pass<int>("mkdir", path, mode);
}

IN_FRONT int rmdir(const char *path) noexcept
{
    return pass<int>("rmdir", path);
}

IN_FRONT ssize_t sendfile(int to, int from, off_t *offset, size_t count) noexcept
{
    return pass<ssize_t>("sendfile", to, from, offset, count);
}
