#pragma once

#include "GroundModel.h"
#include "Progress.h"

#include <QImage>
#include <QJsonObject>

/// A ground as a picture of 16-bit grey: north is up, and each pixel shows the height of its centre.
///
/// Grey 0 is outside the ground. Grey 1 is the lowest height, 65535 the highest, in equal steps between.
struct HeightMap
{
    QImage image;
    double left;          ///< x of the left edge of the picture
    double top;           ///< y of its upper edge
    double pixelSize;     ///< metres
    double lowestHeight;  ///< height of grey 1
    double highestHeight; ///< height of grey 65535

    /// What a reader needs to turn pixels into coordinates, all of it relative to `origin` added.
    QJsonObject description(const ptCloud::pcVec3d &origin) const;
};

/// The longer side of the picture. More pixels than the square of the largest are no picture to the library.
constexpr int largestHeightMap = 16384;

/// Linear in each triangle. `largePixels` is the longer side, from 1 to `largestHeightMap`.
HeightMap makeHeightMap(const GroundModel &ground, int largePixels, Progress &progress);
