#include <Viewer/Kernel/Host/GeometryView/BodyFeatures.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <BRepAdaptor_Surface.hxx>
#include <BRep_Tool.hxx>
#include <Geom2d_Curve.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedDataMapOfShapeListOfShape.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>

#include <cmath>
#include <memory>
#include <vector>

namespace mirel {
namespace {

// Faces that meet at less go on smoothly for the eye, and for those who fillet: 1.1 degrees.
constexpr double kSmoothAngle = 0.02;
// Where the faces on both sides of an edge are compared, as shares of its length.
constexpr double kSamples[] = {0.5, 0.06, 0.94};
// An axis that is off by less is one of the coordinate axes.
constexpr double kAxisNoise = 1e-12;
// Lengths are rounded to this part of a mm as long as doubles have more digits than that.
constexpr double kPartsOfMm = 1e9;
constexpr double kMostRounded = 1e6;

double Round(double length) {
  const double rounded =
      std::abs(length) < kMostRounded ? std::nearbyint(length * kPartsOfMm) / kPartsOfMm : length;
  return rounded + 0.0;  // no negative zero
}

glm::dvec3 Vector(const gp_XYZ& xyz) {
  return {xyz.X(), xyz.Y(), xyz.Z()};
}

glm::dvec3 Round(const glm::dvec3& point) {
  return {Round(point.x), Round(point.y), Round(point.z)};
}

glm::dvec3 Axis(const gp_Dir& direction) {
  glm::dvec3 axis = Vector(direction.XYZ());
  for (int i = 0; i < 3; ++i)
    if (std::abs(axis[i]) > 0.5 && std::abs(axis[(i + 1) % 3]) < kAxisNoise &&
        std::abs(axis[(i + 2) % 3]) < kAxisNoise) {
      const double sign = axis[i] < 0.0 ? -1.0 : 1.0;
      axis = glm::dvec3(0.0);
      axis[i] = sign;
    }
  return axis;
}

// Of the two directions of an axis of revolution, the one whose first component that is not zero is positive.
glm::dvec3 Upward(glm::dvec3 axis) {
  for (int i = 0; i < 3; ++i)
    if (axis[i] != 0.0) return axis[i] < 0.0 ? -axis + 0.0 : axis;
  return axis;
}

bool IsFinite(const GRepSurface& surface) {
  const auto isNumber = [](double value) { return std::abs(value) <= kMaxMeshCoordinate; };
  return isNumber(surface.origin.x) && isNumber(surface.origin.y) && isNumber(surface.origin.z) &&
         isNumber(surface.radius) && isNumber(surface.second) &&
         (surface.kind == GRepSurfaceKind::kSphere || std::abs(glm::length(surface.axis) - 1.0) < 1e-9);
}

// The surface without regard to the side on which the material lies.
GRepSurface Describe(const BRepAdaptor_Surface& face, const gp_Trsf& placement) {
  GRepSurface surface;
  switch (face.GetType()) {
  case GeomAbs_Plane: {
    const gp_Ax1 normal = face.Plane().Axis().Transformed(placement);
    surface.kind = GRepSurfaceKind::kPlane;
    surface.axis = Axis(normal.Direction());
    surface.origin = Vector(normal.Location().XYZ());
    break;
  }
  case GeomAbs_Cylinder: {
    const gp_Cylinder cylinder = face.Cylinder().Transformed(placement);
    surface.kind = GRepSurfaceKind::kCylinder;
    surface.axis = Upward(Axis(cylinder.Axis().Direction()));
    const glm::dvec3 point = Vector(cylinder.Location().XYZ());
    surface.origin = Round(point - glm::dot(point, surface.axis) * surface.axis);
    surface.radius = Round(cylinder.Radius());
    break;
  }
  case GeomAbs_Cone: {
    const gp_Cone cone = face.Cone().Transformed(placement);
    surface.kind = GRepSurfaceKind::kCone;
    surface.axis = Axis(cone.Axis().Direction());
    if (cone.SemiAngle() < 0.0) surface.axis = -surface.axis + 0.0;
    surface.origin = Round(Vector(cone.Apex().XYZ()));
    surface.second = std::abs(cone.SemiAngle());
    break;
  }
  case GeomAbs_Sphere: {
    const gp_Sphere sphere = face.Sphere().Transformed(placement);
    surface.kind = GRepSurfaceKind::kSphere;
    surface.origin = Round(Vector(sphere.Location().XYZ()));
    surface.radius = Round(sphere.Radius());
    break;
  }
  case GeomAbs_Torus: {
    const gp_Torus torus = face.Torus().Transformed(placement);
    surface.kind = GRepSurfaceKind::kTorus;
    surface.axis = Upward(Axis(torus.Axis().Direction()));
    surface.origin = Round(Vector(torus.Location().XYZ()));
    surface.radius = Round(torus.MajorRadius());
    surface.second = Round(torus.MinorRadius());
    break;
  }
  default:
    break;
  }
  return IsFinite(surface) ? surface : GRepSurface();
}

// The direction in which a surface leaves what is inside it, at a point on it.
glm::dvec3 Outward(const GRepSurface& surface, const glm::dvec3& point) {
  const glm::dvec3 fromOrigin = point - surface.origin;
  const glm::dvec3 fromAxis = fromOrigin - glm::dot(fromOrigin, surface.axis) * surface.axis;
  switch (surface.kind) {
  case GRepSurfaceKind::kPlane:
    return surface.axis;
  case GRepSurfaceKind::kSphere:
    return fromOrigin;
  case GRepSurfaceKind::kTorus: {
    const double distance = glm::length(fromAxis);
    return distance > 0.0 ? fromOrigin - surface.radius / distance * fromAxis : fromAxis;
  }
  default:
    return fromAxis;
  }
}

// The material is where the normals of the mesh come from: they already know of reversed faces and mirrored bodies.
void SetSide(const GRepMesh& mesh, const GRepFace& range, GRepSurface& surface) {
  double side = 0.0;
  if (range.vertexCount > 0)
    side = glm::dot(Outward(surface, mesh.GetPosition(range.firstVertex)),
                    glm::dvec3(mesh.GetNormal(range.firstVertex)));
  if (surface.kind == GRepSurfaceKind::kPlane) {
    if (side < 0.0) surface.axis = -surface.axis + 0.0;
    surface.second = Round(glm::dot(surface.origin, surface.axis));
    surface.origin = surface.second * surface.axis + 0.0;
  } else if (surface.kind != GRepSurfaceKind::kOther) {
    surface.isHollow = side < 0.0;
  }
}

// The faces of a body, ready to be asked for normals.
class Faces {
 public:
  explicit Faces(const TopoDS_Shape& body) {
    TopExp::MapShapes(body, TopAbs_FACE, map_);
    adaptors_.resize(static_cast<std::size_t>(map_.Extent()));
  }

  int Count() const { return map_.Extent(); }
  std::uint32_t Find(const TopoDS_Shape& face) const {
    return static_cast<std::uint32_t>(map_.FindIndex(face) - 1);
  }
  const TopoDS_Face& Get(std::uint32_t face) const { return TopoDS::Face(map_(static_cast<int>(face) + 1)); }

  // Null for a face that has no surface.
  const BRepAdaptor_Surface* Adaptor(std::uint32_t face) {
    std::unique_ptr<BRepAdaptor_Surface>& adaptor = adaptors_[face];
    TopLoc_Location location;
    if (!adaptor && !BRep_Tool::Surface(Get(face), location).IsNull())
      adaptor = std::make_unique<BRepAdaptor_Surface>(Get(face), Standard_False);
    return adaptor.get();
  }

  // The normal of a face at a share of the length of one of its edges, out of the material; false where it has none.
  bool Normal(std::uint32_t face, const TopoDS_Edge& edge, double share, gp_Vec& normal) {
    const BRepAdaptor_Surface* const surface = Adaptor(face);
    if (!surface) return false;
    gp_Pnt2d uv(0.0, 0.0);
    if (surface->GetType() != GeomAbs_Plane) {  // whose normal is the same everywhere
      double first = 0.0, last = 0.0;
      const Handle(Geom2d_Curve) curve = BRep_Tool::CurveOnSurface(edge, Get(face), first, last);
      if (curve.IsNull()) return false;
      uv = curve->Value(first + share * (last - first));
    }
    gp_Pnt point;
    gp_Vec du, dv;
    surface->D1(uv.X(), uv.Y(), point, du, dv);
    normal = du.Crossed(dv);
    const double size = normal.Magnitude();
    if (!(size > 1e-6 * du.Magnitude() * dv.Magnitude()) || !(size > 0.0)) return false;
    normal /= Get(face).Orientation() == TopAbs_REVERSED ? -size : size;
    return true;
  }

 private:
  TopTools_IndexedMapOfShape map_;
  std::vector<std::unique_ptr<BRepAdaptor_Surface>> adaptors_;
};

// What reads STEP says of an edge whether it is smooth; others do not, and then the faces are compared.
bool IsSmooth(Faces& faces, const TopoDS_Edge& edge, const GRepEdgeSides& sides) {
  const TopoDS_Face &first = faces.Get(sides.first), &second = faces.Get(sides.second);
  if (BRep_Tool::HasContinuity(edge, first, second))
    return BRep_Tool::Continuity(edge, first, second) > GeomAbs_C0;
  bool isCompared = false;
  for (const double share : kSamples) {
    gp_Vec a, b;
    if (!faces.Normal(sides.first, edge, share, a) || !faces.Normal(sides.second, edge, share, b)) continue;
    if (!(a.Dot(b) > std::cos(kSmoothAngle))) return false;
    isCompared = true;
  }
  return isCompared;
}

GRepEdgeSides FindSides(Faces& faces, const TopoDS_Edge& edge, const TopTools_ListOfShape& owners) {
  GRepEdgeSides sides;
  bool hasMore = false;
  for (const TopoDS_Shape& owner : owners) {
    const std::uint32_t face = faces.Find(owner);
    if (sides.first == GRepEdgeSides::kNoFace)
      sides.first = face;
    else if (face != sides.first && sides.second == GRepEdgeSides::kNoFace)
      sides.second = face;
    else if (face != sides.first && face != sides.second)
      hasMore = true;
  }
  if (sides.first == GRepEdgeSides::kNoFace) return sides;
  if (sides.second == GRepEdgeSides::kNoFace) {
    const bool isSeam = BRep_Tool::IsClosed(edge, faces.Get(sides.first));
    sides.kind = isSeam ? GRepEdgeKind::kSeam : GRepEdgeKind::kBorder;
    return sides;
  }
  sides.kind = GRepEdgeKind::kSharp;
  if (!hasMore && IsSmooth(faces, edge, sides)) sides.kind = GRepEdgeKind::kSmooth;
  return sides;
}

// A face or edge that OpenCASCADE throws on stays what it is.
template <typename Call>
void Try(Call&& call) {
  try {
    call();
  } catch (const Standard_Failure&) {
  }
}

}  // namespace

void DescribeBody(const TopoDS_Shape& body, const gp_Trsf& placement, const std::function<bool()>& proceed,
                  GRepMesh& mesh) {
  Faces faces(body);
  for (std::size_t i = 0; i < mesh.surfaces.size() && proceed(); ++i) {
    Try([&] {
      const BRepAdaptor_Surface* const adaptor = faces.Adaptor(static_cast<std::uint32_t>(i));
      if (!adaptor) return;
      GRepSurface surface = Describe(*adaptor, placement);
      SetSide(mesh, mesh.faces[i], surface);
      mesh.surfaces[i] = surface;
    });
  }
  if (mesh.sides.empty()) return;
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(body, TopAbs_EDGE, edges);
  TopTools_IndexedDataMapOfShapeListOfShape owners;
  TopExp::MapShapesAndAncestors(body, TopAbs_EDGE, TopAbs_FACE, owners);
  for (std::size_t i = 0; i < mesh.sides.size() && proceed(); ++i) {
    const TopoDS_Edge& edge = TopoDS::Edge(edges(static_cast<int>(i) + 1));
    const TopTools_ListOfShape* const facesOfEdge = owners.Seek(edge);
    if (facesOfEdge) Try([&] { mesh.sides[i] = FindSides(faces, edge, *facesOfEdge); });
  }
}

}  // namespace mirel
