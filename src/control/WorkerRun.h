#pragma once

#include <QProcess>
#include <QSharedMemory>
#include <QString>

#include <memory>

namespace ptCloud
{

class ILongLiveActionProgress;

/// The shared memory in which a worker tells how far it is: a byte with the progress, then a text of at most 1000 bytes
/// that ends with a byte 0. Each side holds the block's lock while it touches it.
///
/// `QSharedMemory::lock` waits without limit: a worker that is suspended in the middle of a write makes the reader wait
/// with it. One that dies there does not, where the system gives its locks back.
class ProgressBlock
{
public:
    struct Image
    {
        int value = 0;
        QString text;
    };

    /// Makes the block, with its first text in it. False where a live process holds one, or the system refuses.
    bool create();
    /// Copies what stands in the block; false, and `image` as it was, when it can't be locked.
    bool read(Image &image);

private:
    bool makeMemory();

    std::unique_ptr<QSharedMemory> m_memory;
};

/// One run of the worker program, from its block of shared memory to its end. When the object goes, so does the
/// process, killed if it still runs, and then the block.
class WorkerRun
{
public:
    enum class End { Exited, Crashed, Cancelled };

    /// Makes the block and starts the worker on a settings file. False when either fails.
    bool start(const QString &configFilepath);
    /// Hands on progress until the worker has ended, or until `progress`, which may be null, asks to cancel: the worker
    /// is then killed. There is no other limit of time.
    End watch(ILongLiveActionProgress *progress);
    /// How the worker ended: compared as an unsigned number, since systems keep different parts of a negative one.
    unsigned int exitCode() const;

private:
    // The process goes before its block.
    ProgressBlock m_block;
    QProcess m_process;
};

} // namespace ptCloud
