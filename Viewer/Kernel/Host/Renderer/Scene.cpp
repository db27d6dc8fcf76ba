#include <Viewer/Kernel/Host/Renderer/Scene.h>

namespace mirel {

Scene::Scene() = default;

Scene::~Scene() = default;

unsigned long long Scene::AddNode(const std::shared_ptr<SceneNode>& node) {
  if (!node) return 0;
  nodes_.push_back(node);
  node->Settle();
  return nodes_.size();
}

}  // namespace mirel
