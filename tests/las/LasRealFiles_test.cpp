#include "LasTesting.h"

#include <QFile>
#include <QFileInfo>

#include <cctype>
#include <ostream>
#include <string>
#include <vector>

using namespace ptCloud;
using support::get;
using support::LasBytes;
using support::LasWriter;
using support::walk;

namespace
{

/// A file that other software wrote, and what is known of it.
struct RealFile
{
    const char *name;
    bool loads = true;
    quint8 format = 0;
    qint64 points = 0;
    bool isColor256 = false;
};

std::ostream &operator<<(std::ostream &out, const RealFile &file)
{
    return out << file.name;
}

/// Over one file of a collection that need not be there.
class LasRealFiles : public ::testing::TestWithParam<RealFile>
{
protected:
    static QString path() { return QStringLiteral(POINTS_CLOUD_TEST_DATA_DIR "/") + QLatin1String(GetParam().name); }
    static bool isThere() { return QFileInfo::exists(path()); }
};

std::string caseName(const ::testing::TestParamInfo<RealFile> &file)
{
    std::string name = file.param.name;
    for (char &c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0)
            c = '_';
    return name;
}

void expectDoubles(const stLasFileHead_ver_1_2 &head, const QByteArray &bytes)
{
    const double doubles[] = {head.xScaleFactor, head.yScaleFactor, head.zScaleFactor, head.xOffset,
                              head.yOffset,      head.zOffset,      head.maxX,         head.minX,
                              head.maxY,         head.minY,         head.maxZ,         head.minZ};
    qint64 at = 131;
    for (const double value : doubles) {
        EXPECT_EQ(value, get<double>(bytes, at)) << "offset " << at;
        at += 8;
    }
}

} // namespace

TEST_P(LasRealFiles, AreLoadedOrRefused)
{
    LasFile las;
    EXPECT_EQ(las.load(path(), 1000), isThere() && GetParam().loads);
    EXPECT_EQ(las.isLoaded(), isThere() && GetParam().loads);
    EXPECT_TRUE(las.getLoadErrorString().isEmpty());
}

TEST_P(LasRealFiles, HaveTheHeaderThatTheirBytesTell)
{
    LasFile las;
    if (!las.load(path(), 1000)) {
        EXPECT_EQ(las.getFileHead_ver_1_2(), nullptr);
        return;
    }
    const LasBytes bytes(support::readFile(path()));
    EXPECT_TRUE(bytes.loads());
    const stLasFileHead_ver_1_2 *head = las.getFileHead_ver_1_2();
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(QByteArray(las.getFileHeadDescription()->fileSignature, 4), QByteArray("LASF"));
    EXPECT_EQ(QByteArray(head->systemIdentifier, 32), bytes.bytes.mid(26, 32));
    EXPECT_EQ(QByteArray(head->generatingSoftware, 32), bytes.bytes.mid(58, 32));
    EXPECT_EQ(head->fileCreationYear, get<quint16>(bytes.bytes, 92));
    EXPECT_EQ(head->headerSize, 227);
    EXPECT_EQ(qint64{head->offsetToPointData}, bytes.pointData());
    EXPECT_EQ(qint64{las.getNumberOfVariableLengthRecords()}, bytes.variableHeads());
    EXPECT_EQ(las.getPointDataFormat(), GetParam().format);
    EXPECT_EQ(las.getFormat(), GetParam().format);
    EXPECT_EQ(quint16{head->pointDataRecordLength}, get<quint16>(bytes.bytes, LasWriter::recordLengthAt));
    EXPECT_EQ(qint64{head->numberOfPointRecords}, GetParam().points);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(quint32{head->numberOfPointsByReturn[i]}, get<quint32>(bytes.bytes, 111 + 4 * i));
    expectDoubles(*head, bytes.bytes);
    EXPECT_EQ(las.isColor256(), GetParam().isColor256);
}

TEST_P(LasRealFiles, GiveTheRecordsThatTheyHold)
{
    LasFile las;
    const bool isLoaded = las.load(path(), 4321);
    const LasBytes bytes(support::readFile(path()));
    ASSERT_EQ(isLoaded, bytes.loads());
    if (!isLoaded)
        return;
    EXPECT_EQ(bytes.usable(), GetParam().points);
    EXPECT_EQ(walk(las, GetParam().format), bytes.records(0, bytes.usable()));
}

TEST_P(LasRealFiles, GiveTheirPositionsAndClasses)
{
    LasFile las;
    if (!las.load(path(), 1000)) {
        EXPECT_FALSE(las.isLoaded());
        return;
    }
    const LasBytes bytes(support::readFile(path()));
    const auto count = static_cast<std::size_t>(bytes.usable());
    std::vector<float> xyz(3 * count);
    std::vector<unsigned char> classes(count);
    las.readPointData(0, static_cast<unsigned int>(count), xyz.data(), nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, classes.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr);
    qint64 at = bytes.pointData();
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            ASSERT_EQ(xyz[3 * i + axis],
                      static_cast<float>(get<qint32>(bytes.bytes, at + 4 * static_cast<qint64>(axis))) / 1000.0F)
                << "point " << i;
        ASSERT_EQ(classes[i], get<quint8>(bytes.bytes, at + 15)) << "point " << i;
        at += bytes.recordSize();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Collection, LasRealFiles,
    ::testing::Values(
        RealFile{"1.2-with-color.las", true, 3, 1065, true}, RealFile{"autzen_trim.las", true, 3, 110000, true},
        RealFile{"interesting.las", true, 3, 1065, true}, RealFile{"sample_c.las", true, 3, 14408, false},
        RealFile{"1.2-empty-geotiff-vlrs.las", true, 1, 43, false}, RealFile{"epsg_4326.las", true, 0, 5380, false},
        RealFile{"prec3.las", true, 3, 110, true}, RealFile{"utm17.las", true, 3, 10, true},
        RealFile{"bad_vlr_count.las", true, 3, 10, true}, RealFile{"permutations_1.2_0.las", true, 0, 1, false},
        RealFile{"permutations_1.2_1.las", true, 1, 1, false}, RealFile{"permutations_1.2_2.las", true, 2, 1, true},
        RealFile{"permutations_1.2_3.las", true, 3, 1, true}, RealFile{"gps-time-nan.las", true, 1, 1, false},
        RealFile{"no-points.las", false}, RealFile{"garbage_nVariableLength.las", false},
        RealFile{"permutations_1.1_0.las", false}, RealFile{"test1_4.las", false}),
    caseName);
