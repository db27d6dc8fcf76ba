#pragma once

#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace mirel {

class LiteModel;
class LiteModelItem;

/// Counts by how many instances each type of a model is used, and stores the counts in the tags of the type
/// items, where the writer looks for them. To be done last before a model is saved: showing it overwrites
/// tags.
///
/// Counted are the instances that a walk from the top-level items meets, inside types too, each once: an
/// instance inside a type that is itself used ten times counts as one. A type that nothing leads to gets 0
/// and is not saved.
class TypeUseCounter : public LiteModelVisitor {
 public:
  /// Sets the tag of every type item of the model.
  static void Count(LiteModel& model);

  void Visit(GroupItem* item) override;
  void Visit(InstanceItem* item) override;
  void Visit(ShapeItem* item) override;

 private:
  explicit TypeUseCounter(const LiteModel& model) : model_(model) {}

  const LiteModel& model_;
  std::unordered_map<ObjectId, std::uint32_t, SecretIdHash> uses_;
  std::vector<LiteModelItem*>
      open_;  // still to be visited; a list, not recursion, as nesting comes from files
};

}  // namespace mirel
