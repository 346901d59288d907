#include "AppConfig.h"
#include "Bytes.h"
#include "HelperProgram.h"
#include "LasWriter.h"

#include "PtCloud_Controller.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTemporaryDir>

using namespace ptCloud;

TEST(WithoutApplication, AControllerComesAndGoes)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    PtCloud_Controller controller;
    controller.reset();
    EXPECT_TRUE(controller.isDataSetEmpty());
}

TEST(WithoutApplication, DestroyingAControllerStopsAWorker)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    support::HelperProgram worker(QStringLiteral("open3d_wrapper"));
    ASSERT_TRUE(worker.start());
    {
        const PtCloud_Controller controller;
        EXPECT_TRUE(worker.isRunning());
    }
    EXPECT_TRUE(worker.isKilled());
}

TEST(WithoutApplication, ProgramsAreLookedForBesideTheRunningOne)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    EXPECT_TRUE(AppConfig::getInstance().binDir().exists(QStringLiteral("points_cloud_bare_tests")));
}

TEST(WithoutApplication, LasFilesAreImportedAndRemoved)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.las"));
    support::LasWriter writer;
    writer.points = {support::LasPoint()};
    ASSERT_TRUE(writer.write(path));
    PtCloud_Controller controller;
    QString name;
    EXPECT_EQ(controller.doCmd_LasFile_Import({path}, &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("a.las"));
    EXPECT_EQ(controller.doCmd_LasFile_Remove({name}), ActResult_Success);
}

TEST(WithoutApplication, AProjectIsRestored)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    const QTemporaryDir dir;
    ASSERT_TRUE(support::writeFile(dir.filePath(QStringLiteral("stray")), "stray"));
    PtCloud_Controller controller;
    controller.setDir(dir.path());
    controller.setFiles({}, {}, {});
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("stray"))));
}
