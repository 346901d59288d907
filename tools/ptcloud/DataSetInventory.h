#pragma once

#include "Console.h"

#include "PtCloudDataSet.h"

#include <QJsonObject>

/// What a data set file holds, in one row.
struct FileRow
{
    QString name;
    qint64 points = 0;
    qint64 triangles = 0;
    int blocks = 0;
    qint64 bytes = 0;
    ptCloud::pcBoundingBoxf box; ///< around the boxes of the blocks; not valid without any
};

/// Opens the file, looks at its head, and closes it. Throws `CommandError` if it can't be read.
FileRow summarise(const QString &name, ptCloud::PtCloud_DataSetFile &file);
QJsonObject toJson(const FileRow &row);

/// Tells everything that a data set holds.
void tellDataSet(const Console &console, const ptCloud::PtCloudDataSet &dataSet);
