#include <Viewer/Kernel/Model/LiteModel.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/ItemWalk.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>

#include <utility>

namespace mirel {

namespace {

template <class Table>
typename Table::mapped_type Find(const Table& table, const ObjectId& id) {
  const auto found = table.find(id);
  return found == table.end() ? typename Table::mapped_type() : found->second;
}

/// Stores a value under an id, and sees to it that finding it stays a matter of few comparisons whatever the ids are.
template <class Table>
void Store(Table& table, const ObjectId& id, typename Table::mapped_type value) {
  const bool isNew = table.insert_or_assign(id, std::move(value)).second;
  if (!isNew || table.hash_function().IsSecret() || table.bucket_size(table.bucket(id)) <= kMaxIdsPerBucket)
    return;
  Logger::Instance().Message(
      1, "Many ids of the model fall together, as if they were chosen to: their order will differ");
  Table spread(table.bucket_count(), ObjectIdHash::MakeSecret());
  while (!table.empty())
    spread.insert(table.extract(table.begin()));
  table = std::move(spread);
}

}  // namespace

LiteModel::LiteModel() = default;

LiteModel::~LiteModel() = default;

void LiteModel::AddItem(std::unique_ptr<LiteModelItem>&& item) {
  items_.push_back(std::move(item));
}

void LiteModel::AddType(std::unique_ptr<LiteModelItem>&& item) {
  if (!item) return;
  const ObjectId id = item->GetId();
  Store(types_, id, std::move(item));
}

ObjectId LiteModel::AddShape(const std::shared_ptr<TopoShape>& shape) {
  const ObjectId id = ObjectId::NewId();
  AddShape(id, shape);
  return id;
}

void LiteModel::AddShape(ObjectId id, const std::shared_ptr<TopoShape>& shape) {
  Store(shapes_, id, shape);
}

void LiteModel::AddShape(ObjectId id, const std::shared_ptr<GRepShape>& grep) {
  Store(greps_, id, grep);
}

std::shared_ptr<TopoShape> LiteModel::FindShape(const ObjectId& id) const {
  return Find(shapes_, id);
}

std::shared_ptr<GRepShape> LiteModel::FindGRepShape(const ObjectId& id) const {
  return Find(greps_, id);
}

LiteModelItem* LiteModel::FindType(const ObjectId& id) const {
  const auto found = types_.find(id);
  return found == types_.end() ? nullptr : found->second.get();
}

void LiteModel::Clear() {
  items_.clear();
  shapes_.clear();
  types_.clear();
}

void LiteModel::Apply(LiteModelVisitor* visitor) {
  const ItemWalk::Model walk;
  for (const std::unique_ptr<LiteModelItem>& item : items_) {
    if (item) item->Apply(visitor);
  }
}

void LiteModel::ApplyShape() {
  for (const auto& [id, shape] : shapes_) {
    if (const std::shared_ptr<GRepShape> grep = FindGRepShape(id)) grep->SetShape(shape, false);
  }
}

}  // namespace mirel
