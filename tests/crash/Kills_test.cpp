#include "CrashRun.h"

#include "DataSetFileTest.h"

#include <gtest/gtest.h>

#include <iostream>

namespace
{

/// A number from the environment, so that a script can have more kills than the tests.
int numberFrom(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : otherwise;
}

/// A step, and those before it that make the project which it works on.
struct CutCase
{
    const char *name;
    QStringList before;
    const char *step;
};

void PrintTo(const CutCase &cut, std::ostream *out)
{
    *out << cut.name;
}

class KillsAtEachCall : public ::testing::TestWithParam<CutCase>
{
};

QStringList lines(std::initializer_list<const char *> list)
{
    QStringList result;
    for (const char *const line : list)
        result.append(QLatin1String(line));
    return result;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Within, KillsAtEachCall,
    ::testing::Values(CutCase{"Open", lines({"save", "rename a d"}), "open"}, CutCase{"Make", {}, "make d 1.las"},
                      CutCase{"MakeOverARegisteredDirectory", lines({"save", "remove a"}), "make a 2.las"},
                      CutCase{"Copy", lines({"contours a 3", "cut a cut1 1", "save"}), "copy a d"},
                      CutCase{"CopyOverARegisteredDirectory", lines({"contours a 3", "save", "remove b"}), "copy a b"},
                      CutCase{"Merge", lines({"save"}), "merge d keep a b"},
                      CutCase{"MergeWithRemoval", lines({"contours a 3", "cut b cut1 1", "save"}),
                              "merge d remove a b"},
                      CutCase{"Rename", lines({"save"}), "rename a d"},
                      CutCase{"Remove", lines({"contours a 3", "cut a cut1 1", "volume a 1", "save"}), "remove a"},
                      CutCase{"Edit", lines({"cut a cut1 1", "save"}), "edit a 2"},
                      CutCase{"Rebuild", lines({"save"}), "rebuild a 102"},
                      CutCase{"Cut", lines({"save"}), "cut a cut1 3"},
                      CutCase{"RemovalOfACut", lines({"cut a cut1 1", "save"}), "uncut a cut1"},
                      CutCase{"Volume", lines({"volume a 1", "save"}), "volume a 2"},
                      CutCase{"Contours", lines({"contours a 3", "save"}), "contours a 7"},
                      CutCase{"FirstSave", {}, "save"}, CutCase{"Save", lines({"save", "rename a d"}), "save"}),
    support::CaseName());

TEST_P(KillsAtEachCall, LeaveNothingButWhatIsTold)
{
    const QStringList steps = lines({"open", "import 1.las", "import 2.las", "make a 1.las", "make b 2.las"})
                              + GetParam().before + lines({GetParam().step});
    crash::CrashRun run(1);
    bool isKilled = true;
    for (long call = 1; isKilled; ++call) {
        const support::DebugLog log;
        const QStringList wrong = run.killWithinLast(steps, call, isKilled);
        EXPECT_TRUE(wrong.isEmpty()) << "call " << call << ", " << wrong.join(QLatin1String("\n  ")).toStdString();
    }
    EXPECT_GT(run.kills(), 1);
}

TEST(Kills, LeaveAProjectThatOpensWithNothingLostButWhatIsTold)
{
    const int kills = numberFrom("POINTS_CLOUD_KILLS", 50);
    const int seed = numberFrom("POINTS_CLOUD_KILL_SEED", 1);
    crash::CrashRun run(static_cast<quint32>(seed));
    while (run.kills() < kills) {
        const support::DebugLog log;
        const QStringList wrong = run.killOne();
        EXPECT_TRUE(wrong.isEmpty()) << "seed " << seed << ", " << wrong.join(QLatin1String("\n  ")).toStdString();
    }
    run.print(std::cout);
}
