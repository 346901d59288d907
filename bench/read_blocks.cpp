// read_blocks FILE [ROUNDS]
//
// Reads all blocks of a data set file in key order through readBlock, and the same bytes with one plain read for each
// block into one buffer, in turns. Prints the best seconds of both and their ratio.

#include "PtCloud_DataSetFile.h"

#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace ptCloud;

namespace
{

double secondsOf(const std::function<bool()> &work)
{
    const auto begin = std::chrono::steady_clock::now();
    if (!work())
        std::exit(1);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    return seconds.count();
}

struct Span
{
    qint64 offset;
    qint64 size;
};

std::vector<Span> spansOf(const PtCloud_DataSetFile &file)
{
    std::vector<Span> spans;
    for (const auto &info : file.getBlockInfos()) {
        if (!spans.empty())
            spans.back().size = std::get<0>(info) - 28 - spans.back().offset;
        spans.push_back({std::get<0>(info), 0});
    }
    if (!spans.empty())
        spans.back().size = QFile(file.getFilepath()).size() - spans.back().offset;
    return spans;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
    PtCloud_DataSetFile file;
    file.setFile(QFile::decodeName(argv[1]));
    if (!file.openFile())
        return 1;
    const QList<int> keys = file.getBlockInfos().keys();
    const std::vector<Span> spans = spansOf(file);
    qint64 largest = 0;
    for (const Span &span : spans)
        largest = std::max(largest, span.size);
    std::vector<char> buffer(static_cast<std::size_t>(largest));
    const int plain = ::open(argv[1], O_RDONLY);

    double library = 1e9;
    double floor = 1e9;
    for (int round = 0; round < rounds; ++round) {
        library = std::min(library, secondsOf([&] {
                               return std::all_of(keys.begin(), keys.end(),
                                                  [&](int key) { return file.readBlock(key) != nullptr; });
                           }));
        floor = std::min(floor, secondsOf([&] {
                             return std::all_of(spans.begin(), spans.end(), [&](const Span &span) {
                                 return ::pread(plain, buffer.data(), static_cast<std::size_t>(span.size), span.offset)
                                        == span.size;
                             });
                         }));
    }
    ::close(plain);
    std::printf("readBlock %.4f s, plain read %.4f s, ratio %.2f\n", library, floor, floor / library);
    return 0;
}
