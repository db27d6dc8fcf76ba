#include <Programs/mirel-viewer/Measure/MeasureResult.h>

#include <Viewer/Measure/PartMeasures.h>
#include <Viewer/Measure/Separation.h>

#include <QCoreApplication>

namespace mirel {

namespace {

using Kind = MeasuredValue::Kind;

QString Translate(const char* text) {
  return QCoreApplication::translate("Measure", text);
}

void Add(MeasureResult& result, const char* name, Kind kind, double value) {
  result.values.push_back({Translate(name), kind, glm::dvec3(value)});
}

void Add(MeasureResult& result, const char* name, const glm::dvec3& place) {
  result.values.push_back({Translate(name), Kind::kPlace, place});
}

const char* NameOf(SurfaceKind kind) {
  switch (kind) {
  case SurfaceKind::kPlane:
    return "Plane";
  case SurfaceKind::kCylinder:
    return "Cylinder";
  case SurfaceKind::kCone:
    return "Cone";
  case SurfaceKind::kSphere:
    return "Sphere";
  case SurfaceKind::kTorus:
    return "Torus";
  case SurfaceKind::kOther:
    break;
  }
  return "Face";
}

const char* NameOf(const EdgeMeasure& edge) {
  switch (edge.kind) {
  case CurveKind::kLine:
    return "Line";
  case CurveKind::kCircle:
    return edge.isClosed ? "Circle" : "Arc";
  case CurveKind::kEllipse:
    return edge.isClosed ? "Ellipse" : "Arc of an ellipse";
  case CurveKind::kOther:
    break;
  }
  return "Edge";
}

}  // namespace

QString MeasuredValue::Format(const MeasureUnit& unit) const {
  std::string text;
  switch (kind) {
  case Kind::kLength:
    text = unit.FormatLength(value.x);
    break;
  case Kind::kArea:
    text = unit.FormatArea(value.x);
    break;
  case Kind::kVolume:
    text = unit.FormatVolume(value.x);
    break;
  case Kind::kAngle:
    text = MeasureUnit::FormatAngle(value.x);
    break;
  case Kind::kPlace:
    text = unit.FormatPlace(value.x, value.y, value.z);
    break;
  }
  return QString::fromStdString(text);
}

MeasureResult MeasureResult::OfPoint(const glm::dvec3& point, const QString& kind) {
  MeasureResult result;
  result.title = kind;
  result.anchor = point;
  Add(result, "Position", point);
  return result;
}

MeasureResult MeasureResult::OfEdge(const EdgeMeasure& edge) {
  MeasureResult result;
  result.title = Translate(NameOf(edge));
  result.anchor = edge.middle;
  const bool isRound = edge.kind == CurveKind::kCircle;
  if (isRound) {
    Add(result, "Radius", Kind::kLength, edge.radius);
    Add(result, "Diameter", Kind::kLength, 2.0 * edge.radius);
  }
  Add(result, "Length", Kind::kLength, edge.length);
  if (edge.kind == CurveKind::kEllipse) {
    Add(result, "Larger radius", Kind::kLength, edge.radius);
    Add(result, "Smaller radius", Kind::kLength, edge.minorRadius);
  }
  if (isRound || edge.kind == CurveKind::kEllipse) {
    Add(result, "Center", edge.axis->point);
  }
  if (!edge.isClosed) {
    Add(result, "Start", edge.start);
    Add(result, "End", edge.end);
  }
  return result;
}

MeasureResult MeasureResult::OfFace(const FaceMeasure& face) {
  MeasureResult result;
  result.title = Translate(NameOf(face.kind));
  result.anchor = face.centre;
  if (face.radius > 0.0) {
    Add(result, "Radius", Kind::kLength, face.radius);
    Add(result, "Diameter", Kind::kLength, 2.0 * face.radius);
  }
  if (face.tubeRadius > 0.0) {
    Add(result, "Radius of the tube", Kind::kLength, face.tubeRadius);
  }
  if (face.halfAngle > 0.0) {
    Add(result, "Half angle", Kind::kAngle, face.halfAngle);
  }
  Add(result, "Area", Kind::kArea, face.area);
  Add(result, "Length of the borders", Kind::kLength, face.perimeter);
  if (face.centreOfSphere) {
    Add(result, "Center", *face.centreOfSphere);
  }
  if (face.axis && face.kind != SurfaceKind::kPlane) {
    Add(result, face.kind == SurfaceKind::kCone ? "Apex" : "Point of the axis", face.axis->point);
  }
  return result;
}

MeasureResult MeasureResult::OfBodies(const BodyMeasure& bodies, std::size_t count) {
  MeasureResult result;
  result.title = count == 1 ? Translate("Body") : QString::number(count) + " " + Translate("bodies");
  result.anchor = bodies.centre;
  if (bodies.volume) {
    Add(result, "Volume", Kind::kVolume, *bodies.volume);
  }
  Add(result, "Area", Kind::kArea, bodies.area);
  Add(result, bodies.volume ? "Center of mass" : "Center of the area", bodies.centre);
  return result;
}

MeasureResult MeasureResult::OfSeparation(const Separation& separation) {
  MeasureResult result;
  result.title = Translate("Distance");
  result.anchor = (separation.from + separation.to) * 0.5;
  result.line = {separation.from, separation.to};
  Add(result, "Distance", Kind::kLength, separation.distance);
  if (separation.parallelDistance) {
    Add(result, "Between the parallels", Kind::kLength, *separation.parallelDistance);
  }
  if (separation.centreDistance) {
    Add(result, "Between the centers", Kind::kLength, *separation.centreDistance);
  }
  if (separation.angle) {
    Add(result, "Angle", Kind::kAngle, *separation.angle);
  }
  Add(result, "Along x, y, z", separation.to - separation.from);
  return result;
}

QString MeasureResult::FormatMass(double density) const {
  if (density <= 0.0 || values.empty() || values[0].kind != Kind::kVolume) {
    return QString();
  }
  return QString::fromStdString(MeasureUnit::FormatMass(BodyMeasure::GetMass(values[0].value.x, density)));
}

QString MeasureResult::MakeText(const MeasureUnit& unit, double density) const {
  QString text = title + "\n";
  for (const MeasuredValue& value : values) {
    text += value.name + "\t" + value.Format(unit) + "\n";
  }
  const QString mass = FormatMass(density);
  return mass.isEmpty() ? text : text + Translate("Mass") + "\t" + mass + "\n";
}

}  // namespace mirel
