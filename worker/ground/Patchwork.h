#pragma once

#include "Points.h"
#include "Progress.h"

/// For each point whether it is ground, by fitting planes patch by patch: Patchwork++ (Lee, Lim and Myung 2022), with
/// the concentric zones and the ground likelihood of Patchwork (Lim, Oh and Myung 2021).
///
/// Around an origin lie rings, cut into sectors: the patches. In each, points of steep planes (walls) are put aside, a
/// plane is fitted to the lowest of the others, and the patch is ground if its plane is upright, not above the ground
/// around it unless it is flat, and unbroken. How flat and how low is taken from what the patches of the ring show.
///
/// The method was made for a scanner on a vehicle. A survey has none, so the origin is the middle of the points' box in
/// plan, rings go on outwards as far as there are points, with patches of a constant size, and instead of a height over
/// the scanner's, a patch is compared with the patches around it. Noise by reflections, which the original tells by the
/// scanner's intensities, is told by depth below the patch alone.
///
/// n log n in points of a patch, linear in patches; 12 bytes a point. A filter of what stands on smooth ground, such as
/// streets: rough slopes are the matter of `clothGround`.
std::vector<bool> patchworkGround(const Points &points, Progress &progress);
