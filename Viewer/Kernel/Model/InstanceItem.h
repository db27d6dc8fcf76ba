#pragma once

#include <Viewer/Kernel/Model/LiteModelItem.h>

namespace mirel {

/// A leaf that places a reusable type, which it names by id; the model owns the type item.
class MIREL_VIEWER_KERNEL_API InstanceItem : public LiteModelItem {
 public:
  /// Type "Instance", the default type id.
  InstanceItem();
  ~InstanceItem() override;

  const ObjectId& GetTypeId() const { return typeId_; }
  void SetTypeId(const ObjectId& id) { typeId_ = id; }

  void Apply(LiteModelVisitor* v) override;

  /// The common members and "TId"; but when the type's tag is exactly 1, the type is written in place of the instance.
  ///
  /// The type item then takes over the instance's name, its colour if it has one, and the placement instance times type
  /// (a point is moved by the type's transform first), and writes itself. These changes stay in the model, so that
  /// writing twice multiplies the instance's transform in twice. A type that would be written inside itself, and one
  /// below `kMaxNesting` levels, is named by "TId" instead, with a message at level 3.
  void Write(JsonWriter& writer, const LiteModel& model) const override;
  bool Read(rapidjson::Value& value) override;

 private:
  ObjectId typeId_;
};

}  // namespace mirel
