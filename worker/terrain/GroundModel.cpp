#include "GroundModel.h"

#include "Failure.h"
#include "MemoryGuard.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr std::uint64_t bytesOfCorner = 130; // while it is triangulated

int toMillimetres(float metres)
{
    const double millimetres = std::round(static_cast<double>(metres) * 1000.0);
    if (std::abs(millimetres) > largestPlanCoordinate) {
        throw Failure(ExitCode::Hull,
                      QStringLiteral("a ground point lies %1 km from the middle; a terrain may reach 536")
                          .arg(std::abs(metres) / 1000, 0, 'f', 0));
    }
    return static_cast<int>(millimetres);
}

PlanPoint placeOf(const ptCloud::pcVec3f &p)
{
    return {toMillimetres(p.x()), toMillimetres(p.y())};
}

/// The ground points that become corners, in the order of their places.
std::vector<std::uint32_t> corners(const Points &points, const std::vector<bool> &isGround)
{
    struct Candidate
    {
        PlanPoint place;
        float height;
        std::uint32_t source;
    };
    std::vector<Candidate> candidates;
    candidates.reserve(static_cast<std::size_t>(std::count(isGround.begin(), isGround.end(), true)));
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (isGround[i])
            candidates.push_back({placeOf(points[i]), points[i].z(), static_cast<std::uint32_t>(i)});
    }
    std::sort(candidates.begin(), candidates.end(), [](const Candidate &a, const Candidate &b) {
        if (!(a.place == b.place))
            return a.place < b.place;
        return a.height != b.height ? a.height < b.height : a.source < b.source;
    });
    const auto end = std::unique(candidates.begin(), candidates.end(),
                                 [](const Candidate &a, const Candidate &b) { return a.place == b.place; });
    std::vector<std::uint32_t> sources(static_cast<std::size_t>(end - candidates.begin()));
    std::transform(candidates.begin(), end, sources.begin(), [](const Candidate &c) { return c.source; });
    return sources;
}

} // namespace

float GroundModel::lowest() const
{
    return *std::min_element(heights.begin(), heights.end());
}

float GroundModel::highest() const
{
    return *std::max_element(heights.begin(), heights.end());
}

GroundModel makeGroundModel(const Points &points, const std::vector<bool> &isGround, Progress &progress)
{
    const auto count = static_cast<std::uint64_t>(std::count(isGround.begin(), isGround.end(), true));
    requireMemory(count * bytesOfCorner, QStringLiteral("triangulating the ground"));
    progress.stage(QStringLiteral("triangulating the ground"), 0, 1);
    GroundModel model;
    model.sources = corners(points, isGround);
    model.places.reserve(model.sources.size());
    model.heights.reserve(model.sources.size());
    for (const std::uint32_t source : model.sources) {
        model.places.push_back(placeOf(points[source]));
        model.heights.push_back(points[source].z());
    }
    model.mesh = delaunay(model.places, progress);
    return model;
}
