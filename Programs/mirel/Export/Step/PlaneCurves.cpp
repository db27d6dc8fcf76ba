#include <Programs/mirel/Export/Step/PlaneCurves.h>

#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Geom2d_Curve.hxx>
#include <Geom_Surface.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopLoc_Location.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>

namespace mirel {

void PlaneCurves::Store(const TopoDS_Shape& body) {
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(body, TopAbs_FACE, faces);
  for (int i = 1; i <= faces.Extent(); ++i) {
    const TopoDS_Face& face = TopoDS::Face(faces(i));
    TopLoc_Location place;
    const Handle(Geom_Surface) surface = BRep_Tool::Surface(face, place);
    for (TopExp_Explorer edges(face, TopAbs_EDGE); edges.More() && !surface.IsNull(); edges.Next()) {
      const TopoDS_Edge& edge = TopoDS::Edge(edges.Current());
      Standard_Real first = 0.0;
      Standard_Real last = 0.0;
      Standard_Boolean isThere = Standard_False;
      const Handle(Geom2d_Curve) curve =
          BRep_Tool::CurveOnSurface(edge, surface, place, first, last, &isThere);
      if (!curve.IsNull() && !isThere) {
        BRep_Builder().UpdateEdge(edge, curve, surface, place, BRep_Tool::Tolerance(edge));
      }
    }
  }
}

}  // namespace mirel
