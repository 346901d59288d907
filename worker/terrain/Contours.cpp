#include "Contours.h"

#include "Failure.h"

#include <algorithm>
#include <array>

using namespace ptCloud;

namespace
{

constexpr int stepsOfIndexContours = 5;
constexpr double nearestToCorner = 1e-5; // part of an edge

/// Heights in equal steps, each in the middle of its own.
struct Levels
{
    double lowest;
    double step;
    int count;

    double height(int level) const { return lowest + (level + 0.5) * step; }
    /// How many levels lie below a height or at it.
    int countUpTo(double z) const
    {
        int level = std::clamp(static_cast<int>((z - lowest) / step), 0, count);
        while (level > 0 && height(level - 1) > z)
            --level;
        while (level < count && height(level) <= z)
            ++level;
        return level;
    }
};

/// For each level the triangles that it crosses, level by level in one list.
struct Crossings
{
    std::vector<std::size_t> begin; ///< one more than there are levels
    std::vector<std::uint32_t> triangles;
};

/// Walks the lines of one height after the other from triangle to triangle.
///
/// A corner is up if it is not below the height. Of the three edges of a triangle that is crossed, counter-clockwise,
/// one leads down and one up; the line comes in through the first and goes out through the second, so that what is up
/// is on its left.
class LineWalk
{
public:
    LineWalk(const GroundModel &ground, const pcVec3d &origin)
        : m_ground(ground), m_origin(origin), m_lastVisit(ground.mesh.triangles.size(), -1)
    {}

    QList<QVector<QPointF>> lines(int level, double height, const std::uint32_t *begin, const std::uint32_t *end)
    {
        m_level = level;
        m_height = height;
        QList<QVector<QPointF>> lines;
        const auto walkFrom = [&](std::uint32_t triangle) {
            if (m_lastVisit[triangle] != m_level)
                lines.append(walk(triangle));
        };
        // Those that begin at the border first; what is left then is closed.
        std::for_each(begin, end, [&](std::uint32_t triangle) {
            if (m_ground.mesh.twins[edge(triangle, true)] == Triangulation::none)
                walkFrom(triangle);
        });
        std::for_each(begin, end, walkFrom);
        return lines;
    }

private:
    bool isUp(std::uint32_t corner) const { return m_ground.heights[corner] >= m_height; }

    /// The half-edge of a crossed triangle that leads down, or the one that leads up.
    std::uint32_t edge(std::uint32_t triangle, bool down) const
    {
        const std::array<std::uint32_t, 3> &corners = m_ground.mesh.triangles[triangle];
        std::uint32_t k = 0;
        while (isUp(corners[k]) != down || isUp(corners[(k + 1) % 3]) == down)
            ++k;
        return 3 * triangle + k;
    }

    QPointF crossing(std::uint32_t halfEdge) const
    {
        // The same from both sides: always seen from the lower corner.
        std::uint32_t low = m_ground.mesh.origin(halfEdge);
        std::uint32_t high = m_ground.mesh.origin(Triangulation::next(halfEdge));
        if (isUp(low))
            std::swap(low, high);
        const double rise = static_cast<double>(m_ground.heights[high]) - m_ground.heights[low];
        const double part = std::clamp((m_height - m_ground.heights[low]) / rise, nearestToCorner, 1 - nearestToCorner);
        return {m_origin.x() + m_ground.x(low) + part * (m_ground.x(high) - m_ground.x(low)),
                m_origin.y() + m_ground.y(low) + part * (m_ground.y(high) - m_ground.y(low))};
    }

    /// Until the line leaves the ground or comes back to where it began.
    QVector<QPointF> walk(std::uint32_t first)
    {
        QVector<QPointF> line{crossing(edge(first, true))};
        std::uint32_t triangle = first;
        std::uint32_t twin = 0;
        do {
            m_lastVisit[triangle] = m_level;
            const std::uint32_t exit = edge(triangle, false);
            line.append(crossing(exit));
            twin = m_ground.mesh.twins[exit];
            triangle = Triangulation::triangleOf(twin);
        } while (twin != Triangulation::none && triangle != first);
        return line;
    }

    const GroundModel &m_ground;
    const pcVec3d m_origin;
    std::vector<int> m_lastVisit; ///< by triangle: the level that last ran through it
    int m_level = 0;
    double m_height = 0;
};

Crossings findCrossings(const GroundModel &ground, const Levels &levels)
{
    std::vector<int> levelsUpTo(ground.heights.size());
    std::transform(ground.heights.begin(), ground.heights.end(), levelsUpTo.begin(),
                   [&levels](float z) { return levels.countUpTo(z); });
    // A triangle is crossed by each level that is up to its highest corner and not to its lowest.
    const auto eachCrossing = [&](const auto &take) {
        for (std::uint32_t t = 0; t < ground.mesh.triangles.size(); ++t) {
            const auto &[a, b, c] = ground.mesh.triangles[t];
            const auto [first, last] = std::minmax({levelsUpTo[a], levelsUpTo[b], levelsUpTo[c]});
            for (int level = first; level < last; ++level)
                take(static_cast<std::size_t>(level), t);
        }
    };
    Crossings crossings;
    crossings.begin.assign(static_cast<std::size_t>(levels.count) + 1, 0);
    eachCrossing([&](std::size_t level, std::uint32_t) { ++crossings.begin[level + 1]; });
    for (std::size_t level = 1; level < crossings.begin.size(); ++level)
        crossings.begin[level] += crossings.begin[level - 1];
    crossings.triangles.resize(crossings.begin.back());
    std::vector<std::size_t> end(crossings.begin.begin(), crossings.begin.end() - 1);
    eachCrossing([&](std::size_t level, std::uint32_t triangle) { crossings.triangles[end[level]++] = triangle; });
    return crossings;
}

} // namespace

void addContours(const GroundModel &ground, const pcVec3d &origin, int steps, PtCloud_ContourFile &file,
                 Progress &progress)
{
    const double lowest = ground.lowest();
    const double range = ground.highest() - lowest;
    if (!(range > 0))
        throw Failure(ExitCode::Function, QStringLiteral("the ground is level, so it has no contours; leave them out"));
    progress.stage(QStringLiteral("drawing contours"), 0, 1);
    const Levels levels{lowest, range / steps, steps};
    const Crossings crossings = findCrossings(ground, levels);
    LineWalk walk(ground, origin);
    for (int level = 0; level < steps; ++level) {
        const std::uint32_t *const triangles = crossings.triangles.data();
        const auto at = static_cast<std::size_t>(level);
        const double height = levels.height(level);
        const QList<QVector<QPointF>> lines =
            walk.lines(level, height, triangles + crossings.begin[at], triangles + crossings.begin[at + 1]);
        PtCloud_ContourFile::Group &group =
            level % stepsOfIndexContours == 0 ? file.contourGroup1() : file.contourGroup2();
        if (!lines.isEmpty())
            group[origin.z() + height] = lines;
        progress.show((level + 1.0) / steps);
    }
}
