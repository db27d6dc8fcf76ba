#pragma once

#include <glm/mat4x4.hpp>

#include <cstdint>
#include <functional>

namespace mirel {

class BrepSceneNode;
class SceneNode;

/// Goes over what is visible of a tree, as often as it is placed.
struct PlacedBodies {
  /// Whether something can be put there: the placement is finite and does not flatten.
  static bool CanPlace(const glm::dmat4& placement);

  /// Called with a node whose body has triangles, and its placement, for which `CanPlace` is true.
  using Visit = std::function<void(const BrepSceneNode& node, const glm::dmat4& placement)>;

  /// In the order of the tree. Returns how many bodies were passed over because they cannot be put where they stand.
  static std::uint64_t VisitAll(const SceneNode& root, const Visit& visit);
};

}  // namespace mirel
