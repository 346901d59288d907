// The commands that run a function over a data set in the external worker program.

#include "AppConfig.h"
#include "FunctionConfig.h"
#include "LogLibrary.h"
#include "PtCloudDataSet.h"
#include "PtCloud_Controller.h"
#include "System.h"
#include "WorkerRun.h"

#include <QThread>

#include <iterator>
#include <memory>

namespace ptCloud
{

namespace
{

constexpr unsigned long workersEndMs = 500;

/// What each exit code of the worker means, to be translated.
constexpr const char *exitTexts[] = {
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "sucessed"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: unknow"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: argument"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: config file"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: read source dataset file"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: write dest dataset file"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: function not supported"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: alloc memory"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: estimate normals"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: QHull"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: create open3d point cloud"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: function failed"),
    QT_TRANSLATE_NOOP("ptCloud::PtCloud_Controller", "failed with error: function crashed"),
};
constexpr unsigned int successCode = 0;
constexpr unsigned int unknownCode = 1;

QString exitText(unsigned int exitCode)
{
    return PtCloud_Controller::tr(exitTexts[exitCode < std::size(exitTexts) ? exitCode : unknownCode]);
}

void addLog(const QString &text, ELogType type)
{
    AppConfig::getInstance().module_logLib().addLog(QStringLiteral("points_cloud_log"), text, type, true);
}

/// Ends whatever an earlier run left at work, and gives the system time to take back what it held.
void stopEarlierWorkers()
{
    platform::stopWorkers();
    QThread::msleep(workersEndMs);
}

} // namespace

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Do_Mesh(const stControlParam_DataSet_Do_Mesh &param,
                                                             ILongLiveActionProgress *progress)
{
    return doFunctionCmd(param.name, param.destFilepath, param.function, param.params, progress);
}

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Do_Split(const stControlParam_DataSet_Do_Split &param,
                                                              ILongLiveActionProgress *progress)
{
    return doFunctionCmd(param.name, param.destFilepath, param.function, param.params, progress);
}

EEPtCloudActResult PtCloud_Controller::doCmd_DataSet_Do_Sample(const stControlParam_DataSet_Do_Sample &param,
                                                               ILongLiveActionProgress *progress)
{
    return doFunctionCmd(param.name, param.destFilepath, param.function, param.params, progress);
}

EEPtCloudActResult PtCloud_Controller::doFunctionCmd(const QString &dataSetName, const QString &destFilepath,
                                                     EPtCloud_Function function, const QVariant &params,
                                                     ILongLiveActionProgress *progress)
{
    const PtCloudDataSet *const dataSet = getDataSet(dataSetName);
    if (dataSet == nullptr)
        return ActResult_NotFound;
    const QString sourceFilepath = dataSet->getFilePath_Points();
    const QString functionName = getFunctionName(function);

    stopEarlierWorkers();
    const QString configFilepath =
        AppConfig::getInstance().homeDir().absoluteFilePath(QStringLiteral("o3d_config.ini"));
    if (!writeFunctionConfig({function, params, sourceFilepath, destFilepath}, configFilepath))
        return ActResult_CannotRun;
    auto run = std::make_unique<WorkerRun>();
    if (!run->start(configFilepath))
        return ActResult_WorkerNotStarted;
    addLog(tr("Start") + QLatin1Char(' ') + functionName + QLatin1String("......"), LogType_Info);
    const WorkerRun::End end = run->watch(progress);
    const unsigned int exitCode = run->exitCode();
    // Neither the process nor its block is left when the end is told.
    run.reset();

    if (end == WorkerRun::End::Cancelled) {
        stopEarlierWorkers();
        return ActResult_Cancelled;
    }
    if (end == WorkerRun::End::Crashed)
        return ActResult_WorkerCrashed;
    const bool isDone = exitCode == successCode;
    addLog(functionName + QLatin1Char(' ') + exitText(exitCode) + QLatin1Char('.'),
           isDone ? LogType_Info : LogType_Error);
    return isDone ? ActResult_Success : ActResult_WorkerFailed;
}

QString PtCloud_Controller::getFunctionName(EPtCloud_Function function)
{
    return functionLogName(function);
}

} // namespace ptCloud
