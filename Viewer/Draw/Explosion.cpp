#include <Viewer/Draw/Explosion.h>

#include <Viewer/Draw/DrawScene.h>

#include <cstddef>

namespace mirel {

namespace {

glm::dvec3 GetMiddle(const AABoxT<double>& box) {
  return (box.GetMin() + box.GetMax()) * 0.5;
}

// The boxes of all nodes, with all below them; empty where nothing is drawn.
std::vector<AABoxT<double>> MakeBoxes(const DrawScene& scene) {
  const std::vector<DrawNode>& nodes = scene.GetNodes();
  std::vector<AABoxT<double>> boxes(nodes.size());
  for (const DrawBatch& batch : scene.GetBatches()) {
    for (std::size_t i = 0; i < batch.nodes.size(); ++i)
      boxes[batch.nodes[i]].Merge(scene.GetBox(batch.first + static_cast<std::uint32_t>(i)));
  }
  for (std::size_t i = nodes.size(); i-- > 0;) {  // children come behind their parents
    if (nodes[i].parent != DrawNode::kNone) boxes[nodes[i].parent].Merge(boxes[i]);
  }
  return boxes;
}

}  // namespace

Explosion::Explosion(const DrawScene& scene) : offsets_(scene.GetPlacementCount(), glm::vec3(0.0f)) {
  const std::vector<DrawNode>& nodes = scene.GetNodes();
  const std::vector<AABoxT<double>> boxes = MakeBoxes(scene);
  std::vector<glm::vec3> ofNodes(nodes.size(), glm::vec3(0.0f));
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (!boxes[i].IsFinite()) continue;
    const bool isRoot = nodes[i].parent == DrawNode::kNone;
    const AABoxT<double>& around = isRoot ? scene.GetBox() : boxes[nodes[i].parent];
    ofNodes[i] = glm::vec3(GetMiddle(boxes[i]) - GetMiddle(around));
    if (!isRoot) ofNodes[i] += ofNodes[nodes[i].parent];
  }
  for (const DrawBatch& batch : scene.GetBatches()) {
    for (std::size_t i = 0; i < batch.nodes.size(); ++i)
      offsets_[batch.first + i] = ofNodes[batch.nodes[i]];
  }
}

}  // namespace mirel
