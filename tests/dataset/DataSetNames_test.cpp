#include "DataSetDirectory.h"

#include <gtest/gtest.h>

#include <memory>

using namespace ptCloud;
using support::bareDataSet;
using support::DiskState;
using support::diskState;
using support::fullDataSet;
using support::meshBytes;
using support::openContents;
using support::pointsBytes;
using support::sameDisk;

namespace
{

class LongDataSetName : public support::DataSetTest
{
};

/// A name that is no plain name, and that leads nowhere beyond the test's own directory. `%1` stands for the absolute
/// path of the directory with all that a test made.
struct HostileName
{
    const char *name;
    QString text;
};

void PrintTo(const HostileName &hostile, std::ostream *out)
{
    *out << hostile.name;
}

const HostileName hostileNames[] = {
    {"Empty", QString()},
    {"Dot", QStringLiteral(".")},
    {"Parent", QStringLiteral("..")},
    {"BesideTheProject", QStringLiteral("../victim")},
    {"GrandParent", QStringLiteral("../..")},
    {"Absolute", QStringLiteral("%1/victim")},
    {"InASibling", QStringLiteral("sibling/nested")},
    {"InItself", QStringLiteral("site/nested")},
    {"SiblingByADetour", QStringLiteral("site/../sibling")},
    {"ItselfWithASlash", QStringLiteral("site/")},
    {"ItselfWithADot", QStringLiteral("./site")},
    {"NewInASibling", QStringLiteral("sibling/new")},
    {"Nul", QString(QChar(0))},
    {"NulAtTheEnd", QStringLiteral("sibling") + QChar(0)},
    {"Resource", QStringLiteral(":sibling")},
    {"NulWithin", QStringLiteral("sibling") + QChar(0) + QStringLiteral("x")},
};

/// Sound data sets everywhere a hostile name could lead to, with files that a load would sweep and a removal delete.
class HostileDataSetName : public support::DataSetTest, public ::testing::WithParamInterface<HostileName>
{
protected:
    void SetUp() override
    {
        DataSetTest::SetUp();
        for (const QString &directory : {root(), project(), root() + QStringLiteral("/victim"), inProject("sibling"),
                                         inProject("sibling/nested"), inProject("site/nested")}) {
            support::makeDirectory(directory, fullDataSet());
            support::makeDirectory(directory, {{QStringLiteral("canary"), "sings"},
                                               {QStringLiteral("tmp_points"), pointsBytes(3)},
                                               {QStringLiteral("x.mesh"), meshBytes(3)}});
        }
        load(fullDataSet());
        m_before = onDisk();
    }
    void TearDown() override { EXPECT_TRUE(sameDisk(onDisk(), m_before)); }

    QString hostile() const
    {
        QString name = GetParam().text;
        return name.replace(QStringLiteral("%1"), root());
    }

    DiskState m_before;
};

/// Names that look odd and are plain all the same.
class PlainDataSetName : public support::DataSetTest, public ::testing::WithParamInterface<HostileName>
{
};

const HostileName plainNames[] = {
    {"ThreeDots", QStringLiteral("...")},
    {"DotsWithin", QStringLiteral("a..b")},
    {"LeadingDot", QStringLiteral(".hidden")},
    {"BlanksWithin", QStringLiteral("the new site")},
    {"Umlauts", QString(QChar(0xe4)) + QChar(0xdf)},
    {"Chinese", QString(QChar(0x5c71))},
    {"Percent", QStringLiteral("100%1%2")},
    {"LikeAFileOfADataSet", QStringLiteral("tmp_points")},
    {"LikeAnOption", QStringLiteral("-rf")},
    {"Long", QString(200, QLatin1Char('n'))},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Names, HostileDataSetName, ::testing::ValuesIn(hostileNames), support::CaseName());
INSTANTIATE_TEST_SUITE_P(Names, PlainDataSetName, ::testing::ValuesIn(plainNames), support::CaseName());

TEST_P(HostileDataSetName, NamesNoDirectoryForADataSet)
{
    PtCloudDataSet other;
    support::SignalLog log(other);
    other.setDir(project(), hostile());
    EXPECT_EQ(other.getName(), hostile());
    EXPECT_EQ(other.getContent_PointDataSetFile()->getFilepath(), QString());
    EXPECT_FALSE(other.loadFromFile());
    support::expectNoContents(other);
    EXPECT_FALSE(other.saveToFile());
    EXPECT_EQ(std::unique_ptr<PtCloudDataSet>(other.copy(QStringLiteral("twin"))), nullptr);
    EXPECT_EQ(std::unique_ptr<PtCloud_DataSetFile>(other.copyPoints(QStringLiteral("x.mesh"))), nullptr);
    EXPECT_FALSE(other.rename(QStringLiteral("moved")));
    other.updateContent_Points();
    other.removeFile();
    EXPECT_EQ(other.getName(), hostile()) << "nothing was removed, and nothing forgotten";
    EXPECT_EQ(log.take(), QStringList());
}

TEST_F(LongDataSetName, ThatTheDiskRefusesGivesNoPaths)
{
    const QString name(300, QLatin1Char('x'));
    const DiskState before = diskState(root());
    PtCloudDataSet other;
    other.setDir(project(), name);
    EXPECT_EQ(other.getName(), name);
    EXPECT_EQ(other.getContent_PointDataSetFile()->getFilepath(), QString());
    EXPECT_FALSE(other.loadFromFile());
    EXPECT_TRUE(sameDisk(diskState(root()), before));
}

TEST_P(HostileDataSetName, GivesNoPaths)
{
    PtCloudDataSet other;
    other.setDir(project(), hostile());
    EXPECT_EQ(other.getFilePath_Points(), QString());
    EXPECT_EQ(other.getFilePath_Dem_Mesh(), QString());
    EXPECT_EQ(other.getFilePath_Dem_HeightMap(), QString());
    EXPECT_EQ(other.getFilePath_Dem_Contour(), QString());
    EXPECT_EQ(other.getFilePath_Dem_Classify(), QString());
    EXPECT_EQ(other.createEmptyLocatedContent_Points(), QString());
    EXPECT_EQ(other.createEmptyLocatedContent_Dem_Mesh(), QString());
    EXPECT_EQ(other.createEmptyLocatedContent_Dem_HeightMap(), QString());
    EXPECT_EQ(other.createEmptyLocatedContent_Dem_Contour(), QString());
    EXPECT_EQ(other.createEmptyLocatedContent_Dem_Classify(), QString());
    for (const support::ContentFamily &family : support::contentFamilies()) {
        const std::unique_ptr<PtCloud_DataSetFile> file((other.*family.create)(QStringLiteral("new")));
        EXPECT_EQ(file, nullptr);
    }
}

TEST_P(HostileDataSetName, AttachesAndRemovesNoTerrain)
{
    PtCloudDataSet other;
    support::SignalLog log(other);
    other.setDir(project(), hostile());
    other.setContent_Dem_Mesh();
    other.setContent_Dem_HeightMap();
    other.setContent_Dem_Contour();
    other.setContent_Dem_Classify();
    support::expectNoContents(other);
    EXPECT_EQ(other.getContent_Dem_Mesh()->getFilepath(), QString());
    other.removeContent_AllDem();
    EXPECT_EQ(log.take(), QStringList());
}

TEST_P(HostileDataSetName, IsNotCopiedTo)
{
    openAll();
    EXPECT_EQ(std::unique_ptr<PtCloudDataSet>(m_set.copy(hostile())), nullptr);
    EXPECT_EQ(openContents(m_set).size(), 9);
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(HostileDataSetName, IsNotRenamedToAndEverythingIsClosed)
{
    openAll();
    EXPECT_FALSE(m_set.rename(hostile()));
    EXPECT_EQ(openContents(m_set), QStringList());
    EXPECT_TRUE(m_set.getContent_Dem_Contour()->contourGroup1().isEmpty());
    EXPECT_EQ(m_set.getName(), QStringLiteral("site"));
    EXPECT_EQ(m_set.getContent_PointDataSetFile()->getFilepath(), path("Points"));
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(HostileDataSetName, NamesNoFileForACopyOfThePoints)
{
    ASSERT_TRUE(m_set.getContent_PointDataSetFile()->openFile());
    for (const QString &name : {hostile(), QStringLiteral("../canary"), QStringLiteral("nested/canary"),
                                QStringLiteral("./roof.mesh"), inProject("canary")})
        EXPECT_EQ(std::unique_ptr<PtCloud_DataSetFile>(m_set.copyPoints(name)), nullptr);
    EXPECT_FALSE(m_set.getContent_PointDataSetFile()->isOpened());
}

TEST_P(HostileDataSetName, NamesNoContent)
{
    for (const support::ContentFamily &family : support::contentFamilies()) {
        EXPECT_EQ(std::unique_ptr<PtCloud_DataSetFile>((m_set.*family.create)(hostile())), nullptr);
        const auto before = *(m_set.*family.files)();
        const auto file = std::make_unique<PtCloud_DataSetFile>();
        (m_set.*family.add)(hostile(), file.get());
        EXPECT_EQ(*(m_set.*family.files)(), before);
        (m_set.*family.remove)(hostile());
        EXPECT_EQ(*(m_set.*family.files)(), before);
    }
    EXPECT_EQ(m_signals.take(), QStringList());
}

TEST_P(PlainDataSetName, ServesForADataSetAndItsContents)
{
    const QString name = GetParam().text;
    load(fullDataSet());
    const std::unique_ptr<PtCloudDataSet> twin(m_set.copy(name));
    ASSERT_NE(twin, nullptr);
    EXPECT_TRUE(sameDisk(diskState(project() + QLatin1Char('/') + name), fullDataSet()));
    PtCloud_DataSetFile *mesh = twin->createEmptyLocatedContent_Mesh(name);
    ASSERT_NE(mesh, nullptr);
    twin->addContent_Mesh(name, mesh);
    EXPECT_EQ(twin->getContent_Meshs()->value(name), mesh);
    ASSERT_TRUE(twin->rename(name + QStringLiteral("+")));
    ASSERT_TRUE(twin->rename(name));
    twin->removeFile();
    EXPECT_FALSE(QFileInfo::exists(project() + QLatin1Char('/') + name));
    EXPECT_TRUE(sameDisk(inSite(), fullDataSet()));
}
