// A run from its start to its end: what is tested first, what the worker gets, what the host is told.

#include "FunctionRunTesting.h"
#include "HelperProgram.h"

#include <QCoreApplication>
#include <QTranslator>

using namespace ptCloud;
using support::FunctionRunTest;
using support::HelperProgram;
using support::text;

namespace
{

const QString workerName = QStringLiteral("open3d_wrapper");
const QString blockKey = QStringLiteral("open3d_wrapper_shared_memory");

} // namespace

TEST_F(FunctionRunTest, TellsStartProgressAndSuccessInThisOrder)
{
    m_progress.m_onText = [this] { release(QStringLiteral("shown-%1").arg(m_progress.m_value)); };
    script({text("await shown-0"), text("value 1"), text("text one"), text("await shown-1"), text("text t\xc3\xb6o"),
            text("value 250"), text("await shown-250"), text("write result"), text("text "), text("value 3")});
    EXPECT_EQ(run(), ActResult_Success);
    QStringList images = shown();
    // Between two writes of the worker, the host may see the first alone.
    for (const char *halfWay : {"1 initializing......", "1 t\xc3\xb6o", "250 "})
        images.removeAll(text(halfWay));
    EXPECT_EQ(images, QStringList({text("0 initializing......"), text("1 one"), text("250 t\xc3\xb6o"), text("3 ")}));
    EXPECT_EQ(m_calls.value(0), text("log points_cloud_log 0 true: Start mesh_alpha......"));
    EXPECT_EQ(m_calls.value(m_calls.size() - 1), text("log points_cloud_log 0 true: mesh_alpha sucessed."));
    EXPECT_EQ(logLines().size(), 2);
    EXPECT_EQ(support::readFile(path("result")), "result");
}

TEST_F(FunctionRunTest, ShowsWhatTheBlockHoldsOnceEvenWhenTheWorkerEndsAtOnce)
{
    script({text("value 77"), text("text ready")});
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(m_calls.mid(m_calls.size() - 4),
              QStringList({text("cancel?"), text("value 77"), text("text ready"),
                           text("log points_cloud_log 0 true: mesh_alpha sucessed.")}));
}

TEST_F(FunctionRunTest, ShowsTheSameImageAgainWithEveryPass)
{
    script("wait 550");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(run(), ActResult_Success);
    const qint64 watched = timer.elapsed() - 500;
    EXPECT_EQ(shown(), QStringList(text("0 initializing......")));
    EXPECT_GE(m_progress.m_passes, 3);
    EXPECT_LE(m_progress.m_passes, watched / 100 + 2) << "each pass waits a tenth of a second";
}

TEST_F(FunctionRunTest, IsTheSameByEachOfTheThreeCommands)
{
    script({text("copy"), text("exit 11")});
    const stControlParam_DataSet_Do_Split split{text("site"), path("split"), Function_mesh_alpha,
                                                QVariantList({true, 1})};
    EXPECT_EQ(m_controller.doCmd_DataSet_Do_Split(split, &m_progress), ActResult_WorkerFailed);
    const stControlParam_DataSet_Do_Sample sample{text("site"), path("sample"), Function_split_csf, {}};
    EXPECT_EQ(m_controller.doCmd_DataSet_Do_Sample(sample, &m_progress), ActResult_WorkerFailed);
    EXPECT_EQ(logLines(),
              QStringList({text("0 Start mesh_alpha......"), text("2 mesh_alpha failed with error: function failed."),
                           text("0 Start split_csf......"), text("2 split_csf failed with error: function failed.")}));
    EXPECT_EQ(support::readFile(path("split")), support::pointsBytes(7));
    EXPECT_EQ(support::readFile(path("sample")), support::pointsBytes(7));
}

TEST_F(FunctionRunTest, RegistersNothingItself)
{
    PtCloudDataSet *const dataSet = m_controller.getDataSet(text("site"));
    const std::unique_ptr<PtCloud_DataSetFile> mesh(dataSet->createEmptyLocatedContent_Mesh(text("hill")));
    ASSERT_NE(mesh, nullptr);
    support::SignalLog signalsOfDataSet(*dataSet);
    script("copy");
    auto param = parameters();
    param.destFilepath = mesh->getFilepath();
    EXPECT_EQ(m_controller.doCmd_DataSet_Do_Mesh(param, nullptr), ActResult_Success);
    EXPECT_TRUE(QFileInfo::exists(mesh->getFilepath()));
    EXPECT_TRUE(dataSet->getContent_Meshs()->isEmpty());
    EXPECT_EQ(signalsOfDataSet.take(), QStringList());
}

TEST_F(FunctionRunTest, LeavesItsResultForTheHostToRegister)
{
    PtCloudDataSet *const dataSet = m_controller.getDataSet(text("site"));
    std::unique_ptr<PtCloud_DataSetFile> mesh(dataSet->createEmptyLocatedContent_Mesh(text("hill")));
    ASSERT_NE(mesh, nullptr);
    script("copy");
    auto param = parameters();
    param.destFilepath = mesh->getFilepath();
    ASSERT_EQ(m_controller.doCmd_DataSet_Do_Mesh(param, nullptr), ActResult_Success);
    dataSet->addContent_Mesh(text("hill"), mesh.release());
    EXPECT_EQ(dataSet->getContent_Meshs()->keys(), QList<QString>({text("hill")}));
}

TEST_F(FunctionRunTest, RefusesAnUnknownDataSetBeforeAnythingElse)
{
    HelperProgram worker(workerName);
    ASSERT_TRUE(worker.start());
    auto param = parameters();
    for (const char *name : {"Site", "", "other"}) {
        param.name = text(name);
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(m_controller.doCmd_DataSet_Do_Mesh(param, &m_progress), ActResult_NotFound);
        EXPECT_LT(timer.elapsed(), 400);
    }
    EXPECT_TRUE(worker.isRunning());
    EXPECT_FALSE(QFileInfo::exists(settingsPath()));
    EXPECT_EQ(m_calls, QStringList());
}

TEST_F(FunctionRunTest, RefusesAValueThatIsNoFunctionOnceWorkersAreStopped)
{
    script("touch started");
    for (const int value : {4, 300, -1, 99, 108}) {
        HelperProgram worker(workerName);
        ASSERT_TRUE(worker.start());
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(run(static_cast<EPtCloud_Function>(value)), ActResult_CannotRun);
        EXPECT_GE(timer.elapsed(), 500);
        EXPECT_TRUE(worker.isKilled());
        EXPECT_EQ(setting("function").toInt(), value);
        EXPECT_EQ(setting("dest_filepath"), path("result"));
    }
    EXPECT_EQ(QSettings(settingsPath(), QSettings::IniFormat).allKeys().size(), 3);
    EXPECT_FALSE(isThere("started"));
    EXPECT_EQ(m_calls, QStringList());
}

TEST_F(FunctionRunTest, StopsWorkersOfBothNamesBeforeItsOwnStarts)
{
    HelperProgram worker(workerName);
    HelperProgram debugWorker(workerName + QStringLiteral("_d"));
    HelperProgram other(workerName + QStringLiteral("_test"));
    for (HelperProgram *program : {&worker, &debugWorker, &other})
        ASSERT_TRUE(program->start());
    script("copy");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_GE(timer.elapsed(), 500);
    EXPECT_TRUE(worker.isKilled());
    EXPECT_TRUE(debugWorker.isKilled());
    EXPECT_TRUE(other.isRunning());
}

TEST_F(FunctionRunTest, GivesTheWorkerItsSettingsFileAloneAndTheHostsOwnPlace)
{
    script({text("save-arguments arguments"), text("save-place place")});
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(QString::fromUtf8(saved("arguments")), settingsPath());
    EXPECT_EQ(QString::fromUtf8(saved("place")), QDir::currentPath());
    EXPECT_EQ(setting("function").toInt(), 0);
    EXPECT_EQ(setting("source_filepath"), m_project + text("/site/Points"));
    EXPECT_EQ(setting("dest_filepath"), path("result"));
    EXPECT_EQ(setting("fastNormal"), text("true"));
    EXPECT_EQ(setting("alpha"), text("2.5"));
}

TEST_F(FunctionRunTest, GivesTheWorkerTheBlockByteByByte)
{
    script("save-block block");
    EXPECT_EQ(run(), ActResult_Success);
    const QByteArray block = saved("block");
    ASSERT_GE(block.size(), 1001); // the system rounds it up
    EXPECT_EQ(block.left(1001), QByteArray(1, '\0') + "initializing......" + QByteArray(982, '\0'));
}

TEST_F(FunctionRunTest, NeedsNoValidPathsItself)
{
    script("copy");
    ASSERT_TRUE(QDir(m_project + text("/site")).removeRecursively());
    EXPECT_EQ(run(), ActResult_WorkerFailed);
    EXPECT_EQ(setting("source_filepath").toString(), QString());
    EXPECT_EQ(logLines().value(1), text("2 mesh_alpha failed with error: read source dataset file."));
}

TEST_F(FunctionRunTest, RunsThePreviousSettingsWhereTheyCannotBeWritten)
{
    script("copy");
    ASSERT_EQ(run(), ActResult_Success);
    ASSERT_TRUE(QFile::remove(path("result")));
    // A place that not even the superuser can write to.
    ASSERT_TRUE(support::writeFile(path("plain"), {}));
    AppConfig::getInstance().setHomeDir(path("plain/home"));
    EXPECT_EQ(run(Function_split_csf), ActResult_WorkerFailed);
    EXPECT_EQ(logLines().value(3), text("2 split_csf failed with error: config file."));
    EXPECT_FALSE(QFileInfo::exists(path("result")));
}

TEST_F(FunctionRunTest, SurvivesPathsOfAnyLetters)
{
    const QString odd = text("a b, \"c\" 'd'; e=f \xc3\xa4\xe4\xb8\xad %1 $HOME \\n #@");
    openProject(text("project ") + odd);
    ASSERT_TRUE(QDir().mkpath(path(text("home ") + odd)));
    AppConfig::getInstance().setHomeDir(path(text("home ") + odd));
    moveWorkerTo(path(text("bin ") + odd));
    script({text("save-arguments arguments"), text("copy")});
    auto param = parameters(Function_split_pachwork);
    param.destFilepath = m_project + text("/site/") + odd;
    EXPECT_EQ(m_controller.doCmd_DataSet_Do_Mesh(param, &m_progress), ActResult_Success);
    EXPECT_EQ(QString::fromUtf8(saved("arguments")), path(text("home ") + odd + text("/o3d_config.ini")));
    EXPECT_EQ(support::readFile(param.destFilepath), support::pointsBytes(7));
}

TEST_F(FunctionRunTest, FailsWhereThereIsNoWorkerToStart)
{
    ASSERT_TRUE(QDir().mkpath(path("directory/") + workerName));
    support::makeDirectory(path("file"), {{workerName, "no program"}});
    for (const char *directory : {"nowhere", "bin", "directory", "file"}) {
        AppConfig::getInstance().setBinDir(path(directory));
        EXPECT_EQ(run(), ActResult_WorkerNotStarted) << directory;
        EXPECT_TRUE(QFileInfo::exists(settingsPath()));
    }
    EXPECT_EQ(m_calls, QStringList());
    // Nothing is left in the way of the next run.
    AppConfig::getInstance().setBinDir(QStringLiteral(SCRIPTED_WORKER_DIR));
    script("copy");
    EXPECT_EQ(run(), ActResult_Success);
}

TEST_F(FunctionRunTest, FailsWhereALiveProcessHoldsTheBlock)
{
    script("touch started");
    HelperProgram holder(text("holder"));
    ASSERT_TRUE(holder.start({text("hold"), blockKey}));
    EXPECT_EQ(run(), ActResult_WorkerNotStarted);
    EXPECT_TRUE(holder.isRunning());
    EXPECT_FALSE(isThere("started"));
    EXPECT_EQ(m_calls, QStringList());
    EXPECT_EQ(setting("function").toInt(), 0) << "the settings come before the block";
}

TEST_F(FunctionRunTest, TakesOverTheBlockOfACrashedHost)
{
    script("save-block block");
    HelperProgram host(text("host"));
    ASSERT_TRUE(host.run({text("crash"), blockKey}));
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_GE(saved("block").size(), 1001);
}

TEST_F(FunctionRunTest, ComesToItsEndWithoutProgress)
{
    script({text("value 1"), text("wait 250"), text("copy")});
    EXPECT_EQ(runWithoutProgress(), ActResult_Success);
    script("die");
    EXPECT_EQ(runWithoutProgress(), ActResult_WorkerCrashed);
    EXPECT_EQ(m_calls, QStringList({text("log points_cloud_log 0 true: Start mesh_alpha......"),
                                    text("log points_cloud_log 0 true: mesh_alpha sucessed."),
                                    text("log points_cloud_log 0 true: Start mesh_alpha......")}));
}

namespace
{

/// Puts what it is asked for in angle brackets.
class Brackets : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        const bool isOurs = qstrcmp(context, "ptCloud::PtCloud_Controller") == 0;
        return isOurs ? QLatin1Char('<') + QString::fromUtf8(sourceText) + QLatin1Char('>') : QString();
    }
    bool isEmpty() const override { return false; }
};

} // namespace

TEST_F(FunctionRunTest, TranslatesItsWordsAndNoNames)
{
    Brackets brackets;
    ASSERT_TRUE(QCoreApplication::installTranslator(&brackets));
    script("exit 9");
    EXPECT_EQ(runWithoutProgress(), ActResult_WorkerFailed);
    QCoreApplication::removeTranslator(&brackets);
    EXPECT_EQ(logLines(),
              QStringList({text("0 <Start> mesh_alpha......"), text("2 mesh_alpha <failed with error: QHull>.")}));
}
