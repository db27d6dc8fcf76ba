#include <Programs/mirel/Open/NodeSearch.h>

#include <Programs/mirel/Open/IdSearch.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

namespace mirel {

namespace {

// The nodes below the root, which itself stands for the folder, that a condition holds for.
template <typename Condition>
std::vector<const SceneNode*> Collect(const SceneNode& root, const Condition& condition) {
  std::vector<const SceneNode*> found, open = {&root};
  while (!open.empty()) {
    const SceneNode& node = *open.back();
    open.pop_back();
    if (&node != &root && condition(node)) {
      found.push_back(&node);
    }
    if (node.GetKind() == SceneNodeKind::kGroup) {
      for (const auto& child : static_cast<const GroupSceneNode&>(node).GetNodes()) {
        open.push_back(child.get());
      }
    }
  }
  return found;
}

}  // namespace

std::vector<const SceneNode*> NodeSearch::Find(const std::string& text) {
  std::vector<IdSearch::Called> all;
  for (const SceneNode* node : Collect(root_, [](const SceneNode&) { return true; })) {
    all.push_back({node->GetUserId(), &node->GetName()});
  }
  const std::optional<unsigned long long> id = IdSearch::Find(text, all, error_);
  return id ? Collect(root_, [&](const SceneNode& node) { return node.GetUserId() == *id; })
            : std::vector<const SceneNode*>();
}

}  // namespace mirel
