#include <Bench/SceneCount.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <unordered_set>
#include <vector>

namespace mirel::bench {

void CountScene(const SceneNode& root, Figures& figures) {
  double nodes = 0.0, placed = 0.0, triangles = 0.0, drawn = 0.0;
  std::unordered_set<const GRepShape*> bodies;
  std::vector<const SceneNode*> open{&root};
  while (!open.empty()) {
    const SceneNode* const node = open.back();
    open.pop_back();
    if (const auto* const group = dynamic_cast<const GroupSceneNode*>(node)) {
      nodes += static_cast<double>(group->GetNodes().size());
      for (const auto& child : group->GetNodes())
        open.push_back(child.get());
    } else if (const auto* const shape = dynamic_cast<const BrepSceneNode*>(node)) {
      const double count = static_cast<double>(shape->GetGRep()->GetMesh().GetTriangleCount());
      placed += 1.0;
      drawn += count;
      if (bodies.insert(shape->GetGRep().get()).second) triangles += count;
    }
  }
  figures.Set("nodes", nodes);
  figures.Set("placedShapes", placed);
  figures.Set("bodies", static_cast<double>(bodies.size()));
  figures.Set("triangles", triangles);
  figures.Set("drawnTriangles", drawn);
}

}  // namespace mirel::bench
