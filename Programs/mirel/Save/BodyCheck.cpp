#include <Programs/mirel/Save/BodyCheck.h>

#include <Programs/mirel/Check/BodyAgreement.h>
#include <Programs/mirel/Check/GuardedLoop.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>

#include <memory>

namespace mirel {

BodyCheck::BodyCheck(LiteModel& model) : model_(model) {
  for (const auto& item : model.GetItems()) {
    item->Apply(this);
  }
  for (const auto& type : model.GetTypes()) {
    type.second->Apply(this);
  }
}

void BodyCheck::Visit(GroupItem* item) {
  for (const auto& child : item->GetChildren()) {
    child->Apply(this);
  }
}

void BodyCheck::Visit(InstanceItem*) {}

void BodyCheck::Visit(ShapeItem* item) {
  items_[item->GetShapeId()].push_back(item);
}

std::string BodyCheck::NameOf(const ObjectId& body) const {
  const auto items = items_.find(body);
  const std::string name = items == items_.end() ? std::string() : items->second.front()->GetName();
  return name.empty() ? "body " + body.toString() : "\"" + name + "\"";
}

std::vector<BodyCheck::Fault> BodyCheck::FindMissing(const LiteModel& readBack) const {
  std::vector<Fault> missing;
  for (const auto& [id, body] : model_.GetShape()) {
    if (!readBack.FindShape(id)) {
      const bool isEmpty = !body || body->GetImpl().IsNull();
      missing.push_back({id, NameOf(id) + (isEmpty ? ": is empty" : ": cannot be written as BRep text")});
    }
  }
  return missing;
}

std::vector<ObjectId> BodyCheck::GetItems(const ObjectId& body) const {
  std::vector<ObjectId> ids;
  const auto items = items_.find(body);
  if (items != items_.end()) {
    for (const ShapeItem* const item : items->second) {
      ids.push_back(item->GetId());
    }
  }
  return ids;
}

void BodyCheck::Empty(const std::vector<Fault>& missing) {
  for (const Fault& fault : missing) {
    TopoDS_Compound nothing;
    BRep_Builder().MakeCompound(nothing);
    model_.AddShape(fault.id, std::make_shared<TopoShape>(nothing));
    for (ShapeItem* const item : items_[fault.id]) {
      item->SetFaceColor(ShapeItem::FaceColorMap());
    }
  }
}

std::vector<BodyCheck::Fault> BodyCheck::FindDrawnWrongly(const LiteModel& readBack,
                                                          unsigned int seconds) const {
  std::vector<ObjectId> ids;
  for (const auto& [id, body] : model_.GetShape()) {
    if (body && readBack.FindGRepShape(id)) {
      ids.push_back(id);
    }
  }
  std::vector<Fault> faults;
  const auto hear = [&](std::size_t index, const std::string& text) {
    if (faults.empty() || faults.back().id != ids[index]) {
      faults.push_back({ids[index], NameOf(ids[index]) + ": " + text});
    }
  };
  GuardedLoop::Run(
      ids.size(), GuardedLoop::Limits{seconds, 0},
      [&](std::size_t index, const GuardedLoop::Say& say) {
        BodyAgreement::Compare(model_.FindShape(ids[index])->GetImpl(),
                               readBack.FindGRepShape(ids[index])->GetMesh(), BodyAgreement::Effort::kLittle,
                               [&](CheckCode, const std::string& text) { say(text); });
      },
      hear,
      [&](std::size_t index, GuardedLoop::End end) {
        if (end != GuardedLoop::End::kDone) {
          hear(index, end == GuardedLoop::End::kTimedOut ? "cannot be compared with its graphics in time"
                                                         : "makes OpenCASCADE fail");
        }
      });
  return faults;
}

}  // namespace mirel
