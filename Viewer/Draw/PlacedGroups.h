#pragma once

#include <embree3/rtcore.h>

#include <glm/vec3.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mirel {

class DrawScene;
struct DrawBatch;

/// The placements of a batch as one geometry of Embree: neighbours in groups, of which Embree knows the boxes. For scenes of
/// very many placements: takes some twenty bytes for each, where an instance of Embree's takes four hundred. Rays take longer to
/// go through.
///
/// Beside `RayCaster.cpp` the only place that knows Embree. Thread safety: never changes once made.
class PlacedGroups {
 public:
  /// Scenes of fewer placements are better made of instances, whatever counts.
  static constexpr std::size_t kMany = 20000;

  /// `body` has the batch's body, its coordinates counted from `middle`; those of the scene are counted from `center`. All are
  /// looked into as long as the geometry is.
  PlacedGroups(const DrawScene& scene, const DrawBatch& batch, RTCScene body, const glm::dvec3& middle,
               const glm::dvec3& center);

  PlacedGroups(const PlacedGroups&) = delete;
  PlacedGroups& operator=(const PlacedGroups&) = delete;

  /// Hits have the scene's number of the placement as that of an instance. Null when memory ends.
  RTCGeometry MakeGeometry(RTCDevice device);

 private:
  struct Local;

  static constexpr std::uint32_t kGroup = 8;

  static void FindBounds(const RTCBoundsFunctionArguments* arguments);
  static void Intersect(const RTCIntersectFunctionNArguments* arguments);
  static void Occlude(const RTCOccludedFunctionNArguments* arguments);

  void SortByPlace();
  std::uint32_t CountGroups() const;
  // A ray in the body's coordinates; false when it passes far from it.
  bool Enter(std::uint32_t number, const RTCRay& ray, RTCRay& local) const;
  template <typename Action>
  void ForEach(std::uint32_t group, const Action& action) const;

  const DrawScene& scene_;
  const DrawBatch& batch_;
  const RTCScene body_;
  const glm::dvec3 middle_, center_;
  double radius_;                     // of the body, around its middle
  std::vector<std::uint32_t> order_;  // positions in the batch, neighbours beside each other
};

}  // namespace mirel
