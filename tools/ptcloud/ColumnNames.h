#pragma once

#include "PtCloud_Types.h"

#include <QJsonArray>
#include <QList>
#include <QString>

/// A column in words, such as "gps time"; its number for a value that is no column.
QString columnName(ptCloud::EDataSetColumn column);
/// Columns in words, separated by commas.
QString columnNames(const QList<ptCloud::EDataSetColumn> &columns);
/// Columns by number.
QJsonArray columnNumbers(const QList<ptCloud::EDataSetColumn> &columns);

/// Takes a list such as "0,3,13". Throws `CommandError` for anything that is no column number.
QList<ptCloud::EDataSetColumn> parseColumns(const QString &list);
