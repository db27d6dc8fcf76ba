#include <Viewer/Kernel/Host/GeometryView/Tessellator.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/WatchedWork.h>
#include <Viewer/Kernel/Host/GeometryView/BodyFeatures.h>
#include <Viewer/Kernel/Host/GeometryView/FaceMesher.h>
#include <Viewer/Kernel/Host/GeometryView/FaceRefiner.h>
#include <Viewer/Kernel/Host/GeometryView/PeriodShifts.h>
#include <Viewer/Kernel/Host/GeometryView/UprightParabolas.h>

#include <BRepAdaptor_Curve.hxx>
#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_Copy.hxx>
#include <BRepLib.hxx>
#include <BRep_Builder.hxx>
#include <BRep_TVertex.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GeomAdaptor_Surface.hxx>
#include <Geom_Surface.hxx>
#include <Poly_Polygon3D.hxx>
#include <Poly_PolygonOnTriangulation.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>

#include <meshoptimizer.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <memory>

namespace mirel {
namespace {

constexpr double kRelativeDeflection = 0.001;
constexpr double kAngularDeflection = 0.35;
// A deflection below a millionth of the body's size asks for more triangles than anything can hold;
// OpenCASCADE's mesher refuses deflections below 1e-7 mm.
constexpr double kMinRelativeDeflection = 1e-6;
constexpr double kMinDeflection = 2e-7;
// The share of the deflection that rounding to the 16-bit grid may take before the 32-bit grid is used.
constexpr double kMaxGridShare = 0.05;
// The mesher looks at few points of each face, so it gets less than the deflection; the shares with which it is tried
// again on bodies that it has trouble with, and the share that triangles are refined to.
constexpr double kRetryShares[] = {1.0, 0.7, 0.45};
constexpr double kRefineShare = 0.9;
// How often a curve that the mesher cannot sample is halved: into 16 to 4096 segments.
constexpr int kMinHalvings = 4;
constexpr int kMaxHalvings = 12;
constexpr std::uint32_t kUnused = std::numeric_limits<std::uint32_t>::max();

std::atomic<double> patience{kMeshPatience};
std::atomic<unsigned> givenUpCount{0};

// The coordinates of a vector in octahedral form, rounded to 8 bits so that the decoded vector is nearest.
std::array<std::int8_t, 2> EncodeNormal(const gp_XYZ& n) {
  const double sum = std::abs(n.X()) + std::abs(n.Y()) + std::abs(n.Z());
  if (!(sum > 0.0)) return {0, 0};
  double a = n.X() / sum, b = n.Y() / sum;
  if (n.Z() < 0.0) {
    const double folded = (1.0 - std::abs(b)) * (a < 0.0 ? -1.0 : 1.0);
    b = (1.0 - std::abs(a)) * (b < 0.0 ? -1.0 : 1.0);
    a = folded;
  }
  return {static_cast<std::int8_t>(std::lround(a * 127.0)), static_cast<std::int8_t>(std::lround(b * 127.0))};
}

// The largest of 1, 2 and 5 times a power of ten that is not above `value`. Designers like round numbers: on
// a grid of such steps equal features stay equal wherever they are in the body, which makes records small.
double RoundDown(double value) {
  int exponent = static_cast<int>(std::floor(std::log10(value)));
  exponent = std::clamp(exponent, -20, 20);
  double power = 1.0;
  for (int i = 0; i < std::abs(exponent); ++i)
    power *= 10.0;  // exact up to 1e22
  for (double digit : {5.0, 2.0}) {
    const double candidate = exponent < 0 ? digit / power : digit * power;
    if (candidate <= value) return candidate;
  }
  return exponent < 0 ? 1.0 / power : power;
}

// Collects the mesh in full precision; the grid is known only at the end. Owns all that it needs, for it may outlive
// the call that it was made in.
class Builder {
 public:
  Builder(const TopoDS_Shape& body, double deflection, bool withEdges)
      : placement_(body.Location().Transformation()), deflection_(deflection), withEdges_(withEdges) {
    original_ = WithoutUprightParabolas(body.Located(TopLoc_Location()));
    TopExp::MapShapes(original_, TopAbs_FACE, originalFaces_);
    TopExp::MapShapes(original_, TopAbs_EDGE, originalEdges_);
    mesh_ = MakeEmptyMesh();
  }

  int CountFaces() const { return originalFaces_.Extent(); }
  int CountEdges() const { return originalEdges_.Extent(); }

  // A mesh in which nothing is drawn.
  GRepMesh MakeEmptyMesh() const {
    GRepMesh mesh;
    mesh.faces.resize(static_cast<std::size_t>(originalFaces_.Extent()));
    if (withEdges_) mesh.edges.resize(static_cast<std::size_t>(originalEdges_.Extent()));
    mesh.surfaces.resize(mesh.faces.size());
    mesh.sides.resize(mesh.edges.size());
    mesh.angularDeflection = kAngularDeflection;
    return mesh;
  }

  void Build(WorkState& state) {
    state_ = &state;
    const char* const what = "Tessellation of a body of kind";
    Guarded(what, original_.ShapeType(), [&] {
      if (!Measure() || !Mesh()) return;
      for (int i = 1; i <= faces_.Extent() && Proceed(); ++i)
        Guarded("Drawing of face", i - 1, [&] { AddFace(i); });
      for (int i = 1; withEdges_ && i <= edges_.Extent() && Proceed(); ++i)
        Guarded("Drawing of edge", i - 1, [&] { AddLooseEdge(i); });
    });
    const bool isWhole = Proceed() && Guarded(what, original_.ShapeType(), [&] {
                           LayOut();
                           Quantise();
                         });
    if (!isWhole) mesh_ = MakeEmptyMesh();
    Guarded(what, original_.ShapeType(), [&] {
      DescribeBody(
          original_, placement_, [this] { return Proceed(); }, mesh_);
    });
  }

  // What `Build` has made; only once that has ended.
  GRepMesh TakeMesh() { return std::move(mesh_); }

 private:
  // Says that the work gets on; false when nobody waits for it any more.
  bool Proceed() {
    state_->Step();
    return !state_->IsStopped();
  }

  void Notice(const char* what, int number, const char* reason) {
    if (!state_->IsStopped()) Logger::Instance().Message(1, "%s %d: %s", what, number, reason);
  }

  // Runs something that calls OpenCASCADE; false when that threw.
  template <typename Call>
  bool Guarded(const char* what, int number, Call&& call) {
    try {
      call();
      return true;
    } catch (const Standard_Failure& failure) {
      Notice(what, number, failure.GetMessageString());
    } catch (const std::exception& failure) {
      Notice(what, number, failure.what());
    }
    return false;
  }

  static bool IsBounded(const Bnd_Box& bounds) {
    if (bounds.IsOpen()) return false;
    const gp_XYZ low = bounds.CornerMin().XYZ(), high = bounds.CornerMax().XYZ();
    bool bounded = true;
    for (int axis = 1; axis <= 3; ++axis)
      bounded = bounded && low.Coord(axis) >= -kMaxBodyCoordinate && high.Coord(axis) <= kMaxBodyCoordinate;
    return bounded;
  }

  // Finds the deflection and the grid's kind; false when there is nothing that could be meshed.
  bool Measure() {
    Bnd_Box bounds;
    BRepBndLib::Add(original_, bounds, false);
    if (bounds.IsVoid()) return false;
    if (!IsBounded(bounds) || !IsBounded(bounds.Transformed(placement_))) {
      mesh_.box.SetInfinite();
      Logger::Instance().Message(1, "A body without bounds is not drawn");
      return false;
    }

    const double scale = std::abs(placement_.ScaleFactor());
    const gp_XYZ low = bounds.CornerMin().XYZ(), high = bounds.CornerMax().XYZ();
    const double unplacedDiagonal = (high - low).Modulus(), diagonal = unplacedDiagonal * scale;
    if (!(deflection_ > 0.0) || std::isinf(deflection_)) deflection_ = diagonal * kRelativeDeflection;
    deflection_ = std::max({deflection_, diagonal * kMinRelativeDeflection, kMinDeflection});
    mesh_.linearDeflection = deflection_;

    // A vertex moves by half a cell's diagonal at most when it goes to the grid; the mesher gets what is
    // left.
    const double error = deflection_ * kMaxGridShare;
    mesh_.gridStep = RoundDown(error * 2.0 / std::sqrt(3.0));
    meshDeflection_ = (deflection_ - error) / scale;
    const double margin = unplacedDiagonal + 10.0 * meshDeflection_;
    lowest_ = low - gp_XYZ(margin, margin, margin);
    highest_ = high + gp_XYZ(margin, margin, margin);
    return true;
  }

  // Meshes a copy of the body, and finer ones when faces fail: what makes a boundary cross itself is often that its
  // curves are sampled too coarsely. Keeps the copy with the fewest doubtful faces.
  bool Mesh() {
    int fewest = std::numeric_limits<int>::max();
    for (double share : kRetryShares) {
      if (!Proceed()) return false;
      TopoDS_Shape copy;
      if (!Guarded("Copy of a body with faces", originalFaces_.Extent(),
                   [&] { copy = BRepBuilderAPI_Copy(original_, true, false).Shape(); }))
        break;
      TopTools_IndexedMapOfShape faces, edges;
      TopExp::MapShapes(copy, TopAbs_FACE, faces);
      TopExp::MapShapes(copy, TopAbs_EDGE, edges);
      if (faces.Extent() != originalFaces_.Extent() || edges.Extent() != originalEdges_.Extent()) {
        Logger::Instance().Message(1, "A copy has %d faces and %d edges, the body %d and %d", faces.Extent(),
                                   edges.Extent(), originalFaces_.Extent(), originalEdges_.Extent());
        break;
      }
      PutInOrder(copy, faces, edges);
      IMeshTools_Parameters parameters;
      parameters.Deflection = std::max(share * meshDeflection_, kMinDeflection / 2.0);
      parameters.Angle = kAngularDeflection;
      int doubtful = faces.Extent() + 1;
      Guarded("Mesh of a body with faces", faces.Extent(),
              [&] { doubtful = MeshFaces(WithoutBadFaces(copy, faces, edges), parameters, *state_); });
      if (doubtful < fewest) {
        fewest = doubtful;
        faces_ = faces;
        edges_ = edges;
      }
      if (fewest == 0) return true;
    }
    if (!Proceed()) return false;
    if (faces_.IsEmpty() && edges_.IsEmpty()) return false;
    Logger::Instance().Message(1, "%d of %d faces may be drawn with holes or overlaps", fewest,
                               faces_.Extent());
    return true;
  }

  // Mends in the copy what the mesher, or the copying, makes something else of.
  void PutInOrder(const TopoDS_Shape& copy, const TopTools_IndexedMapOfShape& faces,
                  const TopTools_IndexedMapOfShape& edges) {
    for (int i = 1; i <= edges.Extent() && Proceed(); ++i) {
      const TopoDS_Edge& edge = TopoDS::Edge(edges(i));
      double first, last;
      // An edge without vertices loses its ends when it is copied.
      if (!TopoDS_Iterator(edge).More() && BRep_Tool::IsGeometric(edge)) {
        BRep_Tool::Range(TopoDS::Edge(originalEdges_(i)), first, last);
        BRep_Builder().Range(edge, first, last);
      }
      // The mesher crashes on the seam of a cone that has its curve on the surface alone.
      if (!BRep_Tool::Degenerated(edge) && BRep_Tool::Curve(edge, first, last).IsNull())
        Guarded("Curve of edge", i - 1, [&] { BRepLib::BuildCurve3d(edge); });
    }
    LimitTolerances(copy);
    for (int i = 1; i <= faces.Extent() && Proceed(); ++i)
      Guarded("Boundary of face", i - 1, [&] { JoinByPeriods(TopoDS::Face(faces(i))); });
  }

  // The mesher leaves out all points of an edge that are within the tolerance of a vertex, which can be the whole edge.
  void LimitTolerances(const TopoDS_Shape& copy) const {
    TopTools_IndexedMapOfShape vertices;
    TopExp::MapShapes(copy, TopAbs_VERTEX, vertices);
    for (int i = 1; i <= vertices.Extent(); ++i) {
      const auto vertex = Handle(BRep_TVertex)::DownCast(vertices(i).TShape());
      if (vertex->Tolerance() > meshDeflection_) vertex->Tolerance(meshDeflection_);
    }
  }

  // The mesher crashes on an edge that has no curve on the surface of its face, or a vertex at one end at most.
  TopoDS_Shape WithoutBadFaces(const TopoDS_Shape& copy, const TopTools_IndexedMapOfShape& faces,
                               const TopTools_IndexedMapOfShape& edges) {
    std::vector<int> bad;
    for (int i = 1; i <= faces.Extent(); ++i)
      if (!HasSoundEdges(TopoDS::Face(faces(i)))) bad.push_back(i);
    if (bad.empty()) return copy;
    BRep_Builder builder;
    TopoDS_Compound rest;
    builder.MakeCompound(rest);
    TopTools_IndexedMapOfShape used;
    for (int i = 1; i <= faces.Extent(); ++i) {
      TopExp::MapShapes(faces(i), TopAbs_EDGE, used);
      if (std::binary_search(bad.begin(), bad.end(), i))
        Notice("Face", i - 1, "an edge has no curve on its surface, or no ends");
      else
        builder.Add(rest, faces(i));
    }
    for (int i = 1; i <= edges.Extent(); ++i)
      if (!used.Contains(edges(i))) builder.Add(rest, edges(i));
    return rest;
  }

  bool HasSoundEdges(const TopoDS_Face& face) {
    TopLoc_Location location;
    if (BRep_Tool::Surface(face, location).IsNull()) return true;  // triangles only, which are not meshed
    bool sound = true;
    Guarded("Edges of a face of orientation", face.Orientation(), [&] {
      for (TopExp_Explorer explorer(face, TopAbs_EDGE); explorer.More() && sound; explorer.Next()) {
        const TopoDS_Edge& edge = TopoDS::Edge(explorer.Current());
        if (edge.Orientation() == TopAbs_EXTERNAL) continue;
        double first, last;
        sound = !TopExp::FirstVertex(edge).IsNull() && !TopExp::LastVertex(edge).IsNull() &&
                !BRep_Tool::CurveOnSurface(edge, face, first, last).IsNull();
      }
    });
    return sound;
  }

  std::uint32_t AddVertex(const gp_Pnt& placed, const gp_XYZ& normal) {
    positions_.push_back(placed.XYZ());
    normals_.push_back(EncodeNormal(normal));
    return static_cast<std::uint32_t>(positions_.size() - 1);
  }

  void AddFace(int number) {
    TopoDS_Face face = TopoDS::Face(faces_(number));
    TopLoc_Location surfacePlace, place;
    const Handle(Geom_Surface) surface = BRep_Tool::Surface(face, surfacePlace);
    const bool drawnOnly = surface.IsNull();  // only triangles, which the copy leaves behind
    if (drawnOnly) face = TopoDS::Face(originalFaces_(number));
    const Handle(Poly_Triangulation) triangles = BRep_Tool::Triangulation(face, place);
    if (triangles.IsNull() || triangles->NbTriangles() == 0) {
      Notice("Face", number - 1, "no triangles");
      return;
    }

    FaceTriangles drawn = TrianglesOf(*triangles);
    std::vector<gp_XYZ> normals;
    if (drawnOnly)
      normals = Normals(surface, drawn);
    else
      normals = FollowSurface(surface, place.Inverted() * surfacePlace, drawn);
    for (gp_Pnt& point : drawn.points)
      point.Transform(place);
    if (!AreNear(drawn.points)) return Notice("Face", number - 1, "points far outside the body");

    const gp_Trsf transform = placement_ * place.Transformation();
    const bool mirrored = transform.VectorialPart().Determinant() < 0.0;
    const bool reversed = face.Orientation() == TopAbs_REVERSED;
    GRepFace& range = mesh_.faces[static_cast<std::size_t>(number - 1)];
    range.firstVertex = static_cast<std::uint32_t>(positions_.size());
    range.firstIndex = static_cast<std::uint32_t>(mesh_.triangles.size());
    std::vector<std::uint32_t> vertexOf(drawn.points.size(), kUnused);
    const auto vertex = [&](int index) {
      const std::size_t point = static_cast<std::size_t>(index);
      if (vertexOf[point] == kUnused) {
        gp_XYZ normal = normals[point];
        normal.Multiply(transform.VectorialPart());
        if (reversed) normal.Reverse();
        vertexOf[point] = AddVertex(drawn.points[point].Transformed(placement_), normal);
      }
      return vertexOf[point];
    };
    if (withEdges_) AddStrips(face, drawnOnly ? originalEdges_ : edges_, triangles, vertex);
    for (auto [a, b, c] : drawn.triangles) {
      if (reversed != mirrored) std::swap(b, c);
      for (int point : {a, b, c})
        mesh_.triangles.push_back(vertex(point));
    }
    range.indexCount = static_cast<std::uint32_t>(mesh_.triangles.size()) - range.firstIndex;
    range.vertexCount = static_cast<std::uint32_t>(positions_.size()) - range.firstVertex;
  }

  // Refines the triangles of a face and finds their normals. A surface can have a place of its own inside its face,
  // where the points are: so they go to where the surface has them and come back.
  std::vector<gp_XYZ> FollowSurface(const Handle(Geom_Surface) & surface, const TopLoc_Location& place,
                                    FaceTriangles& drawn) {
    const gp_Trsf back = place.Transformation(), there = back.Inverted();
    for (gp_Pnt& point : drawn.points)
      point.Transform(there);
    const double deflection = kRefineShare * meshDeflection_ * std::abs(there.ScaleFactor());
    RefineFace(GeomAdaptor_Surface(surface), deflection, drawn, *state_);
    std::vector<gp_XYZ> normals = Normals(surface, drawn);
    const double side = back.VectorialPart().Determinant() < 0.0 ? -1.0 : 1.0;
    for (gp_XYZ& normal : normals)
      normal = side * normal.Multiplied(back.VectorialPart());
    for (gp_Pnt& point : drawn.points)
      point.Transform(back);
    return normals;
  }

  // Nodes become points with the same number less one; triangles that are none are left out.
  static FaceTriangles TrianglesOf(const Poly_Triangulation& triangulation) {
    FaceTriangles face;
    const int count = triangulation.NbNodes();
    for (int i = 1; i <= count; ++i) {
      face.points.push_back(triangulation.Node(i));
      if (triangulation.HasUVNodes()) face.parameters.push_back(triangulation.UVNode(i));
    }
    for (int i = 1; i <= triangulation.NbTriangles(); ++i) {
      int a, b, c;
      triangulation.Triangle(i).Get(a, b, c);
      if (std::min({a, b, c}) < 1 || std::max({a, b, c}) > count || a == b || b == c || c == a) continue;
      face.triangles.push_back({a - 1, b - 1, c - 1});
    }
    return face;
  }

  // Draws the edges of a face along its vertices, as far as no face before has.
  template <typename VertexOfNode>
  void AddStrips(const TopoDS_Face& face, const TopTools_IndexedMapOfShape& edges,
                 const Handle(Poly_Triangulation) & triangles, VertexOfNode&& vertex) {
    for (TopExp_Explorer explorer(face, TopAbs_EDGE); explorer.More(); explorer.Next()) {
      const TopoDS_Edge& edge = TopoDS::Edge(explorer.Current());
      const int index = edges.FindIndex(edge);
      if (index == 0 || BRep_Tool::Degenerated(edge)) continue;
      const Handle(Poly_PolygonOnTriangulation) polygon =
          BRep_Tool::PolygonOnTriangulation(edge, triangles, face.Location());
      if (polygon.IsNull()) continue;
      std::vector<std::uint32_t>& strip = Strip(index);
      const bool drawn = !strip.empty();
      const int count = polygon->NbNodes();
      for (int i = 1; i <= count; ++i) {
        const int node = polygon->Node(edge.Orientation() == TopAbs_REVERSED && drawn ? count + 1 - i : i);
        if (node < 1 || node > triangles->NbNodes()) continue;
        const std::uint32_t v = vertex(node - 1);
        if (!drawn) strip.push_back(v);
      }
    }
  }

  void AddLooseEdge(int number) {
    std::vector<std::uint32_t>& strip = Strip(number);
    const TopoDS_Edge edge = TopoDS::Edge(edges_(number));
    if (strip.size() > 1 || BRep_Tool::Degenerated(edge)) return;
    strip.clear();
    std::vector<gp_Pnt> points = PolygonOf(edge);
    if (points.empty()) points = PolygonOf(TopoDS::Edge(originalEdges_(number)));
    if (points.empty()) {
      // The mesher leaves out edges without vertices, or gives them points at infinity.
      if (!BRep_Tool::IsGeometric(edge)) return Notice("Edge", number - 1, "no curve");
      points = Sample(BRepAdaptor_Curve(edge));
    }
    if (!AreNear(points)) return Notice("Edge", number - 1, "points far outside the body");
    for (const gp_Pnt& point : points)
      strip.push_back(AddVertex(point.Transformed(placement_), gp_XYZ()));
  }

  // Halves a curve until its segments are within the deflection; ends on any curve, unlike OpenCASCADE's
  // samplers.
  std::vector<gp_Pnt> Sample(const BRepAdaptor_Curve& curve) const {
    const double first = curve.FirstParameter(), last = curve.LastParameter();
    std::vector<gp_Pnt> points{curve.Value(first)};
    const std::function<void(double, double, int)> halve = [&](double from, double to, int depth) {
      const gp_Pnt start = points.back(), end = curve.Value(to), middle = curve.Value(0.5 * (from + to));
      const double off = middle.Distance(gp_Pnt(0.5 * (start.XYZ() + end.XYZ())));
      if (depth < kMinHalvings || (depth < kMaxHalvings && off > meshDeflection_)) {
        halve(from, 0.5 * (from + to), depth + 1);
        halve(0.5 * (from + to), to, depth + 1);
      } else {
        points.push_back(end);
      }
    };
    if (curve.GetType() == GeomAbs_Line)
      points.push_back(curve.Value(last));
    else
      halve(first, last, 0);
    return points;
  }

  std::vector<gp_Pnt> PolygonOf(const TopoDS_Edge& edge) const {
    TopLoc_Location location;
    const Handle(Poly_Polygon3D) polygon = BRep_Tool::Polygon3D(edge, location);
    std::vector<gp_Pnt> points;
    if (polygon.IsNull()) return points;
    for (const gp_Pnt& node : polygon->Nodes())
      points.push_back(node.Transformed(location));
    if (!AreNear(points)) points.clear();
    return points;
  }

  // Whether points of the unplaced body are numbers and where they can be.
  bool AreNear(const std::vector<gp_Pnt>& points) const {
    return std::all_of(points.begin(), points.end(), [this](const gp_Pnt& point) {
      bool inside = true;
      for (int axis = 1; axis <= 3; ++axis)
        inside =
            inside && point.Coord(axis) >= lowest_.Coord(axis) && point.Coord(axis) <= highest_.Coord(axis);
      return inside;
    });
  }

  std::vector<std::uint32_t>& Strip(int number) {
    if (strips_.empty()) strips_.resize(mesh_.edges.size());
    return strips_[static_cast<std::size_t>(number - 1)];
  }

  // One normal for each node in the coordinates of the triangulation; from the surface where it has one, else
  // from the triangles around the node.
  static std::vector<gp_XYZ> Normals(const Handle(Geom_Surface) & surface, const FaceTriangles& face) {
    std::vector<gp_XYZ> normals(face.points.size());
    std::vector<char> known(normals.size(), 0);
    if (!surface.IsNull() && face.parameters.size() == normals.size()) {
      const GeomAdaptor_Surface adaptor(surface);
      for (std::size_t i = 0; i < normals.size(); ++i) {
        if (i > 0 && adaptor.GetType() == GeomAbs_Plane) {
          normals[i] = normals[0];
          known[i] = known[0];
        } else {
          known[i] = SurfaceNormal(adaptor, face.parameters[i], normals[i]);
        }
      }
    }
    if (std::find(known.begin(), known.end(), 0) == known.end()) return normals;
    for (const std::array<int, 3>& corners : face.triangles) {
      const auto point = [&](std::size_t k) {
        return face.points[static_cast<std::size_t>(corners[k])].XYZ();
      };
      const gp_XYZ area = (point(1) - point(0)) ^ (point(2) - point(0));
      for (int corner : corners)
        if (!known[static_cast<std::size_t>(corner)]) normals[static_cast<std::size_t>(corner)] += area;
    }
    return normals;
  }

  static bool SurfaceNormal(const GeomAdaptor_Surface& adaptor, const gp_Pnt2d& uv, gp_XYZ& normal) {
    gp_Pnt point;
    gp_Vec du, dv;
    adaptor.D1(uv.X(), uv.Y(), point, du, dv);
    const double size = du.Magnitude() * dv.Magnitude();
    normal = du.XYZ() ^ dv.XYZ();
    const double length = normal.Modulus();
    if (size > 0.0 && length > 1e-6 * size && du.Magnitude() > 1e-12 && dv.Magnitude() > 1e-12) {
      normal /= length;
      return true;
    }
    normal = gp_XYZ();
    return false;
  }

  // Orders the triangles of each face as strips, which suits graphics cards and the record alike.
  void LayOut() {
    std::uint32_t nextVertex = 0, nextIndex = 0;
    for (GRepFace& face : mesh_.faces) {
      if (face.indexCount == 0 && face.vertexCount == 0) face = {nextIndex, 0, nextVertex, 0};
      nextVertex = face.firstVertex + face.vertexCount;
      nextIndex = face.firstIndex + face.indexCount;
      if (face.indexCount == 0) continue;
      std::uint32_t* const corners = mesh_.triangles.data() + face.firstIndex;
      std::vector<std::uint32_t> list(corners, corners + face.indexCount);
      for (std::uint32_t& corner : list)
        corner -= face.firstVertex;
      meshopt_optimizeVertexCacheStrip(list.data(), list.data(), list.size(), face.vertexCount);
      std::vector<std::uint32_t> strip(meshopt_stripifyBound(list.size()));
      strip.resize(meshopt_stripify(strip.data(), list.data(), list.size(), face.vertexCount, kUnused));
      list.resize(meshopt_unstripifyBound(strip.size()));
      list.resize(meshopt_unstripify(list.data(), strip.data(), strip.size(), kUnused));
      if (list.size() != face.indexCount) continue;  // it would leave something out
      for (std::size_t i = 0; i < list.size(); ++i)
        corners[i] = list[i] + face.firstVertex;
    }
    if (strips_.empty()) strips_.resize(mesh_.edges.size());
    for (std::size_t i = 0; i < mesh_.edges.size(); ++i) {
      std::vector<std::uint32_t>& strip = strips_[i];
      if (strip.size() < 2) strip.clear();
      mesh_.edges[i] = {static_cast<std::uint32_t>(mesh_.polylines.size()),
                        static_cast<std::uint32_t>(strip.size())};
      mesh_.polylines.insert(mesh_.polylines.end(), strip.begin(), strip.end());
    }
  }

  // Takes the box of what is drawn: faces also have vertices for the ends of edges that nothing is drawn of.
  void AddToBox(const std::vector<std::uint32_t>& vertices) {
    for (const std::uint32_t vertex : vertices) {
      const gp_XYZ& position = positions_[vertex];
      mesh_.box.Extend(glm::dvec3(position.X(), position.Y(), position.Z()));
    }
  }

  void Quantise() {
    AddToBox(mesh_.triangles);
    AddToBox(mesh_.polylines);
    if (!mesh_.box.IsFinite()) {
      for (GRepFace& face : mesh_.faces)
        face = {};
      return;
    }
    const std::size_t count = positions_.size();
    gp_XYZ low = positions_[0], high = low;
    for (const gp_XYZ& position : positions_)
      for (int axis = 1; axis <= 3; ++axis) {
        low.SetCoord(axis, std::min(low.Coord(axis), position.Coord(axis)));
        high.SetCoord(axis, std::max(high.Coord(axis), position.Coord(axis)));
      }
    const double step = mesh_.gridStep;
    bool fine = false;
    for (int axis = 0; axis < 3; ++axis) {
      mesh_.gridOrigin[axis] = std::floor(low.Coord(axis + 1) / step) * step;
      fine = fine || (high.Coord(axis + 1) - mesh_.gridOrigin[axis]) / step > 65534.0;
    }
    if (fine)
      mesh_.fineVertices.resize(count);
    else
      mesh_.vertices.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t place[3];
      for (int axis = 0; axis < 3; ++axis) {
        const double offset = (positions_[i].Coord(axis + 1) - mesh_.gridOrigin[axis]) / step;
        place[axis] = static_cast<std::uint32_t>(std::max(0.0, std::round(offset)));
      }
      const auto [nx, ny] = normals_[i];
      if (fine)
        mesh_.fineVertices[i] = {place[0], place[1], place[2], nx, ny, 0};
      else
        mesh_.vertices[i] = {static_cast<std::uint16_t>(place[0]), static_cast<std::uint16_t>(place[1]),
                             static_cast<std::uint16_t>(place[2]), nx, ny};
    }
  }

  WorkState* state_ = nullptr;
  gp_Trsf placement_;
  double deflection_;
  double meshDeflection_ = 0.0;
  bool withEdges_;
  gp_XYZ lowest_, highest_;  // no point of a mesh of the unplaced body can lie outside these

  // The body, and the copy that is meshed; the same faces and edges in the same order.
  TopoDS_Shape original_;
  TopTools_IndexedMapOfShape originalFaces_, originalEdges_;
  TopTools_IndexedMapOfShape faces_, edges_;

  GRepMesh mesh_;
  std::vector<gp_XYZ> positions_;
  std::vector<std::array<std::int8_t, 2>> normals_;
  std::vector<std::vector<std::uint32_t>> strips_;
};

}  // namespace

GRepMesh Tessellate(const TopoDS_Shape& body, double deflection, bool withEdges) {
  if (body.IsNull()) return {};
  std::shared_ptr<Builder> builder;
  try {
    builder = std::make_shared<Builder>(body, deflection, withEdges);
  } catch (const Standard_Failure& failure) {
    Logger::Instance().Message(1, "Faces and edges of a body: %s", failure.GetMessageString());
    return {};
  }
  const double seconds = patience;
  const int parts = builder->CountFaces() + builder->CountEdges();
  const auto milliseconds = [](double value) {
    return std::chrono::milliseconds(static_cast<std::int64_t>(1000.0 * value));
  };
  const WorkLimits limits = {milliseconds(seconds * (1.0 + kMeshPatiencePerPart * parts)),
                             milliseconds(seconds * (kMeshPatienceInAll + kMeshTotalPerPart * parts)),
                             milliseconds(std::min(seconds, kMeshGrace))};
  const bool isBegun = CountAbandonedWork() < kMaxAbandonedBodies;
  if (isBegun && RunWatched([builder](WorkState& state) { builder->Build(state); }, limits) == WorkEnd::kDone)
    return builder->TakeMesh();
  ++givenUpCount;
  static constexpr const char* kKinds[] = {"compound", "composite solid", "solid", "shell", "face", "wire",
                                           "edge",     "vertex"};
  MIREL_HOST_FAILURE("A %s with %d faces and %d edges is not drawn: %s.", kKinds[body.ShapeType()],
                     builder->CountFaces(), builder->CountEdges(),
                     isBegun ? "its tessellation does not come to an end"
                             : "too many others are still being tessellated, to no end");
  return builder->MakeEmptyMesh();
}

void SetTessellationPatience(double seconds) {
  patience = seconds > 0.0 ? std::min(seconds, 1e6) : kMeshPatience;
}

unsigned CountGivenUpTessellations() {
  return givenUpCount;
}

}  // namespace mirel
