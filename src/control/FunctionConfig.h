#pragma once

#include "PtCloud_Types.h"

#include <QString>
#include <QVariant>

namespace ptCloud
{

/// What the worker is to do: the contents of its settings file.
struct stFunctionConfig
{
    EPtCloud_Function function = Function_mesh_alpha;
    QVariant params; ///< a `QVariantList`, in the order of the function's keys
    QString sourceFilepath;
    QString destFilepath;
};

/// The name of a function in the log; empty for terrain products and for a value that is no function.
QString functionLogName(EPtCloud_Function function);

/// Writes the worker's settings into the file at `path`, in ini format.
///
/// Keys that the file holds already stay: those of other functions, which the worker passes over. An element that is
/// missing in the list reads as false, 0 or an empty text, and further elements are ignored. False for a value that is
/// no function: the file then holds that value and the paths, beside the keys of the last good run. Nothing tells that
/// a file could not be written.
bool writeFunctionConfig(const stFunctionConfig &config, const QString &path);

} // namespace ptCloud
