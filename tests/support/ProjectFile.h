#pragma once

#include "BigEndian.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <utility>
#include <vector>

namespace support
{

/// A string as Qt's streams lay it down: its length in bytes, then UTF-16; of a null string only the length that is
/// all ones.
inline void putString(QByteArray &out, const QString &text)
{
    if (text.isNull()) {
        putBigEndian(out, 0xffffffffU, 4);
        return;
    }
    putBigEndian(out, static_cast<quint64>(text.size()) * 2, 4);
    for (const QChar unit : text)
        putBigEndian(out, unit.unicode(), 2);
}

/// The file `points_cloud.pcproj` byte by byte, and what a reader gets from any bytes, without the library.
struct ProjectFile
{
    using Pairs = std::vector<std::pair<QString, QString>>;

    qint32 version = 1;
    Pairs lasFiles;
    Pairs dataSets;
    qint64 announcedLasFiles = -1; ///< -1: the true number; otherwise its low 32 bits
    qint64 announcedDataSets = -1;

    QByteArray bytes() const
    {
        QByteArray out;
        putInt(out, version);
        putPairs(out, lasFiles, announcedLasFiles);
        putPairs(out, dataSets, announcedDataSets);
        return out;
    }

private:
    static void putPairs(QByteArray &out, const Pairs &pairs, qint64 announced)
    {
        putBigEndian(out, announced < 0 ? pairs.size() : static_cast<quint64>(announced), 4);
        for (const auto &[key, value] : pairs) {
            putString(out, key);
            putString(out, value);
        }
    }
};

/// What stands in a project file that may be cut anywhere: what is missing reads as 0 or as an empty string.
struct ProjectFileContents
{
    using Map = QMap<QString, QString>;

    explicit ProjectFileContents(const QByteArray &bytes)
    {
        BigEndianReader reader(bytes);
        isAccepted = reader.int32() == 1 && readPairs(reader, lasFiles) && readPairs(reader, dataSets);
    }

    bool isAccepted = false; ///< the maps mean nothing otherwise
    Map lasFiles;
    Map dataSets;

private:
    static QString readString(BigEndianReader &reader)
    {
        const quint64 size = reader.number(4);
        if (size == 0xffffffffU || size % 2 != 0)
            return {};
        QString text;
        for (quint64 i = 0; i < size / 2; ++i) {
            text.append(QChar(static_cast<ushort>(reader.number(2))));
            if (reader.pastTheEnd())
                return {};
        }
        return text;
    }
    static bool readPairs(BigEndianReader &reader, Map &pairs)
    {
        const qint32 count = reader.int32();
        for (qint32 i = 0; i < count; ++i) {
            const QString key = readString(reader);
            pairs[key] = readString(reader);
            if (reader.pastTheEnd()) {
                // Every further pair is the same, without a key.
                if (i + 1 < count)
                    pairs[QString()] = QString();
                break;
            }
        }
        return count >= 0;
    }
};

} // namespace support
