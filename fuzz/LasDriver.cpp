// A LAS file: its header, all of its records through the window, every column of every record.

#include "Choices.h"
#include "Driver.h"
#include "LasSeeds.h"

#include "Bytes.h"
#include "LasFile.h"
#include "LasWriter.h"

#include <algorithm>
#include <cstring>
#include <limits>

using ptCloud::LasFile;

namespace
{

template <typename T>
bool isSame(const std::vector<T> &a, const std::vector<T> &b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

/// A range of records in arrays, which `readPointData` leaves alone where the format has no such field.
struct Columns
{
    Columns(const LasFile &las, unsigned int start, unsigned int count)
        : xyz(3U * count), rgba(4U * count), intensity(count), returnNumber(count), numberOfReturns(count),
          scanDirection(count), edgeOfFlightLine(count), classification(count), scanAngleRank(count), userData(count),
          pointSourceId(count), gpsTime(count), wavePacketDescriptorIndex(count), byteOffsetToWaveformData(count),
          waveformPacketSize(count), returnPointWaveformLocation(count), xyzT(3U * count)
    {
        las.readPointData(start, count, xyz.data(), rgba.data(), intensity.data(), returnNumber.data(),
                          numberOfReturns.data(), scanDirection.data(), edgeOfFlightLine.data(), classification.data(),
                          scanAngleRank.data(), userData.data(), pointSourceId.data(), gpsTime.data(),
                          wavePacketDescriptorIndex.data(), byteOffsetToWaveformData.data(), waveformPacketSize.data(),
                          returnPointWaveformLocation.data(), xyzT.data());
    }

    bool operator==(const Columns &other) const
    {
        return isSame(xyz, other.xyz) && isSame(rgba, other.rgba) && isSame(intensity, other.intensity)
               && isSame(returnNumber, other.returnNumber) && isSame(numberOfReturns, other.numberOfReturns)
               && isSame(scanDirection, other.scanDirection) && isSame(edgeOfFlightLine, other.edgeOfFlightLine)
               && isSame(classification, other.classification) && isSame(scanAngleRank, other.scanAngleRank)
               && isSame(userData, other.userData) && isSame(pointSourceId, other.pointSourceId)
               && isSame(gpsTime, other.gpsTime) && isSame(wavePacketDescriptorIndex, other.wavePacketDescriptorIndex)
               && isSame(byteOffsetToWaveformData, other.byteOffsetToWaveformData)
               && isSame(waveformPacketSize, other.waveformPacketSize)
               && isSame(returnPointWaveformLocation, other.returnPointWaveformLocation) && isSame(xyzT, other.xyzT);
    }

    std::vector<float> xyz;
    std::vector<float> rgba;
    std::vector<unsigned short> intensity;
    std::vector<unsigned char> returnNumber;
    std::vector<unsigned char> numberOfReturns;
    std::vector<unsigned char> scanDirection;
    std::vector<unsigned char> edgeOfFlightLine;
    std::vector<unsigned char> classification;
    std::vector<unsigned char> scanAngleRank;
    std::vector<unsigned char> userData;
    std::vector<unsigned short> pointSourceId;
    std::vector<double> gpsTime;
    std::vector<unsigned char> wavePacketDescriptorIndex;
    std::vector<quint64> byteOffsetToWaveformData;
    std::vector<unsigned int> waveformPacketSize;
    std::vector<float> returnPointWaveformLocation;
    std::vector<float> xyzT;
};

/// The records from `start` on that lie in the window at once, and their number.
template <typename Record>
using Window = unsigned int (LasFile::*)(unsigned int, unsigned int, const Record *&) const;

/// Appends the bytes of the records that one look at the window shows; false behind the last record.
template <typename Record>
bool look(const LasFile &las, Window<Record> window, unsigned int start, QByteArray &bytes)
{
    const Record *records = nullptr;
    const unsigned int count = (las.*window)(start, std::numeric_limits<unsigned int>::max(), records);
    if (count != 0)
        bytes.append(reinterpret_cast<const char *>(records), static_cast<int>(count * sizeof(Record)));
    return count != 0;
}

bool lookAtAnyFormat(const LasFile &las, unsigned int start, QByteArray &bytes)
{
    return look<stLasRecord_fmt_0>(las, &LasFile::getPointDatas_fmt_0, start, bytes)
           || look<stLasRecord_fmt_1>(las, &LasFile::getPointDatas_fmt_1, start, bytes)
           || look<stLasRecord_fmt_2>(las, &LasFile::getPointDatas_fmt_2, start, bytes)
           || look<stLasRecord_fmt_3>(las, &LasFile::getPointDatas_fmt_3, start, bytes)
           || look<stLasRecord_fmt_4>(las, &LasFile::getPointDatas_fmt_4, start, bytes)
           || look<stLasRecord_fmt_5>(las, &LasFile::getPointDatas_fmt_5, start, bytes);
}

QByteArray recordsByWindow(const LasFile &las, int recordSize, unsigned int start)
{
    QByteArray bytes;
    while (lookAtAnyFormat(las, start + static_cast<unsigned int>(bytes.size() / recordSize), bytes)) {
    }
    return bytes;
}

/// What the header of a file that was loaded announces, and where it says that the points begin.
struct Header
{
    explicit Header(const LasFile &las)
    {
        const auto *head2 = las.getFileHead_ver_1_2();
        const auto *head3 = las.getFileHead_ver_1_3();
        fuzz::check((head2 == nullptr) != (head3 == nullptr), "a loaded file has the header of one version");
        pointsAt = head2 != nullptr ? head2->offsetToPointData : head3->offsetToPointData;
        announced = head2 != nullptr ? head2->numberOfPointRecords : head3->numberOfPointRecords;
    }

    quint32 pointsAt;
    quint32 announced;
};

void checkHeads(const LasFile &las, const QByteArray &input, const Header &header)
{
    fuzz::check(std::memcmp(las.getFileHeadDescription(), input.constData(), sizeof(stLasFileHeadDesc)) == 0,
                "the description is the file's");
    const unsigned int heads = las.getNumberOfVariableLengthRecords();
    fuzz::check(qint64(heads) * qint64(sizeof(stLasFileVariableLengthHead)) <= input.size(),
                "a loaded file holds the heads that it announces");
    for (unsigned int i = 0; i < heads; ++i)
        fuzz::check(las.variableLenHead(i) != nullptr, "every announced head is there");
    fuzz::check(las.variableLenHead(heads) == nullptr, "no head stands behind the last one");
    fuzz::check(qint64(header.pointsAt) < input.size(), "points begin within the file");
    QList<ptCloud::EDataSetColumn> columns;
    las.getColumns(columns);
    fuzz::check(columns.startsWith(ptCloud::EDataSetColumn_Position), "every format has positions");
}

void checkPositions(const Columns &columns, const QByteArray &records, int recordSize)
{
    for (int i = 0; i * recordSize < records.size(); ++i) {
        for (int axis = 0; axis < 3; ++axis) {
            const auto raw = support::get<qint32>(records, qint64(i) * recordSize + 4 * axis);
            fuzz::check(columns.xyz[std::size_t(3 * i + axis)] == static_cast<float>(raw) / 1000.0F,
                        "a position is the raw integer in thousandths");
        }
    }
}

void checkRecords(const LasFile &las, const QByteArray &input, fuzz::Choices &choices)
{
    const Header header(las);
    checkHeads(las, input, header);
    const int size = support::LasWriter::recordSize(las.getFormat());
    const auto count =
        static_cast<unsigned int>(std::min<qint64>(header.announced, (input.size() - qint64(header.pointsAt)) / size));
    const QByteArray expected = input.mid(static_cast<int>(header.pointsAt), static_cast<int>(count) * size);

    const Columns first(las, 0, count);
    checkPositions(first, expected, size);
    fuzz::check(recordsByWindow(las, size, 0) == expected, "the window shows the bytes of every record");
    const auto start = count == 0 ? 0 : choices.below(count);
    fuzz::check(recordsByWindow(las, size, start) == expected.mid(static_cast<int>(start) * size),
                "the window goes back");
    fuzz::check(Columns(las, 0, count) == first, "a second read yields the same");
    // Somewhere, beyond the end too, and where a distance has more than 32 bits.
    const Columns part(las, choices.word(), choices.byte());
    const Columns end(las, count, 3);
}

bool run(const QByteArray &input)
{
    const QString path = fuzz::scratchFile(QStringLiteral("input.las"), input);
    fuzz::Choices choices(input);
    LasFile las;
    const unsigned int bufSize = 256U - choices.byte(); // mostly all records at once: each window takes two threads
    const bool isTaken = las.load(path, bufSize);
    fuzz::check(isTaken == las.isLoaded(), "a refused file is unloaded");
    if (isTaken) {
        checkRecords(las, input, choices);
        fuzz::check(las.load(path, bufSize), "a file that was taken is taken again");
    }
    fuzz::check(support::readFile(path) == input, "reading leaves the file as it is");
    return isTaken;
}

const fuzz::Driver driver("Las", run, fuzz::lasSeeds);

} // namespace
