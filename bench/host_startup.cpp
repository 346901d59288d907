// How long the command-line host takes on a project of a hundred data sets, beside the library's opening and closing of
// the same project. Both process events for the same time, so the difference is the host's own.
//
//   host_startup DIR [ROUNDS]

#include "Best.h"

#include "PtCloud_Controller.h"
#include "PtCloud_Project.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include <cstdio>

using namespace ptCloud;

namespace
{

constexpr int dataSetCount = 100;

void makeProject(const QDir &dir)
{
    // A sound file of points without a block.
    const QByteArray emptyFile("\1\0\0\0\1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0", 20);
    QMap<QString, QString> dataSets;
    for (int i = 0; i < dataSetCount; ++i) {
        const QString name = QStringLiteral("set%1").arg(i);
        dir.mkpath(name);
        QFile file(dir.absoluteFilePath(name + QStringLiteral("/Points")));
        file.open(QIODevice::WriteOnly);
        file.write(emptyFile);
        dataSets.insert(name, name);
    }
    PtCloud_Project project;
    project.setDir(dir.path());
    project.getController()->setFiles({}, dataSets, {});
    project.save(dir.path(), nullptr);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr, "host_startup DIR [ROUNDS]\n");
        return 2;
    }
    const int rounds = arguments.size() > 2 ? arguments[2].toInt() : 5;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QDir dir(QDir(arguments[1]).absoluteFilePath(QStringLiteral("hundred")));
    makeProject(dir);
    const QString host = QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("ptcloud"));
    bool isSound = true;
    const double library = best(rounds, [&] {
        PtCloud_Project project;
        isSound = isSound && project.loadProject(dir.path(), nullptr);
    });
    const double program = best(rounds, [&] {
        const QStringList command{QStringLiteral("las-list"), QStringLiteral("-p"), dir.path()};
        isSound = isSound && QProcess::execute(host, command) == 0;
    });
    dir.removeRecursively();
    if (!isSound)
        return 1;
    std::printf("%d data sets: library %.3f s, ptcloud %.3f s, its own %.3f s\n", dataSetCount, library, program,
                program - library);
    return 0;
}
