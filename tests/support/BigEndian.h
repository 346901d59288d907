#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cstring>

namespace support
{

// Numbers as Qt's streams of default settings lay them down, without those streams.

inline void putBigEndian(QByteArray &out, quint64 value, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        out.append(static_cast<char>(value >> shift & 0xff));
}

inline void putInt(QByteArray &out, qint32 value)
{
    putBigEndian(out, static_cast<quint32>(value), 4);
}

inline void putDouble(QByteArray &out, double value)
{
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    putBigEndian(out, bits, 8);
}

/// Takes numbers off the front of the bytes. A number that is cut short is zero and uses up what is left of it.
class BigEndianReader
{
public:
    explicit BigEndianReader(const QByteArray &bytes) : m_bytes(bytes) {}

    quint64 number(int size)
    {
        if (m_at + size > m_bytes.size()) {
            m_pastTheEnd = true;
            m_at = m_bytes.size();
            return 0;
        }
        quint64 value = 0;
        for (int i = 0; i < size; ++i)
            value = value << 8 | static_cast<quint8>(m_bytes.at(m_at + i));
        m_at += size;
        return value;
    }
    qint32 int32() { return static_cast<qint32>(static_cast<quint32>(number(4))); }
    double float64()
    {
        const quint64 bits = number(8);
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// Passes over bytes, to the end at most.
    void skip(qint64 count) { m_at += static_cast<int>(qMin(count, left())); }

    bool pastTheEnd() const { return m_pastTheEnd; }
    qint64 left() const { return m_bytes.size() - m_at; }

private:
    QByteArray m_bytes;
    int m_at = 0;
    bool m_pastTheEnd = false;
};

} // namespace support
