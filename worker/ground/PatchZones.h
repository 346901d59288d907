#pragma once

#include "Points.h"

#include <cstdint>

/// Concentric zones of patches over the plan of a cloud (Lim, Oh and Myung 2021).
///
/// Rings of one width lie around the middle of the points' box, each cut into sectors. A zone is a stretch of rings
/// with the same number of sectors; each zone has twice as many rings and sectors as the one inside it, so that no
/// patch is much longer than wide.
class PatchZones
{
public:
    /// Two patches that share a border, and a place on it.
    struct Border
    {
        std::uint32_t a, b;
        double x, y;
    };

    /// Rings of this width or, where the points are sparse, as wide as makes patches of 30 points on average.
    PatchZones(const Points &points, double ringWidth);

    double ringWidth() const { return m_ringWidth; }
    std::uint32_t patchCount() const { return m_firstPatch.back(); }
    std::uint32_t patchOf(const ptCloud::pcVec3f &p) const;
    std::vector<Border> borders() const;

private:
    static std::uint32_t sectors(std::uint32_t ring);
    Border border(std::uint32_t a, std::uint32_t b, double radius, double angle) const;

    double m_x = 0;
    double m_y = 0;
    double m_ringWidth;
    std::vector<std::uint32_t> m_firstPatch; ///< by ring, and the count of all
};
