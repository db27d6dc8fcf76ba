#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Core/RecentValues.h>
#include <Viewer/Kernel/Host/Core/SharedPool.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <algorithm>
#include <cstring>
#include <utility>

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
  static const auto* const common = new std::shared_ptr<Traits>(std::make_shared<Traits>());
  traits_ = *common;
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
  glm::dmat4 placement = GetTransform();
  for (const SceneNode* node = GetParent(); node; node = node->GetParent())
    placement = node->GetTransform() * placement;
  return placement;
}

void SceneNode::SetTransform(const glm::dmat4& transform) {
  ChangeTraits().transform = transform;
  NotifyOf(SceneChange::kPlacement);
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
  Traits& traits = ChangeTraits();
  if (name.size() <= kShort) {
    traits.name = name;
  } else {
    traits.name = Share(name);
  }
}

const std::string& SceneNode::GetName() const {
  const SharedName* const shared = std::get_if<SharedName>(&traits_->name);
  return shared ? **shared : *std::get_if<std::string>(&traits_->name);
}

SceneNode::Traits::Traits() =
    default;  // all nodes begin with one that is never destroyed, and does not count

SceneNode::Traits::Traits(const Traits& other)
    : transform(other.transform), userId(other.userId), name(other.name) {
  MemoryBudget::Add(kNodeTraitsBytes);
}

SceneNode::Traits::~Traits() {
  MemoryBudget::GiveBack(kNodeTraitsBytes);
}

bool SceneNode::Traits::IsEqual(const Traits& other) const {
  return userId == other.userId && std::memcmp(&transform, &other.transform, sizeof transform) == 0 &&
         name == other.name;
}

SceneNode::Traits& SceneNode::ChangeTraits() {
  if (!ownsTraits_) {
    traits_ = std::make_shared<Traits>(*traits_);
    ownsTraits_ = true;
  }
  return *traits_;
}

void SceneNode::Settle() {
  if (!ownsTraits_) return;
  // The nodes of one model are made by one thread, and no other is in its way.
  static thread_local RecentValues<Traits> recent;
  std::weak_ptr<Traits>& known = recent.At(traits_->userId);
  std::shared_ptr<Traits> equal = known.lock();
  if (equal && equal->IsEqual(*traits_)) {
    traits_ = std::move(equal);
  } else {
    known = traits_;
  }
  ownsTraits_ = false;
}

}  // namespace mirel
