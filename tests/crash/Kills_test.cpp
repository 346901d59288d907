#include "CrashRun.h"

#include "DebugLog.h"

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

} // namespace

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
