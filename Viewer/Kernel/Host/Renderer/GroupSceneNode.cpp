#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <Viewer/Kernel/Host/Renderer/NodeRoom.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace mirel {

GroupSceneNode::GroupSceneNode() = default;

GroupSceneNode::~GroupSceneNode() {
  for (const std::shared_ptr<SceneNode>& node : nodes_)
    if (node->parent_ == this) node->parent_ = nullptr;
}

void GroupSceneNode::AddNode(const std::shared_ptr<SceneNode>& node) {
  if (!node || !HasRoomForNode()) return;
  nodes_.push_back(node);
  node->parent_ = this;
  node->Settle();
  node->NotifyOf(SceneChange::kAdded);
}

void GroupSceneNode::Settle() {
  SceneNode::Settle();
  nodes_.shrink_to_fit();  // most groups get their children before they are given to one
}

bool GroupSceneNode::RemoveNode(const SceneNode& node) {
  const auto isNode = [&node](const std::shared_ptr<SceneNode>& child) { return child.get() == &node; };
  const auto found = std::find_if(nodes_.rbegin(), nodes_.rend(), isNode);
  if (found == nodes_.rend()) return false;
  const std::shared_ptr<SceneNode> removed = *found;
  nodes_.erase(std::next(found).base());
  LetGo(*removed);
  return true;
}

void GroupSceneNode::Clear() {
  while (!nodes_.empty()) {
    const std::shared_ptr<SceneNode> removed = std::move(nodes_.back());
    nodes_.pop_back();
    LetGo(*removed);
  }
}

void GroupSceneNode::LetGo(SceneNode& node) {
  if (node.parent_ != this) return;
  node.NotifyOf(SceneChange::kRemoved);
  node.parent_ = nullptr;
}

}  // namespace mirel
