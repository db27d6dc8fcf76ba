#include <Programs/mirel-viewer/Document/Snapshot.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace mirel {

Snapshot::Snapshot(std::shared_ptr<const DrawScene> drawn) : scene(std::move(drawn)) {
  std::vector<std::pair<const SceneNode*, std::uint32_t>> placed;
  placed.reserve(scene->GetPlacementCount());
  for (const DrawBatch& batch : scene->GetBatches()) {
    for (std::size_t i = 0; i < batch.nodes.size(); ++i) {
      placed.emplace_back(scene->GetNodes()[batch.nodes[i]].node,
                          batch.first + static_cast<std::uint32_t>(i));
    }
  }
  std::sort(placed.begin(), placed.end());
  auto order = std::make_shared<std::vector<std::uint32_t>>();
  order->reserve(placed.size());
  for (const auto& [node, placement] : placed) {
    order->push_back(placement);
  }
  byNode_ = std::move(order);
}

const SceneNode* Snapshot::GetNode(std::uint32_t placement) const {
  const DrawBatch& batch = scene->GetBatch(placement);
  return scene->GetNodes()[batch.nodes[placement - batch.first]].node;
}

std::vector<std::uint32_t> Snapshot::FindPlacements(const std::unordered_set<const SceneNode*>& nodes) const {
  std::vector<std::uint32_t> placements;
  if (nodes.empty() || !scene) {
    return placements;
  }
  // What the mouse is over is one body, and is asked for all the time.
  if (nodes.size() == 1 && (*nodes.begin())->GetKind() == SceneNodeKind::kBrep) {
    const SceneNode* const node = *nodes.begin();
    auto found = std::lower_bound(byNode_->begin(), byNode_->end(), node,
                                  [this](std::uint32_t placement, const SceneNode* wanted) {
                                    return std::less<>()(GetNode(placement), wanted);
                                  });
    for (; found != byNode_->end() && GetNode(*found) == node; ++found) {
      placements.push_back(*found);
    }
    return placements;
  }
  const std::vector<DrawNode>& all = scene->GetNodes();
  std::vector<bool> isMeant(all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {  // parents come before their children
    isMeant[i] = (all[i].parent != DrawNode::kNone && isMeant[all[i].parent]) || nodes.count(all[i].node) > 0;
  }
  for (const DrawBatch& batch : scene->GetBatches()) {
    for (std::size_t i = 0; i < batch.nodes.size(); ++i) {
      if (isMeant[batch.nodes[i]]) {
        placements.push_back(batch.first + static_cast<std::uint32_t>(i));
      }
    }
  }
  return placements;
}

}  // namespace mirel
