#pragma once

#include <Viewer/Draw/NodeVisibility.h>
#include <Viewer/Draw/SectionPlane.h>

#include <unordered_set>
#include <vector>

namespace mirel {

class SceneNode;

/// What users change of a view and can take back.
struct ViewState {
  static constexpr std::size_t kMaxSections = 3;
  using Nodes = std::unordered_set<const SceneNode*>;

  Nodes hidden, ghosts;
  Nodes alone;  ///< when there are any, nothing else is drawn
  std::vector<SectionPlane> sections;
  double explosion = 0.0;  ///< 0: everything in its place; 1: far apart

  NodeVisibility MakeVisibility() const {
    NodeVisibility visibility;
    for (const SceneNode* node : hidden) {
      visibility.Hide(node);
    }
    for (const SceneNode* node : ghosts) {
      visibility.Ghost(node);
    }
    for (const SceneNode* node : alone) {
      visibility.ShowAlone(node);
    }
    return visibility;
  }
};

}  // namespace mirel
