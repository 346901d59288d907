#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <cstring>

namespace support
{

/// Appends the bytes of a plain value as they lie in memory (little-endian machines only, like the formats).
template <typename T>
void put(QByteArray &bytes, T value)
{
    bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
}

/// Overwrites the bytes at `offset`.
template <typename T>
void putAt(QByteArray &bytes, int offset, T value)
{
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

template <typename T>
T get(const QByteArray &bytes, qint64 offset)
{
    T value{};
    if (offset >= 0 && offset + static_cast<qint64>(sizeof value) <= bytes.size())
        std::memcpy(&value, bytes.constData() + offset, sizeof value);
    return value;
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size() && file.flush();
}

} // namespace support
