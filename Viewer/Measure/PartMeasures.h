#pragma once

#include <Viewer/Measure/ExactPart.h>

#include <glm/vec3.hpp>

#include <optional>
#include <vector>

namespace mirel {

/// What is measured of one part. Lengths are millimetres, places and directions those of the scene, directions unit
/// vectors. Nothing is returned for a part of another kind, and when OpenCASCADE cannot measure it. Thread safe.

/// A straight line that a curve or a surface turns around, or lies along.
struct MeasuredAxis {
  glm::dvec3 point{0.0};
  glm::dvec3 direction{0.0};
};

enum class CurveKind { kOther, kLine, kCircle, kEllipse };

struct EdgeMeasure {
  CurveKind kind = CurveKind::kOther;
  double length = 0.0;
  bool isClosed = false;
  glm::dvec3 start{0.0};
  glm::dvec3 middle{0.0};  ///< half of the length along the edge
  glm::dvec3 end{0.0};
  /// Of a line, through its start and along it; of a circle and an ellipse, through the centre and across the plane.
  std::optional<MeasuredAxis> axis;
  /// Of a circle; of an ellipse, the larger one and the smaller one.
  double radius = 0.0;
  double minorRadius = 0.0;
};

enum class SurfaceKind { kOther, kPlane, kCylinder, kCone, kSphere, kTorus };

struct FaceMeasure {
  SurfaceKind kind = SurfaceKind::kOther;
  double area = 0.0;
  double perimeter = 0.0;  ///< of all its borders; seams do not count
  glm::dvec3 centre{0.0};  ///< centre of its area, which need not lie on it
  /// Of a plane, its normal out of the material; of a cylinder, cone and torus, the axis of revolution (a cone's begins
  /// at the apex and points into it); of a sphere, nothing.
  std::optional<MeasuredAxis> axis;
  std::optional<glm::dvec3> centreOfSphere;
  /// Of a cylinder and a sphere; of a torus, that of the circle which the tube follows.
  double radius = 0.0;
  double tubeRadius = 0.0;  ///< of a torus
  double halfAngle = 0.0;   ///< of a cone, in radians
};

struct BodyMeasure {
  double area = 0.0;
  /// Of its solids and closed shells; none when it has no such, as surfaces and wires.
  std::optional<double> volume;
  /// Of the volume if there is one, else of the area.
  glm::dvec3 centre{0.0};
  /// Principal moments of inertia about the centre for a density of 1, the smallest first: of the volume if there is one
  /// (mm⁵), else of the area (mm⁴). Of a single body only.
  std::optional<glm::dvec3> moments;

  /// Both together, as if nothing of them overlapped; a volume only when both have one.
  BodyMeasure& operator+=(const BodyMeasure& other);

  /// In grams, for a density in grams per cubic centimetre (steel 7.85, aluminium 2.70, water 1).
  std::optional<double> GetMass(double density) const;
  /// The same of a volume in mm³.
  static double GetMass(double volume, double density);
};

std::optional<EdgeMeasure> MeasureEdge(const ExactPart& edge);
std::optional<FaceMeasure> MeasureFace(const ExactPart& face);
std::optional<BodyMeasure> MeasureBody(const ExactPart& body);

/// A place that people mean when they click near it.
struct SnapPoint {
  enum class Kind { kVertex, kMiddle, kCentre };

  Kind kind = Kind::kVertex;
  glm::dvec3 point{0.0};
};

/// Of an edge: its ends, its middle and the centre of its circle or ellipse. Of a face: those of all its edges, and the
/// centre of its sphere. Of a body or a point: nothing.
std::vector<SnapPoint> FindSnapPoints(const ExactPart& part);

}  // namespace mirel
