#include "SampleElimination.h"

#include "MemoryGuard.h"
#include "Parallel.h"
#include "PointTree.h"

#include <algorithm>
#include <cmath>
#include <numeric>

using namespace ptCloud;

namespace
{

constexpr double pi = 3.14159265358979323846;
constexpr std::uint64_t bytesOfPoint = 100;
constexpr std::size_t batchSize = 4096;

using Indices = std::vector<std::uint32_t>;

Points pick(const Points &points, const Indices &indices)
{
    Points picked;
    picked.reserve(indices.size());
    for (const std::uint32_t i : indices)
        picked.push_back(points[i]);
    return picked;
}

/// The area of the surface that the points lie on: each stands for the area of a disk that holds so many neighbours,
/// less where it lies far from everything.
double surfaceOf(const PointTree &tree, Progress &progress)
{
    constexpr std::size_t neighbours = 8;
    constexpr std::size_t sampleSize = 100000;
    constexpr double mostOfMedian = 25;
    const Points &points = tree.points();
    const std::size_t step = std::max<std::size_t>(1, points.size() / sampleSize);
    std::vector<double> squares((points.size() + step - 1) / step);
    parallelFor((squares.size() + batchSize - 1) / batchSize,
                [&](std::size_t batch) {
                    std::vector<PointTree::Neighbour> found;
                    const std::size_t end = std::min(squares.size(), (batch + 1) * batchSize);
                    for (std::size_t i = batch * batchSize; i < end; ++i) {
                        tree.nearest(points[i * step], neighbours + 1, found);
                        squares[i] = static_cast<double>(found.back().second);
                    }
                },
                progress);
    std::vector<double> sorted = squares;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    const double most = *middle > 0 ? *middle * mostOfMedian : *std::max_element(sorted.begin(), sorted.end());
    const double sum = std::accumulate(squares.begin(), squares.end(), 0.0,
                                       [most](double total, double square) { return total + std::min(square, most); });
    return sum * static_cast<double>(step) * pi / static_cast<double>(neighbours);
}

/// Scatters the bits of a number, so that what is chosen by it looks random.
std::uint32_t scatter(std::uint32_t x)
{
    x = (x ^ (x >> 16U)) * 0x7FEB352DU;
    x = (x ^ (x >> 15U)) * 0x846CA68BU;
    return x ^ (x >> 16U);
}

/// For each point how many others of its cell of a grid come before it, in an order that looks random.
Indices ranksInCells(const Points &points, double edge)
{
    struct Entry
    {
        std::uint64_t cell;
        std::uint32_t order;
        std::uint32_t index;
    };
    const auto cellOf = [edge](const pcVec3f &p) {
        // 21 bits an axis. Where a survey has more cells they meet again, which costs points and harms nothing.
        const auto along = [edge](float c) {
            return static_cast<std::uint64_t>(static_cast<std::int64_t>(std::floor(static_cast<double>(c) / edge)))
                   & 0x1FFFFFU;
        };
        return along(p.x()) << 42U | along(p.y()) << 21U | along(p.z());
    };
    std::vector<Entry> entries(points.size());
    for (std::uint32_t i = 0; i < points.size(); ++i)
        entries[i] = {cellOf(points[i]), scatter(i), i};
    std::sort(entries.begin(), entries.end(),
              [](const Entry &a, const Entry &b) { return a.cell != b.cell ? a.cell < b.cell : a.order < b.order; });
    Indices ranks(points.size());
    for (std::size_t i = 1; i < entries.size(); ++i) {
        if (entries[i].cell == entries[i - 1].cell)
            ranks[entries[i].index] = ranks[entries[i - 1].index] + 1;
    }
    return ranks;
}

/// The points that are worth a look: some for each that will stay, and no more than a few in one place, or the time
/// would grow with the square of their number. The first of each cell, the second of each, and so on, up to enough.
Indices candidates(const Points &points, std::size_t count, double radius)
{
    constexpr std::size_t enough = 7;
    constexpr std::size_t mostOfCell = 64;
    Indices chosen(points.size());
    std::iota(chosen.begin(), chosen.end(), 0U);
    if (!(radius > 0))
        return chosen;
    const Indices ranks = ranksInCells(points, radius);
    std::vector<std::size_t> sizes(mostOfCell);
    for (const std::uint32_t rank : ranks) {
        if (rank < mostOfCell)
            ++sizes[rank];
    }
    std::size_t found = 0;
    std::uint32_t end = 0;
    while (end < mostOfCell && found < count * enough)
        found += sizes[end++];
    if (found >= count) {
        chosen.erase(std::remove_if(chosen.begin(), chosen.end(), [&](std::uint32_t i) { return ranks[i] >= end; }),
                     chosen.end());
        return chosen;
    }
    // Most points lie in a few places, and many of those must stay.
    std::stable_sort(chosen.begin(), chosen.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return ranks[a] < ranks[b]; });
    chosen.resize(count);
    std::sort(chosen.begin(), chosen.end());
    return chosen;
}

/// How much a neighbour crowds, by its distance: 1 beside, 0 from twice the radius on.
class Crowding
{
public:
    /// `share` is the number that stays against all: where nearly all stay, distances below a lower bound count alike.
    Crowding(double radius, double share) : m_reach(radius * 2), m_least(m_reach * (1 - std::pow(share, 1.5)) * 0.65) {}

    double reach() const { return m_reach; }
    double operator()(double square) const
    {
        const double near = 1 - std::max(std::sqrt(square), m_least) / m_reach;
        const double squared = near * near;
        const double fourth = squared * squared;
        return near > 0 ? fourth * fourth : 0;
    }

private:
    double m_reach;
    double m_least;
};

/// Points by how crowded they are: the one on top most, of two alike the one of larger index.
class CrowdedFirst
{
public:
    explicit CrowdedFirst(const std::vector<double> &weights)
        : m_weights(weights), m_heap(weights.size()), m_place(weights.size())
    {
        std::iota(m_heap.begin(), m_heap.end(), 0U);
        std::sort(m_heap.begin(), m_heap.end(), [this](std::uint32_t a, std::uint32_t b) { return isBefore(a, b); });
        for (std::uint32_t i = 0; i < m_heap.size(); ++i)
            m_place[m_heap[i]] = i;
    }

    std::size_t size() const { return m_heap.size(); }
    bool holds(std::uint32_t point) const { return m_place[point] != gone; }
    const Indices &points() const { return m_heap; }

    std::uint32_t takeTop()
    {
        const std::uint32_t top = m_heap.front();
        m_place[top] = gone;
        const std::uint32_t last = m_heap.back();
        m_heap.pop_back();
        if (!m_heap.empty()) {
            put(last, 0);
            sink(last);
        }
        return top;
    }

    void lighten(std::uint32_t point, double weight)
    {
        m_weights[point] -= weight;
        sink(point);
    }

private:
    static constexpr std::uint32_t gone = ~0U;

    bool isBefore(std::uint32_t a, std::uint32_t b) const
    {
        return m_weights[a] != m_weights[b] ? m_weights[a] > m_weights[b] : a > b;
    }
    void put(std::uint32_t point, std::uint32_t place)
    {
        m_heap[place] = point;
        m_place[point] = place;
    }
    void sink(std::uint32_t point)
    {
        const std::size_t count = m_heap.size();
        std::uint32_t place = m_place[point];
        for (std::size_t child = 2 * std::size_t{place} + 1; child < count; child = 2 * std::size_t{place} + 1) {
            if (child + 1 < count && isBefore(m_heap[child + 1], m_heap[child]))
                ++child;
            if (!isBefore(m_heap[child], point))
                break;
            put(m_heap[child], place);
            place = static_cast<std::uint32_t>(child);
        }
        put(point, place);
    }

    std::vector<double> m_weights;
    Indices m_heap;
    Indices m_place;
};

std::vector<double> weigh(const PointTree &tree, const Crowding &crowding, Progress &progress)
{
    const Points &points = tree.points();
    std::vector<double> weights(points.size());
    parallelFor((points.size() + batchSize - 1) / batchSize,
                [&](std::size_t batch) {
                    std::vector<PointTree::Neighbour> found;
                    const std::size_t end = std::min(points.size(), (batch + 1) * batchSize);
                    for (std::size_t i = batch * batchSize; i < end; ++i) {
                        tree.within(points[i], static_cast<float>(crowding.reach()), found);
                        for (const PointTree::Neighbour &n : found)
                            weights[i] += n.first == i ? 0 : crowding(static_cast<double>(n.second));
                    }
                },
                progress);
    return weights;
}

} // namespace

Indices eliminateSamples(const Points &points, std::size_t count, Progress &progress)
{
    const QString name = QStringLiteral("looking at the points' spacing");
    requireMemory(points.size() * bytesOfPoint, name);
    progress.stage(name, 0, 0.3);
    if (count >= points.size())
        return candidates(points, points.size(), 0);
    if (count == 0)
        return {};
    const double surface = surfaceOf(PointTree(points), progress);
    // The radius of the densest packing of so many disks.
    const double radius = std::sqrt(surface / (2 * std::sqrt(3.0) * static_cast<double>(count)));
    const Indices chosen = candidates(points, count, radius);
    const Points places = pick(points, chosen);
    const PointTree tree(places);
    const Crowding crowding(radius, static_cast<double>(count) / static_cast<double>(places.size()));
    progress.stage(QStringLiteral("weighing neighbours"), 0.3, 0.5);
    CrowdedFirst crowded(weigh(tree, crowding, progress));

    progress.stage(QStringLiteral("thinning"), 0.5, 1);
    const auto surplus = static_cast<double>(places.size() - count);
    std::vector<PointTree::Neighbour> found;
    while (crowded.size() > count) {
        const std::uint32_t top = crowded.takeTop();
        tree.within(places[top], static_cast<float>(crowding.reach()), found);
        for (const PointTree::Neighbour &n : found) {
            if (crowded.holds(n.first))
                crowded.lighten(n.first, crowding(static_cast<double>(n.second)));
        }
        progress.show(1 - static_cast<double>(crowded.size() - count) / surplus);
    }
    Indices kept;
    kept.reserve(count);
    for (const std::uint32_t i : crowded.points())
        kept.push_back(chosen[i]);
    std::sort(kept.begin(), kept.end());
    return kept;
}
