#pragma once

#include <glm/mat4x4.hpp>

#include <cstdint>
#include <functional>

namespace mirel {

class BrepSceneNode;
class SceneNode;

/// Goes over what is visible of a tree, as often as it is placed.
struct PlacedBodies {
  /// Called with a node whose body has triangles, and its placement, which is finite and does not flatten.
  using Visit = std::function<void(const BrepSceneNode& node, const glm::dmat4& placement)>;

  /// In the order of the tree. Returns how many bodies were passed over because they cannot be put where they stand.
  static std::uint64_t VisitAll(const SceneNode& root, const Visit& visit);
};

}  // namespace mirel
