#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/LiteModelItem.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace mirel {

class GRepShape;
class LiteModelVisitor;
class TopoShape;

/// One light-weight model: the tree of items, the types that instances share, and under the same ids the exact shapes
/// and their graphics (GReps).
///
/// The model owns its items and types and shares its shapes and GReps with whoever else holds them. The tables do not
/// have to be in step, and items may name ids that they do not hold.
///
/// Thread safety: none; it is filled and walked by one thread at a time.
class MIREL_VIEWER_KERNEL_API LiteModel {
 public:
  using ItemList = std::vector<std::unique_ptr<LiteModelItem>>;
  using TypeTable = std::unordered_map<ObjectId, std::unique_ptr<LiteModelItem>, ObjectIdHash>;
  using ShapeTable = std::unordered_map<ObjectId, std::shared_ptr<TopoShape>, ObjectIdHash>;
  using GRepTable = std::unordered_map<ObjectId, std::shared_ptr<GRepShape>, ObjectIdHash>;

  LiteModel();
  ~LiteModel();

  LiteModel(const LiteModel&) = delete;
  LiteModel& operator=(const LiteModel&) = delete;

  /// A name for the model's users; it is not saved.
  const std::string& GetName() const { return name_; }
  void SetName(const std::string& name) { name_ = name; }

  const ItemList& GetItems() const { return items_; }
  const TypeTable& GetTypes() const { return types_; }
  const ShapeTable& GetShape() const { return shapes_; }
  /// The shape table, to be changed in place.
  ShapeTable& GetShapes() { return shapes_; }
  const GRepTable& GetGRepShapes() const { return greps_; }

  /// Appends a top-level item and takes it over; the argument is left empty. An empty pointer is stored; `Apply` and
  /// writing pass over it.
  void AddItem(std::unique_ptr<LiteModelItem>&& item);

  /// Stores a type under its own id and takes it over; the argument is left empty, and a type already stored under that
  /// id is destroyed. An empty pointer is ignored.
  void AddType(std::unique_ptr<LiteModelItem>&& item);

  /// Stores a shape under a fresh id and returns the id.
  ObjectId AddShape(const std::shared_ptr<TopoShape>& shape);
  /// Stores a shape, or a GRep, under an id in place of the one already there. An empty pointer makes an entry as well.
  void AddShape(ObjectId id, const std::shared_ptr<TopoShape>& shape);
  void AddShape(ObjectId id, const std::shared_ptr<GRepShape>& grep);
  /// An empty pointer to a shape.
  void AddShape(ObjectId id, std::nullptr_t) { AddShape(id, std::shared_ptr<TopoShape>()); }

  /// What is stored under an id, or an empty pointer (of a type: null).
  std::shared_ptr<TopoShape> FindShape(const ObjectId& id) const;
  std::shared_ptr<GRepShape> FindGRepShape(const ObjectId& id) const;
  /// The model keeps ownership. Not const: writing an instance changes its type.
  LiteModelItem* FindType(const ObjectId& id) const;

  /// Removes items, shapes and types. GReps and the name stay.
  void Clear();

  /// Applies the visitor to each top-level item in order. Going further down is the visitor's.
  void Apply(LiteModelVisitor* visitor);

  /// Attaches each shape to the GRep of the same id. Shapes without a GRep, and GReps without a shape, are left alone.
  void ApplyShape();

 private:
  std::string name_;
  ShapeTable shapes_;
  GRepTable greps_;
  ItemList items_;
  TypeTable types_;
};

}  // namespace mirel
