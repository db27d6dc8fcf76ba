#include <Programs/mirel/Open/ModelFigures.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <algorithm>
#include <limits>
#include <set>

namespace mirel {

namespace {

std::uint64_t Add(std::uint64_t a, std::uint64_t b) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return a > most - b ? most : a + b;
}

// What is seen of an item, its instances unfolded.
struct Seen {
  std::uint64_t shapes = 0;
  std::uint64_t nodes = 0;
  std::uint64_t triangles = 0;
  std::uint64_t depth = 0;

  void Take(const Seen& other) {
    shapes = Add(shapes, other.shapes);
    nodes = Add(nodes, other.nodes);
    triangles = Add(triangles, other.triangles);
    depth = std::max(depth, other.depth);
  }
};

// Recursion is bounded: the reader refuses groups that nest too deep, and types are entered through the list
// of `Order`, never from inside each other.
class Surveyor : public LiteModelVisitor {
 public:
  Surveyor(const LiteModel& model, ModelFigures& figures) : model_(model), figures_(figures) {}

  void Visit(GroupItem* item) override {
    ++figures_.groups;
    Seen sum;
    for (const auto& child : item->GetChildren()) {
      if (child) {
        child->Apply(this);
        sum.Take(result_);
      }
    }
    result_ = sum;
    result_.nodes = Add(result_.nodes, 1);
    ++result_.depth;
  }

  void Visit(InstanceItem* item) override {
    ++figures_.instances;
    const auto type = done_.find(item->GetTypeId());
    result_ = Seen();
    if (type != done_.end()) {
      result_ = type->second;
      result_.nodes = Add(result_.nodes, 1);
      ++result_.depth;
    }
  }

  void Visit(ShapeItem* item) override {
    ++figures_.shapeItems;
    result_ = Seen();
    const std::shared_ptr<GRepShape> grep = model_.FindGRepShape(item->GetShapeId());
    if (grep) {
      result_ = {1, 1, grep->GetMesh().GetTriangleCount(), 1};
    }
    auto& colored = coloredFaces_[item->GetShapeId()];
    for (const auto& face : item->GetFaceColor()) {
      colored.insert(face.first);
    }
  }

  Seen Survey(LiteModelItem& item) {
    item.Apply(this);
    return result_;
  }

  void Finish(const ObjectId& type, LiteModelItem& item) { done_[type] = Survey(item); }

  std::uint64_t CountColoredFaces() const {
    std::uint64_t count = 0;
    for (const auto& body : coloredFaces_) {
      count += body.second.size();
    }
    return count;
  }

 private:
  const LiteModel& model_;
  ModelFigures& figures_;
  Seen result_;
  std::unordered_map<ObjectId, Seen, SecretIdHash> done_;
  std::unordered_map<ObjectId, std::set<std::uint32_t>, SecretIdHash> coloredFaces_;
};

// The types that an item's instances name.
class TypeLister : public LiteModelVisitor {
 public:
  explicit TypeLister(std::vector<ObjectId>& types) : types_(types) {}
  void Visit(GroupItem* item) override {
    for (const auto& child : item->GetChildren()) {
      if (child) {
        child->Apply(this);
      }
    }
  }
  void Visit(InstanceItem* item) override { types_.push_back(item->GetTypeId()); }
  void Visit(ShapeItem*) override {}

 private:
  std::vector<ObjectId>& types_;
};

// Every type of the model behind the types that it is made of. Of types that contain themselves, any order.
std::vector<ObjectId> Order(const LiteModel& model,
                            std::unordered_map<ObjectId, std::uint64_t, SecretIdHash>& uses) {
  std::unordered_map<ObjectId, std::vector<ObjectId>, SecretIdHash> needs;
  std::vector<ObjectId> all;
  for (const auto& type : model.GetTypes()) {
    TypeLister lister(needs[type.first]);
    type.second->Apply(&lister);
    all.push_back(type.first);
    for (const ObjectId& used : needs[type.first]) {
      ++uses[used];
    }
  }
  std::sort(all.begin(), all.end(),
            [](const ObjectId& a, const ObjectId& b) { return a.GetInteger() < b.GetInteger(); });
  std::unordered_set<ObjectId, SecretIdHash> entered;
  std::vector<ObjectId> ordered;
  std::vector<std::pair<ObjectId, std::size_t>> open;
  for (const ObjectId& start : all) {
    if (!entered.insert(start).second) {
      continue;
    }
    open.emplace_back(start, 0);
    while (!open.empty()) {
      const ObjectId type = open.back().first;
      const std::vector<ObjectId>& needed = needs[type];
      if (open.back().second == needed.size()) {
        ordered.push_back(type);
        open.pop_back();
        continue;
      }
      const ObjectId next = needed[open.back().second++];
      if (model.FindType(next) != nullptr && entered.insert(next).second) {
        open.emplace_back(next, 0);
      }
    }
  }
  return ordered;
}

}  // namespace

ModelFigures::ModelFigures(const LiteModel& model) {
  std::unordered_map<ObjectId, std::uint64_t, SecretIdHash> uses;
  Surveyor surveyor(model, *this);
  const std::vector<ObjectId> ordered = Order(model, uses);
  for (const ObjectId& type : ordered) {
    surveyor.Finish(type, *model.FindType(type));
  }
  Seen sum;
  std::vector<ObjectId> used;
  TypeLister lister(used);
  for (const auto& item : model.GetItems()) {
    if (item) {
      sum.Take(surveyor.Survey(*item));
      item->Apply(&lister);
    }
  }
  for (const ObjectId& type : used) {
    ++uses[type];
  }
  for (const ObjectId& id : ordered) {
    const LiteModelItem& type = *model.FindType(id);
    types.push_back({id, type.GetType(), type.GetName(), uses[id]});
  }
  std::sort(types.begin(), types.end(),
            [](const TypeUse& a, const TypeUse& b) { return a.id.GetInteger() < b.id.GetInteger(); });
  placedShapes = sum.shapes;
  nodes = sum.nodes;
  depth = sum.depth;
  placedTriangles = sum.triangles;
  coloredFaces = surveyor.CountColoredFaces();

  for (const auto& shape : model.GetShape()) {
    shapes += shape.second ? 1 : 0;
  }
  for (const auto& entry : model.GetGRepShapes()) {
    if (entry.second) {
      const GRepMesh& mesh = entry.second->GetMesh();
      ++graphics;
      faces += mesh.faces.size();
      edges += mesh.edges.size();
      triangles += mesh.GetTriangleCount();
      facesWithoutTriangles += mesh.CountFacesWithoutTriangles();
    }
  }
}

}  // namespace mirel
