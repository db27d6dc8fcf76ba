#pragma once

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/RayCaster.h>

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

namespace mirel {

class SceneNode;

/// What is drawn of the scene at some moment, and what picks in it. Never changes once made.
struct Snapshot {
  std::shared_ptr<const DrawScene> scene;
  std::shared_ptr<const RayCaster> caster;  ///< empty until it is made, a moment after the scene

  Snapshot() = default;
  explicit Snapshot(std::shared_ptr<const DrawScene> drawn);

  /// The node whose body is a placement.
  const SceneNode* GetNode(std::uint32_t placement) const;
  /// The placements of the bodies at or below some nodes, in ascending order.
  std::vector<std::uint32_t> FindPlacements(const std::unordered_set<const SceneNode*>& nodes) const;

 private:
  std::shared_ptr<const std::vector<std::uint32_t>>
      byNode_;  // placements in the order of their nodes' addresses
};

}  // namespace mirel
