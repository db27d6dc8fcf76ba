#pragma once

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <memory>

namespace mirel {

class ItemWalk;
class LiteModel;
class LiteModelItem;

/// Gathers one axis-aligned box of every shape that the items place, in the coordinates of the level at which the walk
/// starts, in mm. It reads only the boxes of the GReps that the model holds.
///
/// The box is taken anew at every level: a group's (an instance's) content is measured in its own coordinates, the eight
/// corners of that box are moved by the item's transform, rounded to single precision, and the box around them goes up.
/// With rotations at several levels the result is therefore larger than the tight box of the geometry. A box is empty as
/// long as nothing was found, and infinite once a GRep's box is.
///
/// Left out, with a message at level 3 each: a shape item without a GRep ("Shape is null!"), an instance without its type
/// ("Type is null!"), an instance inside its own type, what is nested deeper than `kMaxNesting` levels, and everything
/// beyond `kMaxWalkItems` items.
///
/// Thread safety: one visitor on one thread; several may walk a model that nothing changes.
class MIREL_VIEWER_KERNEL_API LiteBBoxVisitor : public LiteModelVisitor {
 public:
  /// The box starts empty. The model is not owned and must outlive the visitor.
  explicit LiteBBoxVisitor(LiteModel& model);
  ~LiteBBoxVisitor() override;

  LiteBBoxVisitor(const LiteBBoxVisitor&) = delete;
  LiteBBoxVisitor& operator=(const LiteBBoxVisitor&) = delete;

  void Visit(GroupItem* item) override;
  void Visit(InstanceItem* item) override;
  void Visit(ShapeItem* item) override;

  /// The box of everything visited so far; several walks add up.
  AABoxT<double> GetBox() const;

 private:
  /// Measures the content of a group or an instance as a part of an outer visitor's walk.
  LiteBBoxVisitor(LiteModel& model, const std::shared_ptr<ItemWalk>& walk);

  /// Moves a box by the item's transform and merges it into the visitor's.
  void Add(AABoxT<double> box, const LiteModelItem& item);

  LiteModel& model_;
  AABoxT<double> box_;
  std::shared_ptr<ItemWalk> walk_;
};

}  // namespace mirel
