#pragma once

#include "GroundModel.h"
#include "Progress.h"

#include "PtCloud_ContourFile.h"

/// The contours of a ground at `steps` heights: the range of the ground's heights is divided into equal steps, and each
/// step has its contour in the middle. Every fifth, from the lowest on, is an index contour and stands in group 1, the
/// others in group 2.
///
/// Lines have the higher ground on their left. A line is closed, its last point equal to its first, or ends at the
/// border of the ground. No two cross or touch: each runs inside triangles from edge to edge, and where a height is
/// that of a corner, past the corner, at 1/100000 of the edge.
///
/// `origin` is added to places and heights. Linear in corners and in points of lines. Throws `Failure` with
/// `ExitCode::Function` for a ground without any difference in height.
void addContours(const GroundModel &ground, const ptCloud::pcVec3d &origin, int steps,
                 ptCloud::PtCloud_ContourFile &file, Progress &progress);
