#include <Viewer/Measure/PartMeasures.h>

#include <BRepAdaptor_Curve.hxx>
#include <BRepAdaptor_Surface.hxx>
#include <BRepGProp.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <GCPnts_AbscissaPoint.hxx>
#include <GProp_GProps.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <gp_Circ.hxx>
#include <gp_Cone.hxx>
#include <gp_Cylinder.hxx>
#include <gp_Elips.hxx>
#include <gp_Lin.hxx>
#include <gp_Mat.hxx>
#include <gp_Pln.hxx>
#include <gp_Sphere.hxx>
#include <gp_Torus.hxx>
#include <math_Jacobi.hxx>
#include <math_Matrix.hxx>

#include <glm/glm.hpp>

#include <algorithm>
#include <cmath>

namespace mirel {
namespace {

glm::dvec3 Vector(const gp_XYZ& xyz) {
  return {xyz.X(), xyz.Y(), xyz.Z()};
}

MeasuredAxis Axis(const gp_Ax1& axis) {
  return {Vector(axis.Location().XYZ()), Vector(axis.Direction().XYZ())};
}

EdgeMeasure Describe(const BRepAdaptor_Curve& curve) {
  EdgeMeasure measure;
  switch (curve.GetType()) {
  case GeomAbs_Line:
    measure.kind = CurveKind::kLine;
    measure.axis = Axis(curve.Line().Position());
    break;
  case GeomAbs_Circle:
    measure.kind = CurveKind::kCircle;
    measure.axis = Axis(curve.Circle().Axis());
    measure.radius = curve.Circle().Radius();
    break;
  case GeomAbs_Ellipse:
    measure.kind = CurveKind::kEllipse;
    measure.axis = Axis(curve.Ellipse().Axis());
    measure.radius = curve.Ellipse().MajorRadius();
    measure.minorRadius = curve.Ellipse().MinorRadius();
    break;
  default:
    break;
  }
  return measure;
}

FaceMeasure Describe(const BRepAdaptor_Surface& surface, bool isReversed) {
  FaceMeasure measure;
  switch (surface.GetType()) {
  case GeomAbs_Plane: {
    const gp_Pln plane = surface.Plane();
    measure.kind = SurfaceKind::kPlane;
    measure.axis = Axis(plane.Axis());
    // The normal of a surface is that of its parameters, which a left-handed frame turns round.
    if (isReversed == plane.Direct()) measure.axis->direction *= -1.0;
    break;
  }
  case GeomAbs_Cylinder:
    measure.kind = SurfaceKind::kCylinder;
    measure.axis = Axis(surface.Cylinder().Axis());
    measure.radius = surface.Cylinder().Radius();
    break;
  case GeomAbs_Cone: {
    const gp_Cone cone = surface.Cone();
    measure.kind = SurfaceKind::kCone;
    measure.axis = Axis(cone.Axis());
    measure.axis->point = Vector(cone.Apex().XYZ());
    if (cone.SemiAngle() < 0.0) measure.axis->direction *= -1.0;
    measure.halfAngle = std::abs(cone.SemiAngle());
    break;
  }
  case GeomAbs_Sphere:
    measure.kind = SurfaceKind::kSphere;
    measure.centreOfSphere = Vector(surface.Sphere().Location().XYZ());
    measure.radius = surface.Sphere().Radius();
    break;
  case GeomAbs_Torus:
    measure.kind = SurfaceKind::kTorus;
    measure.axis = Axis(surface.Torus().Axis());
    measure.radius = surface.Torus().MajorRadius();
    measure.tubeRadius = surface.Torus().MinorRadius();
    break;
  default:
    break;
  }
  return measure;
}

double MeasureBorders(const TopoDS_Face& face) {
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(face, TopAbs_EDGE, edges);
  double length = 0.0;
  for (int i = 1; i <= edges.Extent(); ++i) {
    const TopoDS_Edge& edge = TopoDS::Edge(edges(i));
    if (BRep_Tool::Degenerated(edge) || BRepTools::IsReallyClosed(edge, face)) continue;
    length += GCPnts_AbscissaPoint::Length(BRepAdaptor_Curve(edge));
  }
  return length;
}

// Size, centre and inertia of parts together.
struct Amount {
  double size = 0.0;
  glm::dvec3 moment{0.0};
  glm::dmat3 inertia{0.0};  // about the origin

  // Mirrored parts come out negative.
  void Add(const GProp_GProps& part) {
    const double sign = part.Mass() < 0.0 ? -1.0 : 1.0;
    const glm::dvec3 centre = Vector(part.CentreOfMass().XYZ());
    const gp_Mat own = part.MatrixOfInertia();
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row)
        inertia[column][row] += sign * own(row + 1, column + 1);
    size += sign * part.Mass();
    moment += sign * part.Mass() * centre;
    inertia += Shift(sign * part.Mass(), centre);
  }

  glm::dvec3 GetCentre() const { return moment / size; }

  glm::dvec3 GetMoments() const {
    const glm::dmat3 own = inertia - Shift(size, GetCentre());
    math_Matrix matrix(1, 3, 1, 3);
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row)
        matrix(row + 1, column + 1) = own[column][row];
    const math_Jacobi solution(matrix);
    if (!solution.IsDone()) return glm::dvec3(0.0);
    glm::dvec3 moments(solution.Value(1), solution.Value(2), solution.Value(3));
    std::sort(&moments[0], &moments[0] + 3);
    return moments;
  }

 private:
  // The theorem of parallel axes.
  static glm::dmat3 Shift(double mass, const glm::dvec3& by) {
    return mass * (glm::dot(by, by) * glm::dmat3(1.0) - glm::outerProduct(by, by));
  }
};

// Part by part, because shells whose faces look inwards, and mirrored ones, come out negative.
Amount MeasureVolume(const TopoDS_Shape& body) {
  Amount sum;
  const auto add = [&sum](const TopoDS_Shape& part) {
    GProp_GProps volume;
    BRepGProp::VolumeProperties(part, volume);
    sum.Add(volume);
  };
  for (TopExp_Explorer solids(body, TopAbs_SOLID); solids.More(); solids.Next())
    add(solids.Current());
  for (TopExp_Explorer shells(body, TopAbs_SHELL, TopAbs_SOLID); shells.More(); shells.Next())
    if (BRep_Tool::IsClosed(shells.Current())) add(shells.Current());
  return sum;
}

EdgeMeasure MeasureCurve(const TopoDS_Edge& edge) {
  const BRepAdaptor_Curve curve(edge);
  EdgeMeasure measure = Describe(curve);
  const double first = curve.FirstParameter();
  const double last = curve.LastParameter();
  measure.length = GCPnts_AbscissaPoint::Length(curve);
  measure.start = Vector(curve.Value(first).XYZ());
  measure.end = Vector(curve.Value(last).XYZ());
  const GCPnts_AbscissaPoint middle(curve, measure.length / 2.0, first);
  measure.middle = Vector(curve.Value(middle.IsDone() ? middle.Parameter() : (first + last) / 2.0).XYZ());
  measure.isClosed = glm::distance(measure.start, measure.end) <= BRep_Tool::Tolerance(edge);
  if (measure.kind == CurveKind::kLine) measure.axis->point = measure.start;
  return measure;
}

FaceMeasure MeasureSurface(const TopoDS_Face& face) {
  FaceMeasure measure = Describe(BRepAdaptor_Surface(face, false), face.Orientation() == TopAbs_REVERSED);
  GProp_GProps area;
  BRepGProp::SurfaceProperties(face, area);
  measure.area = std::abs(area.Mass());
  measure.centre = Vector(area.CentreOfMass().XYZ());
  measure.perimeter = MeasureBorders(face);
  return measure;
}

BodyMeasure MeasureSolids(const TopoDS_Shape& body) {
  BodyMeasure measure;
  GProp_GProps area;
  BRepGProp::SurfaceProperties(body, area);
  measure.area = std::abs(area.Mass());
  measure.centre = Vector(area.CentreOfMass().XYZ());
  Amount amount = MeasureVolume(body);
  if (amount.size > 0.0) {
    measure.volume = amount.size;
    measure.centre = amount.GetCentre();
  } else {
    amount.Add(area);
  }
  if (amount.size > 0.0) measure.moments = amount.GetMoments();
  return measure;
}

// OpenCASCADE throws on geometry that it cannot handle.
template <class Measure, class Shape>
std::optional<Measure> Try(Measure (*measure)(const Shape&), const Shape& shape) {
  try {
    return measure(shape);
  } catch (const Standard_Failure&) {
    return std::nullopt;
  }
}

void AddSnapPoints(const TopoDS_Edge& edge, std::vector<SnapPoint>& points) {
  if (BRep_Tool::Degenerated(edge)) return;
  const std::optional<EdgeMeasure> measure = Try(MeasureCurve, edge);
  if (!measure) return;
  points.push_back({SnapPoint::Kind::kVertex, measure->start});
  if (!measure->isClosed) points.push_back({SnapPoint::Kind::kVertex, measure->end});
  points.push_back({SnapPoint::Kind::kMiddle, measure->middle});
  if (measure->kind == CurveKind::kCircle || measure->kind == CurveKind::kEllipse)
    points.push_back({SnapPoint::Kind::kCentre, measure->axis->point});
}

// Edges of one face share their ends.
void AddNew(const std::vector<SnapPoint>& more, std::vector<SnapPoint>& points) {
  for (const SnapPoint& point : more) {
    const bool isKnown = std::any_of(points.begin(), points.end(), [&point](const SnapPoint& known) {
      return known.kind == point.kind && known.point == point.point;
    });
    if (!isKnown) points.push_back(point);
  }
}

}  // namespace

BodyMeasure& BodyMeasure::operator+=(const BodyMeasure& other) {
  const bool haveVolume = volume && other.volume;
  const double mine = haveVolume ? *volume : area;
  const double others = haveVolume ? *other.volume : other.area;
  if (mine + others > 0.0) centre = (mine * centre + others * other.centre) / (mine + others);
  area += other.area;
  volume = haveVolume ? std::optional<double>(mine + others) : std::nullopt;
  moments.reset();
  return *this;
}

std::optional<double> BodyMeasure::GetMass(double density) const {
  return volume ? std::optional(GetMass(*volume, density)) : std::nullopt;
}

double BodyMeasure::GetMass(double volume, double density) {
  constexpr double kCubicMmPerCubicCm = 1000.0;
  return volume / kCubicMmPerCubicCm * density;
}

std::optional<EdgeMeasure> MeasureEdge(const ExactPart& edge) {
  if (edge.GetKind() != ExactPart::Kind::kEdge || BRep_Tool::Degenerated(TopoDS::Edge(edge.GetShape())))
    return std::nullopt;
  return Try(MeasureCurve, TopoDS::Edge(edge.GetShape()));
}

std::optional<FaceMeasure> MeasureFace(const ExactPart& face) {
  if (face.GetKind() != ExactPart::Kind::kFace) return std::nullopt;
  return Try(MeasureSurface, TopoDS::Face(face.GetShape()));
}

std::optional<BodyMeasure> MeasureBody(const ExactPart& body) {
  if (body.GetKind() != ExactPart::Kind::kBody) return std::nullopt;
  return Try(MeasureSolids, body.GetShape());
}

std::vector<SnapPoint> FindSnapPoints(const ExactPart& part) {
  std::vector<SnapPoint> points;
  if (part.GetKind() == ExactPart::Kind::kEdge) AddSnapPoints(TopoDS::Edge(part.GetShape()), points);
  if (part.GetKind() != ExactPart::Kind::kFace) return points;
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(part.GetShape(), TopAbs_EDGE, edges);
  for (int i = 1; i <= edges.Extent(); ++i) {
    std::vector<SnapPoint> more;
    AddSnapPoints(TopoDS::Edge(edges(i)), more);
    AddNew(more, points);
  }
  const std::optional<FaceMeasure> face = Try(MeasureSurface, TopoDS::Face(part.GetShape()));
  if (face && face->centreOfSphere) points.push_back({SnapPoint::Kind::kCentre, *face->centreOfSphere});
  return points;
}

}  // namespace mirel
