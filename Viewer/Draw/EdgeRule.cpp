#include <Viewer/Draw/EdgeRule.h>

namespace mirel {

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

}  // namespace mirel
