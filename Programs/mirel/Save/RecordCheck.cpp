#include <Programs/mirel/Save/RecordCheck.h>

#include <Programs/mirel/Open/ModelFigures.h>

#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <algorithm>
#include <unordered_map>

namespace mirel {

namespace {

// All items that a model stores, by id.
class ItemIndex : public LiteModelVisitor {
 public:
  explicit ItemIndex(const LiteModel& model) {
    for (const auto& item : model.GetItems()) {
      item->Apply(this);
    }
    for (const auto& type : model.GetTypes()) {
      type.second->Apply(this);
    }
  }

  void Visit(GroupItem* item) override {
    items_[item->GetId()] = item;
    for (const auto& child : item->GetChildren()) {
      child->Apply(this);
    }
  }
  void Visit(InstanceItem* item) override { items_[item->GetId()] = item; }
  void Visit(ShapeItem* item) override { items_[item->GetId()] = item; }

  const LiteModelItem* Find(const ObjectId& id) const {
    const auto place = items_.find(id);
    return place == items_.end() ? nullptr : place->second;
  }

 private:
  std::unordered_map<ObjectId, const LiteModelItem*, SecretIdHash> items_;
};

// Adds what is there of one list of entries; returns how many entries have all their items.
std::uint64_t CountEntries(const std::vector<ImportRecord::Entry>& entries, const ItemIndex& index,
                           ModelCounts& counts) {
  std::uint64_t found = 0;
  for (const ImportRecord::Entry& entry : entries) {
    std::vector<const LiteModelItem*> items;
    for (const ObjectId& id : entry.ids) {
      items.push_back(index.Find(id));
    }
    if (items.empty() || std::count(items.begin(), items.end(), nullptr) > 0) {
      continue;
    }
    ++found;
    counts.names += !entry.name.empty() &&
                    std::all_of(items.begin(), items.end(),
                                [&](const LiteModelItem* item) { return item->GetName() == entry.name; });
    // A product may also have become items in other colours, which hide its own.
    counts.coloredItems +=
        entry.color && std::any_of(items.begin(), items.end(), [&](const LiteModelItem* item) {
          return item->GetColor() == glm::vec3(*entry.color);
        });
  }
  return found;
}

}  // namespace

ModelCounts RecordCheck::CountSaved(const ImportRecord& record, const LiteModel& readBack,
                                    const ModelFigures& figures) {
  const ItemIndex index(readBack);
  ModelCounts counts;
  counts.products = CountEntries(record.products, index, counts);
  counts.instances = CountEntries(record.components, index, counts);
  CountEntries(record.occurrences, index, counts);
  counts.placedShapes = figures.placedShapes;
  counts.shapes = figures.shapes;
  counts.faces = figures.faces;
  counts.coloredFaces = figures.coloredFaces;
  return counts;
}

}  // namespace mirel
