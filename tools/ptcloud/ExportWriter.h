#pragma once

#include "ExportFields.h"

#include <QSaveFile>
#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <optional>
#include <vector>

/// What goes out of a block: the indices of its points in ascending order.
struct ExportedPoints
{
    const ptCloud::stPtCloud_PointArray &array;
    const std::vector<quint32> &indices;
};

/// What a file is to hold.
struct ExportPlan
{
    QString path;
    QList<ptCloud::EDataSetColumn> columns; ///< the position among them
    qint64 points = 0;
    qint64 triangles = 0;
    /// What to add to positions; nothing: they go out as they are.
    std::optional<std::array<double, 3>> shift;
};

/// A file of points that is being written: first all points, then all triangles. Where the file stood one before stays
/// until `commit`. Throws `CommandError` where it can't be written.
class ExportWriter
{
public:
    virtual ~ExportWriter() = default;

    /// By the ending of the path: .las, .ply or .csv.
    static std::unique_ptr<ExportWriter> create(const ExportPlan &plan);
    static bool takesTriangles(const QString &path);

    virtual void addPoints(const ExportedPoints &points) = 0;
    /// Their corners are numbers of points in the file.
    virtual void addTriangles(const std::vector<ptCloud::stTriangle> &) {}
    virtual void commit() = 0;
    /// Of the file so far.
    virtual qint64 bytes() const = 0;
    /// The columns that the file has no room for.
    virtual QList<ptCloud::EDataSetColumn> dropped() const = 0;
};
