#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/DrawExport.h>

#include <glm/geometric.hpp>
#include <glm/vec3.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mirel {

class DrawScene;

/// Where a ray meets a body.
struct RayHit {
  /// `placement` when nothing is met.
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  double distance = 0.0;            ///< along the ray, in mm
  std::uint32_t placement = kNone;  ///< the scene's number of the placed body
  std::uint32_t face = 0;           ///< position in `GRepMesh::faces`
  std::uint32_t triangle = 0;       ///< number of the triangle in the mesh
  glm::vec3 normal{0.0f};      ///< unit, out of the material, interpolated between the triangle's corners
  glm::vec3 flatNormal{0.0f};  ///< the same of the flat triangle
  bool fromInside = false;     ///< whether the ray comes out of the material here

  bool IsHit() const { return placement != kNone; }
};

/// The part of a ray that lies in a scene, in numbers as short as they can be without losing anything: `origin` from
/// `RayCaster::GetCenter`. Rays of a length below 0 meet nothing.
struct ShortRay {
  glm::vec3 origin{0.0f};
  glm::vec3 direction{0.0f, 0.0f, 1.0f};  ///< of unit length
  float length = -1.0f;                   ///< in mm
};

/// Finds what rays meet in a scene. Memory and the time of a ray hardly grow with the number of placements.
///
/// The same scene and rays give the same hits, bit by bit on one machine, whatever threads do. Distances are exact to
/// single precision of the scene's size, wherever in space it lies.
///
/// Thread safety: never changes once made, so any number of threads may use it.
class MIREL_DRAW_API RayCaster {
 public:
  /// Which bodies are met.
  enum class Layer { kSolid, kGhost };

  /// What counts most where very many bodies are placed, 20,000 or more: how fast rays are, or memory. A placed body takes some
  /// 400 bytes or 8; rays find the same.
  enum class Aim { kSpeed, kMemory };

  /// Keeps the scene. Takes a second for a million placements. Throws std::bad_alloc when memory ends.
  explicit RayCaster(std::shared_ptr<const DrawScene> scene, Aim aim = Aim::kSpeed);
  ~RayCaster();

  RayCaster(const RayCaster&) = delete;
  RayCaster& operator=(const RayCaster&) = delete;

  const DrawScene& GetScene() const { return *scene_; }

  /// The first hit of each of `count` rays. Rays that go much the same way are faster together. A ray that is not
  /// finite meets nothing.
  void Cast(const Ray* rays, RayHit* hits, std::size_t count, Layer layer = Layer::kSolid) const;

  /// The first hit of one ray.
  RayHit Cast(const Ray& ray, Layer layer = Layer::kSolid) const;

  /// Whether anything solid is met at all, for each ray: sets `blocked[i]` to 1 or 0.
  void FindBlocked(const Ray* rays, std::uint8_t* blocked, std::size_t count) const;

  /// The middle of the scene's box.
  const glm::dvec3& GetCenter() const { return center_; }

  /// The part of a ray that lies in the sphere around the scene. It begins so many mm from the ray's origin.
  ShortRay Shorten(const Ray& ray, double& start) const;

  /// `Cast` and `FindBlocked` for short rays, which take less time; distances are from their origins.
  void Cast(const ShortRay* rays, RayHit* hits, std::size_t count, Layer layer = Layer::kSolid) const;
  void FindBlocked(const ShortRay* rays, std::uint8_t* blocked, std::size_t count) const;

  /// All hits with solid bodies along a ray, nearest first.
  std::vector<RayHit> CastThrough(const Ray& ray) const;

 private:
  struct Index;

  std::shared_ptr<const DrawScene> scene_;
  glm::dvec3 center_ = glm::dvec3(0.0);
  double radius_ = 0.0;
  std::unique_ptr<Index> index_;
};

inline ShortRay RayCaster::Shorten(const Ray& ray, double& start) const {
  ShortRay result;
  const double middle = glm::dot(center_ - ray.origin, ray.direction);
  start = std::max(ray.nearest, middle - radius_);
  const double end = std::min(ray.farthest, middle + radius_);
  const glm::dvec3 from = ray.origin + ray.direction * start - center_;
  // So written that nothing passes which is not finite.
  if (!(start <= end) || !(glm::dot(from, from) < 1e30)) return result;
  result.origin = glm::vec3(from);
  result.direction = glm::vec3(ray.direction);
  result.length = static_cast<float>(end - start);
  return result;
}

}  // namespace mirel
