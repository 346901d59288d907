#include "PlainClusters.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <numeric>
#include <utility>

namespace support::plain
{

namespace
{

template <typename A, typename B>
double square(const A &a, const B &b)
{
    double sum = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double d = static_cast<double>(a[axis]) - static_cast<double>(b[axis]);
        sum += d * d;
    }
    return sum;
}

/// What hangs together, step by step; `isMember` tells who takes part at all.
Labels linked(std::size_t count, const std::function<bool(std::size_t)> &isMember,
              const std::function<bool(std::size_t, std::size_t)> &areLinked)
{
    Labels labels(count, -1);
    int clusters = 0;
    for (std::size_t first = 0; first < count; ++first) {
        if (labels[first] != -1 || !isMember(first))
            continue;
        std::vector<std::size_t> front{first};
        labels[first] = clusters;
        while (!front.empty()) {
            const std::size_t at = front.back();
            front.pop_back();
            for (std::size_t other = 0; other < count; ++other) {
                if (labels[other] == -1 && isMember(other) && areLinked(at, other)) {
                    labels[other] = clusters;
                    front.push_back(other);
                }
            }
        }
        ++clusters;
    }
    return labels;
}

} // namespace

Labels renumbered(const Labels &labels)
{
    std::map<int, int> numbers{{-1, -1}};
    Labels result;
    for (const int label : labels)
        result.push_back(numbers.emplace(label, static_cast<int>(numbers.size()) - 1).first->second);
    return result;
}

Labels ofSize(const Labels &labels, std::size_t least, std::size_t most)
{
    std::map<int, std::size_t> sizes;
    for (const int label : labels)
        ++sizes[label];
    Labels result = labels;
    for (int &label : result) {
        if (sizes[label] < least || sizes[label] > most)
            label = -1;
    }
    return renumbered(result);
}

Labels dbscan(const Places &points, double epsilon, std::size_t leastPoints)
{
    const auto areNear = [&](std::size_t a, std::size_t b) {
        return square(points[a], points[b]) <= epsilon * epsilon;
    };
    std::vector<bool> isCore;
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::size_t near = 0;
        for (std::size_t k = 0; k < points.size(); ++k)
            near += areNear(i, k) ? 1 : 0;
        isCore.push_back(near >= leastPoints);
    }
    Labels labels = linked(
        points.size(), [&isCore](std::size_t i) { return isCore[i]; }, areNear);
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t k = 0; k < points.size() && labels[i] == -1; ++k) {
            if (isCore[k] && areNear(i, k))
                labels[i] = labels[k];
        }
    }
    return renumbered(labels);
}

Labels euclidean(const Places &points, double tolerance)
{
    return linked(
        points.size(), [](std::size_t) { return true; },
        [&](std::size_t a, std::size_t b) { return square(points[a], points[b]) <= tolerance * tolerance; });
}

Labels voxels(const Places &points, double edge)
{
    Place corner{};
    for (std::size_t axis = 0; axis < 3 && !points.empty(); ++axis) {
        corner[axis] = (*std::min_element(points.begin(), points.end(),
                                          [axis](const Place &a, const Place &b) { return a[axis] < b[axis]; }))[axis];
    }
    const auto cell = [&](const Place &point, std::size_t axis) {
        return std::floor((static_cast<double>(point[axis]) - static_cast<double>(corner[axis])) / edge);
    };
    return linked(
        points.size(), [](std::size_t) { return true; },
        [&](std::size_t a, std::size_t b) {
            double away = 0;
            for (std::size_t axis = 0; axis < 3; ++axis)
                away = std::max(away, std::abs(cell(points[a], axis) - cell(points[b], axis)));
            return away <= 1;
        });
}

namespace
{

/// Gives empty clusters the points farthest from their own centres, the first of several, if others have points to
/// spare.
void fillEmpty(const Places &points, const std::vector<Centre> &centres, Labels &labels)
{
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::vector<double> away;
    for (std::size_t i = 0; i < points.size(); ++i)
        away.push_back(square(points[i], centres[static_cast<std::size_t>(labels[i])]));
    std::stable_sort(order.begin(), order.end(), [&away](std::size_t a, std::size_t b) { return away[a] > away[b]; });
    const auto size = [&labels](int label) { return std::count(labels.begin(), labels.end(), label); };
    auto next = order.begin();
    for (int label = 0; label < static_cast<int>(centres.size()); ++label) {
        while (size(label) == 0 && next != order.end()) {
            const std::size_t point = *next++;
            if (away[point] > 0 && size(labels[point]) > 1)
                labels[point] = label;
        }
    }
}

} // namespace

Labels kMeans(const Places &points, std::vector<Centre> centres, int mostRounds)
{
    Labels labels(points.size(), -1);
    for (int round = 0; round < mostRounds; ++round) {
        Labels next;
        for (const Place &point : points) {
            std::size_t nearest = 0;
            for (std::size_t i = 1; i < centres.size(); ++i)
                nearest = square(point, centres[i]) < square(point, centres[nearest]) ? i : nearest;
            next.push_back(static_cast<int>(nearest));
        }
        if (next == labels)
            break;
        labels = next;
        fillEmpty(points, centres, labels);
        for (std::size_t i = 0; i < centres.size(); ++i) {
            Centre sum{};
            double count = 0;
            for (std::size_t k = 0; k < points.size(); ++k) {
                if (labels[k] != static_cast<int>(i))
                    continue;
                ++count;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    sum[axis] += static_cast<double>(points[k][axis]);
            }
            for (std::size_t axis = 0; axis < 3 && count > 0; ++axis)
                centres[i][axis] = sum[axis] / count;
        }
    }
    return renumbered(labels);
}

double adjustedRandIndex(const Labels &a, const Labels &b)
{
    std::map<std::pair<int, int>, double> both;
    std::map<int, double> ofA;
    std::map<int, double> ofB;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ++both[{a[i], b[i]}];
        ++ofA[a[i]];
        ++ofB[b[i]];
    }
    const auto pairs = [](const auto &sizes) {
        return std::accumulate(sizes.begin(), sizes.end(), 0.0,
                               [](double sum, const auto &size) { return sum + size.second * (size.second - 1) / 2; });
    };
    const auto count = static_cast<double>(a.size());
    const double expected = count < 2 ? 0 : pairs(ofA) * pairs(ofB) / (count * (count - 1) / 2);
    const double most = (pairs(ofA) + pairs(ofB)) / 2;
    return most == expected ? 1 : (pairs(both) - expected) / (most - expected);
}

} // namespace support::plain
