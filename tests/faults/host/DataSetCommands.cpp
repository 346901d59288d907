#include "Commands.h"

#include "PtCloudDataSet.h"
#include "PtCloud_ContourFile.h"
#include "VolumeCalcAreaList.h"

#include <QDir>
#include <QImage>

#include <memory>

using namespace ptCloud;

namespace
{

/// The data set `a` of the stand.
class Site
{
public:
    explicit Site(const QString &directory, bool isLoaded = true)
    {
        set.setDir(directory + QLatin1String("/project"), QStringLiteral("a"));
        if (isLoaded)
            set.loadFromFile();
        QObject::connect(&set, &PtCloudDataSet::sgContentUpdated_Points, [this] { ++signalCount; });
    }

    /// Everything that the object lists.
    QByteArray contents() const
    {
        QStringList names =
            set.getContent_Meshs()->keys() + set.getContent_Splits()->keys() + set.getContent_Cuts()->keys();
        QMap<QString, const VolumeCalcArea *> areas;
        const_cast<const VolumeCalcAreaList *>(set.getContent_EarthVolume())->getAreas(areas);
        names += areas.keys();
        if (!set.getContent_Dem_Mesh()->getFilepath().isEmpty())
            names << QStringLiteral("demmesh");
        if (set.getContent_Dem_HeightMap() != nullptr)
            names << QStringLiteral("height");
        return names.join(QLatin1Char(' ')).toUtf8();
    }

    PtCloudDataSet set;
    int signalCount = 0;
};

QByteArray load(const QString &directory)
{
    Site site(directory, false);
    arm();
    const bool done = site.set.loadFromFile();
    return toWord(done) + '|' + site.contents();
}

QByteArray saveVolumes(const QString &directory)
{
    Site site(directory);
    site.set.getContent_EarthVolume()->addArea(QStringLiteral("heap"));
    arm();
    return toWord(site.set.getContent_EarthVolume()->saveToFile());
}

QByteArray calcGrid(const QString &directory)
{
    Site site(directory);
    VolumeCalcAreaList &list = *site.set.getContent_EarthVolume();
    list.setGridFile(site.set.getContent_PointDataSetFile());
    arm();
    const QByteArray done = toWord(list.doCalc(VolumeCalc_GRID));
    const VolumeCalcArea *const area = list.getArea(QStringLiteral("pit"));
    return done + '|' + toWord(area != nullptr && area->gridCalculated) + ' '
           + QByteArray::number(area == nullptr ? 0.0 : area->getDigVolume_grid());
}

QByteArray calcMesh(const QString &directory)
{
    Site site(directory);
    VolumeCalcAreaList &list = *site.set.getContent_EarthVolume();
    list.setDTMFile(site.set.getContent_Meshs()->value(QStringLiteral("roof")));
    arm();
    const QByteArray done = toWord(list.doCalc(VolumeCalc_DTM));
    const VolumeCalcArea *const area = list.getArea(QStringLiteral("pit"));
    return done + '|' + toWord(area != nullptr && area->dtmCalculated) + ' '
           + QByteArray::number(area == nullptr ? 0 : area->prisms.size());
}

QByteArray loadContours(const QString &directory)
{
    PtCloud_ContourFile file;
    file.setFile(directory + QLatin1String("/project/a/dem.contour"));
    arm();
    const bool done = file.openFile();
    return toWord(done) + '|' + QByteArray::number(file.contourGroup1().size()) + ' '
           + QByteArray::number(file.contourGroup2().size());
}

QByteArray saveContours(const QString &directory)
{
    PtCloud_ContourFile file;
    file.setFile(directory + QLatin1String("/project/a/dem.contour"));
    file.contourGroup1()[5.0].append(QVector<QPointF>(2000, QPointF(1, 2)));
    arm();
    return toWord(file.saveToFile());
}

QByteArray copyPoints(const QString &directory)
{
    Site site(directory);
    arm();
    const std::unique_ptr<PtCloud_DataSetFile> copied(site.set.copyPoints(QStringLiteral("north.split")));
    return copied == nullptr ? "null" : "object";
}

QByteArray updatePoints(const QString &directory)
{
    Site site(directory);
    QFile::copy(directory + QLatin1String("/project/b/Points"), site.set.createEmptyLocatedContent_Points());
    arm();
    site.set.updateContent_Points();
    return "signals " + QByteArray::number(site.signalCount);
}

QByteArray attachTerrain(const QString &directory)
{
    Site site(directory);
    arm();
    site.set.setContent_Dem_Mesh();
    site.set.setContent_Dem_HeightMap();
    site.set.setContent_Dem_Contour();
    site.set.setContent_Dem_Classify();
    return toWord(!site.set.getContent_Dem_Mesh()->getFilepath().isEmpty()
                  && site.set.getContent_Dem_HeightMap() != nullptr
                  && !site.set.getContent_Dem_Classify()->getFilepath().isEmpty());
}

QByteArray removeContents(const QString &directory)
{
    Site site(directory);
    arm();
    site.set.removeContent_AllMesh();
    site.set.removeContent_AllDem();
    return site.contents();
}

/// A data set whose directory is a link to one that lies elsewhere.
QByteArray removeLinked(const QString &directory)
{
    const QString project = directory + QLatin1String("/project");
    QFile::link(QFileInfo(directory).absolutePath() + QLatin1String("/outside/a"), project + QLatin1String("/linked"));
    PtCloudDataSet set;
    set.setDir(project, QStringLiteral("linked"));
    set.loadFromFile();
    arm();
    set.removeFile();
    return "done";
}

constexpr Command commands[] = {{"load", load},
                                {"save-volumes", saveVolumes},
                                {"calc-grid", calcGrid},
                                {"calc-mesh", calcMesh},
                                {"load-contours", loadContours},
                                {"save-contours", saveContours},
                                {"copy-points", copyPoints},
                                {"update-points", updatePoints},
                                {"attach-terrain", attachTerrain},
                                {"remove-contents", removeContents},
                                {"remove-linked", removeLinked}};

} // namespace

const Command *findDataSetCommand(const QByteArray &name)
{
    return findIn(commands, name);
}
