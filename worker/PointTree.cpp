#include "PointTree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

using namespace ptCloud;

namespace
{

constexpr std::size_t leafSize = 12;

/// The nearest points so far, as nanoflann hands them in. Once all of them lie at the very place it ends the search: of
/// a crowd there each point would look at all the others.
class Nearest
{
public:
    /// `found` is empty, and `count` above 0.
    Nearest(std::vector<PointTree::Neighbour> &found, std::size_t count) : m_found(found), m_count(count)
    {
        m_found.reserve(count + 1);
    }

    bool full() const { return m_found.size() == m_count; }
    float worstDist() const { return full() ? m_found.back().second : std::numeric_limits<float>::max(); }
    /// Whether to go on.
    bool addPoint(float square, std::uint32_t index)
    {
        const PointTree::Neighbour added(index, square);
        m_found.insert(std::upper_bound(m_found.begin(), m_found.end(), added, isBefore), added);
        if (m_found.size() > m_count)
            m_found.pop_back();
        return !full() || m_found.back().second > 0;
    }

private:
    static bool isBefore(const PointTree::Neighbour &a, const PointTree::Neighbour &b)
    {
        return a.second != b.second ? a.second < b.second : a.first < b.first;
    }

    std::vector<PointTree::Neighbour> &m_found;
    std::size_t m_count;
};

} // namespace

PointTree::PointTree(const Points &points)
    : m_source{points}, m_tree(3, m_source, nanoflann::KDTreeSingleIndexAdaptorParams(leafSize))
{}

void PointTree::nearest(const pcVec3f &place, std::size_t count, std::vector<Neighbour> &found) const
{
    found.clear();
    if (count == 0 || points().empty())
        return;
    Nearest results(found, std::min(count, points().size()));
    const float at[] = {place.x(), place.y(), place.z()};
    m_tree.findNeighbors(results, at, nanoflann::SearchParams());
}

void PointTree::within(const pcVec3f &place, float radius, std::vector<Neighbour> &found) const
{
    const float at[] = {place.x(), place.y(), place.z()};
    const nanoflann::SearchParams unsorted(0, 0.0F, false);
    m_tree.radiusSearch(at, radius * radius, found, unsorted);
}

std::vector<std::uint32_t> distinctPoints(const Points &points)
{
    std::vector<std::uint32_t> order(points.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&points](std::uint32_t a, std::uint32_t b) {
        return points[a] != points[b] ? points[a] < points[b] : a < b;
    });
    order.erase(std::unique(order.begin(), order.end(),
                            [&points](std::uint32_t a, std::uint32_t b) { return points[a] == points[b]; }),
                order.end());
    std::sort(order.begin(), order.end());
    return order;
}

double typicalSpacing(const PointTree &tree)
{
    constexpr std::size_t sampleSize = 10000;
    constexpr std::size_t neighbours = 8;
    constexpr double pi = 3.14159265358979323846;
    const Points &points = tree.points();
    const std::size_t step = std::max<std::size_t>(1, points.size() / sampleSize);
    std::vector<double> squares;
    std::vector<PointTree::Neighbour> found;
    for (std::size_t i = 0; i < points.size(); i += step) {
        tree.nearest(points[i], neighbours + 1, found);
        if (found.size() > 1)
            squares.push_back(static_cast<double>(found.back().second) / static_cast<double>(found.size() - 1));
    }
    if (squares.empty())
        return 0;
    const auto middle = squares.begin() + static_cast<std::ptrdiff_t>(squares.size() / 2);
    std::nth_element(squares.begin(), middle, squares.end());
    return std::sqrt(*middle * pi);
}
