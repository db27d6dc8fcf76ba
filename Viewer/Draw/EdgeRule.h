#pragma once

#include <Viewer/Draw/Look.h>
#include <Viewer/Draw/PictureOptions.h>
#include <Viewer/Draw/SmoothJoints.h>
#include <Viewer/Draw/SurfaceFinder.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <cmath>

namespace mirel {

/// Between which neighbouring points of a picture a line is drawn.
class EdgeRule {
 public:
  EdgeRule(PictureOptions::Edges edges, const DrawScene& scene) : edges_(edges), joints_(scene) {}

  /// Whether two points, a few pixels apart at most, lie on different sides of an edge or an outline.
  bool IsEdge(const Surface& a, const Surface& b) const;

  /// Whether two points look different enough for more rays between them.
  static bool IsRough(const Surface& a, const Surface& b) {
    if (a.placement != b.placement || a.face != b.face) return true;
    return a.IsSeen() && (glm::dot(a.normal, b.normal) < kRoughCosine || IsStep(a, b));
  }

  /// Whether one point lies in front of the other, rather than beside it on one surface.
  static bool IsStep(const Surface& a, const Surface& b) {
    const glm::vec3 d = b.point - a.point;
    // On one smooth surface, one of two neighbours lies near the plane of the other, however slanted it is.
    const float off = std::min(std::abs(glm::dot(d, a.flatNormal)), std::abs(glm::dot(d, b.flatNormal)));
    return off > look::kStepPixels * std::min(a.pixel, b.pixel);
  }

 private:
  static constexpr float kRoughCosine = 0.985f;  // 10 degrees: shading differs visibly

  bool IsSharp(const Surface& a, const Surface& b) const;

  PictureOptions::Edges edges_;
  SmoothJoints joints_;
};

}  // namespace mirel
