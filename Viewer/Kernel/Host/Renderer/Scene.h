#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <functional>
#include <memory>
#include <vector>

namespace mirel {

/// What a viewer shows: the list of top-level nodes. It shares ownership of them. Used by one thread at a time.
class MIREL_HOST_API Scene {
 public:
  /// Hears what has happened to which node: one that was added or removed, with all below it, or one that was changed.
  /// Called by the thread that changes, when the change is made; when a node is removed, with its parent still known.
  /// It must not change the scene.
  using Listener = std::function<void(const SceneNode& node, SceneChange change)>;

  Scene();
  ~Scene();

  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  /// Appends a top-level node and returns its number in the scene, from 1 on. An empty pointer is ignored: 0; so is a
  /// node for which the `MemoryBudget` has no room (logged).
  unsigned long long AddNode(const std::shared_ptr<SceneNode>& node);

  /// Takes a top-level node out; false when it is none.
  bool RemoveNode(const SceneNode& node);
  /// Takes all out.
  void Clear();

  /// The top-level nodes in the order in which they were added.
  const std::vector<std::shared_ptr<SceneNode>>& GetNodes() const;

  /// Has a listener hear of all that happens in the scene from now on, until it is removed by the number that this
  /// returns.
  unsigned AddListener(Listener listener);
  void RemoveListener(unsigned number);

 private:
  class Root;
  std::unique_ptr<Root> root_;
};

}  // namespace mirel
