#include <Viewer/Measure/ExactPart.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <BRepBuilderAPI_GTransform.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <Standard_Failure.hxx>
#include <TopAbs.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Vertex.hxx>
#include <gp_GTrsf.hxx>
#include <gp_Pnt.hxx>
#include <gp_Trsf.hxx>

#include <glm/glm.hpp>

#include <cmath>

namespace mirel {
namespace {

// What placements lose when they are written and multiplied is less than this.
constexpr double kPlacementNoise = 1e-9;

bool IsFinite(const glm::dmat4& matrix) {
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row)
      if (!std::isfinite(matrix[column][row])) return false;
  return true;
}

// Whether axes stay at right angles and grow alike: what a gp_Trsf can hold.
bool KeepsShape(const glm::dmat3& turn) {
  const glm::dmat3 gram = glm::transpose(turn) * turn;
  const double square = (gram[0][0] + gram[1][1] + gram[2][2]) / 3.0;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      if (std::abs(gram[column][row] - (column == row ? square : 0.0)) > kPlacementNoise * square)
        return false;
  return true;
}

// OpenCASCADE turns a single face round in a mirror only if it was reversed before, so `Place` sets which side is out.
TopoDS_Shape PlaceShape(const TopoDS_Shape& shape, const glm::dmat4& placement) {
  const glm::dmat4& m = placement;
  if (!KeepsShape(glm::dmat3(m))) {
    gp_GTrsf trsf;
    for (int column = 0; column < 4; ++column)
      for (int row = 0; row < 3; ++row)
        trsf.SetValue(row + 1, column + 1, m[column][row]);
    return BRepBuilderAPI_GTransform(shape, trsf, true).Shape();
  }
  gp_Trsf trsf;
  trsf.SetValues(m[0][0], m[1][0], m[2][0], m[3][0], m[0][1], m[1][1], m[2][1], m[3][1], m[0][2], m[1][2],
                 m[2][2], m[3][2]);
  if (std::abs(trsf.ScaleFactor() - 1.0) > kPlacementNoise)
    return BRepBuilderAPI_Transform(shape, trsf, true).Shape();
  trsf.SetScaleFactor(1.0);
  return shape.Moved(TopLoc_Location(trsf));
}

TopoDS_Shape FindSubShape(const TopoDS_Shape& body, TopAbs_ShapeEnum kind, std::uint32_t position) {
  TopTools_IndexedMapOfShape parts;
  TopExp::MapShapes(body, kind, parts);
  return position < static_cast<std::uint32_t>(parts.Extent()) ? parts(static_cast<int>(position) + 1)
                                                               : TopoDS_Shape();
}

}  // namespace

ExactPart::ExactPart(Kind kind, const TopoDS_Shape& shape)
    : kind_(kind), shape_(std::make_shared<const TopoDS_Shape>(shape)) {}

std::optional<ExactPart> ExactPart::Place(Kind kind, const TopoDS_Shape& shape, const glm::dmat4& placement) {
  const double growth = glm::determinant(glm::dmat3(placement));
  if (shape.IsNull() || !IsFinite(placement) || growth == 0.0) return std::nullopt;
  try {
    TopoDS_Shape placed = PlaceShape(shape, placement);
    if (placed.IsNull()) return std::nullopt;
    if (kind == Kind::kFace)
      placed.Orientation(growth < 0.0 ? TopAbs::Reverse(shape.Orientation()) : shape.Orientation());
    return ExactPart(kind, placed);
  } catch (const Standard_Failure&) {
    return std::nullopt;
  }
}

std::optional<ExactPart> ExactPart::OfBody(const TopoShape& body, const glm::dmat4& placement) {
  return Place(Kind::kBody, body.GetImpl(), placement);
}

std::optional<ExactPart> ExactPart::OfFace(const TopoShape& body, std::uint32_t face,
                                           const glm::dmat4& placement) {
  return Place(Kind::kFace, FindSubShape(body.GetImpl(), TopAbs_FACE, face), placement);
}

std::optional<ExactPart> ExactPart::OfEdge(const TopoShape& body, std::uint32_t edge,
                                           const glm::dmat4& placement) {
  return Place(Kind::kEdge, FindSubShape(body.GetImpl(), TopAbs_EDGE, edge), placement);
}

std::vector<std::optional<ExactPart>> ExactPart::FacesOf(const TopoShape& body, const glm::dmat4& placement) {
  std::vector<std::optional<ExactPart>> parts;
  if (body.GetImpl().IsNull()) return parts;
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(body.GetImpl(), TopAbs_FACE, faces);
  for (int i = 1; i <= faces.Extent(); ++i)
    parts.push_back(Place(Kind::kFace, faces(i), placement));
  return parts;
}

ExactPart ExactPart::OfPoint(const glm::dvec3& point) {
  return ExactPart(Kind::kPoint, BRepBuilderAPI_MakeVertex(gp_Pnt(point.x, point.y, point.z)).Vertex());
}

}  // namespace mirel
