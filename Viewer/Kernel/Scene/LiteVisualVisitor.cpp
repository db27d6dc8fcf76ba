#include <Viewer/Kernel/Scene/LiteVisualVisitor.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/Scene.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/ItemWalk.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Scene/TypeNodes.h>

namespace mirel {

namespace {

/// The node of a group or an instance, which has no colour.
std::shared_ptr<GroupSceneNode> MakeGroupNode(LiteModelItem& item) {
  auto node = std::make_shared<GroupSceneNode>();
  node->SetTransform(item.GetTransform());
  node->SetUserId(item.GetId().GetInteger());
  node->SetName(item.GetName());
  item.SetTag(node->GetUuid());
  return node;
}

}  // namespace

LiteVisualVisitor::LiteVisualVisitor(LiteModel& model, const std::shared_ptr<Scene>& scene,
                                     const std::shared_ptr<GroupSceneNode>& parent)
    : model_(model), scene_(scene), parent_(parent), walk_(std::make_shared<ItemWalk>()) {
  if (!scene_ && !parent_) MIREL_FAILURE("A visual visitor needs a scene or a parent node");
}

LiteVisualVisitor::LiteVisualVisitor(const LiteVisualVisitor& outer,
                                     const std::shared_ptr<GroupSceneNode>& parent)
    : model_(outer.model_), parent_(parent), walk_(outer.walk_), types_(outer.types_) {}

LiteVisualVisitor::~LiteVisualVisitor() = default;

void LiteVisualVisitor::Add(const std::shared_ptr<SceneNode>& node) {
  if (parent_) {
    parent_->AddNode(node);
  } else if (scene_) {
    scene_->AddNode(node);
  }
}

void LiteVisualVisitor::Visit(GroupItem* item) {
  if (!walk_->CountItem(*item)) return;
  const std::shared_ptr<GroupSceneNode> node = MakeGroupNode(*item);
  if (const ItemWalk::Level level(*walk_, *item, item->GetChildren().size()); level) {
    LiteVisualVisitor children(*this, node);
    for (const std::unique_ptr<LiteModelItem>& child : item->GetChildren()) {
      if (child) child->Apply(&children);
    }
  }
  Add(node);
}

void LiteVisualVisitor::Visit(InstanceItem* item) {
  LiteModelItem* const type = model_.FindType(item->GetTypeId());
  if (!type) {
    NoteMissing(*item, "type", item->GetTypeId());
    walk_->NoteLeftOut();
    MIREL_FAILURE("Type is null!");
    return;
  }
  if (!walk_->CountItem(*item)) return;
  const ItemWalk::Level level(*walk_, *item, *type);
  if (!level) return;
  const std::shared_ptr<GroupSceneNode> node = MakeGroupNode(*item);
  if (!types_ || !types_->Repeat(*type, *node, *walk_)) {
    const ItemWalk::Mark mark = walk_->SetMark();
    LiteVisualVisitor content(*this, node);
    type->Apply(&content);
    if (types_) types_->Keep(*type, *node, walk_->GetContent(mark));
  }
  Add(node);
}

void LiteVisualVisitor::Visit(ShapeItem* item) {
  const std::shared_ptr<GRepShape> grep = model_.FindGRepShape(item->GetShapeId());
  if (!grep) {
    NoteMissing(*item, "graphics", item->GetShapeId());
    walk_->NoteLeftOut();
    MIREL_FAILURE("Shape is null!");
    return;
  }
  if (!walk_->CountItem(*item, item->GetFaceColor().size())) return;
  const auto node = std::make_shared<BrepSceneNode>(grep);
  node->SetName(item->GetName());
  node->SetUserId(item->GetId().GetInteger());
  node->SetTransform(item->GetTransform());
  node->SetColor(item->GetColor());
  item->SetTag(node->GetUuid());
  for (const auto& [face, color] : item->GetFaceColor())
    node->SetFaceColor(face, color);
  Add(node);
}

}  // namespace mirel
