#include "FaultInjector.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iterator>

extern "C" void fault_injector_arm();

namespace fault
{

namespace
{

/// In the order of `Call`.
constexpr const char *names[] = {"none", "open",  "read",   "write",  "seek",   "truncate", "reserve",
                                 "map",  "close", "sync",   "rename", "remove", "mkdir",    "list",
                                 "look", "fork",  "thread", "shm",    "memory"};

struct Error
{
    const char *name;
    int number;
};
constexpr Error errors[] = {{"EIO", EIO},     {"ENOSPC", ENOSPC}, {"EACCES", EACCES}, {"EMFILE", EMFILE},
                            {"EINTR", EINTR}, {"ENOMEM", ENOMEM}, {"EAGAIN", EAGAIN}, {"ENFILE", ENFILE}};

/// What the caller maps as well, to learn what came of it even where this process dies.
struct Record
{
    std::atomic<int> seen{0};
    std::atomic<int> failed{0};
};

struct Plan
{
    unsigned int calls = 0; ///< a bit for each
    int error = 0;          ///< 0: none, the call is only cut short
    bool isShort = false;
    bool isLasting = false;
    int number = 0;
    std::size_t size = 0;
    char directory[PATH_MAX] = "";
    std::size_t directoryLength = 0;
    Record *record = nullptr;
};

// No initialisers that run: calls come before any of them has.
std::atomic<bool> armed{false};
Plan plan;
constexpr int mostDescriptors = 65536;
std::atomic<bool> watched[mostDescriptors];

const char *setting(const char *name)
{
    const char *const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// Whether any kind is among the names.
bool readCalls(const char *text)
{
    plan.calls = 0;
    for (const char *at = text; *at != '\0'; at += std::strspn(at, ",")) {
        const std::size_t length = std::strcspn(at, ",");
        for (std::size_t i = 0; i < std::size(names); ++i) {
            if (std::strlen(names[i]) == length && std::strncmp(names[i], at, length) == 0)
                plan.calls |= 1U << i;
        }
        at += length;
    }
    return plan.calls != 0;
}

void readError(const char *text)
{
    const char *const behind = std::strchr(text, '+');
    plan.isShort = std::strstr(text, "short") == text;
    plan.error = 0;
    for (const Error &error : errors) {
        if (std::strcmp(behind == nullptr ? text : behind + 1, error.name) == 0)
            plan.error = error.number;
    }
}

Record *mapRecord(const char *path)
{
    const long file = syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC);
    if (file < 0)
        return nullptr;
    const long at = syscall(SYS_mmap, nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED, file, off_t{0});
    syscall(SYS_close, file);
    return at < 0 && at > -4096 ? nullptr : reinterpret_cast<Record *>(at);
}

enum class Verdict { Pass, Fail, Shorten };

Verdict judge(Call call)
{
    if (!armed.load() || (plan.calls >> static_cast<unsigned int>(call) & 1U) == 0)
        return Verdict::Pass;
    const int number = ++plan.record->seen;
    const bool isReached = plan.isLasting ? number >= plan.number : number == plan.number;
    const bool isBehind = plan.isShort && plan.error != 0 && number == plan.number + 1;
    if (!isReached && !isBehind)
        return Verdict::Pass;
    ++plan.record->failed;
    return plan.isShort && !isBehind ? Verdict::Shorten : Verdict::Fail;
}

[[gnu::constructor]] void armAtStart()
{
    fault_injector_arm();
}

} // namespace

bool fails(Call call)
{
    if (judge(call) != Verdict::Fail)
        return false;
    errno = plan.error;
    return true;
}

bool fails(Call call, std::size_t &count)
{
    // One byte can't be cut short, and none is an end that others wait for.
    if (plan.isShort && count < 2)
        return false;
    const Verdict verdict = judge(call);
    if (verdict == Verdict::Shorten)
        count /= 2;
    if (verdict != Verdict::Fail)
        return false;
    errno = plan.error;
    return true;
}

bool isArmed()
{
    return armed.load();
}

void disarm()
{
    armed.store(false);
}

std::size_t sizeThatCounts()
{
    return plan.size;
}

bool isBelow(const char *path)
{
    return isBelow(AT_FDCWD, path);
}

bool isBelow(int directory, const char *path)
{
    if (!armed.load() || path == nullptr)
        return false;
    char absolute[2 * PATH_MAX];
    if (path[0] != '/') {
        if (directory != AT_FDCWD)
            return isWatched(directory);
        const long length = syscall(SYS_getcwd, absolute, std::size_t{PATH_MAX});
        if (length <= 0 || std::strlen(path) >= PATH_MAX)
            return false;
        absolute[length - 1] = '/';
        std::strcpy(absolute + length, path);
        path = absolute;
    }
    return std::strncmp(path, plan.directory, plan.directoryLength) == 0
           && (path[plan.directoryLength] == '/' || path[plan.directoryLength] == '\0');
}

bool isWatched(int descriptor)
{
    return armed.load() && descriptor >= 0 && descriptor < mostDescriptors && watched[descriptor].load();
}

void watch(int descriptor, bool isWatched)
{
    if (descriptor >= 0 && descriptor < mostDescriptors)
        watched[descriptor].store(isWatched);
}

} // namespace fault

extern "C" [[gnu::visibility("default")]] void fault_injector_arm()
{
    using namespace fault;
    if (!readCalls(setting("FAULT_CALL")))
        return;
    // What this process starts is not what is tried.
    unsetenv("FAULT_CALL");
    readError(setting("FAULT_ERROR"));
    plan.number = std::atoi(setting("FAULT_NUMBER"));
    plan.isLasting = std::atoi(setting("FAULT_LASTING")) != 0;
    plan.size = static_cast<std::size_t>(std::atol(setting("FAULT_SIZE")));
    std::strncpy(plan.directory, setting("FAULT_DIRECTORY"), sizeof plan.directory - 1);
    plan.directoryLength = std::strlen(plan.directory);
    plan.record = mapRecord(setting("FAULT_RECORD"));
    armed.store(plan.record != nullptr && plan.directoryLength != 0);
}
