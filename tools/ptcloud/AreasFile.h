#pragma once

#include <QString>
#include <QStringList>

namespace ptCloud
{
class VolumeCalcAreaList;
}

/// Adds the areas of a GeoJSON file to a list: a `FeatureCollection` of features, or one `Feature`, each with a
/// geometry `Polygon` of one ring. Coordinates are in the units of the data set, the third one is the height of a
/// corner. Properties, all but `name` with the library's default where they are missing:
///  - `name`           text, its own for each area
///  - `ground_height`  a number, or "average" for the mean height of the corners
///  - `max_height`     a number
///  - `grid_size`      a number
/// Throws `CommandError`, naming the feature, for whatever is not like this.
///
/// @return what the user must know although the areas were taken, such as coordinates that 32-bit floats can't hold
QStringList readAreas(const QString &path, ptCloud::VolumeCalcAreaList &list);
