#include "LasClassifier.h"

#include "IntegerArithmetic.h"
#include "LasFile.h"
#include "System.h"

#include <QDebug>

#include <cstring>
#include <functional>

namespace ptCloud
{

namespace
{

/// What the builder takes from a header, of whichever version.
struct Header
{
    BoxGrid::Ranges bounds; ///< in raw integers
    unsigned int pointCount;
    unsigned char format;
};

BoxGrid::Range rawRange(double minimum, double maximum, double offset, double scale)
{
    const int low = truncToInt((minimum - offset) / scale);
    const int high = truncToInt((maximum - offset) / scale);
    // One unit more on each side covers what the truncation cut off.
    return {static_cast<qint64>(std::min(low, high)) - 1, static_cast<qint64>(std::max(low, high)) + 1};
}

template <int returnCounters>
Header headerOf(const stLasFileHeadFields<returnCounters> &head)
{
    return {{rawRange(head.minX, head.maxX, head.xOffset, head.xScaleFactor),
             rawRange(head.minY, head.maxY, head.yOffset, head.yScaleFactor),
             rawRange(head.minZ, head.maxZ, head.zOffset, head.zScaleFactor)},
            head.numberOfPointRecords,
            head.pointDataFormatId};
}

std::optional<Header> readHeader(const LasFile *file)
{
    if (file == nullptr || file->getFileHeadDescription()->versionMajor != 1)
        return std::nullopt;
    const int minor = file->getFileHeadDescription()->versionMinor;
    if (minor == 2 && file->getFileHead_ver_1_2() != nullptr)
        return headerOf(*file->getFileHead_ver_1_2());
    if (minor == 3 && file->getFileHead_ver_1_3() != nullptr)
        return headerOf(*file->getFileHead_ver_1_3());
    return std::nullopt;
}

template <typename Record>
unsigned int recordWindow(unsigned int (LasFile::*getPointDatas)(unsigned int, unsigned int, const Record *&) const,
                          const LasFile &file, unsigned int start, unsigned int maxCount, const unsigned char *&bytes)
{
    const Record *records = nullptr;
    const unsigned int count = (file.*getPointDatas)(start, maxCount, records);
    bytes = reinterpret_cast<const unsigned char *>(records);
    return count;
}

/// The records of a file from `start` on, whatever their format; 0 where it gives none.
unsigned int recordsOf(const LasFile &file, unsigned char format, unsigned int start, unsigned int maxCount,
                       const unsigned char *&bytes)
{
    switch (format) {
    case 0:
        return recordWindow(&LasFile::getPointDatas_fmt_0, file, start, maxCount, bytes);
    case 1:
        return recordWindow(&LasFile::getPointDatas_fmt_1, file, start, maxCount, bytes);
    case 2:
        return recordWindow(&LasFile::getPointDatas_fmt_2, file, start, maxCount, bytes);
    case 3:
        return recordWindow(&LasFile::getPointDatas_fmt_3, file, start, maxCount, bytes);
    case 4:
        return recordWindow(&LasFile::getPointDatas_fmt_4, file, start, maxCount, bytes);
    case 5:
        return recordWindow(&LasFile::getPointDatas_fmt_5, file, start, maxCount, bytes);
    default:
        return 0;
    }
}

} // namespace

bool LasClassifier::readHeaders(const QList<const LasFile *> &files)
{
    for (const LasFile *file : files) {
        const std::optional<Header> header = readHeader(file);
        if (!header)
            return false;
        m_grid.emplace(header->bounds);
        m_sources.push_back({file, findLasFormat(header->format), header->format, header->pointCount, {}});
    }
    if (!files.isEmpty())
        m_step = files.first()->getBufSize();

    const std::less<const LasFile *> before;
    std::stable_sort(m_sources.begin(), m_sources.end(),
                     [before](const Source &a, const Source &b) { return before(a.file, b.file); });
    m_sources.erase(std::unique(m_sources.begin(), m_sources.end(),
                                [](const Source &a, const Source &b) { return a.file == b.file; }),
                    m_sources.end());
    return true;
}

void LasClassifier::classify()
{
    const quint32 begin = platform::tickCount();
    if (m_grid)
        m_pointsOfBoxes.assign(static_cast<std::size_t>(m_grid->boxCount()), 0);
    for (Source &source : m_sources)
        classify(source);
    const auto seconds = static_cast<int>((platform::tickCount() - begin) / 1000.0);
    qDebug().nospace().noquote() << "initialize las buf boxs: " << seconds << " seconds.";
}

void LasClassifier::classify(Source &source)
{
    for (unsigned int start = 0; start < source.pointCount;) {
        const unsigned char *bytes = nullptr;
        const unsigned int count = recordsOf(*source.file, source.formatId, start, m_step, bytes);
        if (count == 0 || bytes == nullptr)
            return;
        const auto boxOf = [this, bytes, size = source.format->recordSize](unsigned int i) {
            qint32 xyz[3];
            std::memcpy(xyz, bytes + static_cast<std::size_t>(i) * size, sizeof xyz);
            return m_grid->boxOf(xyz[0], xyz[1], xyz[2]);
        };
        walkRuns(count, boxOf, [this, &source, start](const PointRun &run) {
            m_pointsOfBoxes[static_cast<std::size_t>(run.box)] += run.count;
            source.runs.append({run.box, start + run.first, run.count});
        });
        start += count;
        qDebug().nospace().noquote() << start << " / " << source.pointCount;
    }
}

} // namespace ptCloud
