#include <Viewer/Draw/EdgeRule.h>

#include <Viewer/Draw/Look.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <cmath>

namespace mirel {

namespace {

constexpr float kRoughCosine = 0.985f;  // 10 degrees: shading differs visibly

}  // namespace

bool EdgeRule::IsStep(const Surface& a, const Surface& b) {
  const glm::vec3 d = b.point - a.point;
  // On one smooth surface, one of two neighbours lies near the plane of the other, however slanted it is.
  const float off = std::min(std::abs(glm::dot(d, a.flatNormal)), std::abs(glm::dot(d, b.flatNormal)));
  return off > look::kStepPixels * std::min(a.pixel, b.pixel);
}

// A round that is a few pixels wide turns far from one pixel to the next, but has no edge for that.
bool EdgeRule::IsSharp(const Surface& a, const Surface& b) const {
  return glm::dot(a.normal, b.normal) < look::kSharpCosine && !joints_.Contains(a.placement, a.face, b.face);
}

bool EdgeRule::IsEdge(const Surface& a, const Surface& b) const {
  if (edges_ == PictureOptions::Edges::kNone) return false;
  if (a.placement != b.placement) return true;
  if (!a.IsSeen()) return false;
  if (a.face != b.face && (edges_ == PictureOptions::Edges::kAll || IsSharp(a, b))) return true;
  return IsStep(a, b);
}

bool EdgeRule::IsRough(const Surface& a, const Surface& b) {
  if (a.placement != b.placement || a.face != b.face) return true;
  return a.IsSeen() && (glm::dot(a.normal, b.normal) < kRoughCosine || IsStep(a, b));
}

}  // namespace mirel
