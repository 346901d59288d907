#include "KMeans.h"

#include "Failure.h"
#include "KMeansStart.h"
#include "Labels.h"
#include "MemoryGuard.h"
#include "NearestCentre.h"
#include "Parallel.h"
#include "RangeCheck.h"
#include "Stretches.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

using namespace ptCloud;

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::uint64_t bytesOfPoint = 40;

/// What the points of a cluster add up to.
struct Sum
{
    pcVec3d places;
    std::size_t count = 0;
};

/// The two centres that have moved farthest.
class Moves
{
public:
    explicit Moves(std::size_t count) : m_moves(count) {}

    void set(std::size_t centre, double move) { m_moves[centre] = move; }
    /// To be asked for before the others.
    void findFarthest()
    {
        m_farthest = static_cast<int>(std::max_element(m_moves.begin(), m_moves.end()) - m_moves.begin());
        m_second = 0;
        for (std::size_t i = 0; i < m_moves.size(); ++i) {
            if (static_cast<int>(i) != m_farthest)
                m_second = std::max(m_second, m_moves[i]);
        }
    }
    double of(int centre) const { return m_moves[static_cast<std::size_t>(centre)]; }
    double farthestOfOthers(int centre) const { return centre == m_farthest ? m_second : of(m_farthest); }

private:
    std::vector<double> m_moves;
    int m_farthest = 0;
    double m_second = 0;
};

/// Rounds of k-means. For each point there are bounds: its centre is at most `upper` away, any other at least `lower`.
/// As long as the first is below the second, nobody needs to look. When centres move, the bounds give way by as much.
class KMeansRun
{
public:
    KMeansRun(const Points &points, Centres centres)
        : m_points(points), m_centres(std::move(centres)), m_labels(points.size()), m_upper(points.size(), infinity),
          m_lower(points.size()), m_moves(m_centres.size())
    {
        double largest = 0;
        for (const pcVec3f &p : points)
            largest = std::max({largest, std::fabs(double{p.x()}), std::fabs(double{p.y()}), std::fabs(double{p.z()})});
        // Far more than rounding adds to the bounds in all rounds, and far less than what counts.
        constexpr double share = 1e-9;
        m_slack = share * largest;
    }

    std::vector<int> run(int mostRounds, Progress &progress)
    {
        for (int round = 0; round < mostRounds; ++round) {
            progress.stage(QStringLiteral("round %1 of at most %2").arg(round + 1).arg(mostRounds),
                           static_cast<double>(round) / mostRounds, (round + 1.0) / mostRounds);
            const bool hasChanged = assign(progress);
            if (!hasChanged && round > 0)
                break;
            moveCentres();
        }
        numberByFirstPoint(m_labels, static_cast<int>(m_centres.size()));
        return std::move(m_labels);
    }

private:
    /// Gives each point to its nearest centre. False if each had it already.
    bool assign(Progress &progress)
    {
        const NearestCentre search(m_centres);
        std::vector<double> gaps(m_centres.size());
        NoProgress none;
        forStretches(gaps.size(), none, [&](std::size_t first, std::size_t last) {
            for (std::size_t i = first; i < last; ++i)
                gaps[i] = std::sqrt(search.find(m_centres[i], static_cast<int>(i)).square) / 2;
        });
        m_moves.findFarthest();
        std::atomic<bool> hasChanged{false};
        forStretches(m_points.size(), progress, [&](std::size_t first, std::size_t last) {
            bool change = false;
            for (std::size_t i = first; i < last; ++i)
                change = assign(i, search, gaps) || change;
            if (change)
                hasChanged = true;
        });
        return hasChanged;
    }

    bool assign(std::size_t i, const NearestCentre &search, const std::vector<double> &gaps)
    {
        const int label = m_labels[i];
        m_upper[i] += m_moves.of(label);
        m_lower[i] -= m_moves.farthestOfOthers(label);
        const double bound = std::max(m_lower[i], gaps[static_cast<std::size_t>(label)]) - m_slack;
        if (m_upper[i] < bound)
            return false;
        const pcVec3d place(m_points[i]);
        m_upper[i] = (place - m_centres[static_cast<std::size_t>(label)]).length();
        if (m_upper[i] < bound)
            return false;
        const NearestCentre::Found found = search.find(place);
        m_labels[i] = found.centre;
        m_upper[i] = std::sqrt(found.square);
        m_lower[i] = std::sqrt(found.secondSquare);
        return found.centre != label;
    }

    void moveCentres()
    {
        std::vector<Sum> sums = sumUp();
        if (std::any_of(sums.begin(), sums.end(), [](const Sum &sum) { return sum.count == 0; })) {
            fillEmpty(sums);
            sums = sumUp();
        }
        for (std::size_t i = 0; i < m_centres.size(); ++i) {
            const bool isEmpty = sums[i].count == 0;
            const pcVec3d centre = isEmpty ? m_centres[i] : sums[i].places / static_cast<double>(sums[i].count);
            m_moves.set(i, (centre - m_centres[i]).length());
            m_centres[i] = centre;
        }
    }

    /// In parts that don't depend on threads, so that rounding does not either.
    std::vector<Sum> sumUp() const
    {
        constexpr std::size_t leastPart = 65536;
        constexpr std::size_t mostParts = 16;
        constexpr std::size_t pointsOfSum = 8; // to make adding up the parts little work
        const std::size_t wanted = m_points.size() / std::max(leastPart, pointsOfSum * m_centres.size());
        const std::size_t parts = std::clamp<std::size_t>(wanted, 1, mostParts);
        std::vector<std::vector<Sum>> sums(parts, std::vector<Sum>(m_centres.size()));
        parallelFor(parts, [&](std::size_t part) {
            const std::size_t end = m_points.size() * (part + 1) / parts;
            for (std::size_t i = m_points.size() * part / parts; i < end; ++i) {
                Sum &sum = sums[part][static_cast<std::size_t>(m_labels[i])];
                sum.places += pcVec3d(m_points[i]);
                ++sum.count;
            }
        });
        for (std::size_t part = 1; part < parts; ++part) {
            for (std::size_t i = 0; i < m_centres.size(); ++i) {
                sums[0][i].places += sums[part][i].places;
                sums[0][i].count += sums[part][i].count;
            }
        }
        return std::move(sums[0]);
    }

    /// Gives each empty cluster a point.
    void fillEmpty(std::vector<Sum> &sums)
    {
        struct Far
        {
            double square;
            std::uint32_t point;
            /// Of two as far, the first point counts as the farther.
            bool operator<(const Far &other) const
            {
                return square != other.square ? square < other.square : point > other.point;
            }
        };
        std::vector<Far> heap;
        for (std::size_t i = 0; i < m_points.size(); ++i) {
            const double square = (pcVec3d(m_points[i]) - m_centres[static_cast<std::size_t>(m_labels[i])]).length2();
            if (square > 0)
                heap.push_back({square, static_cast<std::uint32_t>(i)});
        }
        std::make_heap(heap.begin(), heap.end());
        for (std::size_t empty = 0; empty < sums.size(); ++empty) {
            while (sums[empty].count == 0 && !heap.empty()) {
                std::pop_heap(heap.begin(), heap.end());
                const std::uint32_t point = heap.back().point;
                heap.pop_back();
                Sum &giver = sums[static_cast<std::size_t>(m_labels[point])];
                if (giver.count < 2)
                    continue;
                --giver.count;
                ++sums[empty].count;
                m_labels[point] = static_cast<int>(empty);
                m_upper[point] = infinity;
                m_lower[point] = 0;
            }
        }
    }

    const Points &m_points;
    Centres m_centres;
    std::vector<int> m_labels;
    std::vector<double> m_upper;
    std::vector<double> m_lower;
    Moves m_moves; ///< of the centres in the last round
    double m_slack = 0;
};

template <typename Start>
std::vector<int> runKMeans(const Points &points, const KMeansParameters &parameters, Progress &progress,
                           const Start &start)
{
    parameters.check();
    if (points.empty())
        return {};
    const auto clusters = static_cast<std::size_t>(parameters.clusters);
    if (clusters > points.size())
        throw Failure(ExitCode::Argument, QStringLiteral("clusterNum is %1, more than the %2 points that there are")
                                              .arg(clusters)
                                              .arg(points.size()));
    requireMemory(points.size() * bytesOfPoint, QStringLiteral("clustering %1 points").arg(points.size()));
    constexpr double startEnd = 0.3;
    progress.stage(QStringLiteral("choosing the first centres"), 0, startEnd);
    Centres centres = start(clusters);
    ProgressPart rounds(progress, startEnd, 1);
    return KMeansRun(points, std::move(centres)).run(parameters.mostRounds, rounds);
}

} // namespace

void KMeansParameters::check() const
{
    constexpr int roundsAllowed = 100000;
    constexpr int clustersAllowed = 10000;
    checkRange("maxIteration", mostRounds, 1, roundsAllowed);
    checkRange("clusterNum", clusters, 1, clustersAllowed);
}

std::vector<int> kMeans(const Points &points, const KMeansParameters &parameters, Progress &progress)
{
    return runKMeans(points, parameters, progress, [&](std::size_t count) { return randomStart(points, count); });
}

std::vector<int> kMeansPlusPlus(const Points &points, const KMeansParameters &parameters, Progress &progress)
{
    return runKMeans(points, parameters, progress,
                     [&](std::size_t count) { return spreadStart(points, count, progress); });
}
