// How long a project takes to open: data sets with a hundred contents each, restored by the controller.
//
//   restore_project DIR

#include "PtCloudDataSet.h"
#include "PtCloud_Controller.h"

#include <QDir>
#include <QElapsedTimer>

#include <cstdio>

using namespace ptCloud;

namespace
{

constexpr int contentsOfEach = 100;

/// A sound file of points without a block.
const QByteArray emptyFile("\1\0\0\0\1\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0", 20);

void write(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(emptyFile);
}

QMap<QString, QString> makeDataSets(const QDir &project, int count)
{
    QMap<QString, QString> dataSets;
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("set%1").arg(i);
        project.mkpath(name);
        const QDir directory(project.absoluteFilePath(name));
        write(directory.absoluteFilePath(QStringLiteral("Points")));
        for (int j = 0; j < contentsOfEach; ++j)
            write(directory.absoluteFilePath(QStringLiteral("%1.mesh").arg(j)));
        dataSets.insert(name, name);
    }
    return dataSets;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "restore_project DIR\n");
        return 2;
    }
    const QDir project(QDir(QString::fromLocal8Bit(argv[1])).absoluteFilePath(QStringLiteral("project")));
    for (const int count : {10, 100, 1000}) {
        project.mkpath(QStringLiteral("."));
        const QMap<QString, QString> dataSets = makeDataSets(project, count);
        PtCloud_Controller controller;
        controller.setDir(project.path());
        QElapsedTimer timer;
        timer.start();
        controller.setFiles({}, dataSets, {});
        const double seconds = static_cast<double>(timer.nsecsElapsed()) * 1e-9;
        std::printf("%5d data sets, %6d contents   %7.3f s   %6.1f us each\n", controller.getDataSets().size(),
                    count * contentsOfEach, seconds, seconds * 1e6 / (count * contentsOfEach));
        QDir(project).removeRecursively();
    }
    return 0;
}
