#include <Programs/mirel/Open/NodeSearch.h>

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <set>

namespace mirel {

namespace {

constexpr std::size_t kIdsNamed = 5;

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
  error_.clear();
  const ObjectId id(text);
  std::vector<const SceneNode*> found;
  if (id.toString() == text) {
    found = Collect(root_, [&](const SceneNode& node) { return node.GetUserId() == id.GetInteger(); });
    if (!found.empty()) {
      return found;
    }
  }
  found = Collect(root_, [&](const SceneNode& node) { return node.GetName() == text; });
  const std::string quoted = "\"" + text + "\"";
  if (found.empty()) {
    error_ = "nothing in the model has the id or the name " + quoted;
  }
  std::set<unsigned long long> ids;
  for (const SceneNode* node : found) {
    ids.insert(node->GetUserId());
  }
  if (ids.size() > 1) {
    error_ = "several parts of the model have the name " + quoted + "; give the id of one:";
    std::size_t named = 0;
    for (const unsigned long long one : ids) {
      error_ += ++named > kIdsNamed ? "" : " " + std::to_string(one);
    }
    error_ += ids.size() > kIdsNamed ? " and " + std::to_string(ids.size() - kIdsNamed) + " more" : "";
    found.clear();
  }
  return found;
}

}  // namespace mirel
