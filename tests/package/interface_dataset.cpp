// A data set with its contents and signals, and the contour file.

#include "interface.h"

#include <points_cloud.h>

#include <QPointF>
#include <QVector>

using namespace ptCloud;

namespace names
{

using Set = PtCloudDataSet;
using File = PtCloud_DataSetFile;

static void paths()
{
    has<QString (Set::*)() const>(&Set::getFilePath_Points);
    has<QString (Set::*)() const>(&Set::getFilePath_Dem_Mesh);
    has<QString (Set::*)() const>(&Set::getFilePath_Dem_HeightMap);
    has<QString (Set::*)() const>(&Set::getFilePath_Dem_Contour);
    has<QString (Set::*)() const>(&Set::getFilePath_Dem_Classify);
    has<QString (Set::*)() const>(&Set::createEmptyLocatedContent_Points);
    has<QString (Set::*)() const>(&Set::createEmptyLocatedContent_Dem_Mesh);
    has<QString (Set::*)() const>(&Set::createEmptyLocatedContent_Dem_HeightMap);
    has<QString (Set::*)() const>(&Set::createEmptyLocatedContent_Dem_Contour);
    has<QString (Set::*)() const>(&Set::createEmptyLocatedContent_Dem_Classify);
    has<File *(Set::*)(const QString &) const>(&Set::createEmptyLocatedContent_Mesh);
    has<File *(Set::*)(const QString &) const>(&Set::createEmptyLocatedContent_Split);
    has<File *(Set::*)(const QString &) const>(&Set::createEmptyLocatedContent_Cut);
}

static void access()
{
    using Files = QMap<QString, File *>;

    has<QString (Set::*)() const>(&Set::getName);
    has<File *(Set::*)() const>(&Set::getContent_PointDataSetFile);
    has<const Files *(Set::*)() const>(&Set::getContent_Meshs);
    has<const Files *(Set::*)() const>(&Set::getContent_Splits);
    has<const Files *(Set::*)() const>(&Set::getContent_Cuts);
    has<File *(Set::*)() const>(&Set::getContent_Dem_Mesh);
    has<File *(Set::*)() const>(&Set::getContent_Dem_Classify);
    has<PtCloud_ContourFile *(Set::*)() const>(&Set::getContent_Dem_Contour);
    has<VolumeCalcAreaList *(Set::*)() const>(&Set::getContent_EarthVolume);
    has<QImage *(Set::*)() const>(&Set::getContent_Dem_HeightMap);
}

static void changes()
{
    has<void (Set::*)(const QString &, File *)>(&Set::addContent_Mesh);
    has<void (Set::*)(const QString &, File *)>(&Set::addContent_Split);
    has<void (Set::*)(const QString &, File *)>(&Set::addContent_Cut);
    has<void (Set::*)()>(&Set::addContent_EarthVolume);
    has<void (Set::*)()>(&Set::setContent_Dem_Mesh);
    has<void (Set::*)()>(&Set::setContent_Dem_Classify);
    has<void (Set::*)()>(&Set::setContent_Dem_Contour);
    has<void (Set::*)()>(&Set::setContent_Dem_HeightMap);
    has<void (Set::*)(const QString &)>(&Set::removeContent_Mesh);
    has<void (Set::*)(const QString &)>(&Set::removeContent_Split);
    has<void (Set::*)(const QString &)>(&Set::removeContent_Cut);
    has<void (Set::*)()>(&Set::removeContent_AllMesh);
    has<void (Set::*)()>(&Set::removeContent_AllSplits);
    has<void (Set::*)()>(&Set::removeContent_AllCuts);
    has<void (Set::*)()>(&Set::removeContent_Dem_Mesh);
    has<void (Set::*)()>(&Set::removeContent_Dem_Classify);
    has<void (Set::*)()>(&Set::removeContent_Dem_Contour);
    has<void (Set::*)()>(&Set::removeContent_Dem_HeightMap);
    has<void (Set::*)()>(&Set::removeContent_AllDem);
    has<void (Set::*)()>(&Set::removeContent_EarthVolume);
}

static void lifeCycle()
{
    constructs<Set>();
    has<void (Set::*)(const QString &, const QString &)>(&Set::setDir);
    has<bool (Set::*)()>(&Set::loadFromFile);
    has<bool (Set::*)() const>(&Set::saveToFile);
    has<Set *(Set::*)(const QString &)>(&Set::copy);
    has<File *(Set::*)(const QString &)>(&Set::copyPoints);
    has<bool (Set::*)(const QString &)>(&Set::rename);
    has<void (Set::*)()>(&Set::removeFile);
    has<void (Set::*)()>(&Set::updateContent_Points);
}

static void signalsOfDataSet()
{
    has<void (Set::*)(QString)>(&Set::sgContentUpdated_Points);
    has<void (Set::*)(QString, QString)>(&Set::sgContentAdded_Mesh);
    has<void (Set::*)(QString, QString)>(&Set::sgRemoved_Mesh);
    has<void (Set::*)(QString)>(&Set::sgContentAdded_Dem_Mesh);
    has<void (Set::*)(QString)>(&Set::sgContentRemoved_Dem_Mesh);
    has<void (Set::*)(QString)>(&Set::sgContentAdded_Dem_Contour);
    has<void (Set::*)(QString)>(&Set::sgContentRemoved_Dem_Contour);
    has<void (Set::*)(QString)>(&Set::sgContentAdded_Dem_Classify);
    has<void (Set::*)(QString)>(&Set::sgContentRemoved_Dem_Classify);
    has<void (Set::*)(QString, QString)>(&Set::sgContentAdded_Split);
    has<void (Set::*)(QString, QString)>(&Set::sgRemoved_Split);
    has<void (Set::*)(QString)>(&Set::sgContentAdded_EarthVolume);
    has<void (Set::*)(QString)>(&Set::sgContentRemoved_EarthVolume);
    has<void (Set::*)(QString, QString)>(&Set::sgContentAdded_Cut);
    has<void (Set::*)(QString, QString)>(&Set::sgContentRemoved_Cut);
    const std::vector<std::string> inOrder = {
        "sgContentUpdated_Points(QString) strDataSetName",
        "sgContentAdded_Mesh(QString,QString) strDataSetName strMeshName",
        "sgRemoved_Mesh(QString,QString) strDataSetName strMeshName",
        "sgContentAdded_Dem_Mesh(QString) strDataSetName",
        "sgContentRemoved_Dem_Mesh(QString) strDataSetName",
        "sgContentAdded_Dem_Contour(QString) strDataSetName",
        "sgContentRemoved_Dem_Contour(QString) strDataSetName",
        "sgContentAdded_Dem_Classify(QString) strDataSetName",
        "sgContentRemoved_Dem_Classify(QString) strDataSetName",
        "sgContentAdded_Split(QString,QString) strDataSetName strSplitName",
        "sgRemoved_Split(QString,QString) strDataSetName strSplitName",
        "sgContentAdded_EarthVolume(QString) strDataSetName",
        "sgContentRemoved_EarthVolume(QString) strDataSetName",
        "sgContentAdded_Cut(QString,QString) strDataSetName strCutName",
        "sgContentRemoved_Cut(QString,QString) strDataSetName strCutName",
    };
    expectSignals(Set::staticMetaObject, inOrder);
}

static void contourFile()
{
    using Contours = PtCloud_ContourFile;
    using Group = QMap<double, QList<QVector<QPointF>>>;

    static_assert(!std::is_polymorphic_v<Contours>);
    constructs<Contours>();
    constructs<Contours, const Contours &>();
    has<Contours &(Contours::*)(const Contours &)>(&Contours::operator=);
    has<void (Contours::*)(const QString &)>(&Contours::setFile);
    has<bool (Contours::*)() const>(&Contours::isValid);
    has<bool (Contours::*)() const>(&Contours::isOpen);
    has<bool (Contours::*)()>(&Contours::openFile);
    has<void (Contours::*)()>(&Contours::closeFile);
    has<bool (Contours::*)(QString *) const>(&Contours::saveToFile);
    static_assert(std::is_same_v<bool, decltype(std::declval<const Contours &>().saveToFile())>);
    has<void (Contours::*)()>(&Contours::removeFile);
    has<Group &(Contours::*)()>(&Contours::contourGroup1);
    has<const Group &(Contours::*)() const>(&Contours::contourGroup1);
    has<Group &(Contours::*)()>(&Contours::contourGroup2);
    has<const Group &(Contours::*)() const>(&Contours::contourGroup2);
}

void dataSets()
{
    static_assert(std::is_base_of_v<QObject, Set> && std::is_convertible_v<Set *, QObject *>);
    static_assert(!std::is_final_v<Set> && !std::is_copy_constructible_v<Set>);
    lifeCycle();
    paths();
    access();
    changes();
    signalsOfDataSet();
    contourFile();
}

} // namespace names
