#pragma once

#include <array>
#include <vector>

namespace mirel {

class WorkState;

/// Triangulates points so that the triangles cover a rectangle around them: a Delaunay triangulation of the points, up to
/// rounding, when the rectangle is scaled to a square.
///
/// `points` are x, y pairs; the last four are the corners of the rectangle, counter-clockwise from the lowest, and all
/// others lie inside it. Each triangle is three indices of points, counter-clockwise. Points that are the same, to a
/// billionth of the rectangle, count as the first of them: the others are in no triangle. No triangles at all when a
/// coordinate is no number, the rectangle is empty, or `state` is stopped; it is stepped on the way.
///
/// Whatever the numbers, it ends, and touches nothing but its own arrays: points go to a grid of 2^30 places in each
/// direction, so that all questions of left or right are answered exactly. Order and rounding are fixed: the same points
/// give the same triangles everywhere.
std::vector<std::array<int, 3>> TriangulateDelaunay(const std::vector<std::array<double, 2>>& points,
                                                    WorkState& state);

}  // namespace mirel
