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
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>
#include <gp_Ax2.hxx>
#include <gp_Ax22d.hxx>
#include <gp_Trsf.hxx>

#include <cmath>
#include <sstream>

namespace mirel::test {
namespace {

const gp_Ax2 kTilted(gp_Pnt(1.5, -2, 3.25), gp_Dir(1, 2, 3), gp_Dir(2, -1, 0));

TColgp_Array1OfPnt Points(std::initializer_list<gp_Pnt> points) {
  TColgp_Array1OfPnt array(1, static_cast<int>(points.size()));
  int i = 0;
  for (const gp_Pnt& point : points)
    array(++i) = point;
  return array;
}
TColgp_Array1OfPnt2d Flat(const TColgp_Array1OfPnt& points) {
  TColgp_Array1OfPnt2d array(1, points.Length());
  for (int i = 1; i <= points.Length(); ++i)
    array(i) = gp_Pnt2d(points(i).X(), points(i).Y());
  return array;
}
TColStd_Array1OfReal Reals(std::initializer_list<double> values) {
  TColStd_Array1OfReal array(1, static_cast<int>(values.size()));
  int i = 0;
  for (const double value : values)
    array(++i) = value;
  return array;
}
TColStd_Array1OfInteger Integers(std::initializer_list<int> values) {
  TColStd_Array1OfInteger array(1, static_cast<int>(values.size()));
  int i = 0;
  for (const int value : values)
    array(++i) = value;
  return array;
}

const TColgp_Array1OfPnt& FourPoles() {
  static const TColgp_Array1OfPnt poles =
      Points({gp_Pnt(0, 0, 0), gp_Pnt(1, 2.125, 0), gp_Pnt(3, 2, 1. / 3.), gp_Pnt(4, 0, -1e-17)});
  return poles;
}
const TColgp_Array1OfPnt& FivePoles() {
  static const TColgp_Array1OfPnt poles =
      Points({gp_Pnt(0, 0, 0), gp_Pnt(1, 1, 0), gp_Pnt(2, 2, 0), gp_Pnt(3, 3, 0), gp_Pnt(4, 1, 0)});
  return poles;
}
const TColStd_Array1OfReal kWeights = Reals({1, std::sqrt(0.5), 2, 1});

std::vector<std::pair<std::string, Handle(Geom_Curve)>> SpaceCurves() {
  const Handle(Geom_Curve) circle = new Geom_Circle(kTilted, 2.5);
  const Handle(Geom_Curve) periodic =
      new Geom_BSplineCurve(FourPoles(), Reals({0, 1, 2.5, 3, 4}), Integers({1, 1, 1, 1, 1}), 3, true);
  // The knot 1 is as multiple as the degree, yet the legs on both sides of its pole have one direction.
  const Handle(Geom_Curve) smoothCorner =
      new Geom_BSplineCurve(FivePoles(), Reals({0, 1, 2}), Integers({3, 2, 3}), 2, false);
  const Handle(Geom_Curve) offset = new Geom_OffsetCurve(circle, -0.5, gp_Dir(1, 2, 3));
  return {
      {"line", new Geom_Line(gp_Pnt(1, 2, 3), gp_Dir(1, 1, 1e-9))},
      {"circle", circle},
      {"circle of radius 0", new Geom_Circle(kTilted, 0)},
      {"ellipse", new Geom_Ellipse(kTilted, 3, 1. / 3.)},
      {"round ellipse", new Geom_Ellipse(kTilted, 2.1, 2.1)},
      {"parabola", new Geom_Parabola(kTilted, 0.75)},
      {"hyperbola", new Geom_Hyperbola(kTilted, 1, 2)},
      {"Bezier curve", new Geom_BezierCurve(FourPoles())},
      {"rational Bezier curve", new Geom_BezierCurve(FourPoles(), kWeights)},
      {"B-spline", new Geom_BSplineCurve(FourPoles(), Reals({-0.1, 0.7}), Integers({4, 4}), 3, false)},
      {"unclamped B-spline", new Geom_BSplineCurve(FourPoles(), Reals({0, 1, 2, 3, 4, 5, 6}),
                                                   Integers({1, 1, 1, 1, 1, 1, 1}), 2, false)},
      {"rational B-spline",
       new Geom_BSplineCurve(FourPoles(), kWeights, Reals({0, std::nextafter(1., 0.), 2}),
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
       new Geom_BSplineCurve(FourPoles(), Reals({0, 1, 2, 3}), Integers({2, 1, 1, 2}), 1, false)},
  };
}

std::vector<std::pair<std::string, Handle(Geom2d_Curve)>> PlaneCurves() {
  const gp_Ax22d axes(gp_Pnt2d(0.1, 0.2), gp_Dir2d(3, 4), gp_Dir2d(4, -3));
  const Handle(Geom2d_Curve) circle = new Geom2d_Circle(axes, 2);
  const TColgp_Array1OfPnt2d poles = Flat(FourPoles());
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
           new Geom2d_BSplineCurve(Flat(FivePoles()), Reals({0, 1, 2}), Integers({3, 2, 3}), 2, false),
           0.25)},
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
      new Geom_BezierCurve(FourPoles()), gp_Ax1(gp_Pnt(-5, 0, 0), gp_Dir(0, 1, 0)));
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
  double u1, u2, v1, v2;
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
  BRepMesh_IncrementalMesh(shape, 0.1, false, 0.5, false);
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

void AddSolids(std::vector<BodySample>& samples) {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
  const TopoDS_Shape cylinder =
      BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(5, 5, -5), gp_Dir(0, 0, 1)), 3, 50).Shape();
  const TopoDS_Shape sphere = BRepPrimAPI_MakeSphere(gp_Pnt(10, 20, 30), 8).Shape();
  const TopoDS_Shape cone = BRepPrimAPI_MakeCone(5, 0, 12).Shape();
  samples.push_back({"box", box});
  samples.push_back({"cylinder", cylinder});
  samples.push_back({"sphere", sphere});
  samples.push_back({"cone", cone});
  samples.push_back({"torus", BRepPrimAPI_MakeTorus(10, 3, 1, 2, 3).Shape()});
  samples.push_back({"wedge", BRepPrimAPI_MakeWedge(10, 10, 10, 2).Shape()});
  samples.push_back({"cut", BRepAlgoAPI_Cut(box, cylinder).Shape()});
  samples.push_back({"fuse", BRepAlgoAPI_Fuse(box, sphere).Shape()});
  samples.push_back({"common", BRepAlgoAPI_Common(box, sphere).Shape()});
  samples.push_back(
      {"half space", BRepPrimAPI_MakeHalfSpace(TopoDS::Face(TopExp_Explorer(box, TopAbs_FACE).Current()),
                                               gp_Pnt(100, 100, 100))
                         .Solid()});

  BRepFilletAPI_MakeFillet fillet(box);
  BRepFilletAPI_MakeChamfer chamfer(cylinder);
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(box, TopAbs_EDGE, edges);
  for (int i = 1; i <= edges.Extent(); ++i)
    fillet.Add(1 + 0.1 * i, TopoDS::Edge(edges(i)));
  samples.push_back({"fillets", fillet.Shape()});
  chamfer.Add(0.5, TopoDS::Edge(TopExp_Explorer(cylinder, TopAbs_EDGE).Current()));
  samples.push_back({"chamfer", chamfer.Shape()});

  TopTools_ListOfShape open;
  open.Append(TopExp_Explorer(box, TopAbs_FACE).Current());
  BRepOffsetAPI_MakeThickSolid thick;
  thick.MakeThickSolidByJoin(box, open, 1, 1e-3);
  samples.push_back({"thick solid", thick.Shape()});

  const TopoDS_Wire profile = BRepBuilderAPI_MakeWire(
      BRepBuilderAPI_MakeEdge(Handle(Geom_Curve)(new Geom_BezierCurve(FourPoles()))).Edge(),
      BRepBuilderAPI_MakeEdge(gp_Pnt(4, 0, -1e-17), gp_Pnt(0, 0, 0)).Edge());
  const TopoDS_Wire ellipse =
      BRepBuilderAPI_MakeWire(BRepBuilderAPI_MakeEdge(gp_Elips(kTilted, 3, 2)).Edge());
  const TopoDS_Wire circle = BRepBuilderAPI_MakeWire(
      BRepBuilderAPI_MakeEdge(gp_Circ(gp_Ax2(gp_Pnt(1, 1, 20), gp_Dir(0, 0, 1)), 2)).Edge());
  samples.push_back(
      {"revolved spline", BRepPrimAPI_MakeRevol(profile, gp_Ax1(gp_Pnt(0, -3, 0), gp_Dir(1, 0, 0)), 2.)});
  samples.push_back({"extruded spline", BRepPrimAPI_MakePrism(profile, gp_Vec(0, 1, 5)).Shape()});
  samples.push_back(
      {"extruded ellipse",
       BRepPrimAPI_MakePrism(BRepBuilderAPI_MakeFace(ellipse).Face(), gp_Vec(5, 1, 1)).Shape()});
  BRepOffsetAPI_ThruSections loft(true);
  loft.AddWire(ellipse);
  loft.AddWire(circle);
  samples.push_back({"loft", loft.Shape()});
  samples.push_back({"pipe", BRepOffsetAPI_MakePipe(profile, ellipse).Shape()});
  BRepOffsetAPI_MakeOffsetShape offset;
  offset.PerformByJoin(BRepBuilderAPI_MakeFace(SurfaceSamples()[10].second, 1e-7).Face(), 0.05, 1e-3);
  samples.push_back({"offset B-spline face", offset.Shape()});
  samples.push_back({"box as B-splines", BRepBuilderAPI_NurbsConvert(box).Shape()});
  samples.push_back(
      {"torus as B-splines", BRepBuilderAPI_NurbsConvert(BRepPrimAPI_MakeTorus(10, 3).Shape()).Shape()});

  BRepBuilderAPI_Sewing sewing;
  int faces = 0;
  for (TopExp_Explorer i(BRepBuilderAPI_Transform(box, gp_Trsf(), true).Shape(), TopAbs_FACE);
       i.More() && faces < 5; i.Next(), ++faces)
    sewing.Add(i.Current());
  sewing.Perform();
  samples.push_back({"sewn open shell", sewing.SewedShape()});

  const std::size_t solids = samples.size();
  for (std::size_t i = 0; i < solids; ++i) {
    if (samples[i].name != "half space")
      samples.push_back(
          {"meshed " + samples[i].name, Meshed(BRepBuilderAPI_Transform(samples[i].shape, gp_Trsf(), true))});
  }
}

void AddTopology(std::vector<BodySample>& samples) {
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

  samples.push_back({"empty compound", Compound()});
  samples.push_back({"nested compounds", Compound(Compound(), Compound(box, Compound(ball)))});
  samples.push_back({"placed root", box.Located(moved * turned)});
  samples.push_back(
      {"placed sub-shapes",
       Compound(box, box.Located(moved), box.Located(turned * moved), ball.Located(moved.Powered(2)),
                Compound(ball.Located(moved.Inverted() * turned.Powered(-3))).Located(turned))});
  samples.push_back(
      {"mirrored and scaled placements",
       Compound(box.Located(TopLoc_Location(mirror), false), ball.Located(TopLoc_Location(scale), false))});
  samples.push_back({"mirrored geometry", BRepBuilderAPI_Transform(samples[0].shape, mirror, true).Shape()});
  samples.push_back({"far away", BRepBuilderAPI_Transform(box, far, true).Shape()});
  samples.push_back(
      {"all orientations", Compound(box.Oriented(TopAbs_REVERSED), box.Oriented(TopAbs_INTERNAL),
                                    box.Oriented(TopAbs_EXTERNAL))});
  samples.push_back({"shell", TopExp_Explorer(box, TopAbs_SHELL).Current()});
  samples.push_back({"face", TopExp_Explorer(box, TopAbs_FACE).Current()});
  samples.push_back({"wire", TopExp_Explorer(box, TopAbs_WIRE).Current()});
  samples.push_back({"edge", TopExp_Explorer(ball, TopAbs_EDGE).Current()});
  samples.push_back({"vertex", BRepBuilderAPI_MakeVertex(gp_Pnt(1e-300, -0.0, 12345678.901234567)).Vertex()});
  samples.push_back({"composite solid",
                     Assemble<TopoDS_CompSolid>(&TopoDS_Builder::MakeCompSolid, box, box.Located(moved))});
  TopoDS_Solid solid = Assemble<TopoDS_Solid>(&TopoDS_Builder::MakeSolid);
  builder.Add(solid, TopExp_Explorer(box, TopAbs_SHELL).Current());
  builder.Add(
      solid,
      BRepBuilderAPI_MakeEdge(gp_Pnt(0.1, 0.1, 0.1), gp_Pnt(0.2, 0.2, 0.2)).Edge().Oriented(TopAbs_INTERNAL));
  builder.Add(solid, BRepBuilderAPI_MakeVertex(gp_Pnt(0.5, 0.5, 0.5)).Vertex().Oriented(TopAbs_INTERNAL));
  samples.push_back({"solid with an edge and a vertex inside", solid});
  samples.push_back({"unbounded face", BRepBuilderAPI_MakeFace(gp_Pln()).Face()});
  samples.push_back({"unbounded edge", BRepBuilderAPI_MakeEdge(gp_Lin(gp_Pnt(), gp_Dir(1, 0, 0))).Edge()});
  samples.push_back(
      {"polygon", BRepBuilderAPI_MakePolygon(gp_Pnt(), gp_Pnt(1, 0, 0), gp_Pnt(1, 1, 0), true).Wire()});

  TopoDS_Face bare;
  builder.MakeFace(bare);
  samples.push_back({"face without a surface", bare});
  for (const bool uv : {false, true}) {
    for (const bool normals : {false, true}) {
      TopoDS_Face mesh;
      builder.MakeFace(mesh, Triangle(uv, normals));
      samples.push_back({"face of triangles only", mesh});
    }
  }
  for (const bool parameters : {false, true}) {
    const TColgp_Array1OfPnt nodes = Points({gp_Pnt(0, 0, 0), gp_Pnt(1, 0, 0), gp_Pnt(1, 0.5, 0)});
    TopoDS_Edge edge;
    builder.MakeEdge(edge,
                     parameters ? new Poly_Polygon3D(nodes, Reals({0, 1, 2})) : new Poly_Polygon3D(nodes));
    samples.push_back({"edge of a polyline only", edge});
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
  samples.push_back({"vertex on curve and surface", Compound(edge, plane)});
}

}  // namespace

std::vector<BodySample> MakeBodySamples() {
  std::vector<BodySample> samples;
  AddSolids(samples);
  AddTopology(samples);
  for (const auto& [name, curve] : SpaceCurves())
    samples.push_back({"edge on a " + name, MakeEdge(curve)});
  for (const auto& [name, curve] : PlaneCurves()) {
    samples.push_back({"edge on a plane " + name, MakeEdge(curve, true)});
    samples.push_back({"edge on a plane " + name + " only", MakeEdge(curve, false)});
  }
  for (const auto& [name, surface] : SurfaceSamples()) {
    samples.push_back({"face on a " + name, MakeFace(surface)});
    samples.push_back({"meshed face on a " + name, Meshed(MakeFace(surface))});
  }
  return samples;
}

std::string WriteBRepText(const TopoDS_Shape& shape) {
  std::ostringstream stream;
  BRepTools::Write(shape, stream, true, false, TopTools_FormatVersion_VERSION_3, Message_ProgressRange());
  return stream.str();
}

}  // namespace mirel::test
