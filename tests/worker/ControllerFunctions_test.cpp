// All functions of this project's worker, through the controller: what comes out, what the host is shown meanwhile, and
// what becomes of a run that is cancelled.

#include "BlockWatcher.h"
#include "ControllerWorkerTesting.h"

#include "LasFile.h"
#include "PtCloud_ContourFile.h"

#include <QImage>
#include <QJsonDocument>

#include <set>

#ifdef Q_OS_LINUX
#include <csignal>
#endif

using namespace ptCloud;
using namespace support;

namespace
{

/// What a function makes of the points, as far as they tell it beforehand.
class WorkerProducts : public ControllerWorkerTest
{
protected:
    /// Expects that the file is one of the function's products, and whole.
    void expectWhole(const WorkerFunction &function, const QString &path)
    {
        switch (function.product) {
        case Product::Mesh:
            expectMesh(path);
            break;
        case Product::Split:
            expectSplit(function, path);
            break;
        case Product::Sample:
            EXPECT_EQ(inFile(path).points, std::lround(pointCount() * sampledPercent / 100));
            break;
        case Product::Terrain:
            expectPartOfTerrain(path);
            break;
        }
    }
    QStringList terrainFiles()
    {
        const QString map = site().createEmptyLocatedContent_Dem_HeightMap();
        const QFileInfo place(map);
        return {site().createEmptyLocatedContent_Dem_Mesh(), map, site().createEmptyLocatedContent_Dem_Contour(),
                site().createEmptyLocatedContent_Dem_Classify(),
                place.dir().filePath(QStringLiteral(".%1.json").arg(place.fileName()))};
    }

private:
    void expectMesh(const QString &path) const
    {
        const Contents mesh = inFile(path);
        EXPECT_EQ(mesh.blocks, 1);
        EXPECT_GT(mesh.triangles, mesh.points / 4);
        EXPECT_GE(mesh.points, 3U);
    }
    void expectSplit(const WorkerFunction &function, const QString &path) const
    {
        const Contents split = inFile(path);
        EXPECT_EQ(split.points, pointCount());
        EXPECT_GE(split.blocks, 1);
        EXPECT_TRUE(function.blocks == 0 || split.blocks == function.blocks) << split.blocks;
    }
    void expectPartOfTerrain(const QString &path)
    {
        switch (terrainFiles().indexOf(path)) {
        case 0:
            expectMesh(path);
            EXPECT_LE(inFile(path).points, pointCount());
            break;
        case 1: {
            const QImage map(path);
            EXPECT_EQ(std::max(map.width(), map.height()), mapPixels);
            break;
        }
        case 2: {
            PtCloud_ContourFile contours;
            contours.setFile(path);
            EXPECT_TRUE(contours.openFile());
            EXPECT_FALSE(contours.contourGroup1().isEmpty() && contours.contourGroup2().isEmpty());
            break;
        }
        case 3:
            EXPECT_EQ(inFile(path).points, pointCount());
            break;
        case 4: {
            QFile place(path);
            EXPECT_TRUE(place.open(QIODevice::ReadOnly));
            EXPECT_TRUE(QJsonDocument::fromJson(place.readAll()).isObject());
            break;
        }
        default:
            ADD_FAILURE() << path.toStdString();
        }
    }
};

class WorkerFunctions : public WorkerProducts, public ::testing::WithParamInterface<WorkerFunction>
{
protected:
    void expectProducts()
    {
        const WorkerFunction &function = GetParam();
        const QString result = destination(function.product);
        ASSERT_EQ(run(function, parametersOf(function)), ActResult_Success) << m_progress.m_text.toStdString();
        const QStringList files = function.product == Product::Terrain ? terrainFiles() : QStringList(result);
        for (const QString &file : files)
            expectWhole(function, file);
    }
};

const WorkerFunction &functionOf(EPtCloud_Function id)
{
    return *std::find_if(std::begin(workerFunctions), std::end(workerFunctions),
                         [id](const WorkerFunction &function) { return function.id == id; });
}

class WorkerStages : public WorkerProducts
{
protected:
    void SetUp() override
    {
        ControllerWorkerTest::SetUp();
        usePoints(smallSurvey(1500));
    }
    /// Expects that nothing is new before the stage that writes the result. There, a worker that was stopped late has
    /// written it all: then it is whole. A terrain's products are written one by one.
    void expectNoHalfResult(const WorkerFunction &function, const QString &stage, const QStringList &before)
    {
        if (function.product != Product::Terrain && !stage.startsWith(QStringLiteral("writing "))) {
            EXPECT_EQ(filesOfSite(), before);
        }
        for (const QString &file : filesOfSite()) {
            // Who is killed while writing can't clear up; the next run does.
            if (!before.contains(file) && !file.contains(QStringLiteral(".part")))
                expectWhole(function, m_project + QStringLiteral("/site/") + file);
        }
        keepOfSite(before);
    }
    /// What the worker goes through with this function.
    QStringList stagesOf(const WorkerFunction &function)
    {
        BlockWatcher watcher;
        const QStringList before = filesOfSite();
        EXPECT_EQ(run(function, parametersOf(function)), ActResult_Success) << m_progress.m_text.toStdString();
        keepOfSite(before);
        return watcher.stages();
    }
#ifdef Q_OS_LINUX
    /// Makes the worker stay where it is, and waits until it does. False if it has ended.
    static bool halt(qint64 worker)
    {
        if (::kill(static_cast<pid_t>(worker), SIGSTOP) != 0)
            return false;
        for (;;) {
            const char state = stateOf(worker);
            if (state == 'T')
                return true;
            if (state == 'Z' || state == 0)
                return false;
            QThread::msleep(1);
        }
    }
    /// As the system's list of processes shows it; 0 if there is none.
    static char stateOf(qint64 process)
    {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(process));
        const QByteArray line = stat.open(QIODevice::ReadOnly) ? stat.readAll() : QByteArray();
        // Behind the program's name in brackets.
        const int state = line.lastIndexOf(')') + 2;
        return state < line.size() ? line[state] : '\0';
    }
    /// Runs the function and cancels it as soon as the worker is in the stage, where it is made to stay. False if the
    /// worker was not seen there.
    bool cancelIn(const WorkerFunction &function, const QString &stage)
    {
        std::atomic<bool> isThere{false};
        QList<qint64> found; // looked for beforehand, since the stage may be short
        BlockWatcher watcher([&](const QString &text) {
            if (found.isEmpty())
                found = workers();
            if (isThere || found.isEmpty() || BlockWatcher::stageOf(text) != stage)
                return;
            isThere = halt(found.first());
        });
        m_progress.m_wantsCancel = [&isThere] { return isThere.load(); };
        const EEPtCloudActResult result = run(function, parametersOf(function));
        m_progress.m_wantsCancel = {};
        EXPECT_EQ(result, isThere ? ActResult_Cancelled : ActResult_Success);
        return isThere;
    }
    /// A watcher that the machine holds up for more than a moment may miss a message: then the run is done once more.
    bool cancelSurelyIn(const WorkerFunction &function, const QString &stage)
    {
        constexpr int tries = 20;
        const QStringList before = filesOfSite();
        for (int i = 0; i < tries; ++i) {
            if (cancelIn(function, stage))
                return true;
            keepOfSite(before);
        }
        return false;
    }
#endif
};

} // namespace

TEST_P(WorkerFunctions, MakeSoundResultsOfASurvey)
{
    usePoints(smallSurvey(3000));
    expectProducts();
    EXPECT_EQ(logLines().size(), 2);
    EXPECT_TRUE(logLines().last().endsWith(QStringLiteral(" sucessed."))) << logLines().last().toStdString();
}

TEST_P(WorkerFunctions, MakeSoundResultsOfARealSurvey)
{
    const QString path = QStringLiteral(POINTS_CLOUD_TEST_DATA_DIR "/1.2-with-color.las");
    if (!QFileInfo::exists(path))
        GTEST_SKIP() << "there are no real surveys beside the checkout";
    LasFile survey;
    constexpr unsigned int buffer = 1000;
    ASSERT_TRUE(survey.load(path, buffer));
    PtCloud_DataSetFile file;
    ASSERT_TRUE(file.setFile(points())
                && file.makeDataSet_byLasFile(
                    {&survey}, {EDataSetColumn_Position, EDataSetColumn_Color, EDataSetColumn_Classification}));
    expectProducts();
}

TEST_P(WorkerFunctions, ShowStagesAndProgressThatNeverFalls)
{
    usePoints(smallSurvey(1500));
    BlockWatcher watcher;
    ASSERT_EQ(run(GetParam(), parametersOf(GetParam())), ActResult_Success) << m_progress.m_text.toStdString();
    const std::vector<BlockWatcher::Image> images = watcher.stop();
    ASSERT_FALSE(images.empty());
    int value = 0;
    for (const BlockWatcher::Image &image : images) {
        EXPECT_GE(image.value, value) << image.text.toStdString();
        value = image.value;
    }
    EXPECT_EQ(value, 255);
    EXPECT_GE(watcher.stages().size(), 3) << watcher.stages().join(QStringLiteral(", ")).toStdString();
    EXPECT_EQ(m_progress.m_value, 255) << "the host is shown the end";
    EXPECT_EQ(m_progress.m_text, images.back().text);
}

INSTANTIATE_TEST_SUITE_P(Worker, WorkerFunctions, ::testing::ValuesIn(workerFunctions), WorkerFunctionName());

#ifdef Q_OS_LINUX

TEST_F(WorkerStages, LeaveNoHalfResultWhereTheyAreCancelled)
{
    // Stages of one name are the same code, whatever the function.
    std::set<QString> seen;
    for (const WorkerFunction &function : workerFunctions) {
        const QStringList before = filesOfSite();
        for (const QString &stage : stagesOf(function)) {
            if (!seen.insert(stage).second)
                continue;
            SCOPED_TRACE(std::string(function.name) + ": " + stage.toStdString());
            EXPECT_TRUE(cancelSurelyIn(function, stage));
            EXPECT_EQ(workers(), QList<qint64>());
            expectNoHalfResult(function, stage, before);
        }
    }
}

TEST_F(WorkerStages, CanBeRunAgainAfterACancelledRun)
{
    const WorkerFunction &function = functionOf(Function_split_euclidean);
    ASSERT_TRUE(cancelSurelyIn(function, QStringLiteral("writing the clusters")));
    EXPECT_EQ(run(function, parametersOf(function)), ActResult_Success);
    EXPECT_EQ(inFile(destination(function.product)).points, pointCount());
    EXPECT_EQ(filesOfSite().filter(QStringLiteral(".part")), QStringList());
}

#endif
