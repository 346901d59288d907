// How a worker may end, and what the host is told then.

#include "FunctionRunTesting.h"

#include <ostream>

using namespace ptCloud;
using support::FunctionRunTest;
using support::text;

namespace
{

struct ExitCode
{
    int code;
    int result;
    const char *log; ///< type and text
};

void PrintTo(const ExitCode &row, std::ostream *out)
{
    *out << row.code;
}

class FunctionRunExit : public FunctionRunTest, public ::testing::WithParamInterface<ExitCode>
{
};

INSTANTIATE_TEST_SUITE_P(
    Codes, FunctionRunExit,
    ::testing::Values(ExitCode{0, 0, "0 mesh_poisson sucessed."},
                      ExitCode{1, 8, "2 mesh_poisson failed with error: unknow."},
                      ExitCode{2, 8, "2 mesh_poisson failed with error: argument."},
                      ExitCode{3, 8, "2 mesh_poisson failed with error: config file."},
                      ExitCode{4, 8, "2 mesh_poisson failed with error: read source dataset file."},
                      ExitCode{5, 8, "2 mesh_poisson failed with error: write dest dataset file."},
                      ExitCode{6, 8, "2 mesh_poisson failed with error: function not supported."},
                      ExitCode{7, 8, "2 mesh_poisson failed with error: alloc memory."},
                      ExitCode{8, 8, "2 mesh_poisson failed with error: estimate normals."},
                      ExitCode{9, 8, "2 mesh_poisson failed with error: QHull."},
                      ExitCode{10, 8, "2 mesh_poisson failed with error: create open3d point cloud."},
                      ExitCode{11, 8, "2 mesh_poisson failed with error: function failed."},
                      ExitCode{12, 8, "2 mesh_poisson failed with error: function crashed."},
                      ExitCode{13, 8, "2 mesh_poisson failed with error: unknow."},
                      ExitCode{255, 8, "2 mesh_poisson failed with error: unknow."},
                      ExitCode{-1, 8, "2 mesh_poisson failed with error: unknow."}),
    [](const ::testing::TestParamInfo<ExitCode> &row) {
        return row.param.code < 0 ? std::string("minus1") : std::to_string(row.param.code);
    });

struct FunctionName
{
    int function;
    const char *name;
};

void PrintTo(const FunctionName &row, std::ostream *out)
{
    *out << row.function;
}

class FunctionRunName : public FunctionRunTest, public ::testing::WithParamInterface<FunctionName>
{
};

INSTANTIATE_TEST_SUITE_P(
    Functions, FunctionRunName,
    ::testing::Values(FunctionName{0, "mesh_alpha"}, FunctionName{1, "mesh_ball_pivoting"},
                      FunctionName{2, "mesh_poisson"}, FunctionName{3, ""}, FunctionName{100, "split_dbscan"},
                      FunctionName{101, "split_kmeans"}, FunctionName{102, "split_kmeans_extra"},
                      FunctionName{103, "split_euclidean"}, FunctionName{104, "split_euclidean_fast"},
                      FunctionName{105, "split_region_growing"}, FunctionName{106, "split_pachwork++"},
                      FunctionName{107, "split_csf"}, FunctionName{200, "sample_poisson_disk"}),
    [](const ::testing::TestParamInfo<FunctionName> &row) { return std::to_string(row.param.function); });

} // namespace

TEST_P(FunctionRunExit, IsToldByResultAndLog)
{
    script(QStringList(text("exit ") + QString::number(GetParam().code)));
    EXPECT_EQ(static_cast<int>(run(Function_mesh_poisson)), GetParam().result);
    EXPECT_EQ(logLines(), QStringList({text("0 Start mesh_poisson......"), text(GetParam().log)}));
    EXPECT_EQ(m_calls.value(m_calls.size() - 1).mid(m_calls.value(m_calls.size() - 1).size() - 1), text("."))
        << "the end is told last";
}

TEST_P(FunctionRunName, StandsInTheLogLines)
{
    script("exit 6");
    EXPECT_EQ(run(static_cast<EPtCloud_Function>(GetParam().function)), ActResult_WorkerFailed);
    const QString name = text(GetParam().name);
    EXPECT_EQ(logLines(), QStringList({text("0 Start ") + name + text("......"),
                                       text("2 ") + name + text(" failed with error: function not supported.")}));
    EXPECT_EQ(setting("function").toInt(), GetParam().function);
}

TEST_F(FunctionRunTest, TellsACrashByItsResultAlone)
{
    for (const char *end : {"crash", "die"}) {
        m_calls.clear();
        script({text("value 5"), text("text at work"), text("write half"), text(end)});
        EXPECT_EQ(run(), ActResult_WorkerCrashed) << end;
        EXPECT_EQ(logLines(), QStringList(text("0 Start mesh_alpha......")));
        EXPECT_EQ(shown().value(shown().size() - 1), text("5 at work"));
        EXPECT_EQ(support::readFile(path("result")), "half") << "what was written stays";
    }
}

TEST_F(FunctionRunTest, HandsOnAnyProgressValue)
{
    m_progress.m_onText = [this] { release(QStringLiteral("shown-%1").arg(m_progress.m_value)); };
    script({text("value 100"), text("await shown-100"), text("value 101"), text("await shown-101"), text("value 128"),
            text("await shown-128"), text("value 255"), text("await shown-255"), text("value 0")});
    EXPECT_EQ(run(), ActResult_Success);
    QStringList images = shown();
    images.removeAll(text("0 initializing......"));
    EXPECT_EQ(images, QStringList({text("100 initializing......"), text("101 initializing......"),
                                   text("128 initializing......"), text("255 initializing......")}));
    EXPECT_EQ(m_progress.m_value, 0);
}
