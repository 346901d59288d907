// Processes, threads and the memory that processes share. These have no path: all of them count.

#include "FaultInjector.h"

#include <pthread.h>
#include <spawn.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <ctime>

using fault::Call;

extern "C" {

pid_t fork() noexcept
{
    FAULT_NEXT(fork)
    if (fault::fails(Call::Fork))
        return -1;
    const pid_t process = real();
    if (process == 0)
        fault::disarm();
    return process;
}

/// A function around `vfork` would return twice from one frame.
pid_t vfork() noexcept
{
    return fork();
}

int posix_spawn(pid_t *process, const char *path, const posix_spawn_file_actions_t *actions,
                const posix_spawnattr_t *attributes, char *const arguments[], char *const environment[])
{
    FAULT_NEXT(posix_spawn)
    return fault::fails(Call::Fork) ? errno : real(process, path, actions, attributes, arguments, environment);
}

int posix_spawnp(pid_t *process, const char *file, const posix_spawn_file_actions_t *actions,
                 const posix_spawnattr_t *attributes, char *const arguments[], char *const environment[])
{
    FAULT_NEXT(posix_spawnp)
    return fault::fails(Call::Fork) ? errno : real(process, file, actions, attributes, arguments, environment);
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *), void *argument) noexcept
{
    FAULT_NEXT(pthread_create)
    return fault::fails(Call::Thread) ? errno : real(thread, attributes, start, argument);
}

int shmget(key_t key, size_t size, int flags) noexcept
{
    FAULT_NEXT(shmget)
    return fault::fails(Call::SharedMemory) ? -1 : real(key, size, flags);
}

void *shmat(int block, const void *address, int flags) noexcept
{
    FAULT_NEXT(shmat)
    return fault::fails(Call::SharedMemory) ? reinterpret_cast<void *>(-1) : real(block, address, flags);
}

int shm_open(const char *name, int flags, mode_t mode)
{
    FAULT_NEXT(shm_open)
    return fault::fails(Call::SharedMemory) ? -1 : real(name, flags, mode);
}

int semget(key_t key, int count, int flags) noexcept
{
    FAULT_NEXT(semget)
    return fault::fails(Call::SharedMemory) ? -1 : real(key, count, flags);
}

/// The pauses that a run lays in for other processes are over at once: there is none to wait for.
int nanosleep(const timespec *wanted, timespec *left)
{
    FAULT_NEXT(nanosleep)
    const bool isPause = fault::isArmed() && (wanted->tv_sec > 0 || wanted->tv_nsec >= 400000000);
    return isPause ? 0 : real(wanted, left);
}

} // extern "C"
