#pragma once

#include "PtCloud_Types.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <memory>
#include <vector>

namespace ptCloud
{

class ILongLiveActionProgress;
class PtCloudDataSet;
class PtCloud_DataSetFile;

/// The command layer: it knows the LAS files and the data sets of a project by name, and every change goes through a
/// `doCmd_*` operation that gives one `EEPtCloudActResult` and, on success, emits one signal.
///
///     PtCloud_Controller controller;
///     QObject::connect(&controller, &PtCloud_Controller::sg_LasFile_Added, show);
///     QString name;
///     if (controller.doCmd_LasFile_Import({path}, &name) != ActResult_Success)
///         return;
///
/// The controller owns its data sets. One that `setFiles` drops is closed and lives on, in no list, until the
/// controller goes, so that a pointer to it stays good. Names are looked up letter for letter, while clashes are tested
/// without regard to case: "abc" does not find "ABC", yet "ABC" can't be made beside "abc". A failed command changes
/// nothing and emits nothing. Calls come from one thread, one at a time. `reset`, and with it the destructor, stops
/// every worker program on the machine and processes events for up to 100 ms, so slots and timers of the host can run
/// inside; a slot must not delete the controller then.
class POINTS_CLOUD_EXPORT PtCloud_Controller : public QObject
{
    Q_OBJECT

public:
    PtCloud_Controller();
    ~PtCloud_Controller() override;

    /// Sets the project directory. Nothing is checked and nothing else changes.
    void setDir(const QString &dir);

    /// Stops any worker, processes events for up to 100 ms, and closes the point file of every data set. The registries
    /// stay.
    void reset();

    /// Replaces both registries, as a project that is opened tells them, and **deletes every plain file directly in the
    /// project directory** that `keepFiles` does not name (whatever the case). Directories are left alone. Nothing is
    /// registered or deleted without a project directory. Emits nothing.
    ///
    /// @param lasFiles  name to path; a file that is not there is left out
    /// @param dataSets  registered name to directory name; one that does not load is left out. A directory that is
    ///                  missing is made, and stays, empty
    void setFiles(const QMap<QString, QString> &lasFiles, const QMap<QString, QString> &dataSets,
                  const QList<QString> &keepFiles);

    /// Checks that a LAS file loads and registers its path, as given, under its file name; "_" is put in front as often
    /// as the name clashes. The file itself is not kept open.
    ///
    /// @param registeredName  may be null; receives the name on success
    /// @return `ActResult_Success`, or `ActResult_FileError` for a file that does not load
    EEPtCloudActResult doCmd_LasFile_Import(const stControlParam_LasFile_Import &param, QString *registeredName);

    /// Forgets a LAS file. The file on disk and the data sets made from it stay.
    ///
    /// @return `ActResult_Success`, or `ActResult_NotFound`
    EEPtCloudActResult doCmd_LasFile_Remove(const stControlParam_LasFile_Remove &param);

    /// Builds a new data set from registered LAS files. Its directory is made first and stays after a failure, with
    /// what the builder left in it; a directory of that name that no data set uses is taken over.
    ///
    /// @return `ActResult_Success`; without a project directory `ActResult_CannotRun`; `ActResult_NameExists`;
    ///         `ActResult_FileError` for a LAS file that does not load, or a LAS name that is not registered, which is
    ///         then registered with an empty path; `ActResult_MakeFailed`
    EEPtCloudActResult doCmd_DataSet_Make(const stControlParam_DataSet_Make &param);

    /// Copies a data set with all of its contents.
    ///
    /// @return `ActResult_Success`; without a project directory, and where the copy fails, `ActResult_CannotRun`;
    ///         `ActResult_NotFound`; `ActResult_NameExists`
    EEPtCloudActResult doCmd_DataSet_Copy(const stControlParam_DataSet_Copy &param);

    /// Merges the points of data sets into a new one, with the columns that they have in common, and announces it
    /// before its sources go. After a failure the sources are untouched and the new directory is removed, with all in
    /// it.
    ///
    /// @return `ActResult_Success`; without a project directory `ActResult_CannotRun`; `ActResult_NameExists`;
    ///         `ActResult_NotFound` if a source is not registered; `ActResult_FileError` where the merge fails
    EEPtCloudActResult doCmd_DataSet_Merge(const stControlParam_DataSet_Merge &param);

    /// Removes a data set and deletes its directory.
    ///
    /// @return `ActResult_Success`, or `ActResult_NotFound`
    EEPtCloudActResult doCmd_DataSet_Remove(const stControlParam_DataSet_Remove &param);

    /// Renames a data set and its directory. Of the other names only those behind the old one in the order of the
    /// registry are compared, without regard to case: past the others it is up to the file system.
    ///
    /// @return `ActResult_Success`; `ActResult_BadName` for blanks at the ends, the old name, and a clash;
    ///         `ActResult_NotFound`; `ActResult_FileError` where the directory can't be renamed
    EEPtCloudActResult doCmd_DataSet_Rename(const stControlParam_DataSet_Rename &param);

    /// Runs a function over a data set in the worker program, and returns when it has ended. The function id alone
    /// decides what runs: the three commands differ in name only.
    ///
    /// The host asks the data set for a destination first (`createEmptyLocatedContent_*`) and registers the result
    /// after a success (`addContent_*`, `setContent_Dem_*`): the command itself neither looks at the file that the
    /// worker wrote nor emits a signal. One worker runs on a machine at a time: a run first stops every other, also
    /// that of another host, and lets half a second pass. Nothing else ends a run that takes long. The start and an end
    /// that the worker reached by itself go to the application's log.
    ///
    /// @param progress  may be null, and nothing can then cancel the run; called on this thread about ten times a
    ///                  second, in the order `isCancelRequested`, `setProgressValue`, `setProgressText`
    /// @return `ActResult_Success`; `ActResult_NotFound`; `ActResult_CannotRun` for a value that is no function;
    ///         `ActResult_WorkerNotStarted`; `ActResult_WorkerFailed`, with the reason in the log;
    ///         `ActResult_WorkerCrashed`; `ActResult_Cancelled`. After the last three, a destination that was half
    ///         written stays
    EEPtCloudActResult doCmd_DataSet_Do_Mesh(const stControlParam_DataSet_Do_Mesh &param,
                                             ILongLiveActionProgress *progress);
    /// Likewise, see `doCmd_DataSet_Do_Mesh`.
    EEPtCloudActResult doCmd_DataSet_Do_Split(const stControlParam_DataSet_Do_Split &param,
                                              ILongLiveActionProgress *progress);
    /// Likewise, see `doCmd_DataSet_Do_Mesh`.
    EEPtCloudActResult doCmd_DataSet_Do_Sample(const stControlParam_DataSet_Do_Sample &param,
                                               ILongLiveActionProgress *progress);

    /// Assigns the LAS registry, name to path, to `out`.
    void getLasFilepaths(QMap<QString, QString> &out) const;

    /// Appends the columns that a registered LAS file can supply; nothing for an unknown name and a file that does not
    /// load.
    void getLasFileColumns(const QString &name, QList<EDataSetColumn> &out);

    /// Null for a name that is not registered.
    PtCloudDataSet *getDataSet(const QString &name);
    /// The point file of a data set; null for a name that is not registered.
    PtCloud_DataSetFile *getDataSetReader(const QString &name) const;
    /// All data sets under their registered names.
    QMap<QString, const PtCloudDataSet *> getDataSets();
    /// Enters the directory name of each data set under its registered name; other entries of `out` stay.
    void getDataSetFileNames(QMap<QString, QString> &out) const;
    /// Enters the directory of each data set under its registered name; other entries of `out` stay.
    void getDataSetFilepaths(QMap<QString, QString> &out) const;
    bool isDataSetEmpty() const;

Q_SIGNALS:
    /// A LAS file was registered under this name.
    void sg_LasFile_Added(QString);
    /// The LAS file of this name is no longer registered.
    void sg_LasFile_Removed(QString);
    /// A data set was made, copied or merged.
    void sg_DataSet_Added(QString);
    /// A data set was removed.
    void sg_DataSet_Removed(QString);
    /// A data set was renamed: old name, new name.
    void sg_DataSet_Renamed(QString, QString);
    /// For the host to raise; the library never does.
    void sg_DataSetFunction_Progress(int, QString);
    /// For the host to raise; the library never does.
    void sg_DataSetFunction_Result(EEPtCloudActResult);

private:
    void clear();
    void closePointFiles();
    bool clashesWithDataSet(const QString &name) const;
    void registerDataSet(const QString &name, std::unique_ptr<PtCloudDataSet> dataSet);
    bool removeDataSet(const QString &name);
    EEPtCloudActResult doFunctionCmd(const QString &dataSetName, const QString &destFilepath,
                                     EPtCloud_Function function, const QVariant &params,
                                     ILongLiveActionProgress *progress);
    QString getFunctionName(EPtCloud_Function function);

    QString m_dir;
    QMap<QString, QString> m_lasFiles; ///< registered name to path, as received
    QMap<QString, PtCloudDataSet *> m_dataSets;
    std::vector<std::unique_ptr<PtCloudDataSet>> m_dropped; ///< no longer registered, kept for pointers to them
};

} // namespace ptCloud
