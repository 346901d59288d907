// What ground filters and terrain products cost, by the number of points.
//
//     terrain [POINTS...]        by default 100000, 1000000 and 10000000
//
// The survey has four points in a square metre: rolling ground with houses on it and a fifth of the points in
// vegetation. Prints seconds by the clock, each step alone, and the most memory that the process held until then beyond
// what it held before, in bytes a point.

#include "Best.h"

#include "ClothFilter.h"
#include "Contours.h"
#include "GroundFilter.h"
#include "HeightMap.h"
#include "Patchwork.h"
#include "TerrainClasses.h"

#include <QByteArray>
#include <QFile>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace
{

constexpr int pixels = 2048;
constexpr int contourSteps = 50;

NoProgress quiet;

Points survey(std::size_t count)
{
    constexpr double density = 4;
    const auto extent = static_cast<float>(std::sqrt(static_cast<double>(count) / density));
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(0, 1);
    Points points(count);
    for (ptCloud::pcVec3f &p : points) {
        const float x = extent * unit(random);
        const float y = extent * unit(random);
        const float ground = 20 * std::sin(x / 60) * std::cos(y / 45) + 0.05F * x + 0.05F * unit(random);
        const bool isHouse = std::sin(x / 9) * std::sin(y / 11) > 0.75F;
        const float plants = unit(random) < 0.2F ? 8 * unit(random) : 0;
        p.set(x, y, ground + (isHouse ? 7 : plants));
    }
    return points;
}

/// The most memory that the process ever held, in bytes; 0 where the system doesn't tell.
double peakMemory()
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = file.readAll();
    const int at = text.indexOf("VmHWM:");
    return at < 0 ? 0 : std::strtod(text.constData() + at + 6, nullptr) * 1024;
}

class Report
{
public:
    explicit Report(std::size_t count) : m_count(static_cast<double>(count)), m_before(peakMemory()) {}

    template <typename Step>
    void operator()(const char *name, Step step) const
    {
        const double seconds = best(1, step);
        std::printf("%9.0f points  %-28s %8.2f s  %6.0f bytes a point\n", m_count, name, seconds,
                    (peakMemory() - m_before) / m_count);
        std::fflush(stdout);
    }

private:
    double m_count;
    double m_before;
};

void measure(std::size_t count)
{
    const Points points = survey(count);
    const Report report(count);
    for (const double resolution : {1.0, 0.5}) {
        ClothParameters parameters;
        parameters.clothResolution = resolution;
        report(resolution < 1 ? "cloth filter, 0.5 m" : "cloth filter, 1 m",
               [&] { clothGround(points, parameters, quiet); });
    }
    report("patchwork", [&] { patchworkGround(points, quiet); });
    report("all terrain products", [&] {
        const auto part = [&](const char *name, auto step) { report(name, step); };
        GroundAndNoise found;
        GroundModel ground;
        part("  ground and low noise", [&] { found = findGround(points, nullptr, quiet); });
        part("  triangulation", [&] { ground = makeGroundModel(points, found.isGround, quiet); });
        part("  height map", [&] { makeHeightMap(ground, pixels, quiet); });
        part("  contours", [&] {
            ptCloud::PtCloud_ContourFile contours;
            addContours(ground, {}, contourSteps, contours, quiet);
        });
        part("  classification", [&] { terrainClasses(points, found, ground, nullptr, quiet); });
    });
}

} // namespace

int main(int argc, char **argv)
{
    const char *const defaults[] = {"100000", "1000000", "10000000"};
    if (argc < 2) {
        for (const char *count : defaults)
            measure(std::strtoull(count, nullptr, 10));
    }
    for (int i = 1; i < argc; ++i)
        measure(std::strtoull(argv[i], nullptr, 10));
    return 0;
}
