#pragma once

#include <glm/geometric.hpp>
#include <glm/vec3.hpp>

namespace mirel {

/// A plane that cuts a scene for the eye: what lies in front of it, where its normal points, is not drawn. Several
/// planes leave what is behind all of them.
struct SectionPlane {
  glm::dvec3 normal{0.0, 0.0, 1.0};  ///< of unit length, in scene coordinates
  double offset = 0.0;               ///< of the plane from the origin along the normal, in mm

  /// How far a point lies in front of the plane, in mm; negative behind it.
  double GetDistance(const glm::dvec3& point) const { return glm::dot(normal, point) - offset; }
};

}  // namespace mirel
