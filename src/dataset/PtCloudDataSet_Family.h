#pragma once

#include "PtCloudDataSet.h"

namespace ptCloud
{

/// What meshes, splits and cuts differ in. Every operation on them is written once and takes one of these.
struct PtCloudDataSet::Family
{
    FileMap PtCloudDataSet::*files;
    QString (*fileName)(const QString &name);
    void (PtCloudDataSet::*added)(QString dataSet, QString name);
    void (PtCloudDataSet::*removed)(QString dataSet, QString name);
};

} // namespace ptCloud
