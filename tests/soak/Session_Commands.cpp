// The commands of the controller and the project, each with one that fails for every reason that it may have.

#include "Session.h"

namespace soak
{

using namespace ptCloud;
using support::text;
using support::writeFile;

namespace
{

const QList<EDataSetColumn> someColumns = {EDataSetColumn_Position, EDataSetColumn_Color, EDataSetColumn_Intensity};

class Progress : public ILongLiveActionProgress
{
public:
    explicit Progress(bool cancel) : m_cancel(cancel) {}

    bool isCancelRequested() override { return m_cancel && m_isShown; }
    void setProgressValue(int) override {}
    void setProgressText(const QString &) override { m_isShown = true; }
    void setTitle(const QString &) override {}
    void setRange(int, int) override {}
    void finish() override {}

private:
    bool m_cancel;
    bool m_isShown = false;
};

} // namespace

void Session::importLas()
{
    QString name;
    const QString file = path(below(2) == 0 ? "las/a.las" : "las/b.las");
    EXPECT_EQ(controller().doCmd_LasFile_Import({file}, &name), ActResult_Success);
    EXPECT_TRUE(lasNames().contains(name));
}

void Session::importLasThatFails()
{
    for (const char *file : {"las/missing.las", "las/cut.las", "las"})
        EXPECT_EQ(controller().doCmd_LasFile_Import({path(file)}, nullptr), ActResult_FileError);
}

void Session::removeLas()
{
    const QStringList names = lasNames();
    const QString name = names.value(static_cast<int>(below(6)), text("unknown"));
    EXPECT_EQ(controller().doCmd_LasFile_Remove({name}), names.contains(name) ? ActResult_Success : ActResult_NotFound);
}

void Session::askForColumns()
{
    QList<EDataSetColumn> columns;
    const QStringList names = lasNames();
    controller().getLasFileColumns(names.value(0, text("unknown")), columns);
    EXPECT_EQ(columns.isEmpty(), names.isEmpty());
}

void Session::make()
{
    if (lasNames().isEmpty())
        importLas();
    EXPECT_EQ(
        controller().doCmd_DataSet_Make({lasNames().mid(0, 1 + static_cast<int>(below(2))), someColumns, freshName()}),
        ActResult_Success);
}

void Session::makeThatFails()
{
    if (lasNames().isEmpty())
        importLas();
    const QStringList las = lasNames().mid(0, 1);
    const QString name = freshName();
    EXPECT_EQ(controller().doCmd_DataSet_Make({las, someColumns, anyDataSetName().toUpper()}), ActResult_NameExists);
    EXPECT_EQ(controller().doCmd_DataSet_Make({las, {EDataSetColumn_Color}, name}), ActResult_MakeFailed);
    EXPECT_EQ(controller().doCmd_DataSet_Make({las, someColumns, text("a/b")}), ActResult_MakeFailed);
    EXPECT_EQ(controller().doCmd_DataSet_Make({{text("unknown")}, someColumns, name}), ActResult_FileError);
    // What such a failure leaves behind.
    EXPECT_EQ(controller().doCmd_LasFile_Remove({text("unknown")}), ActResult_Success);
    EXPECT_TRUE(QDir(project() + QLatin1Char('/') + name).removeRecursively());
}

void Session::copy()
{
    EXPECT_EQ(controller().doCmd_DataSet_Copy({anyDataSetName(), freshName()}), ActResult_Success);
}

void Session::copyThatFails()
{
    const QString name = anyDataSetName();
    EXPECT_EQ(controller().doCmd_DataSet_Copy({text("unknown"), freshName()}), ActResult_NotFound);
    EXPECT_EQ(controller().doCmd_DataSet_Copy({name, name}), ActResult_NameExists);
    EXPECT_EQ(controller().doCmd_DataSet_Copy({name, text("..")}), ActResult_CannotRun);
}

void Session::merge()
{
    const bool removeSources = below(2) == 0;
    EXPECT_EQ(controller().doCmd_DataSet_Merge({{anyDataSetName(), anyDataSetName()}, freshName(), removeSources}),
              ActResult_Success);
}

void Session::mergeThatFails()
{
    const QString name = anyDataSetName();
    EXPECT_EQ(controller().doCmd_DataSet_Merge({{name, text("unknown")}, freshName(), true}), ActResult_NotFound);
    EXPECT_EQ(controller().doCmd_DataSet_Merge({{name}, name, true}), ActResult_NameExists);
    EXPECT_EQ(controller().doCmd_DataSet_Merge({{name}, text("a/b"), true}), ActResult_FileError);
}

void Session::rename()
{
    const QString name = anyDataSetName();
    const QString newName = freshName();
    EXPECT_EQ(controller().doCmd_DataSet_Rename({name, newName}), ActResult_Success);
    EXPECT_NE(controller().getDataSet(newName), nullptr);
}

void Session::renameThatFails()
{
    const QString name = anyDataSetName();
    EXPECT_EQ(controller().doCmd_DataSet_Rename({name, text(" blank")}), ActResult_BadName);
    EXPECT_EQ(controller().doCmd_DataSet_Rename({name, name}), ActResult_BadName);
    EXPECT_EQ(controller().doCmd_DataSet_Rename({text("unknown"), freshName()}), ActResult_NotFound);
    EXPECT_EQ(controller().doCmd_DataSet_Rename({name, text("a/b")}), ActResult_FileError);
}

void Session::remove()
{
    const QString name = anyDataSetName();
    EXPECT_EQ(controller().doCmd_DataSet_Remove({name}), ActResult_Success);
    EXPECT_EQ(controller().doCmd_DataSet_Remove({name}), ActResult_NotFound);
}

/// A data set whose points end within a block; its name.
QString Session::makeDamaged()
{
    const QString name = freshName();
    EXPECT_EQ(controller().doCmd_DataSet_Copy({anyDataSetName(), name}), ActResult_Success);
    const QString points = controller().getDataSet(name)->getFilePath_Points();
    EXPECT_TRUE(QFile::resize(points, QFileInfo(points).size() - 10));
    return name;
}

void Session::commandsOnDamagedPoints()
{
    const QString name = makeDamaged();
    EXPECT_EQ(controller().doCmd_DataSet_Merge({{name, anyDataSetName()}, freshName(), true}), ActResult_FileError);
    EXPECT_EQ(controller().doCmd_DataSet_Copy({name, freshName()}), ActResult_CannotRun);
    EXPECT_FALSE(controller().getDataSetReader(name)->openFile());
    EXPECT_EQ(controller().doCmd_DataSet_Remove({name}), ActResult_Success);
}

void Session::save()
{
    EXPECT_TRUE(m_project->save(project(), nullptr));
}

void Session::saveThatFails()
{
    EXPECT_FALSE(m_project->save(path("missing"), nullptr));
    EXPECT_FALSE(m_project->save(QString(), nullptr));
}

void Session::load()
{
    EXPECT_TRUE(m_project->save(project(), nullptr));
    const QStringList names = dataSetNames();
    EXPECT_TRUE(m_project->save(project(), nullptr));
    EXPECT_TRUE(m_project->loadProject(project(), nullptr));
    EXPECT_EQ(controller().getDataSets().keys(), names);
}

void Session::loadThatFails()
{
    EXPECT_FALSE(m_project->loadProject(path("missing"), nullptr));
    EXPECT_FALSE(m_project->loadProject(path("other"), nullptr));
    EXPECT_FALSE(m_project->loadProject(path("empty"), nullptr));
}

EEPtCloudActResult Session::runScript(const char *script, const QString &dataSet, bool cancel,
                                      EPtCloud_Function function)
{
    EXPECT_TRUE(writeFile(path("script/script"), script));
    Progress progress(cancel);
    return controller().doCmd_DataSet_Do_Mesh({dataSet, path("result"), function, QVariantList({true, 2.5})},
                                              &progress);
}

void Session::run()
{
    EXPECT_EQ(runScript("value 1\ntext at work\ncopy", anyDataSetName()), ActResult_Success);
    EXPECT_TRUE(QFile::remove(path("result")));
}

void Session::runThatFails()
{
    const QString name = anyDataSetName();
    EXPECT_EQ(runScript("copy", text("unknown")), ActResult_NotFound);
    switch (below(5)) {
    case 0:
        EXPECT_EQ(runScript("print 100000\nexit 11", name), ActResult_WorkerFailed);
        break;
    case 1:
        EXPECT_EQ(runScript("lock\ndie", name), ActResult_WorkerCrashed);
        break;
    case 2:
        EXPECT_EQ(runScript("hang", name, true), ActResult_Cancelled);
        break;
    case 3:
        EXPECT_EQ(runScript("copy", name, false, static_cast<EPtCloud_Function>(300)), ActResult_CannotRun);
        break;
    default:
        AppConfig::getInstance().setBinDir(path("empty"));
        EXPECT_EQ(runScript("copy", name), ActResult_WorkerNotStarted);
        AppConfig::getInstance().setBinDir(QStringLiteral(SCRIPTED_WORKER_DIR));
    }
}

} // namespace soak
