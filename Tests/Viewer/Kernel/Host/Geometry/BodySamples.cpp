#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <BRepAlgoAPI_Common.hxx>
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepBuilderAPI_NurbsConvert.hxx>
#include <BRepBuilderAPI_Sewing.hxx>
#include <BRepBuilderAPI_Transform.hxx>
#include <BRepFilletAPI_MakeChamfer.hxx>
#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepOffsetAPI_MakeOffsetShape.hxx>
#include <BRepOffsetAPI_MakePipe.hxx>
#include <BRepOffsetAPI_MakeThickSolid.hxx>
#include <BRepOffsetAPI_ThruSections.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeHalfSpace.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRepPrimAPI_MakeWedge.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Geom2d_BSplineCurve.hxx>
#include <Geom2d_BezierCurve.hxx>
#include <Geom2d_Circle.hxx>
#include <Geom2d_Ellipse.hxx>
#include <Geom2d_Hyperbola.hxx>
#include <Geom2d_Line.hxx>
#include <Geom2d_OffsetCurve.hxx>
#include <Geom2d_Parabola.hxx>
#include <Geom2d_TrimmedCurve.hxx>
#include <GeomConvert.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_BezierCurve.hxx>
#include <Geom_BezierSurface.hxx>
#include <Geom_Circle.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Ellipse.hxx>
#include <Geom_Hyperbola.hxx>
#include <Geom_Line.hxx>
#include <Geom_OffsetCurve.hxx>
#include <Geom_OffsetSurface.hxx>
#include <Geom_Parabola.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_SphericalSurface.hxx>
#include <Geom_SurfaceOfLinearExtrusion.hxx>
#include <Geom_SurfaceOfRevolution.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <Message_ProgressRange.hxx>
#include <Poly_Polygon3D.hxx>
#include <Poly_Triangulation.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopTools_ListOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_CompSolid.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <gp_Ax2.hxx>
#include <gp_Ax22d.hxx>
#include <gp_Trsf.hxx>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace mirel::test {
namespace {

const gp_Ax2 kTilted(gp_Pnt(1.5, -2, 3.25), gp_Dir(1, 2, 3), gp_Dir(2, -1, 0));

template <class Item>
NCollection_Array1<Item> MakeArray(std::initializer_list<Item> items) {
  NCollection_Array1<Item> array(1, static_cast<int>(items.size()));
  std::copy(items.begin(), items.end(), array.begin());
  return array;
}
const auto Points = MakeArray<gp_Pnt>;
const auto Reals = MakeArray<double>;
const auto Integers = MakeArray<int>;

TColgp_Array1OfPnt2d Flat(const TColgp_Array1OfPnt& points) {
  TColgp_Array1OfPnt2d array(1, points.Length());
  for (int i = 1; i <= points.Length(); ++i)
    array(i) = gp_Pnt2d(points(i).X(), points(i).Y());
  return array;
}

const TColgp_Array1OfPnt kFourPoles =
    Points({gp_Pnt(0, 0, 0), gp_Pnt(1, 2.125, 0), gp_Pnt(3, 2, 1. / 3.), gp_Pnt(4, 0, -1e-17)});
const TColgp_Array1OfPnt kFivePoles =
    Points({gp_Pnt(0, 0, 0), gp_Pnt(1, 1, 0), gp_Pnt(2, 2, 0), gp_Pnt(3, 3, 0), gp_Pnt(4, 1, 0)});
const TColStd_Array1OfReal kWeights = Reals({1, std::sqrt(0.5), 2, 1});

std::vector<std::pair<std::string, Handle(Geom_Curve)>> SpaceCurves() {
  const Handle(Geom_Curve) circle = new Geom_Circle(kTilted, 2.5);
  const Handle(Geom_Curve) periodic =
      new Geom_BSplineCurve(kFourPoles, Reals({0, 1, 2.5, 3, 4}), Integers({1, 1, 1, 1, 1}), 3, true);
  // The knot 1 is as multiple as the degree, yet the legs on both sides of its pole have one direction.
  const Handle(Geom_Curve) smoothCorner =
      new Geom_BSplineCurve(kFivePoles, Reals({0, 1, 2}), Integers({3, 2, 3}), 2, false);
  const Handle(Geom_Curve) offset = new Geom_OffsetCurve(circle, -0.5, gp_Dir(1, 2, 3));
  return {
      {"line", new Geom_Line(gp_Pnt(1, 2, 3), gp_Dir(1, 1, 1e-9))},
      {"circle", circle},
      {"circle of radius 0", new Geom_Circle(kTilted, 0)},
      {"ellipse", new Geom_Ellipse(kTilted, 3, 1. / 3.)},
      {"round ellipse", new Geom_Ellipse(kTilted, 2.1, 2.1)},
      {"parabola", new Geom_Parabola(kTilted, 0.75)},
      {"hyperbola", new Geom_Hyperbola(kTilted, 1, 2)},
      {"Bezier curve", new Geom_BezierCurve(kFourPoles)},
      {"rational Bezier curve", new Geom_BezierCurve(kFourPoles, kWeights)},
      {"B-spline", new Geom_BSplineCurve(kFourPoles, Reals({-0.1, 0.7}), Integers({4, 4}), 3, false)},
      {"unclamped B-spline", new Geom_BSplineCurve(kFourPoles, Reals({0, 1, 2, 3, 4, 5, 6}),
                                                   Integers({1, 1, 1, 1, 1, 1, 1}), 2, false)},
      {"rational B-spline", new Geom_BSplineCurve(kFourPoles, kWeights, Reals({0, std::nextafter(1., 0.), 2}),
                                                  Integers({3, 1, 3}), 2, false)},
      {"periodic B-spline", periodic},
      {"circle as B-spline", GeomConvert::CurveToBSplineCurve(circle)},
      {"trimmed circle", new Geom_TrimmedCurve(circle, 6, 7)},
      {"trimmed line", new Geom_TrimmedCurve(new Geom_Line(gp_Pnt(), gp_Dir(0, 0, 1)), -2e100, 5)},
      {"trimmed periodic B-spline", new Geom_TrimmedCurve(periodic, 3.5, 4.5)},
      {"offset curve", offset},
      {"trimmed offset curve", new Geom_TrimmedCurve(offset, 1, 2)},
      {"offset of a trimmed circle",
       new Geom_OffsetCurve(new Geom_TrimmedCurve(circle, 0, 1), 1, gp_Dir(1, 2, 3))},
      {"offset of a smooth corner", new Geom_OffsetCurve(smoothCorner, 0.25, gp_Dir(0, 0, 1))},
      {"B-spline with a corner",
       new Geom_BSplineCurve(kFourPoles, Reals({0, 1, 2, 3}), Integers({2, 1, 1, 2}), 1, false)},
  };
}

std::vector<std::pair<std::string, Handle(Geom2d_Curve)>> PlaneCurves() {
  const gp_Ax22d axes(gp_Pnt2d(0.1, 0.2), gp_Dir2d(3, 4), gp_Dir2d(4, -3));
  const Handle(Geom2d_Curve) circle = new Geom2d_Circle(axes, 2);
  const TColgp_Array1OfPnt2d poles = Flat(kFourPoles);
  const Handle(Geom2d_Curve) periodic =
      new Geom2d_BSplineCurve(poles, kWeights, Reals({0, 1, 2, 3, 4}), Integers({1, 1, 1, 1, 1}), 2, true);
  const Handle(Geom2d_Curve) offset = new Geom2d_OffsetCurve(circle, 0.5);
  return {
      {"line", new Geom2d_Line(gp_Pnt2d(1, 2), gp_Dir2d(-1, 1e-5))},
      {"circle", circle},
      {"ellipse", new Geom2d_Ellipse(axes, 3, 1)},
      {"parabola", new Geom2d_Parabola(axes, 1)},
      {"hyperbola", new Geom2d_Hyperbola(axes, 1, 2)},
      {"Bezier curve", new Geom2d_BezierCurve(poles)},
      {"rational Bezier curve", new Geom2d_BezierCurve(poles, kWeights)},
      {"B-spline", new Geom2d_BSplineCurve(poles, Reals({0, 0.5, 1}), Integers({3, 1, 3}), 2, false)},
      {"periodic rational B-spline", periodic},
      {"trimmed circle", new Geom2d_TrimmedCurve(circle, -1, 1)},
      {"offset curve", offset},
      {"trimmed offset curve", new Geom2d_TrimmedCurve(offset, 0.5, 1)},
      {"offset of a smooth corner",
       new Geom2d_OffsetCurve(
           new Geom2d_BSplineCurve(Flat(kFivePoles), Reals({0, 1, 2}), Integers({3, 2, 3}), 2, false), 0.25)},
  };
}

std::vector<std::pair<std::string, Handle(Geom_Surface)>> SurfaceSamples() {
  gp_Ax3 leftHanded(kTilted);
  leftHanded.YReverse();
  const Handle(Geom_Surface) cylinder = new Geom_CylindricalSurface(leftHanded, 2);
  TColgp_Array2OfPnt grid(1, 4, 1, 3);
  TColStd_Array2OfReal weights(1, 4, 1, 3);
  for (int i = 1; i <= 4; ++i) {
    for (int j = 1; j <= 3; ++j) {
      grid(i, j) = gp_Pnt(i, j, std::sin(i * 1.5) * std::cos(j));
      weights(i, j) = 1 + 0.1 * i * j;
    }
  }
  const Handle(Geom_Surface) bspline = new Geom_BSplineSurface(grid, Reals({0, 1, 2}), Reals({0, 1}),
                                                               Integers({3, 1, 3}), Integers({3, 3}), 2, 2);
  const Handle(Geom_Surface) periodic =
      new Geom_BSplineSurface(grid, weights, Reals({0, 1, 2, 3, 4}), Reals({0, 1}), Integers({1, 1, 1, 1, 1}),
                              Integers({3, 3}), 2, 2, true);
  const Handle(Geom_Curve) arc = new Geom_TrimmedCurve(new Geom_Circle(kTilted, 2), 0, 1);
  const Handle(Geom_Surface) revolution = new Geom_SurfaceOfRevolution(
      new Geom_BezierCurve(kFourPoles), gp_Ax1(gp_Pnt(-5, 0, 0), gp_Dir(0, 1, 0)));
  return {
      {"plane", new Geom_Plane(leftHanded)},
      {"cylinder", cylinder},
      {"cone", new Geom_ConicalSurface(gp_Ax3(kTilted), -0.5, 1)},
      {"sphere", new Geom_SphericalSurface(gp_Ax3(kTilted), 3)},
      {"torus", new Geom_ToroidalSurface(gp_Ax3(kTilted), 1, 2)},
      {"extrusion", new Geom_SurfaceOfLinearExtrusion(new Geom_Ellipse(kTilted, 3, 2), gp_Dir(1, 1, 1))},
      {"extrusion of an offset curve",
       new Geom_SurfaceOfLinearExtrusion(new Geom_OffsetCurve(arc, 1, gp_Dir(1, 2, 3)), gp_Dir(1, 2, 3))},
      {"revolution", revolution},
      {"Bezier surface", new Geom_BezierSurface(grid)},
      {"rational Bezier surface", new Geom_BezierSurface(grid, weights)},
      {"B-spline surface", bspline},
      {"periodic rational B-spline surface", periodic},
      {"trimmed cylinder", new Geom_RectangularTrimmedSurface(cylinder, 6., 7., -1., 1.)},
      {"trimmed in one direction", new Geom_RectangularTrimmedSurface(cylinder, -1., 1., false)},
      {"trimmed periodic B-spline surface",
       new Geom_RectangularTrimmedSurface(periodic, 3.5, 4.5, 0.25, 0.5)},
      {"offset surface", new Geom_OffsetSurface(bspline, 0.25)},
      {"offset of a revolution", new Geom_OffsetSurface(revolution, 0.1)},
      {"offset of a trimmed cylinder",
       new Geom_OffsetSurface(new Geom_RectangularTrimmedSurface(cylinder, 1., 2., -1., 1.), 0.5)},
      {"trimmed offset surface",
       new Geom_RectangularTrimmedSurface(new Geom_OffsetSurface(bspline, 0.25), 0.5, 1.5, 0.25, 0.75)},
  };
}

struct Samples : std::vector<BodySample> {
  void Add(const std::string& name, const TopoDS_Shape& shape) { push_back({name, shape}); }
};

TopoDS_Edge MakeEdge(const Handle(Geom_Curve) & curve) {
  BRep_Builder builder;
  TopoDS_Edge edge;
  builder.MakeEdge(edge, curve, 1e-7);
  builder.Range(edge, std::max(curve->FirstParameter(), -2.), std::min(curve->LastParameter(), 2.));
  return edge;
}

TopoDS_Edge MakeEdge(const Handle(Geom2d_Curve) & curve, bool with3d) {
  BRep_Builder builder;
  TopoDS_Edge edge;
  builder.MakeEdge(edge);
  builder.UpdateEdge(edge, curve, new Geom_Plane(gp_Ax3(kTilted)), TopLoc_Location(), 1e-7);
  builder.Range(edge, std::max(curve->FirstParameter(), -2.), std::min(curve->LastParameter(), 2.));
  if (with3d) BRepLib::BuildCurve3d(edge);
  return edge;
}

TopoDS_Shape MakeFace(const Handle(Geom_Surface) & surface) {
  double u1 = 0.0, u2 = 0.0, v1 = 0.0, v2 = 0.0;
  surface->Bounds(u1, u2, v1, v2);
  return BRepBuilderAPI_MakeFace(surface, std::max(u1, -2.), std::min(u2, 5.), std::max(v1, -1.),
                                 std::min(v2, 2.), 1e-7)
      .Face();
}

template <class Shape, class... Parts>
Shape Assemble(void (TopoDS_Builder::*make)(Shape&) const, const Parts&... parts) {
  BRep_Builder builder;
  Shape whole;
  (builder.*make)(whole);
  (builder.Add(whole, parts), ...);
  return whole;
}
template <class... Parts>
TopoDS_Compound Compound(const Parts&... parts) {
  return Assemble<TopoDS_Compound>(&TopoDS_Builder::MakeCompound, parts...);
}

TopoDS_Shape Meshed(TopoDS_Shape shape) {
  const BRepMesh_IncrementalMesh mesh(shape, 0.1, false, 0.5, false);
  return shape;
}

Handle(Poly_Triangulation) Triangle(bool withUv, bool withNormals) {
  Handle(Poly_Triangulation) mesh = new Poly_Triangulation(3, 1, withUv, withNormals);
  mesh->SetNode(1, gp_Pnt(0, 0, 0));
  mesh->SetNode(2, gp_Pnt(1, 0, 0.1));
  mesh->SetNode(3, gp_Pnt(0, 1, 1e-20));
  mesh->SetTriangle(1, Poly_Triangle(1, 2, 3));
  for (int i = 1; i <= 3; ++i) {
    if (withUv) mesh->SetUVNode(i, gp_Pnt2d(i, -0.5));
    if (withNormals) mesh->SetNormal(i, gp_Dir(1, 2, 3));
  }
  return mesh;
}

// A face whose surface has a place of its own, as boolean operations write them; the edges are those of the old one.
TopoDS_Face PlaceSurface(const TopoDS_Face& face, const TopLoc_Location& place) {
  BRep_Builder builder;
  TopoDS_Face placed;
  builder.MakeFace(placed, BRep_Tool::Surface(face), place, BRep_Tool::Tolerance(face));
  for (TopoDS_Iterator wires(face, false); wires.More(); wires.Next())
    builder.Add(placed, wires.Value().Moved(place, false));
  return TopoDS::Face(placed.Oriented(face.Orientation()));
}

void AddSolids(Samples& samples) {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
  const TopoDS_Shape cylinder =
      BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(5, 5, -5), gp_Dir(0, 0, 1)), 3, 50).Shape();
  const TopoDS_Shape sphere = BRepPrimAPI_MakeSphere(gp_Pnt(10, 20, 30), 8).Shape();
  const TopoDS_Shape cone = BRepPrimAPI_MakeCone(5, 0, 12).Shape();
  samples.Add("box", box);
  samples.Add("cylinder", cylinder);
  samples.Add("sphere", sphere);
  samples.Add("cone", cone);
  samples.Add("torus", BRepPrimAPI_MakeTorus(10, 3, 1, 2, 3).Shape());
  samples.Add("wedge", BRepPrimAPI_MakeWedge(10, 10, 10, 2).Shape());
  samples.Add("cut", BRepAlgoAPI_Cut(box, cylinder).Shape());
  samples.Add("fuse", BRepAlgoAPI_Fuse(box, sphere).Shape());
  gp_Trsf place;
  place.SetRotation(gp_Ax1(gp_Pnt(1, 2, 3), gp_Dir(3, 1, 2)), 1.0);
  samples.Add("surfaces with places of their own", PlaceSurfaces(cylinder, place));
  samples.Add("common", BRepAlgoAPI_Common(box, sphere).Shape());
  samples.Add("half space",
              BRepPrimAPI_MakeHalfSpace(TopoDS::Face(TopExp_Explorer(box, TopAbs_FACE).Current()),
                                        gp_Pnt(100, 100, 100))
                  .Solid());

  BRepFilletAPI_MakeFillet fillet(box);
  BRepFilletAPI_MakeChamfer chamfer(cylinder);
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(box, TopAbs_EDGE, edges);
  for (int i = 1; i <= edges.Extent(); ++i)
    fillet.Add(1 + 0.1 * i, TopoDS::Edge(edges(i)));
  samples.Add("fillets", fillet.Shape());
  chamfer.Add(0.5, TopoDS::Edge(TopExp_Explorer(cylinder, TopAbs_EDGE).Current()));
  samples.Add("chamfer", chamfer.Shape());

  TopTools_ListOfShape open;
  open.Append(TopExp_Explorer(box, TopAbs_FACE).Current());
  BRepOffsetAPI_MakeThickSolid thick;
  thick.MakeThickSolidByJoin(box, open, 1, 1e-3);
  samples.Add("thick solid", thick.Shape());

  const TopoDS_Wire profile = BRepBuilderAPI_MakeWire(
      BRepBuilderAPI_MakeEdge(Handle(Geom_Curve)(new Geom_BezierCurve(kFourPoles))).Edge(),
      BRepBuilderAPI_MakeEdge(gp_Pnt(4, 0, -1e-17), gp_Pnt(0, 0, 0)).Edge());
  const TopoDS_Wire ellipse =
      BRepBuilderAPI_MakeWire(BRepBuilderAPI_MakeEdge(gp_Elips(kTilted, 3, 2)).Edge());
  const TopoDS_Wire circle = BRepBuilderAPI_MakeWire(
      BRepBuilderAPI_MakeEdge(gp_Circ(gp_Ax2(gp_Pnt(1, 1, 20), gp_Dir(0, 0, 1)), 2)).Edge());
  samples.Add("revolved spline",
              BRepPrimAPI_MakeRevol(profile, gp_Ax1(gp_Pnt(0, -3, 0), gp_Dir(1, 0, 0)), 2.));
  samples.Add("extruded spline", BRepPrimAPI_MakePrism(profile, gp_Vec(0, 1, 5)).Shape());
  samples.Add("extruded ellipse",
              BRepPrimAPI_MakePrism(BRepBuilderAPI_MakeFace(ellipse).Face(), gp_Vec(5, 1, 1)).Shape());
  BRepOffsetAPI_ThruSections loft(true);
  loft.AddWire(ellipse);
  loft.AddWire(circle);
  samples.Add("loft", loft.Shape());
  samples.Add("pipe", BRepOffsetAPI_MakePipe(profile, ellipse).Shape());
  BRepOffsetAPI_MakeOffsetShape offset;
  offset.PerformByJoin(BRepBuilderAPI_MakeFace(SurfaceSamples()[10].second, 1e-7).Face(), 0.05, 1e-3);
  samples.Add("offset B-spline face", offset.Shape());
  samples.Add("box as B-splines", BRepBuilderAPI_NurbsConvert(box).Shape());
  samples.Add("torus as B-splines",
              BRepBuilderAPI_NurbsConvert(BRepPrimAPI_MakeTorus(10, 3).Shape()).Shape());

  BRepBuilderAPI_Sewing sewing;
  int faces = 0;
  for (TopExp_Explorer i(BRepBuilderAPI_Transform(box, gp_Trsf(), true).Shape(), TopAbs_FACE);
       i.More() && faces < 5; i.Next(), ++faces)
    sewing.Add(i.Current());
  sewing.Perform();
  samples.Add("sewn open shell", sewing.SewedShape());

  const std::size_t solids = samples.size();
  for (std::size_t i = 0; i < solids; ++i) {
    if (samples[i].name != "half space")
      samples.Add("meshed " + samples[i].name,
                  Meshed(BRepBuilderAPI_Transform(samples[i].shape, gp_Trsf(), true)));
  }
}

void AddTopology(Samples& samples) {
  BRep_Builder builder;
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(1, 2, 3).Shape();
  const TopoDS_Shape ball = BRepPrimAPI_MakeSphere(1).Shape();
  gp_Trsf move, turn, mirror, scale, far;
  move.SetTranslation(gp_Vec(1, 2, 3));
  turn.SetRotation(gp_Ax1(gp_Pnt(1, 0, 0), gp_Dir(1, 1, 1)), 0.3);
  mirror.SetMirror(gp_Ax2(gp_Pnt(), gp_Dir(1, 0.2, 0)));
  scale.SetScale(gp_Pnt(1, 1, 1), 25.4);
  far.SetTranslation(gp_Vec(5e8, -4e9, 1e5));
  const TopLoc_Location moved(move), turned(turn);

  samples.Add("empty compound", Compound());
  samples.Add("nested compounds", Compound(Compound(), Compound(box, Compound(ball))));
  samples.Add("placed root", box.Located(moved * turned));
  samples.Add("placed sub-shapes",
              Compound(box, box.Located(moved), box.Located(turned * moved), ball.Located(moved.Powered(2)),
                       Compound(ball.Located(moved.Inverted() * turned.Powered(-3))).Located(turned)));
  samples.Add("mirrored and scaled placements", Compound(box.Located(TopLoc_Location(mirror), false),
                                                         ball.Located(TopLoc_Location(scale), false)));
  samples.Add("mirrored geometry", BRepBuilderAPI_Transform(samples[0].shape, mirror, true).Shape());
  samples.Add("far away", BRepBuilderAPI_Transform(box, far, true).Shape());
  samples.Add("all orientations", Compound(box.Oriented(TopAbs_REVERSED), box.Oriented(TopAbs_INTERNAL),
                                           box.Oriented(TopAbs_EXTERNAL)));
  samples.Add("shell", TopExp_Explorer(box, TopAbs_SHELL).Current());
  samples.Add("face", TopExp_Explorer(box, TopAbs_FACE).Current());
  samples.Add("wire", TopExp_Explorer(box, TopAbs_WIRE).Current());
  samples.Add("edge", TopExp_Explorer(ball, TopAbs_EDGE).Current());
  samples.Add("vertex", BRepBuilderAPI_MakeVertex(gp_Pnt(1e-300, -0.0, 12345678.901234567)).Vertex());
  samples.Add("composite solid",
              Assemble<TopoDS_CompSolid>(&TopoDS_Builder::MakeCompSolid, box, box.Located(moved)));
  TopoDS_Solid solid = Assemble<TopoDS_Solid>(&TopoDS_Builder::MakeSolid);
  builder.Add(solid, TopExp_Explorer(box, TopAbs_SHELL).Current());
  builder.Add(
      solid,
      BRepBuilderAPI_MakeEdge(gp_Pnt(0.1, 0.1, 0.1), gp_Pnt(0.2, 0.2, 0.2)).Edge().Oriented(TopAbs_INTERNAL));
  builder.Add(solid, BRepBuilderAPI_MakeVertex(gp_Pnt(0.5, 0.5, 0.5)).Vertex().Oriented(TopAbs_INTERNAL));
  samples.Add("solid with an edge and a vertex inside", solid);
  samples.Add("unbounded face", BRepBuilderAPI_MakeFace(gp_Pln()).Face());
  samples.Add("unbounded edge", BRepBuilderAPI_MakeEdge(gp_Lin(gp_Pnt(), gp_Dir(1, 0, 0))).Edge());
  samples.Add("polygon", BRepBuilderAPI_MakePolygon(gp_Pnt(), gp_Pnt(1, 0, 0), gp_Pnt(1, 1, 0), true).Wire());

  TopoDS_Face bare;
  builder.MakeFace(bare);
  samples.Add("face without a surface", bare);
  for (const bool uv : {false, true}) {
    for (const bool normals : {false, true}) {
      TopoDS_Face mesh;
      builder.MakeFace(mesh, Triangle(uv, normals));
      samples.Add("face of triangles only", mesh);
    }
  }
  for (const bool parameters : {false, true}) {
    const TColgp_Array1OfPnt nodes = Points({gp_Pnt(0, 0, 0), gp_Pnt(1, 0, 0), gp_Pnt(1, 0.5, 0)});
    TopoDS_Edge edge;
    builder.MakeEdge(edge,
                     parameters ? new Poly_Polygon3D(nodes, Reals({0, 1, 2})) : new Poly_Polygon3D(nodes));
    samples.Add("edge of a polyline only", edge);
  }

  // A vertex knows points on a curve, on a plane curve and on a surface.
  const Handle(Geom_Plane) surface = new Geom_Plane(gp_Ax3(kTilted));
  TopoDS_Edge edge = BRepBuilderAPI_MakeEdge(new Geom2d_Circle(gp_Ax22d(), 1), surface).Edge();
  BRepLib::BuildCurve3d(edge);
  const TopoDS_Vertex vertex = BRepBuilderAPI_MakeVertex(gp_Pnt(1, 2, 3)).Vertex();
  TopoDS_Face plane;
  builder.MakeFace(plane, surface, 1e-7);
  builder.Add(edge, vertex.Oriented(TopAbs_INTERNAL));
  builder.UpdateVertex(vertex, 0.5, edge, 1e-7);
  builder.UpdateVertex(vertex, 0.5, edge, plane, 1e-7);
  builder.UpdateVertex(vertex, 0.25, 0.75, plane, 1e-7);
  samples.Add("vertex on curve and surface", Compound(edge, plane));
}

// What OpenCASCADE writes and reads, though hardly anybody means it.
void AddExtremes(Samples& samples) {
  const BRep_Builder builder;
  samples.Add("large box", BRepPrimAPI_MakeBox(gp_Pnt(-9.9e10, 2e10, 0), 1e10, 7.9e10, 3e10).Shape());
  samples.Add("as good as unbounded box", BRepPrimAPI_MakeBox(gp_Pnt(1e40, 0, 0), 1e39, 1e39, 1e38).Shape());
  samples.Add("long edge",
              BRepBuilderAPI_MakeEdge(gp_Lin(gp_Pnt(), gp_Dir(1, 0, 0)), -5e10, 98765432109.5).Edge());

  TopoDS_Shape box = BRepPrimAPI_MakeBox(1, 2, 3).Shape();
  gp_Trsf turn, shift, far;
  far.SetTranslation(gp_Vec(1e13, 0, 0));
  samples.Add("box where it is as good as unbounded", box.Located(TopLoc_Location(far)));
  turn.SetRotation(gp_Ax1(gp_Pnt(1, 2, 3), gp_Dir(0, 0, 1)), 0.01);
  shift.SetTranslation(gp_Vec(0.25, 0, 0));
  const TopLoc_Location steps[] = {TopLoc_Location(turn), TopLoc_Location(shift)};
  TopLoc_Location path;
  for (int i = 0; i < 300; ++i)
    path = path * steps[i % 2];
  samples.Add("box moved often", Compound(box.Located(path)));
  samples.Add("box placed by a power", Compound(box.Located(steps[1].Powered(-5000))));
  for (int i = 0; i < 400; ++i)
    box = Compound(box);
  samples.Add("box nested deep", box);

  const TopoDS_Shape cylinder = BRepPrimAPI_MakeCylinder(2, 5).Shape();
  for (TopExp_Explorer edges(cylinder, TopAbs_EDGE); edges.More(); edges.Next()) {
    const TopoDS_Edge& edge = TopoDS::Edge(edges.Current());
    if (BRep_Tool::IsClosed(edge, TopoDS::Face(TopExp_Explorer(cylinder, TopAbs_FACE).Current())))
      builder.UpdateEdge(edge, Handle(Geom_Curve)(), 1e-7);
  }
  samples.Add("seam without a curve in space", cylinder);
}

}  // namespace

std::vector<BodySample> MakeBodySamples() {
  Samples samples;
  AddSolids(samples);
  AddExtremes(samples);
  AddTopology(samples);
  for (const auto& [name, curve] : SpaceCurves())
    samples.Add("edge on a " + name, MakeEdge(curve));
  for (const auto& [name, curve] : PlaneCurves()) {
    samples.Add("edge on a plane " + name, MakeEdge(curve, true));
    samples.Add("edge on a plane " + name + " only", MakeEdge(curve, false));
  }
  for (const auto& [name, surface] : SurfaceSamples()) {
    samples.Add("face on a " + name, MakeFace(surface));
    samples.Add("meshed face on a " + name, Meshed(MakeFace(surface)));
  }
  return samples;
}

TopoDS_Shape PlaceSurfaces(const TopoDS_Shape& body, const gp_Trsf& place) {
  TopoDS_Shell shell;
  BRep_Builder().MakeShell(shell);
  for (TopExp_Explorer face(body, TopAbs_FACE); face.More(); face.Next())
    BRep_Builder().Add(shell, PlaceSurface(TopoDS::Face(face.Current()), TopLoc_Location(place)));
  return shell;
}

std::string WriteBRepText(const TopoDS_Shape& shape) {
  std::ostringstream stream;
  BRepTools::Write(shape, stream, true, false, TopTools_FormatVersion_VERSION_3, Message_ProgressRange());
  return stream.str();
}

}  // namespace mirel::test
