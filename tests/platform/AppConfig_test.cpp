#include "AppConfig.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace
{

/// Puts the directories back as they were.
class AppConfigTest : public ::testing::Test
{
protected:
    ~AppConfigTest() override
    {
        m_config.setHomeDir(m_home.path());
        m_config.setBinDir(m_bin.path());
    }

    AppConfig &m_config = AppConfig::getInstance();
    QDir m_home = m_config.homeDir();
    QDir m_bin = m_config.binDir();
};

} // namespace

TEST_F(AppConfigTest, IsOneObject)
{
    EXPECT_EQ(&AppConfig::getInstance(), &AppConfig::getInstance());
    EXPECT_EQ(&m_config.module_logLib(), &AppConfig::getInstance().module_logLib());
}

TEST_F(AppConfigTest, StartsWithThePlatformsPlaces)
{
    EXPECT_EQ(m_config.homeDir(), QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)));
    EXPECT_EQ(m_config.binDir(), QDir(QCoreApplication::applicationDirPath()));
}

TEST_F(AppConfigTest, TakesTheHostsDirectories)
{
    const QTemporaryDir home;
    const QTemporaryDir bin;
    m_config.setHomeDir(home.path());
    m_config.setBinDir(bin.path());
    EXPECT_EQ(m_config.homeDir(), QDir(home.path()));
    EXPECT_EQ(m_config.binDir(), QDir(bin.path()));
}
