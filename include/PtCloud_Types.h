#pragma once

#include "points_cloud_global.h"

#include <QList>
#include <QMetaType>
#include <QSet>
#include <QString>
#include <QVariant>

/// \file
/// Every enumeration of the library and the plain records that commands take. The numbers are fixed: some stand in
/// files, others cross to other programs.

/// The functions that the external worker runs. The list of parameters of each stands in docs/worker.md.
enum EPtCloud_Function : int {
    Function_mesh_alpha = 0,             ///< meshing
    Function_mesh_ball_pivoting = 1,     ///< meshing
    Function_mesh_poisson = 2,           ///< meshing
    Function_dem = 3,                    ///< terrain products: mesh, height map, contours, classification
    Function_split_dbscan = 100,         ///< splitting
    Function_split_kmeans = 101,         ///< splitting
    Function_split_kmeans_extra = 102,   ///< splitting
    Function_split_euclidean = 103,      ///< splitting
    Function_split_euclidean_fast = 104, ///< splitting
    Function_split_region_growing = 105, ///< splitting
    Function_split_pachwork = 106,       ///< splitting; the only one without parameters
    Function_split_csf = 107,            ///< splitting
    Function_sample_poisson_disk = 200,  ///< sampling
};

namespace ptCloud
{

/// The kinds of point column. The values are stored in data set files; anything above 18 is invalid everywhere.
enum EDataSetColumn : int {
    EDataSetColumn_Position = 0,                     ///< `pcVec3f`, in thousandths of the LAS integers
    EDataSetColumn_Normal = 1,                       ///< `pcVec3f`
    EDataSetColumn_Triangle = 2,                     ///< `stTriangle`, one for each triangle
    EDataSetColumn_Color = 3,                        ///< `pcVec4f`, red, green, blue, alpha in 0.0 to 1.0
    EDataSetColumn_Intensity = 4,                    ///< unsigned 16-bit
    EDataSetColumn_ReturnNumber = 5,                 ///< unsigned 8-bit
    EDataSetColumn_NumberOfReturns = 6,              ///< unsigned 8-bit
    EDataSetColumn_ScanDirection = 7,                ///< unsigned 8-bit
    EDataSetColumn_EdgeOfFlightLine = 8,             ///< unsigned 8-bit
    EDataSetColumn_Classification = 9,               ///< unsigned 8-bit
    EDataSetColumn_ScanAngleRank = 10,               ///< unsigned 8-bit, the bits of a signed value
    EDataSetColumn_UserData = 11,                    ///< unsigned 8-bit
    EDataSetColumn_PointSourceId = 12,               ///< unsigned 16-bit
    EDataSetColumn_GpsTime = 13,                     ///< 64-bit float
    EDataSetColumn_WavePacketDescriptorIndex = 14,   ///< unsigned 8-bit
    EDataSetColumn_ByteOffsetToWaveformData = 15,    ///< unsigned 64-bit
    EDataSetColumn_WaveformPacketSize = 16,          ///< unsigned 32-bit
    EDataSetColumn_ReturnPointWaveformLocation = 17, ///< 32-bit float
    EDataSetColumn_WaveformXyzT = 18,                ///< `pcVec3f`
};

/// How the blocks of a data set are ordered. Stored in the head of a data set file.
enum EDataSetSort : int {
    EDataSetSort_None = 0,    ///< no order is promised; also the state of a closed reader
    EDataSetSort_ByBox = 1,   ///< all blocks come from one grid of boxes over one set of points
    EDataSetSort_ByArray = 2, ///< blocks come from several arrays, each with a grid or a block of its own
};

/// Which reader stands behind an `IDataSetReader`.
enum EDataSetType : int {
    EDataSetType_File = 0,   ///< `PtCloud_DataSetFile`
    EDataSetType_Memory = 1, ///< `PtCloud_DataSetMemory`
};

/// The result of every command of the controller: 0 is success.
enum EEPtCloudActResult : int {
    ActResult_Success = 0,          ///< the command was carried out
    ActResult_CannotRun = 1,        ///< no project directory, a failed copy, or a function without configuration
    ActResult_FileError = 2,        ///< a LAS file didn't load, a merged file wasn't built, a rename on disk failed
    ActResult_NotFound = 3,         ///< the named LAS file or data set isn't registered
    ActResult_NameExists = 4,       ///< the new data set name clashes with a registered one
    ActResult_MakeFailed = 5,       ///< building the data set file from LAS files failed
    ActResult_BadName = 6,          ///< the rename target is not acceptable
    ActResult_WorkerNotStarted = 7, ///< no shared memory, or the worker process did not start
    ActResult_WorkerFailed = 8,     ///< the worker ended with an exit code other than 0
    ActResult_WorkerCrashed = 9,    ///< the worker process crashed
    ActResult_Cancelled = 10,       ///< the progress interface asked for it, and the worker was killed
};

/// What an earth volume is computed from.
enum EVolumeCalcFunction : int {
    VolumeCalc_DTM = 0,  ///< a triangle mesh
    VolumeCalc_GRID = 1, ///< raw points, in a grid of cells
};

/// What `PtCloud_Controller::doCmd_LasFile_Import` takes.
struct stControlParam_LasFile_Import
{
    QString filepath; ///< path of the LAS file; kept as given
};

/// What `PtCloud_Controller::doCmd_LasFile_Remove` takes.
struct stControlParam_LasFile_Remove
{
    QString name; ///< a registered LAS name, letter for letter
};

/// What `PtCloud_Controller::doCmd_DataSet_Make` takes.
struct stControlParam_DataSet_Make
{
    QList<QString> lasNames;       ///< registered LAS names, in the order of building
    QList<EDataSetColumn> columns; ///< what the data set keeps: 0 among them, 1 and 2 not
    QString name;                  ///< of the new data set and of its directory
};

/// What `PtCloud_Controller::doCmd_DataSet_Copy` takes.
struct stControlParam_DataSet_Copy
{
    QString name;    ///< registered name of the source
    QString newName; ///< of the copy and of its directory
};

/// What `PtCloud_Controller::doCmd_DataSet_Merge` takes.
struct stControlParam_DataSet_Merge
{
    QSet<QString> sourceNames;  ///< registered names; the merge follows the set's own order
    QString newName;            ///< of the merged data set and of its directory
    bool removeSources = false; ///< remove the sources once the merge is done
};

/// What `PtCloud_Controller::doCmd_DataSet_Remove` takes.
struct stControlParam_DataSet_Remove
{
    QString name; ///< registered name
};

/// What `PtCloud_Controller::doCmd_DataSet_Rename` takes.
struct stControlParam_DataSet_Rename
{
    QString name;    ///< registered name now
    QString newName; ///< wanted, without blanks at its ends
};

/// What `PtCloud_Controller::doCmd_DataSet_Do_Mesh` takes.
struct stControlParam_DataSet_Do_Mesh
{
    QString name;                                     ///< registered name of the data set to process
    QString destFilepath;                             ///< where the worker writes its result
    EPtCloud_Function function = Function_mesh_alpha; ///< decides alone what is run
    QVariant params;                                  ///< a `QVariantList`, in the function's own order
};

/// What `PtCloud_Controller::doCmd_DataSet_Do_Split` takes.
struct stControlParam_DataSet_Do_Split
{
    QString name;                                     ///< registered name of the data set to process
    QString destFilepath;                             ///< where the worker writes its result
    EPtCloud_Function function = Function_mesh_alpha; ///< decides alone what is run
    QVariant params;                                  ///< a `QVariantList`, in the function's own order
};

/// What `PtCloud_Controller::doCmd_DataSet_Do_Sample` takes.
struct stControlParam_DataSet_Do_Sample
{
    QString name;                                     ///< registered name of the data set to process
    QString destFilepath;                             ///< where the worker writes its result
    EPtCloud_Function function = Function_mesh_alpha; ///< decides alone what is run
    QVariant params;                                  ///< a `QVariantList`, in the function's own order
};

} // namespace ptCloud

Q_DECLARE_METATYPE(ptCloud::EEPtCloudActResult)
