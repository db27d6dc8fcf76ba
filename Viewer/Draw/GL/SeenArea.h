#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <glm/vec2.hpp>

#include <vector>

namespace mirel {

/// Most corners of a `FindSeenArea`: those of a box that is seen from somewhere, each cut off by the margin.
constexpr int kMostAreaCorners = 12;

/// The part of a picture of `size` pixels beside which nothing of a box is seen, with a margin for lines around it: the corners
/// of a convex polygon in clip space, counterclockwise, which may reach beyond the picture. The whole picture where that cannot be
/// told, as the box lies around the eye; no corners for an empty box.
std::vector<glm::vec2> FindSeenArea(const Camera& camera, const AABoxT<double>& box, const glm::dvec2& size);

}  // namespace mirel
