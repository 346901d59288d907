#pragma once

#include "LasRecords.h"
#include "PtCloud_Types.h"

#include <QFile>
#include <QList>
#include <QString>

#include <deque>
#include <memory>

namespace ptCloud
{

class FileSeekBuf;

/// One LAS file, open for reading: its header, and its point records in two ways.
///
///     LasFile las;
///     if (!las.load(path, 1000000)) // records that each of two read-ahead buffers holds
///         return;                   // no reason is kept
///     const stLasRecord_fmt_3 *records = nullptr;
///     unsigned int n = 0;
///     for (unsigned int at = 0; (n = las.getPointDatas_fmt_3(at, 1000, records)) != 0; at += n)
///         use(records, n);
///
/// `getPointDatas_fmt_N` hands out raw records from a window that a thread of the object's own reads ahead;
/// `readPointData` converts a range of records into arrays. Versions 1.2 and 1.3 with point formats 0 to 5 are read.
/// The object is the open device itself. A caller uses it from one thread, and one of the two ways at a time.
class POINTS_CLOUD_EXPORT LasFile : public QFile
{
public:
    LasFile();
    ~LasFile() override;

    /// Opens and checks a file, after unloading what was loaded. False without a reason for a path that is no regular
    /// file, a version, format or header that isn't read, and where the read-ahead can't be set up; the object is
    /// unloaded then. A file with fewer records than its header announces is taken as far as it goes.
    bool load(const QString &path, unsigned int bufSize);
    bool isLoaded() const { return isOpen(); }
    /// Always empty: no reason for a failed load is kept.
    QString getLoadErrorString() { return {}; }
    /// The `bufSize` of the last successful `load`.
    unsigned int getBufSize() const { return m_bufSize; }

    const stLasFileHeadDesc *getFileHeadDescription() const { return &m_headDesc; }
    /// The header of a loaded 1.2 file, else null.
    const stLasFileHead_ver_1_2 *getFileHead_ver_1_2() const { return m_head_ver_1_2.get(); }
    /// The header of a loaded 1.3 file, else null.
    const stLasFileHead_ver_1_3 *getFileHead_ver_1_3() const { return m_head_ver_1_3.get(); }

    /// Point format of the last load that came so far; 255 at first. It outlives the load.
    unsigned char getFormat() const { return m_format; }
    /// Point format in the header of the loaded file, else 255.
    unsigned char getPointDataFormat() const;
    /// Whether the last file's colours are 8-bit values, as far as a sample of its records tells; false without
    /// colours.
    bool isColor256() const { return m_isColor256; }
    /// Appends the columns that records of the loaded file fill, in ascending order; nothing while unloaded.
    void getColumns(QList<EDataSetColumn> &columns) const;
    /// Number in the header of the loaded file, else 4294967295.
    unsigned int getNumberOfVariableLengthRecords() const;
    /// Head `index` of all heads read since construction, those of earlier loads in front; null beyond them. The bytes
    /// behind a head are not skipped, so only the first is meaningful in a file whose records have bodies.
    const stLasFileVariableLengthHead *variableLenHead(unsigned int index) const;

    /// Sets `records` to record `start` in the read-ahead window and returns how many lie there, `maxCount` at most; 0,
    /// with `records` untouched, if the file isn't loaded, has another format or has no such record. The pointer is
    /// good until later calls have moved the window.
    unsigned int getPointDatas_fmt_0(unsigned int start, unsigned int maxCount,
                                     const stLasRecord_fmt_0 *&records) const;
    unsigned int getPointDatas_fmt_1(unsigned int start, unsigned int maxCount,
                                     const stLasRecord_fmt_1 *&records) const;
    unsigned int getPointDatas_fmt_2(unsigned int start, unsigned int maxCount,
                                     const stLasRecord_fmt_2 *&records) const;
    unsigned int getPointDatas_fmt_3(unsigned int start, unsigned int maxCount,
                                     const stLasRecord_fmt_3 *&records) const;
    unsigned int getPointDatas_fmt_4(unsigned int start, unsigned int maxCount,
                                     const stLasRecord_fmt_4 *&records) const;
    unsigned int getPointDatas_fmt_5(unsigned int start, unsigned int maxCount,
                                     const stLasRecord_fmt_5 *&records) const;

    /// Converts `count` records from `start` on into the arrays that are not null, element i from record `start` + i.
    ///
    /// Positions (three floats) are the raw integers divided by 1000 in `float`; the header's scale and offset are not
    /// applied. Colours (four floats) are divided by 255 or 65535, as the file's colours turned out to be, held to
    /// 0..1, with alpha 1. An array that the format has no field for is left as it is. Records beyond the end of the
    /// file read as zeros. The byte distance of a record is taken in 32 bits: records from 4 GiB on are not reachable.
    void readPointData(unsigned int start, unsigned int count, float *xyz, float *rgba, unsigned short *intensity,
                       unsigned char *returnNumber, unsigned char *numberOfReturns, unsigned char *scanDirection,
                       unsigned char *edgeOfFlightLine, unsigned char *classification, unsigned char *scanAngleRank,
                       unsigned char *userData, unsigned short *pointSourceId, double *gpsTime,
                       unsigned char *wavePacketDescriptorIndex, quint64 *byteOffsetToWaveformData,
                       unsigned int *waveformPacketSize, float *returnPointWaveformLocation, float *xyzT) const;

private:
    Q_DISABLE_COPY(LasFile)
    friend class LasRecordReader;

    bool checkIsColor256();
    void clear();

    bool readHeader();
    bool readVariableLengthHeads(quint32 count);
    bool startReadAhead(unsigned int bufSize);
    quint32 offsetToPointData() const;
    quint32 numberOfPointRecords() const;
    template <typename Record>
    unsigned int window(unsigned char format, unsigned int start, unsigned int maxCount, const Record *&records) const;

    std::unique_ptr<FileSeekBuf> m_fileSeekBuf; ///< only while loaded
    stLasFileHeadDesc m_headDesc = {};
    std::unique_ptr<stLasFileHead_ver_1_2> m_head_ver_1_2;
    std::unique_ptr<stLasFileHead_ver_1_3> m_head_ver_1_3;
    std::deque<stLasFileVariableLengthHead> m_variableLenHeads;
    unsigned char m_format = 255;
    unsigned int m_bufSize = 0;
    bool m_isColor256 = false;
};

} // namespace ptCloud
