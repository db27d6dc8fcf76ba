#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/FaceMap.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Draw/SectionPlane.h>

#include <glm/geometric.hpp>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>

#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <vector>

namespace mirel {

class GRepShape;

/// What is seen at one point of a picture.
struct Surface {
  std::uint32_t placement = FaceMap::kNothing;
  std::uint32_t face = 0;      ///< as in `FaceMap::Entry`
  float depth = 0.0f;          ///< mm from the eye, along the ray
  float pixel = 0.0f;          ///< the width in mm of a pixel there
  glm::vec3 point{0.0f};       ///< from the camera's target, in mm
  glm::vec3 normal{0.0f};      ///< unit, smooth, towards the viewer
  glm::vec3 flatNormal{0.0f};  ///< unit, of the triangle, towards the viewer

  bool isBack = false;  ///< seen from within the material

  bool IsSeen() const { return placement != FaceMap::kNothing; }
  bool IsCut() const { return (face & FaceMap::kCut) != 0; }
};

/// Finds what a camera sees of a scene that is cut by section planes.
class SurfaceFinder {
 public:
  SurfaceFinder(const RayCaster& caster, const Camera& camera, const glm::dvec2& size,
                const std::vector<SectionPlane>& sections);

  /// What the line of sight through a point of the picture meets first, and that line.
  RayHit FindHit(const glm::dvec2& point, Ray& ray) const;

  /// What is seen at points of the picture. Sets for each of them the surface with its place in `surfaces`, which must be
  /// new: where nothing is seen, it stays as it is. Ghosts are cut open: no caps. Points that are aside only take time.
  struct Point {
    glm::vec2 point;
    std::uint32_t place;
  };
  void Find(const std::vector<Point>& points, std::vector<Surface>& surfaces, RayCaster::Layer layer) const;

  /// True only when nothing of what rays meet is seen in a rectangle of the picture, its rim included.
  bool IsAside(const glm::vec2& low, const glm::vec2& high) const {
    if (high.x < low_.x || high.y < low_.y || low.x > high_.x || low.y > high_.y) return true;
    for (const Side& side : outline_) {
      const glm::vec2 inmost(side.outwards.x > 0.0f ? low.x : high.x,
                             side.outwards.y > 0.0f ? low.y : high.y);
      if (glm::dot(inmost, side.outwards) > side.offset) return true;
    }
    return false;
  }

  const RayCaster& GetCaster() const { return caster_; }
  const Camera& GetCamera() const { return camera_; }
  const glm::dvec2& GetSize() const { return size_; }
  const Lens& GetLens() const { return lens_; }
  const std::vector<SectionPlane>& GetSections() const { return sections_; }

  /// Shortens a ray to the part that no section plane takes away. Gives the number of the plane that it comes through
  /// first, or -1; what is left may be empty (`farthest < nearest`).
  int Clip(Ray& ray) const;

 private:
  // One side of the outline of the scene's box: all of it has at most this offset that way.
  struct Side {
    glm::vec2 outwards;
    float offset;
  };

  void FindSome(const Point* points, std::size_t count, Surface* surfaces, RayCaster::Layer layer) const;
  void FindCuts(const Point* points, std::size_t count, RayHit* hits) const;
  void FindCut(const Ray& ray, int plane, RayHit& hit) const;
  void FindExtent();
  void FindOutline(const std::vector<glm::dvec2>& corners);

  const RayCaster& caster_;
  const Camera& camera_;
  const glm::dvec2 size_;
  const Lens lens_;
  const glm::vec3 center_, eye_, forward_;  // the middle of the scene and the eye, from the camera's target
  glm::vec2 low_, high_;                    // nothing is seen outside this part of the picture
  std::vector<Side> outline_;               // nor beyond any of these
  const std::vector<SectionPlane>& sections_;
  std::unordered_set<const GRepShape*> closed_;  // only filled where there are sections
};

}  // namespace mirel
