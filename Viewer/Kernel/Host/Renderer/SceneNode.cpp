#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Core/SharedPool.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <algorithm>

namespace mirel {

namespace {

std::string_view BytesOf(const std::string& name) {
  return name;
}

std::shared_ptr<const std::string> Share(const std::string& name) {
  // Never destroyed: nodes may live longer than static objects.
  static auto* const pool = new SharedPool<std::string, BytesOf>;
  return pool->Share(name, [&name] { return name; });
}

}  // namespace

SceneNode::SceneNode() {
  MemoryBudget::Add(kSceneNodeBytes);
}

SceneNode::~SceneNode() {
  MemoryBudget::GiveBack(kSceneNodeBytes);
}

const std::vector<std::shared_ptr<SceneNode>>& SceneNode::GetNodes() const {
  static const auto* const none = new std::vector<std::shared_ptr<SceneNode>>;
  return *none;
}

GroupSceneNode* SceneNode::GetParent() const {
  return parent_ && !parent_->IsRoot() ? parent_ : nullptr;
}

std::vector<const SceneNode*> SceneNode::GetPath() const {
  std::vector<const SceneNode*> path;
  for (const SceneNode* node = this; node; node = node->GetParent())
    path.push_back(node);
  std::reverse(path.begin(), path.end());
  return path;
}

glm::dmat4 SceneNode::GetScenePlacement() const {
  glm::dmat4 placement = transform_;
  for (const SceneNode* node = GetParent(); node; node = node->GetParent())
    placement = node->transform_ * placement;
  return placement;
}

void SceneNode::SetVisible(bool isVisible) {
  isVisible_ = isVisible;
  NotifyOf(SceneChange::kVisibility);
}

void SceneNode::SetHighlighted(bool isHighlighted) {
  isHighlighted_ = isHighlighted;
  NotifyOf(SceneChange::kHighlight);
}

void SceneNode::SetOpacity(float opacity) {
  opacity_ = opacity > 0.0f ? std::min(opacity, 1.0f) : 0.0f;  // what is no number too
  NotifyOf(SceneChange::kOpacity);
}

void SceneNode::PassOn(SceneChange change) const {
  const GroupSceneNode* top = parent_;
  while (top->parent_)
    top = top->parent_;
  top->OnChange(*this, change);
}

void SceneNode::SetName(const std::string& name) {
  static const std::size_t kShort = std::string().capacity();
  if (name.size() <= kShort) {
    name_ = name;
  } else {
    name_ = Share(name);
  }
}

const std::string& SceneNode::GetName() const {
  const SharedName* const shared = std::get_if<SharedName>(&name_);
  return shared ? **shared : *std::get_if<std::string>(&name_);
}

}  // namespace mirel
