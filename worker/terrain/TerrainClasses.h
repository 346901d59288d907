#pragma once

#include "GroundFilter.h"
#include "GroundModel.h"

/// Classes of the LAS format, as the terrain's classification gives them.
enum TerrainClass : unsigned char {
    TerrainClass_Ground = 2,
    TerrainClass_LowVegetation = 3,    ///< up to half a metre above the ground
    TerrainClass_MediumVegetation = 4, ///< up to two metres
    TerrainClass_HighVegetation = 5,
    TerrainClass_Building = 6, ///< never given here; kept where the source has it
    TerrainClass_LowNoise = 7  ///< below the ground by mistake
};

/// The class of each point. `earlier` are the classes of the source, or null. What is no ground lies above it, or up to
/// a metre below; deeper is noise.
std::vector<unsigned char> terrainClasses(const Points &points, const GroundAndNoise &found, const GroundModel &ground,
                                          const unsigned char *earlier, Progress &progress);
