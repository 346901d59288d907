#pragma once

#include "LasRecords.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

#include <array>

/// An uncompressed LAS file in the published layouts: versions 1.0 to 1.4, point formats 0 to 8, records with or
/// without extra bytes. Of this library's own layouts the 1.3 header of 243 bytes and format 4 without GPS time are
/// read too.
///
/// Points come as records of the classic formats, whose bits they are fitted into. Throws `CommandError` for a file
/// that can't be read.
class LasInput
{
public:
    /// What the classic records have no room for.
    struct Losses
    {
        qint64 classes = 0;      ///< above 31, made 1 (unclassified)
        qint64 returns = 0;      ///< numbers above 7, held to 7
        qint64 angles = 0;       ///< beyond -128..127 degrees, held there
        qint64 overlapFlags = 0; ///< flags of class 12's successor
        qint64 scannerChannels = 0;
    };

    /// One variable length record.
    struct VariableRecord
    {
        QByteArray userId;
        quint16 recordId;
        QByteArray bytes; ///< head and body
    };

    explicit LasInput(const QString &path);

    QString path() const { return m_file.fileName(); }
    int minorVersion() const { return m_minorVersion; }
    int format() const { return m_format; }
    bool hasGpsTime() const;
    bool hasColor() const;
    bool hasWavePackets() const { return m_format == 4 || m_format == 5; }
    bool hasNearInfrared() const { return m_format == 8; }
    int extraBytes() const;
    bool hasExtendedVariableRecords() const { return m_hasExtendedRecords; }
    qint64 points() const { return m_points; }
    /// The number that the header tells.
    qint64 announced() const { return m_announced; }
    const std::array<double, 3> &scale() const { return m_scale; }
    const std::array<double, 3> &offset() const { return m_offset; }
    /// The first bytes of the file: what is the same in all versions.
    const stLasFileHeadDesc &description() const { return m_description; }
    const stLasFileHead_ver_1_2 &head() const { return m_head; }
    /// The variable length records that stand whole in front of the points.
    QList<VariableRecord> variableRecords();
    /// The number of them that the header tells.
    quint32 announcedVariableRecords() const { return m_head.numberOfVariableLengthRecords; }

    /// Back in front of the first point, with no losses.
    void rewind();
    /// The next point, raw integers in x, y and z; false behind the last one.
    bool next(stLasRecord_fmt_5 &record);
    const Losses &losses() const { return m_losses; }

private:
    [[noreturn]] void fail(const QString &why) const;
    void seek(qint64 position);
    void readHead();
    void checkPoints();
    bool fill();
    void takeClassic(const char *raw, stLasRecord_fmt_5 &record) const;
    void takeExtended(const char *raw, stLasRecord_fmt_5 &record);

    QFile m_file;
    stLasFileHeadDesc m_description = {};
    stLasFileHead_ver_1_2 m_head = {};
    int m_minorVersion = 0;
    int m_format = 0;
    int m_recordLength = 0;
    qint64 m_announced = 0;
    qint64 m_points = 0;
    bool m_hasExtendedRecords = false;
    std::array<double, 3> m_scale = {};
    std::array<double, 3> m_offset = {};
    Losses m_losses;
    QByteArray m_buffer;
    int m_inBuffer = 0; ///< offset of the next record
    qint64 m_done = 0;
};
