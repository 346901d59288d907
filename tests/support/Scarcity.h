#pragma once

#include "Sanitizer.h"

#include <QtGlobal>

// A sanitizer's shadow memory counts as address space, and its allocator ends the process where memory is short.
#if defined(Q_OS_LINUX) && !defined(SUPPORT_HAS_SANITIZER)
#define SUPPORT_CAN_LIMIT_ADDRESS_SPACE 1

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

namespace support
{

/// While it lives, the process can't get more than about `spare` further bytes of address space.
class AddressSpaceLimit
{
public:
    explicit AddressSpaceLimit(rlim_t spare)
    {
        unsigned long pages = 0;
        if (std::FILE *statm = std::fopen("/proc/self/statm", "r")) {
            if (std::fscanf(statm, "%lu", &pages) != 1)
                pages = 0;
            std::fclose(statm);
        }
        m_holds = pages != 0 && getrlimit(RLIMIT_AS, &m_previous) == 0
                  && set(static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + spare);
    }
    ~AddressSpaceLimit()
    {
        if (m_holds)
            setrlimit(RLIMIT_AS, &m_previous);
    }
    AddressSpaceLimit(const AddressSpaceLimit &) = delete;
    AddressSpaceLimit &operator=(const AddressSpaceLimit &) = delete;

    bool holds() const { return m_holds; }

private:
    bool set(rlim_t bytes) const
    {
        const rlimit limit{bytes, m_previous.rlim_max};
        return setrlimit(RLIMIT_AS, &limit) == 0;
    }

    rlimit m_previous{};
    bool m_holds = false;
};

} // namespace support

#endif

#ifdef __GLIBC__
#define SUPPORT_CAN_REFUSE_THREADS 1

#include <pthread.h>

#include <cstddef>

namespace support
{

/// While it lives, a thread that is started with default attributes asks for a stack that no machine has.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_attr_t absurd;
        m_holds = pthread_getattr_default_np(&m_previous) == 0 && pthread_getattr_default_np(&absurd) == 0
                  && pthread_attr_setstacksize(&absurd, std::size_t{1} << 47) == 0
                  && pthread_setattr_default_np(&absurd) == 0;
    }
    ~NoThreads()
    {
        if (m_holds)
            pthread_setattr_default_np(&m_previous);
    }
    NoThreads(const NoThreads &) = delete;
    NoThreads &operator=(const NoThreads &) = delete;

    bool holds() const { return m_holds; }

private:
    pthread_attr_t m_previous{};
    bool m_holds = false;
};

} // namespace support

#endif

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

namespace support
{

/// The most memory that this process has used so far, in bytes.
inline qint64 peakMemory()
{
#ifdef Q_OS_UNIX
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<qint64>(usage.ru_maxrss) * 1024;
#else
    return 0;
#endif
}

} // namespace support

#ifdef Q_OS_UNIX
#include <sys/resource.h>

#include <csignal>

namespace support
{

/// While it lives, no file of this process grows beyond a size: writing there fails, and raises no signal.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(qint64 bytes) : m_previousAction(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_previous);
        const rlimit limit{static_cast<rlim_t>(bytes), m_previous.rlim_max};
        m_holds = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousAction);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

    bool holds() const { return m_holds; }

private:
    void (*m_previousAction)(int);
    rlimit m_previous{};
    bool m_holds = false;
};

} // namespace support

#endif
