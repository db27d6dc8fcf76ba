#include <Bench/ModelCopies.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <glm/gtc/matrix_transform.hpp>

#include <cmath>
#include <stdexcept>

namespace mirel::bench {

std::shared_ptr<GroupSceneNode> CopyModel(const std::shared_ptr<SceneNode>& model, std::size_t bodies) {
  const DrawScene one(*model);
  if (one.GetPlacementCount() == 0) throw std::runtime_error("nothing is drawn of the model");
  const auto copies = static_cast<int>(bodies / one.GetPlacementCount() + 1);
  const int side = static_cast<int>(std::ceil(std::sqrt(copies)));
  const glm::dvec3 pitch = (one.GetBox().GetMax() - one.GetBox().GetMin()) * 1.1;
  auto root = std::make_shared<GroupSceneNode>();
  for (int i = 0; i < copies; ++i) {
    const auto copy = std::make_shared<GroupSceneNode>();
    copy->SetTransform(
        glm::translate(glm::dmat4(1.0), glm::dvec3(i % side * pitch.x, i / side * pitch.y, 0.0)));
    copy->AddNode(model);
    root->AddNode(copy);
  }
  return root;
}

}  // namespace mirel::bench
