// A project of a thousand data sets: nothing gets lost among so many.

#include "ProjectTesting.h"

using namespace ptCloud;
using support::Names;
using support::registriesOf;

namespace
{

constexpr int count = 1000;

class ManyDataSets : public support::ProjectTest
{
protected:
    void SetUp() override
    {
        ProjectTest::SetUp();
        ASSERT_TRUE(load(full()));
    }

    static QString name(const char *prefix, int number) { return QLatin1String(prefix) + QString::number(number); }
    PtCloud_Controller &controller() { return *m_project.getController(); }
    void copyAbc()
    {
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(controller().doCmd_DataSet_Copy({QStringLiteral("abc"), name("copy", i)}), ActResult_Success);
    }
    static Names withAll(Names names, const char *prefix)
    {
        for (int i = 0; i < count; ++i)
            names[name(prefix, i)] = name(prefix, i);
        return names;
    }
    QStringList directories() const
    {
        return QDir(directory()).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    }
};

} // namespace

TEST_F(ManyDataSets, AreAllFoundByTheirNamesAndAgainInASavedProject)
{
    copyAbc();
    const Names expected = withAll(allDataSets(), "copy");
    for (const int number : {0, 1, count / 2, count - 1})
        EXPECT_EQ(controller().doCmd_DataSet_Copy({QStringLiteral("abc"), name("COPY", number)}), ActResult_NameExists);
    expectRegistries(allLasFiles(), expected);
    ASSERT_TRUE(m_project.save(directory(), nullptr));

    PtCloud_Project opened;
    ASSERT_TRUE(opened.loadProject(directory(), nullptr));
    EXPECT_EQ(registriesOf(opened).dataSets, expected);
    const QMap<QString, const PtCloudDataSet *> dataSets = opened.getController()->getDataSets();
    ASSERT_EQ(dataSets.size(), expected.size());
    for (auto it = dataSets.cbegin(); it != dataSets.cend(); ++it) {
        EXPECT_EQ(opened.getController()->getDataSet(it.key()), *it);
        EXPECT_EQ((*it)->getName(), expected[it.key()]);
        EXPECT_TRUE((*it)->getContent_PointDataSetFile()->isValid());
    }
}

TEST_F(ManyDataSets, AreRenamedMergedAndRemovedOneByOne)
{
    copyAbc();
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(controller().doCmd_DataSet_Rename({name("copy", i), name("set", i)}), ActResult_Success);
    expectRegistries(allLasFiles(), withAll(allDataSets(), "set"));

    // All sources are open at a time: fewer than a process may have.
    QSet<QString> sources;
    for (int i = 0; i < count / 4; ++i)
        sources.insert(name("set", i));
    EXPECT_EQ(controller().doCmd_DataSet_Merge({sources, QStringLiteral("all"), false}), ActResult_Success);
    PtCloud_DataSetFile &merged = *controller().getDataSetReader(QStringLiteral("all"));
    ASSERT_TRUE(merged.openFile());
    EXPECT_EQ(merged.getBlockInfos().size(), sources.size());
    merged.closeFile();

    for (int i = 0; i < count; ++i)
        ASSERT_EQ(controller().doCmd_DataSet_Remove({name("set", i)}), ActResult_Success);
    EXPECT_EQ(directories(), (QStringList{QStringLiteral("abc"), QStringLiteral("all"), QStringLiteral("zed")}));
}
