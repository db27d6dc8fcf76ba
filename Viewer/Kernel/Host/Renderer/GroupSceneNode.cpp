#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

namespace mirel {

GroupSceneNode::GroupSceneNode() = default;

GroupSceneNode::~GroupSceneNode() = default;

void GroupSceneNode::AddNode(const std::shared_ptr<SceneNode>& node) {
  if (!node) return;
  nodes_.push_back(node);
  node->Settle();
}

}  // namespace mirel
