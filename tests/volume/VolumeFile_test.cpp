#include "VolumeFileTesting.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace ptCloud;
using namespace volume;
using support::VolumeFile;

namespace
{

using VolumeFileTest = VolumeListFile;

/// Fills an area of the list with what the stored one says.
void fill(VolumeCalcArea &area, const VolumeFile::Area &from)
{
    const auto narrow = [](double value) { return static_cast<float>(value); };
    area.groundHeightType = from.groundHeightType;
    area.groundHeight = narrow(from.groundHeight);
    area.maxHeight = narrow(from.maxHeight);
    area.gridSize = narrow(from.gridSize);
    for (const auto &[x, y, z] : from.corners)
        area.boundary << pcVec3f(narrow(x), narrow(y), narrow(z));
    for (const auto &p : from.prisms) {
        const auto &f = p.floats;
        area.prisms << stPrism{narrow(f[0]), narrow(f[1]), narrow(f[2]), narrow(f[3]), narrow(f[4]), narrow(f[5]),
                               narrow(f[6]), narrow(f[7]), narrow(f[8]), narrow(f[9]), p.dig,        p.fill};
    }
    for (const auto &p : from.quadPrisms) {
        const auto &f = p.floats;
        area.quadPrisms << stQuadPrism{narrow(f[0]), narrow(f[1]), narrow(f[2]), narrow(f[3]),
                                       narrow(f[4]), narrow(f[5]), p.dig,        p.fill};
    }
    area.dtmCalculated = from.dtmCalculated != 0;
    area.gridCalculated = from.gridCalculated != 0;
}

void fill(VolumeCalcAreaList &list, const VolumeFile &from)
{
    for (const VolumeFile::Area &area : from.areas)
        fill(*list.addArea(area.name), area);
}

TEST_F(VolumeFileTest, IsEightBytesForAnEmptyList)
{
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_EQ(support::readFile(path()).toHex(), QByteArray("0000000200000000"));
    EXPECT_TRUE(m_list.loadFromFile());
    EXPECT_TRUE(m_list.isEmpty());
}

TEST_F(VolumeFileTest, HasTheBytesOfASmallAreaWorkedOutByHand)
{
    VolumeCalcArea *area = m_list.addArea(QStringLiteral("A1"));
    area->groundHeightType = 1;
    area->groundHeight = 1.5F;
    area->maxHeight = 100;
    area->gridSize = 0.25F;
    area->boundary << pcVec3f(1, -2, 0.5F);
    area->gridCalculated = true;
    const QByteArray expected = QByteArray::fromHex("00000002" // version of the list
                                                    "00000001" // areas
                                                    "00000004"
                                                    "00410031" // name
                                                    "00000001" // version of the area
                                                    "00000001" // kind of ground height
                                                    "3ff8000000000000"
                                                    "00000001" // corners
                                                    "3ff0000000000000"
                                                    "c000000000000000"
                                                    "3fe0000000000000"
                                                    "4059000000000000" // height limit
                                                    "3fd0000000000000" // edge of a cell
                                                    "00000000"
                                                    "00000000"
                                                    "00"
                                                    "01");
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_EQ(support::readFile(path()).toHex(), expected.toHex());
}

TEST_F(VolumeFileTest, IsWrittenFieldByField)
{
    const VolumeFile file = sampleFile();
    fill(m_list, file);
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_EQ(support::readFile(path()).toHex(), file.bytes().toHex());
}

TEST_F(VolumeFileTest, IsReadFieldByField)
{
    const QByteArray bytes = sampleFile().bytes();
    EXPECT_TRUE(loads(bytes));
    EXPECT_EQ(contents(m_list).toHex(), bytes.toHex());
}

TEST_F(VolumeFileTest, HoldsItsAreasInTheOrderOfTheirNames)
{
    for (const char *name : {"b", "a", "B", "aa", "10", "9"})
        m_list.addArea(QLatin1String(name));
    EXPECT_TRUE(m_list.saveToFile());
    VolumeFile expected;
    for (const char *name : {"10", "9", "B", "a", "aa", "b"})
        expected.areas.push_back(sampleArea(QLatin1String(name), 0, 0, 0));
    for (VolumeFile::Area &area : expected.areas) {
        const QString name = area.name;
        area = VolumeFile::Area();
        area.name = name;
    }
    EXPECT_EQ(support::readFile(path()).toHex(), expected.bytes().toHex());
}

TEST_F(VolumeFileTest, TellsANullNameFromAnEmptyOne)
{
    for (const QString &name : {QString(), QStringLiteral("")}) {
        m_list.clear();
        m_list.addArea(name);
        EXPECT_TRUE(m_list.saveToFile());
        EXPECT_EQ(support::readFile(path()).mid(8, 4).toHex(), QByteArray(name.isNull() ? "ffffffff" : "00000000"));
        EXPECT_TRUE(m_list.loadFromFile());
        EXPECT_NE(m_list.getArea(name), nullptr);
    }
}

TEST_F(VolumeFileTest, KeepsResultsThatNeedNoNewCalculation)
{
    fill(m_list, sampleFile());
    const QString name = sampleFile().areas[0].name;
    VolumeCalcArea *area = m_list.getArea(name);
    area->gridCalculated = true;
    const double expected[] = {area->getDigVolume_dtm(), area->getFillVolume_dtm(), area->getDigVolume_grid(),
                               area->getFillVolume_grid()};
    EXPECT_TRUE(m_list.saveToFile());

    VolumeCalcAreaList other;
    other.setFile(QDir(m_dir.path()), QStringLiteral("earth.volume"));
    EXPECT_TRUE(other.loadFromFile());
    const VolumeCalcArea *loaded = other.getArea(name);
    ASSERT_NE(loaded, nullptr);
    EXPECT_TRUE(loaded->dtmCalculated && loaded->gridCalculated);
    EXPECT_GT(expected[0], 0.0);
    EXPECT_EQ(loaded->getDigVolume_dtm(), expected[0]);
    EXPECT_EQ(loaded->getFillVolume_dtm(), expected[1]);
    EXPECT_EQ(loaded->getDigVolume_grid(), expected[2]);
    EXPECT_EQ(loaded->getFillVolume_grid(), expected[3]);
}

TEST_F(VolumeFileTest, KeepsPrismsWhoseFlagIsNotSet)
{
    VolumeFile file = sampleFile();
    file.areas[0].dtmCalculated = 0;
    EXPECT_TRUE(loads(file.bytes()));
    const VolumeCalcArea *area = m_list.getArea(file.areas[0].name);
    ASSERT_NE(area, nullptr);
    EXPECT_EQ(area->prisms.size(), 2);
    EXPECT_EQ(area->getDigVolume_dtm(), 0.0);
}

TEST_F(VolumeFileTest, KeepsWhatIsInfiniteOrNoNumber)
{
    VolumeCalcArea *area = m_list.addArea(QStringLiteral("odd"));
    area->groundHeight = std::numeric_limits<float>::quiet_NaN();
    area->maxHeight = std::numeric_limits<float>::infinity();
    area->gridSize = -0.0F;
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_TRUE(m_list.loadFromFile());
    area = m_list.getArea(QStringLiteral("odd"));
    ASSERT_NE(area, nullptr);
    EXPECT_TRUE(std::isnan(area->groundHeight));
    EXPECT_EQ(area->maxHeight, std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::signbit(area->gridSize));
}

TEST_F(VolumeFileTest, OfVersionOneHasFourMoreStrings)
{
    const QByteArray areas = sampleFile().bytes();
    VolumeFile file = sampleFile();
    file.version = 1;
    const QString text = QStringLiteral("of old");
    for (const auto &trailer : {std::vector<QString>{text, QString(), text, QStringLiteral("")},
                                std::vector<QString>{text}, std::vector<QString>{}}) {
        file.trailer = trailer;
        EXPECT_TRUE(loads(file.bytes()));
        EXPECT_EQ(contents(m_list).toHex(), areas.toHex());
    }
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_EQ(support::readFile(path()).toHex(), areas.toHex());
}

TEST_F(VolumeFileTest, OfAnUnknownVersionIsAnEmptyList)
{
    for (const qint32 version : {3, 0, -1, 0x01000000, 0x02000000, 0x7fffffff}) {
        VolumeFile file = sampleFile();
        file.version = version;
        EXPECT_TRUE(loads(file.bytes())) << version;
        EXPECT_TRUE(m_list.isEmpty()) << version;
        EXPECT_TRUE(loads(file.bytes().left(4))) << version;
    }
    EXPECT_TRUE(loads(QByteArray()));
    EXPECT_TRUE(m_list.isEmpty());
}

TEST_F(VolumeFileTest, IgnoresBytesBehindTheAreas)
{
    const QByteArray bytes = sampleFile().bytes();
    EXPECT_TRUE(loads(bytes + "and more"));
    EXPECT_EQ(contents(m_list).toHex(), bytes.toHex());
}

TEST_F(VolumeFileTest, IsRefusedForARecordOfAnotherVersion)
{
    for (const qint32 version : {0, 2, -1, 0x01000000}) {
        for (const std::size_t broken : {0U, 1U}) {
            VolumeFile file = sampleFile();
            file.areas[broken].version = version;
            expectRefused(file.bytes());
            file = sampleFile();
            file.areas[broken].prisms.back().version = version;
            expectRefused(file.bytes());
            file = sampleFile();
            file.areas[broken].quadPrisms.back().version = version;
            expectRefused(file.bytes());
        }
    }
}

TEST_F(VolumeFileTest, ReadsNoRecordsForCountsBelowOne)
{
    VolumeFile file;
    file.areas = {sampleArea(QStringLiteral("none"), 0, 0, 0)};
    file.areas[0].gridCalculated = 1;
    const QByteArray expected = file.bytes();
    for (const qint32 count : {0, -1, std::numeric_limits<qint32>::min()}) {
        file.areas[0].cornerCount = file.areas[0].prismCount = file.areas[0].quadPrismCount = count;
        EXPECT_TRUE(loads(file.bytes())) << count;
        EXPECT_EQ(contents(m_list).toHex(), expected.toHex()) << count;
        VolumeFile noAreas = sampleFile();
        noAreas.areaCount = count;
        EXPECT_TRUE(loads(noAreas.bytes())) << count;
        EXPECT_TRUE(m_list.isEmpty()) << count;
    }
}

TEST_F(VolumeFileTest, OfFewerAreasThanItHoldsGivesTheFirst)
{
    VolumeFile file = sampleFile();
    file.areaCount = 1;
    EXPECT_TRUE(loads(file.bytes()));
    file.areas.pop_back();
    EXPECT_EQ(contents(m_list).toHex(), file.bytes().toHex());
}

TEST_F(VolumeFileTest, GivesTheLastAreaOfANameThatStandsTwice)
{
    VolumeFile file = sampleFile();
    file.areas[0].name = file.areas[1].name;
    EXPECT_TRUE(loads(file.bytes()));
    file.areas.erase(file.areas.begin());
    EXPECT_EQ(contents(m_list).toHex(), file.bytes().toHex());
}

TEST_F(VolumeFileTest, IsRewrittenInPlace)
{
    ASSERT_TRUE(support::writeFile(path(), QByteArray(5000, 'x')));
    QFile before(path());
    ASSERT_TRUE(before.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    fill(m_list, sampleFile());
    EXPECT_TRUE(m_list.saveToFile());
    // Another file put in its place would leave the old one to the one who holds it.
    EXPECT_EQ(before.readAll().toHex(), sampleFile().bytes().toHex());
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList(QStringLiteral("earth.volume")));
}

TEST_F(VolumeFileTest, StaysOnDiskWhenTheListIsRenamed)
{
    EXPECT_TRUE(m_list.saveToFile());
    m_list.rename(QStringLiteral("new.volume"));
    EXPECT_TRUE(QFile::exists(path()));
    EXPECT_FALSE(QFile::exists(path("new.volume")));
    EXPECT_FALSE(m_list.loadFromFile());
    fill(m_list, sampleFile());
    EXPECT_TRUE(m_list.saveToFile());
    EXPECT_EQ(support::readFile(path()).size(), 8);
    EXPECT_EQ(support::readFile(path("new.volume")).toHex(), sampleFile().bytes().toHex());
}

TEST_F(VolumeFileTest, CanBeNamedByAnAbsolutePath)
{
    VolumeCalcAreaList list;
    list.rename(path("absolute.volume"));
    EXPECT_TRUE(list.saveToFile());
    EXPECT_TRUE(QFile::exists(path("absolute.volume")));
}

TEST_F(VolumeFileTest, CanNotBeSavedWhereNoFileCanStand)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("directory")));
    fill(m_list, sampleFile());
    for (const char *name : {"", "directory", "missing/earth.volume"}) {
        m_list.rename(QLatin1String(name));
        EXPECT_FALSE(m_list.saveToFile()) << name;
        EXPECT_EQ(contents(m_list), sampleFile().bytes());
    }
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList(QStringLiteral("directory")));
}

TEST_F(VolumeFileTest, CanNotBeLoadedWhereNoFileStandsAndEmptiesTheList)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("directory")));
    for (const char *name : {"", "directory", "missing", "missing/earth.volume"}) {
        m_list.addArea(QStringLiteral("pit"));
        m_list.rename(QLatin1String(name));
        EXPECT_FALSE(m_list.loadFromFile()) << name;
        EXPECT_TRUE(m_list.isEmpty()) << name;
    }
}

TEST_F(VolumeFileTest, IsTheSameFromACopyOfTheList)
{
    fill(m_list, sampleFile());
    VolumeCalcAreaList copy(m_list);
    copy.rename(QStringLiteral("copy.volume"));
    m_list.getArea(sampleFile().areas[0].name)->groundHeight = 99;
    EXPECT_TRUE(copy.saveToFile());
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_EQ(support::readFile(path("copy.volume")).toHex(), sampleFile().bytes().toHex());
}

TEST_F(VolumeFileTest, LoadedIntoOneListLeavesItsCopiesAlone)
{
    const VolumeCalcArea *area = m_list.addArea(QStringLiteral("pit"));
    VolumeCalcAreaList copy(m_list);
    ASSERT_TRUE(support::writeFile(path(), sampleFile().bytes()));
    EXPECT_TRUE(copy.loadFromFile());
    EXPECT_EQ(m_list.getArea(QStringLiteral("pit")), area);
    EXPECT_EQ(copy.getArea(QStringLiteral("pit")), nullptr);
    EXPECT_EQ(contents(copy), sampleFile().bytes());
}

} // namespace
