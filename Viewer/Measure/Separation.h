#pragma once

#include <Viewer/Measure/ExactPart.h>

#include <glm/vec3.hpp>

#include <functional>
#include <optional>

namespace mirel {

/// How two parts lie to each other. Lengths are millimetres, places those of the scene, angles radians.
struct Separation {
  /// The shortest distance, 0 where they touch or one lies in the other, and between which places it is.
  double distance = 0.0;
  glm::dvec3 from{0.0};
  glm::dvec3 to{0.0};

  /// Between their directions: of planes the normal, of lines and of all that turns around an axis the axis. From 0 to a
  /// right angle, as lines cross; between a plane and a line, that of the line and the plane itself.
  std::optional<double> angle;
  /// Between two planes, lines or axes that are parallel, however far they reach: the thickness of a wall, from hole to
  /// hole.
  std::optional<double> parallelDistance;
  /// Between two centres, of circles, ellipses and spheres, or a centre and a point.
  std::optional<double> centreDistance;
};

/// Measures from one part to another. Asks `isCancelled` from time to time: bodies with many curved faces may take
/// seconds. Nothing when it says yes, or when OpenCASCADE finds no distance. Thread safe.
std::optional<Separation> MeasureSeparation(
    const ExactPart& from, const ExactPart& to,
    const std::function<bool()>& isCancelled = [] { return false; });

}  // namespace mirel
