#include <Programs/mirel/Check/BodyAgreement.h>

#include <Programs/mirel/Check/FaceProbe.h>
#include <Programs/mirel/Text/Plural.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepExtrema_DistShapeShape.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <Geom_Curve.hxx>
#include <Precision.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

namespace mirel {

namespace {

constexpr std::uint32_t kMaxTrianglesPerFace = 16;
constexpr int kPointsPerBody = 20000;  // where there are fewer faces than that
constexpr int kMaxEdges = 5000;
constexpr int kMaxOutside = 50;  // vertices outside the box of the body that are looked at

std::string Length(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.3g mm", value);
  return text;
}

std::string Degrees(double radians) {
  char text[40];
  std::snprintf(text, sizeof text, "%.3g degrees", radians * 180.0 / M_PI);
  return text;
}

std::string Triple(const glm::dvec3& p) {
  char text[120];
  std::snprintf(text, sizeof text, "(%.6g %.6g %.6g)", p.x, p.y, p.z);
  return text;
}

gp_Pnt ToPoint(const glm::dvec3& p) {
  return {p.x, p.y, p.z};
}

double LargestTolerance(const TopoDS_Face& face) {
  double tolerance = BRep_Tool::Tolerance(face);
  for (TopExp_Explorer edges(face, TopAbs_EDGE); edges.More(); edges.Next()) {
    tolerance = std::max(tolerance, BRep_Tool::Tolerance(TopoDS::Edge(edges.Current())));
  }
  for (TopExp_Explorer vertices(face, TopAbs_VERTEX); vertices.More(); vertices.Next()) {
    tolerance = std::max(tolerance, BRep_Tool::Tolerance(TopoDS::Vertex(vertices.Current())));
  }
  return tolerance;
}

class Comparison {
 public:
  Comparison(const TopoDS_Shape& body, const GRepMesh& mesh, BodyAgreement::Effort effort,
             const BodyAgreement::Report& report)
      : body_(body), mesh_(mesh), effort_(effort), report_(report) {
    TopExp::MapShapes(body, TopAbs_FACE, faces_);
    TopExp::MapShapes(body, TopAbs_EDGE, edges_);
    const double cell = 0.5 * std::sqrt(3.0) * mesh.gridStep;
    const double places =
        1e-12 * (mesh.box.IsFinite() ? glm::length(mesh.box.GetMax()) + glm::length(mesh.box.GetMin()) : 0.0);
    allowed_ = mesh.linearDeflection + cell + places + Precision::Confusion();
  }

  std::uint64_t Run() {
    const auto faceCount = static_cast<std::size_t>(faces_.Extent());
    const auto edgeCount = static_cast<std::size_t>(edges_.Extent());
    const bool sameEdges = mesh_.edges.empty() || mesh_.edges.size() == edgeCount;
    if (!sameEdges) {
      report_(CheckCode::kEdgeCount, "its body has " + Plural::Count(edgeCount, "edge|edges") +
                                         ", its graphics " + std::to_string(mesh_.edges.size()));
    }
    if (mesh_.faces.size() != faceCount) {
      report_(CheckCode::kFaceCount, "its body has " + Plural::Count(faceCount, "face|faces") +
                                         ", its graphics " + std::to_string(mesh_.faces.size()));
    }
    const bool sameBox = CompareBox();
    if (sameBox && sameEdges && mesh_.box.IsFinite()) {
      CompareEdges();
    }
    if (mesh_.faces.size() == faceCount) {
      CompareFaces();
    }
    return points_;
  }

 private:
  // The graphics must not leave the box that surely holds the body.
  bool CompareBox() {
    Bnd_Box box;
    BRepBndLib::Add(body_, box, false);
    bool isBounded = !box.IsVoid() && !box.IsOpen();
    for (int axis = 1; axis <= 3 && isBounded; ++axis) {
      isBounded = box.CornerMin().Coord(axis) >= -kMaxMeshCoordinate &&
                  box.CornerMax().Coord(axis) <= kMaxMeshCoordinate;
    }
    const std::string state = box.IsVoid() ? "empty" : isBounded ? "finite" : "infinite";
    const std::string drawn = mesh_.box.IsEmpty() ? "empty" : mesh_.box.IsFinite() ? "finite" : "infinite";
    const bool nothingIsDrawn = mesh_.box.IsEmpty() && mesh_.GetTriangleCount() == 0;
    if (state != drawn && !nothingIsDrawn) {
      report_(CheckCode::kBoxes, "the box of its body is " + state + ", that of its graphics " + drawn);
      return false;
    }
    if (!mesh_.box.IsFinite()) {
      return true;
    }
    if (Exceeds(mesh_.box, box) && !IsExcused(box)) {
      const gp_Pnt low = box.CornerMin();
      const gp_Pnt high = box.CornerMax();
      report_(CheckCode::kBoxes, "its graphics reach from " + Triple(mesh_.box.GetMin()) + " to " +
                                     Triple(mesh_.box.GetMax()) + ", its body from " +
                                     Triple({low.X(), low.Y(), low.Z()}) + " to " +
                                     Triple({high.X(), high.Y(), high.Z()}) + " at most");
      return false;
    }
    return true;
  }

  bool Exceeds(const AABoxT<double>& drawn, const Bnd_Box& box) const {
    for (int axis = 0; axis < 3; ++axis) {
      if (drawn.GetMin()[axis] < box.CornerMin().Coord(axis + 1) - allowed_ ||
          drawn.GetMax()[axis] > box.CornerMax().Coord(axis + 1) + allowed_) {
        return true;
      }
    }
    return false;
  }

  // OpenCASCADE's box is too small for some parabolas, and for faces with a doubtful boundary. So what lies outside
  // is looked at: it is excused when it is on its edge or face all the same.
  bool IsExcused(Bnd_Box& box) {
    for (int i = 1; i <= edges_.Extent(); ++i) {
      BRepBndLib::Add(edges_(i), box, false);
    }
    AABoxT<double> reached;
    int measured = 0;
    for (std::size_t f = 0; f < mesh_.faces.size(); ++f) {
      const GRepFace& range = mesh_.faces[f];
      std::optional<FaceProbe> distance;
      for (std::uint32_t v = range.firstVertex; v < range.firstVertex + range.vertexCount; ++v) {
        const glm::dvec3 position = mesh_.GetPosition(v);
        reached.Extend(position);
        if (!Exceeds(AABoxT<double>(position, position), box)) {
          continue;
        }
        if (static_cast<int>(f) >= faces_.Extent()) {
          return false;
        }
        if (measured++ >= kMaxOutside) {
          continue;
        }
        const TopoDS_Face& face = TopoDS::Face(faces_(static_cast<int>(f) + 1));
        const double allowed = allowed_ + LargestTolerance(face);
        if (!distance) {
          distance.emplace(face);
        }
        if (!distance->CanMeasure() || !(distance->Measure(ToPoint(position), allowed) <= allowed)) {
          return false;
        }
      }
    }
    for (std::size_t e = 0; e < mesh_.edges.size(); ++e) {
      const GRepEdge& range = mesh_.edges[e];
      for (std::uint32_t k = range.firstIndex; k < range.firstIndex + range.indexCount; ++k) {
        const glm::dvec3 position = mesh_.GetPosition(mesh_.polylines[k]);
        reached.Extend(position);
        if (!Exceeds(AABoxT<double>(position, position), box) || measured++ >= kMaxOutside) {
          continue;
        }
        if (static_cast<int>(e) >= edges_.Extent()) {
          return false;
        }
        const BRepExtrema_DistShapeShape distance(BRepBuilderAPI_MakeVertex(ToPoint(position)).Vertex(),
                                                  edges_(static_cast<int>(e) + 1));
        if (!distance.IsDone() || distance.Value() > allowed_) {
          return false;
        }
      }
    }
    box.Enlarge(allowed_);
    for (const glm::dvec3& corner : {reached.GetMin(), reached.GetMax()}) {
      if (!reached.IsEmpty()) {
        box.Add(ToPoint(corner));
      }
    }
    return !Exceeds(mesh_.box, box);
  }

  // Edges that are drawn must lie in the box of the graphics.
  void CompareEdges() {
    const int stride = 1 + edges_.Extent() / kMaxEdges;
    for (int i = 1; i <= edges_.Extent() && !mesh_.edges.empty(); i += stride) {
      if (mesh_.edges[static_cast<std::size_t>(i - 1)].indexCount == 0) {
        continue;
      }
      const TopoDS_Edge& edge = TopoDS::Edge(edges_(i));
      double first = 0.0;
      double last = 0.0;
      const Handle(Geom_Curve) curve = BRep_Tool::Curve(edge, first, last);
      if (curve.IsNull() || Precision::IsInfinite(first) || Precision::IsInfinite(last)) {
        continue;
      }
      const double allowed = allowed_ + BRep_Tool::Tolerance(edge);
      for (const double share : {0.0, 0.5, 1.0}) {
        const gp_Pnt point = curve->Value(first + share * (last - first));
        ++points_;
        double outside = 0.0;
        for (int axis = 0; axis < 3; ++axis) {
          outside = std::max({outside, mesh_.box.GetMin()[axis] - point.Coord(axis + 1),
                              point.Coord(axis + 1) - mesh_.box.GetMax()[axis]});
        }
        if (outside > allowed) {
          report_(CheckCode::kBoxes, "edge " + std::to_string(i - 1) + " of its body is " + Length(outside) +
                                         " outside the box of its graphics, where " + Length(allowed) +
                                         " are allowed");
          return;
        }
      }
    }
  }

  void CompareFaces() {
    const std::uint32_t perFace =
        effort_ == BodyAgreement::Effort::kLittle
            ? 1
            : static_cast<std::uint32_t>(std::clamp<int>(kPointsPerBody / 4 / std::max(1, faces_.Extent()), 1,
                                                         kMaxTrianglesPerFace));
    BadFaces off;
    BadFaces turned;
    for (int i = 1; i <= faces_.Extent(); ++i) {
      const GRepFace& range = mesh_.faces[static_cast<std::size_t>(i - 1)];
      if (range.indexCount == 0) {
        continue;
      }
      const TopoDS_Face& face = TopoDS::Face(faces_(i));
      const double allowed = allowed_ + LargestTolerance(face);
      const FaceResult result = MeasureFace(face, range, perFace, allowed);
      if (result.distance > allowed) {
        off.Add(result.distance, "face " + std::to_string(i - 1) + " by " + Length(result.distance) +
                                     ", where " + Length(allowed) + " are allowed");
      } else if (result.turn > 0.0) {
        turned.Add(result.turn, "face " + std::to_string(i - 1) + ": by " + Degrees(result.turn));
      }
    }
    if (off.count > 0) {
      report_(CheckCode::kDeviation, "its graphics miss " + off.first + InAll(off, Length(off.worst)));
    }
    if (turned.count > 0) {
      report_(CheckCode::kNormals, "the normals of its graphics are turned away from " + turned.first +
                                       InAll(turned, Degrees(turned.worst)));
    }
  }

  // What was found about one face: the first distance that is more than allowed, else 0; and the largest turn of a
  // normal if most of them are turned, else 0.
  struct FaceResult {
    double distance = 0.0;
    double turn = 0.0;
  };

  struct BadFaces {
    int count = 0;
    std::string first;
    double worst = 0.0;

    void Add(double value, const std::string& text) {
      if (count++ == 0) {
        first = text;
      }
      worst = std::max(worst, value);
    }
  };

  std::string InAll(const BadFaces& faces, const std::string& worst) const {
    return faces.count == 1 ? ""
                            : "; " + std::to_string(faces.count) + " of " + std::to_string(faces_.Extent()) +
                                  " faces in all, by up to " + worst;
  }

  // Looks at the corners and centres of some triangles, evenly spread. Single normals may differ: a point can be as near
  // to another part of a folded surface.
  FaceResult MeasureFace(const TopoDS_Face& face, const GRepFace& range, std::uint32_t triangles,
                         double allowed) {
    FaceResult result;
    FaceProbe probe(face);
    if (!probe.CanMeasure()) {
      return result;
    }
    const std::uint32_t count = range.indexCount / 3;
    const std::uint32_t step = (count + triangles - 1) / triangles;
    int normals = 0;
    int turned = 0;
    for (std::uint32_t t = 0; t < count; t += step) {
      glm::dvec3 centre(0.0);
      for (std::uint32_t k = 0; k < 3; ++k) {
        const std::uint32_t corner = mesh_.triangles[range.firstIndex + 3 * t + k];
        const glm::dvec3 position = mesh_.GetPosition(corner);
        centre += position / 3.0;
        if (!IsNear(probe, position, allowed, result)) {
          return result;
        }
        const glm::dvec3 normal(mesh_.GetNormal(corner));
        const double turn = probe.MeasureTurn({normal.x, normal.y, normal.z}, allowed);
        result.turn = std::max(result.turn, turn);
        turned += turn > 0.0 ? 1 : 0;
        ++normals;
      }
      if (!IsNear(probe, centre, allowed, result)) {
        return result;
      }
    }
    if (2 * turned <= normals) {
      result.turn = 0.0;
    }
    return result;
  }

  bool IsNear(FaceProbe& probe, const glm::dvec3& point, double allowed, FaceResult& result) {
    ++points_;
    const double off = probe.Measure(ToPoint(point), allowed);
    if (!(off <= allowed)) {
      result.distance = off;
      return false;
    }
    return true;
  }

  const TopoDS_Shape& body_;
  const GRepMesh& mesh_;
  const BodyAgreement::Effort effort_;
  const BodyAgreement::Report& report_;
  TopTools_IndexedMapOfShape faces_;
  TopTools_IndexedMapOfShape edges_;
  double allowed_ = 0.0;
  std::uint64_t points_ = 0;
};

}  // namespace

std::uint64_t BodyAgreement::Compare(const TopoDS_Shape& body, const GRepMesh& mesh, Effort effort,
                                     const Report& report) {
  return Comparison(body, mesh, effort, report).Run();
}

}  // namespace mirel
