// The controller with its commands, and the project.

#include "interface.h"

#include <points_cloud.h>

using namespace ptCloud;

namespace names
{

using Controller = PtCloud_Controller;
using Result = EEPtCloudActResult;
using Progress = ILongLiveActionProgress;
using Map = QMap<QString, QString>;

static void enumerations()
{
    hasValue(ActResult_Success, 0);
    hasValue(ActResult_CannotRun, 1);
    hasValue(ActResult_FileError, 2);
    hasValue(ActResult_NotFound, 3);
    hasValue(ActResult_NameExists, 4);
    hasValue(ActResult_MakeFailed, 5);
    hasValue(ActResult_BadName, 6);
    hasValue(ActResult_WorkerNotStarted, 7);
    hasValue(ActResult_WorkerFailed, 8);
    hasValue(ActResult_WorkerCrashed, 9);
    hasValue(ActResult_Cancelled, 10);
    static_assert(std::is_same_v<decltype(ptCloud::ActResult_Success), EEPtCloudActResult>);

    hasValue(::Function_mesh_alpha, 0);
    hasValue(::Function_mesh_ball_pivoting, 1);
    hasValue(::Function_mesh_poisson, 2);
    hasValue(::Function_dem, 3);
    hasValue(::Function_split_dbscan, 100);
    hasValue(::Function_split_kmeans, 101);
    hasValue(::Function_split_kmeans_extra, 102);
    hasValue(::Function_split_euclidean, 103);
    hasValue(::Function_split_euclidean_fast, 104);
    hasValue(::Function_split_region_growing, 105);
    hasValue(::Function_split_pachwork, 106);
    hasValue(::Function_split_csf, 107);
    hasValue(::Function_sample_poisson_disk, 200);
    static_assert(std::is_same_v<decltype(::Function_dem), ::EPtCloud_Function>);
}

/// The three records of the worker's functions, which have one layout.
template <typename Record>
void functionRecord()
{
    Fields<Record> fields;
    fields.template has<QString>(&Record::name).template has<QString>(&Record::destFilepath);
    fields.template has<EPtCloud_Function>(&Record::function).template has<QVariant>(&Record::params);
}

static void records()
{
    using Import = stControlParam_LasFile_Import;
    using LasRemove = stControlParam_LasFile_Remove;
    using Make = stControlParam_DataSet_Make;
    using Copy = stControlParam_DataSet_Copy;
    using Merge = stControlParam_DataSet_Merge;
    using Remove = stControlParam_DataSet_Remove;
    using Rename = stControlParam_DataSet_Rename;

    Fields<Import>().has<QString>(&Import::filepath);
    Fields<LasRemove>().has<QString>(&LasRemove::name);
    Fields<Make>()
        .has<QList<QString>>(&Make::lasNames)
        .has<QList<EDataSetColumn>>(&Make::columns)
        .has<QString>(&Make::name);
    Fields<Copy>().has<QString>(&Copy::name).has<QString>(&Copy::newName);
    Fields<Merge>()
        .has<QSet<QString>>(&Merge::sourceNames)
        .has<QString>(&Merge::newName)
        .has<bool>(&Merge::removeSources);
    Fields<Remove>().has<QString>(&Remove::name);
    Fields<Rename>().has<QString>(&Rename::name).has<QString>(&Rename::newName);
    functionRecord<stControlParam_DataSet_Do_Mesh>();
    functionRecord<stControlParam_DataSet_Do_Split>();
    functionRecord<stControlParam_DataSet_Do_Sample>();
}

/// A sink of a host's own: the overrides are all that it takes to be one.
class HostProgress : public ILongLiveActionProgress
{
public:
    ~HostProgress() override = default;
    bool isCancelRequested() override { return false; }
    void setProgressValue(int) override {}
    void setProgressText(const QString &) override {}
    void setTitle(const QString &) override {}
    void setRange(int, int) override {}
    void finish() override {}
};

static void progress()
{
    static_assert(std::is_abstract_v<Progress> && std::has_virtual_destructor_v<Progress>);
    static_assert(sizeof(Progress) == sizeof(void *) && !std::is_final_v<Progress>);
    constructs<HostProgress>();
    has<bool (Progress::*)()>(&Progress::isCancelRequested);
    has<void (Progress::*)(int)>(&Progress::setProgressValue);
    has<void (Progress::*)(const QString &)>(&Progress::setProgressText);
    has<void (Progress::*)(const QString &)>(&Progress::setTitle);
    has<void (Progress::*)(int, int)>(&Progress::setRange);
    has<void (Progress::*)()>(&Progress::finish);
    expectAscending({slotOf(&Progress::isCancelRequested), slotOf(&Progress::setProgressValue),
                     slotOf(&Progress::setProgressText), slotOf(&Progress::setTitle), slotOf(&Progress::setRange),
                     slotOf(&Progress::finish)},
                    "ILongLiveActionProgress");
}

static void commands()
{
    has<Result (Controller::*)(const stControlParam_LasFile_Import &, QString *)>(&Controller::doCmd_LasFile_Import);
    has<Result (Controller::*)(const stControlParam_LasFile_Remove &)>(&Controller::doCmd_LasFile_Remove);
    has<Result (Controller::*)(const stControlParam_DataSet_Make &)>(&Controller::doCmd_DataSet_Make);
    has<Result (Controller::*)(const stControlParam_DataSet_Copy &)>(&Controller::doCmd_DataSet_Copy);
    has<Result (Controller::*)(const stControlParam_DataSet_Merge &)>(&Controller::doCmd_DataSet_Merge);
    has<Result (Controller::*)(const stControlParam_DataSet_Remove &)>(&Controller::doCmd_DataSet_Remove);
    has<Result (Controller::*)(const stControlParam_DataSet_Rename &)>(&Controller::doCmd_DataSet_Rename);
    has<Result (Controller::*)(const stControlParam_DataSet_Do_Mesh &, Progress *)>(&Controller::doCmd_DataSet_Do_Mesh);
    has<Result (Controller::*)(const stControlParam_DataSet_Do_Split &, Progress *)>(
        &Controller::doCmd_DataSet_Do_Split);
    has<Result (Controller::*)(const stControlParam_DataSet_Do_Sample &, Progress *)>(
        &Controller::doCmd_DataSet_Do_Sample);
}

static void registries()
{
    has<void (Controller::*)(const QString &)>(&Controller::setDir);
    has<void (Controller::*)()>(&Controller::reset);
    has<void (Controller::*)(const Map &, const Map &, const QList<QString> &)>(&Controller::setFiles);
    has<void (Controller::*)(Map &) const>(&Controller::getLasFilepaths);
    has<PtCloudDataSet *(Controller::*)(const QString &)>(&Controller::getDataSet);
    has<PtCloud_DataSetFile *(Controller::*)(const QString &) const>(&Controller::getDataSetReader);
    has<QMap<QString, const PtCloudDataSet *> (Controller::*)()>(&Controller::getDataSets);
    has<void (Controller::*)(Map &) const>(&Controller::getDataSetFileNames);
    has<void (Controller::*)(Map &) const>(&Controller::getDataSetFilepaths);
    has<void (Controller::*)(const QString &, QList<EDataSetColumn> &)>(&Controller::getLasFileColumns);
    has<bool (Controller::*)() const>(&Controller::isDataSetEmpty);
}

static void signalsOfController()
{
    has<void (Controller::*)(QString)>(&Controller::sg_LasFile_Added);
    has<void (Controller::*)(QString)>(&Controller::sg_LasFile_Removed);
    has<void (Controller::*)(QString)>(&Controller::sg_DataSet_Added);
    has<void (Controller::*)(QString)>(&Controller::sg_DataSet_Removed);
    has<void (Controller::*)(QString, QString)>(&Controller::sg_DataSet_Renamed);
    has<void (Controller::*)(int, QString)>(&Controller::sg_DataSetFunction_Progress);
    has<void (Controller::*)(EEPtCloudActResult)>(&Controller::sg_DataSetFunction_Result);
    expectSignals(Controller::staticMetaObject,
                  {"sg_LasFile_Added(QString)", "sg_LasFile_Removed(QString)", "sg_DataSet_Added(QString)",
                   "sg_DataSet_Removed(QString)", "sg_DataSet_Renamed(QString,QString)",
                   "sg_DataSetFunction_Progress(int,QString)", "sg_DataSetFunction_Result(EEPtCloudActResult)"});
    expect(std::string(Controller::staticMetaObject.className()) == "ptCloud::PtCloud_Controller",
           "the controller's meta-object has another name");
    const Controller registersItsTypes;
    expect(QMetaType::type("EEPtCloudActResult") != QMetaType::UnknownType
               && QMetaType::type("ptCloud::EEPtCloudActResult") != QMetaType::UnknownType,
           "the result's type is not registered under both spellings");
}

static void project()
{
    using Project = PtCloud_Project;

    static_assert(!std::is_polymorphic_v<Project>);
    constructs<Project>();
    has<Project &(Project::*)(const Project &)>(&Project::operator=);
    has<void (Project::*)()>(&Project::clear);
    has<Controller *(Project::*)()>(&Project::getController);
    has<void (Project::*)(const QString &)>(&Project::setDir);
    has<bool (Project::*)() const>(&Project::isDataSetEmpty);
    has<bool (Project::*)(const QString &, QString *)>(&Project::loadProject);
    has<bool (Project::*)(const QString &, QString *) const>(&Project::save);
}

void control()
{
    enumerations();
    records();
    progress();
    static_assert(std::is_base_of_v<QObject, Controller> && std::is_convertible_v<Controller *, QObject *>);
    static_assert(!std::is_final_v<Controller> && !std::is_copy_constructible_v<Controller>);
    constructs<Controller>();
    static_assert(!std::is_constructible_v<Controller, QObject *>);
    registries();
    commands();
    signalsOfController();
    project();
}

} // namespace names
