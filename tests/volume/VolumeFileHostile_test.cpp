#include "Scarcity.h"
#include "VolumeFileTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

using namespace ptCloud;
using namespace volume;
using support::VolumeFile;

namespace
{

constexpr qint32 endless = std::numeric_limits<qint32>::max();
/// How many corners that a file doesn't hold are still taken as zeros.
constexpr int allowance = 1000000;

using VolumeFileHostile = VolumeListFile;

/// Expects of the cut file what a reader makes of it that sees zeros behind its end.
void expectAsZerosBehindTheEnd(VolumeCalcAreaList &list, bool loaded, const QByteArray &bytes)
{
    const VolumeFile::Reading reading = VolumeFile::read(bytes);
    EXPECT_EQ(loaded, reading.ok);
    VolumeFile expected;
    if (reading.ok)
        expected.areas = reading.areas;
    EXPECT_EQ(contents(list).toHex(), expected.bytes().toHex());
}

TEST_F(VolumeFileHostile, ReadsZerosBehindTheEndOfACutFile)
{
    for (const qint32 version : {1, 2}) {
        VolumeFile file = sampleFile();
        file.version = version;
        file.trailer.assign(version == 1 ? 4 : 0, QStringLiteral("text"));
        const QByteArray bytes = file.bytes();
        int loadable = 0;
        for (int length = 0; length <= bytes.size(); ++length) {
            SCOPED_TRACE(length);
            const bool loaded = loads(bytes.left(length));
            expectAsZerosBehindTheEnd(m_list, loaded, bytes.left(length));
            loadable += loaded ? 1 : 0;
        }
        EXPECT_GT(loadable, 9);
    }
}

/// A file of one area that ends behind the given number of corners, whatever their count says.
QByteArray endingInTheCorners(int corners, qint32 count)
{
    VolumeFile file;
    file.areas = {sampleArea(QStringLiteral("pit"), corners, 0, 0)};
    file.areas[0].cornerCount = count;
    // Behind the corners stand two numbers, two counts and two flags.
    QByteArray bytes = file.bytes();
    bytes.chop(8 + 8 + 4 + 4 + 1 + 1);
    return bytes;
}

TEST_F(VolumeFileHostile, TakesAMillionMissingCornersAsZeros)
{
    for (const int corners : {0, 3}) {
        EXPECT_TRUE(loads(endingInTheCorners(corners, corners + allowance)));
        const VolumeCalcArea *area = m_list.getArea(QStringLiteral("pit"));
        ASSERT_NE(area, nullptr);
        ASSERT_EQ(area->boundary.size(), corners + allowance);
        const pcVec3f zero;
        EXPECT_EQ(std::count(area->boundary.begin(), area->boundary.end(), zero), allowance);
        EXPECT_EQ(area->groundHeight, -1.25F);
        EXPECT_EQ(area->maxHeight, 0.0F);
        EXPECT_EQ(area->gridSize, 0.0F);
        EXPECT_FALSE(area->dtmCalculated || area->gridCalculated);
    }
}

TEST_F(VolumeFileHostile, RefusesMoreMissingCornersThanThat)
{
    expectRefused(endingInTheCorners(0, allowance + 1));
    expectRefused(endingInTheCorners(3, allowance + 4));
}

/// A file that asks for more than it holds.
struct Demand
{
    const char *name;
    QByteArray bytes;
    bool loads;
};

QByteArray endlessCorners()
{
    VolumeFile file = sampleFile();
    file.areas[0].cornerCount = endless;
    return file.bytes();
}

QByteArray endlessPrisms()
{
    VolumeFile file = sampleFile();
    file.areas[1].prismCount = endless;
    return file.bytes();
}

/// The last area has whole records to its last byte.
QByteArray endlessQuadPrisms()
{
    VolumeFile file = sampleFile();
    file.areas[1].quadPrismCount = endless;
    QByteArray bytes = file.bytes();
    bytes.chop(2);
    return bytes;
}

QByteArray endlessAreas()
{
    VolumeFile file = sampleFile();
    file.areaCount = endless;
    return file.bytes();
}

/// A name of so many bytes, of which there are six.
QByteArray name(const char *length)
{
    return QByteArray::fromHex("0000000200000001") + QByteArray::fromHex(length) + QByteArray::fromHex("004100420043");
}

/// Of the first version, with such a name behind no area.
QByteArray trailingName(const char *length)
{
    return QByteArray::fromHex("0000000100000000") + QByteArray::fromHex(length) + QByteArray::fromHex("004100420043");
}

const Demand demands[] = {
    {"EndlessCornersAtTheEnd", endingInTheCorners(0, endless), false},
    {"EndlessCornersBehindSome", endingInTheCorners(2, endless), false},
    {"EndlessCornersBeforeTheRest", endlessCorners(), false},
    {"EndlessPrisms", endlessPrisms(), false},
    {"EndlessQuadPrisms", endlessQuadPrisms(), false},
    {"EndlessAreas", endlessAreas(), false},
    {"EndlessAreasOfNothing", QByteArray::fromHex("000000027fffffff"), false},
    {"EndlessName", name("fffffffe"), false},
    {"LongName", name("7ffffffe"), false},
    {"OddName", name("00000005"), false},
    {"EndlessTrailer", trailingName("fffffffe"), true},
    {"LongTrailer", trailingName("7ffffffe"), true},
};

class VolumeFileDemand : public VolumeListFile, public ::testing::WithParamInterface<Demand>
{
};

std::string nameOf(const ::testing::TestParamInfo<Demand> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(VolumeFileHostile, VolumeFileDemand, ::testing::ValuesIn(demands), nameOf);

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
/// The most memory that the process ever held, in KiB.
long peak()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}
#endif

TEST_P(VolumeFileDemand, IsAnsweredWithinTheMeansOfTheFile)
{
#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
    const support::AddressSpaceLimit limit(rlim_t{1} << 30);
    ASSERT_TRUE(limit.holds());
    const long before = peak();
#endif
    EXPECT_EQ(loads(GetParam().bytes), GetParam().loads);
    EXPECT_TRUE(m_list.isEmpty());
#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
    EXPECT_LT(peak() - before, 128 * 1024);
#endif
}

} // namespace
