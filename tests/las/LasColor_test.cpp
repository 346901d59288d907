#include "LasTesting.h"

#include <ostream>

using support::hasColour;
using support::LasPoint;
using support::LasWriter;
using support::soundLas;

namespace
{

using LasColorTest = support::LasTest;
using LasColorFormats = support::LasFormatTest;

/// A file of black points, all of them announced.
LasWriter black(quint8 format, quint32 count)
{
    LasWriter las;
    las.format = format;
    las.points.resize(count);
    return las;
}

/// Whether a file of black points with one red of 300 still counts as one of 8-bit colours. With `announced`, the
/// header names so many points instead of the true number.
struct Sample
{
    quint32 count;
    quint32 bright;
    bool isSampled;
    qint64 announced = -1;
};

std::ostream &operator<<(std::ostream &out, const Sample &sample)
{
    return out << sample.count << " points, number " << sample.bright << " bright, " << sample.announced
               << " announced";
}

class LasColorSample : public support::LasTest, public ::testing::WithParamInterface<Sample>
{
};

} // namespace

TEST_P(LasColorFormats, SmallValuesAreEightBitColours)
{
    ASSERT_TRUE(loads(soundLas(format(), 300, minor())));
    EXPECT_EQ(m_las.isColor256(), hasColour(format()));
}

TEST_P(LasColorFormats, LargeValuesAreSixteenBitColours)
{
    LasWriter las = soundLas(format(), 20, minor());
    for (LasPoint &point : las.points)
        point.red = point.green = point.blue = 65535;
    ASSERT_TRUE(loads(las));
    EXPECT_FALSE(m_las.isColor256());
}

TEST_P(LasColorFormats, TheLimitLiesBehind255InEachChannel)
{
    for (quint16 LasPoint::*const channel : {&LasPoint::red, &LasPoint::green, &LasPoint::blue}) {
        LasWriter las = soundLas(format(), 9, minor());
        las.points[8].*channel = 255;
        ASSERT_TRUE(loads(las));
        EXPECT_EQ(m_las.isColor256(), hasColour(format()));
        las.points[8].*channel = 256;
        ASSERT_TRUE(loads(las));
        EXPECT_FALSE(m_las.isColor256());
    }
}

TEST_P(LasColorFormats, NoAnnouncedRecordsCountAsEightBitColours)
{
    LasWriter las = soundLas(format(), 5, minor());
    for (LasPoint &point : las.points)
        point.red = 65535;
    las.announcedPoints = 0;
    ASSERT_TRUE(loads(las));
    EXPECT_EQ(m_las.isColor256(), hasColour(format()));
}

TEST_P(LasColorFormats, OnlyTheColoursAreLookedAt)
{
    LasWriter las = soundLas(format(), 3, minor());
    for (LasPoint &point : las.points) {
        point.red = point.green = point.blue = 0;
        point.intensity = 65535;
        point.pointSourceId = 65535;
        point.gpsTime = -1e300;
        point.wavePacketDescriptorIndex = 255;
        point.byteOffsetToWaveformData = ~quint64{0};
    }
    las.tail = QByteArray(1000, '\xff');
    ASSERT_TRUE(loads(las));
    EXPECT_EQ(m_las.isColor256(), hasColour(format()));
}

INSTANTIATE_TEST_SUITE_P(All, LasColorFormats, support::allFormats(), support::LasFormatName());

TEST_P(LasColorSample, SeesTheRecordsOfItsStride)
{
    const Sample &sample = GetParam();
    for (const quint8 format : {quint8{2}, quint8{3}, quint8{5}}) {
        LasWriter las = black(format, sample.count);
        las.points[sample.bright].red = 300;
        las.announcedPoints = sample.announced;
        ASSERT_TRUE(loads(las));
        EXPECT_EQ(m_las.isColor256(), !sample.isSampled) << "format " << int{format};
    }
}

INSTANTIATE_TEST_SUITE_P(Strides, LasColorSample,
                         ::testing::Values(Sample{1, 0, true}, Sample{999, 998, true}, Sample{1999, 1, true},
                                           Sample{1999, 1998, true}, Sample{2000, 1, false}, Sample{2000, 2, true},
                                           Sample{2000, 1999, false}, Sample{2999, 2998, true}, Sample{3000, 2, false},
                                           Sample{3000, 2997, true},
                                           // The announced number sets the stride and the end, not the records there.
                                           Sample{50, 3, false, 5000}, Sample{50, 5, true, 5000},
                                           Sample{50, 30, false, 30}, Sample{50, 29, true, 30},
                                           Sample{50, 1, false, 4294967295}, Sample{50, 0, true, 4294967295}));

TEST_F(LasColorTest, ARecordThatIsCutShortIsNotLookedAt)
{
    for (const quint8 format : {quint8{2}, quint8{3}, quint8{5}}) {
        LasWriter las = black(format, 1);
        las.announcedPoints = 2;
        LasPoint bright;
        bright.red = bright.green = bright.blue = 65535;
        las.tail = LasWriter::record(format, bright);
        las.tail.chop(1);
        ASSERT_TRUE(loads(las));
        EXPECT_TRUE(m_las.isColor256()) << "format " << int{format};
    }
}

TEST_F(LasColorTest, AFileWithoutAWholeRecordHasEightBitColours)
{
    for (const quint8 format : {quint8{2}, quint8{3}, quint8{5}}) {
        LasWriter las = black(format, 0);
        las.announcedPoints = 1000000;
        las.tail = "x";
        ASSERT_TRUE(loads(las));
        EXPECT_TRUE(m_las.isColor256()) << "format " << int{format};
    }
}

TEST_F(LasColorTest, ASampleBeyondTheEndRepeatsTheLastThatWasRead)
{
    // Whole records are sampled first; what follows them in the sample can't turn the answer.
    LasWriter las = black(3, 3);
    las.announcedPoints = 900;
    ASSERT_TRUE(loads(las));
    EXPECT_TRUE(m_las.isColor256());
    las.points[2].blue = 256;
    ASSERT_TRUE(loads(las));
    EXPECT_FALSE(m_las.isColor256());
}

TEST_F(LasColorTest, TheDistanceOfASampleWrapsAtFourGigabytes)
{
    // 3,900,000,000 points: every 3,900,000th of 34 bytes is sampled, and number 33 of these lies 4,375,800,000 bytes
    // behind the first, 80,832,704 when cut to 32 bits.
    constexpr quint32 wrapped = 80832704;
    LasWriter las = black(3, 1);
    las.announcedPoints = 3900000000LL;
    las.tail = QByteArray(static_cast<int>(wrapped) - LasWriter::recordSize(3), '\0');
    const int end = las.tail.size();
    for (const quint16 green : {quint16{256}, quint16{255}}) {
        LasPoint sampled;
        sampled.green = green;
        las.tail.truncate(end);
        las.tail += LasWriter::record(3, sampled);
        ASSERT_TRUE(loads(las));
        EXPECT_EQ(m_las.isColor256(), green == 255);
    }
}
