#include "FileSeekBuf.h"

#include <QThread>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace ptCloud
{

FileSeekBuf::FileSeekBuf(QFile *file, unsigned int sizeOfData, qint64 dataStartPos, unsigned int maxDataNumber,
                         unsigned int bufDatasNumber)
{
    const qint64 fileSize = file->size();
    if (sizeOfData == 0)
        throw std::runtime_error("FileSeekBuf : invalid parameter[sizeOfData]");
    if (dataStartPos >= fileSize)
        throw std::runtime_error("FileSeekBuf : invalid parameter[dataStartPos]");
    // The member, not the argument: it still has its default, so a capacity of 0 is accepted and yields nothing.
    if (m_bufDatasNumber == 0)
        throw std::runtime_error("FileSeekBuf : invalid parameter[m_bufDatasNumber]");

    // Unsigned, since a start far below 0 would overflow the difference.
    const auto dataBytes = static_cast<qint64>(static_cast<quint64>(fileSize) - static_cast<quint64>(dataStartPos));
    m_dataNumber = std::min(static_cast<quint32>(dataBytes / sizeOfData), maxDataNumber);

    // Offsets inside a buffer are 32 bits wide and counts are returned signed.
    const quint32 addressable =
        std::min<quint32>(std::numeric_limits<quint32>::max() / sizeOfData, std::numeric_limits<int>::max());
    m_bufDatasNumber = std::min({static_cast<quint32>(m_dataNumber), bufDatasNumber, addressable});

    const std::size_t bytes = static_cast<std::size_t>(m_bufDatasNumber) * sizeOfData;
    for (Buffer *buffer : {&m_bufA, &m_bufB}) {
        buffer->datas.reset(std::malloc(bytes));
        if (buffer->datas == nullptr && bytes != 0)
            throw std::runtime_error("FileSeekBuf : alloc memory failed.");
    }

    m_file = file;
    m_dataStartPos = dataStartPos;
    m_sizeOfData = sizeOfData;
    m_thread = std::make_unique<std::thread>([this] { run(); });
    request(m_bufA, 0);
}

FileSeekBuf::~FileSeekBuf()
{
    if (m_thread == nullptr)
        return;
    m_quit.store(true);
    m_thread->join();
}

int FileSeekBuf::getDatas(unsigned int index, void *&datas)
{
    if (index >= m_dataNumber || m_bufDatasNumber == 0)
        return 0;
    for (;;) {
        waitForIdle();
        if (holds(m_bufA, index))
            return datasIn(m_bufA, m_bufB, index, datas);
        if (holds(m_bufB, index))
            return datasIn(m_bufB, m_bufA, index, datas);
        request(m_bufA, index);
    }
}

void FileSeekBuf::waitForIdle() const
{
    while (m_reading.load())
        QThread::msleep(1);
}

void FileSeekBuf::run()
{
    while (!m_quit.load()) {
        if (!m_reading.load()) {
            QThread::msleep(1);
            continue;
        }
        for (Buffer *buffer : {&m_bufA, &m_bufB}) {
            if (buffer->wantIndex >= 0 && buffer->wantIndex != buffer->firstIndex)
                load(*buffer);
        }
        m_reading.store(false);
    }
}

void FileSeekBuf::load(Buffer &buffer)
{
    const qint64 count = std::min<qint64>(m_bufDatasNumber, static_cast<qint64>(m_dataNumber) - buffer.wantIndex);
    qint64 bytes = 0;
    if (count > 0 && m_file->seek(buffer.wantIndex * m_sizeOfData + m_dataStartPos))
        bytes = m_file->read(static_cast<char *>(buffer.datas.get()), count * m_sizeOfData);
    buffer.validCount = bytes > 0 ? static_cast<quint32>(bytes / m_sizeOfData) : 0;
    buffer.firstIndex = buffer.wantIndex;
}

bool FileSeekBuf::holds(const Buffer &buffer, qint64 index) const
{
    return buffer.firstIndex <= index && index < buffer.firstIndex + m_bufDatasNumber;
}

void FileSeekBuf::request(Buffer &buffer, qint64 index)
{
    buffer.wantIndex = index;
    m_reading.store(true);
}

int FileSeekBuf::datasIn(const Buffer &current, Buffer &other, unsigned int index, void *&datas)
{
    const qint64 position = index - current.firstIndex;
    const qint64 available = std::min<qint64>(m_bufDatasNumber, current.validCount) - position;
    if (available < 1)
        return 0;
    const qint64 next = current.firstIndex + m_bufDatasNumber;
    if (other.firstIndex != next)
        request(other, next);
    const auto offset = static_cast<quint32>(position) * m_sizeOfData;
    datas = static_cast<char *>(current.datas.get()) + offset;
    return static_cast<int>(available);
}

} // namespace ptCloud
