#pragma once

#include <Viewer/Kernel/Model/LiteModelItem.h>

#include <unordered_map>

namespace mirel {

/// A leaf that places one shape. It names the shape, and under the same id its graphics, in the model's tables; it owns
/// neither.
class MIREL_VIEWER_KERNEL_API ShapeItem : public LiteModelItem {
 public:
  /// Colours of single faces by face index, the 0-based position of the face in
  /// `TopExp::MapShapes(shape, TopAbs_FACE)`.
  using FaceColorMap = std::unordered_map<std::uint32_t, glm::vec3>;

  /// Type "Shape", the default shape id, no face colours.
  ShapeItem();
  ~ShapeItem() override;

  const ObjectId& GetShapeId() const { return shapeId_; }
  void SetShapeId(const ObjectId& id) { shapeId_ = id; }

  const FaceColorMap& GetFaceColor() const { return faceColors_; }
  /// Replaces all face colours.
  void SetFaceColor(const FaceColorMap& colors) { faceColors_ = colors; }
  /// Sets the colour of one face. The index is taken as unsigned: -1 names face 4294967295.
  void SetFaceColor(std::int32_t face, const glm::vec3& color) {
    faceColors_[static_cast<std::uint32_t>(face)] = color;
  }

  void Apply(LiteModelVisitor* v) override;
  /// The common members, "SId" and "FColor". Face colours are written in the map's own order; one that holds NaN or an
  /// infinity is left out, with a message at level 3.
  void Write(JsonWriter& writer, const LiteModel& model) const override;
  /// Adds the face colours that it reads to those there are. One without an integer "FId" is skipped; "Color" starts
  /// from (1, 1, 1), so one without it is white.
  bool Read(rapidjson::Value& value) override;

 private:
  ObjectId shapeId_;
  FaceColorMap faceColors_;
};

}  // namespace mirel
