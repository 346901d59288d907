#include "Cloth.h"

#include "Parallel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

// Rows that one thread takes at a time; even, so that the pairs of rows that begin at an even one lie in one band.
constexpr std::size_t bandRows = 32;
constexpr std::size_t blockSize = 32; // nodes along each side of what the cloth's beginning goes by
constexpr float keptSpeed = 0.97F;    // of a round's speed, the rest is friction; with less, the cloth swings too high
constexpr float gapOfPull = 0.25F;    // below the stops, so that no particle begins fixed
constexpr float restOfPull = 0.0125F; // in a round: nothing moves any more
constexpr float leastPull = 2e-6F;    // of the greatest height: floats don't hold much smaller steps

/// Takes back part of the difference of two neighbours. A fixed one is one that has reached its stop. Without branches,
/// so that compilers do several pairs at once.
inline void pullTogether(float &a, float &b, float stopA, float stopB, const Cloth::Force &force)
{
    const float freeA = a < stopA ? 1.0F : 0.0F;
    const float freeB = b < stopB ? 1.0F : 0.0F;
    const float change = (b - a) * (force.single - freeA * freeB * force.shared);
    a += change * freeA;
    b -= change * freeB;
}

} // namespace

Cloth::Cloth(int columns, std::vector<float> stops, double pull)
    : m_columns(static_cast<std::size_t>(columns)), m_rows(m_columns == 0 ? 0 : stops.size() / m_columns),
      m_stops(std::move(stops)), m_pull(static_cast<float>(pull))
{
    for (const float stop : m_stops)
        m_pull = std::max(m_pull, std::abs(stop) * leastPull);
    beginBelowStops();
}

/// Lays the cloth over the lowest stops of square blocks: between the corners of blocks it is bilinear, and at a corner
/// it has the lowest of the four blocks there. So it is a continuous surface, and nowhere above a stop.
void Cloth::beginBelowStops()
{
    m_heights.resize(m_stops.size());
    const std::size_t blockColumns = m_columns / blockSize + 1;
    const std::size_t blockRows = m_rows / blockSize + 1;
    const std::size_t cornerColumns = blockColumns + 1;
    std::vector<float> corners(cornerColumns * (blockRows + 1), std::numeric_limits<float>::max());
    for (std::size_t node = 0; node < m_stops.size(); ++node) {
        const std::size_t corner = node / m_columns / blockSize * cornerColumns + node % m_columns / blockSize;
        for (const std::size_t c : {corner, corner + 1, corner + cornerColumns, corner + cornerColumns + 1})
            corners[c] = std::min(corners[c], m_stops[node]);
    }
    for (std::size_t node = 0; node < m_stops.size(); ++node) {
        const std::size_t row = node / m_columns;
        const std::size_t column = node % m_columns;
        const float *const corner = &corners[row / blockSize * cornerColumns + column / blockSize];
        const float *const above = corner + cornerColumns;
        const float fromLeft = static_cast<float>(column % blockSize) / blockSize;
        const float fromBelow = static_cast<float>(row % blockSize) / blockSize;
        const float low = corner[0] + (corner[1] - corner[0]) * fromLeft;
        const float high = above[0] + (above[1] - above[0]) * fromLeft;
        m_heights[node] = std::min(low + (high - low) * fromBelow, m_stops[node]) - m_pull * gapOfPull;
    }
    m_earlier = m_heights;
}

std::size_t Cloth::bandCount() const
{
    return (m_rows + bandRows - 1) / bandRows;
}

void Cloth::rise(int rounds, int rigidness, Progress &progress)
{
    const float single = 1.0F - std::ldexp(1.0F, -rigidness);
    const Force force{m_pull, single, single / 2};
    std::vector<int> moved(bandCount());
    for (int round = 0; round < rounds; ++round) {
        parallelFor(moved.size(), [&](std::size_t band) { moved[band] = moveBand(band, force); });
        for (std::size_t band = 1; band < moved.size(); ++band)
            pullAcross(band * bandRows - 1, force);
        progress.show((round + 1.0) / rounds);
        if (round > 0 && std::all_of(moved.begin(), moved.end(), [](int count) { return count == 0; }))
            break;
    }
}

/// All that a round does with the rows of a band, one behind the other while they are in the cache. The pair across the
/// band's upper end waits until both bands are there.
int Cloth::moveBand(std::size_t band, const Force &force)
{
    const std::size_t begin = band * bandRows;
    const std::size_t end = std::min(begin + bandRows, m_rows);
    int moved = 0;
    for (std::size_t row = begin; row < end; ++row) {
        moved += moveRow(row, force);
        pullAlong(row, 0, force);
        pullAlong(row, 1, force);
        const bool isSecond = (row - begin) % 2 == 1;
        if (isSecond)
            pullAcross(row - 1, force);
        if (isSecond && row - begin > 1)
            pullAcross(row - 2, force);
    }
    if ((end - begin) % 2 == 1 && end - begin > 1)
        pullAcross(end - 2, force);
    return moved;
}

/// Moves a row's free particles by speed and pull. The answer is how many of them the last round moved.
int Cloth::moveRow(std::size_t row, const Force &force)
{
    float *const height = m_heights.data() + row * m_columns;
    float *const earlier = m_earlier.data() + row * m_columns;
    const float *const stop = m_stops.data() + row * m_columns;
    const float restful = force.pull * restOfPull;
    int moved = 0;
    for (std::size_t i = 0; i < m_columns; ++i) {
        const float now = height[i];
        const float speed = now - earlier[i];
        const float next = now + speed * keptSpeed + force.pull;
        const float reached = next < stop[i] ? next : stop[i];
        const bool isFree = now < stop[i];
        moved += static_cast<int>(isFree) & static_cast<int>(std::abs(speed) > restful);
        height[i] = isFree ? reached : stop[i];
        earlier[i] = isFree ? now : stop[i];
    }
    return moved;
}

void Cloth::pullAlong(std::size_t row, std::size_t begin, const Force &force)
{
    float *const height = m_heights.data() + row * m_columns;
    const float *const stop = m_stops.data() + row * m_columns;
    for (std::size_t i = begin; i + 1 < m_columns; i += 2)
        pullTogether(height[i], height[i + 1], stop[i], stop[i + 1], force);
}

/// Pulls a row and the one behind it together.
void Cloth::pullAcross(std::size_t row, const Force &force)
{
    float *const height = m_heights.data() + row * m_columns;
    const float *const stop = m_stops.data() + row * m_columns;
    for (std::size_t i = 0; i < m_columns; ++i)
        pullTogether(height[i], height[i + m_columns], stop[i], stop[i + m_columns], force);
}

void Cloth::followSlopes(double largestStep, double largestGap)
{
    const auto step = static_cast<float>(largestStep);
    const auto gap = static_cast<float>(largestGap);
    std::vector<std::size_t> front;
    for (std::size_t node = 0; node < m_heights.size(); ++node) {
        if (isFixed(node))
            front.push_back(node);
    }
    while (!front.empty()) {
        const std::size_t node = front.back();
        front.pop_back();
        const auto follow = [&](std::size_t to) {
            if (isFixed(to) || std::abs(m_stops[to] - m_stops[node]) >= step || m_stops[to] - m_heights[to] >= gap)
                return;
            m_heights[to] = m_stops[to];
            front.push_back(to);
        };
        const std::size_t column = node % m_columns;
        if (column > 0)
            follow(node - 1);
        if (column + 1 < m_columns)
            follow(node + 1);
        if (node >= m_columns)
            follow(node - m_columns);
        if (node + m_columns < m_heights.size())
            follow(node + m_columns);
    }
}
