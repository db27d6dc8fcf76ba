#pragma once

#include <Viewer/Kernel/Model/ViewerKernelExport.h>

namespace mirel {

class GroupItem;
class InstanceItem;
class ShapeItem;

/// Treats the kinds of items differently: an item's `Apply` calls the overload of its own kind.
///
/// A visitor decides itself whether and how to go down. To see a whole tree it calls `Apply` on each child of a group
/// from `Visit(GroupItem*)`, and looks up the type item and applies itself to it from `Visit(InstanceItem*)`. Types may
/// contain themselves and may unfold into billions of items: a visitor that goes down must bound both.
class MIREL_VIEWER_KERNEL_API LiteModelVisitor {
 public:
  LiteModelVisitor();
  virtual ~LiteModelVisitor();

  virtual void Visit(GroupItem* item) = 0;
  virtual void Visit(InstanceItem* item) = 0;
  virtual void Visit(ShapeItem* item) = 0;
};

}  // namespace mirel
