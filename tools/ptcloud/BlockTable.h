#pragma once

#include "Console.h"

#include "PtCloud_DataSetFile.h"

#include <QJsonArray>
#include <QList>

/// One block of a data set file, as its head tells it.
struct BlockRow
{
    int key;
    qint64 offset;
    unsigned int points;
    quint32 triangles;
    ptCloud::pcBoundingBoxf box;
};

/// All blocks of an open file, in the order of their keys. Throws `CommandError` if the file can't be read.
QList<BlockRow> readBlockTable(const ptCloud::PtCloud_DataSetFile &file);

/// min x y z, max x y z
QJsonArray boxToJson(const ptCloud::pcBoundingBoxf &box);

/// Tells what an open file holds: sort, columns, and each block unless only a summary is wanted.
void tellBlocks(const Console &console, ptCloud::PtCloud_DataSetFile &file, bool summaryOnly);
