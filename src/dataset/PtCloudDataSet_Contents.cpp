// Contents that come and go: each operation ends in its final state before it tells the host.

#include "PtCloudDataSet.h"
#include "PtCloudDataSet_Family.h"
#include "System.h"

#include <QDir>
#include <QFile>
#include <QImageReader>

namespace ptCloud
{

namespace
{

/// A picture of more pixels is taken for none: a few bytes can announce more than any memory holds.
constexpr qint64 mostPixels = qint64(1) << 28;

} // namespace

void PtCloudDataSet::addContent_Mesh(const QString &name, PtCloud_DataSetFile *file)
{
    add(meshes, name, file);
}

void PtCloudDataSet::addContent_Split(const QString &name, PtCloud_DataSetFile *file)
{
    add(splits, name, file);
}

void PtCloudDataSet::addContent_Cut(const QString &name, PtCloud_DataSetFile *file)
{
    add(cuts, name, file);
}

void PtCloudDataSet::add(const Family &family, const QString &name, PtCloud_DataSetFile *file)
{
    if (file == nullptr || !platform::isPlainName(name))
        return;
    const QString added = name;
    PtCloud_DataSetFile *&place = (this->*family.files)[added];
    if (place != file)
        drop(place);
    place = file;
    Q_EMIT(this->*family.added)(m_name, added);
}

void PtCloudDataSet::addContent_EarthVolume()
{
    Q_EMIT sgContentAdded_EarthVolume(m_name);
}

bool PtCloudDataSet::attachDemMesh(const QString &path)
{
    const bool opened = m_demMesh.setFile(path) && m_demMesh.openFile();
    m_demMesh.closeFile();
    return opened;
}

bool PtCloudDataSet::attachDemContour(const QString &path)
{
    m_demContour.setFile(path);
    const bool opened = m_demContour.openFile();
    m_demContour.closeFile();
    if (!opened)
        m_demContour.setFile(QString());
    return opened;
}

void PtCloudDataSet::loadDemHeightMap(const QString &path)
{
    m_demHeightMap.reset();
    QImageReader reader(path);
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() > mostPixels)
        return;
    const QImage image = reader.read();
    if (!image.isNull())
        m_demHeightMap = std::make_unique<QImage>(image);
}

void PtCloudDataSet::setContent_Dem_Mesh()
{
    QDir directory;
    if (!enter(directory) || !m_demMesh.setFile(directory.absoluteFilePath(getFileName_Dem_Mesh())))
        return;
    if (!m_demMesh.openFile()) {
        m_demMesh.setFile(QString());
        return;
    }
    m_demMesh.closeFile();
    Q_EMIT sgContentAdded_Dem_Mesh(m_name);
}

void PtCloudDataSet::setContent_Dem_Classify()
{
    QDir directory;
    if (!enter(directory))
        return;
    m_demClassify.setFile(directory.absoluteFilePath(getFileName_Dem_Classify()));
    if (!m_demClassify.openFile()) {
        m_demClassify.setFile(QString());
        return;
    }
    m_demClassify.closeFile();
    Q_EMIT sgContentAdded_Dem_Classify(m_name);
}

void PtCloudDataSet::setContent_Dem_Contour()
{
    QDir directory;
    if (enter(directory) && attachDemContour(directory.absoluteFilePath(getFileName_Dem_Contour())))
        Q_EMIT sgContentAdded_Dem_Contour(m_name);
}

void PtCloudDataSet::setContent_Dem_HeightMap()
{
    QDir directory;
    if (enter(directory))
        loadDemHeightMap(directory.absoluteFilePath(getFileName_Dem_HeightMap()));
}

void PtCloudDataSet::removeContent_Mesh(const QString &name)
{
    remove(meshes, name);
}

void PtCloudDataSet::removeContent_Split(const QString &name)
{
    remove(splits, name);
}

void PtCloudDataSet::removeContent_Cut(const QString &name)
{
    remove(cuts, name);
}

void PtCloudDataSet::remove(const Family &family, const QString &name)
{
    FileMap &files = this->*family.files;
    // The name may be the key of the very entry that goes.
    const QString removed = name;
    PtCloud_DataSetFile *const file = files.take(removed);
    if (file == nullptr)
        return;
    file->removeFile();
    drop(file);
    Q_EMIT(this->*family.removed)(m_name, removed);
}

void PtCloudDataSet::removeContent_AllMesh()
{
    removeAll(meshes);
}

void PtCloudDataSet::removeContent_AllSplits()
{
    removeAll(splits);
}

void PtCloudDataSet::removeContent_AllCuts()
{
    removeAll(cuts);
}

void PtCloudDataSet::removeAll(const Family &family)
{
    // A slot may remove others meanwhile; what is gone by then is nothing to remove.
    const QList<QString> names = (this->*family.files).keys();
    for (const QString &name : names)
        remove(family, name);
}

void PtCloudDataSet::removeContent_Dem_Mesh()
{
    QDir directory;
    if (!enter(directory))
        return;
    m_demMesh.removeFile();
    m_demMesh.setFile(QString());
    Q_EMIT sgContentRemoved_Dem_Mesh(m_name);
}

void PtCloudDataSet::removeContent_Dem_HeightMap()
{
    QDir directory;
    if (!enter(directory))
        return;
    m_demHeightMap.reset();
    QFile::remove(directory.absoluteFilePath(getFileName_Dem_HeightMap()));
}

void PtCloudDataSet::removeContent_Dem_Contour()
{
    QDir directory;
    if (!enter(directory))
        return;
    m_demContour.removeFile();
    m_demContour.setFile(QString());
    Q_EMIT sgContentRemoved_Dem_Contour(m_name);
}

void PtCloudDataSet::removeContent_Dem_Classify()
{
    QDir directory;
    if (!enter(directory))
        return;
    m_demClassify.removeFile();
    m_demClassify.setFile(QString());
    Q_EMIT sgContentRemoved_Dem_Classify(m_name);
}

void PtCloudDataSet::removeContent_AllDem()
{
    removeContent_Dem_Mesh();
    removeContent_Dem_HeightMap();
    removeContent_Dem_Contour();
    removeContent_Dem_Classify();
}

void PtCloudDataSet::removeContent_EarthVolume()
{
    Q_EMIT sgContentRemoved_EarthVolume(m_name);
}

void PtCloudDataSet::drop(PtCloud_DataSetFile *file)
{
    m_earthVolume.forget(file);
    delete file;
}

} // namespace ptCloud
