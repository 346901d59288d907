#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QStandardPaths>

int main(int argc, char **argv)
{
    QStandardPaths::setTestModeEnabled(true);
    ::testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
