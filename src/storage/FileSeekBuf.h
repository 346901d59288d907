#pragma once

#include <QFile>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>

namespace ptCloud
{

/// Reads a file of records of one size ahead of its consumer, on a thread of its own.
///
/// Two buffers each hold a span of consecutive records. The consumer reads from the one that holds its index while the
/// thread fills the other with the span behind it; a jump elsewhere costs one wait.
///
/// The whole protocol is `m_reading`. `wantIndex` is written by the consumer alone, while the flag is clear;
/// `firstIndex`, `validCount` and the bytes by the thread alone, while it is set. Setting and clearing it hands over
/// all that was written before. A pointer that was handed out lies in a span that no request names, until the consumer
/// asks for an index in the other span.
///
/// One consumer thread. The file stays the caller's; whoever else uses it calls `waitForIdle` first, since a file has
/// one position.
class FileSeekBuf
{
public:
    /// Throws `std::exception` for a record size of 0, for a start that is not inside the file and where memory is
    /// short, `std::system_error` where no thread can be started.
    ///
    /// @param maxDataNumber   records that the caller knows of; what the file holds is the other limit
    /// @param bufDatasNumber  records for each buffer
    FileSeekBuf(QFile *file, unsigned int sizeOfData, qint64 dataStartPos, unsigned int maxDataNumber,
                unsigned int bufDatasNumber);
    ~FileSeekBuf();

    /// Sets `datas` to record `index` and returns how many records lie there; 0 with `datas` untouched beyond the end
    /// and where reading failed (a failed span is not read again while the index stays in it).
    int getDatas(unsigned int index, void *&datas);

    /// Returns when no load is pending or running.
    void waitForIdle() const;

private:
    Q_DISABLE_COPY(FileSeekBuf)

    struct Free
    {
        void operator()(void *memory) const { std::free(memory); }
    };

    struct Buffer
    {
        std::unique_ptr<void, Free> datas;
        qint64 firstIndex = -1;
        qint64 wantIndex = -1;
        quint32 validCount = 0;
    };

    void run();
    void load(Buffer &buffer);
    bool holds(const Buffer &buffer, qint64 index) const;
    void request(Buffer &buffer, qint64 index);
    int datasIn(const Buffer &current, Buffer &other, unsigned int index, void *&datas);

    QFile *m_file = nullptr;
    quint64 m_dataNumber = 0;
    qint64 m_dataStartPos = -1;
    quint32 m_sizeOfData = 0;
    quint32 m_bufDatasNumber = 1;
    Buffer m_bufA;
    Buffer m_bufB;
    std::atomic<bool> m_reading{false};
    std::atomic<bool> m_quit{false};
    std::unique_ptr<std::thread> m_thread;
};

} // namespace ptCloud
