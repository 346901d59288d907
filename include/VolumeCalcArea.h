#pragma once

#include "pcVec.h"
#include "points_cloud_global.h"
#include "stPrism.h"

#include <QList>

class QDataStream;

namespace ptCloud
{

class IDataSetReader;

/// One area of an earth-volume job: a polygon drawn by the user, a ground height, and the dig and fill of the terrain
/// against that height.
///
/// It can hold two results side by side, each with a list and a flag of its own: that of a triangle mesh (`prisms`) and
/// that of raw points in a grid of cells (`quadPrisms`). The owning `VolumeCalcAreaList` runs the calculations; a
/// change of the fields afterwards does not invalidate a result. `docs/volumes.md` tells what each figure covers.
///
/// A value: copies are independent. Lengths are in the unit of the positions, volumes in its cube.
class POINTS_CLOUD_EXPORT VolumeCalcArea
{
public:
    int groundHeightType = 0;      ///< 0: the ground height is the mean height of the corners; else `groundHeight`
    float groundHeight = 0.0F;     ///< the fixed ground height
    float maxHeight = 99999.0F;    ///< a ground at or above it is refused; the grid ignores points at or above it
    float gridSize = 0.1F;         ///< edge of a grid cell, at least 0.01
    QList<pcVec3f> boundary;       ///< corners in drawing order, the first not repeated at the end
    QList<stPrism> prisms;         ///< of the mesh, one for each triangle that counts
    QList<stQuadPrism> quadPrisms; ///< of the points, one for each cell whose height is not the ground's
    bool dtmCalculated = false;    ///< `prisms` holds a result
    bool gridCalculated = false;   ///< `quadPrisms` holds a result

    /// Sums over the result, in list order; 0 while there is none.
    double getDigVolume_dtm() const;
    double getFillVolume_dtm() const;
    double getDigVolume_grid() const;
    double getFillVolume_grid() const;

    /// The mean of the corners' heights; 0 without corners.
    float getGroundHeightBoundaryAvg() const;

private:
    friend class VolumeCalcAreaList;

    bool calcDTM(IDataSetReader *reader);
    bool calcGRID(IDataSetReader *reader);
    void clear();
    bool load(QDataStream &stream);
    void save(QDataStream &stream) const;

    float groundHeightInUse() const;
    bool collectPrisms(IDataSetReader *reader);
    bool collectQuadPrisms(IDataSetReader *reader);
};

} // namespace ptCloud
