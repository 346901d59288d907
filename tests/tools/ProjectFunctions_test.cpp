#include "FunctionCommandTesting.h"

#include <ostream>
#include <string>

using support::bareDataSet;
using support::DiskState;
using support::meshBytes;
using support::pictureBytes;
using support::pointsBytes;
using support::readFile;
using support::sameDisk;
using support::words;
using support::writeFile;

namespace
{

using FunctionResults = support::FunctionCommandTest;

/// A command of each kind.
struct Command
{
    const char *name;
    const char *line;
    const char *file; ///< what the worker makes, in the project; empty: all terrain products
};

void PrintTo(const Command &command, std::ostream *out)
{
    *out << command.line;
}

const Command commands[] = {{"Mesh", "mesh site new --method alpha", "site/new.mesh"},
                            {"Split", "split site new --method dbscan", "site/new.split"},
                            {"Sample", "sample site", "site/tmp_points"},
                            {"SampleAsACopy", "sample site --as thin", "thin/tmp_points"},
                            {"Terrain", "dem site", ""},
                            {"TerrainOnlyContours", "dem site --only contours", "site/dem.contour"}};

/// Runs that come to nothing, after which the project is as before.
class FailedFunctions : public support::FunctionCommandTest, public ::testing::WithParamInterface<Command>
{
protected:
    void SetUp() override
    {
        FunctionCommandTest::SetUp();
        m_before = stateOfProject();
    }
    std::unique_ptr<support::HostProcess> startCommand() const { return startForJson(GetParam().line); }
    /// The copy of the project file tells what stood there before the last save, which may be the one that undid all.
    DiskState stateOfProject() const
    {
        DiskState state = onDisk();
        state.remove(QStringLiteral("project/.ptcloud/points_cloud.pcproj"));
        return state;
    }
    void expectNothingLeft() const
    {
        EXPECT_TRUE(sameDisk(stateOfProject(), m_before));
#ifdef Q_OS_LINUX
        EXPECT_EQ(workers(), QList<qint64>());
#endif
        EXPECT_EQ(dataSets(), words("other site"));
    }

    DiskState m_before;
};

/// The terrain products as files of the project.
DiskState terrain()
{
    return {{QStringLiteral("site/dem.demmesh"), meshBytes(3)},
            {QStringLiteral("site/dem.height.png"), pictureBytes(6)},
            {QStringLiteral("site/dem.contour"), support::sampleContours().bytes()},
            {QStringLiteral("site/dem.classify"), pointsBytes(4)}};
}

/// Sound bytes for a file that a worker makes.
QByteArray contentOf(const QString &file)
{
    return terrain().value(file, meshBytes(3));
}

class TerrainFunction : public support::FunctionCommandTest
{
protected:
    /// Expects the settings of a run that makes some of the products, by their files.
    void expectSettings(const char *destination, const QStringList &products, const char *pixels,
                        const char *contours) const
    {
        const auto file = [&](const char *name) {
            const QString product = QString::fromUtf8(name);
            return products.contains(product) ? inProject("site/") + product : QString();
        };
        const QMap<QString, QString> expected = {{key("function"), QStringLiteral("3")},
                                                 {key("source_filepath"), inProject("site/Points")},
                                                 {key("dest_filepath"), file(destination)},
                                                 {key("meshAbsFilepath"), file("dem.demmesh")},
                                                 {key("heightMapAbsFilepath"), file("dem.height.png")},
                                                 {key("largePixels"), QString::fromUtf8(pixels)},
                                                 {key("contourAbsFilepath"), file("dem.contour")},
                                                 {key("contourPeace"), QString::fromUtf8(contours)},
                                                 {key("treeClassifyAbsFilepath"), file("dem.classify")}};
        EXPECT_EQ(settings(), expected);
    }
    /// Which of the products the data set has, as their keys.
    QStringList attached() const
    {
        const QJsonObject told = json("info site");
        QStringList keys;
        for (const char *product : {"demMesh", "heightMap", "contours", "demClassify"}) {
            const QString name = QString::fromUtf8(product);
            EXPECT_TRUE(told.contains(name)) << product;
            if (!told.value(name).isNull())
                keys << name;
        }
        return keys;
    }
};

int number(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toInt(-1);
}

} // namespace

TEST_F(FunctionResults, AMeshIsAttachedUnderItsName)
{
    const QJsonObject told = make("mesh site hall --method alpha", {{QStringLiteral("site/hall.mesh"), meshBytes(7)}});
    EXPECT_EQ(told.value(QStringLiteral("name")).toString(), QStringLiteral("hall"));
    EXPECT_EQ(number(told, "points"), 7);
    EXPECT_EQ(number(told, "triangles"), 1);
    EXPECT_EQ(number(told, "blocks"), 1);
    const QJsonArray meshes = listed(QStringLiteral("meshes"), "info site");
    EXPECT_EQ(support::namesIn(meshes), words("hall roof wall"));
    EXPECT_EQ(number(support::rowOf(meshes, QStringLiteral("hall")), "points"), 7);
    EXPECT_EQ(readFile(inProject("site/hall.mesh")), meshBytes(7));
    EXPECT_EQ(readFile(inProject("site/Points")), pointsBytes(10));
}

TEST_F(FunctionResults, ASplitIsAttachedUnderItsName)
{
    const QJsonObject told =
        make("split site east --method dbscan", {{QStringLiteral("site/east.split"), pointsBytes(9)}});
    EXPECT_EQ(told.value(QStringLiteral("name")).toString(), QStringLiteral("east"));
    EXPECT_EQ(number(told, "points"), 9);
    const QJsonArray splits = listed(QStringLiteral("splits"), "info site");
    EXPECT_EQ(support::namesIn(splits), words("east north south"));
    EXPECT_EQ(number(support::rowOf(splits, QStringLiteral("east")), "points"), 9);
    EXPECT_EQ(readFile(inProject("site/east.split")), pointsBytes(9));
}

TEST_F(FunctionResults, MeshesAndSplitsHaveNamesOfTheirOwn)
{
    make("split site roof --method kmeans", {{QStringLiteral("site/roof.split"), pointsBytes(9)}});
    make("mesh site north --method alpha", {{QStringLiteral("site/north.mesh"), meshBytes(8)}});
    EXPECT_EQ(support::namesIn(listed(QStringLiteral("splits"), "info site")), words("north roof south"));
    EXPECT_EQ(support::namesIn(listed(QStringLiteral("meshes"), "info site")), words("north roof wall"));
}

TEST_F(FunctionResults, ANameOfSeveralWordsIsKept)
{
    script("copy");
    const QString name = QString::fromUtf8("große Halle, Süd");
    const QStringList line = {QStringLiteral("mesh"), QStringLiteral("site"), name, QStringLiteral("--method"),
                              QStringLiteral("alpha")};
    const auto host = start(line);
    EXPECT_EQ(host->finish(), 0) << host->errors().constData();
    EXPECT_EQ(settings().value(key("dest_filepath")), inProject("site/") + name + QStringLiteral(".mesh"));
    EXPECT_TRUE(support::namesIn(listed(QStringLiteral("meshes"), "info site")).contains(name));
}

TEST_F(FunctionResults, ASampleTakesThePlaceOfThePoints)
{
    const QJsonObject told = make("sample site", {{QStringLiteral("site/tmp_points"), pointsBytes(3)}});
    EXPECT_EQ(number(told, "points"), 3);
    EXPECT_EQ(readFile(inProject("site/Points")), pointsBytes(3));
    DiskState expected = support::fullDataSet();
    expected[QStringLiteral("Points")] = pointsBytes(3);
    for (const char *product : terrainFiles)
        expected.remove(QString::fromUtf8(product));
    EXPECT_TRUE(sameDisk(support::diskState(inProject("site")), expected));
    EXPECT_EQ(dataSets(), words("other site"));
}

TEST_F(FunctionResults, ASampleOfAnotherNameIsADataSetBesideTheFirst)
{
    const QJsonObject told = make("sample site --as thin", {{QStringLiteral("thin/tmp_points"), pointsBytes(3)}});
    EXPECT_EQ(told.value(QStringLiteral("name")).toString(), QStringLiteral("thin"));
    EXPECT_EQ(number(told, "points"), 3);
    EXPECT_EQ(settings().value(key("dest_filepath")), inProject("thin/tmp_points"));
    EXPECT_EQ(readFile(inProject("site/Points")), pointsBytes(10));
    EXPECT_EQ(readFile(inProject("thin/Points")), pointsBytes(3));
    EXPECT_FALSE(QFileInfo::exists(inProject("thin/tmp_points")));
    EXPECT_EQ(dataSets(), words("other site thin"));
    EXPECT_TRUE(recorded().dataSets.contains(QStringLiteral("thin")));
}

TEST_F(FunctionResults, TheWorkersMessageAndProgressAreShown)
{
    script("text carving the shape; value 128; await go; text closing holes; value 255; copy");
    const auto host = startForJson("mesh site new --method alpha");
    EXPECT_TRUE(host->tells("50 %  carving the shape")) << host->errors().constData();
    EXPECT_TRUE(writeFile(besideScript("go"), {}));
    EXPECT_EQ(host->finish(), 0) << host->errors().constData();
    EXPECT_TRUE(host->errors().contains("100 %  closing holes")) << host->errors().constData();
    EXPECT_TRUE(host->errorLines().isEmpty()) << host->errors().constData();
    EXPECT_EQ(number(host->json(), "points"), 10) << host->output().constData();
}

TEST_F(FunctionResults, AreToldInWordsToo)
{
    script("copy");
    const auto host = start("mesh site new --method alpha");
    EXPECT_EQ(host->finish(), 0);
    EXPECT_TRUE(host->output().contains("new")) << host->output().constData();
    EXPECT_TRUE(host->output().contains("10 points")) << host->output().constData();
    EXPECT_TRUE(host->json().isEmpty());
}

TEST_F(FunctionResults, TakeNoNameThatIsTaken)
{
    expectNoRun("mesh site roof --method alpha", "ActResult_NameExists", "\"roof\"");
    expectNoRun("split site north --method dbscan", "ActResult_NameExists", "\"north\"");
    expectNoRun("sample site --as other", "ActResult_NameExists", "other");
    expectNoRun("sample site --as OTHER", "ActResult_NameExists", "OTHER");
    expectNoRun("sample site --as site", "ActResult_NameExists", "site");
}

TEST_F(FunctionResults, TakeNoNameThatIsNotPlain)
{
    const DiskState before = onDisk();
    for (const char *line :
         {"mesh site ../new --method alpha", "mesh site a/b --method alpha", "mesh site /new --method alpha",
          "split site ../new --method dbscan", "split site a/b --method dbscan", "split site /new --method dbscan",
          "sample site --as ..", "sample site --as ../new", "sample site --as a/b", "sample site --as /new"}) {
        SCOPED_TRACE(line);
        const auto host = startForJson(line);
        EXPECT_EQ(host->finish(), 1);
        EXPECT_EQ(host->errorLines().size(), 1) << host->errors().constData();
        EXPECT_TRUE(settings().isEmpty());
        EXPECT_TRUE(sameDisk(onDisk(), before));
    }
    expectNoRun("sample site --as .ptcloud", "", ".ptcloud");
}

TEST_F(FunctionResults, TakeNoEmptyName)
{
    for (const char *line : {"mesh site @ --method alpha", "split site @ --method dbscan", "sample site --as @"}) {
        SCOPED_TRACE(line);
        const DiskState before = onDisk();
        script("copy");
        QStringList arguments = words(line);
        arguments[arguments.indexOf(QStringLiteral("@"))] = QString();
        EXPECT_GT(start(arguments)->finish(), 0);
        EXPECT_TRUE(settings().isEmpty());
        EXPECT_TRUE(sameDisk(onDisk(), before));
    }
}

TEST_F(FunctionResults, NeedADataSetOfTheProject)
{
    expectNoRun("mesh nosuch new --method alpha", "ActResult_NotFound", "nosuch");
    expectNoRun("split SITE new --method dbscan", "ActResult_NotFound", "SITE");
    expectNoRun("sample nosuch", "ActResult_NotFound", "nosuch");
    expectNoRun("sample nosuch --as thin", "ActResult_NotFound", "nosuch");
    expectNoRun("dem nosuch", "ActResult_NotFound", "nosuch");
}

TEST_F(FunctionResults, AreNotLookedForInADirectoryThatIsNoProject)
{
    ASSERT_TRUE(QFile::remove(projectFile()));
    expectNoRun("mesh site new --method alpha", "", "project");
    expectNoRun("dem site", "", "project");
}

TEST_P(FailedFunctions, TellTheWorkersLastMessage)
{
    script("write half of it; value 40; text too few points; exit 11");
    expectFailure(*startCommand(), "ActResult_WorkerFailed", "too few points");
    expectNothingLeft();
}

TEST_P(FailedFunctions, TellOfACrash)
{
    script("write half of it; die");
    expectFailure(*startCommand(), "ActResult_WorkerCrashed", "worker");
    expectNothingLeft();
}

TEST_P(FailedFunctions, TellThatThereIsNoWorker)
{
    removeWorker();
    expectFailure(*startCommand(), "ActResult_WorkerNotStarted", "open3d_wrapper");
    expectNothingLeft();
}

TEST_P(FailedFunctions, TellThatTheWorkerMadeNothing)
{
    script("text all done; exit 0");
    const auto host = startCommand();
    EXPECT_EQ(host->finish(), 1) << host->output().constData();
    EXPECT_EQ(host->errorLines().size(), 1) << host->errors().constData();
    expectNothingLeft();
}

TEST_P(FailedFunctions, TellThatTheResultIsNoneThatCanBeRead)
{
    script("write half of it; exit 0");
    const auto host = startCommand();
    EXPECT_EQ(host->finish(), 1) << host->output().constData();
    EXPECT_EQ(host->errorLines().size(), 1) << host->errors().constData();
    expectNothingLeft();
}

#ifdef Q_OS_LINUX

TEST_P(FailedFunctions, AreCancelledByCtrlC)
{
    script("write half of it; text half way; value 128; touch running; hang");
    const auto host = startCommand();
    ASSERT_TRUE(host->makes(besideScript("running"))) << host->errors().constData();
    EXPECT_EQ(workers().size(), 1);
    ASSERT_EQ(::kill(static_cast<pid_t>(host->processId()), SIGINT), 0);
    expectFailure(*host, "ActResult_Cancelled", "cancelled");
    expectNothingLeft();
}

TEST_P(FailedFunctions, AreCancelledByCtrlCWhileTheWorkerIsAboutToStart)
{
    script("write half of it; hang");
    const auto host = startCommand();
    ASSERT_TRUE(host->makes(settingsFile())) << host->errors().constData();
    ASSERT_EQ(::kill(static_cast<pid_t>(host->processId()), SIGINT), 0);
    expectFailure(*host, "ActResult_Cancelled", "cancelled");
    expectNothingLeft();
}

TEST_P(FailedFunctions, AreCancelledByCtrlCThatTheWorkerGetsAsWell)
{
    script("write half of it; touch running; hang");
    const auto host = startCommand();
    ASSERT_TRUE(host->makes(besideScript("running"))) << host->errors().constData();
    const QList<qint64> worker = workers();
    ASSERT_EQ(worker.size(), 1);
    ASSERT_EQ(::kill(static_cast<pid_t>(host->processId()), SIGINT), 0);
    ASSERT_EQ(::kill(static_cast<pid_t>(worker.first()), SIGINT), 0);
    expectFailure(*host, "ActResult_Cancelled", "cancelled");
    expectNothingLeft();
}

#endif

TEST_P(FailedFunctions, MayBeRunOnceMore)
{
    script("write half of it; exit 11");
    EXPECT_EQ(startCommand()->finish(), 1);
    script("write half of it; die");
    EXPECT_EQ(startCommand()->finish(), 1);
    const QString file = QString::fromUtf8(GetParam().file);
    EXPECT_FALSE(make(GetParam().line, file.isEmpty() ? terrain() : DiskState{{file, contentOf(file)}}).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Project, FailedFunctions, ::testing::ValuesIn(commands), support::CaseName());

TEST_F(TerrainFunction, MakesAllProducts)
{
    const QJsonObject told = make("dem site", terrain());
    expectSettings("dem.demmesh", words("dem.demmesh dem.height.png dem.contour dem.classify"), "1024", "20");
    EXPECT_EQ(attached(), words("demMesh heightMap contours demClassify"));
    EXPECT_EQ(told, json("info site"));
    EXPECT_EQ(number(told.value(QStringLiteral("demMesh")).toObject(), "points"), 3);
    EXPECT_EQ(number(told.value(QStringLiteral("demClassify")).toObject(), "points"), 4);
    EXPECT_EQ(number(told.value(QStringLiteral("heightMap")).toObject(), "height"), 6);
    const DiskState files = terrain();
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        EXPECT_EQ(readFile(project() + QLatin1Char('/') + it.key()), *it) << it.key().toStdString();
}

TEST_F(TerrainFunction, TakesTheSizeOfTheMapAndTheNumberOfHeights)
{
    make("dem site --pixels 300 --contours 7", terrain());
    expectSettings("dem.demmesh", words("dem.demmesh dem.height.png dem.contour dem.classify"), "300", "7");
}

TEST_F(TerrainFunction, MakesOneProductAlone)
{
    struct Single
    {
        const char *line;
        const char *file;
        const char *key;
    };
    QStringList there;
    for (const Single &single : {Single{"dem site --only height-map", "dem.height.png", "heightMap"},
                                 Single{"dem site --only contours", "dem.contour", "contours"},
                                 Single{"dem site --only classes", "dem.classify", "demClassify"},
                                 Single{"dem site --only mesh", "dem.demmesh", "demMesh"}}) {
        SCOPED_TRACE(single.line);
        const QString file = QStringLiteral("site/") + QLatin1String(single.file);
        make(single.line, {{file, terrain().value(file)}});
        expectSettings(single.file, {QString::fromUtf8(single.file)}, "1024", "20");
        there << QString::fromUtf8(single.key);
        there.sort();
        QStringList told = attached();
        told.sort();
        EXPECT_EQ(told, there);
    }
}

TEST_F(TerrainFunction, MakesSomeOfTheProducts)
{
    DiskState files = terrain();
    files.remove(QStringLiteral("site/dem.demmesh"));
    files.remove(QStringLiteral("site/dem.contour"));
    make("dem site --only classes,height-map", files);
    expectSettings("dem.height.png", words("dem.height.png dem.classify"), "1024", "20");
    EXPECT_EQ(attached(), words("heightMap demClassify"));
}

TEST_F(TerrainFunction, ReplacesEarlierProducts)
{
    make("dem site", terrain());
    DiskState files = terrain();
    files[QStringLiteral("site/dem.demmesh")] = meshBytes(8);
    files[QStringLiteral("site/dem.height.png")] = pictureBytes(9);
    const QJsonObject told = make("dem site", files);
    EXPECT_EQ(number(told.value(QStringLiteral("demMesh")).toObject(), "points"), 8);
    EXPECT_EQ(number(told.value(QStringLiteral("heightMap")).toObject(), "height"), 9);
}

TEST_F(TerrainFunction, ThatFailsPutsBackWhatStandsBesideTheHeightMap)
{
    const QString beside = inProject("site/.dem.height.png.json");
    make("dem site", terrain());
    ASSERT_TRUE(writeFile(beside, "{}"));
    script("touch running; await go; exit 7");
    const auto host = startForJson("dem site");
    ASSERT_TRUE(host->makes(besideScript("running"))) << host->errors().constData();
    EXPECT_TRUE(writeFile(beside, "of the run that fails"));
    EXPECT_TRUE(writeFile(besideScript("go"), {}));
    EXPECT_EQ(host->finish(), 1);
    EXPECT_EQ(readFile(beside), "{}");
}

TEST_F(TerrainFunction, ThatFailsLeavesNoHalfProduct)
{
    make("dem site", terrain());
    script("write half of it; text out of memory; exit 7");
    expectFailure(*startForJson("dem site"), "ActResult_WorkerFailed", "out of memory");
    // The earlier mesh may be there or not, but nothing in between.
    const QByteArray mesh = readFile(inProject("site/dem.demmesh"));
    EXPECT_TRUE(mesh == meshBytes(3) || !QFileInfo::exists(inProject("site/dem.demmesh"))) << mesh.constData();
    EXPECT_EQ(readFile(inProject("site/dem.classify")), pointsBytes(4));
}
