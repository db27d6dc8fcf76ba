#include <Viewer/Kernel/Model/InstanceItem.h>

#include <Viewer/Kernel/Model/ItemJson.h>
#include <Viewer/Kernel/Model/ItemWalk.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>

namespace mirel {

InstanceItem::InstanceItem() {
  SetType("Instance");
}

InstanceItem::~InstanceItem() = default;

void InstanceItem::Apply(LiteModelVisitor* v) {
  v->Visit(this);
}

void InstanceItem::Write(JsonWriter& writer, const LiteModel& model) const {
  LiteModelItem* const type = model.FindType(typeId_);
  if (type && type->GetTag() == 1) {
    ItemWalk& walk = WritingWalk();
    if (const ItemWalk::Level level(walk, *this, *type); level && walk.CountItem(*this)) {
      type->SetTransform(GetTransform() * type->GetTransform());
      if (GetColor().r >= 0.0F) type->SetColor(GetColor());
      type->SetName(GetName());
      type->Write(writer, model);
      return;
    }
  }
  LiteModelItem::Write(writer, model);
  writer.Key("TId");
  writer.String(typeId_.toString().c_str());
}

bool InstanceItem::Read(rapidjson::Value& value) {
  LiteModelItem::Read(value);
  if (const rapidjson::Value* const id = FindString(value, "TId")) typeId_ = ObjectId(id->GetString());
  return true;
}

}  // namespace mirel
