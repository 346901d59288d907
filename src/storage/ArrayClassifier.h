#pragma once

#include "ArrayGrid.h"
#include "OverlapIndex.h"
#include "RunCopy.h"

#include <vector>

namespace ptCloud
{

/// Sorts the points of arrays into boxes, each array with a grid of its own, the boxes numbered on from array to array.
///
/// The points of an array are looked for in its own boxes and in those of all arrays before it. Where grids overlap, a
/// box so gets runs that name points of another array than its own; that is part of the format's history, and the
/// builder copes with it.
class ArrayClassifier
{
public:
    using Run = ElementRun;

    struct Box
    {
        std::size_t array; ///< for which it was made
        pcBoundingBoxf box;
        std::vector<Run> runs; ///< ascending, no two with one first point
        quint64 pointCount = 0;
    };

    /// Adds an array with points and positions.
    void add(const stPtCloud_PointArray &array);
    /// Adds an array as one box that holds all of its points: a mesh must not be cut.
    void addWhole(const stPtCloud_PointArray &array);

    /// The boxes that have points, in order. To be asked once, at the end.
    std::vector<Box> takeBoxes();

private:
    struct Grid
    {
        ArrayGrid grid;
        std::size_t firstBox;
    };

    std::vector<const Grid *> gridsThatMeet(const ArrayGrid &grid) const;
    void classifyAlone(const stPtCloud_PointArray &array, const Grid &grid);
    void classifyAmong(const stPtCloud_PointArray &array, const std::vector<const Grid *> &grids);

    std::vector<Grid> m_grids;
    OverlapIndex m_extents; ///< of the grids
    std::vector<Box> m_boxes;
    std::size_t m_arrays = 0;
};

} // namespace ptCloud
