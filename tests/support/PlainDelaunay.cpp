#include "PlainDelaunay.h"

#include <algorithm>

namespace support
{

namespace
{

using Wide = __int128;

/// Above 0 where c lies to the left of the way from a to b.
Wide side(const std::pair<int, int> &a, const std::pair<int, int> &b, const std::pair<int, int> &c)
{
    return (Wide{b.first} - a.first) * (Wide{c.second} - a.second)
           - (Wide{b.second} - a.second) * (Wide{c.first} - a.first);
}

/// Above 0 where the place lies in the circle of the triangle, whichever way round that is; 0 on the circle.
Wide inside(const PlainPlaces &places, const std::array<std::uint32_t, 3> &triangle, std::uint32_t place)
{
    Wide rows[3][3];
    for (int i = 0; i < 3; ++i) {
        const auto &corner = places[triangle[static_cast<std::size_t>(i)]];
        rows[i][0] = Wide{corner.first} - places[place].first;
        rows[i][1] = Wide{corner.second} - places[place].second;
        rows[i][2] = rows[i][0] * rows[i][0] + rows[i][1] * rows[i][1];
    }
    const Wide determinant = rows[0][0] * (rows[1][1] * rows[2][2] - rows[1][2] * rows[2][1])
                             - rows[0][1] * (rows[1][0] * rows[2][2] - rows[1][2] * rows[2][0])
                             + rows[0][2] * (rows[1][0] * rows[2][1] - rows[1][1] * rows[2][0]);
    return side(places[triangle[0]], places[triangle[1]], places[triangle[2]]) > 0 ? determinant : -determinant;
}

/// Whether the triangle is a piece of the polygon that its circle's places bound, cut up from the smallest of them.
bool isFan(const PlainPlaces &places, const std::array<std::uint32_t, 3> &triangle, std::vector<std::uint32_t> onCircle)
{
    onCircle.insert(onCircle.end(), triangle.begin(), triangle.end());
    const auto bySize = [&places](std::uint32_t a, std::uint32_t b) { return places[a] < places[b]; };
    const std::uint32_t smallest = *std::min_element(onCircle.begin(), onCircle.end(), bySize);
    std::vector<std::uint32_t> others;
    std::copy_if(triangle.begin(), triangle.end(), std::back_inserter(others),
                 [smallest](std::uint32_t corner) { return corner != smallest; });
    if (others.size() != 2)
        return false;
    // Nothing lies beyond the edge across from the smallest.
    const bool isLeft = side(places[others[0]], places[others[1]], places[smallest]) > 0;
    return std::all_of(onCircle.begin(), onCircle.end(), [&](std::uint32_t place) {
        const Wide turn = side(places[others[0]], places[others[1]], places[place]);
        return turn == 0 || (turn > 0) == isLeft;
    });
}

bool isDelaunay(const PlainPlaces &places, const std::array<std::uint32_t, 3> &triangle)
{
    if (side(places[triangle[0]], places[triangle[1]], places[triangle[2]]) == 0)
        return false;
    std::vector<std::uint32_t> onCircle;
    for (std::uint32_t place = 0; place < places.size(); ++place) {
        if (std::find(triangle.begin(), triangle.end(), place) != triangle.end())
            continue;
        const Wide depth = inside(places, triangle, place);
        if (depth > 0)
            return false;
        if (depth == 0)
            onCircle.push_back(place);
    }
    return isFan(places, triangle, onCircle);
}

} // namespace

std::set<std::array<std::uint32_t, 3>> plainDelaunay(const PlainPlaces &places)
{
    std::set<std::array<std::uint32_t, 3>> triangles;
    for (std::uint32_t a = 0; a < places.size(); ++a) {
        for (std::uint32_t b = a + 1; b < places.size(); ++b) {
            for (std::uint32_t c = b + 1; c < places.size(); ++c) {
                if (isDelaunay(places, {a, b, c}))
                    triangles.insert({a, b, c});
            }
        }
    }
    return triangles;
}

std::size_t placesInsideCircles(const PlainPlaces &places, const std::vector<std::array<std::uint32_t, 3>> &triangles)
{
    std::size_t count = 0;
    for (const std::array<std::uint32_t, 3> &triangle : triangles) {
        for (std::uint32_t place = 0; place < places.size(); ++place)
            count += inside(places, triangle, place) > 0 ? 1 : 0;
    }
    return count;
}

std::size_t placesOnHull(const PlainPlaces &places)
{
    // On the hull is what has a line through it and another place with nothing on its right.
    return static_cast<std::size_t>(std::count_if(places.begin(), places.end(), [&places](const auto &place) {
        return std::any_of(places.begin(), places.end(), [&](const auto &other) {
            return other != place && std::all_of(places.begin(), places.end(), [&](const auto &third) {
                       return side(place, other, third) >= 0;
                   });
        });
    }));
}

} // namespace support
