// Editing a block of a million points, each operation beside the least that it could cost: a compaction that knows what
// stays, and one linear pass over the positions.

#include "stPtCloud_PointArray.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr unsigned int pointCount = 1000000;

QList<EDataSetColumn> allColumns()
{
    QList<EDataSetColumn> columns;
    for (int column = 0; column <= EDataSetColumn_WaveformXyzT; ++column) {
        if (column != EDataSetColumn_Triangle)
            columns << static_cast<EDataSetColumn>(column);
    }
    return columns;
}

/// All columns, positions at random in a cube of 100.
const stPtCloud_PointArray &survey()
{
    static const auto array = [] {
        auto made = std::make_unique<stPtCloud_PointArray>();
        made->alloc(pointCount, allColumns(), false, 0);
        std::mt19937 random(1);
        std::uniform_real_distribution<float> coordinate(0, 100);
        for (unsigned int i = 0; i < pointCount; ++i)
            made->m_position[i].set(coordinate(random), coordinate(random), coordinate(random));
        return made;
    }();
    return *array;
}

std::unique_ptr<stPtCloud_PointArray> copyOfSurvey()
{
    stPtCloud_PointArray *copy = nullptr;
    survey().makeCopy(copy);
    return std::unique_ptr<stPtCloud_PointArray>(copy);
}

const std::set<unsigned int> &randomHalf()
{
    static const std::set<unsigned int> half = [] {
        std::set<unsigned int> indices;
        std::mt19937 random(2);
        for (unsigned int i = 0; i < pointCount; ++i) {
            if (random() % 2 == 0)
                indices.insert(indices.end(), i);
        }
        return indices;
    }();
    return half;
}

void removeHalf(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto array = copyOfSurvey();
        state.ResumeTiming();
        array->removePointsByIndies(randomHalf());
        benchmark::DoNotOptimize(array->m_pointCount);
        state.PauseTiming();
        array.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(removeHalf)->Unit(benchmark::kMillisecond);

template <typename T>
void compact(T *values, const std::vector<unsigned int> &kept)
{
    for (std::size_t i = 0; i < kept.size(); ++i)
        std::memcpy(&values[i], &values[kept[i]], sizeof(T));
}

/// The same bytes, moved by a list of what stays.
void compactHalf(benchmark::State &state)
{
    std::vector<unsigned int> kept;
    for (unsigned int i = 0; i < pointCount; ++i) {
        if (randomHalf().count(i) == 0)
            kept.push_back(i);
    }
    for (auto _ : state) {
        state.PauseTiming();
        auto array = copyOfSurvey();
        state.ResumeTiming();
        compact(array->m_pointIndices, kept);
        compact(array->m_pointMarks, kept);
        compact(array->m_position, kept);
        compact(array->m_normal, kept);
        compact(array->m_color, kept);
        compact(array->m_intensity, kept);
        for (unsigned char *bytes :
             {array->m_returnNumber, array->m_numberOfReturns, array->m_scanDirection, array->m_edgeOfFlightLine,
              array->m_classification, array->m_scanAngleRank, array->m_userData, array->m_wavePacketDescriptorIndex})
            compact(bytes, kept);
        compact(array->m_pointSourceId, kept);
        compact(array->m_gpsTime, kept);
        compact(array->m_byteOffsetToWaveformData, kept);
        compact(array->m_waveformPacketSize, kept);
        compact(array->m_returnPointWaveformLocation, kept);
        compact(array->m_waveformXyzT, kept);
        benchmark::DoNotOptimize(array->m_position[0]);
        state.PauseTiming();
        array.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(compactHalf)->Unit(benchmark::kMillisecond);

/// One linear pass over the positions.
void passOverPositions(benchmark::State &state)
{
    const stPtCloud_PointArray &array = survey();
    for (auto _ : state) {
        pcBoundingBoxf box;
        for (unsigned int i = 0; i < array.m_pointCount; ++i)
            box.expandBy(array.m_position[i]);
        benchmark::DoNotOptimize(box);
    }
}
BENCHMARK(passOverPositions)->Unit(benchmark::kMicrosecond);

/// Selection alone: a volume that holds no point.
void selectByBox(benchmark::State &state)
{
    const auto array = copyOfSurvey();
    const pcBoundingBoxf far(200, 200, 200, 300, 300, 300);
    for (auto _ : state)
        array->removeInnerByBox(far);
}
BENCHMARK(selectByBox)->Unit(benchmark::kMicrosecond);

void selectBySphere(benchmark::State &state)
{
    const auto array = copyOfSurvey();
    const pcBoundingSpheref far(pcVec3f(300, 300, 300), 10);
    for (auto _ : state)
        array->removeInnerBySphere(far);
}
BENCHMARK(selectBySphere)->Unit(benchmark::kMicrosecond);

/// Selection of an eighth of the points, with their removal.
void removeByBox(benchmark::State &state)
{
    const pcBoundingBoxf corner(0, 0, 0, 50, 50, 50);
    for (auto _ : state) {
        state.PauseTiming();
        auto array = copyOfSurvey();
        state.ResumeTiming();
        array->removeInnerByBox(corner);
        state.PauseTiming();
        array.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(removeByBox)->Unit(benchmark::kMillisecond);

void markHalf(benchmark::State &state)
{
    const auto array = copyOfSurvey();
    QSet<unsigned int> half;
    for (const unsigned int index : randomHalf())
        half.insert(index);
    for (auto _ : state)
        array->markPoints(half);
}
BENCHMARK(markHalf)->Unit(benchmark::kMicrosecond);

/// The least that marking costs: walking the set.
void walkSet(benchmark::State &state)
{
    QSet<unsigned int> half;
    for (const unsigned int index : randomHalf())
        half.insert(index);
    for (auto _ : state) {
        unsigned int sum = 0;
        for (const unsigned int index : half)
            sum += index;
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(walkSet)->Unit(benchmark::kMicrosecond);

} // namespace
