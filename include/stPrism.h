#pragma once

#include "points_cloud_global.h"

class QDataStream;

namespace ptCloud
{

/// The vertical solid over one triangle of a terrain mesh, cut by a horizontal reference plane.
///
/// It holds its inputs and its two results: dig, the volume of terrain above the plane, and fill, what is missing below
/// it. Lengths are in the unit of the positions, volumes in its cube. The static functions are the geometry kernel:
/// arithmetic on doubles without state, allocation or errors.
///
/// \note A triangle that the plane crosses, with three different heights, is not cut exactly: see the twelve-argument
/// `trianglePrismVolume`, and `docs/volumes.md` for what it does to a figure.
struct POINTS_CLOUD_EXPORT stPrism
{
    float x1 = 0, y1 = 0, z1 = 0;
    float x2 = 0, y2 = 0, z2 = 0;
    float x3 = 0, y3 = 0, z3 = 0;
    float groundZ = 0;     ///< height of the reference plane
    double digVolume = 0;  ///< set by `calcVolume`
    double fillVolume = 0; ///< set by `calcVolume`

    /// Sets both volumes from the vertices and `groundZ`. A result that is not a number becomes 0.
    void calcVolume();
    /// All fields to zero.
    void clear();
    /// Clears, then reads what `save` wrote. False, with nothing more read, for a version other than 1.
    bool load(QDataStream &stream);
    /// Writes 100 bytes on a stream of default precision, where a float takes 8.
    void save(QDataStream &stream) const;

    /// Area of a planar triangle, never negative.
    static double planeTriangleArea(double x1, double y1, double x2, double y2, double x3, double y3);

    /// |area * height|: the upright prism over the triangle.
    static double trianglePrismVolume(double x1, double y1, double x2, double y2, double x3, double y3, double height);

    /// |area * height| / 3: the pyramid over the triangle.
    static double trianglePyramidVolume(double x1, double y1, double x2, double y2, double x3, double y3,
                                        double height);

    /// Volume between the tilted triangle and the horizontal plane through its lowest vertex; exact.
    static double threeDTriangleProjectionVolume(double x1, double y1, double z1, double x2, double y2, double z2,
                                                 double x3, double y3, double z3);

    /// Volume between the tilted triangle and the horizontal plane through its highest vertex; exact.
    static double threeDTriangleProjectionVolume_reverse(double x1, double y1, double z1, double x2, double y2,
                                                         double z2, double x3, double y3, double z3);

    /// Planar position `x`, `y` of the segment a-b at a height, held to the segment; a itself where both ends are
    /// level. It interpolates from the lower end.
    static void posCutOnLine(double xa, double ya, double za, double xb, double yb, double zb, double height, double &x,
                             double &y);

    /// Parts a triangle with exactly two equal heights into the level pair (`a`, `b` at height `z`) and the single
    /// vertex `s`. The first pair that matches counts, of 1-2, 1-3, 2-3.
    static void splitHorLineAndSinglePos(double x1, double y1, double z1, double x2, double y2, double z2, double x3,
                                         double y3, double z3, double &ax, double &ay, double &bx, double &by,
                                         double &z, double &sx, double &sy, double &sz);

    /// Sorts three points of pairwise different heights into top, middle and low.
    static void splitTopBottomPos(double x1, double y1, double z1, double x2, double y2, double z2, double x3,
                                  double y3, double z3, double &tx, double &ty, double &tz, double &mx, double &my,
                                  double &mz, double &lx, double &ly, double &lz);

    /// Dig and fill of the solid between a triangle with heights `z1`, `z2`, `z3` and the plane at `groundZ`.
    ///
    /// A planar area of 0 (or not a number) gives 0 and 0. Heights are compared exactly. The result is the exact solid
    /// where the plane misses the triangle or touches it, and where two heights are equal. Where the plane crosses a
    /// triangle of three different heights, with top T, middle M and low L:
    ///  - two vertices above: the pyramid over the top corner counts as fill, and the piece below the plane nowhere;
    ///  - one vertex above: one term of fill uses the depth of M below the plane instead of that of L below M.
    static void trianglePrismVolume(double x1, double y1, double x2, double y2, double x3, double y3, double groundZ,
                                    double z1, double z2, double z3, double &dig, double &fill);
};

/// The vertical solid over one rectangular grid cell of one height, against a horizontal reference plane.
struct POINTS_CLOUD_EXPORT stQuadPrism
{
    float xMin = 0, xMax = 0;
    float yMin = 0, yMax = 0;
    float groundZ = 0;     ///< height of the reference plane
    float topZ = 0;        ///< terrain height of the cell
    double digVolume = 0;  ///< set by `calcVolume`
    double fillVolume = 0; ///< set by `calcVolume`

    /// Sets both volumes. Area and height are differences of floats, taken as floats. What is not a number stays.
    void calcVolume();
    /// All fields to zero.
    void clear();
    /// Clears, then reads what `save` wrote. False, with nothing more read, for a version other than 1.
    bool load(QDataStream &stream);
    /// Writes 68 bytes on a stream of default precision, where a float takes 8.
    void save(QDataStream &stream) const;
};

} // namespace ptCloud
