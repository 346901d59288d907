#pragma once

#include "points_cloud_global.h"

#include <QList>
#include <QMap>
#include <QPointF>
#include <QString>
#include <QVector>

class QDataStream;

namespace ptCloud
{

/// The contour lines of a terrain in memory, with the file (`dem.contour`) that keeps them. `docs/formats.md` tells
/// every byte.
///
/// There are two groups of contours, each from a height to its lines; what tells them apart is up to the producer of
/// the file. The file is open only while it is read or written: `openFile` fills the groups, `closeFile` empties them.
/// A value: copies are independent. Not for two threads at once.
class POINTS_CLOUD_EXPORT PtCloud_ContourFile
{
public:
    /// Height to lines, each line its points in order.
    using Group = QMap<double, QList<QVector<QPointF>>>;

    /// Drops what was read and takes the path. Nothing is touched on disk.
    void setFile(const QString &path);
    QString getFilepath() const { return m_filePath; }
    /// Whether the path names an existing, readable file.
    bool isValid() const;
    /// False, always: reading leaves no file open.
    bool isOpen() const { return m_isOpen; }

    /// Reads both groups. False, with both empty, for a file that can't be read or is of another version. A file that
    /// was cut short reads as zeros from there on and is no failure.
    bool openFile();
    /// Empties both groups; the path stays.
    void closeFile();
    /// Writes the file in place. False without a path or where it can't be opened. `error` is not written.
    bool saveToFile(QString *error = nullptr) const;
    /// Empties both groups and removes the file from disk; the path stays. Nothing without a path.
    void removeFile();

    const Group &contourGroup1() const { return m_contourGroup1; }
    Group &contourGroup1() { return m_contourGroup1; }
    const Group &contourGroup2() const { return m_contourGroup2; }
    Group &contourGroup2() { return m_contourGroup2; }

private:
    void clear();
    bool load(QDataStream &stream);
    void save(QDataStream &stream) const;

    bool m_isOpen = false;
    QString m_filePath;
    Group m_contourGroup1;
    Group m_contourGroup2;
};

} // namespace ptCloud
