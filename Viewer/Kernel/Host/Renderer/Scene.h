#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <memory>
#include <vector>

namespace mirel {

/// What a viewer shows: the list of top-level nodes. It shares ownership of them. Used by one thread at a time.
class MIREL_HOST_API Scene {
 public:
  Scene();
  ~Scene();

  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  /// Appends a top-level node and returns its number in the scene, from 1 on. An empty pointer is ignored: 0.
  unsigned long long AddNode(const std::shared_ptr<SceneNode>& node);

  /// The top-level nodes in the order in which they were added.
  const std::vector<std::shared_ptr<SceneNode>>& GetNodes() const { return nodes_; }

 private:
  std::vector<std::shared_ptr<SceneNode>> nodes_;
};

}  // namespace mirel
