// las_build IN.las OUT COLUMNS
//
// The builder, timed from loading the file to the closed data set. COLUMNS is "all" or "some" (0, 3, 4, 13). Prints the
// seconds, and the peak of resident memory in MiB where the system tells it.

#include "LasFile.h"
#include "PtCloud_DataSetFile.h"

#include <QFile>

#include <chrono>
#include <cstdio>
#include <cstring>

using namespace ptCloud;

namespace
{

double peakMemoryMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0.0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return 0.0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const double before = peakMemoryMiB();
    const auto begin = std::chrono::steady_clock::now();
    QList<EDataSetColumn> columns = {EDataSetColumn_Position, EDataSetColumn_Color, EDataSetColumn_Intensity,
                                     EDataSetColumn_GpsTime};
    LasFile las;
    PtCloud_DataSetFile file;
    if (!las.load(QFile::decodeName(argv[1]), 1000000) || !file.setFile(QFile::decodeName(argv[2])))
        return 1;
    if (std::strcmp(argv[3], "all") == 0) {
        columns.clear();
        las.getColumns(columns);
    }
    if (!file.makeDataSet_byLasFile({&las}, columns))
        return 1;
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%.4f %.1f\n", seconds.count(), peakMemoryMiB() - before);
    return 0;
}
