#include "DataSetCommandTesting.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace ptCloud;
using support::HostileName;
using support::ProjectState;

namespace
{

/// A command that gives a data set a name, sound in all but that name.
struct NamingCommand
{
    const char *name;
    EEPtCloudActResult (*run)(PtCloud_Controller &controller, const QString &newName);
    EEPtCloudActResult unsafe; ///< result for a name that is no plain name
};

void PrintTo(const NamingCommand &command, std::ostream *out)
{
    *out << command.name;
}

EEPtCloudActResult make(PtCloud_Controller &controller, const QString &newName)
{
    return controller.doCmd_DataSet_Make({{QStringLiteral("a.las")}, {EDataSetColumn_Position}, newName});
}

EEPtCloudActResult copy(PtCloud_Controller &controller, const QString &newName)
{
    return controller.doCmd_DataSet_Copy({QStringLiteral("zed"), newName});
}

EEPtCloudActResult merge(PtCloud_Controller &controller, const QString &newName)
{
    return controller.doCmd_DataSet_Merge({{QStringLiteral("abc"), QStringLiteral("zed")}, newName, false});
}

EEPtCloudActResult rename(PtCloud_Controller &controller, const QString &newName)
{
    return controller.doCmd_DataSet_Rename({QStringLiteral("abc"), newName});
}

const NamingCommand creatingCommands[] = {
    {"Make", make, ActResult_MakeFailed}, {"Copy", copy, ActResult_CannotRun}, {"Merge", merge, ActResult_FileError}};
const NamingCommand namingCommands[] = {
    creatingCommands[0], creatingCommands[1], creatingCommands[2], {"Rename", rename, ActResult_FileError}};

class CreatingCommand : public support::DataSetCommandTest, public ::testing::WithParamInterface<NamingCommand>
{
protected:
    EEPtCloudActResult run(const QString &newName) { return GetParam().run(m_controller, newName); }
    EEPtCloudActResult run(const char *newName) { return run(QString::fromUtf8(newName)); }
};

class HostileCommandName : public support::DataSetCommandTest,
                           public ::testing::WithParamInterface<std::tuple<NamingCommand, HostileName>>
{
};

struct CommandAndName
{
    template <typename Info>
    std::string operator()(const Info &info) const
    {
        return std::string(std::get<0>(info.param).name) + std::get<1>(info.param).name;
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Commands, CreatingCommand, ::testing::ValuesIn(creatingCommands), support::CaseName());
INSTANTIATE_TEST_SUITE_P(Commands, HostileCommandName,
                         ::testing::Combine(::testing::ValuesIn(namingCommands),
                                            ::testing::ValuesIn(support::hostileNames())),
                         CommandAndName());

TEST_P(HostileCommandName, ReachesNothingOnDisk)
{
    const auto &[command, hostile] = GetParam();
    QString name = hostile.text;
    name.replace(QStringLiteral("%1"), m_dir.path());
    expectRefused(command.unsafe, [&, run = command.run] { return run(m_controller, name); });
}

TEST_P(CreatingCommand, NeedsAProjectDirectory)
{
    m_controller.setDir(QString());
    for (const char *name : {"new", "abc", "..", ""})
        expectRefused(ActResult_CannotRun, [&] { return run(name); });
}

TEST_P(CreatingCommand, RefusesARegisteredNameInAnyCase)
{
    for (const char *name : {"abc", "ABC", "aBc", "zed", "Zed", "x", "X"}) {
        SCOPED_TRACE(name);
        expectRefused(ActResult_NameExists, [&] { return run(name); });
    }
}

TEST_P(CreatingCommand, RefusesTheDirectoryOfADataSetOfAnotherName)
{
    expectRefused(ActResult_NameExists, [&] { return run("dir"); });
    expectRefused(ActResult_NameExists, [&] { return run("DIR"); });
    ASSERT_TRUE(QDir(inProject("dir")).removeRecursively());
    expectRefused(ActResult_NameExists, [&] { return run("dir"); });
}

TEST_P(CreatingCommand, ComparesCaseBeyondAscii)
{
    const QString small = QString(QChar(0xe4)) + QChar(0x434);
    ASSERT_EQ(copy(m_controller, small), ActResult_Success);
    m_signals.clear();
    expectRefused(ActResult_NameExists, [&] { return run(small.toUpper()); });
}

TEST_P(CreatingCommand, TakesOddNamesThatArePlain)
{
    for (const char *name : {" new", "new ", "...", "-rf", "100%1%2", ".hidden", "Points"}) {
        SCOPED_TRACE(name);
        const QString text = QString::fromUtf8(name);
        ASSERT_EQ(run(text), ActResult_Success);
        EXPECT_EQ(m_signals, QStringList(QStringLiteral("added ") + text));
        EXPECT_TRUE(QFile::exists(inProject(text) + QStringLiteral("/Points")));
        ASSERT_EQ(m_controller.doCmd_DataSet_Remove({text}), ActResult_Success);
        m_signals.clear();
    }
}

TEST_P(CreatingCommand, LosesNoEntryToASlotThatRemovesWhatWasAdded)
{
    QObject::connect(&m_controller, &PtCloud_Controller::sg_DataSet_Added, [this](const QString &name) {
        EXPECT_EQ(m_controller.doCmd_DataSet_Remove({name}), ActResult_Success);
    });
    EXPECT_EQ(run("new"), ActResult_Success);
    EXPECT_EQ(dataSet("new"), nullptr);
    EXPECT_FALSE(QDir(inProject("new")).exists());
    EXPECT_NE(dataSet("x"), nullptr);
}
