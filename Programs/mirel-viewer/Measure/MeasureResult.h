#pragma once

#include <Viewer/Measure/MeasureUnit.h>

#include <glm/vec3.hpp>

#include <QString>

#include <vector>

namespace mirel {

class SceneNode;
struct BodyMeasure;
struct EdgeMeasure;
struct FaceMeasure;
struct Separation;

/// One measured value with its name.
struct MeasuredValue {
  enum class Kind { kLength, kArea, kVolume, kAngle, kPlace };

  QString name;
  Kind kind = Kind::kLength;
  glm::dvec3 value{0.0};  ///< in mm and its powers, and radians; the first number alone but for a place

  QString Format(const MeasureUnit& unit) const;
};

/// What one measuring gave. Plain numbers: it stays when the model goes.
struct MeasureResult {
  QString title;
  std::vector<MeasuredValue> values;  ///< the first is what the label in the picture says
  glm::dvec3 anchor{0.0};             ///< where the label points to
  std::vector<glm::dvec3> line;       ///< from where to where a distance was measured, or nothing
  const SceneNode* root = nullptr;    ///< what it belongs to, null for several; never looked into

  static MeasureResult OfPoint(const glm::dvec3& point, const QString& kind);
  static MeasureResult OfEdge(const EdgeMeasure& edge);
  static MeasureResult OfFace(const FaceMeasure& face);
  /// Of so many bodies together.
  static MeasureResult OfBodies(const BodyMeasure& bodies, std::size_t count);
  static MeasureResult OfSeparation(const Separation& separation);

  /// What it weighs, for a density in g/cm³; empty when it has no volume or the density is 0.
  QString FormatMass(double density) const;

  /// A line for the title and one for each value, with tabs between name and value.
  QString MakeText(const MeasureUnit& unit, double density) const;
};

}  // namespace mirel
