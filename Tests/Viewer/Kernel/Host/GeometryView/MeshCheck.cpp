#include <Tests/Viewer/Kernel/Host/GeometryView/MeshCheck.h>

#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepExtrema_DistShapeShape.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <GeomAPI_ProjectPointOnSurf.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>

namespace mirel::test {
namespace {

using testing::AssertionFailure;
using testing::AssertionSuccess;

gp_Pnt Point(const glm::dvec3& p) {
  return gp_Pnt(p.x, p.y, p.z);
}

double Distance(const glm::dvec3& point, const TopoDS_Shape& shape) {
  BRepExtrema_DistShapeShape distance(BRepBuilderAPI_MakeVertex(Point(point)).Vertex(), shape);
  return distance.IsDone() ? distance.Value() : INFINITY;
}

// The corners of the triangle that begins at an index.
std::array<glm::dvec3, 3> Corners(const GRepMesh& mesh, std::size_t index) {
  return {mesh.GetPosition(mesh.triangles[index]), mesh.GetPosition(mesh.triangles[index + 1]),
          mesh.GetPosition(mesh.triangles[index + 2])};
}

// Projecting on the surface is quick, but finds no point or a wrong one at borders; then the face itself is
// asked.
double FaceDistance(const glm::dvec3& point, GeomAPI_ProjectPointOnSurf& surface, const TopoDS_Face& face,
                    double enough) {
  surface.Perform(Point(point));
  const double quick = surface.NbPoints() > 0 ? surface.LowerDistance() : INFINITY;
  return quick <= enough ? quick : std::min(quick, Distance(point, face));
}

template <typename T>
bool SameBytes(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

}  // namespace

testing::AssertionResult IsConsistent(const GRepMesh& mesh) {
  if (!mesh.vertices.empty() && !mesh.fineVertices.empty()) return AssertionFailure() << "two vertex arrays";
  std::uint64_t vertex = 0, index = 0;
  for (const GRepFace& face : mesh.faces) {
    if (face.firstVertex != vertex || face.firstIndex != index || face.indexCount % 3 != 0)
      return AssertionFailure() << "face range at vertex " << face.firstVertex << ", index "
                                << face.firstIndex;
    vertex += face.vertexCount;
    index += face.indexCount;
    if (vertex > mesh.GetVertexCount() || index > mesh.triangles.size())
      return AssertionFailure() << "face range beyond the arrays";
    for (std::uint32_t i = 0; i < face.indexCount; ++i) {
      const std::uint32_t corner = mesh.triangles[face.firstIndex + i];
      if (corner < face.firstVertex || corner - face.firstVertex >= face.vertexCount)
        return AssertionFailure() << "corner " << corner << " is not a vertex of its face";
    }
  }
  if (index != mesh.triangles.size()) return AssertionFailure() << "triangles without a face";
  index = 0;
  for (const GRepEdge& edge : mesh.edges) {
    if (edge.firstIndex != index || edge.indexCount == 1) return AssertionFailure() << "edge range";
    index += edge.indexCount;
  }
  if (index != mesh.polylines.size()) return AssertionFailure() << "points without an edge";
  for (std::uint32_t point : mesh.polylines)
    if (point >= mesh.GetVertexCount()) return AssertionFailure() << "point " << point << " is no vertex";
  if (!mesh.surfaces.empty() || !mesh.sides.empty()) {
    if (mesh.surfaces.size() != mesh.faces.size() || mesh.sides.size() != mesh.edges.size())
      return AssertionFailure() << "surfaces and sides are not those of all faces and edges";
  }
  for (const GRepEdgeSides& sides : mesh.sides) {
    const bool hasFirst = sides.kind != GRepEdgeKind::kLoose, hasSecond = sides.kind >= GRepEdgeKind::kSmooth;
    if (hasFirst ? sides.first >= mesh.faces.size() : sides.first != GRepEdgeSides::kNoFace)
      return AssertionFailure() << "first face " << sides.first << " of an edge";
    if (hasSecond ? sides.second >= mesh.faces.size() : sides.second != GRepEdgeSides::kNoFace)
      return AssertionFailure() << "second face " << sides.second << " of an edge";
  }
  if (mesh.GetVertexCount() > 0 && !mesh.box.IsFinite())
    return AssertionFailure() << "vertices without a box";
  for (std::size_t i = 0; i < mesh.GetVertexCount(); ++i) {
    const glm::dvec3 position = mesh.GetPosition(i);
    const glm::vec3 normal = mesh.GetNormal(i);
    if (!std::isfinite(position.x + position.y + position.z) ||
        !(std::abs(glm::length(normal) - 1.0f) < 1e-5f))
      return AssertionFailure() << "vertex " << i << " is no point with a unit normal";
  }
  return AssertionSuccess();
}

testing::AssertionResult IsSame(const GRepMesh& a, const GRepMesh& b) {
  const bool sameBox =
      a.box.GetState() == b.box.GetState() &&
      (!a.box.IsFinite() || (a.box.GetMin() == b.box.GetMin() && a.box.GetMax() == b.box.GetMax()));
  const bool sameNumbers = a.gridOrigin == b.gridOrigin && a.gridStep == b.gridStep &&
                           a.linearDeflection == b.linearDeflection &&
                           a.angularDeflection == b.angularDeflection;
  const auto sameSurface = [](const GRepSurface& s, const GRepSurface& t) {
    return s.kind == t.kind && s.isHollow == t.isHollow && s.origin == t.origin && s.axis == t.axis &&
           s.radius == t.radius && s.second == t.second;
  };
  const auto sameSides = [](const GRepEdgeSides& s, const GRepEdgeSides& t) {
    return s.kind == t.kind && s.first == t.first && s.second == t.second;
  };
  const bool sameFeatures =
      std::equal(a.surfaces.begin(), a.surfaces.end(), b.surfaces.begin(), b.surfaces.end(), sameSurface) &&
      std::equal(a.sides.begin(), a.sides.end(), b.sides.begin(), b.sides.end(), sameSides);
  const bool sameArrays = SameBytes(a.vertices, b.vertices) && SameBytes(a.fineVertices, b.fineVertices) &&
                          SameBytes(a.faces, b.faces) && SameBytes(a.triangles, b.triangles) &&
                          SameBytes(a.edges, b.edges) && SameBytes(a.polylines, b.polylines);
  if (sameBox && sameNumbers && sameArrays && sameFeatures) return AssertionSuccess();
  return AssertionFailure() << "same box: " << sameBox << ", numbers: " << sameNumbers
                            << ", arrays: " << sameArrays << ", surfaces and sides: " << sameFeatures;
}

double MeasureDeviation(const GRepMesh& mesh, const TopoDS_Shape& body) {
  TopTools_IndexedMapOfShape faces, edges;
  TopExp::MapShapes(body, TopAbs_FACE, faces);
  TopExp::MapShapes(body, TopAbs_EDGE, edges);
  double worst = 0.0;
  for (int f = 1; f <= faces.Extent(); ++f) {
    const TopoDS_Face face = TopoDS::Face(faces(f));
    const Handle(Geom_Surface) surface = BRep_Tool::Surface(face);
    const GRepFace& range = mesh.faces[static_cast<std::size_t>(f - 1)];
    if (surface.IsNull() || range.indexCount == 0) continue;
    GeomAPI_ProjectPointOnSurf projection;
    double u0 = 0.0, u1 = 0.0, v0 = 0.0, v1 = 0.0;
    BRepTools::UVBounds(face, u0, u1, v0, v1);
    projection.Init(surface, u0, u1, v0, v1);
    const std::uint32_t stride = 3 * (1 + range.indexCount / 3 / 150);
    for (std::uint32_t i = 0; i < range.indexCount; i += stride) {
      const auto p = Corners(mesh, range.firstIndex + i);
      for (const glm::dvec3& weight : {glm::dvec3(1, 0, 0), glm::dvec3(0.5, 0.5, 0), glm::dvec3(0, 0.5, 0.5),
                                       glm::dvec3(0.5, 0, 0.5), glm::dvec3(1.0 / 3)})
        worst = std::max(worst, FaceDistance(weight.x * p[0] + weight.y * p[1] + weight.z * p[2], projection,
                                             face, 0.9 * mesh.linearDeflection));
    }
  }
  for (int e = 1; e <= edges.Extent(); ++e) {
    const GRepEdge& range = mesh.edges[static_cast<std::size_t>(e - 1)];
    const std::uint32_t stride = 1 + range.indexCount / 20;
    for (std::uint32_t i = 1; i < range.indexCount; i += stride) {
      const std::uint32_t* const points = &mesh.polylines[range.firstIndex + i - 1];
      const glm::dvec3 a = mesh.GetPosition(points[0]), b = mesh.GetPosition(points[1]);
      worst = std::max({worst, Distance(a, edges(e)), Distance(0.5 * (a + b), edges(e))});
    }
  }
  return worst;
}

SurfaceFit MeasureSurfaces(const GRepMesh& mesh) {
  SurfaceFit fit;
  for (std::size_t f = 0; f < mesh.surfaces.size(); ++f) {
    const GRepSurface& surface = mesh.surfaces[f];
    const GRepFace& face = mesh.faces[f];
    for (std::uint32_t v = face.firstVertex; v < face.firstVertex + face.vertexCount; ++v) {
      const glm::dvec3 offset = mesh.GetPosition(v) - surface.origin;
      const double along = glm::dot(offset, surface.axis);
      const glm::dvec3 across = offset - along * surface.axis;
      double distance = 0.0;
      glm::dvec3 normal(0.0);
      switch (surface.kind) {
      case GRepSurfaceKind::kOther:
        continue;
      case GRepSurfaceKind::kPlane:
        distance = along;
        normal = surface.axis;
        break;
      case GRepSurfaceKind::kCylinder:
        distance = glm::length(across) - surface.radius;
        normal = across;
        break;
      case GRepSurfaceKind::kCone:
        distance = glm::length(across) * std::cos(surface.second) - along * std::sin(surface.second);
        normal = glm::length(across) > 1e-6 ? glm::normalize(across) - std::tan(surface.second) * surface.axis
                                            : glm::dvec3(0.0);
        break;
      case GRepSurfaceKind::kSphere:
        distance = glm::length(offset) - surface.radius;
        normal = offset;
        break;
      case GRepSurfaceKind::kTorus:
        normal = offset - surface.radius * glm::normalize(across);
        distance = glm::length(normal) - surface.second;
        break;
      }
      fit.distance = std::max(fit.distance, std::abs(distance));
      if (surface.isHollow) normal = -normal;
      if (glm::length(normal) > 0.0)
        fit.cosine = std::min(fit.cosine, glm::dot(glm::normalize(normal), glm::dvec3(mesh.GetNormal(v))));
    }
  }
  return fit;
}

double MeasureVolume(const GRepMesh& mesh) {
  const glm::dvec3 origin = mesh.box.GetMin();
  double volume = 0.0;
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
    const auto p = Corners(mesh, i);
    volume += glm::dot(p[0] - origin, glm::cross(p[1] - origin, p[2] - origin)) / 6.0;
  }
  return volume;
}

bool IsClosed(const GRepMesh& mesh) {
  using Place = std::array<double, 3>;
  std::map<std::pair<Place, Place>, int> sides;
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3)
    for (std::size_t k = 0; k < 3; ++k) {
      const auto p = Corners(mesh, i);
      const glm::dvec3 &from = p[k], &to = p[(k + 1) % 3];
      const Place a{from.x, from.y, from.z}, b{to.x, to.y, to.z};
      if (a < b) ++sides[{a, b}];
      if (b < a) --sides[{b, a}];
    }
  for (const auto& [side, count] : sides)
    if (count != 0) return false;
  return !mesh.triangles.empty();
}

double SmallestNormalCosine(const GRepMesh& mesh) {
  double smallest = 1.0;
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
    const auto p = Corners(mesh, i);
    const glm::dvec3 area = glm::cross(p[1] - p[0], p[2] - p[0]);
    const double longest =
        std::max({glm::length(p[1] - p[0]), glm::length(p[2] - p[1]), glm::length(p[0] - p[2])});
    if (glm::length(area) < 20.0 * mesh.gridStep * longest) continue;
    for (std::size_t k = 0; k < 3; ++k)
      smallest = std::min(smallest,
                          glm::dot(glm::normalize(area), glm::dvec3(mesh.GetNormal(mesh.triangles[i + k]))));
  }
  return smallest;
}

}  // namespace mirel::test
