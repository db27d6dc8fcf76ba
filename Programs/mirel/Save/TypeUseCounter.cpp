#include <Programs/mirel/Save/TypeUseCounter.h>

#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

namespace mirel {

void TypeUseCounter::Count(LiteModel& model) {
  TypeUseCounter counter(model);
  for (const auto& item : model.GetItems()) {
    counter.open_.push_back(item.get());
  }
  while (!counter.open_.empty()) {
    LiteModelItem* const item = counter.open_.back();
    counter.open_.pop_back();
    if (item != nullptr) {
      item->Apply(&counter);
    }
  }
  for (const auto& type : model.GetTypes()) {
    const auto uses = counter.uses_.find(type.first);
    type.second->SetTag(uses == counter.uses_.end() ? 0 : uses->second);
  }
}

void TypeUseCounter::Visit(GroupItem* item) {
  for (const auto& child : item->GetChildren()) {
    open_.push_back(child.get());
  }
}

void TypeUseCounter::Visit(InstanceItem* item) {
  if (++uses_[item->GetTypeId()] == 1) {
    open_.push_back(model_.FindType(item->GetTypeId()));
  }
}

void TypeUseCounter::Visit(ShapeItem*) {}

}  // namespace mirel
