#pragma once

#include <glm/mat4x4.hpp>

#include <vector>

namespace mirel {

/// Placements in the way in which glTF has them: a node may move, turn, scale along its axes and mirror, but not shear.
struct GltfPlacement {
  /// The matrices of one node, or of two in each other (the outer one first) when one node cannot place like that; none when
  /// the placement is not finite or flattens.
  static std::vector<glm::dmat4> Split(const glm::dmat4& placement);
};

}  // namespace mirel
