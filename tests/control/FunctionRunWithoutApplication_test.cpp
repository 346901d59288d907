// Runs of the worker in a process that has no application object.

#include "FunctionRunTesting.h"

#include <QCoreApplication>

using namespace ptCloud;

namespace
{

using FunctionRunWithoutApplication = support::FunctionRunTest;

} // namespace

TEST_F(FunctionRunWithoutApplication, ComeToTheirEnd)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    script({QStringLiteral("value 9"), QStringLiteral("copy")});
    EXPECT_EQ(run(), ActResult_Success);
    EXPECT_EQ(shown().value(shown().size() - 1), QStringLiteral("9 initializing......"));
    EXPECT_EQ(logLines(),
              QStringList({QStringLiteral("0 Start mesh_alpha......"), QStringLiteral("0 mesh_alpha sucessed.")}));
    script("exit 12");
    EXPECT_EQ(run(), ActResult_WorkerFailed);
    script("die");
    EXPECT_EQ(run(), ActResult_WorkerCrashed);
}

TEST_F(FunctionRunWithoutApplication, CanBeCancelled)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    script({QStringLiteral("touch started"), QStringLiteral("hang")});
    cancelOnceThere("started");
    EXPECT_EQ(run(), ActResult_Cancelled);
}
