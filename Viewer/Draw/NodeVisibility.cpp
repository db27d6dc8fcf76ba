#include <Viewer/Draw/NodeVisibility.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

namespace mirel {

NodeVisibility::Inherited NodeVisibility::Inherit(const Inherited& above, const SceneNode& node) const {
  const auto holds = [&node](const std::unordered_set<const SceneNode*>& nodes) {
    return !nodes.empty() && nodes.count(&node) > 0;
  };
  Inherited own;
  own.hidden = above.hidden || !node.IsVisible() || holds(hidden_);
  own.ghost = above.ghost || node.GetOpacity() < 1.0f || holds(ghosts_);
  own.alone = above.alone || holds(alone_);
  return own;
}

NodeVisibility::Look NodeVisibility::GetLook(const Inherited& own) const {
  if (own.hidden) return Look::kHidden;
  if (own.ghost) return Look::kGhost;
  return alone_.empty() || own.alone ? Look::kSolid : Look::kHidden;
}

}  // namespace mirel
