#include "HostProgress.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{

constexpr int messageSize = 1000;
constexpr int wholeValue = 255;

/// The longest beginning of a UTF-8 text that fits `size` bytes and ends with a whole character.
QByteArray cut(const QByteArray &text, int size)
{
    if (text.size() <= size)
        return text;
    constexpr unsigned int continuationMask = 0xC0;
    constexpr unsigned int continuation = 0x80;
    int end = size;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & continuationMask) == continuation)
        --end;
    return text.left(end);
}

} // namespace

HostProgress::HostProgress() : m_block(QStringLiteral("open3d_wrapper_shared_memory"))
{
    m_block.attach();
    m_sinceLast.start();
}

void HostProgress::stage(const QString &name, double begin, double end)
{
    m_name = name;
    m_begin = begin;
    m_end = end;
    tell(begin, name);
}

void HostProgress::show(double fraction)
{
    if (m_sinceLast.elapsed() < periodMs)
        return;
    const double done = std::clamp(fraction, 0.0, 1.0);
    constexpr double percent = 100;
    tell(m_begin + done * (m_end - m_begin),
         QStringLiteral("%1 %2 %").arg(m_name).arg(static_cast<int>(done * percent)));
}

void HostProgress::succeed(const QString &message)
{
    tell(1, message);
}

void HostProgress::fail(const QString &message)
{
    tell(0, message);
}

void HostProgress::tell(double whole, const QString &message)
{
    m_value = std::max(m_value, static_cast<int>(std::clamp(whole, 0.0, 1.0) * wholeValue));
    write(message.toUtf8());
    m_sinceLast.start();
}

void HostProgress::write(const QByteArray &message)
{
    if (!m_block.isAttached()) {
        std::fprintf(stderr, "%s\n", message.constData());
        return;
    }
    const QByteArray text = cut(message, messageSize - 1);
    if (m_block.size() < messageSize + 1 || !m_block.lock())
        return;
    auto *const bytes = static_cast<char *>(m_block.data());
    bytes[0] = static_cast<char>(m_value);
    std::memcpy(bytes + 1, text.constData(), static_cast<std::size_t>(text.size()) + 1);
    m_block.unlock();
}
