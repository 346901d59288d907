#pragma once

#include "Points.h"

#include <cstdint>

/// The plane of a patch's ground.
struct PatchPlane
{
    double x = 0, y = 0, z = 0;                   ///< the middle of the points on it
    double normalX = 0, normalY = 0, normalZ = 0; ///< of length 1, upwards; 0 where the patch has too few points
    double spread = 0;                            ///< standard deviation of the points across the plane: how flat it is

    bool exists() const { return normalZ > 0; }
    double distance(const ptCloud::pcVec3f &p) const
    {
        return normalX * (p.x() - x) + normalY * (p.y() - y) + normalZ * (p.z() - z);
    }
    double heightAt(double atX, double atY) const { return z - (normalX * (atX - x) + normalY * (atY - y)) / normalZ; }
};

/// How far a ground point may lie from its plane, in metres.
constexpr double planeThickness = 0.2;

/// Fits the ground plane of a patch: region-wise ground plane fitting (Lim, Oh and Myung 2021) behind region-wise
/// vertical plane fitting (Lee, Lim and Myung 2022).
///
/// The lowest points give a first plane; the points near it the next, until it stays. While the first plane stands
/// upright as a wall does, its points are put aside and the lowest of the rest taken. `begin` to `end` are indices of
/// points; their order changes.
PatchPlane fitPatch(const Points &points, std::uint32_t *begin, std::uint32_t *end);
