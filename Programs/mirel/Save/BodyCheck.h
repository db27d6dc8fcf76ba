#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/LiteModelVisitor.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <cstddef>
#include <optional>
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

  /// Bodies whose graphics are not those of the body, in the order of the model. Made in processes of their own, as many as
  /// there are cores where there is much to compare: a body may take `seconds`, and one that makes OpenCASCADE crash, or takes
  /// longer, has a fault.
  std::vector<Fault> FindDrawnWrongly(const LiteModel& readBack, unsigned int seconds) const;

  /// The items that show a body.
  std::vector<ObjectId> GetItems(const ObjectId& body) const;

 private:
  void Visit(GroupItem* item) override;
  void Visit(InstanceItem* item) override;
  void Visit(ShapeItem* item) override;
  std::string NameOf(const ObjectId& body) const;
  // Some of the bodies, given by their places in `ids`, in one process.
  void CompareWithGraphics(const LiteModel& readBack, unsigned int seconds, const std::vector<ObjectId>& ids,
                           const std::vector<std::size_t>& share,
                           std::vector<std::optional<Fault>>& found) const;

  LiteModel& model_;
  std::unordered_map<ObjectId, std::vector<ShapeItem*>, SecretIdHash> items_;  // those that show a body
};

}  // namespace mirel
