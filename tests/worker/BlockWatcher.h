#pragma once

#include <QFileInfo>
#include <QSharedMemory>
#include <QStringList>
#include <QThread>

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace support
{

/// Reads all that a worker writes into the block of a run, beside the host that looks ten times a second. Two threads
/// hold the block's lock in turn, and neither lets go of it before the other one is about to wait for it: so the worker
/// that waits behind them writes one message, and can't write the next before that one was read, on a busy machine too.
class BlockWatcher
{
public:
    struct Image
    {
        int value;
        QString text;
    };

    /// @param onText  called, on a thread of its own, with each new message while the worker can't write
    explicit BlockWatcher(std::function<void(const QString &text)> onText = {})
        : m_onText(std::move(onText)), m_threads{std::thread([this] { watch(0); }), std::thread([this] { watch(1); })}
    {}
    ~BlockWatcher() { stop(); }
    BlockWatcher(const BlockWatcher &) = delete;
    BlockWatcher &operator=(const BlockWatcher &) = delete;

    /// What was there, in its order, without repetitions.
    const std::vector<Image> &stop()
    {
        m_isOver = true;
        for (std::thread &thread : m_threads) {
            if (thread.joinable())
                thread.join();
        }
        return m_images;
    }
    /// The names of the worker's stages in their order, each once: messages but the last, without figures of progress.
    QStringList stages()
    {
        QStringList names;
        for (const Image &image : stop()) {
            if (&image != &m_images.back() && image.text != QStringLiteral("initializing......"))
                names << stageOf(image.text);
        }
        names.removeDuplicates();
        return names;
    }
    /// A message without "40 %" or "round 7 of 100".
    static QString stageOf(QString text)
    {
        const bool isRound = text.startsWith(QStringLiteral("round "));
        if (isRound || text.endsWith(QStringLiteral(" %")))
            text.truncate(isRound ? 5 : text.lastIndexOf(QLatin1Char(' '), -3));
        return text;
    }

private:
    void watch(std::size_t self)
    {
        QSharedMemory block(QStringLiteral("open3d_wrapper_shared_memory"));
        awaitHost(block);
        while (!m_isOver && !block.attach())
            QThread::msleep(1);
        ++m_attached;
        // Who attaches takes the lock too.
        while (!m_isOver && m_attached < m_threads.size())
            QThread::msleep(1);
        while (!m_isOver) {
            m_isWaiting[self] = true;
            if (!block.lock()) {
                m_isOver = true; // or the other one would hold its lock for this one
                return;
            }
            m_isWaiting[self] = false;
            look(static_cast<const char *>(block.constData()));
            awaitOther(m_isWaiting[1 - self]);
            block.unlock();
        }
    }
    /// Who attaches before the host has made the block makes its lock, and unmakes it as it has failed: then another
    /// lock takes its place, and host and watcher hold one each. Where blocks have no files, attempts do no harm.
    void awaitHost(const QSharedMemory &block) const
    {
        const QFileInfo file(block.nativeKey());
        while (!m_isOver && file.isAbsolute() && !QFileInfo::exists(file.filePath()))
            QThread::msleep(1);
    }
    void awaitOther(const std::atomic<bool> &isWaiting) const
    {
        while (!m_isOver && !isWaiting)
            QThread::usleep(50);
        // From what it says to what it does.
        QThread::usleep(200);
    }
    void look(const char *bytes)
    {
        // Once the run is over, the lock they hold may no longer be the same.
        const std::lock_guard<std::mutex> guard(m_mutex);
        const Image image{static_cast<unsigned char>(bytes[0]), QString::fromUtf8(bytes + 1)};
        // Before the host has written, there is nothing.
        if (image.text.isEmpty())
            return;
        const bool isNewText = m_images.empty() || m_images.back().text != image.text;
        if (isNewText || m_images.back().value != image.value)
            m_images.push_back(image);
        if (isNewText && m_onText)
            m_onText(image.text);
    }

    std::function<void(const QString &)> m_onText;
    std::vector<Image> m_images;
    std::atomic<bool> m_isOver{false};
    std::atomic<std::size_t> m_attached{0};
    std::array<std::atomic<bool>, 2> m_isWaiting{};
    std::mutex m_mutex;
    std::array<std::thread, 2> m_threads; // the last, since they use the others
};

} // namespace support
