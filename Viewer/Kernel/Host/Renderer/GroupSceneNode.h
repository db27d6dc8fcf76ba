#pragma once

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <memory>
#include <vector>

namespace mirel {

/// A node that places its children together. It shares ownership of them.
class MIREL_HOST_API GroupSceneNode : public SceneNode {
 public:
  GroupSceneNode();
  ~GroupSceneNode() override;

  /// Appends a child; an empty pointer is ignored.
  void AddNode(const std::shared_ptr<SceneNode>& node);

  /// The children in the order in which they were added.
  const std::vector<std::shared_ptr<SceneNode>>& GetNodes() const { return nodes_; }

 private:
  std::vector<std::shared_ptr<SceneNode>> nodes_;
};

}  // namespace mirel
