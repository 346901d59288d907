#include "PtCloudDataSet.h"

#include "PtCloudDataSet_Family.h"
#include "System.h"

#include <QDir>

namespace ptCloud
{

const PtCloudDataSet::Family PtCloudDataSet::meshes = {&PtCloudDataSet::m_meshes, &PtCloudDataSet::getFileName_Mesh,
                                                       &PtCloudDataSet::sgContentAdded_Mesh,
                                                       &PtCloudDataSet::sgRemoved_Mesh};
const PtCloudDataSet::Family PtCloudDataSet::splits = {&PtCloudDataSet::m_splits, &PtCloudDataSet::getFileName_Split,
                                                       &PtCloudDataSet::sgContentAdded_Split,
                                                       &PtCloudDataSet::sgRemoved_Split};
const PtCloudDataSet::Family PtCloudDataSet::cuts = {&PtCloudDataSet::m_cuts, &PtCloudDataSet::getFileName_Cut,
                                                     &PtCloudDataSet::sgContentAdded_Cut,
                                                     &PtCloudDataSet::sgContentRemoved_Cut};

PtCloudDataSet::PtCloudDataSet() = default;

PtCloudDataSet::~PtCloudDataSet()
{
    clear();
}

QString PtCloudDataSet::getFileName_Points()
{
    return QStringLiteral("Points");
}

QString PtCloudDataSet::getFileName_Mesh(const QString &name)
{
    return name + QStringLiteral(".mesh");
}

QString PtCloudDataSet::getFileName_Split(const QString &name)
{
    return name + QStringLiteral(".split");
}

QString PtCloudDataSet::getFileName_Cut(const QString &name)
{
    return name + QStringLiteral(".cut");
}

QString PtCloudDataSet::getFileName_Dem_Mesh()
{
    return QStringLiteral("dem.demmesh");
}

QString PtCloudDataSet::getFileName_Dem_HeightMap()
{
    return QStringLiteral("dem.height.png");
}

QString PtCloudDataSet::getFileName_Dem_Contour()
{
    return QStringLiteral("dem.contour");
}

QString PtCloudDataSet::getFileName_Dem_Classify()
{
    return QStringLiteral("dem.classify");
}

QString PtCloudDataSet::getFileName_EarthVolumn()
{
    return QStringLiteral("earth.volume");
}

/// Turns `directory` to the data set's own; false where there is none.
bool PtCloudDataSet::enter(QDir &directory) const
{
    if (m_dir.isEmpty() || !platform::isPlainName(m_name))
        return false;
    directory = QDir(m_dir);
    return directory.exists() && directory.cd(m_name);
}

QString PtCloudDataSet::pathOf(const QString &fileName) const
{
    QDir directory;
    return enter(directory) ? directory.absoluteFilePath(fileName) : QString();
}

QString PtCloudDataSet::getFilePath_Points() const
{
    return pathOf(getFileName_Points());
}

QString PtCloudDataSet::getFilePath_Dem_Mesh() const
{
    return pathOf(getFileName_Dem_Mesh());
}

QString PtCloudDataSet::getFilePath_Dem_HeightMap() const
{
    return pathOf(getFileName_Dem_HeightMap());
}

QString PtCloudDataSet::getFilePath_Dem_Contour() const
{
    return pathOf(getFileName_Dem_Contour());
}

QString PtCloudDataSet::getFilePath_Dem_Classify() const
{
    return pathOf(getFileName_Dem_Classify());
}

QString PtCloudDataSet::createEmptyLocatedContent_Points() const
{
    return QDir::fromNativeSeparators(pathOf(QStringLiteral("tmp_points")));
}

QString PtCloudDataSet::createEmptyLocatedContent_Dem_Mesh() const
{
    return getFilePath_Dem_Mesh();
}

QString PtCloudDataSet::createEmptyLocatedContent_Dem_HeightMap() const
{
    return getFilePath_Dem_HeightMap();
}

QString PtCloudDataSet::createEmptyLocatedContent_Dem_Contour() const
{
    return getFilePath_Dem_Contour();
}

QString PtCloudDataSet::createEmptyLocatedContent_Dem_Classify() const
{
    return getFilePath_Dem_Classify();
}

PtCloud_DataSetFile *PtCloudDataSet::createEmptyLocatedContent_Mesh(const QString &name) const
{
    return createLocated(meshes, name);
}

PtCloud_DataSetFile *PtCloudDataSet::createEmptyLocatedContent_Split(const QString &name) const
{
    return createLocated(splits, name);
}

PtCloud_DataSetFile *PtCloudDataSet::createEmptyLocatedContent_Cut(const QString &name) const
{
    return createLocated(cuts, name);
}

PtCloud_DataSetFile *PtCloudDataSet::createLocated(const Family &family, const QString &name) const
{
    QDir directory;
    if (!enter(directory) || !platform::isPlainName(name) || (this->*family.files).contains(name))
        return nullptr;
    auto file = std::make_unique<PtCloud_DataSetFile>();
    return file->setFile(directory.absoluteFilePath(family.fileName(name))) ? file.release() : nullptr;
}

PtCloud_DataSetFile *PtCloudDataSet::getContent_PointDataSetFile() const
{
    return &m_points;
}

const QMap<QString, PtCloud_DataSetFile *> *PtCloudDataSet::getContent_Meshs() const
{
    return &m_meshes;
}

const QMap<QString, PtCloud_DataSetFile *> *PtCloudDataSet::getContent_Splits() const
{
    return &m_splits;
}

const QMap<QString, PtCloud_DataSetFile *> *PtCloudDataSet::getContent_Cuts() const
{
    return &m_cuts;
}

PtCloud_DataSetFile *PtCloudDataSet::getContent_Dem_Mesh() const
{
    return &m_demMesh;
}

PtCloud_DataSetFile *PtCloudDataSet::getContent_Dem_Classify() const
{
    return &m_demClassify;
}

PtCloud_ContourFile *PtCloudDataSet::getContent_Dem_Contour() const
{
    return &m_demContour;
}

VolumeCalcAreaList *PtCloudDataSet::getContent_EarthVolume() const
{
    return &m_earthVolume;
}

QImage *PtCloudDataSet::getContent_Dem_HeightMap() const
{
    return m_demHeightMap.get();
}

} // namespace ptCloud
