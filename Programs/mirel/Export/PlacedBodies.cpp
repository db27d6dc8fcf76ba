#include <Programs/mirel/Export/PlacedBodies.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/glm.hpp>

#include <cmath>
#include <vector>

namespace mirel {

bool PlacedBodies::CanPlace(const glm::dmat4& placement) {
  // A number that is none, anywhere in the matrix, makes its determinant one too.
  const double volume = std::abs(glm::determinant(placement));
  return volume > 0.0 && std::isfinite(volume);
}

std::uint64_t PlacedBodies::VisitAll(const SceneNode& root, const Visit& visit) {
  struct Open {
    const SceneNode* node;
    glm::dmat4 placement;
  };
  std::uint64_t passedOver = 0;
  std::vector<Open> open = {{&root, root.GetTransform()}};
  while (!open.empty()) {
    const Open next = open.back();
    open.pop_back();
    if (!next.node->IsVisible()) {
      continue;
    }
    const auto& children = next.node->GetNodes();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      open.push_back({child->get(), next.placement * (*child)->GetTransform()});
    }
    if (next.node->GetKind() != SceneNodeKind::kBrep) {
      continue;
    }
    const auto& body = static_cast<const BrepSceneNode&>(*next.node);
    if (!body.GetGRep() || body.GetGRep()->GetMesh().triangles.empty()) {
      continue;
    }
    if (CanPlace(next.placement)) {
      visit(body, next.placement);
    } else {
      ++passedOver;
    }
  }
  return passedOver;
}

}  // namespace mirel
