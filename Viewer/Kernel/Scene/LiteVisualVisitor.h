#pragma once

#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <cstdint>
#include <memory>

namespace mirel {

enum class InstanceNodes : std::uint8_t;
class GroupSceneNode;
class ItemWalk;
class LiteModel;
class LiteModelItem;
class Scene;
class SceneNode;
class TypeNodes;

/// Turns a model's items into scene nodes: a `GroupSceneNode` for each group and instance, a `BrepSceneNode` drawn from
/// the stored GRep for each shape item. The node tree mirrors the item tree; a type's items get nodes of their own under
/// each instance. A node has its item's placement, name and, as user id, the id's integer; a shape's node has the item's
/// colour, stored as it is, and its face colours. The item's tag becomes the node's uuid, that of the last node made for
/// it.
///
/// Left out, with a message at level 3 each: a shape item without a GRep ("Shape is null!"), an instance without its type
/// ("Type is null!"), an instance inside its own type, what is nested deeper than `kMaxNesting` levels, and everything
/// beyond `kMaxWalkItems` items.
///
/// Thread safety: one walk on one thread, where scene nodes may be built. It writes the items' tags, so it must be the
/// only one of its kind at a time; boxes of the same model may be measured meanwhile.
class MIREL_VIEWER_KERNEL_API LiteVisualVisitor : public LiteModelVisitor {
 public:
  /// Nodes go under `parent`; without one, into `scene`. With neither, nodes are made and dropped, which is logged once
  /// at level 3. The model is not owned and must outlive the visitor.
  LiteVisualVisitor(LiteModel& model, const std::shared_ptr<Scene>& scene,
                    const std::shared_ptr<GroupSceneNode>& parent);
  ~LiteVisualVisitor() override;

  LiteVisualVisitor(const LiteVisualVisitor&) = delete;
  LiteVisualVisitor& operator=(const LiteVisualVisitor&) = delete;

  /// Adds a node to the parent, or to the scene when there is no parent.
  void Add(const std::shared_ptr<SceneNode>& node);

  void Visit(GroupItem* item) override;
  void Visit(InstanceItem* item) override;
  void Visit(ShapeItem* item) override;

 private:
  friend std::shared_ptr<GroupSceneNode> BuildScene(LiteModel& model, InstanceNodes nodes);

  LiteVisualVisitor(const LiteVisualVisitor& outer, const std::shared_ptr<GroupSceneNode>& parent);

  LiteModel& model_;
  std::shared_ptr<Scene> scene_;
  std::shared_ptr<GroupSceneNode> parent_;
  std::shared_ptr<ItemWalk> walk_;
  std::shared_ptr<TypeNodes> types_;  // empty: each instance gets nodes of its own
};

}  // namespace mirel
