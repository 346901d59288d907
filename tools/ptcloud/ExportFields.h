#pragma once

#include "stPtCloud_PointArray.h"

#include <QByteArray>
#include <QList>

#include <vector>

/// One value of a point as it leaves the library: a component of a vector, or a column of plain values.
struct ExportField
{
    ptCloud::EDataSetColumn column;
    const char *name;
    const char *plyType;
    /// As decimal text that reads back as the same value.
    void (*appendText)(QByteArray &text, const ptCloud::stPtCloud_PointArray &array, quint32 point);
    /// As bytes of `plyType`.
    void (*appendBytes)(QByteArray &bytes, const ptCloud::stPtCloud_PointArray &array, quint32 point);
};

/// The fields of columns, in the order of the columns' numbers. Triangles are no field of a point.
std::vector<ExportField> exportFields(const QList<ptCloud::EDataSetColumn> &columns);
