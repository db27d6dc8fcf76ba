#pragma once

#include <memory>

namespace mirel {

class Changes;
class SceneNode;

/// Shows what is different between two versions.
struct ChangePicture {
  /// Nodes to be drawn: what is gone in red, what is new in green, what was changed in yellow, where it is now, and all the rest
  /// as if of glass. They share the graphics of both versions.
  static std::shared_ptr<SceneNode> MakeNodes(const Changes& changes);
};

}  // namespace mirel
