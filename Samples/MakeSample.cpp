// Writes the sample assembly, a tool trolley, as a STEP file: mirel-make-sample FILE
//
// The trolley is small but holds what assemblies in the field hold: instances nested three levels deep, parts
// shared by many of them, placements that turn and move, names in several scripts, colours on products, on
// single faces and on one instance, curved faces, and a part of two solids. Every run writes the same
// entities; only the order of the colour styles is the translator's own.

#include <APIHeaderSection_MakeHeader.hxx>
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepOffsetAPI_MakePipe.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <GeomAPI_PointsToBSpline.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_Plane.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <Standard_Failure.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Ax2.hxx>
#include <gp_Circ.hxx>
#include <gp_Trsf.hxx>

#include <cmath>
#include <cstdio>

namespace {

constexpr double kPi = 3.14159265358979323846;

// All lengths are millimetres; x points forward, z up.
TopoDS_Shape MakePlate() {
  BRepPrimAPI_MakeBox box(gp_Pnt(-300, -200, -20), 600, 400, 20);
  BRepFilletAPI_MakeFillet fillet(box.Shape());
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(box.Shape(), TopAbs_EDGE, edges);
  for (int i = 1; i <= edges.Extent(); ++i) {
    const TopoDS_Edge& edge = TopoDS::Edge(edges(i));
    const gp_Pnt first = BRep_Tool::Pnt(TopExp::FirstVertex(edge));
    const gp_Pnt last = BRep_Tool::Pnt(TopExp::LastVertex(edge));
    if (std::abs(first.Z() - last.Z()) > 1.0) fillet.Add(40, edge);
  }
  return fillet.Shape();
}

TopoDS_Shape MakeFork() {
  const TopoDS_Shape outer = BRepPrimAPI_MakeBox(gp_Pnt(-25, -30, -75), 50, 60, 70).Shape();
  const TopoDS_Shape gap = BRepPrimAPI_MakeBox(gp_Pnt(-30, -22, -85), 60, 44, 70).Shape();
  const gp_Ax2 axle(gp_Pnt(0, -40, -60), gp_Dir(0, 1, 0));
  return BRepAlgoAPI_Cut(BRepAlgoAPI_Cut(outer, gap), BRepPrimAPI_MakeCylinder(axle, 6, 80).Shape()).Shape();
}

// Around the y axis, so that it stands on the floor.
TopoDS_Shape MakeWheel() {
  const gp_Ax2 axis(gp_Pnt(0, 0, 0), gp_Dir(0, 1, 0));
  const gp_Ax2 side(gp_Pnt(0, -15, 0), gp_Dir(0, 1, 0));
  const TopoDS_Shape rim = BRepPrimAPI_MakeCylinder(side, 36, 30).Shape();
  const TopoDS_Shape hole = BRepPrimAPI_MakeCylinder(side, 6, 30).Shape();
  return BRepAlgoAPI_Cut(BRepAlgoAPI_Fuse(rim, BRepPrimAPI_MakeTorus(axis, 36, 14)), hole).Shape();
}

TopoDS_Shape MakeBolt() {
  BRepBuilderAPI_MakePolygon hexagon;
  for (int i = 0; i < 6; ++i) {
    hexagon.Add(gp_Pnt(7.5 * std::cos(i * kPi / 3), 7.5 * std::sin(i * kPi / 3), 0));
  }
  hexagon.Close();
  const TopoDS_Shape head =
      BRepPrimAPI_MakePrism(BRepBuilderAPI_MakeFace(hexagon.Wire()).Face(), gp_Vec(0, 0, 5)).Shape();
  const TopoDS_Shape shaft =
      BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(0, 0, -25), gp_Dir(0, 0, 1)), 4, 25).Shape();
  return BRepAlgoAPI_Fuse(head, shaft).Shape();
}

TopoDS_Shape MakeDrawer() {
  const TopoDS_Shape outer = BRepPrimAPI_MakeBox(gp_Pnt(-250, -180, 0), 500, 360, 90).Shape();
  const TopoDS_Shape inner = BRepPrimAPI_MakeBox(gp_Pnt(-245, -175, 5), 490, 350, 90).Shape();
  return BRepAlgoAPI_Cut(outer, inner).Shape();
}

// A round bar along a free curve, so that the part has spline faces.
TopoDS_Shape MakeHandle() {
  TColgp_Array1OfPnt points(1, 7);
  for (int i = 1; i <= 7; ++i) {
    const double t = (i - 1) / 6.0;
    points(i) = gp_Pnt(-60 * std::sin(kPi * t), -180 + 360 * t, 220 * std::pow(std::sin(kPi * t), 0.5));
  }
  const Handle(Geom_BSplineCurve) curve = GeomAPI_PointsToBSpline(points, 3, 5, GeomAbs_C2, 0.5).Curve();
  gp_Pnt start;
  gp_Vec direction;
  curve->D1(curve->FirstParameter(), start, direction);
  const TopoDS_Edge circle = BRepBuilderAPI_MakeEdge(gp_Circ(gp_Ax2(start, gp_Dir(direction)), 10)).Edge();
  const TopoDS_Face profile = BRepBuilderAPI_MakeFace(BRepBuilderAPI_MakeWire(circle).Wire()).Face();
  const TopoDS_Wire spine = BRepBuilderAPI_MakeWire(BRepBuilderAPI_MakeEdge(curve).Edge()).Wire();
  return BRepOffsetAPI_MakePipe(spine, profile).Shape();
}

// One part of two bodies: a pair of weights that is ordered and mounted as one.
TopoDS_Shape MakeBallast() {
  TopoDS_Compound pair;
  BRep_Builder builder;
  builder.MakeCompound(pair);
  builder.Add(pair, BRepPrimAPI_MakeBox(gp_Pnt(-40, -150, 0), 80, 100, 30).Shape());
  builder.Add(pair, BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(0, 100, 0), gp_Dir(0, 0, 1)), 45, 30).Shape());
  return pair;
}

// The face whose plane looks along the direction.
TopoDS_Shape FaceTowards(const TopoDS_Shape& shape, const gp_Dir& direction, double distance) {
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(shape, TopAbs_FACE, faces);
  for (int i = 1; i <= faces.Extent(); ++i) {
    const Handle(Geom_Plane) plane = Handle(Geom_Plane)::DownCast(BRep_Tool::Surface(TopoDS::Face(faces(i))));
    if (plane.IsNull() || !plane->Axis().Direction().IsParallel(direction, 1e-9)) continue;
    if (std::abs(gp_Vec(gp_Pnt(), plane->Location()).Dot(gp_Vec(direction)) - distance) < 1e-6)
      return faces(i);
  }
  throw Standard_Failure("the sample has lost a face that it colours");
}

gp_Trsf Move(double x, double y, double z) {
  gp_Trsf trsf;
  trsf.SetTranslation(gp_Vec(x, y, z));
  return trsf;
}

gp_Trsf Turn(const gp_Dir& axis, double degrees) {
  gp_Trsf trsf;
  trsf.SetRotation(gp_Ax1(gp_Pnt(), axis), degrees * kPi / 180);
  return trsf;
}

class SampleDocument {
 public:
  SampleDocument()
      : document_(new TDocStd_Document("BinXCAF")),
        shapes_(XCAFDoc_DocumentTool::ShapeTool(document_->Main())),
        colors_(XCAFDoc_DocumentTool::ColorTool(document_->Main())) {
    shapes_->SetAutoNaming(false);
  }

  TDF_Label AddAssembly(const char* name) { return Name(shapes_->NewShape(), name); }

  TDF_Label AddPart(const char* name, const TopoDS_Shape& shape, const Quantity_Color& color) {
    const TDF_Label label = Name(shapes_->AddShape(shape, false), name);
    colors_->SetColor(label, color, XCAFDoc_ColorSurf);
    return label;
  }

  void ColorFace(const TDF_Label& part, const TopoDS_Shape& face, const Quantity_Color& color) {
    colors_->SetColor(shapes_->AddSubShape(part, face), color, XCAFDoc_ColorSurf);
  }

  TDF_Label Place(const TDF_Label& assembly, const TDF_Label& product, const char* name,
                  const gp_Trsf& trsf) {
    return Name(shapes_->AddComponent(assembly, product, TopLoc_Location(trsf)), name);
  }

  void ColorInstance(const TDF_Label& component, const Quantity_Color& color) {
    colors_->SetColor(component, color, XCAFDoc_ColorSurf);
  }

  bool Write(const char* path) {
    shapes_->UpdateAssemblies();
    STEPCAFControl_Writer writer;
    Interface_Static::SetIVal("write.surfacecurve.mode", 0);
    if (!writer.Transfer(document_, STEPControl_AsIs)) return false;
    APIHeaderSection_MakeHeader header(writer.ChangeWriter().Model());
    header.SetName(new TCollection_HAsciiString("trolley.step"));
    header.SetTimeStamp(new TCollection_HAsciiString("2024-01-01T00:00:00"));
    return writer.Write(path) == IFSelect_RetDone;
  }

 private:
  static TDF_Label Name(const TDF_Label& label, const char* name) {
    TDataStd_Name::Set(label, TCollection_ExtendedString(name, true));
    return label;
  }

  Handle(TDocStd_Document) document_;
  Handle(XCAFDoc_ShapeTool) shapes_;
  Handle(XCAFDoc_ColorTool) colors_;
};

bool WriteSample(const char* path) {
  const Quantity_Color steel(0.6, 0.62, 0.65, Quantity_TOC_sRGB);
  const Quantity_Color rubber(0.1, 0.1, 0.1, Quantity_TOC_sRGB);
  const Quantity_Color blue(0.1, 0.4, 0.7, Quantity_TOC_sRGB);
  const Quantity_Color red(0.8, 0.1, 0.1, Quantity_TOC_sRGB);
  const Quantity_Color yellow(1.0, 0.8, 0.0, Quantity_TOC_sRGB);
  const gp_Dir up(0, 0, 1);
  SampleDocument document;

  const TDF_Label trolley = document.AddAssembly("工具车");
  const TDF_Label chassis = document.AddAssembly("Fahrgestell");
  const TDF_Label caster = document.AddAssembly("Lenkrolle Ø100");

  const TopoDS_Shape plateShape = MakePlate();
  const TDF_Label plate = document.AddPart("Bodenplatte 600×400", plateShape, steel);
  document.ColorFace(plate, FaceTowards(plateShape, up, 0), yellow);
  const TopoDS_Shape drawerShape = MakeDrawer();
  const TDF_Label drawer = document.AddPart("Schublade", drawerShape, blue);
  document.ColorFace(drawer, FaceTowards(drawerShape, gp_Dir(1, 0, 0), 250), steel);
  const TDF_Label fork = document.AddPart("Gabel", MakeFork(), steel);
  const TDF_Label wheel = document.AddPart("Rad Ø100", MakeWheel(), rubber);
  const TDF_Label bolt = document.AddPart("Schraube M8", MakeBolt(), steel);
  const TDF_Label handle = document.AddPart("Griff Größe L", MakeHandle(), rubber);
  const TDF_Label ballast = document.AddPart("Gegengewicht", MakeBallast(), steel);

  document.Place(caster, fork, "fork", Move(0, 0, 5));
  document.Place(caster, wheel, "wheel", Move(0, 0, -55));
  document.Place(caster, bolt, "bolt left", Move(0, -15, 5));
  document.Place(caster, bolt, "bolt right", Move(0, 15, 5) * Turn(up, 30));

  document.Place(chassis, plate, "deck", Move(0, 0, 20));
  document.Place(chassis, caster, "caster front left", Move(230, 140, -5));
  document.Place(chassis, caster, "caster front right", Move(230, -140, -5));
  document.Place(chassis, caster, "caster rear left", Move(-230, 140, -5) * Turn(up, 35));
  document.Place(chassis, caster, "caster rear right", Move(-230, -140, -5) * Turn(up, 180));

  document.Place(trolley, chassis, "底盘", Move(0, 0, 110));
  document.Place(trolley, drawer, "drawer top", Move(0, 0, 330));
  document.Place(trolley, drawer, "drawer middle", Move(0, 0, 230));
  document.ColorInstance(document.Place(trolley, drawer, "drawer bottom", Move(0, 0, 130)), red);
  document.Place(trolley, handle, "push handle", Move(-280, 0, 440));
  document.Place(trolley, ballast, "ballast", Move(180, 0, 130) * Turn(up, 90));
  return document.Write(path);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: mirel-make-sample FILE\n");
    return 1;
  }
  // The translator reports its progress on stdout.
  Message::DefaultMessenger()->ChangePrinters().Clear();
  try {
    if (WriteSample(argv[1])) return 0;
    std::fprintf(stderr, "mirel-make-sample: cannot write %s\n", argv[1]);
  } catch (const Standard_Failure& failure) {
    std::fprintf(stderr, "mirel-make-sample: %s\n", failure.GetMessageString());
  }
  return 3;
}
