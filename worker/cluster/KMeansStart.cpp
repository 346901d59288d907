#include "KMeansStart.h"

#include "Stretches.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>

using namespace ptCloud;

namespace
{

/// The same numbers on every system: the standard fixes this generator, though not its distributions.
class Draw
{
public:
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(m_random() % bound); }
    /// From 0 on, below 1.
    double unit()
    {
        constexpr unsigned int surplusBits = 11;
        return static_cast<double>(m_random() >> surplusBits) * 0x1p-53;
    }

private:
    std::mt19937_64 m_random{1};
};

/// For each point the square of its distance to the nearest centre so far, with a sum for each stretch: so the sum of
/// all does not depend on threads.
class NearestSquares
{
public:
    explicit NearestSquares(const Points &points)
        : m_points(points), m_squares(points.size(), std::numeric_limits<double>::infinity()),
          m_sums((points.size() + stretchLength - 1) / stretchLength)
    {}

    void add(const pcVec3d &centre)
    {
        NoProgress none;
        forStretches(m_points.size(), none, [&](std::size_t first, std::size_t last) {
            double sum = 0;
            for (std::size_t i = first; i < last; ++i) {
                m_squares[i] = std::min(m_squares[i], (pcVec3d(m_points[i]) - centre).length2());
                sum += m_squares[i];
            }
            m_sums[first / stretchLength] = sum;
        });
    }

    double sum() const { return std::accumulate(m_sums.begin(), m_sums.end(), 0.0); }

    /// The point up to which the squares add up to more than `wanted`; one away from all centres in any case, though
    /// sums are rounded. There is such a point.
    std::size_t pointAt(double wanted) const
    {
        std::size_t stretch = 0;
        while (stretch + 1 < m_sums.size() && wanted >= m_sums[stretch])
            wanted -= m_sums[stretch++];
        for (std::size_t i = stretch * stretchLength; i < m_squares.size(); ++i) {
            if (wanted < m_squares[i])
                return i;
            wanted -= m_squares[i];
        }
        const auto last = std::find_if(m_squares.rbegin(), m_squares.rend(), [](double square) { return square > 0; });
        return static_cast<std::size_t>(m_squares.rend() - last) - 1;
    }

private:
    const Points &m_points;
    std::vector<double> m_squares;
    std::vector<double> m_sums;
};

} // namespace

Centres randomStart(const Points &points, std::size_t count)
{
    // Each set of so many points is as likely as any other (Floyd's way of drawing without putting back).
    Draw draw;
    std::vector<bool> isDrawn(points.size());
    for (std::size_t bound = points.size() - count + 1; bound <= points.size(); ++bound) {
        const std::size_t drawn = draw.below(bound);
        isDrawn[isDrawn[drawn] ? bound - 1 : drawn] = true;
    }
    Centres centres;
    centres.reserve(count);
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (isDrawn[i])
            centres.emplace_back(points[i]);
    }
    return centres;
}

Centres spreadStart(const Points &points, std::size_t count, Progress &progress)
{
    Draw draw;
    NearestSquares squares(points);
    Centres centres;
    centres.reserve(count);
    std::size_t next = draw.below(points.size());
    for (;;) {
        centres.emplace_back(points[next]);
        progress.show(static_cast<double>(centres.size()) / static_cast<double>(count));
        if (centres.size() == count)
            return centres;
        squares.add(centres.back());
        const double sum = squares.sum();
        if (!(sum > 0))
            return centres;
        next = squares.pointAt(draw.unit() * sum);
    }
}
