#include "ControllerTesting.h"

#include <memory>

using namespace ptCloud;

namespace
{

using Names = QMap<QString, QString>;

class DataSetRegistry : public support::ControllerTest
{
protected:
    DataSetRegistry() { m_controller.setDir(m_dir.path()); }

    void registerOne()
    {
        dataSetDirectory(QStringLiteral("one"));
        m_controller.setFiles({}, {{QStringLiteral("one"), QStringLiteral("one")}}, {});
        ASSERT_NE(m_controller.getDataSet(QStringLiteral("one")), nullptr);
    }
};

} // namespace

TEST_F(DataSetRegistry, IsRestoredFromNamesAndDirectories)
{
    dataSetDirectory(QStringLiteral("one"), 3);
    dataSetDirectory(QStringLiteral("two"), 5);
    m_controller.setFiles(
        {}, {{QStringLiteral("first"), QStringLiteral("one")}, {QStringLiteral("two"), QStringLiteral("two")}}, {});
    EXPECT_FALSE(m_controller.isDataSetEmpty());
    PtCloudDataSet *first = m_controller.getDataSet(QStringLiteral("first"));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->getName(), QStringLiteral("one"));
    EXPECT_EQ(m_controller.getDataSet(QStringLiteral("one")), nullptr);
    EXPECT_EQ(m_controller.getDataSet(QStringLiteral("First")), nullptr);

    const auto all = m_controller.getDataSets();
    EXPECT_EQ(all.keys(), (QStringList{QStringLiteral("first"), QStringLiteral("two")}));
    EXPECT_EQ(all.value(QStringLiteral("first")), first);
    EXPECT_EQ(m_controller.getDataSetReader(QStringLiteral("first")), first->getContent_PointDataSetFile());
    EXPECT_EQ(m_controller.getDataSetReader(QStringLiteral("one")), nullptr);
    EXPECT_TRUE(m_signals.isEmpty());
}

TEST_F(DataSetRegistry, AddsItsNamesToWhatIsThere)
{
    dataSetDirectory(QStringLiteral("one"));
    m_controller.setFiles({}, {{QStringLiteral("first"), QStringLiteral("one")}}, {});
    Names names{{QStringLiteral("old"), QStringLiteral("entry")}};
    Names paths = names;
    m_controller.getDataSetFileNames(names);
    m_controller.getDataSetFilepaths(paths);
    EXPECT_EQ(names, (Names{{QStringLiteral("old"), QStringLiteral("entry")},
                            {QStringLiteral("first"), QStringLiteral("one")}}));
    EXPECT_EQ(paths, (Names{{QStringLiteral("old"), QStringLiteral("entry")}, {QStringLiteral("first"), path("one")}}));
}

TEST_F(DataSetRegistry, LeavesOutWhatDoesNotLoad)
{
    dataSetDirectory(QStringLiteral("sound"));
    ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("damaged")));
    ASSERT_TRUE(support::writeFile(path("damaged/Points"), "no data set file"));
    ASSERT_TRUE(support::writeFile(path("damaged/note"), "kept"));
    m_controller.setFiles({},
                          {{QStringLiteral("a"), QStringLiteral("damaged")},
                           {QStringLiteral("b"), QStringLiteral("missing")},
                           {QStringLiteral("c"), QStringLiteral("sound")},
                           {QStringLiteral("d"), QStringLiteral("..")},
                           {QStringLiteral("e"), QString()}},
                          {});
    EXPECT_EQ(m_controller.getDataSets().keys(), QStringList(QStringLiteral("c")));
    EXPECT_EQ(support::readFile(path("damaged/Points")), "no data set file");
    EXPECT_EQ(support::readFile(path("damaged/note")), "kept");
    // A directory that is named is made, and stays, empty.
    EXPECT_TRUE(QDir(path("missing")).exists());
    EXPECT_TRUE(QDir(path("missing")).isEmpty());
}

TEST_F(DataSetRegistry, KeepsLasFilesThatAreThere)
{
    const QString file = lasFile("las/a.las");
    ASSERT_TRUE(support::writeFile(path("las/b.las"), "looked at by name alone"));
    m_controller.setFiles({{QStringLiteral("x"), file},
                           {QStringLiteral("y"), path("las/b.las")},
                           {QStringLiteral("z"), path("las/gone.las")},
                           {QStringLiteral("d"), path("las")}},
                          {}, {});
    EXPECT_EQ(lasFiles(), (Names{{QStringLiteral("x"), file}, {QStringLiteral("y"), path("las/b.las")}}));
    EXPECT_TRUE(m_signals.isEmpty());
}

TEST_F(DataSetRegistry, DeletesEveryPlainFileThatIsNotKept)
{
    dataSetDirectory(QStringLiteral("directory"));
    for (const char *name : {"stray", "stray.txt", "Keep.Proj", "other.las"})
        ASSERT_TRUE(support::writeFile(path(name), name));
    m_controller.setFiles({}, {}, {QStringLiteral("KEEP.PROJ"), QStringLiteral("absent")});
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::Files), QStringList(QStringLiteral("Keep.Proj")));
    EXPECT_TRUE(QFile::exists(path("directory/Points")));

    m_controller.setFiles({}, {}, {});
    EXPECT_TRUE(QDir(m_dir.path()).entryList(QDir::Files).isEmpty());
    EXPECT_TRUE(QFile::exists(path("directory/Points")));
}

TEST_F(DataSetRegistry, EmptiesAndDeletesNothingWithoutADirectory)
{
    registerOne();
    ASSERT_EQ(import(lasFile("las/a.las")), ActResult_Success);
    ASSERT_TRUE(support::writeFile(path("stray"), "stray"));
    m_controller.setDir(QString());
    m_controller.setFiles({{QStringLiteral("x"), path("las/a.las")}}, {{QStringLiteral("one"), QStringLiteral("one")}},
                          {});
    EXPECT_TRUE(m_controller.isDataSetEmpty());
    EXPECT_TRUE(lasFiles().isEmpty());
    EXPECT_TRUE(QFile::exists(path("stray")));
}

TEST_F(DataSetRegistry, ClosesPointFilesAtAResetAndKeepsThem)
{
    registerOne();
    PtCloud_DataSetFile *points = m_controller.getDataSetReader(QStringLiteral("one"));
    ASSERT_TRUE(points->openFile());
    m_controller.reset();
    EXPECT_FALSE(points->isOpened());
    EXPECT_FALSE(m_controller.isDataSetEmpty());
}

TEST_F(DataSetRegistry, KeepsADroppedDataSetAliveAndClosed)
{
    registerOne();
    PtCloudDataSet *dropped = m_controller.getDataSet(QStringLiteral("one"));
    PtCloud_DataSetFile *points = dropped->getContent_PointDataSetFile();
    ASSERT_TRUE(points->openFile());
    m_controller.setFiles({}, {}, {});
    EXPECT_TRUE(m_controller.isDataSetEmpty());
    EXPECT_FALSE(points->isOpened());
    EXPECT_EQ(dropped->getName(), QStringLiteral("one"));
    EXPECT_TRUE(QFile::exists(path("one/Points")));
    EXPECT_TRUE(points->openFile());
}

TEST_F(DataSetRegistry, GoesWithTheController)
{
    dataSetDirectory(QStringLiteral("one"));
    auto controller = std::make_unique<PtCloud_Controller>();
    controller->setDir(m_dir.path());
    controller->setFiles({}, {{QStringLiteral("one"), QStringLiteral("one")}}, {});
    bool isGone = false;
    QObject::connect(controller->getDataSet(QStringLiteral("one")), &QObject::destroyed, [&isGone] { isGone = true; });
    controller->setFiles({}, {}, {});
    EXPECT_FALSE(isGone);
    controller.reset();
    EXPECT_TRUE(isGone);
    EXPECT_TRUE(QFile::exists(path("one/Points")));
}

TEST_F(DataSetRegistry, IsReplacedByEachRestore)
{
    registerOne();
    const PtCloudDataSet *before = m_controller.getDataSet(QStringLiteral("one"));
    m_controller.setFiles({}, {{QStringLiteral("one"), QStringLiteral("one")}}, {});
    EXPECT_NE(m_controller.getDataSet(QStringLiteral("one")), nullptr);
    EXPECT_NE(m_controller.getDataSet(QStringLiteral("one")), before);
}

TEST_F(DataSetRegistry, LeavesFilesBehindLinksAlone)
{
    const QTemporaryDir elsewhere;
    const QString far = elsewhere.filePath(QStringLiteral("far"));
    ASSERT_TRUE(support::writeFile(far, "far"));
    ASSERT_TRUE(QFile::link(far, path("link")));
    m_controller.setFiles({}, {}, {});
    EXPECT_EQ(support::readFile(far), "far");
    EXPECT_FALSE(QFileInfo(path("link")).isSymLink());
}
