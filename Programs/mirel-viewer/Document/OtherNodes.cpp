#include <Programs/mirel-viewer/Document/OtherNodes.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

namespace mirel {

std::unordered_set<const SceneNode*> FindOthers(const std::vector<std::shared_ptr<SceneNode>>& roots,
                                                const std::unordered_set<const SceneNode*>& nodes) {
  std::unordered_set<const SceneNode*> around, others;
  for (const SceneNode* node : nodes) {
    for (const SceneNode* above : node->GetPath()) {
      if (nodes.count(above) > 0) {
        break;  // what is below belongs to it
      }
      around.insert(above);
    }
  }
  const auto take = [&](const std::vector<std::shared_ptr<SceneNode>>& candidates) {
    for (const std::shared_ptr<SceneNode>& candidate : candidates) {
      if (around.count(candidate.get()) == 0 && nodes.count(candidate.get()) == 0) {
        others.insert(candidate.get());
      }
    }
  };
  take(roots);
  for (const SceneNode* node : around) {
    take(node->GetNodes());
  }
  return others;
}

}  // namespace mirel
