#include <Viewer/Kernel/App/LiteBBoxVisitor.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/ItemWalk.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

namespace mirel {

LiteBBoxVisitor::LiteBBoxVisitor(LiteModel& model) : LiteBBoxVisitor(model, std::make_shared<ItemWalk>()) {}

LiteBBoxVisitor::LiteBBoxVisitor(LiteModel& model, const std::shared_ptr<ItemWalk>& walk)
    : model_(model), walk_(walk) {}

LiteBBoxVisitor::~LiteBBoxVisitor() = default;

void LiteBBoxVisitor::Add(AABoxT<double> box, const LiteModelItem& item) {
  box.Transform(glm::mat4(item.GetTransform()));
  box_.Merge(box);
}

void LiteBBoxVisitor::Visit(GroupItem* item) {
  if (!walk_->CountItem(*item)) return;
  const ItemWalk::Level level(*walk_, *item, item->GetChildren().size());
  if (!level) return;
  AABoxT<double> box;
  for (const std::unique_ptr<LiteModelItem>& child : item->GetChildren()) {
    if (!child) continue;
    LiteBBoxVisitor content(model_, walk_);
    child->Apply(&content);
    box.Merge(content.GetBox());
  }
  Add(box, *item);
}

void LiteBBoxVisitor::Visit(InstanceItem* item) {
  LiteModelItem* const type = model_.FindType(item->GetTypeId());
  if (!type) {
    NoteMissing(*item, "type", item->GetTypeId());
    MIREL_FAILURE("Type is null!");
    return;
  }
  if (!walk_->CountItem(*item)) return;
  const ItemWalk::Level level(*walk_, *item, *type);
  if (!level) return;
  LiteBBoxVisitor content(model_, walk_);
  type->Apply(&content);
  Add(content.GetBox(), *item);
}

void LiteBBoxVisitor::Visit(ShapeItem* item) {
  const std::shared_ptr<GRepShape> grep = model_.FindGRepShape(item->GetShapeId());
  if (!grep) {
    NoteMissing(*item, "graphics", item->GetShapeId());
    MIREL_FAILURE("Shape is null!");
    return;
  }
  if (!walk_->CountItem(*item, item->GetFaceColor().size())) return;
  Add(grep->GetBoundingBox(), *item);
}

AABoxT<double> LiteBBoxVisitor::GetBox() const {
  return box_;
}

}  // namespace mirel
