#include "PlainLasBuild.h"

#include "BlockFile.h"
#include "Bytes.h"
#include "LasWriter.h"

#include <algorithm>
#include <map>

namespace support
{

namespace
{

struct Header
{
    quint8 format = 0;
    quint32 offsetToPoints = 0;
    quint32 announced = 0; ///< records that the header tells
    quint32 usable = 0;    ///< records that are there
    quint32 recordSize = 0;
    bool colors256 = false;
    double scale[3] = {};
    double offset[3] = {};
    double maximum[3] = {};
    double minimum[3] = {};
};

struct Source
{
    QByteArray bytes;
    Header header;
    quint32 readingStep = 0;
};

struct Run
{
    std::size_t source = 0;
    quint32 firstPoint = 0;
    quint32 pointCount = 0;
};

struct Box
{
    qint64 minimum[3] = {};
    qint64 maximum[3] = {};
    std::vector<Run> runs;
};

bool hasTime(quint8 format)
{
    return format == 1 || format == 3 || format == 5;
}

/// Where the three colour values stand in a record; -1 without colours.
int colorAt(quint8 format)
{
    return format == 2 ? 20 : (format == 3 || format == 5 ? 28 : -1);
}

/// Where the fields of the wave packet begin; -1 without.
int waveAt(quint8 format)
{
    return format == 4 ? 20 : (format == 5 ? 34 : -1);
}

/// Where a record begins: its distance from the first one is taken in 32 bits.
qint64 recordPosition(const Header &header, quint64 index)
{
    return static_cast<qint64>(header.offsetToPoints) + static_cast<quint32>(index * header.recordSize);
}

bool looksLikeColors256(const QByteArray &bytes, const Header &header)
{
    const int color = colorAt(header.format);
    if (color < 0)
        return false;
    const quint64 stride = std::max<quint64>(header.announced / 1000, 1);
    for (quint64 index = 0; index < header.announced; index += stride) {
        const qint64 at = recordPosition(header, index);
        // Behind the end of the file an earlier sample is tested again, which changes nothing.
        if (at + header.recordSize > bytes.size())
            continue;
        for (int channel = 0; channel < 3; ++channel) {
            if (get<quint16>(bytes, at + color + 2 * channel) > 255)
                return false;
        }
    }
    return true;
}

Header readHeader(const QByteArray &bytes)
{
    Header header;
    const bool isVersion3 = get<quint8>(bytes, 25) == 3;
    header.offsetToPoints = get<quint32>(bytes, 96);
    header.format = get<quint8>(bytes, 104);
    header.announced = get<quint32>(bytes, 107);
    header.recordSize = static_cast<quint32>(LasWriter::recordSize(header.format));
    const qint64 fitting = (bytes.size() - static_cast<qint64>(header.offsetToPoints)) / header.recordSize;
    header.usable = static_cast<quint32>(std::min<qint64>(header.announced, fitting));
    const int doubles = 26 + (isVersion3 ? 113 : 105);
    for (int axis = 0; axis < 3; ++axis) {
        header.scale[axis] = get<double>(bytes, doubles + 8 * axis);
        header.offset[axis] = get<double>(bytes, doubles + 24 + 8 * axis);
        header.maximum[axis] = get<double>(bytes, doubles + 48 + 16 * axis);
        header.minimum[axis] = get<double>(bytes, doubles + 56 + 16 * axis);
    }
    header.colors256 = looksLikeColors256(bytes, header);
    return header;
}

qint64 cutTowardZero(double value)
{
    if (value > -2147483649.0 && value < 2147483648.0)
        return static_cast<qint64>(value);
    return -2147483648LL;
}

std::vector<Box> makeBoxes(const Header &header)
{
    qint64 lower[3] = {};
    qint64 upper[3] = {};
    qint64 longest = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const qint64 most = cutTowardZero((header.maximum[axis] - header.offset[axis]) / header.scale[axis]);
        const qint64 least = cutTowardZero((header.minimum[axis] - header.offset[axis]) / header.scale[axis]);
        lower[axis] = std::min(least, most) - 1;
        upper[axis] = std::max(least, most) + 1;
        longest = std::max(longest, upper[axis] - lower[axis]);
    }
    qint64 size = static_cast<qint64>(static_cast<double>(longest) * 0.0625);
    size = size / 1000 * 1000;
    if (size < 1000)
        size = 1000;
    std::vector<Box> boxes;
    for (qint64 x = lower[0]; x <= upper[0]; x += size)
        for (qint64 y = lower[1]; y <= upper[1]; y += size)
            for (qint64 z = lower[2]; z <= upper[2]; z += size)
                boxes.push_back({{x, y, z}, {x + size, y + size, z + size}, {}});
    return boxes;
}

bool holds(const Box &box, const Source &source, quint64 record)
{
    const qint64 at = source.header.offsetToPoints + static_cast<qint64>(record * source.header.recordSize);
    for (int axis = 0; axis < 3; ++axis) {
        const auto raw = get<qint32>(source.bytes, at + 4 * axis);
        if (raw < box.minimum[axis] || raw >= box.maximum[axis])
            return false;
    }
    return true;
}

/// How many records one reading step gives from `start` on: no more than asked for, and none beyond the end of the
/// window that holds `start`.
quint32 recordsOfStep(const Source &source, quint32 start, quint32 asked)
{
    if (start >= source.header.usable)
        return 0;
    const quint32 window = std::min(source.header.usable, source.readingStep);
    return std::min({asked, window - start % window, source.header.usable - start});
}

/// Gives the records `start` to `start + count` of a source to the boxes that they lie in.
void classifyStep(std::vector<Box> &boxes, const std::vector<Source> &sources, std::size_t number, quint32 start,
                  quint32 count)
{
    quint32 i = 0;
    while (i < count) {
        const quint32 before = i;
        for (Box &box : boxes) {
            const quint32 first = i;
            while (i < count && holds(box, sources[number], start + i))
                ++i;
            if (i > first)
                box.runs.push_back({number, start + first, i - first});
        }
        if (i == before)
            ++i;
    }
}

void classify(std::vector<Box> &boxes, const std::vector<Source> &sources, quint32 asked, QStringList &lines)
{
    for (std::size_t number = 0; number < sources.size(); ++number) {
        const quint32 announced = sources[number].header.announced;
        quint32 start = 0;
        while (start < announced) {
            const quint32 count = recordsOfStep(sources[number], start, asked);
            if (count == 0)
                break;
            classifyStep(boxes, sources, number, start, count);
            start += count;
            lines << QStringLiteral("%1 / %2").arg(start).arg(announced);
        }
    }
}

template <typename T>
QByteArray bytesOf(T value)
{
    QByteArray bytes;
    put(bytes, value);
    return bytes;
}

QByteArray position(const QByteArray &record)
{
    QByteArray bytes;
    for (int axis = 0; axis < 3; ++axis)
        put(bytes, static_cast<float>(get<qint32>(record, 4 * axis)) / 1000.0F);
    return bytes;
}

QByteArray color(const QByteArray &record, int at, bool colors256)
{
    QByteArray bytes;
    for (int channel = 0; channel < 3; ++channel) {
        const float value =
            static_cast<float>(get<quint16>(record, at + 2 * channel)) / (colors256 ? 255.0F : 65535.0F);
        put(bytes, std::min(std::max(value, 0.0F), 1.0F));
    }
    put(bytes, 1.0F);
    return bytes;
}

QByteArray waveField(quint32 column, const QByteArray &record, int at)
{
    switch (column) {
    case 14:
        return record.mid(at, 1);
    case 15:
        return record.mid(at + 1, 8);
    case 16:
        return record.mid(at + 9, 4);
    case 17:
        return record.mid(at + 13, 4);
    default:
        return record.mid(at + 17, 12);
    }
}

/// A column's element from one record; nothing where the format lacks the field.
QByteArray element(quint32 column, const QByteArray &record, const Header &header)
{
    const auto flags = get<quint8>(record, 14);
    switch (column) {
    case 0:
        return position(record);
    case 3:
        return colorAt(header.format) < 0 ? QByteArray() : color(record, colorAt(header.format), header.colors256);
    case 4:
        return record.mid(12, 2);
    case 5:
        return bytesOf(static_cast<quint8>(flags & 7));
    case 6:
        return bytesOf(static_cast<quint8>((flags >> 3) & 7));
    case 7:
        return bytesOf(static_cast<quint8>((flags >> 6) & 1));
    case 8:
        return bytesOf(static_cast<quint8>(flags >> 7));
    case 9:
    case 10:
    case 11:
        return record.mid(static_cast<int>(column) + 6, 1);
    case 12:
        return record.mid(18, 2);
    case 13:
        return hasTime(header.format) ? record.mid(20, 8) : QByteArray();
    default:
        return waveAt(header.format) < 0 ? QByteArray() : waveField(column, record, waveAt(header.format));
    }
}

/// The one buffer of a build. A column that a format lacks keeps what an earlier block left, zeros at first.
class Buffer
{
public:
    Buffer(const std::vector<quint32> &columns, quint32 largest)
    {
        for (const quint32 column : columns)
            m_columns[column] = QByteArray(static_cast<int>(largest) * BlockFile::elementSize(column), '\0');
    }

    BlockFile::Block fill(const Box &box, const std::vector<Source> &sources, const std::vector<quint32> &columns)
    {
        BlockFile::Block block;
        for (const Run &run : box.runs) {
            for (quint32 i = 0; i < run.pointCount; ++i) {
                store(sources[run.source], run, i, static_cast<int>(block.points));
                block.indices.push_back(i);
                block.marks.push_back(0);
                ++block.points;
            }
        }
        for (int axis = 0; axis < 3; ++axis) {
            block.box[axis] = static_cast<float>(box.minimum[axis]) / 1000.0F;
            block.box[3 + axis] = static_cast<float>(box.maximum[axis]) / 1000.0F;
        }
        for (const quint32 column : columns)
            block.columns.push_back(
                m_columns[column].left(static_cast<int>(block.points) * BlockFile::elementSize(column)));
        return block;
    }

private:
    void store(const Source &source, const Run &run, quint32 i, int at)
    {
        const auto size = static_cast<int>(source.header.recordSize);
        const qint64 from = recordPosition(source.header, run.firstPoint) + static_cast<qint64>(i) * size;
        const QByteArray record = source.bytes.mid(static_cast<int>(from), size).leftJustified(size, '\0');
        for (auto &[column, bytes] : m_columns) {
            const QByteArray value = element(column, record, source.header);
            bytes.replace(at * BlockFile::elementSize(column), value.size(), value);
        }
    }

    std::map<quint32, QByteArray> m_columns;
};

quint32 pointsOf(const Box &box)
{
    quint32 points = 0;
    for (const Run &run : box.runs)
        points += run.pointCount;
    return points;
}

} // namespace

PlainLasBuild buildPlainly(const std::vector<PlainLasFile> &filesByAddress, std::size_t firstOfList,
                           std::size_t lastOfList, const std::vector<quint32> &columns)
{
    std::vector<Source> sources;
    sources.reserve(filesByAddress.size());
    for (const PlainLasFile &file : filesByAddress)
        sources.push_back({file.bytes, readHeader(file.bytes), file.readingStep});

    PlainLasBuild build;
    std::vector<Box> boxes = makeBoxes(sources[lastOfList].header);
    classify(boxes, sources, sources[firstOfList].readingStep, build.readingLines);
    boxes.erase(std::remove_if(boxes.begin(), boxes.end(), [](const Box &box) { return box.runs.empty(); }),
                boxes.end());
    if (boxes.empty())
        return build;

    quint32 largest = 0;
    for (const Box &box : boxes)
        largest = std::max(largest, pointsOf(box));
    BlockFile file;
    file.columns = columns;
    Buffer buffer(columns, largest);
    for (const Box &box : boxes) {
        file.blocks.push_back(buffer.fill(box, sources, columns));
        file.blocks.back().key = static_cast<qint32>(file.blocks.size());
    }
    build.complete = true;
    build.blockFile = file.bytes();
    return build;
}

} // namespace support
