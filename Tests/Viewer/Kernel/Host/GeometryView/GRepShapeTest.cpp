#include <Tests/Support/EndlessBody.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/RunThreads.h>
#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>
#include <Tests/Viewer/Kernel/Host/GeometryView/MeshCheck.h>
#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <gtest/gtest.h>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepFilletAPI_MakeFillet.hxx>
#include <BRepGProp.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeHalfSpace.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <GProp_GProps.hxx>
#include <Geom2d_Line.hxx>
#include <Geom_Curve.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>
#include <gp_Circ.hxx>
#include <gp_Pln.hxx>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <sstream>
#include <thread>
#include <vector>

namespace mirel {
namespace {

using test::BodySample;

std::shared_ptr<GRepShape> Create(const std::shared_ptr<TopoShape>& body) {
  return GRepShape::Create(body, nullptr, nullptr, 0.0, true);
}

std::shared_ptr<GRepShape> Compute(const TopoDS_Shape& shape, double deflection = 0.0,
                                   bool withEdges = true) {
  auto grep = GRepShape::Create(std::make_shared<TopoShape>(shape), nullptr, nullptr, deflection, withEdges);
  if (grep) grep->Compute();
  return grep;
}

std::string Record(const GRepShape& grep) {
  std::ostringstream stream;
  EXPECT_TRUE(grep.ToStream(stream));
  return stream.str();
}

TopoDS_Shape Filleted() {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
  BRepFilletAPI_MakeFillet fillet(box);
  for (TopExp_Explorer edge(box, TopAbs_EDGE); edge.More(); edge.Next())
    fillet.Add(2, TopoDS::Edge(edge.Current()));
  return fillet.Shape();
}

TopoDS_Wire Circle(double x, double y, double radius) {
  return BRepBuilderAPI_MakeWire(
      BRepBuilderAPI_MakeEdge(gp_Circ(gp_Ax2(gp_Pnt(x, y, 0), gp::DZ()), radius)).Edge());
}

// A plate with rows of round holes: faces with hundreds of boundary loops.
TopoDS_Shape Perforated(int rows) {
  BRepBuilderAPI_MakeFace face(gp_Pln(), 0, rows, 0, rows);
  for (int i = 0; i < rows * rows; ++i)
    face.Add(TopoDS::Wire(Circle(i % rows + 0.5, i / rows + 0.5, 0.1 + 0.3 * (i % 7) / 7).Reversed()));
  return BRepPrimAPI_MakePrism(face.Face(), gp_Vec(0, 0, 0.5)).Shape();
}

// A disc of radius 10 and thickness 1 with 40 holes near its rim.
TopoDS_Shape RingOfHoles(double ringRadius, double holeRadius) {
  BRepBuilderAPI_MakeFace face(gp_Pln(), Circle(0, 0, 10));
  for (int i = 0; i < 40; ++i) {
    const double angle = 2.0 * M_PI * i / 40;
    face.Add(TopoDS::Wire(
        Circle(ringRadius * std::cos(angle), ringRadius * std::sin(angle), holeRadius).Reversed()));
  }
  return BRepPrimAPI_MakePrism(face.Face(), gp_Vec(0, 0, 1)).Shape();
}

TopoDS_Compound Compound(const std::vector<TopoDS_Shape>& parts) {
  TopoDS_Compound whole;
  BRep_Builder builder;
  builder.MakeCompound(whole);
  for (const TopoDS_Shape& part : parts)
    builder.Add(whole, part);
  return whole;
}

// A body whose edges lie on its surfaces alone.
TopoDS_Shape WithoutCurves(const TopoDS_Shape& body) {
  BRep_Builder builder;
  for (TopExp_Explorer edges(body, TopAbs_EDGE); edges.More(); edges.Next())
    builder.UpdateEdge(TopoDS::Edge(edges.Current()), Handle(Geom_Curve)(), 1e-7);
  return body;
}

std::vector<BodySample> Solids() {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
  gp_Trsf move;
  move.SetRotation(gp_Ax1(gp_Pnt(1, 2, 3), gp_Dir(1, 1, 0)), 1.0);
  move.SetTranslationPart(gp_Vec(1000, -50, 7));
  gp_Trsf mirror;
  mirror.SetMirror(gp_Ax2(gp_Pnt(0, 0, 0), gp::DX()));
  TopoDS_Shape mirrored = Filleted();
  mirrored.Location(TopLoc_Location(mirror), false);
  return {{"box", box},
          {"sphere", BRepPrimAPI_MakeSphere(10).Shape()},
          {"small sphere, whose fast triangulation fails", BRepPrimAPI_MakeSphere(1e-3).Shape()},
          {"cylinder", BRepPrimAPI_MakeCylinder(5, 20).Shape()},
          {"cone with apex", BRepPrimAPI_MakeCone(10, 0, 20).Shape()},
          {"cone without curves", WithoutCurves(BRepPrimAPI_MakeCone(10, 5, 20).Shape())},
          {"torus", BRepPrimAPI_MakeTorus(10, 3).Shape()},
          {"fillets", Filleted()},
          {"hole",
           BRepAlgoAPI_Cut(box, BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(5, 9, -1), gp::DZ()), 3, 40).Shape())},
          {"trimmed sphere and torus",
           BRepAlgoAPI_Fuse(BRepPrimAPI_MakeTorus(20, 5).Shape(),
                            BRepPrimAPI_MakeSphere(gp_Ax2(gp_Pnt(12, 9, 2), gp_Dir(1, 2, -1)), 8).Shape())
               .Shape()},
          {"perforated", Perforated(12)},
          {"needle", BRepPrimAPI_MakeBox(1000, 0.01, 0.02).Shape()},
          {"placed", Filleted().Located(TopLoc_Location(move))},
          {"placed twice", Compound({Filleted(), Filleted().Located(TopLoc_Location(move))})},
          {"mirrored", mirrored},
          {"mirrored inside", Compound({mirrored})},
          {"surfaces placed", test::PlaceSurfaces(Filleted(), move)},
          {"surfaces placed, placed faces",
           Compound({test::PlaceSurfaces(box, move).Moved(TopLoc_Location(move))})},
          {"surfaces mirrored", test::PlaceSurfaces(Filleted(), mirror).Reversed()}};
}

TEST(GRepShapeTest, SolidsAreClosedAndFaceOutwards) {
  for (const auto& [name, shape] : Solids()) {
    SCOPED_TRACE(name);
    const bool tiny = name.rfind("small", 0) == 0;
    const auto grep = Compute(shape, tiny ? 7e-7 : 0.0);
    ASSERT_TRUE(grep);
    const GRepMesh& mesh = grep->GetMesh();
    EXPECT_TRUE(test::IsConsistent(mesh));
    EXPECT_EQ(mesh.CountFacesWithoutTriangles(), 0u);
    EXPECT_TRUE(test::IsClosed(mesh));
    GProp_GProps exact;
    BRepGProp::VolumeProperties(shape, exact);
    GProp_GProps surface;
    BRepGProp::SurfaceProperties(shape, surface);
    // A triangle is off by the deflection at most, so the volume is by a skin of that thickness.
    EXPECT_NEAR(test::MeasureVolume(mesh), std::abs(exact.Mass()), surface.Mass() * mesh.linearDeflection);
    // The apex of a cone has no normal; it gets that of the triangles around.
    EXPECT_GT(test::SmallestNormalCosine(mesh), name == "cone with apex" ? 0.05 : 0.75);
    if (!tiny) {
      EXPECT_LE(test::MeasureDeviation(mesh, shape), mesh.linearDeflection);
    }
    const test::SurfaceFit fit = test::MeasureSurfaces(mesh);
    EXPECT_LE(fit.distance, mesh.gridStep);
    EXPECT_GT(fit.cosine, 0.98);
  }
}

// How many faces lie on each kind of surface, and how many edges are of each kind, as text.
std::string CountKinds(const GRepMesh& mesh) {
  std::array<int, 6> surfaces{};
  std::array<int, 5> edges{};
  for (const GRepSurface& surface : mesh.surfaces)
    ++surfaces.at(static_cast<std::size_t>(surface.kind));
  for (const GRepEdgeSides& sides : mesh.sides)
    ++edges.at(static_cast<std::size_t>(sides.kind));
  std::ostringstream text;
  const auto print = [&text](const char* name, int count) {
    if (count > 0) text << count << ' ' << name << ' ';
  };
  const char* const surfaceNames[] = {"other", "planes", "cylinders", "cones", "spheres", "tori"};
  const char* const edgeNames[] = {"loose", "borders", "seams", "smooth", "sharp"};
  for (std::size_t i = 0; i < surfaces.size(); ++i)
    print(surfaceNames[i], surfaces.at(i));
  for (std::size_t i = 0; i < edges.size(); ++i)
    print(edgeNames[i], edges.at(i));
  return text.str();
}

TEST(GRepShapeTest, SaysWhatFacesLieOnAndWhatMeetsAtEdges) {
  const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
  const TopoDS_Shape drill = BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(5, 9, -1), gp::DZ()), 3, 40).Shape();
  const GRepMesh hole = Compute(BRepAlgoAPI_Cut(box, drill).Shape())->GetMesh();
  EXPECT_EQ(CountKinds(hole), "6 planes 1 cylinders 1 seams 14 sharp ");
  const auto wall = std::find_if(hole.surfaces.begin(), hole.surfaces.end(), [](const GRepSurface& surface) {
    return surface.kind == GRepSurfaceKind::kCylinder;
  });
  EXPECT_TRUE(wall->isHollow);
  EXPECT_EQ(wall->radius, 3.0);
  EXPECT_EQ(wall->origin, glm::dvec3(5, 9, 0));
  EXPECT_EQ(wall->axis, glm::dvec3(0, 0, 1));

  EXPECT_EQ(CountKinds(Compute(BRepPrimAPI_MakeCone(10, 5, 20).Shape())->GetMesh()),
            "2 planes 1 cones 1 seams 2 sharp ");
  EXPECT_EQ(CountKinds(Compute(BRepPrimAPI_MakeTorus(10, 3).Shape())->GetMesh()), "1 tori 2 seams ");
  EXPECT_EQ(CountKinds(Compute(Circle(0, 0, 5))->GetMesh()), "1 loose ");
  const TopoDS_Shape disc = BRepBuilderAPI_MakeFace(Circle(0, 0, 5)).Shape();
  EXPECT_EQ(CountKinds(Compute(disc)->GetMesh()), "1 planes 1 borders ");
  // A fillet goes on smoothly on both sides, and ends at a sharp arc.
  BRepFilletAPI_MakeFillet fillet(box);
  fillet.Add(2.0, TopoDS::Edge(TopExp_Explorer(box, TopAbs_EDGE).Current()));
  EXPECT_EQ(CountKinds(Compute(fillet.Shape())->GetMesh()), "6 planes 1 cylinders 2 smooth 13 sharp ");
  // Three walls at one edge.
  const TopoDS_Shape walls = BRepAlgoAPI_Fuse(BRepBuilderAPI_MakeFace(gp_Pln(gp::XOY()), -9, 9, 0, 9).Shape(),
                                              BRepBuilderAPI_MakeFace(gp_Pln(gp::YOZ()), 0, 9, 0, 9).Shape())
                                 .Shape();
  EXPECT_EQ(CountKinds(Compute(walls)->GetMesh()), "3 planes 9 borders 1 sharp ");
}

TEST(GRepShapeTest, HolesThatCrossTheRimAreHealedOrReported) {
  LogCapture log;
  // Chords of the rim would cut into the holes, which are 0.01 from it, if it were not divided further.
  const auto healed = Compute(RingOfHoles(9.79, 0.2), 0.5);
  EXPECT_TRUE(test::IsClosed(healed->GetMesh()));
  EXPECT_NEAR(test::MeasureVolume(healed->GetMesh()), M_PI * (100 - 40 * 0.2 * 0.2), 3.0);
  EXPECT_TRUE(log.GetEntries().empty());
  // Here nothing helps: the holes cut through the rim.
  const auto broken = Compute(RingOfHoles(9.95, 0.2), 0.5);
  EXPECT_TRUE(test::IsConsistent(broken->GetMesh()));
  EXPECT_TRUE(log.Contains("faces may be drawn with holes or overlaps"));
}

TEST(GRepShapeTest, DeflectionIsKeptWhateverItIs) {
  for (double deflection : {5.0, 0.1, 0.003}) {
    SCOPED_TRACE(deflection);
    const auto grep = Compute(Filleted(), deflection);
    EXPECT_EQ(grep->GetMesh().linearDeflection, deflection);
    EXPECT_LE(test::MeasureDeviation(grep->GetMesh(), Filleted()), deflection);
  }
  const auto fine = Compute(BRepPrimAPI_MakeCylinder(5, 3000).Shape(), 0.004);
  EXPECT_TRUE(fine->GetMesh().vertices.empty());
  EXPECT_FALSE(fine->GetMesh().fineVertices.empty());
  EXPECT_TRUE(test::IsClosed(fine->GetMesh()));
  for (double odd : {-1.0, std::nan(""), static_cast<double>(INFINITY)})
    EXPECT_EQ(Record(*Compute(Filleted(), odd)), Record(*Compute(Filleted())));
}

// A cylinder whose side is bounded as readers of STEP files leave some: each of the four curves lies `turns` periods
// away from where it belongs, and degenerated edges run round from one to the next if `joined`.
TopoDS_Shape WoundCylinder(const std::array<int, 4>& turns, bool joined) {
  const TopoDS_Shape solid = BRepPrimAPI_MakeCylinder(5, 10).Shape();
  const TopoDS_Face side =
      TopoDS::Face(TopExp_Explorer(solid, TopAbs_FACE).Current().Oriented(TopAbs_FORWARD));
  TopoDS_Wire wire = TopoDS::Wire(TopoDS_Iterator(side).Value());
  BRep_Builder builder;
  double first, last;
  const auto curveOf = [&](const TopoDS_Edge& edge) {
    return BRep_Tool::CurveOnSurface(edge, side, first, last);
  };
  std::vector<TopoDS_Edge> edges;
  for (TopoDS_Iterator edge(wire); edge.More(); edge.Next())
    edges.insert(edges.begin(), TopoDS::Edge(edge.Value()));  // which list this wire against its direction
  wire.Free(true);
  std::vector<gp_Pnt2d> starts, ends;
  for (std::size_t i = 0; i < edges.size(); ++i) {
    const TopoDS_Edge& edge = edges[i];
    builder.Remove(wire, edge);
    const bool reversed = edge.Orientation() == TopAbs_REVERSED;
    const auto moved =
        Handle(Geom2d_Curve)::DownCast(curveOf(edge)->Translated(gp_Vec2d(2.0 * M_PI * turns.at(i), 0)));
    starts.push_back(moved->Value(reversed ? last : first));
    ends.push_back(moved->Value(reversed ? first : last));
    if (BRep_Tool::IsClosed(edge, side)) {
      const auto other = curveOf(TopoDS::Edge(edge.Reversed()));
      builder.UpdateEdge(edge, reversed ? other : moved, reversed ? moved : other, side, 1e-7);
    } else {
      builder.UpdateEdge(edge, moved, side, 1e-7);
    }
  }
  for (std::size_t i = 0; i < edges.size(); ++i) {
    builder.Add(wire, edges[i]);
    const gp_Vec2d gap(ends[i], starts[(i + 1) % edges.size()]);
    if (!joined || gap.Magnitude() < 1.0) continue;
    TopoDS_Edge point;
    builder.MakeEdge(point);
    builder.UpdateEdge(point, new Geom2d_Line(ends[i], gp_Dir2d(gap)), side, 1e-7);
    builder.Range(point, 0.0, gap.Magnitude());
    builder.Degenerated(point, true);
    const TopoDS_Vertex vertex = TopExp::LastVertex(edges[i], true);
    builder.Add(point, vertex.Oriented(TopAbs_FORWARD));
    builder.Add(point, vertex.Oriented(TopAbs_REVERSED));
    builder.Add(wire, point);
  }
  return solid;
}

TEST(GRepShapeTest, DrawsWhatReadersLeaveInDisorder) {
  std::vector<TopoDS_Shape> bodies = {WoundCylinder({0, 0, 0, 0}, false), WoundCylinder({0, 0, 1, 1}, false),
                                      WoundCylinder({0, -1, 0, 2}, false), WoundCylinder({0, 2, 2, 0}, true)};
  // Vertices that are far wider than the circles they lie on.
  bodies.push_back(BRepPrimAPI_MakeCylinder(5, 10).Shape());
  for (TopExp_Explorer vertex(bodies.back(), TopAbs_VERTEX); vertex.More(); vertex.Next())
    BRep_Builder().UpdateVertex(TopoDS::Vertex(vertex.Current()), 100.0);
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    const auto grep = Compute(bodies[i]);
    EXPECT_EQ(grep->GetMesh().CountFacesWithoutTriangles(), 0u) << i;
    EXPECT_TRUE(test::IsClosed(grep->GetMesh())) << i;
    EXPECT_NEAR(test::MeasureVolume(grep->GetMesh()), M_PI * 250.0, 20.0) << i;
  }
}

TEST(GRepShapeTest, ABoxHasThisMesh) {
  const GRepMesh mesh = Compute(BRepPrimAPI_MakeBox(10, 20, 30).Shape())->GetMesh();
  EXPECT_EQ(mesh.box.GetMin(), glm::dvec3(0, 0, 0));
  EXPECT_EQ(mesh.box.GetMax(), glm::dvec3(10, 20, 30));
  EXPECT_NEAR(mesh.linearDeflection, 0.001 * std::sqrt(1400.0), 1e-6);
  EXPECT_EQ(mesh.gridStep, 0.002);
  EXPECT_EQ(mesh.vertices.size(), 24u);
  EXPECT_EQ(mesh.GetTriangleCount(), 12u);
  EXPECT_EQ(mesh.polylines.size(), 24u);
  // The first face of this primitive lies at x = 0.
  EXPECT_EQ(mesh.GetNormal(0), glm::vec3(-1, 0, 0));
  EXPECT_TRUE(Compute(BRepPrimAPI_MakeBox(1, 1, 1).Shape(), 0.0, false)->GetMesh().edges.empty());
}

TEST(GRepShapeTest, MeshesAreCopiedInTheFormsThatGraphicsWant) {
  const GRepMesh coarse = Compute(Perforated(2))->GetMesh();
  const GRepMesh fine = Compute(BRepPrimAPI_MakeCylinder(5, 3000).Shape(), 0.004)->GetMesh();
  for (const GRepMesh& mesh : {coarse, fine}) {
    constexpr std::size_t kStride = 8;
    std::vector<float> copy(kStride * mesh.GetVertexCount(), -1.0F);
    mesh.CopyPositions(copy.data(), kStride, {1, 2, 3});
    mesh.CopyNormals(copy.data() + 4, kStride);
    const std::vector<std::uint32_t> ofVertex = mesh.MakeFaceOfVertex(),
                                     ofTriangle = mesh.MakeFaceOfTriangle();
    for (std::size_t i = 0; i < mesh.GetVertexCount(); ++i) {
      const float* const at = &copy[kStride * i];
      EXPECT_EQ(glm::vec3(at[0], at[1], at[2]), glm::vec3(mesh.GetPosition(i) - glm::dvec3(1, 2, 3)));
      EXPECT_EQ(glm::vec3(at[4], at[5], at[6]), mesh.GetNormal(i));
      EXPECT_EQ(at[3] + at[7], -2.0F);
      const GRepFace& face = mesh.faces.at(ofVertex.at(i));
      EXPECT_LT(i - face.firstVertex, face.vertexCount);
    }
    for (std::size_t i = 0; i < mesh.GetTriangleCount(); ++i) {
      EXPECT_EQ(ofVertex.at(mesh.triangles[3 * i]), ofTriangle.at(i));
      EXPECT_EQ(mesh.FindFace(i), ofTriangle.at(i));
    }
    const std::size_t all = mesh.MakeSegments().size(), sharp = mesh.MakeSegments(true).size();
    EXPECT_EQ(all, 2 * (mesh.polylines.size() - mesh.edges.size()));
    EXPECT_GT(sharp, 0u);
    EXPECT_LT(sharp, all);
  }
}

TEST(GRepShapeTest, EveryKindOfBodyGivesAValidMesh) {
  for (const auto& [name, shape] : test::MakeBodySamples()) {
    SCOPED_TRACE(name);
    LogCapture log;
    const auto grep = Compute(shape);
    ASSERT_EQ(grep == nullptr, shape.IsNull());
    if (!grep) continue;
    const GRepMesh& mesh = grep->GetMesh();
    EXPECT_TRUE(test::IsConsistent(mesh));
    TopTools_IndexedMapOfShape faces, edges;
    TopExp::MapShapes(shape, TopAbs_FACE, faces);
    TopExp::MapShapes(shape, TopAbs_EDGE, edges);
    EXPECT_EQ(mesh.faces.size(), static_cast<std::size_t>(faces.Extent()));
    EXPECT_EQ(mesh.edges.size(), static_cast<std::size_t>(edges.Extent()));
    const bool unbounded =
        name.find("unbounded") != std::string::npos || name == "vertex on curve and surface";
    const bool bare = name == "face without a surface";
    EXPECT_EQ(mesh.CountFacesWithoutTriangles(), (unbounded || bare) ? mesh.faces.size() : 0u);
    EXPECT_EQ(mesh.box.IsInfinite(), unbounded);
    EXPECT_EQ(log.GetTexts(3), std::vector<std::string>());

    std::istringstream stream(Record(*grep));
    const auto read = GRepShape::FromStream(stream);
    ASSERT_TRUE(read) << log.GetTexts(1).back();
    EXPECT_TRUE(test::IsSame(read->GetMesh(), mesh));
    EXPECT_EQ(Record(*read), stream.str());
  }
}

TEST(GRepShapeTest, BodiesWithoutFaces) {
  const TopoDS_Wire circle = Circle(0, 0, 5);
  const GRepMesh wire = Compute(circle)->GetMesh();
  ASSERT_EQ(wire.edges.size(), 1u);
  EXPECT_GT(wire.edges[0].indexCount, 10u);
  EXPECT_LE(test::MeasureDeviation(wire, circle), wire.linearDeflection);
  EXPECT_NEAR(wire.box.GetMax().x, 5.0, wire.linearDeflection);

  const TopoDS_Vertex point = BRepBuilderAPI_MakeVertex(gp_Pnt(1, 2, 3));
  const GRepMesh lone = Compute(point)->GetMesh();
  EXPECT_TRUE(lone.box.IsEmpty());
  EXPECT_EQ(lone.GetVertexCount(), 0u);

  const GRepMesh both =
      Compute(Compound({circle, BRepBuilderAPI_MakeVertex(gp_Pnt(0, 0, 99)).Vertex()}))->GetMesh();
  EXPECT_EQ(both.box.GetMax().z, 0.0);
  EXPECT_TRUE(Compute(Compound({}))->GetBoundingBox().IsEmpty());
}

TEST(GRepShapeTest, EmptyShapesGiveNoGRep) {
  LogCapture log;
  EXPECT_FALSE(Create(nullptr));
  EXPECT_FALSE(Compute(TopoDS_Shape()));
  EXPECT_EQ(log.GetTexts(1).size(), 2u);
  EXPECT_TRUE(log.GetTexts(3).empty());
}

TEST(GRepShapeTest, SetShapeKeepsTheMeshUnlessAskedTo) {
  std::istringstream stream(Record(*Compute(BRepPrimAPI_MakeBox(1, 2, 3).Shape())));
  const auto grep = GRepShape::FromStream(stream);
  EXPECT_FALSE(grep->GetShape());
  grep->Compute();  // has nothing to compute from
  EXPECT_EQ(grep->GetMesh().faces.size(), 6u);
  EXPECT_FALSE(grep->SetShape(nullptr, false));
  const auto sphere = std::make_shared<TopoShape>(BRepPrimAPI_MakeSphere(5).Shape());
  EXPECT_TRUE(grep->SetShape(sphere, false));
  EXPECT_EQ(grep->GetShape(), sphere);
  EXPECT_EQ(grep->GetMesh().faces.size(), 6u);
  EXPECT_TRUE(grep->SetShape(sphere, true));
  EXPECT_EQ(grep->GetMesh().faces.size(), 1u);
}

// Bodies shared by several GReps and between threads: the records are those of one thread, and the bodies
// stay without triangles.
TEST(GRepShapeTest, ThreadsGiveTheSameBytesAndLeaveTheBodiesAlone) {
  const std::vector<BodySample> solids = Solids();
  std::vector<std::string> texts, expected;
  for (const auto& solid : solids) {
    texts.push_back(test::WriteBRepText(solid.shape));
    expected.push_back(Record(*Compute(solid.shape)));
  }
  std::vector<std::vector<std::shared_ptr<GRepShape>>> greps(8);
  for (auto& own : greps)
    for (const auto& solid : solids)
      own.push_back(Create(std::make_shared<TopoShape>(solid.shape)));
  RunThreads(greps.size(), [&](std::size_t t) {
    for (const auto& grep : greps[t])
      grep->Compute();
  });
  for (const auto& own : greps)
    for (std::size_t i = 0; i < own.size(); ++i)
      EXPECT_EQ(Record(*own[i]), expected[i]);
  for (std::size_t i = 0; i < solids.size(); ++i)
    EXPECT_EQ(test::WriteBRepText(solids[i].shape), texts[i]) << "triangles are part of the text";
}

// GReps that wait together may be tessellated before anybody asks, which nobody must notice.
TEST(GRepShapeTest, WhatIsDoneAheadIsTheSame) {
  std::vector<std::shared_ptr<TopoShape>> bodies;
  std::vector<std::string> expected;
  for (const auto& sample : Solids()) {
    bodies.push_back(std::make_shared<TopoShape>(sample.shape));
    expected.push_back(Record(*Compute(sample.shape)));
  }
  for (int round = 0; round < 3; ++round) {
    std::vector<std::shared_ptr<GRepShape>> greps;
    greps.reserve(bodies.size());
    for (const auto& body : bodies)
      greps.push_back(Create(body));
    for (const auto& grep : greps)
      EXPECT_TRUE(grep->GetBoundingBox().IsEmpty()) << "drawn before it was asked for";
    ASSERT_TRUE(greps[0]->SetShape(bodies[1], false));
    greps[2].reset();  // nobody asks for this one
    // From the end, so that threads that work ahead are met in the middle.
    for (std::size_t i = greps.size(); i-- > 0;) {
      if (!greps[i]) continue;
      greps[i]->Compute();
      EXPECT_EQ(Record(*greps[i]), expected[i == 0 ? 1 : i]) << i;
      greps[i]->Compute();
      EXPECT_EQ(Record(*greps[i]), expected[i == 0 ? 1 : i]) << i << " again";
    }
  }
}

TEST(GRepShapeTest, BodiesThatWaitAreDoneAhead) {
  if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "on a processor that has a core to spare";
  std::atomic<int> notices{0};
  const Logger::Sink before = Logger::Instance().SetSink([&notices](int, const std::string& text) {
    if (text == "A body without bounds is not drawn") ++notices;
  });
  const auto endless = std::make_shared<TopoShape>(
      BRepPrimAPI_MakeHalfSpace(BRepBuilderAPI_MakeFace(gp_Pln()).Face(), gp_Pnt(0, 0, 1)).Solid());
  {
    const auto first = Create(endless);
    const auto second = Create(endless);
    while (notices < 2)
      std::this_thread::yield();
    second->Compute();
    first->Compute();
    EXPECT_EQ(first->GetBoundingBox().GetState(), AABoxT<double>::kInfinite);
  }
  EXPECT_EQ(notices, 2) << "done twice";
  Logger::Instance().SetSink(before);
}

TEST(GRepShapeTest, GivesUpABodyThatNeverEnds) {
  ExpectInOwnProcess([] {
    LogCapture log;
    const auto body = ReadEndlessBody();
    ASSERT_TRUE(body);
    const auto grep = Create(body);
    GRepShape::SetPatience(3.0);
    grep->Compute();
    EXPECT_EQ(log.GetTexts(3), (std::vector<std::string>{"A solid with 1 faces and 2 edges is not drawn: its "
                                                         "tessellation does not come to an end."}));
    EXPECT_EQ(GRepShape::CountGivenUp(), 1u);
    EXPECT_LE(GRepShape::CountAbandoned(), 1u);  // none when it was stopped before it came to where it stalls
    EXPECT_TRUE(grep->GetBoundingBox().IsEmpty());
    EXPECT_EQ(grep->GetMesh().CountFacesWithoutTriangles(), 1u);
    EXPECT_EQ(grep->GetMesh().edges.size(), 2u);
    std::istringstream stream(Record(*grep));
    EXPECT_TRUE(GRepShape::FromStream(stream));

    // Others are drawn as ever, also with the patience that is meant when none is given.
    GRepShape::SetPatience(std::nan(""));
    EXPECT_EQ(Compute(BRepPrimAPI_MakeBox(1, 2, 3).Shape())->GetMesh().GetTriangleCount(), 12u);
    EXPECT_EQ(GRepShape::CountGivenUp(), 1u);
  });
}

// So many that no more threads may be left behind. The last ones are not even begun.
TEST(GRepShapeTest, AbandonsOnlySoMany) {
  ExpectInOwnProcess([] {
    LogCapture log;
    const auto body = ReadEndlessBody();
    double patience = 0.02;
    while (GRepShape::CountAbandoned() < kMaxAbandonedBodies) {
      GRepShape::SetPatience(patience);
      const unsigned abandoned = GRepShape::CountAbandoned();
      Create(body)->Compute();
      // On a busy machine it can be stopped before it comes to where it stalls.
      if (GRepShape::CountAbandoned() == abandoned) patience *= 2.0;
    }
    const unsigned before = GRepShape::CountGivenUp();
    GRepShape::SetPatience(0.0);
    EXPECT_EQ(Compute(BRepPrimAPI_MakeBox(1, 2, 3).Shape())->GetMesh().GetTriangleCount(), 0u);
    EXPECT_EQ(log.GetTexts(3).back(),
              "A solid with 6 faces and 12 edges is not drawn: too many others are still "
              "being tessellated, to no end.");
    EXPECT_EQ(GRepShape::CountGivenUp(), before + 1);
  });
}

}  // namespace
}  // namespace mirel
