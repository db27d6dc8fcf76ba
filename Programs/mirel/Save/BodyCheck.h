#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace mirel {

class LiteModel;

/// What every save looks at before its folder gets its place: that the folder holds each body of the model, and draws each
/// as it is. The cheap part of `mirel check`, made with the bodies that are in memory anyway.
class BodyCheck : private LiteModelVisitor {
 public:
  struct Fault {
    ObjectId id;
    std::string text;  ///< whose body it is, and what is wrong
  };

  explicit BodyCheck(LiteModel& model);

  /// Bodies of the model that were not saved: empty ones, and those whose text no reader takes.
  std::vector<Fault> FindMissing(const LiteModel& readBack) const;

  /// Puts an empty body in the place of each, so that their items stay where they are, under their names.
  void Empty(const std::vector<Fault>& missing);

  /// Bodies whose graphics are not those of the body. Made in a process of its own: a body may take `seconds`, and one
  /// that makes OpenCASCADE crash, or takes longer, has a fault.
  std::vector<Fault> FindDrawnWrongly(const LiteModel& readBack, unsigned int seconds) const;

  /// The items that show a body.
  std::vector<ObjectId> GetItems(const ObjectId& body) const;

 private:
  void Visit(GroupItem* item) override;
  void Visit(InstanceItem* item) override;
  void Visit(ShapeItem* item) override;
  std::string NameOf(const ObjectId& body) const;

  LiteModel& model_;
  std::unordered_map<ObjectId, std::vector<ShapeItem*>, SecretIdHash> items_;  // those that show a body
};

}  // namespace mirel
