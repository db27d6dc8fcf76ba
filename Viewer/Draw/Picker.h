#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/DrawExport.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Draw/SectionPlane.h>

#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace mirel {

class SurfaceFinder;

/// What is seen at a point of a picture.
struct PickResult {
  enum class Kind { kNothing, kFace, kEdge, kVertex };

  Kind kind = Kind::kNothing;
  /// The placed body and its face; without meaning for `kNothing`. The face is from `FaceMap::kCut` on where a section
  /// plane cuts the body.
  RayHit hit;
  glm::dvec3 point{0.0};     ///< in the scene, in mm: on the face, or the nearest on the edge, or the vertex
  std::uint32_t edge = 0;    ///< for `kEdge`: position in `GRepMesh::edges`
  std::uint32_t vertex = 0;  ///< for `kVertex`: position in the vertices of the mesh
};

/// Tells what of a scene is seen where, in a view of a camera onto a picture of some size. What is picked is what
/// `PictureRenderer` draws there; ghosts are not picked.
///
/// Thread safety: never changes once made, so any number of threads may use it.
class MIREL_DRAW_API Picker {
 public:
  /// Which bodies a rectangle picks.
  enum class Reach {
    kInside,    ///< those that are seen to lie in it whole
    kTouching,  ///< those of which something lies in it
  };

  Picker(std::shared_ptr<const RayCaster> caster, const Camera& camera, const glm::dvec2& size,
         std::vector<SectionPlane> sections = {});
  ~Picker();

  /// What is seen at a point. Within `tolerance` pixels of it a vertex comes before an edge, an edge before a face, and a
  /// body beside the point before nothing. With a tolerance of 0 only faces are found, in a microsecond.
  PickResult Pick(const glm::dvec2& point, double tolerance = 0.0) const;

  /// The placements that a rectangle with two opposite corners picks, in ascending order, also what is hidden behind
  /// others. What section planes take away does not count as touching.
  std::vector<std::uint32_t> PickRectangle(const glm::dvec2& corner, const glm::dvec2& opposite,
                                           Reach reach) const;

 private:
  void Snap(const glm::dvec2& point, double tolerance, PickResult& result) const;

  std::shared_ptr<const RayCaster> caster_;
  const Camera camera_;
  const glm::dvec2 size_;
  const std::vector<SectionPlane> sections_;
  std::unique_ptr<SurfaceFinder> finder_;
};

}  // namespace mirel
