#include <Viewer/Kernel/Host/GeometryView/UprightParabolas.h>

#include <BRepTools_ReShape.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <GeomConvert.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_Parabola.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <Precision.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Iterator.hxx>

namespace mirel {
namespace {

// Far wider than the projection's own 1e-7, which is about the lengths of projected directions.
constexpr double kUprightAngle = 1e-3;

bool FindNormal(const TopoDS_Face& face, gp_Dir& normal) {
  TopLoc_Location location;
  Handle(Geom_Surface) surface = BRep_Tool::Surface(face, location);
  if (const auto trimmed = Handle(Geom_RectangularTrimmedSurface)::DownCast(surface); !trimmed.IsNull())
    surface = trimmed->BasisSurface();
  const auto plane = Handle(Geom_Plane)::DownCast(surface);
  if (plane.IsNull()) return false;
  normal = plane->Axis().Direction().Transformed(location.Transformation());
  return true;
}

bool FindParabolaAxis(const TopoDS_Edge& edge, gp_Dir& axis) {
  TopLoc_Location location;
  double first, last;
  Handle(Geom_Curve) curve = BRep_Tool::Curve(edge, location, first, last);
  for (auto trimmed = Handle(Geom_TrimmedCurve)::DownCast(curve); !trimmed.IsNull();
       trimmed = Handle(Geom_TrimmedCurve)::DownCast(curve))
    curve = trimmed->BasisCurve();
  const auto parabola = Handle(Geom_Parabola)::DownCast(curve);
  if (parabola.IsNull()) return false;
  axis = parabola->XAxis().Direction().Transformed(location.Transformation());
  return true;
}

// The edge where it stands in its own coordinates, with a B-spline for its curve.
TopoDS_Edge WithBSpline(const TopoDS_Edge& edge) {
  TopLoc_Location location;
  double first, last;
  const Handle(Geom_Curve) curve = BRep_Tool::Curve(edge, location, first, last);
  TopoDS_Edge copy = TopoDS::Edge(edge.EmptyCopied());
  BRep_Builder builder;
  for (TopoDS_Iterator vertex(edge, false, false); vertex.More(); vertex.Next())
    builder.Add(copy, vertex.Value());
  const Handle(Geom_Curve) bounded = new Geom_TrimmedCurve(curve, first, last);
  builder.UpdateEdge(copy, GeomConvert::CurveToBSplineCurve(bounded), location, BRep_Tool::Tolerance(edge));
  return copy;
}

}  // namespace

TopoDS_Shape WithoutUprightParabolas(const TopoDS_Shape& body) {
  Handle(BRepTools_ReShape) changes;
  for (TopExp_Explorer faces(body, TopAbs_FACE); faces.More(); faces.Next()) {
    gp_Dir normal, axis;
    if (!FindNormal(TopoDS::Face(faces.Current()), normal)) continue;
    for (TopExp_Explorer edges(faces.Current(), TopAbs_EDGE); edges.More(); edges.Next()) {
      const TopoDS_Edge& edge = TopoDS::Edge(edges.Current());
      if (!FindParabolaAxis(edge, axis) || !axis.IsParallel(normal, kUprightAngle)) continue;
      double first, last;
      BRep_Tool::Range(edge, first, last);
      if (Precision::IsInfinite(first) || Precision::IsInfinite(last) || !(first < last)) continue;
      const TopoDS_Edge plain = TopoDS::Edge(edge.Located(TopLoc_Location()).Oriented(TopAbs_FORWARD));
      if (changes.IsNull()) {
        changes = new BRepTools_ReShape;
        changes->ModeConsiderLocation() = true;  // for edges wherever they stand
      }
      if (!changes->IsRecorded(plain)) changes->Replace(plain, WithBSpline(plain));
    }
  }
  return changes.IsNull() ? body : changes->Apply(body);
}

}  // namespace mirel
