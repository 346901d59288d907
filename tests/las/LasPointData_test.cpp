#include "LasTesting.h"

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace ptCloud;
using support::get;
using support::LasBytes;
using support::LasWriter;
using support::soundLas;
using support::windowOf;

namespace
{

using LasPointDataTest = support::LasTest;
using LasPointDataFormats = support::LasFormatTest;

/// What an array holds before it is filled, byte by byte.
constexpr char untouched = '\x5a';

/// The seventeen arrays as bytes, in the order of the parameters.
struct Arrays
{
    static constexpr int number = 17;
    static constexpr int elementSizes[number] = {12, 16, 2, 1, 1, 1, 1, 1, 1, 1, 2, 8, 1, 8, 4, 4, 12};

    explicit Arrays(int count)
    {
        for (int i = 0; i < number; ++i)
            bytes[i] = QByteArray(count * elementSizes[i], untouched);
    }

    /// The memory of array `i`, or null where it isn't wanted.
    template <typename T>
    T *of(int i, quint32 wanted)
    {
        return (wanted >> i & 1U) == 0 ? nullptr : reinterpret_cast<T *>(bytes[i].data());
    }

    /// Fills the wanted arrays: bit i stands for array i.
    void read(const LasFile &las, unsigned int start, unsigned int count, quint32 wanted = ~0U)
    {
        using Byte = unsigned char;
        las.readPointData(start, count, of<float>(0, wanted), of<float>(1, wanted), of<unsigned short>(2, wanted),
                          of<Byte>(3, wanted), of<Byte>(4, wanted), of<Byte>(5, wanted), of<Byte>(6, wanted),
                          of<Byte>(7, wanted), of<Byte>(8, wanted), of<Byte>(9, wanted), of<unsigned short>(10, wanted),
                          of<double>(11, wanted), of<Byte>(12, wanted), of<quint64>(13, wanted),
                          of<unsigned int>(14, wanted), of<float>(15, wanted), of<float>(16, wanted));
    }

    template <typename T>
    T at(int array, int element) const
    {
        return get<T>(bytes[array], element * static_cast<int>(sizeof(T)));
    }

    QByteArray bytes[number];
};

constexpr int xyzArray = 0;
constexpr int colourArray = 1;
constexpr int userDataArray = 9;
constexpr int gpsTimeArray = 11;
constexpr int descriptorArray = 12;

float channel(quint16 value, bool isColor256)
{
    const float quotient = static_cast<float>(value) / (isColor256 ? 255.0F : 65535.0F);
    return std::min(std::max(quotient, 0.0F), 1.0F);
}

/// Where a record of each format has its colour and its wave packet; -1 for none.
constexpr int colourAt[] = {-1, -1, 20, 28, -1, 28};
constexpr int packetAt[] = {-1, -1, -1, -1, 20, 34};

/// What the arrays hold for one record of these bytes. A field that the format lacks stays as it was.
Arrays expectedOf(const QByteArray &record, quint8 format, bool isColor256)
{
    Arrays expected(0);
    for (const int at : {0, 4, 8})
        support::put(expected.bytes[0], static_cast<float>(get<qint32>(record, at)) / 1000.0F);
    if (colourAt[format] >= 0) {
        for (int i = 0; i < 3; ++i)
            support::put(expected.bytes[1], channel(get<quint16>(record, colourAt[format] + 2 * i), isColor256));
        support::put(expected.bytes[1], 1.0F);
    }
    expected.bytes[2] = record.mid(12, 2);
    const auto flags = get<quint8>(record, 14);
    expected.bytes[3].append(static_cast<char>(flags % 8));
    expected.bytes[4].append(static_cast<char>(flags / 8 % 8));
    expected.bytes[5].append(static_cast<char>(flags / 64 % 2));
    expected.bytes[6].append(static_cast<char>(flags / 128));
    expected.bytes[7] = record.mid(15, 1);
    expected.bytes[8] = record.mid(16, 1);
    expected.bytes[9] = record.mid(17, 1);
    expected.bytes[10] = record.mid(18, 2);
    if (format == 1 || format == 3 || format == 5)
        expected.bytes[11] = record.mid(20, 8);
    const int packet = packetAt[format];
    if (packet >= 0) {
        expected.bytes[12] = record.mid(packet, 1);
        expected.bytes[13] = record.mid(packet + 1, 8);
        expected.bytes[14] = record.mid(packet + 9, 4);
        expected.bytes[15] = record.mid(packet + 13, 4);
        expected.bytes[16] = record.mid(packet + 17, 12);
    }
    for (int i = 0; i < Arrays::number; ++i)
        if (expected.bytes[i].isEmpty())
            expected.bytes[i] = QByteArray(Arrays::elementSizes[i], untouched);
    return expected;
}

/// Expects the arrays of records `start` on, `count` of them, as the file's bytes say; records beyond its end are
/// zeros.
void expectRecords(const Arrays &arrays, const LasBytes &file, qint64 start, int count, bool isColor256,
                   quint32 wanted = ~0U)
{
    Arrays expected(0);
    for (int i = 0; i < count; ++i) {
        QByteArray record = file.records(start + i, 1);
        record.append(QByteArray(file.recordSize() - record.size(), '\0'));
        const Arrays one = expectedOf(record, file.format(), isColor256);
        for (int array = 0; array < Arrays::number; ++array)
            expected.bytes[array] += one.bytes[array];
    }
    for (int array = 0; array < Arrays::number; ++array) {
        if ((wanted >> array & 1U) == 0)
            expected.bytes[array].fill(untouched);
        ASSERT_EQ(arrays.bytes[array], expected.bytes[array]) << "array " << array;
    }
}

/// One colour of a file, as it is read.
std::vector<float> colourOf(const LasFile &las, unsigned int point)
{
    Arrays arrays(1);
    arrays.read(las, point, 1);
    std::vector<float> colour;
    for (int i = 0; i < 4; ++i)
        colour.push_back(arrays.at<float>(colourArray, i));
    return colour;
}

} // namespace

TEST_P(LasPointDataFormats, FillTheArraysThatTheyHaveFieldsFor)
{
    const LasBytes bytes(soundLas(format(), 300, minor()).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 50));
    Arrays arrays(300);
    arrays.read(m_las, 0, 300);
    expectRecords(arrays, bytes, 0, 300, true);
}

TEST_P(LasPointDataFormats, FillAnyPartOfTheArrays)
{
    const LasBytes bytes(soundLas(format(), 20, minor()).bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    for (int array = 0; array < Arrays::number; ++array)
        for (const quint32 wanted : {1U << array, ~(1U << array)}) {
            Arrays arrays(5);
            arrays.read(m_las, 11, 5, wanted);
            expectRecords(arrays, bytes, 11, 5, true, wanted);
        }
    Arrays none(5);
    none.read(m_las, 0, 5, 0);
    expectRecords(none, bytes, 0, 5, true, 0);
}

TEST_P(LasPointDataFormats, ReadAnyRange)
{
    constexpr unsigned int seed = 321;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const LasBytes bytes(soundLas(format(), 700, minor()).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 100));
    for (int round = 0; round < 30; ++round) {
        const unsigned int start = static_cast<unsigned int>(random()) % 720U;
        const int count = 1 + static_cast<int>(random() % 300U);
        Arrays arrays(count);
        arrays.read(m_las, start, static_cast<unsigned int>(count));
        expectRecords(arrays, bytes, start, count, true);
        ASSERT_FALSE(HasFailure()) << count << " from " << start;
    }
}

TEST_P(LasPointDataFormats, ReadZerosBeyondTheEndOfTheFile)
{
    LasWriter las = soundLas(format(), 10, minor());
    las.tail = QByteArray(LasWriter::recordSize(format()) - 1, '\x77');
    const LasBytes bytes(las.bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    // The second begins in a record that is only partly there, the third behind all of them.
    for (const unsigned int start : {8U, 10U, 11U, 5000U}) {
        Arrays arrays(40);
        arrays.read(m_las, start, 40);
        expectRecords(arrays, bytes, start, 40, true);
    }
}

TEST_P(LasPointDataFormats, ReadFromTheWrappedPositionBeyondFourGigabytes)
{
    const LasBytes bytes(soundLas(format(), 10, minor()).bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    const auto size = static_cast<quint64>(bytes.recordSize());
    const quint64 start = (1ULL << 32) / size + 1;
    const int wrapped = static_cast<int>(start * size - (1ULL << 32));
    ASSERT_GE(wrapped, 0);
    ASSERT_LE(wrapped, bytes.recordSize());
    Arrays arrays(3);
    arrays.read(m_las, static_cast<unsigned int>(start), 3);
    // As if the points began there.
    QByteArray shifted = bytes.bytes;
    shifted.remove(static_cast<int>(bytes.pointData()), wrapped);
    expectRecords(arrays, LasBytes(shifted), 0, 3, m_las.isColor256());
}

TEST_P(LasPointDataFormats, LeaveTheWindowsAsTheyAre)
{
    const LasBytes bytes(soundLas(format(), 60, minor()).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 7));
    unsigned int at = 0;
    while (at < 60) {
        const support::LasWindow window = windowOf(m_las, format(), at, 1000);
        ASSERT_GT(window.count, 0U);
        Arrays arrays(9);
        arrays.read(m_las, 59 - at, 9);
        expectRecords(arrays, bytes, 59 - at, 9, true);
        ASSERT_EQ(QByteArray(static_cast<const char *>(window.records), window.bytes.size()),
                  bytes.records(at, window.count));
        at += window.count;
    }
}

INSTANTIATE_TEST_SUITE_P(All, LasPointDataFormats, support::allFormats(), support::LasFormatName());

TEST_F(LasPointDataTest, TouchesNothingWithoutAFile)
{
    Arrays arrays(3);
    arrays.read(m_las, 0, 3);
    ASSERT_TRUE(loads(soundLas(5, 3)));
    ASSERT_FALSE(m_las.load(path("missing"), 10));
    arrays.read(m_las, 0, 3);
    for (const QByteArray &bytes : arrays.bytes)
        EXPECT_EQ(bytes, QByteArray(bytes.size(), untouched));
}

TEST_F(LasPointDataTest, TouchesNothingForACountOfZero)
{
    ASSERT_TRUE(loads(soundLas(5, 3)));
    // The read-ahead is at rest once a range was read.
    Arrays arrays(1);
    arrays.read(m_las, 1, 1);
    const qint64 position = m_las.pos();
    Arrays none(1);
    none.read(m_las, 0, 0);
    none.read(m_las, 4294967295U, 0);
    EXPECT_EQ(m_las.pos(), position);
    for (const QByteArray &bytes : none.bytes)
        EXPECT_EQ(bytes, QByteArray(bytes.size(), untouched));
}

TEST_F(LasPointDataTest, PositionsAreThousandthsWhateverTheHeaderSays)
{
    LasWriter las = soundLas(0, 1);
    las.points[0].x = -1500;
    las.points[0].y = 0;
    las.points[0].z = 2147483647;
    las.scale = {0.5, 0.01, 100.0};
    las.offset = {1e6, -7.0, 3.0};
    ASSERT_TRUE(loads(las));
    Arrays arrays(1);
    arrays.read(m_las, 0, 1);
    EXPECT_EQ(arrays.at<float>(xyzArray, 0), -1.5F);
    EXPECT_EQ(arrays.at<float>(xyzArray, 1), 0.0F);
    EXPECT_EQ(arrays.at<float>(xyzArray, 2), 2147483648.0F / 1000.0F);
}

TEST_F(LasPointDataTest, PositionsAreRoundedToFloatBeforeTheDivision)
{
    LasWriter las = soundLas(0, 1);
    las.points[0].x = 16777217; // a float holds 16777216 or 16777218
    las.points[0].y = -2147483647 - 1;
    las.points[0].z = 123456789; // 123456792 as a float
    ASSERT_TRUE(loads(las));
    Arrays arrays(1);
    arrays.read(m_las, 0, 1);
    EXPECT_EQ(arrays.at<float>(xyzArray, 0), 16777216.0F / 1000.0F);
    EXPECT_EQ(arrays.at<float>(xyzArray, 1), -2147483648.0F / 1000.0F);
    EXPECT_EQ(arrays.at<float>(xyzArray, 2), 123456792.0F / 1000.0F);
}

TEST_F(LasPointDataTest, EightBitColoursGoFromZeroTo255)
{
    LasWriter las = soundLas(3, 2);
    las.points[1].red = 128;
    las.points[1].green = 0;
    las.points[1].blue = 255;
    ASSERT_TRUE(loads(las));
    ASSERT_TRUE(m_las.isColor256());
    EXPECT_EQ(colourOf(m_las, 1), (std::vector<float>{128.0F / 255.0F, 0.0F, 1.0F, 1.0F}));
}

TEST_F(LasPointDataTest, SixteenBitColoursGoFromZeroTo65535)
{
    LasWriter las = soundLas(3, 2);
    las.points[1].red = 65535;
    las.points[1].green = 0;
    las.points[1].blue = 256;
    ASSERT_TRUE(loads(las));
    ASSERT_FALSE(m_las.isColor256());
    EXPECT_EQ(colourOf(m_las, 1), (std::vector<float>{1.0F, 0.0F, 256.0F / 65535.0F, 1.0F}));
    EXPECT_EQ(colourOf(m_las, 0)[1], 100.0F / 65535.0F);
}

TEST_F(LasPointDataTest, ABrightColourThatNoSampleSawIsOne)
{
    for (const quint8 format : {quint8{2}, quint8{3}, quint8{5}}) {
        LasWriter las = soundLas(format, 2000);
        las.points[7].red = 300;
        las.points[7].green = 65535;
        las.points[7].blue = 51;
        ASSERT_TRUE(loads(las));
        ASSERT_TRUE(m_las.isColor256());
        EXPECT_EQ(colourOf(m_las, 7), (std::vector<float>{1.0F, 1.0F, 51.0F / 255.0F, 1.0F})) << int{format};
    }
}

TEST_F(LasPointDataTest, AlphaIsOneForEveryPointWithColour)
{
    for (const quint8 format : {quint8{2}, quint8{3}, quint8{5}}) {
        ASSERT_TRUE(loads(soundLas(format, 100)));
        Arrays arrays(100);
        arrays.read(m_las, 0, 100);
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ(arrays.at<float>(colourArray, 4 * i + 3), 1.0F);
    }
}

TEST_F(LasPointDataTest, FormatFourHasAWavePacketInPlaceOfGpsTime)
{
    LasWriter las = soundLas(4, 2);
    las.points[1].wavePacketDescriptorIndex = 77;
    const LasBytes bytes(las.bytes());
    ASSERT_EQ(bytes.records(1, 1).at(20), 77);
    ASSERT_TRUE(loads(bytes.bytes));
    Arrays arrays(2);
    arrays.read(m_las, 0, 2);
    EXPECT_EQ(arrays.at<quint8>(descriptorArray, 1), 77);
    EXPECT_EQ(arrays.bytes[gpsTimeArray], QByteArray(16, untouched));
}

TEST_F(LasPointDataTest, EveryFlagByteIsTakenApart)
{
    LasWriter las = soundLas(0, 256);
    for (quint32 i = 0; i < 256; ++i)
        las.points[i].returnFlags = static_cast<quint8>(i);
    const LasBytes bytes(las.bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    Arrays arrays(256);
    arrays.read(m_las, 0, 256);
    expectRecords(arrays, bytes, 0, 256, false);
    // 0xd3 is 1 1 010 011.
    EXPECT_EQ(arrays.at<quint8>(3, 0xd3), 3);
    EXPECT_EQ(arrays.at<quint8>(4, 0xd3), 2);
    EXPECT_EQ(arrays.at<quint8>(5, 0xd3), 1);
    EXPECT_EQ(arrays.at<quint8>(6, 0xd3), 1);
}

TEST_F(LasPointDataTest, OddTimesAndFloatsKeepTheirBits)
{
    LasWriter las = soundLas(5, 3);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto infinite = std::numeric_limits<float>::infinity();
    las.points[0].gpsTime = -nan;
    las.points[1].gpsTime = -0.0;
    las.points[2].gpsTime = std::numeric_limits<double>::denorm_min();
    las.points[0].returnPointWaveformLocation = static_cast<float>(nan);
    las.points[1].xyzT[1] = -infinite;
    const LasBytes bytes(las.bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    Arrays arrays(3);
    arrays.read(m_las, 0, 3);
    expectRecords(arrays, bytes, 0, 3, true);
}

TEST_F(LasPointDataTest, ReadsRecordsBehindTheAnnouncedNumber)
{
    LasWriter las = soundLas(1, 10);
    las.announcedPoints = 2;
    const LasBytes bytes(las.bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    Arrays arrays(4);
    arrays.read(m_las, 5, 4);
    expectRecords(arrays, bytes, 5, 4, false);
}

TEST_F(LasPointDataTest, TheLengthOfAReadWrapsAtFourGigabytes)
{
    // 68,174,085 records of 63 bytes are 59 bytes more than 32 bits count: the first record nearly, nothing of the
    // rest.
    constexpr int count = 68174085;
    static_assert(quint64{count} * 63 - (1ULL << 32) == 59);
    const LasBytes bytes(soundLas(5, 4).bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    Arrays arrays(0);
    arrays.bytes[userDataArray] = QByteArray(count, untouched);
    arrays.read(m_las, 0, count, 1U << userDataArray);
    QByteArray &userData = arrays.bytes[userDataArray];
    EXPECT_EQ(userData.at(0), bytes.records(0, 1).at(17));
    userData.remove(0, 1);
    EXPECT_EQ(userData.count('\0'), count - 1);
}
