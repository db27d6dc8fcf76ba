#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/GeometryView/FacePalette.h>
#include <Viewer/Kernel/Host/Renderer/GeneralSceneNode.h>

#include <glm/vec3.hpp>

#include <memory>
#include <vector>

namespace mirel {

class GRepShape;

/// A scene node that draws one body. Many nodes may draw the same graphics representation.
///
/// Colours are red, green, blue from 0 to 1. Thread safety: as `SceneNode`; but as long as a node has not been added to a
/// group or a scene, one thread at a time may read its face colours, as this puts them in order.
class MIREL_HOST_API BrepSceneNode : public GeneralSceneNode {
 public:
  /// A node that draws `grep` and shares its ownership; an empty pointer draws nothing.
  explicit BrepSceneNode(const std::shared_ptr<GRepShape>& grep);
  ~BrepSceneNode() override;

  const std::shared_ptr<GRepShape>& GetGRep() const { return grep_; }

  /// `GRepShape::GetBodyId` of what it draws; the default id when it draws nothing. `GetUserId` is the item's.
  ObjectId GetBodyId() const;

  SceneNodeKind GetKind() const override { return SceneNodeKind::kBrep; }

  /// The colour of the whole body. A negative red component means that the node has no colour of its own, as
  /// at first (-1, -1, -1): the viewer's default is used then. Any value is stored as given.
  void SetColor(const glm::vec3& color) {
    color_ = color;
    NotifyOf(SceneChange::kColor);
  }
  const glm::vec3& GetColor() const { return color_; }

  /// What is drawn that has no colour, so that all viewers show one grey.
  static constexpr glm::vec3 kDefaultColor{0.72f, 0.74f, 0.77f};

  /// The colour that a face is drawn in: its own, else that of the body, else `kDefaultColor`.
  const glm::vec3& GetDrawnColor(unsigned int face) const;

  /// The colour of one face, before that of the body. `face` is the 0-based position of the face in
  /// `TopExp::MapShapes(shape, TopAbs_FACE)`, the same as in `GRepMesh::faces`; it is not checked against the
  /// body, and a colour for a face that does not exist is not drawn. A second colour for one face replaces
  /// the first.
  void SetFaceColor(unsigned int face, const glm::vec3& color);

  /// All face colours; empty when there are none. Valid until a colour is set.
  const FacePalette& GetFaceColors() const { return *GetPalette(); }
  /// The same, shared: nodes with equal face colours have one palette, so that comparing pointers compares the colours.
  /// Never an empty pointer. A colour that is set afterwards gives the node another palette.
  const std::shared_ptr<const FacePalette>& GetPalette() const;

  void Settle() override;

 private:
  class NewColors;

  void TakeNewColors() const;

  glm::vec3 color_{-1.0f};
  std::shared_ptr<GRepShape> grep_;
  mutable std::shared_ptr<const FacePalette> palette_;  // empty: no colours
  mutable std::unique_ptr<NewColors> newColors_;        // that the palette has not got yet
};

}  // namespace mirel
