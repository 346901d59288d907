// Whatever a host gives as parameters, a run of this project's worker comes to an end of its own, and tells why.

#include "ControllerWorkerTesting.h"

using namespace ptCloud;
using namespace support;

namespace
{

constexpr int setsOfFunction = 4; // each costs the library half a second of waiting; by hand the worker takes more

class HostileParameters : public ControllerWorkerTest, public ::testing::WithParamInterface<WorkerFunction>
{
protected:
    void SetUp() override
    {
        ControllerWorkerTest::SetUp();
        usePoints(smallSurvey(300));
        // What the worker takes for a path of its own.
        ASSERT_TRUE(QDir::setCurrent(path("tmp")));
    }
    void TearDown() override
    {
        EXPECT_TRUE(QDir::setCurrent(m_before));
        ControllerWorkerTest::TearDown();
    }

    /// Each parameter as it should be, or with the same chance anything.
    QVariantList shaken(QVariantList parameters)
    {
        const QVariant values[] = {-1,
                                   0,
                                   1,
                                   0.5,
                                   2.5,
                                   14,
                                   100,
                                   1e30,
                                   -1e30,
                                   1e-30,
                                   2147483647,
                                   std::numeric_limits<int>::min(),
                                   std::numeric_limits<double>::quiet_NaN(),
                                   std::numeric_limits<double>::infinity(),
                                   true,
                                   QVariant(),
                                   QString(),
                                   QStringLiteral("nan"),
                                   QStringLiteral("many"),
                                   m_project};
        for (QVariant &parameter : parameters) {
            if (m_random() % 2 == 0)
                parameter = values[m_random() % std::size(values)];
        }
        // A list that is too short as well.
        if (!parameters.isEmpty() && m_random() % 8 == 0)
            parameters.removeLast();
        return parameters;
    }

    std::mt19937 m_random{20};

private:
    QString m_before = QDir::currentPath();
};

} // namespace

TEST_P(HostileParameters, EndInAResultOrInAReason)
{
    const WorkerFunction &function = GetParam();
    const QString result = destination(function.product);
    const QStringList before = filesOfSite();
    for (int set = 0; set < setsOfFunction; ++set) {
        const QVariantList parameters = shaken(parametersOf(function));
        QStringList texts;
        for (const QVariant &parameter : parameters)
            texts << parameter.toString();
        SCOPED_TRACE(texts.join(QStringLiteral(", ")).toStdString());
        const EEPtCloudActResult end = run(function, parameters);
        EXPECT_TRUE(end == ActResult_Success || end == ActResult_WorkerFailed) << end;
        // The worker knows what it ended for.
        for (const char *text : {"crashed", "unknow"})
            EXPECT_FALSE(logLines().last().contains(QLatin1String(text))) << m_progress.m_text.toStdString();
        EXPECT_NE(m_progress.m_text, QStringLiteral("initializing......"));
        if (end == ActResult_WorkerFailed) {
            EXPECT_EQ(filesOfSite(), before) << m_progress.m_text.toStdString();
        } else if (QFileInfo::exists(result)) {
            EXPECT_GT(inFile(result).points, 0U);
        }
        keepOfSite(before);
    }
}

INSTANTIATE_TEST_SUITE_P(Worker, HostileParameters, ::testing::ValuesIn(workerFunctions), WorkerFunctionName());
