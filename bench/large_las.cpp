// A LAS file whose records end beyond 4 GiB, from its making to the blocks, and every point of them looked at.
//
//   large_las DIR COUNT
//
// The file has format 5, 63 bytes a record, and is crossed in strips. The byte distance of a run is taken in 32
// bits, so the records from 4 GiB on are sorted into blocks by where they stand, and their values come from the front
// of the file: each is compared with that, not with what a surveyor would want.

#include "Growth.h"

#include "LasFile.h"
#include "PtCloud_DataSetFile.h"

#include <QDir>

#include <array>
#include <cstring>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr qint64 headerSize = 227;
constexpr qint64 recordSize = 63;
constexpr unsigned int window = 1000000; ///< records in a read-ahead buffer: where runs are cut
constexpr int width = 200000;            ///< of the survey, in thousandths
constexpr int height = 9000;
constexpr int boxSize = 12000; ///< a sixteenth of the longest extent, in whole thousands
constexpr int lower = -1;      ///< corner of the grid
constexpr std::size_t boxes = (width + 2) / boxSize + 1;
constexpr std::size_t boxesUp = (height + 2) / boxSize + 1;
const QList<EDataSetColumn> allColumns = {
    EDataSetColumn_Position,         EDataSetColumn_Color,           EDataSetColumn_Intensity,
    EDataSetColumn_ReturnNumber,     EDataSetColumn_NumberOfReturns, EDataSetColumn_ScanDirection,
    EDataSetColumn_EdgeOfFlightLine, EDataSetColumn_Classification,  EDataSetColumn_ScanAngleRank,
    EDataSetColumn_UserData,         EDataSetColumn_PointSourceId,   EDataSetColumn_GpsTime};

template <typename T>
void put(char *bytes, T value)
{
    std::memcpy(bytes, &value, sizeof value);
}

template <typename T>
T get(const uchar *bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

QByteArray header(quint32 count)
{
    std::array<char, headerSize> bytes{};
    char *const head = bytes.data();
    std::memcpy(head, "LASF", 4);
    put<char>(head + 24, 1);
    put<char>(head + 25, 2);
    put<quint16>(head + 94, headerSize);
    put<quint32>(head + 96, headerSize);
    put<char>(head + 104, 5);
    put<quint16>(head + 105, recordSize);
    put<quint32>(head + 107, count);
    const double numbers[12] = {0.001, 0.001, 0.001, 0, 0, 0, width / 1000.0, 0, width / 1000.0, 0, height / 1000.0, 0};
    std::memcpy(head + 131, numbers, sizeof numbers);
    return {head, headerSize};
}

/// Strips of a thousand points across, over the whole survey; every byte of a record depends on its number.
void putRecord(char *record, quint32 number, quint32 count)
{
    quint32 noise = number * 2654435761U;
    for (int at = 12; at < recordSize; ++at) {
        noise = noise * 1664525U + 1013904223U;
        record[at] = static_cast<char>(noise >> 24U);
    }
    put<qint32>(record, static_cast<qint32>(number % 1000 * (width / 1000)));
    put<qint32>(record + 4, static_cast<qint32>(qint64(number) / 1000 * 1000 * width / count));
    put<qint32>(record + 8, static_cast<qint32>(noise % height));
}

bool makeSurvey(const QString &path, quint32 count)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    file.write(header(count));
    QByteArray strip(1000 * recordSize, '\0');
    for (quint32 number = 0; number < count; number += 1000) {
        const quint32 points = qMin(count - number, 1000U);
        for (quint32 i = 0; i < points; ++i)
            putRecord(strip.data() + i * recordSize, number + i, count);
        file.write(strip.constData(), points * recordSize);
    }
    return file.flush() && file.error() == QFileDevice::NoError;
}

bool build(const QString &survey, PtCloud_DataSetFile &file)
{
    LasFile las;
    return las.load(survey, window) && file.makeDataSet_byLasFile({&las}, allColumns);
}

/// Number of the box that a record stands in; every box has a point.
std::size_t boxOf(const uchar *record)
{
    const auto index = [record](int axis) {
        return static_cast<std::size_t>((get<qint32>(record + 4 * axis) - lower) / boxSize);
    };
    return (index(0) * boxes + index(1)) * boxesUp + index(2);
}

/// A block's runs in the file, and how far the walk over the records has come in it.
struct Place
{
    const uchar *indices = nullptr;
    const uchar *positions = nullptr;
    const uchar *intensities = nullptr;
    const uchar *times = nullptr;
    quint32 points = 0;
    quint32 next = 0;
};

std::vector<Place> placesOf(const PtCloud_DataSetFile &file, const uchar *bytes)
{
    std::vector<Place> places;
    const auto blocks = file.getBlockInfos();
    for (const auto &block : blocks) {
        const qint64 n = std::get<1>(block);
        const uchar *const runs = bytes + std::get<0>(block) + 12;
        // Index 4, mark 1, position 12, colour 16, intensity 2, seven single bytes, source 2, time 8.
        places.push_back({runs, runs + 5 * n, runs + 33 * n, runs + 44 * n, static_cast<quint32>(n), 0});
    }
    return places;
}

bool isValueOf(const uchar *record, const Place &place)
{
    for (int axis = 0; axis < 3; ++axis) {
        const float wanted = static_cast<float>(get<qint32>(record + 4 * axis)) / 1000.0F;
        if (get<float>(place.positions + qint64(12) * place.next + 4 * axis) != wanted)
            return false;
    }
    return std::memcmp(record + 12, place.intensities + qint64(2) * place.next, 2) == 0
           && std::memcmp(record + 20, place.times + qint64(8) * place.next, 8) == 0;
}

/// Looks at every point of the file; how many of them have their values from the front, or -1 where one is wrong.
qint64 countWrapped(const QString &survey, const QString &blockFile, quint32 count)
{
    QFile las(survey);
    QFile built(blockFile);
    PtCloud_DataSetFile file;
    if (!las.open(QIODevice::ReadOnly) || !built.open(QIODevice::ReadOnly) || !file.setFile(blockFile)
        || !file.openFile())
        return -1;
    const uchar *const records = las.map(0, las.size()) + headerSize;
    std::vector<Place> places = placesOf(file, built.map(0, built.size()));
    if (places.size() != boxes * boxes * boxesUp)
        return -1;
    qint64 wrapped = 0;
    std::size_t before = places.size();
    quint32 index = 0;
    quint32 start = 0; ///< of the run
    for (quint32 r = 0; r < count; ++r) {
        const std::size_t box = boxOf(records + r * recordSize);
        if (box >= places.size())
            return -1;
        Place &place = places[box];
        index = box == before && r % window != 0 ? index + 1 : 0;
        before = box;
        if (index == 0)
            start = r;
        // Of a run that crosses the end of the 32 bits, every record is found.
        const qint64 distance = static_cast<quint32>(start * recordSize) + (r - start) * recordSize;
        wrapped += distance != r * recordSize ? 1 : 0;
        if (place.next == place.points || get<quint32>(place.indices + qint64(4) * place.next) != index
            || !isValueOf(records + distance, place))
            return -1;
        ++place.next;
    }
    for (const Place &place : places) {
        if (place.next != place.points)
            return -1;
    }
    return wrapped;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "large_las DIR COUNT\n");
        return 2;
    }
    const quint32 count = QByteArray(argv[2]).toUInt();
    const QDir root(QFile::decodeName(argv[1]));
    const QString survey = root.absoluteFilePath(QStringLiteral("large.las"));
    PtCloud_DataSetFile file;
    file.setFile(root.absoluteFilePath(QStringLiteral("large.ptcloud")));
    Growth growth(count);
    if (!makeSurvey(survey, count))
        return 1;
    growth.step("build from LAS", [&] { return build(survey, file); });
    growth.step("open what was built", [&] { return file.openFile(); });
    growth.step("read all of it", [&] {
        const auto blocks = file.getBlockInfos();
        for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
            if (file.readBlock(it.key()) == nullptr)
                return false;
        }
        return true;
    });
    file.closeFile();
    const qint64 wrapped = countWrapped(survey, file.getFilepath(), count);
    std::fprintf(stderr, "%u records, %lld bytes of them; %lld bytes of blocks; %lld records read from the front: %s\n",
                 count, static_cast<long long>(count * recordSize),
                 static_cast<long long>(QFile(file.getFilepath()).size()), static_cast<long long>(wrapped),
                 wrapped < 0 ? "WRONG" : "every point as told");
    QFile::remove(survey);
    file.removeFile();
    return wrapped < 0 ? 1 : 0;
}
