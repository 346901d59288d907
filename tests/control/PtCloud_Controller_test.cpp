#include "ControllerTesting.h"
#include "HelperProgram.h"
#include "Scarcity.h"

#include <QCoreApplication>
#include <QTimer>

#include <functional>
#include <memory>

using namespace ptCloud;

namespace
{

class LasRegistry : public support::ControllerTest
{
};

} // namespace

TEST_F(LasRegistry, RegistersAFileUnderItsFileName)
{
    const QString file = lasFile("a.las");
    QString name = QStringLiteral("before");
    EXPECT_EQ(import(file, &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("a.las"));
    EXPECT_EQ(lasFiles(), (QMap<QString, QString>{{QStringLiteral("a.las"), file}}));
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("las added a.las")));
}

TEST_F(LasRegistry, NeedsNoProjectDirectoryAndNoPlaceForTheName)
{
    EXPECT_EQ(import(lasFile("a.las"), nullptr), ActResult_Success);
    EXPECT_EQ(lasFiles().size(), 1);
}

TEST_F(LasRegistry, PutsAnUnderscoreBeforeANameThatIsTaken)
{
    for (const char *expected : {"a.las", "_a.las", "__a.las"}) {
        QString name;
        EXPECT_EQ(import(lasFile((QByteArray("d") + expected + "/a.las").constData()), &name), ActResult_Success);
        EXPECT_EQ(name, QLatin1String(expected));
    }
    EXPECT_EQ(m_signals, (QStringList{QStringLiteral("las added a.las"), QStringLiteral("las added _a.las"),
                                      QStringLiteral("las added __a.las")}));
}

TEST_F(LasRegistry, TakesNamesThatDifferOnlyInCaseForTheSame)
{
    QString name;
    EXPECT_EQ(import(lasFile("a.las")), ActResult_Success);
    EXPECT_EQ(import(lasFile("upper/A.LAS"), &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("_A.LAS"));
}

TEST_F(LasRegistry, LooksForAFreeNameFromTheStartAfterEachUnderscore)
{
    EXPECT_EQ(import(lasFile("_a.las")), ActResult_Success);
    EXPECT_EQ(import(lasFile("a.las")), ActResult_Success);
    QString name;
    EXPECT_EQ(import(lasFile("other/A.las"), &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("__A.las"));
}

TEST_F(LasRegistry, TakesNoNameForTakenThatMerelyHasMoreUnderscores)
{
    EXPECT_EQ(import(lasFile("_a.las")), ActResult_Success);
    QString name;
    EXPECT_EQ(import(lasFile("a.las"), &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("a.las"));
}

TEST_F(LasRegistry, ComparesLettersBeyondAsciiWithoutCaseToo)
{
    EXPECT_EQ(import(lasFile("\xc3\xa4.las")), ActResult_Success);
    QString name;
    EXPECT_EQ(import(lasFile("upper/\xc3\x84.las"), &name), ActResult_Success);
    EXPECT_EQ(name, QString::fromUtf8("_\xc3\x84.las"));
}

TEST_F(LasRegistry, GivesANameFreeAgainWhenItIsRemoved)
{
    const QString file = lasFile("a.las");
    EXPECT_EQ(import(file), ActResult_Success);
    EXPECT_EQ(import(file), ActResult_Success);
    EXPECT_EQ(m_controller.doCmd_LasFile_Remove({QStringLiteral("a.las")}), ActResult_Success);
    EXPECT_EQ(lasFiles().keys(), QStringList(QStringLiteral("_a.las")));
    QString name;
    EXPECT_EQ(import(file, &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("a.las"));
}

TEST_F(LasRegistry, RegistersAFileAsOftenAsItIsImported)
{
    const QString file = lasFile("a.las");
    EXPECT_EQ(import(file), ActResult_Success);
    EXPECT_EQ(import(file), ActResult_Success);
    EXPECT_EQ(lasFiles(), (QMap<QString, QString>{{QStringLiteral("a.las"), file}, {QStringLiteral("_a.las"), file}}));
}

TEST_F(LasRegistry, KeepsThePathAsItWasGiven)
{
    lasFile("a.las");
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(m_dir.path()));
    EXPECT_EQ(import(QStringLiteral("./a.las")), ActResult_Success);
    ASSERT_TRUE(QDir::setCurrent(before));
    EXPECT_EQ(lasFiles().value(QStringLiteral("a.las")), QStringLiteral("./a.las"));
}

TEST_F(LasRegistry, RefusesWhatDoesNotLoadAndChangesNothing)
{
    ASSERT_TRUE(support::writeFile(path("damaged.las"), "no LAS file"));
    support::LasWriter unknown;
    unknown.format = 6;
    ASSERT_TRUE(unknown.write(path("unknown.las")));
    for (const QString &file : {path("unknown.las"), path("missing.las"), path("damaged.las"), m_dir.path(), QString(),
                                lasFile("a.las") + QLatin1Char('/')}) {
        QString name = QStringLiteral("untouched");
        EXPECT_EQ(import(file, &name), ActResult_FileError) << qPrintable(file);
        EXPECT_EQ(name, QStringLiteral("untouched"));
    }
    EXPECT_TRUE(lasFiles().isEmpty());
    EXPECT_TRUE(m_signals.isEmpty());
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(LasRegistry, RefusesAHeaderThatMemoryDoesNotHold)
{
    const QString file = lasFile("a.las");
    ASSERT_TRUE(support::announceManyLasHeads(file));
    {
        const support::AddressSpaceLimit limit(64U << 20);
        ASSERT_TRUE(limit.holds());
        EXPECT_EQ(import(file), ActResult_FileError);
    }
    EXPECT_TRUE(lasFiles().isEmpty());
    EXPECT_TRUE(m_signals.isEmpty());
}
#endif

TEST_F(LasRegistry, LeavesTheFileClosed)
{
    const QString file = lasFile("a.las");
    EXPECT_EQ(import(file), ActResult_Success);
    ASSERT_TRUE(QFile::remove(file));
    EXPECT_EQ(lasFiles().size(), 1);
}

TEST_F(LasRegistry, RemovesByTheExactName)
{
    const QString file = lasFile("a.las");
    EXPECT_EQ(import(file), ActResult_Success);
    m_signals.clear();
    EXPECT_EQ(m_controller.doCmd_LasFile_Remove({QStringLiteral("A.LAS")}), ActResult_NotFound);
    EXPECT_EQ(m_controller.doCmd_LasFile_Remove({QString()}), ActResult_NotFound);
    EXPECT_TRUE(m_signals.isEmpty());
    EXPECT_EQ(lasFiles().size(), 1);

    EXPECT_EQ(m_controller.doCmd_LasFile_Remove({QStringLiteral("a.las")}), ActResult_Success);
    EXPECT_EQ(m_signals, QStringList(QStringLiteral("las removed a.las")));
    EXPECT_TRUE(lasFiles().isEmpty());
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_EQ(m_controller.doCmd_LasFile_Remove({QStringLiteral("a.las")}), ActResult_NotFound);
}

TEST_F(LasRegistry, GivesItsWholeSelfInPlaceOfWhatWasThere)
{
    QMap<QString, QString> files{{QStringLiteral("old"), QStringLiteral("entry")}};
    m_controller.getLasFilepaths(files);
    EXPECT_TRUE(files.isEmpty());
}

TEST_F(LasRegistry, IsInItsFinalStateWhenASignalGoesOut)
{
    QObject::connect(&m_controller, &PtCloud_Controller::sg_LasFile_Added,
                     [this](const QString &name) { m_controller.doCmd_LasFile_Remove({name}); });
    QString name;
    EXPECT_EQ(import(lasFile("a.las"), &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("a.las"));
    EXPECT_TRUE(lasFiles().isEmpty());
    EXPECT_EQ(m_signals, (QStringList{QStringLiteral("las added a.las"), QStringLiteral("las removed a.las")}));
}

TEST_F(LasRegistry, HandsOutTheNameBeforeTheSignal)
{
    QString name;
    QString seen;
    QObject::connect(&m_controller, &PtCloud_Controller::sg_LasFile_Added, [&name, &seen] { seen = name; });
    EXPECT_EQ(import(lasFile("a.las"), &name), ActResult_Success);
    EXPECT_EQ(seen, QStringLiteral("a.las"));
}

TEST_F(LasRegistry, TakesAnImportFromWithinASignal)
{
    const QString second = lasFile("other/a.las");
    bool imported = false;
    QObject::connect(&m_controller, &PtCloud_Controller::sg_LasFile_Added, [this, &second, &imported] {
        if (!imported) {
            imported = true;
            EXPECT_EQ(import(second), ActResult_Success);
        }
    });
    QString name;
    EXPECT_EQ(import(lasFile("a.las"), &name), ActResult_Success);
    EXPECT_EQ(name, QStringLiteral("a.las"));
    EXPECT_EQ(lasFiles().keys(), (QStringList{QStringLiteral("_a.las"), QStringLiteral("a.las")}));
}

TEST_F(LasRegistry, SurvivesAReset)
{
    EXPECT_EQ(import(lasFile("a.las")), ActResult_Success);
    m_signals.clear();
    m_controller.setDir(path("elsewhere"));
    m_controller.reset();
    EXPECT_EQ(lasFiles().size(), 1);
    EXPECT_TRUE(m_signals.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(path("elsewhere")));
}

TEST_F(LasRegistry, TellsTheColumnsThatAFormatHas)
{
    const QList<QList<int>> columns = {{0, 4, 5, 6, 7, 8, 9, 10, 11, 12},
                                       {0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13},
                                       {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
                                       {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13},
                                       {0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 15, 16, 17, 18},
                                       {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}};
    for (quint8 format = 0; format <= 5; ++format) {
        QString name;
        ASSERT_EQ(import(lasFile("a.las", format), &name), ActResult_Success);
        QList<EDataSetColumn> found;
        m_controller.getLasFileColumns(name, found);
        QList<int> numbers;
        for (const EDataSetColumn column : qAsConst(found))
            numbers << column;
        EXPECT_EQ(numbers, columns[format]) << "format " << static_cast<int>(format);
    }
}

TEST_F(LasRegistry, AppendsColumnsEachTimeAndNothingForAnUnknownName)
{
    ASSERT_EQ(import(lasFile("a.las", 0)), ActResult_Success);
    QList<EDataSetColumn> columns = {EDataSetColumn_Normal};
    m_controller.getLasFileColumns(QStringLiteral("A.las"), columns);
    EXPECT_EQ(columns, QList<EDataSetColumn>{EDataSetColumn_Normal});
    m_controller.getLasFileColumns(QStringLiteral("a.las"), columns);
    EXPECT_EQ(columns.size(), 11);
    m_controller.getLasFileColumns(QStringLiteral("a.las"), columns);
    EXPECT_EQ(columns.size(), 21);
    EXPECT_EQ(columns.mid(1, 10), columns.mid(11, 10));

    ASSERT_TRUE(support::writeFile(path("a.las"), "damaged meanwhile"));
    m_controller.getLasFileColumns(QStringLiteral("a.las"), columns);
    EXPECT_EQ(columns.size(), 21);
}

TEST_F(LasRegistry, ProcessesTheHostsEventsAtAReset)
{
    bool ran = false;
    QTimer::singleShot(0, &m_controller, [&ran] { ran = true; });
    m_controller.reset();
    EXPECT_TRUE(ran);
}

TEST_F(LasRegistry, EndsAResetThoughEventsNeverEnd)
{
    int rounds = 0;
    QObject host; // goes, and its timers with it, before the controller processes events for the last time
    const std::function<void()> again = [&host, &rounds, &again] {
        ++rounds;
        QTimer::singleShot(0, &host, again);
    };
    again();
    m_controller.reset();
    EXPECT_GT(rounds, 1);
}

TEST_F(LasRegistry, LetsASlotWithinAResetUseTheController)
{
    const QString file = lasFile("a.las");
    QTimer::singleShot(0, &m_controller, [this, &file] {
        EXPECT_EQ(import(file), ActResult_Success);
        m_controller.reset();
    });
    m_controller.reset();
    EXPECT_EQ(lasFiles().size(), 1);
}

TEST(ControllerAndWorkers, AWorkerIsStoppedBeforeTheHostsEventsRun)
{
    support::HelperProgram worker(QStringLiteral("open3d_wrapper"));
    ASSERT_TRUE(worker.start());
    PtCloud_Controller controller;
    bool wasKilled = false;
    QTimer::singleShot(0, &controller, [&] { wasKilled = worker.isKilled(); });
    controller.reset();
    EXPECT_TRUE(wasKilled);
}

TEST(ControllerAndWorkers, ResetStopsAWorker)
{
    support::HelperProgram worker(QStringLiteral("open3d_wrapper"));
    ASSERT_TRUE(worker.start());
    PtCloud_Controller controller;
    EXPECT_TRUE(worker.isRunning());
    controller.reset();
    EXPECT_TRUE(worker.isKilled());
}

TEST(ControllerAndWorkers, TheDestructorStopsAWorker)
{
    support::HelperProgram worker(QStringLiteral("open3d_wrapper_d"));
    ASSERT_TRUE(worker.start());
    std::make_unique<PtCloud_Controller>().reset();
    EXPECT_TRUE(worker.isKilled());
}
