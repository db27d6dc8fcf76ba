#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>

#include <utility>
#include <vector>

namespace mirel {

AABoxT<double> GetNodeBox(const SceneNode& top) {
  AABoxT<double> box;
  // A stack of its own: the depth comes from a file.
  std::vector<std::pair<const SceneNode*, glm::dmat4>> rest{{&top, top.GetScenePlacement()}};
  while (!rest.empty()) {
    const auto [node, placement] = rest.back();
    rest.pop_back();
    if (node->GetKind() == SceneNodeKind::kGroup) {
      for (const auto& child : static_cast<const GroupSceneNode*>(node)->GetNodes())
        rest.emplace_back(child.get(), placement * child->GetTransform());
    } else if (node->GetKind() == SceneNodeKind::kBrep) {
      const auto& grep = static_cast<const BrepSceneNode*>(node)->GetGRep();
      AABoxT<double> placed = grep ? grep->GetBoundingBox() : AABoxT<double>();
      placed.Transform(placement);
      box.Merge(placed);
    }
  }
  return box;
}

AABoxT<double> GetSceneBox(const Scene& scene) {
  AABoxT<double> box;
  for (const auto& node : scene.GetNodes())
    box.Merge(GetNodeBox(*node));
  return box;
}

}  // namespace mirel
