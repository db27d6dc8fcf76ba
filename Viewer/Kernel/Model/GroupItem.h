#pragma once

#include <Viewer/Kernel/Model/LiteModelItem.h>

#include <vector>

namespace mirel {

/// An inner node that owns an ordered list of children.
class MIREL_VIEWER_KERNEL_API GroupItem : public LiteModelItem {
 public:
  /// Type "Group", no children.
  GroupItem();
  /// Destroys the subtree; a subtree of any depth, without recursion.
  ~GroupItem() override;

  const std::vector<std::unique_ptr<LiteModelItem>>& GetChildren() const { return children_; }

  /// Appends a child and takes it over; the argument is left empty. An empty pointer is stored; writing and visiting
  /// pass over it.
  void AddItem(std::unique_ptr<LiteModelItem>&& item);

  /// Destroys the children and takes over the given ones in their order; the argument is left empty. Passing the
  /// group's own list changes nothing.
  void SetChildren(std::vector<std::unique_ptr<LiteModelItem>>&& children);

  void Apply(LiteModelVisitor* v) override;
  /// The common members and "Children". Children below `kMaxNesting` levels are left out, and so are empty pointers,
  /// with a message at level 3.
  void Write(JsonWriter& writer, const LiteModel& model) const override;
  /// Appends the children that it can read to those there are. False, with the common members taken over, when the
  /// object has no array "Children".
  bool Read(rapidjson::Value& value) override;

 private:
  std::vector<std::unique_ptr<LiteModelItem>> children_;
};

}  // namespace mirel
