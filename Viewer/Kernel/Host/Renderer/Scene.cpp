#include <Viewer/Kernel/Host/Renderer/Scene.h>

#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/NodeRoom.h>

#include <map>
#include <utility>

namespace mirel {

/// The group that all top-level nodes are in: what happens below it comes here.
class Scene::Root final : public GroupSceneNode {
 public:
  unsigned AddListener(Listener listener) {
    listeners_.emplace(++last_, std::move(listener));
    return last_;
  }
  void RemoveListener(unsigned number) { listeners_.erase(number); }

 private:
  void OnChange(const SceneNode& node, SceneChange change) const override {
    for (const auto& [number, listener] : listeners_)
      listener(node, change);
  }
  bool IsRoot() const override { return true; }

  std::map<unsigned, Listener> listeners_;
  unsigned last_ = 0;
};

Scene::Scene() : root_(std::make_unique<Root>()) {}

Scene::~Scene() = default;

unsigned long long Scene::AddNode(const std::shared_ptr<SceneNode>& node) {
  if (!node || !HasRoomForNode()) return 0;
  root_->AddNode(node);
  return root_->GetNodes().size();
}

bool Scene::RemoveNode(const SceneNode& node) {
  return root_->RemoveNode(node);
}

void Scene::Clear() {
  root_->Clear();
}

const std::vector<std::shared_ptr<SceneNode>>& Scene::GetNodes() const {
  return root_->GetNodes();
}

unsigned Scene::AddListener(Listener listener) {
  return root_->AddListener(std::move(listener));
}

void Scene::RemoveListener(unsigned number) {
  root_->RemoveListener(number);
}

}  // namespace mirel
