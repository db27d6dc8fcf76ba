#pragma once

#include <glm/vec3.hpp>

#include <unordered_map>
#include <unordered_set>

namespace mirel {

class SceneNode;

/// How a scene looks for what it is, such as two versions that are compared, before users hide or ghost any of it.
struct SceneLook {
  std::unordered_set<const SceneNode*> hidden, ghosts;
  std::unordered_map<const SceneNode*, glm::vec3> colors;  ///< of bodies, for `Coloring::kByDifference`
};

}  // namespace mirel
