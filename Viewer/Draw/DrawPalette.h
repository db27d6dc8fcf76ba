#pragma once

#include <Viewer/Draw/DrawExport.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

#include <glm/vec3.hpp>

#include <cstdint>
#include <vector>

namespace mirel {

/// The colours of a body's faces: red, green and blue from 0 to 1, as sRGB. Never changes once made, so any number
/// of placements and threads share it.
class MIREL_DRAW_API DrawPalette {
 public:
  /// The colours of a node that draws a body: of a face its own, else the body's, else `BrepSceneNode::kDefaultColor`.
  /// Components outside 0 to 1 are drawn as the nearer end of it; what is not a number, as 0.
  explicit DrawPalette(const BrepSceneNode& node);

  /// One colour for all faces.
  explicit DrawPalette(const glm::vec3& color);

  /// The colour of the faces that have none of their own in the body that a node draws.
  static glm::vec3 GetBodyColor(const BrepSceneNode& node);

  /// `face` is a position in `GRepMesh::faces`. Any other number stands for what is not on a face, such as the material
  /// where it is cut: the body's colour, or, for a body that has none, the colour of most of its surface.
  const glm::vec3& GetColor(std::uint32_t face) const {
    return face < faces_.size() ? faces_[face] : material_;
  }

 private:
  glm::vec3 material_;
  std::vector<glm::vec3> faces_;  // empty when all have the body's
};

}  // namespace mirel
