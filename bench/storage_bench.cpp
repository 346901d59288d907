// Small pieces of the road from LAS record to block, one by one.

#include "BorrowedPointArray.h"
#include "BoxGrid.h"
#include "LasPointConversion.h"
#include "PointRuns.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr unsigned int pointCount = 100000;

std::vector<unsigned char> randomRecords(const LasFormat &format)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<qint32> coordinate(0, 999999);
    std::vector<unsigned char> records(static_cast<std::size_t>(pointCount) * format.recordSize);
    for (std::size_t i = 0; i < pointCount; ++i) {
        const qint32 xyz[3] = {coordinate(random), coordinate(random), coordinate(random)};
        std::memcpy(records.data() + i * format.recordSize, xyz, sizeof xyz);
    }
    return records;
}

void findBoxes(benchmark::State &state)
{
    const LasFormat &format = lasFormats[3];
    const std::vector<unsigned char> records = randomRecords(format);
    const BoxGrid grid({{{0, 1000000}, {0, 1000000}, {0, 1000000}}});
    for (auto _ : state) {
        int sum = 0;
        for (std::size_t i = 0; i < pointCount; ++i) {
            qint32 xyz[3];
            std::memcpy(xyz, records.data() + i * format.recordSize, sizeof xyz);
            sum += grid.boxOf(xyz[0], xyz[1], xyz[2]);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * pointCount);
}
BENCHMARK(findBoxes);

/// Conversion into all columns of the format, in runs of the given length.
void convertRuns(benchmark::State &state)
{
    const auto formatId = static_cast<unsigned char>(state.range(0));
    const auto length = static_cast<unsigned int>(state.range(1));
    const LasFormat &format = *findLasFormat(formatId);
    const std::vector<unsigned char> records = randomRecords(format);
    stPtCloud_PointArray array;
    if (!array.alloc(pointCount, lasColumns(format), false, 0)) {
        state.SkipWithError("memory is short");
        return;
    }
    for (auto _ : state) {
        for (unsigned int at = 0; at + length <= pointCount; at += length)
            convertLasRecords(format, false, records.data() + static_cast<std::size_t>(at) * format.recordSize, length,
                              array, at);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * pointCount);
}
BENCHMARK(convertRuns)->ArgsProduct({{0, 3, 5}, {1, 10, 1000}});

} // namespace
