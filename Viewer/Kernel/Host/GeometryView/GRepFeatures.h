#pragma once

#include <glm/vec3.hpp>

#include <cstdint>

namespace mirel {

enum class GRepSurfaceKind : std::uint8_t { kOther, kPlane, kCylinder, kCone, kSphere, kTorus };

/// The surface that a face lies on, in mm and in the coordinates of the body, so that a viewer can say "cylinder,
/// radius 4" and measure between faces without decoding the body. Lengths are those of the exact body, rounded to
/// 1e-9 mm, and not those of its triangles.
///
/// | kind | origin | axis | radius | second |
/// |---|---|---|---|---|
/// | plane | its point nearest to (0, 0, 0) | normal, out of the material | | distance from (0, 0, 0) along the axis |
/// | cylinder | the point of the axis nearest to (0, 0, 0) | of revolution | radius | |
/// | cone | apex | from the apex into the cone | | half angle, radians |
/// | sphere | centre | | radius | |
/// | torus | centre | of revolution | of the circle that the tube follows | of the tube |
///
/// What a cell leaves empty is zero, and so is everything of another kind of surface.
struct GRepSurface {
  GRepSurfaceKind kind = GRepSurfaceKind::kOther;
  /// Whether the material lies outside of the cylinder, cone, sphere or tube, as around a hole.
  bool isHollow = false;
  glm::dvec3 origin = glm::dvec3(0.0);
  glm::dvec3 axis = glm::dvec3(0.0);
  double radius = 0.0;
  double second = 0.0;
};

enum class GRepEdgeKind : std::uint8_t {
  kLoose,   ///< no face has it
  kBorder,  ///< one face has it, once or from one side
  kSeam,    ///< one face has it on both sides: where a closed surface such as a cylinder meets itself
  kSmooth,  ///< two faces meet, and go on in the same direction
  kSharp    ///< two faces meet at an angle, or more than two meet
};

/// What lies on both sides of an edge.
struct GRepEdgeSides {
  static constexpr std::uint32_t kNoFace = 0xFFFFFFFFu;

  GRepEdgeKind kind = GRepEdgeKind::kLoose;
  /// The faces, by their numbers in `GRepMesh::faces`: those of a smooth or sharp edge, the first two where there are
  /// more; a border's and a seam's comes first, with `kNoFace` behind.
  std::uint32_t first = kNoFace, second = kNoFace;
};

}  // namespace mirel
