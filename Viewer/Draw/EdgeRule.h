#pragma once

#include <Viewer/Draw/PictureOptions.h>
#include <Viewer/Draw/SmoothJoints.h>
#include <Viewer/Draw/SurfaceFinder.h>

namespace mirel {

/// Between which neighbouring points of a picture a line is drawn.
class EdgeRule {
 public:
  EdgeRule(PictureOptions::Edges edges, const DrawScene& scene) : edges_(edges), joints_(scene) {}

  /// Whether two points, a few pixels apart at most, lie on different sides of an edge or an outline.
  bool IsEdge(const Surface& a, const Surface& b) const;

  /// Whether two points look different enough for more rays between them.
  static bool IsRough(const Surface& a, const Surface& b);

  /// Whether one point lies in front of the other, rather than beside it on one surface.
  static bool IsStep(const Surface& a, const Surface& b);

 private:
  bool IsSharp(const Surface& a, const Surface& b) const;

  PictureOptions::Edges edges_;
  SmoothJoints joints_;
};

}  // namespace mirel
