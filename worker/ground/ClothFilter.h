#pragma once

#include "Points.h"
#include "Progress.h"

/// How the cloth filter works. The comments name the keys of the settings file.
struct ClothParameters
{
    bool slopeSmooth = true;      ///< `sloopSmooth`: fix the cloth on steep slopes where the ground goes on unbroken
    double classThreshold = 0.5;  ///< `class_threshold`: metres from the cloth within which a point is ground, to 100
    double clothResolution = 1.0; ///< `cloth_resolution`: metres between particles, 0.01 to 1000
    int iterations = 500;         ///< `interations`: rounds at most, 1 to 10000
    int rigidness = 2;            ///< `rigidness`: 1 for steep terrain, 2 for hills, 3 for flat ground and large roofs
    double timeStep = 0.65;       ///< `time_step`: above 0 to 2; longer steps press harder

    /// Throws `Failure` with `ExitCode::Argument`, key and value.
    void check() const;
};

/// For each point whether it is ground, by the cloth simulation filter (Zhang et al. 2016).
///
/// The cloth of `Cloth` is pressed from below against the lowest point near each of its particles. A point is ground if
/// it lies within the threshold of the cloth, above or below. Where the cloth has reached a point, its particle is
/// moved along the cloth's slope from that point to its own place, so that a coarse cloth fits a slope as well as a
/// plain.
///
/// Linear in points and in particles times rounds; 16 bytes a particle, and one bit a point. Points far below the
/// ground hold the cloth back; take them out first.
std::vector<bool> clothGround(const Points &points, const ClothParameters &parameters, Progress &progress);
