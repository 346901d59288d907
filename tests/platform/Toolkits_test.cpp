#include "Bytes.h"
#include "Scarcity.h"
#include "Toolkits.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

using support::readFile;
using support::writeFile;
using tk::Toolkits;

namespace
{

class CopyDirectory : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("from/deep/deeper")));
        ASSERT_TRUE(writeFile(path("from/a"), "alpha"));
        ASSERT_TRUE(writeFile(path("from/.hidden"), "secret"));
        ASSERT_TRUE(writeFile(path("from/deep/deeper/b"), "beta"));
        ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("from/empty")));
    }

    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    bool copy(bool overwrite = true) const { return Toolkits::CopyDirectory(path("from"), path("to"), overwrite); }

    void expectCopied() const
    {
        EXPECT_EQ(readFile(path("to/a")), "alpha");
        EXPECT_EQ(readFile(path("to/.hidden")), "secret");
        EXPECT_EQ(readFile(path("to/deep/deeper/b")), "beta");
        EXPECT_TRUE(QDir(path("to/empty")).exists());
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(CopyDirectory, TakesEverythingThatLiesBelow)
{
    for (const bool overwrite : {true, false}) {
        QDir(path("to")).removeRecursively();
        EXPECT_TRUE(copy(overwrite));
        expectCopied();
    }
}

TEST_F(CopyDirectory, TakesANameWithAColonInFrontForAName)
{
    ASSERT_TRUE(writeFile(path("from/:a"), "colon"));
    ASSERT_TRUE(QDir().mkpath(path("from/:deep")));
    EXPECT_TRUE(copy());
    EXPECT_EQ(readFile(path("to/:a")), "colon");
    EXPECT_TRUE(QDir(path("to/:deep")).exists());
    EXPECT_FALSE(QFile::exists(QDir::currentPath() + QStringLiteral("/:a")));
}

TEST_F(CopyDirectory, ReplacesFilesOnlyWhenItMay)
{
    ASSERT_TRUE(QDir().mkpath(path("to")));
    ASSERT_TRUE(writeFile(path("to/a"), "older and longer"));
    EXPECT_FALSE(copy(false));
    EXPECT_EQ(readFile(path("to/a")), "older and longer");
    EXPECT_TRUE(copy(true));
    expectCopied();
}

TEST_F(CopyDirectory, KeepsWhatElseIsInTheTarget)
{
    ASSERT_TRUE(QDir().mkpath(path("to")));
    ASSERT_TRUE(writeFile(path("to/other"), "other"));
    EXPECT_TRUE(copy());
    EXPECT_EQ(readFile(path("to/other")), "other");
}

TEST_F(CopyDirectory, DoesNotTakeADirectoryForPartOfAnotherWhoseNameItBegins)
{
    EXPECT_TRUE(Toolkits::CopyDirectory(path("from"), path("from2"), true));
    EXPECT_EQ(readFile(path("from2/a")), "alpha");
}

TEST_F(CopyDirectory, FailsWhereADirectoryStandsInTheWayOfAFile)
{
    ASSERT_TRUE(QDir().mkpath(path("to/a")));
    EXPECT_FALSE(copy());
    EXPECT_TRUE(QDir(path("to/a")).exists());
}

TEST_F(CopyDirectory, FailsWhereAFileStandsInTheWayOfADirectory)
{
    ASSERT_TRUE(QDir().mkpath(path("to")));
    ASSERT_TRUE(writeFile(path("to/deep"), "in the way"));
    EXPECT_FALSE(copy());
    EXPECT_EQ(readFile(path("to/deep")), "in the way");
}

TEST_F(CopyDirectory, FailsWithoutASource)
{
    EXPECT_FALSE(Toolkits::CopyDirectory(path("missing"), path("to"), true));
    EXPECT_FALSE(QFileInfo::exists(path("to")));
    EXPECT_FALSE(Toolkits::CopyDirectory(path("from/a"), path("to"), true));
    EXPECT_FALSE(Toolkits::CopyDirectory(QString(), path("to"), true));
    EXPECT_FALSE(Toolkits::CopyDirectory(path("from"), QString(), true));
}

TEST_F(CopyDirectory, NeverCopiesIntoItself)
{
    EXPECT_FALSE(Toolkits::CopyDirectory(path("from"), path("from"), true));
    EXPECT_FALSE(Toolkits::CopyDirectory(path("from"), path("from/deep/copy"), true));
    EXPECT_EQ(readFile(path("from/a")), "alpha");
    EXPECT_FALSE(QFileInfo::exists(path("from/deep/copy/a")));
}

#ifdef Q_OS_UNIX
TEST_F(CopyDirectory, PassesOverLinksToDirectories)
{
    ASSERT_TRUE(QDir().mkpath(path("elsewhere")));
    ASSERT_TRUE(writeFile(path("elsewhere/c"), "far"));
    ASSERT_TRUE(QFile::link(path("elsewhere"), path("from/link")));
    EXPECT_TRUE(copy());
    EXPECT_FALSE(QFileInfo::exists(path("to/link")));
    expectCopied();
}

TEST_F(CopyDirectory, CopiesALinkToAFileAsThatFile)
{
    ASSERT_TRUE(writeFile(path("c"), "far"));
    ASSERT_TRUE(QFile::link(path("c"), path("from/link")));
    EXPECT_TRUE(copy());
    EXPECT_EQ(readFile(path("to/link")), "far");
    EXPECT_FALSE(QFileInfo(path("to/link")).isSymLink());
}

TEST_F(CopyDirectory, ReplacesALinkAndNotWhatItLeadsTo)
{
    ASSERT_TRUE(writeFile(path("c"), "far"));
    ASSERT_TRUE(QDir().mkpath(path("to")));
    ASSERT_TRUE(QFile::link(path("c"), path("to/a")));
    EXPECT_TRUE(copy());
    EXPECT_EQ(readFile(path("c")), "far");
    EXPECT_EQ(readFile(path("to/a")), "alpha");
}

TEST_F(CopyDirectory, NeverCopiesIntoItselfThroughALink)
{
    ASSERT_TRUE(QFile::link(path("from"), path("alias")));
    EXPECT_FALSE(Toolkits::CopyDirectory(path("from"), path("alias"), true));
    EXPECT_FALSE(Toolkits::CopyDirectory(path("from"), path("alias/deep/copy"), true));
    EXPECT_EQ(readFile(path("from/a")), "alpha");
    EXPECT_FALSE(QFileInfo::exists(path("from/deep/copy/a")));
}

TEST_F(CopyDirectory, ReplacesALinkToItsOwnSourceByTheFile)
{
    ASSERT_TRUE(QDir().mkpath(path("to")));
    ASSERT_TRUE(QFile::link(path("from/a"), path("to/a")));
    EXPECT_TRUE(copy());
    EXPECT_EQ(readFile(path("from/a")), "alpha");
    expectCopied();
}

TEST_F(CopyDirectory, FailsAtAPipeWithoutWaitingForIt)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(path("from/pipe")).constData(), 0600), 0);
    EXPECT_FALSE(copy());
}

TEST_F(CopyDirectory, FailsWhereAFileCannotBeWrittenWhole)
{
    ASSERT_TRUE(writeFile(path("from/large"), QByteArray(100000, 'x')));
    const support::FileSizeLimit limit(1000);
    ASSERT_TRUE(limit.holds());
    EXPECT_FALSE(copy());
}

TEST_F(CopyDirectory, FailsAtALinkToNothing)
{
    ASSERT_TRUE(QFile::link(path("nowhere"), path("from/link")));
    EXPECT_FALSE(copy());
}
#endif
