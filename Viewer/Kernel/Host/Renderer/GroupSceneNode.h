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

  SceneNodeKind GetKind() const override { return SceneNodeKind::kGroup; }

  /// Appends a child; an empty pointer is ignored, and a node for which the `MemoryBudget` has no room (logged).
  void AddNode(const std::shared_ptr<SceneNode>& node);

  /// Takes a child out, the last one if it was added more than once; false when it is none. Takes a time in proportion
  /// to the number of children.
  bool RemoveNode(const SceneNode& node);
  /// Takes all children out.
  void Clear();

  /// The children in the order in which they were added.
  const std::vector<std::shared_ptr<SceneNode>>& GetNodes() const override { return nodes_; }

  void Settle() override;

 private:
  friend class SceneNode;

  // The group without a parent hears of what happens below it; what keeps a scene's nodes does something with it.
  virtual void OnChange(const SceneNode&, SceneChange) const {}
  virtual bool IsRoot() const { return false; }

  void LetGo(SceneNode& node);

  std::vector<std::shared_ptr<SceneNode>> nodes_;
};

}  // namespace mirel
