#pragma once

#include "VolumeCalcAreaList.h"

#include <QByteArray>
#include <QJsonArray>
#include <QList>
#include <QString>

/// One result of one area, as it is shown.
struct VolumeRow
{
    QString name;
    QString method; ///< "grid", "dtm", or "none" for an area without a result
    double ground = 0;
    double maxHeight = 0;
    double gridSize = 0;
    double dig = 0;
    double fill = 0;
    int count = 0; ///< cells or triangles
    bool isCalculated = false;
    QString why; ///< why it was not calculated, or what makes the figures doubtful
};

/// What a calculation ran on, as far as it explains a result.
struct VolumeSource
{
    int blocks = 0;
    qint64 points = 0;
    qint64 triangles = 0;
};

/// A row for each area after a run, in the order of names.
QList<VolumeRow> rowsAfterRun(const ptCloud::VolumeCalcAreaList &list, ptCloud::EVolumeCalcFunction function,
                              const VolumeSource &source);
/// A row for each result that is stored, and one for each area without any.
QList<VolumeRow> rowsAsStored(const ptCloud::VolumeCalcAreaList &list);
/// Whether the list's file, read again, tells the same.
bool isAsStored(const ptCloud::VolumeCalcAreaList &list);

/// A table for people, with a head line and, for more than one row, a sum.
QStringList toTable(const QList<VolumeRow> &rows);
QJsonArray toJson(const QList<VolumeRow> &rows);
/// RFC 4180, with a head line and decimal points.
QByteArray toCsv(const QList<VolumeRow> &rows);
