// Long work in the worker program, with progress shown as it comes, and cancelled when it takes too long.
//
//   04-progress-and-cancel DIR NAME SECONDS      a data set of the project in DIR is split into clusters

#include <points_cloud.h>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <memory>

using namespace ptCloud;

namespace
{

/// What a host shows and asks. The library calls it on the thread of the command, about ten times a second.
class TimedProgress : public ILongLiveActionProgress
{
public:
    explicit TimedProgress(int seconds) : m_limit(1000 * static_cast<qint64>(seconds)) { m_timer.start(); }

    /// A dialog would tell here whether its button was pressed.
    bool isCancelRequested() override { return m_timer.elapsed() > m_limit; }
    void setProgressValue(int value) override { m_value = value; }
    void setProgressText(const QString &text) override
    {
        if (text != m_text)
            std::printf("%3d of 255  %s\n", m_value, qPrintable(text));
        m_text = text;
    }
    void setTitle(const QString &) override {}
    void setRange(int, int) override {}
    void finish() override {}

private:
    QElapsedTimer m_timer;
    qint64 m_limit;
    int m_value = 0;
    QString m_text;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    PtCloud_Project project;
    if (arguments.size() != 4 || !project.loadProject(arguments[1], nullptr)) {
        std::fprintf(stderr, "04-progress-and-cancel DIR NAME SECONDS\n");
        return 2;
    }
    PtCloud_Controller &controller = *project.getController();
    PtCloudDataSet *dataSet = controller.getDataSet(arguments[2]);
    if (dataSet == nullptr)
        return 1;

    // The data set tells where the result belongs, and takes it when it is there.
    const QString name = QStringLiteral("clusters");
    std::unique_ptr<PtCloud_DataSetFile> target(dataSet->createEmptyLocatedContent_Split(name));
    if (target == nullptr) {
        std::fprintf(stderr, "the data set has clusters already\n");
        return 1;
    }
    stControlParam_DataSet_Do_Split split;
    split.name = arguments[2];
    split.destFilepath = target->getFilepath();
    split.function = Function_split_dbscan;
    split.params =
        QVariantList{1.5, 10, false}; // radius of a neighbourhood, points in it, keep the noise: docs/worker.md
    TimedProgress progress(arguments[3].toInt());
    const EEPtCloudActResult result = controller.doCmd_DataSet_Do_Split(split, &progress);
    if (result == ActResult_Success) {
        dataSet->addContent_Split(name, target.release());
        std::printf("done\n");
        return 0;
    }
    // What a worker that was stopped had written stays, and is the host's to remove.
    target->removeFile();
    std::printf(result == ActResult_Cancelled ? "cancelled\n" : "failed (%d)\n", result);
    return result == ActResult_Cancelled ? 0 : 1;
}
