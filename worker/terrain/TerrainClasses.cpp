#include "TerrainClasses.h"

#include "GroundHeight.h"
#include "Parallel.h"

#include <algorithm>

namespace
{

constexpr double deepest = -1.0;  // metres above the ground where noise ends
constexpr double lowPlants = 0.5; // and where other vegetation begins
constexpr double mediumPlants = 2.0;
constexpr std::size_t pieceSize = 1 << 14; // points that a thread takes at a time

TerrainClass classAbove(double height)
{
    if (height < deepest)
        return TerrainClass_LowNoise;
    if (height <= lowPlants)
        return TerrainClass_LowVegetation;
    return height <= mediumPlants ? TerrainClass_MediumVegetation : TerrainClass_HighVegetation;
}

} // namespace

std::vector<unsigned char> terrainClasses(const Points &points, const GroundAndNoise &found, const GroundModel &ground,
                                          const unsigned char *earlier, Progress &progress)
{
    progress.stage(QStringLiteral("classifying the points"), 0, 1);
    const GroundHeight heights(ground);
    std::vector<unsigned char> classes(points.size());
    const auto classify = [&](std::size_t i) -> unsigned char {
        if (earlier != nullptr && earlier[i] == TerrainClass_Building)
            return TerrainClass_Building;
        if (found.isNoise[i])
            return TerrainClass_LowNoise;
        if (found.isGround[i])
            return TerrainClass_Ground;
        const ptCloud::pcVec3f &p = points[i];
        return classAbove(p.z() - heights.at(p.x(), p.y()));
    };
    parallelFor((points.size() + pieceSize - 1) / pieceSize,
                [&](std::size_t piece) {
                    const std::size_t end = std::min((piece + 1) * pieceSize, points.size());
                    for (std::size_t i = piece * pieceSize; i < end; ++i)
                        classes[i] = classify(i);
                },
                progress);
    return classes;
}
