#include "PtCloud_Controller.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMetaMethod>
#include <QSignalSpy>

using namespace ptCloud;

TEST(ControllerMetaObject, HasSevenSignalsInOrderAndNothingElse)
{
    const QMetaObject &meta = PtCloud_Controller::staticMetaObject;
    EXPECT_STREQ(meta.className(), "ptCloud::PtCloud_Controller");
    EXPECT_STREQ(meta.superClass()->className(), "QObject");
    const char *const expected[] = {"sg_LasFile_Added(QString)",
                                    "sg_LasFile_Removed(QString)",
                                    "sg_DataSet_Added(QString)",
                                    "sg_DataSet_Removed(QString)",
                                    "sg_DataSet_Renamed(QString,QString)",
                                    "sg_DataSetFunction_Progress(int,QString)",
                                    "sg_DataSetFunction_Result(EEPtCloudActResult)"};
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 7);
    EXPECT_EQ(meta.propertyCount(), meta.propertyOffset());
    for (int i = 0; i < 7; ++i) {
        const QMetaMethod method = meta.method(meta.methodOffset() + i);
        EXPECT_EQ(method.methodType(), QMetaMethod::Signal);
        EXPECT_EQ(method.methodSignature(), QByteArray(expected[i]));
        EXPECT_EQ(method.returnType(), static_cast<int>(QMetaType::Void));
        for (const QByteArray &name : method.parameterNames())
            EXPECT_TRUE(name.isEmpty()) << expected[i];
    }
}

TEST(ControllerMetaObject, CarriesResultsAcrossAQueue)
{
    PtCloud_Controller controller;
    QList<EEPtCloudActResult> results;
    QObject::connect(
        &controller, &PtCloud_Controller::sg_DataSetFunction_Result, &controller,
        [&results](EEPtCloudActResult result) { results << result; }, Qt::QueuedConnection);
    Q_EMIT controller.sg_DataSetFunction_Result(ActResult_WorkerCrashed);
    EXPECT_TRUE(results.isEmpty());
    QCoreApplication::processEvents();
    EXPECT_EQ(results, QList<EEPtCloudActResult>{ActResult_WorkerCrashed});
}

TEST(ControllerMetaObject, CarriesResultsAcrossAQueueThatIsConnectedByName)
{
    PtCloud_Controller controller;
    PtCloud_Controller other;
    ASSERT_TRUE(QObject::connect(&controller, SIGNAL(sg_DataSetFunction_Result(EEPtCloudActResult)), &other,
                                 SIGNAL(sg_DataSetFunction_Result(EEPtCloudActResult)), Qt::QueuedConnection));
    QSignalSpy spy(&other, &PtCloud_Controller::sg_DataSetFunction_Result);
    Q_EMIT controller.sg_DataSetFunction_Result(ActResult_WorkerFailed);
    EXPECT_EQ(spy.size(), 0);
    QCoreApplication::processEvents();
    ASSERT_EQ(spy.size(), 1);
    EXPECT_EQ(spy.first().first().value<EEPtCloudActResult>(), ActResult_WorkerFailed);
}

TEST(ControllerMetaObject, LetsTheHostRaiseProgress)
{
    PtCloud_Controller controller;
    QSignalSpy spy(&controller, &PtCloud_Controller::sg_DataSetFunction_Progress);
    Q_EMIT controller.sg_DataSetFunction_Progress(255, QStringLiteral("text"));
    ASSERT_EQ(spy.size(), 1);
    EXPECT_EQ(spy.first(), (QVariantList{255, QStringLiteral("text")}));
}

TEST(ControllerMetaObject, LetsASpySeeResults)
{
    PtCloud_Controller controller;
    QSignalSpy spy(&controller, SIGNAL(sg_DataSetFunction_Result(EEPtCloudActResult)));
    ASSERT_TRUE(spy.isValid());
    Q_EMIT controller.sg_DataSetFunction_Result(ActResult_Cancelled);
    ASSERT_EQ(spy.size(), 1);
    EXPECT_EQ(spy.first().first().value<EEPtCloudActResult>(), ActResult_Cancelled);
}

TEST(ControllerMetaObject, KnowsTheResultTypeUnderBothNames)
{
    const PtCloud_Controller controller;
    const int type = qMetaTypeId<EEPtCloudActResult>();
    EXPECT_EQ(QMetaType::type("EEPtCloudActResult"), type);
    EXPECT_EQ(QMetaType::type("ptCloud::EEPtCloudActResult"), type);
}

TEST(ControllerMetaObject, StartsWithoutAParent)
{
    const PtCloud_Controller controller;
    EXPECT_EQ(controller.parent(), nullptr);
}

TEST(ActResults, HaveFixedValues)
{
    const EEPtCloudActResult results[] = {ActResult_Success,       ActResult_CannotRun,        ActResult_FileError,
                                          ActResult_NotFound,      ActResult_NameExists,       ActResult_MakeFailed,
                                          ActResult_BadName,       ActResult_WorkerNotStarted, ActResult_WorkerFailed,
                                          ActResult_WorkerCrashed, ActResult_Cancelled};
    int value = 0;
    for (const EEPtCloudActResult result : results)
        EXPECT_EQ(static_cast<int>(result), value++);
    EXPECT_EQ(sizeof(EEPtCloudActResult), 4U);
}
