#pragma once

#include "LasRecords.h"

#include <QByteArray>
#include <QSaveFile>
#include <QString>

#include <array>
#include <limits>

/// What the header of a LAS file tells beside what its points tell.
struct LasHead
{
    int minorVersion = 2; ///< 2, or 3 in the layout that the library reads
    int format = 3;       ///< 0 to 5
    QByteArray generator; ///< up to 32 letters
    QByteArray systemIdentifier;
    quint16 fileSourceId = 0;
    quint16 globalEncoding = 0;
    std::array<quint8, 16> projectGuid = {};
    quint16 creationDay = 1;
    quint16 creationYear = 2024;
    std::array<double, 3> offset = {};
    QByteArray variableRecords; ///< heads with bodies, as they stand in a file
    quint32 variableRecordCount = 0;
};

/// A LAS file that is being written, with steps of 0.001. Where the file stood one before stays until `commit`. Throws
/// `CommandError` where it can't be written.
class LasOutput
{
public:
    static constexpr double scale = 0.001;

    LasOutput(const QString &path, const LasHead &head);

    /// The largest record holds the fields of all formats; a format takes those that it has.
    void add(const stLasRecord_fmt_5 &record);
    quint32 points() const { return m_points; }
    /// Of the file so far, as it is written out.
    qint64 bytes() const { return headBytes().size() + qint64(m_points) * recordSize(m_head.format); }
    /// Writes the header, and puts the file in its place.
    void commit();

    /// Bytes of a record of a format.
    static int recordSize(int format);
    /// A survey must not be lost to a slip: only a file that this program made is written over.
    static void refuseToOverwrite(const QString &path);

private:
    /// What the points tell.
    struct Range
    {
        std::array<qint32, 3> minimum;
        std::array<qint32, 3> maximum;
    };

    [[noreturn]] void fail() const;
    void write(const QByteArray &bytes);
    template <typename Fields>
    QByteArray headBytes() const;
    QByteArray headBytes() const;

    LasHead m_head;
    QSaveFile m_file;
    QByteArray m_buffer;
    Range m_range;
    quint32 m_points = 0;
    std::array<quint32, 7> m_pointsByReturn = {};
};
