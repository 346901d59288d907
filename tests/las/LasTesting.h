#pragma once

#include "Bytes.h"
#include "LasWriter.h"

#include "LasFile.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <algorithm>
#include <climits>
#include <string>
#include <tuple>
#include <utility>

namespace support
{

/// A point whose every field tells which one it is; its colours are 8-bit values.
inline LasPoint pointNumber(quint32 number)
{
    LasPoint point;
    const auto n = static_cast<qint32>(number);
    point.x = n * 1001 - 70000;
    point.y = -n * 7 + 3;
    point.z = n % 977 * 5;
    point.intensity = static_cast<quint16>(number * 31 + 2);
    point.returnFlags = static_cast<quint8>(number * 37 + 1);
    point.classification = static_cast<quint8>(number * 3 + 4);
    point.scanAngleRank = static_cast<quint8>(number * 5 + 200);
    point.userData = static_cast<quint8>(number * 11 + 6);
    point.pointSourceId = static_cast<quint16>(number * 13 + 40000);
    point.gpsTime = number * 0.25 + 1e9;
    point.red = static_cast<quint16>(number % 256);
    point.green = static_cast<quint16>((number + 100) % 256);
    point.blue = static_cast<quint16>((number * 7) % 256);
    point.wavePacketDescriptorIndex = static_cast<quint8>(number + 9);
    point.byteOffsetToWaveformData = 0x123456789ABCULL + number;
    point.waveformPacketSize = 3000000000U + number;
    point.returnPointWaveformLocation = static_cast<float>(number) + 0.5F;
    point.xyzT[0] = static_cast<float>(number) * 0.125F;
    point.xyzT[1] = -point.xyzT[0];
    point.xyzT[2] = 1.0F;
    return point;
}

/// A sound file with the points number 0, 1, 2 ...
inline LasWriter soundLas(quint8 format, quint32 count, quint8 versionMinor = 2)
{
    LasWriter las;
    las.format = format;
    las.versionMinor = versionMinor;
    for (quint32 i = 0; i < count; ++i)
        las.points.push_back(pointNumber(i));
    return las;
}

inline bool hasColour(quint8 format)
{
    return format == 2 || format == 3 || format == 5;
}

/// What the bytes of a file say, read at their places in the file.
struct LasBytes
{
    explicit LasBytes(QByteArray fileBytes) : bytes(std::move(fileBytes)) {}

    quint8 minor() const { return get<quint8>(bytes, 25); }
    quint8 format() const { return get<quint8>(bytes, LasWriter::formatAt); }
    qint64 pointData() const { return get<quint32>(bytes, LasWriter::offsetToPointDataAt); }
    qint64 announced() const { return get<quint32>(bytes, LasWriter::pointCountAt); }
    qint64 variableHeads() const { return get<quint32>(bytes, LasWriter::variableHeadCountAt); }
    qint64 headerSize() const { return minor() == 3 ? 243 : 227; }
    int recordSize() const { return LasWriter::recordSize(format()); }
    /// Records that are announced and wholly there.
    qint64 usable() const { return std::min(announced(), (bytes.size() - pointData()) / recordSize()); }
    QByteArray records(qint64 first, qint64 count) const
    {
        return bytes.mid(static_cast<int>(pointData() + first * recordSize()), static_cast<int>(count * recordSize()));
    }

    /// Whether a reader has to take the file.
    bool loads() const
    {
        return bytes.size() >= 26 && get<quint8>(bytes, 24) == 1 && (minor() == 2 || minor() == 3)
               && headerSize() + variableHeads() * 54 <= bytes.size() && pointData() < bytes.size() && format() <= 5;
    }

    QByteArray bytes;
};

/// One request for a window, whatever the format.
struct LasWindow
{
    unsigned int count = 0;
    const void *records = nullptr;
    QByteArray bytes;
};

template <typename Record>
LasWindow askForWindow(const ptCloud::LasFile &las,
                       unsigned int (ptCloud::LasFile::*ask)(unsigned int, unsigned int, const Record *&) const,
                       unsigned int start, unsigned int maxCount)
{
    static const Record untouched{};
    const Record *records = &untouched;
    LasWindow window;
    window.count = (las.*ask)(start, maxCount, records);
    if (records != &untouched) {
        window.records = records;
        window.bytes =
            QByteArray(reinterpret_cast<const char *>(records), static_cast<int>(window.count * sizeof *records));
    }
    return window;
}

/// Asks by the operation for records of `format`; `records` stays null if the caller's pointer was left alone.
inline LasWindow windowOf(const ptCloud::LasFile &las, quint8 format, unsigned int start, unsigned int maxCount)
{
    using ptCloud::LasFile;
    switch (format) {
    case 0:
        return askForWindow(las, &LasFile::getPointDatas_fmt_0, start, maxCount);
    case 1:
        return askForWindow(las, &LasFile::getPointDatas_fmt_1, start, maxCount);
    case 2:
        return askForWindow(las, &LasFile::getPointDatas_fmt_2, start, maxCount);
    case 3:
        return askForWindow(las, &LasFile::getPointDatas_fmt_3, start, maxCount);
    case 4:
        return askForWindow(las, &LasFile::getPointDatas_fmt_4, start, maxCount);
    default:
        return askForWindow(las, &LasFile::getPointDatas_fmt_5, start, maxCount);
    }
}

/// All records in order, window by window.
inline QByteArray walk(const ptCloud::LasFile &las, quint8 format, unsigned int step = UINT_MAX)
{
    QByteArray all;
    unsigned int at = 0;
    for (;;) {
        const LasWindow window = windowOf(las, format, at, step);
        if (window.count == 0)
            return all;
        all += window.bytes;
        at += window.count;
    }
}

/// What an unloaded object answers, whatever it was before.
inline void expectUnloaded(ptCloud::LasFile &las)
{
    EXPECT_FALSE(las.isLoaded());
    EXPECT_FALSE(las.isOpen());
    EXPECT_EQ(las.getFileHead_ver_1_2(), nullptr);
    EXPECT_EQ(las.getFileHead_ver_1_3(), nullptr);
    EXPECT_EQ(las.getPointDataFormat(), 255);
    EXPECT_EQ(las.getNumberOfVariableLengthRecords(), 4294967295U);
    EXPECT_TRUE(las.getLoadErrorString().isEmpty());
    for (quint8 format = 0; format < 6; ++format) {
        const LasWindow window = windowOf(las, format, 0, 10);
        EXPECT_EQ(window.count, 0U);
        EXPECT_EQ(window.records, nullptr);
    }
}

/// A LAS file object and a directory for its files.
class LasTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path(const char *name = "a.las") const { return m_dir.filePath(QLatin1String(name)); }

    /// Whether the object loads a file of these bytes. Each is a file of its own, since the last may still be read.
    bool loads(const QByteArray &bytes, unsigned int bufSize = 1000)
    {
        const QString file = m_dir.filePath(QString::number(++m_files));
        return writeFile(file, bytes) && m_las.load(file, bufSize);
    }
    bool loads(const LasWriter &las, unsigned int bufSize = 1000) { return loads(las.bytes(), bufSize); }

    QTemporaryDir m_dir;
    int m_files = 0;
    ptCloud::LasFile m_las;
};

/// The same for each point format and both versions.
class LasFormatTest : public LasTest, public ::testing::WithParamInterface<std::tuple<int, int>>
{
protected:
    static quint8 format() { return static_cast<quint8>(std::get<0>(GetParam())); }
    static quint8 minor() { return static_cast<quint8>(std::get<1>(GetParam())); }
};

struct LasFormatName
{
    template <typename Info>
    std::string operator()(const Info &info) const
    {
        return "Format" + std::to_string(std::get<0>(info.param)) + "Version1_"
               + std::to_string(std::get<1>(info.param));
    }
};

inline auto allFormats()
{
    return ::testing::Combine(::testing::Range(0, 6), ::testing::Values(2, 3));
}

} // namespace support
