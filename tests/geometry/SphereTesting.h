#pragma once

#include "GeometryTesting.h"

#include "pcBoundingVolume.h"

#include <gtest/gtest.h>

/// What the tests of spheres share.
namespace geometry
{

using Spheres = ::testing::Types<ptCloud::pcBoundingSpheref, ptCloud::pcBoundingSphered>;

template <typename Sphere>
using RadiusOf = decltype(std::declval<const Sphere &>().radius());
template <typename Sphere>
using CenterOf = std::decay_t<decltype(std::declval<const Sphere &>().center())>;
/// The box of the same scalar.
template <typename Sphere>
using BoxOf =
    std::conditional_t<std::is_same_v<RadiusOf<Sphere>, float>, ptCloud::pcBoundingBoxf, ptCloud::pcBoundingBoxd>;

} // namespace geometry
