#include "ClothFilter.h"

#include "Cloth.h"
#include "ClothLattice.h"
#include "Failure.h"
#include "Parallel.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double gravity = 0.1; // rise in a round of time step 1, as a share of the distance between particles

void checkRange(const char *key, double value, double lowest, double highest, const char *meaning)
{
    if (value >= lowest && value <= highest)
        return;
    throw Failure(ExitCode::Argument, QStringLiteral("%1 %2: must be %3, from %4 to %5")
                                          .arg(QLatin1String(key))
                                          .arg(value)
                                          .arg(QLatin1String(meaning))
                                          .arg(lowest)
                                          .arg(highest));
}

/// The cloth as a surface over plan.
class ClothSurface
{
public:
    ClothSurface(const ClothLattice &lattice, const Cloth &cloth, const Points &points)
        : m_lattice(lattice), m_heights(cloth.heights())
    {
        const int columns = lattice.columns();
        parallelFor(static_cast<std::size_t>(lattice.rows()), [&](std::size_t row) {
            for (int column = 0; column < columns; ++column) {
                const std::size_t node = lattice.node(column, static_cast<int>(row));
                if (cloth.isFixed(node) && lattice.lowestPoint(node) != ClothLattice::noPoint)
                    moveToNode(column, static_cast<int>(row), points[lattice.lowestPoint(node)], cloth.heights());
            }
        });
    }

    /// Bilinear between the four nodes around.
    double heightAt(double x, double y) const
    {
        const double column = m_lattice.columnAt(x);
        const double row = m_lattice.rowAt(y);
        const double fromLeft = column - std::floor(column);
        const double fromBelow = row - std::floor(row);
        const float *const corner = &m_heights[m_lattice.node(static_cast<int>(column), static_cast<int>(row))];
        const float *const above = corner + m_lattice.columns();
        const double low = corner[0] + (corner[1] - corner[0]) * fromLeft;
        const double high = above[0] + (above[1] - above[0]) * fromLeft;
        return low + (high - low) * fromBelow;
    }

private:
    /// A node that has a point is no border node, since the lattice overlaps.
    void moveToNode(int column, int row, const ptCloud::pcVec3f &point, const std::vector<float> &cloth)
    {
        const double columns = m_lattice.nodeX(column) - point.x();
        const double rows = m_lattice.nodeY(row) - point.y();
        const double step = m_lattice.nodeX(1) - m_lattice.nodeX(0);
        const double slopeX =
            (cloth[m_lattice.node(column + 1, row)] - cloth[m_lattice.node(column - 1, row)]) / (2 * step);
        const double slopeY =
            (cloth[m_lattice.node(column, row + 1)] - cloth[m_lattice.node(column, row - 1)]) / (2 * step);
        m_heights[m_lattice.node(column, row)] = static_cast<float>(point.z() + slopeX * columns + slopeY * rows);
    }

    const ClothLattice &m_lattice;
    std::vector<float> m_heights;
};

} // namespace

void ClothParameters::check() const
{
    checkRange("class_threshold", classThreshold, 0.001, 100, "a distance in metres");
    checkRange("cloth_resolution", clothResolution, 0.01, 1000, "a distance in metres");
    checkRange("interations", iterations, 1, 10000, "a number of rounds");
    checkRange("rigidness", rigidness, 1, 3, "a whole number");
    checkRange("time_step", timeStep, 0.01, 2, "a number");
}

std::vector<bool> clothGround(const Points &points, const ClothParameters &parameters, Progress &progress)
{
    parameters.check();
    std::vector<bool> isGround(points.size());
    if (points.empty())
        return isGround;
    progress.stage(QStringLiteral("laying out the cloth"), 0, 0.1);
    const ClothLattice lattice(points, parameters.clothResolution);
    const double pull = gravity * parameters.timeStep * parameters.timeStep * parameters.clothResolution;
    Cloth cloth(lattice.columns(), lattice.stops(points), pull);
    progress.stage(QStringLiteral("pressing the cloth against the ground"), 0.1, 0.9);
    cloth.rise(parameters.iterations, parameters.rigidness, progress);
    progress.stage(QStringLiteral("telling ground from the rest"), 0.9, 1);
    if (parameters.slopeSmooth)
        cloth.followSlopes(parameters.classThreshold, 2 * parameters.classThreshold);
    const ClothSurface surface(lattice, cloth, points);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const ptCloud::pcVec3f &p = points[i];
        isGround[i] = std::abs(p.z() - surface.heightAt(p.x(), p.y())) < parameters.classThreshold;
    }
    progress.show(1);
    return isGround;
}
