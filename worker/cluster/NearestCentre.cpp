#include "NearestCentre.h"

#include <algorithm>

using namespace ptCloud;

namespace
{

int axisOfSpread(const Centres &centres)
{
    double widest = -1;
    int found = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const auto [least, most] = std::minmax_element(
            centres.begin(), centres.end(), [axis](const pcVec3d &a, const pcVec3d &b) { return a[axis] < b[axis]; });
        const double width = (*most)[axis] - (*least)[axis];
        if (width > widest) {
            widest = width;
            found = axis;
        }
    }
    return found;
}

void look(NearestCentre::Found &found, int centre, double square)
{
    if (square < found.square || (square == found.square && centre < found.centre)) {
        found.secondSquare = found.square;
        found.square = square;
        found.centre = centre;
    } else {
        found.secondSquare = std::min(found.secondSquare, square);
    }
}

} // namespace

NearestCentre::NearestCentre(const Centres &centres) : m_axis(axisOfSpread(centres))
{
    m_entries.reserve(centres.size());
    for (const pcVec3d &centre : centres)
        m_entries.push_back({centre, static_cast<int>(m_entries.size())});
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [this](const Entry &a, const Entry &b) { return a.place[m_axis] < b.place[m_axis]; });
}

NearestCentre::Found NearestCentre::find(const pcVec3d &place, int except) const
{
    Found found;
    // The square of a distance is at least that along the axis, rounded as it may be.
    const auto isNear = [&](const Entry &entry) {
        const double away = place[m_axis] - entry.place[m_axis];
        return away * away <= found.secondSquare;
    };
    const auto ask = [&](const Entry &entry) {
        if (entry.centre != except)
            look(found, entry.centre, (place - entry.place).length2());
    };
    auto up = std::lower_bound(m_entries.begin(), m_entries.end(), place[m_axis],
                               [this](const Entry &entry, double at) { return entry.place[m_axis] < at; });
    auto down = std::make_reverse_iterator(up);
    for (bool isUp = true, isDown = true; isUp || isDown;) {
        isUp = isUp && up != m_entries.end() && isNear(*up);
        if (isUp)
            ask(*up++);
        isDown = isDown && down != m_entries.rend() && isNear(*down);
        if (isDown)
            ask(*down++);
    }
    return found;
}
