#pragma once

#include <QByteArray>

#include <map>
#include <vector>

namespace support
{

/// Points as plain columns: the raw bytes of each column that is there, by its number.
struct PlainArray
{
    quint32 points = 0;
    qint32 tag = -1;
    quint32 triangles = 0;
    std::map<quint32, QByteArray> columns;

    bool has(quint32 column) const { return columns.count(column) != 0; }
    /// The bytes of `count` elements of a column that is there, from element `first`.
    QByteArray elements(quint32 column, quint32 first, quint32 count) const;
    /// One coordinate of a point.
    float coordinate(quint32 point, int axis) const;
};

/// What comes of laying arrays into boxes, worked out box by box and point by point without the library.
struct PlainArrayBuild
{
    bool complete = false; ///< false where no point fell into any box
    QByteArray blockFile;
};

/// One array, with all of its columns; in one piece where it has triangles.
PlainArrayBuild buildPlainly(const PlainArray &array);

/// Several arrays, each with boxes of its own, and with the columns of the first that has points. All that have points
/// have positions, and the first one no triangles.
PlainArrayBuild buildPlainly(const std::vector<PlainArray> &arrays);

} // namespace support
