#pragma once

#include "PtCloud_Types.h"
#include "VolumeCalcArea.h"
#include "points_cloud_global.h"

#include <QDir>
#include <QMap>
#include <QString>

class QDataStream;

namespace ptCloud
{

class PtCloud_DataSetFile;

/// All areas of one data set by name, with the file (`earth.volume`) that keeps them and their results.
///
///     VolumeCalcArea *pit = list->addArea(QStringLiteral("pit"));
///     pit->boundary = corners;
///     list->doCalc(VolumeCalc_DTM);
///     use(pit->getDigVolume_dtm(), pit->getFillVolume_dtm());
///     list->saveToFile();
///
/// The list owns its areas. A pointer to one is good until that area is removed or the list is cleared or loaded; after
/// the list is copied it still names the area of the list it came from. The two data set files are the caller's. Not
/// for two threads at once.
class POINTS_CLOUD_EXPORT VolumeCalcAreaList
{
public:
    VolumeCalcAreaList() = default;
    VolumeCalcAreaList(const VolumeCalcAreaList &other);
    VolumeCalcAreaList &operator=(const VolumeCalcAreaList &other);

    /// A new area with default values; null if the name is taken.
    VolumeCalcArea *addArea(const QString &name);
    void removeArea(const QString &name);
    /// Null if there is none of that name.
    VolumeCalcArea *getArea(const QString &name);
    const VolumeCalcArea *getArea(const QString &name) const;
    /// Enters each area under its name; other entries of the map stay.
    void getAreas(QMap<QString, VolumeCalcArea *> &result);
    void getAreas(QMap<QString, const VolumeCalcArea *> &result) const;
    /// Drops the areas; file and sources stay.
    void clear();
    bool isEmpty() const { return areas.isEmpty(); }

    /// The mesh that `VolumeCalc_DTM` reads; may be null.
    void setDTMFile(PtCloud_DataSetFile *file) { dtmFile = file; }
    /// The points that `VolumeCalc_GRID` reads; may be null.
    void setGridFile(PtCloud_DataSetFile *file) { gridFile = file; }

    /// Where the list is stored. Nothing is touched on disk.
    void setFile(QDir directory, const QString &name) const;
    /// Another name in the same directory, for the next load or save; a file on disk keeps its name.
    void rename(const QString &name);
    /// Gives `other` this directory and the name. No area and no source is copied.
    void copyTo(VolumeCalcAreaList &other, const QString &name);

    /// Calculates every area, in the order of their names, from the mesh or from the points.
    ///
    /// False without a file name, without that source, or if it can't be opened. An area that can't be calculated
    /// shows in its own flag, not in the answer. A source that is open stays open. One that had to be opened makes the
    /// run close the mesh file at its end, and that alone: points that `VolumeCalc_GRID` opened stay open.
    /// Nothing is saved.
    bool doCalc(EVolumeCalcFunction function);

    /// Replaces the areas by those in the file. False, with the list empty, without a file name, where the file can't
    /// be read, and where an area's record is broken. A file of an unknown version is an empty list.
    bool loadFromFile();
    /// Writes the file in place. False without a file name or where it can't be opened.
    bool saveToFile() const;

private:
    friend class PtCloudDataSet;

    /// No longer names a file that is about to go.
    void forget(const PtCloud_DataSetFile *file);

    bool load(QDataStream &stream);
    void save(QDataStream &stream) const;
    PtCloud_DataSetFile *sourceOf(EVolumeCalcFunction function) const;

    mutable QDir dir = QDir(QString());
    mutable QString fileName;
    QMap<QString, VolumeCalcArea> areas;
    PtCloud_DataSetFile *gridFile = nullptr;
    PtCloud_DataSetFile *dtmFile = nullptr;
};

} // namespace ptCloud
