#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace fuzz
{

/// The directory of a data set as bytes, in which a search changes names and contents alike: entry after entry, each
/// with a kind, a name that the kind gives or that follows (its length, its bytes), the size of its contents in three
/// bytes, and the contents. A size beyond the end is what is left.
struct DataSetArchive
{
    /// Names stand in a table, so that a search finds those that mean something. `FreeName` is behind the last of it.
    enum EKind { File = 0x00, Directory = 0x40, Link = 0x80 };

    struct Entry
    {
        EKind kind = File;
        QString name;        ///< one plain path component
        QByteArray contents; ///< of a link: its first byte picks the target
    };

    std::vector<Entry> entries;

    /// Reads any bytes; at most `mostEntries`. Of entries with one name the first counts.
    static DataSetArchive parse(const QByteArray &bytes);
    QByteArray bytes() const;

    static constexpr std::size_t mostEntries = 64;
};

} // namespace fuzz
