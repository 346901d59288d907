#include "PtCloudDataSet.h"

#include <gtest/gtest.h>

#include <QMetaMethod>
#include <QStringList>

using ptCloud::PtCloudDataSet;

namespace
{

/// "name(type parameter, type parameter)" of each signal that the class declares, in the order of declaration.
QStringList declaredSignals(const QMetaObject &metaObject)
{
    QStringList result;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        if (method.methodType() != QMetaMethod::Signal)
            continue;
        QStringList parameters;
        for (int j = 0; j < method.parameterCount(); ++j)
            parameters.append(QString::fromLatin1(method.parameterTypes().at(j) + " " + method.parameterNames().at(j)));
        result.append(
            QStringLiteral("%1(%2)").arg(QString::fromLatin1(method.name()), parameters.join(QStringLiteral(", "))));
    }
    return result;
}

} // namespace

TEST(DataSetSignals, StandInTheOrderThatHostsRelyOn)
{
    const QStringList expected = {QStringLiteral("sgContentUpdated_Points(QString strDataSetName)"),
                                  QStringLiteral("sgContentAdded_Mesh(QString strDataSetName, QString strMeshName)"),
                                  QStringLiteral("sgRemoved_Mesh(QString strDataSetName, QString strMeshName)"),
                                  QStringLiteral("sgContentAdded_Dem_Mesh(QString strDataSetName)"),
                                  QStringLiteral("sgContentRemoved_Dem_Mesh(QString strDataSetName)"),
                                  QStringLiteral("sgContentAdded_Dem_Contour(QString strDataSetName)"),
                                  QStringLiteral("sgContentRemoved_Dem_Contour(QString strDataSetName)"),
                                  QStringLiteral("sgContentAdded_Dem_Classify(QString strDataSetName)"),
                                  QStringLiteral("sgContentRemoved_Dem_Classify(QString strDataSetName)"),
                                  QStringLiteral("sgContentAdded_Split(QString strDataSetName, QString strSplitName)"),
                                  QStringLiteral("sgRemoved_Split(QString strDataSetName, QString strSplitName)"),
                                  QStringLiteral("sgContentAdded_EarthVolume(QString strDataSetName)"),
                                  QStringLiteral("sgContentRemoved_EarthVolume(QString strDataSetName)"),
                                  QStringLiteral("sgContentAdded_Cut(QString strDataSetName, QString strCutName)"),
                                  QStringLiteral("sgContentRemoved_Cut(QString strDataSetName, QString strCutName)")};
    EXPECT_EQ(declaredSignals(PtCloudDataSet::staticMetaObject), expected);
}

TEST(DataSetSignals, AreAllThatTheMetaObjectDeclares)
{
    const QMetaObject &metaObject = PtCloudDataSet::staticMetaObject;
    EXPECT_EQ(metaObject.superClass(), &QObject::staticMetaObject);
    EXPECT_EQ(metaObject.methodCount() - metaObject.methodOffset(), 15);
    EXPECT_EQ(metaObject.propertyCount(), metaObject.propertyOffset());
}

TEST(DataSetSignals, AreReachedByTheirNames)
{
    const PtCloudDataSet dataSet;
    const QMetaObject *metaObject = dataSet.metaObject();
    EXPECT_EQ(metaObject->indexOfSignal("sgContentUpdated_Points(QString)"), metaObject->methodOffset());
    EXPECT_EQ(metaObject->indexOfSignal("sgContentRemoved_Cut(QString,QString)"), metaObject->methodOffset() + 14);
    EXPECT_EQ(metaObject->indexOfSignal("sgContentRemoved_Mesh(QString,QString)"), -1);
    EXPECT_EQ(metaObject->indexOfSignal("sgContentRemoved_Split(QString,QString)"), -1);
}
