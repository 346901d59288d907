#pragma once

#include <QSharedMemory>
#include <QStringList>
#include <QThread>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace support
{

/// Reads all that a worker writes into the block of a run, beside the host that looks ten times a second. It holds the
/// block's lock between its looks: so the worker that waits for it writes one message, and can't write the next before
/// that one was read.
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
        : m_onText(std::move(onText)), m_thread([this] { watch(); })
    {}
    ~BlockWatcher() { stop(); }
    BlockWatcher(const BlockWatcher &) = delete;
    BlockWatcher &operator=(const BlockWatcher &) = delete;

    /// What was there, in its order, without repetitions.
    const std::vector<Image> &stop()
    {
        m_isOver = true;
        if (m_thread.joinable())
            m_thread.join();
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
    void watch()
    {
        QSharedMemory block(QStringLiteral("open3d_wrapper_shared_memory"));
        while (!m_isOver && !block.attach())
            QThread::msleep(1);
        constexpr unsigned long heldUs = 50;
        while (!m_isOver && block.lock()) {
            look(static_cast<const char *>(block.constData()));
            QThread::usleep(heldUs);
            block.unlock();
        }
    }
    void look(const char *bytes)
    {
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
    std::thread m_thread; // the last, since it uses the others
};

} // namespace support
