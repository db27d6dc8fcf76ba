#pragma once

#include <Python/Native/Model.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <glm/mat4x4.hpp>

#include <cstddef>
#include <vector>

namespace mirel::python {

/// Where nodes stand, one after another: what a node has in common with the one before is not multiplied again.
class PlacementWalk {
 public:
  /// The product of the placements from the top down to the node. Valid until the next call.
  const glm::dmat4& At(const SceneNode& node) {
    // Up to a node of the way before, which few steps lead to when nodes come in the order of the tree.
    way_.clear();
    std::size_t common = 0;
    for (const SceneNode* step = &node; step != nullptr && common == 0; step = step->GetParent()) {
      common = path_.size();
      while (common > 0 && path_[common - 1] != step)
        --common;
      if (common == 0) way_.push_back(step);
    }
    path_.resize(common);
    products_.resize(common);
    for (; !way_.empty(); way_.pop_back()) {
      const glm::dmat4& own = way_.back()->GetTransform();
      path_.push_back(way_.back());
      products_.push_back(products_.empty() ? own : products_.back() * own);
    }
    return products_.back();
  }

 private:
  NodeList way_;                      // upwards, what is not on the path yet
  NodeList path_;                     // downwards
  std::vector<glm::dmat4> products_;  // for each of the path
};

}  // namespace mirel::python
