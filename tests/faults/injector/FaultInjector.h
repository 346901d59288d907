#pragma once

#include <dlfcn.h>

#include <cerrno>
#include <cstddef>

/// Makes the Nth call of a kind fail. The object is preloaded (LD_PRELOAD) and stands in front of the C library; it
/// counts the calls on paths below one directory, and on descriptors and directories that were opened there, so that
/// the plumbing of a program does not fail. Environment variables tell what is to be done:
///
///     FAULT_CALL       the kinds, with commas between: `names` in FaultInjector.cpp. Without it nothing is done
///     FAULT_ERROR      the name of an error; "short": fewer bytes than asked for; "short+EIO": such a call, and the
///                      error at the next one
///     FAULT_NUMBER     which call, from 1
///     FAULT_LASTING    1: all that follow fail as well
///     FAULT_DIRECTORY  absolute, without links
///     FAULT_SIZE       allocations count from this size on
///     FAULT_RECORD     a file of eight bytes at least: two counters, of the calls that were seen and of those that
///                      failed
///
/// A program that is to fail from a certain point on sets them itself and calls `fault_injector_arm`. Programs that it
/// starts are left alone.
namespace fault
{

enum class Call {
    None,
    Open,
    Read,
    Write,
    Seek,
    Truncate,
    Reserve,
    Map,
    Close,
    Sync,
    Rename,
    Remove,
    MakeDirectory,
    List,
    Look,
    Fork,
    Thread,
    SharedMemory,
    Memory
};

/// Counts a call. Whether it is to fail; `errno` tells how.
bool fails(Call call);

/// The same for a transfer of bytes, which may also be cut short: `count` is then lowered.
bool fails(Call call, std::size_t &count);

bool isArmed();
/// In a process that was forked off.
void disarm();

/// Allocations from this size on count.
std::size_t sizeThatCounts();

bool isBelow(const char *path);
bool isBelow(int directory, const char *path);

/// Whether a descriptor was opened below the directory.
bool isWatched(int descriptor);
void watch(int descriptor, bool isWatched);

/// The function of that name behind this object.
template <typename Function>
Function *next(Function * /*own*/, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace fault

/// The function that a function of this object stands in front of.
#define FAULT_NEXT(name) static auto *const real = fault::next(&name, #name);
