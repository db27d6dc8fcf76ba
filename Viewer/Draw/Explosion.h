#pragma once

#include <Viewer/Draw/DrawExport.h>

#include <glm/vec3.hpp>

#include <vector>

namespace mirel {

class DrawScene;

/// Takes an assembly apart for the eye, by its tree: the nodes of every group move away from the middle of the group's
/// box, those of a group in it besides from the middle of that one. So what belongs together stays together.
///
/// A node whose middle is the group's stays where it is, as does what is in a group alone. Several roots of a scene are as the
/// nodes of a group.
///
/// Thread safety: never changes once made, so any number of threads may use it.
class MIREL_DRAW_API Explosion {
 public:
  explicit Explosion(const DrawScene& scene);

  /// How far each placement of the scene moves, in mm, scene coordinates, when all distances from the middles are
  /// doubled. Half of an offset is half of the way: what lies between can be shown with a slider. See
  /// `GLRenderer::SetOffsets` and `DrawScene::Move`.
  const std::vector<glm::vec3>& GetOffsets() const { return offsets_; }

 private:
  std::vector<glm::vec3> offsets_;
};

}  // namespace mirel
