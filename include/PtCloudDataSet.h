#pragma once

#include "PtCloud_ContourFile.h"
#include "PtCloud_DataSetFile.h"
#include "VolumeCalcAreaList.h"
#include "points_cloud_global.h"

#include <QImage>
#include <QMap>
#include <QObject>
#include <QString>

#include <memory>

class QDir;

namespace ptCloud
{

/// One named data set on disk: a directory of its own with a file of points and all that was derived from them.
///
/// The directory is the only truth. `loadFromFile` rebuilds the object from what it finds there, and **deletes every
/// other plain file in it**. Contents come and go through the operations below, and the host learns of it by signals,
/// emitted when everything is done. All file objects are closed between operations: a reader opens one for the time of
/// its work.
///
///     const auto *meshes = dataSet->getContent_Meshs();
///     PtCloud_DataSetFile *mesh = dataSet->createEmptyLocatedContent_Mesh(QStringLiteral("roof"));
///     if (mesh != nullptr && write(*mesh))
///         dataSet->addContent_Mesh(QStringLiteral("roof"), mesh); // the data set owns it from here
///
/// A name that is not one plain path component (empty, "..", "a/b") names no directory and no file: what is asked under
/// it fails like a directory that can't be entered. Failures give false, null, an empty string or nothing at all, and
/// no signal. Everything runs on the caller's thread; no reader may be at work while files are renamed or replaced.
class POINTS_CLOUD_EXPORT PtCloudDataSet : public QObject
{
    Q_OBJECT

public:
    PtCloudDataSet();
    ~PtCloudDataSet() override;

    /// Takes the parent directory and the name, and makes the data set's directory where it is missing. Where that
    /// fails, the two are stored all the same.
    void setDir(const QString &dir, const QString &name);

    /// Replaces all contents by what the directory holds. False, with nothing touched on disk, without a sound file
    /// `Points`. Meshes, splits and cuts that are corrupt are deleted, as is every plain file without a part in the
    /// data set; a file that can't be read stays and is not listed. Emits nothing.
    bool loadFromFile();

    /// Stores the volume list; all else is written when it is made. False only without a directory.
    bool saveToFile() const;

    /// Copies the whole directory to a sibling and loads it; the caller owns the new object. Null if the copying fails,
    /// with what was copied left, or if the copy does not load, with its directory removed. The source must be sound
    /// and the target neither itself nor within it.
    PtCloudDataSet *copy(const QString &newName);

    /// Copies `Points` over another file of the directory, which must exist; the caller owns the object, and the file
    /// is in no list. Closes the points, whatever follows.
    PtCloud_DataSetFile *copyPoints(const QString &fileName);

    /// Renames the directory. What was open is opened again in its new place, except the contours. Where that fails,
    /// everything is closed and the old name holds. Emits nothing.
    bool rename(const QString &newName);

    /// Deletes the directory with all in it and forgets it. A link to a directory is removed as a link.
    void removeFile();

    /// Puts `tmp_points` in the place of `Points` and emits `sgContentUpdated_Points`. Where a step fails, the old
    /// points are in place and closed. Nothing without `tmp_points`.
    void updateContent_Points();

    QString getName() const { return m_name; }

    /// \name Paths
    /// Absolute; empty without a directory.
    /// @{
    QString getFilePath_Points() const;
    QString getFilePath_Dem_Mesh() const;
    QString getFilePath_Dem_HeightMap() const;
    QString getFilePath_Dem_Contour() const;
    QString getFilePath_Dem_Classify() const;
    /// @}

    /// \name Where to write new content
    /// Paths are empty without a directory. The objects are the caller's until they are given to `addContent_*`; null
    /// without a directory, for a name that is taken, and where something other than a file is in the place.
    /// @{
    QString createEmptyLocatedContent_Points() const; ///< `tmp_points`, for `updateContent_Points`
    QString createEmptyLocatedContent_Dem_Mesh() const;
    QString createEmptyLocatedContent_Dem_HeightMap() const;
    QString createEmptyLocatedContent_Dem_Contour() const;
    QString createEmptyLocatedContent_Dem_Classify() const;
    PtCloud_DataSetFile *createEmptyLocatedContent_Mesh(const QString &name) const;
    PtCloud_DataSetFile *createEmptyLocatedContent_Split(const QString &name) const;
    PtCloud_DataSetFile *createEmptyLocatedContent_Cut(const QString &name) const;
    /// @}

    /// \name Access
    /// All stay the data set's. A terrain content is absent while its path is empty.
    /// @{
    PtCloud_DataSetFile *getContent_PointDataSetFile() const;
    const QMap<QString, PtCloud_DataSetFile *> *getContent_Meshs() const;
    const QMap<QString, PtCloud_DataSetFile *> *getContent_Splits() const;
    const QMap<QString, PtCloud_DataSetFile *> *getContent_Cuts() const;
    PtCloud_DataSetFile *getContent_Dem_Mesh() const;
    PtCloud_DataSetFile *getContent_Dem_Classify() const;
    PtCloud_ContourFile *getContent_Dem_Contour() const;
    VolumeCalcAreaList *getContent_EarthVolume() const;
    QImage *getContent_Dem_HeightMap() const; ///< null while absent
    /// @}

    /// \name Adding content
    /// A file takes the place of the one of that name, whose object is deleted and whose file stays. The terrain
    /// contents are attached from the files in the directory; one that does not open is absent.
    /// @{
    void addContent_Mesh(const QString &name, PtCloud_DataSetFile *file);
    void addContent_Split(const QString &name, PtCloud_DataSetFile *file);
    void addContent_Cut(const QString &name, PtCloud_DataSetFile *file);
    void addContent_EarthVolume(); ///< only tells: the host has changed the list itself
    void setContent_Dem_Mesh();
    void setContent_Dem_HeightMap(); ///< emits nothing
    void setContent_Dem_Contour();
    void setContent_Dem_Classify();
    /// @}

    /// \name Removing content, with its file
    /// An unknown name is nothing.
    /// @{
    void removeContent_Mesh(const QString &name);
    void removeContent_Split(const QString &name);
    void removeContent_Cut(const QString &name);
    void removeContent_AllMesh();
    void removeContent_AllSplits();
    void removeContent_AllCuts();
    void removeContent_Dem_Mesh();
    void removeContent_Dem_HeightMap(); ///< emits nothing
    void removeContent_Dem_Contour();
    void removeContent_Dem_Classify();
    void removeContent_AllDem();
    void removeContent_EarthVolume(); ///< only tells: the host has changed the list itself
    /// @}

Q_SIGNALS:
    void sgContentUpdated_Points(QString strDataSetName);
    void sgContentAdded_Mesh(QString strDataSetName, QString strMeshName);
    void sgRemoved_Mesh(QString strDataSetName, QString strMeshName);
    void sgContentAdded_Dem_Mesh(QString strDataSetName);
    void sgContentRemoved_Dem_Mesh(QString strDataSetName);
    void sgContentAdded_Dem_Contour(QString strDataSetName);
    void sgContentRemoved_Dem_Contour(QString strDataSetName);
    void sgContentAdded_Dem_Classify(QString strDataSetName);
    void sgContentRemoved_Dem_Classify(QString strDataSetName);
    void sgContentAdded_Split(QString strDataSetName, QString strSplitName);
    void sgRemoved_Split(QString strDataSetName, QString strSplitName);
    void sgContentAdded_EarthVolume(QString strDataSetName);
    void sgContentRemoved_EarthVolume(QString strDataSetName);
    void sgContentAdded_Cut(QString strDataSetName, QString strCutName);
    void sgContentRemoved_Cut(QString strDataSetName, QString strCutName);

private:
    using FileMap = QMap<QString, PtCloud_DataSetFile *>; ///< values owned

    /// Files of one kind, any number of them: meshes, splits or cuts.
    struct Family;
    static const Family meshes;
    static const Family splits;
    static const Family cuts;

    static QString getFileName_Points();
    static QString getFileName_Mesh(const QString &name);
    static QString getFileName_Split(const QString &name);
    static QString getFileName_Cut(const QString &name);
    static QString getFileName_Dem_Mesh();
    static QString getFileName_Dem_HeightMap();
    static QString getFileName_Dem_Contour();
    static QString getFileName_Dem_Classify();
    static QString getFileName_EarthVolumn();

    void clear();
    bool enter(QDir &directory) const;
    QString pathOf(const QString &fileName) const;
    PtCloud_DataSetFile *createLocated(const Family &family, const QString &name) const;
    void add(const Family &family, const QString &name, PtCloud_DataSetFile *file);
    void remove(const Family &family, const QString &name);
    void removeAll(const Family &family);
    void load(const Family &family, const QList<QFileInfo> &files, QStringList &knownNames);
    void drop(PtCloud_DataSetFile *file);
    void dropAll(const Family &family);
    bool attachDemMesh(const QString &path);
    bool attachDemContour(const QString &path);
    void loadDemHeightMap(const QString &path);
    struct OpenContents;
    OpenContents closeContents();
    void moveContents(const QDir &directory, const OpenContents &wasOpen);

    QString m_dir;
    QString m_name;
    // A data set that is const hands its contents out for reading all the same, and reading opens files.
    mutable PtCloud_DataSetFile m_points;
    FileMap m_meshes;
    mutable PtCloud_DataSetFile m_demMesh; ///< absent while its path is empty, like the contours and the classes
    std::unique_ptr<QImage> m_demHeightMap;
    mutable PtCloud_ContourFile m_demContour;
    mutable PtCloud_DataSetFile m_demClassify;
    FileMap m_splits;
    mutable VolumeCalcAreaList m_earthVolume;
    FileMap m_cuts;
};

} // namespace ptCloud
