#include <Viewer/Kernel/Model/GroupItem.h>

#include <Viewer/Kernel/Model/ItemJson.h>
#include <Viewer/Kernel/Model/ItemWalk.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>

#include <iterator>

namespace mirel {

GroupItem::GroupItem() {
  SetType("Group");
}

GroupItem::~GroupItem() {
  // A program may have built groups of any depth; their destructors must not call each other that deep. So every group
  // below is emptied here before it is destroyed.
  std::vector<std::unique_ptr<LiteModelItem>> rest = std::move(children_);
  while (!rest.empty()) {
    const std::unique_ptr<LiteModelItem> item = std::move(rest.back());
    rest.pop_back();
    if (auto* const group = dynamic_cast<GroupItem*>(item.get())) {
      std::move(group->children_.begin(), group->children_.end(), std::back_inserter(rest));
      group->children_.clear();
    }
  }
}

void GroupItem::AddItem(std::unique_ptr<LiteModelItem>&& item) {
  children_.push_back(std::move(item));
}

void GroupItem::SetChildren(std::vector<std::unique_ptr<LiteModelItem>>&& children) {
  if (&children == &children_) return;
  children_ = std::move(children);
  children.clear();
}

void GroupItem::Apply(LiteModelVisitor* v) {
  v->Visit(this);
}

void GroupItem::Write(JsonWriter& writer, const LiteModel& model) const {
  ItemWalk& walk = WritingWalk();
  LiteModelItem::Write(writer, model);
  writer.Key("Children");
  writer.StartArray();
  if (const ItemWalk::Level level(walk, *this, children_.size()); level) {
    for (const std::unique_ptr<LiteModelItem>& child : children_) {
      if (child && !walk.CountItem(*child)) break;
      WriteObject(child, writer, model);
    }
  }
  writer.EndArray();
}

bool GroupItem::Read(rapidjson::Value& value) {
  LiteModelItem::Read(value);
  rapidjson::Value* const children = FindArray(value, "Children");
  if (!children) return false;
  thread_local ItemWalk
      walk;  // bounds the recursion through CreateItem, which has no argument that could carry it
  const ItemWalk::Level level(walk, *this, children->Size());
  if (!level) return true;
  for (rapidjson::Value& child : children->GetArray()) {
    if (std::unique_ptr<LiteModelItem> item = CreateItem(child)) children_.push_back(std::move(item));
  }
  return true;
}

}  // namespace mirel
