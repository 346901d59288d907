// Merging data set files beside `cat` of the same files into one.
//
//   merge_files OUT FILE FILE [ROUNDS]

#include "Best.h"

#include "PtCloud_DataSetFile.h"

#include <QFileInfo>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace ptCloud;

int main(int argc, char **argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "merge_files OUT FILE FILE [ROUNDS]\n");
        return 2;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const int rounds = argc > 4 ? std::atoi(argv[4]) : 5;
    const QString out = QString::fromLocal8Bit(argv[1]);
    bool isSound = true;
    double library = 1e300;
    double cat = 1e300;
    const std::string command = std::string("cat '") + argv[2] + "' '" + argv[3] + "' > '" + argv[1] + "'";
    for (int i = 0; i < rounds; ++i) {
        // Both begin without a target: giving back a large file's room takes time.
        QFile::remove(out);
        library = std::min(library, best(1, [&] {
                               PtCloud_DataSetFile target;
                               PtCloud_DataSetFile first;
                               PtCloud_DataSetFile second;
                               target.setFile(out);
                               first.setFile(QString::fromLocal8Bit(argv[2]));
                               second.setFile(QString::fromLocal8Bit(argv[3]));
                               isSound = isSound && target.makeDataSet_byDataSetFiles({&first, &second});
                           }));
        QFile::remove(out);
        cat = std::min(cat, best(1, [&] { isSound = isSound && std::system(command.c_str()) == 0; }));
    }
    const auto megabytes = static_cast<double>(QFileInfo(out).size()) / 1048576;
    QFile::remove(out);
    if (!isSound) {
        std::fprintf(stderr, "merging failed\n");
        return 1;
    }
    std::printf("%.0f MiB: library %.3f s, cat %.3f s, ratio %.2f\n", megabytes, library, cat, cat / library);
    return 0;
}
