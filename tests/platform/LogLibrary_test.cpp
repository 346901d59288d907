#include "AppConfig.h"
#include "Bytes.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <tuple>
#include <vector>

namespace
{

class LogLibraryTest : public ::testing::Test
{
protected:
    LogLibraryTest() { m_config.setHomeDir(m_dir.filePath(QStringLiteral("home"))); }
    ~LogLibraryTest() override
    {
        m_log.setSink({});
        m_config.setHomeDir(m_home.path());
    }

    QList<QByteArray> linesInFile() const
    {
        const QByteArray text = support::readFile(m_dir.filePath(QStringLiteral("home/points_cloud.log")));
        return text.isEmpty() ? QList<QByteArray>() : text.trimmed().split('\n');
    }

    QTemporaryDir m_dir;
    AppConfig &m_config = AppConfig::getInstance();
    QDir m_home = m_config.homeDir();
    LogLibrary &m_log = m_config.module_logLib();
};

} // namespace

TEST_F(LogLibraryTest, AppendsALineToTheFileInTheHomeDirectory)
{
    m_log.addLog(QStringLiteral("first"), QStringLiteral("one \u00e4"), LogType_Info, true);
    m_log.addLog(QStringLiteral("second"), QStringLiteral("two"), LogType_Error, false);
    const QList<QByteArray> lines = linesInFile();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].contains("first"));
    EXPECT_TRUE(lines[0].endsWith("one \xc3\xa4"));
    EXPECT_TRUE(lines[1].contains("second"));
    EXPECT_TRUE(lines[1].endsWith("two"));
}

TEST_F(LogLibraryTest, NamesTheTypeOfALine)
{
    for (const ELogType type : {LogType_Info, LogType_Warning, LogType_Error, static_cast<ELogType>(7)})
        m_log.addLog(QStringLiteral("category"), QStringLiteral("text"), type, false);
    const QList<QByteArray> lines = linesInFile();
    ASSERT_EQ(lines.size(), 4);
    EXPECT_TRUE(lines[0].contains(" info category"));
    EXPECT_TRUE(lines[1].contains(" warning category"));
    EXPECT_TRUE(lines[2].contains(" error category"));
    EXPECT_TRUE(lines[3].contains(" 7 category"));
}

TEST_F(LogLibraryTest, HandsLinesToTheSinkInsteadOfTheFile)
{
    using Line = std::tuple<QString, QString, ELogType, bool>;
    std::vector<Line> lines;
    m_log.setSink([&lines](const QString &category, const QString &text, ELogType type, bool flag) {
        lines.emplace_back(category, text, type, flag);
    });
    m_log.addLog(QStringLiteral("category"), QStringLiteral("text"), LogType_Warning, true);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], Line(QStringLiteral("category"), QStringLiteral("text"), LogType_Warning, true));
    EXPECT_TRUE(linesInFile().isEmpty());
}

TEST_F(LogLibraryTest, AnEmptySinkBringsTheFileBack)
{
    m_log.setSink([](const QString &, const QString &, ELogType, bool) {});
    m_log.setSink({});
    m_log.addLog(QStringLiteral("category"), QStringLiteral("text"), LogType_Info, false);
    EXPECT_EQ(linesInFile().size(), 1);
}

TEST_F(LogLibraryTest, ALineThatCannotBeWrittenIsLostQuietly)
{
    ASSERT_TRUE(support::writeFile(m_dir.filePath(QStringLiteral("home")), "a file where the directory should be"));
    m_log.addLog(QStringLiteral("category"), QStringLiteral("text"), LogType_Info, false);
    EXPECT_EQ(support::readFile(m_dir.filePath(QStringLiteral("home"))), "a file where the directory should be");
}

TEST(LogTypes, HaveFixedValues)
{
    EXPECT_EQ(static_cast<int>(LogType_Info), 0);
    EXPECT_EQ(static_cast<int>(LogType_Warning), 1);
    EXPECT_EQ(static_cast<int>(LogType_Error), 2);
}
