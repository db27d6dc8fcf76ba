#include <Viewer/Kernel/Host/GeometryView/FaceMesher.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/WatchedWork.h>
#include <Viewer/Kernel/Host/GeometryView/Delaunay.h>

#include <BRepAdaptor_Curve.hxx>
#include <BRepMesh_BoundaryParamsRangeSplitter.hxx>
#include <BRepMesh_ConeRangeSplitter.hxx>
#include <BRepMesh_Context.hxx>
#include <BRepMesh_CustomBaseMeshAlgo.hxx>
#include <BRepMesh_CustomDelaunayBaseMeshAlgo.hxx>
#include <BRepMesh_DelaunayDeflectionControlMeshAlgo.hxx>
#include <BRepMesh_DelaunayNodeInsertionMeshAlgo.hxx>
#include <BRepMesh_FaceDiscret.hxx>
#include <BRepMesh_GeomTool.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepMesh_MeshAlgoFactory.hxx>
#include <BRepMesh_NURBSRangeSplitter.hxx>
#include <BRepMesh_ShapeTool.hxx>
#include <BRepMesh_SphereRangeSplitter.hxx>
#include <BRepMesh_TorusRangeSplitter.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box2d.hxx>
#include <IMeshData_Edge.hxx>
#include <IMeshData_Face.hxx>
#include <IMeshData_Model.hxx>
#include <IMeshData_PCurve.hxx>
#include <IMeshData_Wire.hxx>
#include <Message_ProgressIndicator.hxx>
#include <NCollection_UBTree.hxx>
#include <NCollection_UBTreeFiller.hxx>
#include <Poly_Triangulation.hxx>
#include <Precision.hxx>
#include <TopoDS_Face.hxx>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <vector>

namespace mirel {
namespace {

// The share of a face's area that triangles of the wrong orientation may have: rounding turns slivers over.
constexpr double kMaxTurnedShare = 1e-9;

// Wires of a face from which on the time that it takes to compare each with each shows.
constexpr int kManyWires = 16;
constexpr double kNotJoined = -1.0;  // no deflection: it is set last when a face's edges are joined

// A set of directed segments between nodes in which opposite segments cancel each other.
class Chain {
 public:
  void Add(int from, int to, int count) {
    if (from == to) return;
    if (from > to) {
      std::swap(from, to);
      count = -count;
    }
    segments_.push_back({static_cast<std::uint64_t>(from) << 32 | static_cast<std::uint32_t>(to), count});
  }

  bool IsZero() {
    std::sort(segments_.begin(), segments_.end(),
              [](const Segment& a, const Segment& b) { return a.ends < b.ends; });
    for (std::size_t i = 0; i < segments_.size();) {
      int sum = 0;
      const std::uint64_t ends = segments_[i].ends;
      for (; i < segments_.size() && segments_[i].ends == ends; ++i)
        sum += segments_[i].count;
      if (sum != 0) return false;
    }
    return true;
  }

 private:
  struct Segment {
    std::uint64_t ends;
    int count;
  };
  std::vector<Segment> segments_;
};

double TurnedShare(const Poly_Triangulation& triangles) {
  double area = 0.0, turned = 0.0;
  for (int i = 1; i <= triangles.NbTriangles(); ++i) {
    int a, b, c;
    triangles.Triangle(i).Get(a, b, c);
    const gp_XY origin = triangles.UVNode(a).XY();
    const double signedArea = (triangles.UVNode(b).XY() - origin) ^ (triangles.UVNode(c).XY() - origin);
    area += std::abs(signedArea);
    if (signedArea < 0.0) turned -= signedArea;
  }
  return area > 0.0 ? turned / area : 1.0;
}

// Whether the triangles of a face tile the inside of its boundary loops.
bool IsProperTiling(const IMeshData::IFaceHandle& face) {
  TopLoc_Location location;
  const Handle(Poly_Triangulation) triangles = BRep_Tool::Triangulation(face->GetFace(), location);
  if (triangles.IsNull() || !triangles->HasUVNodes()) return false;
  Chain chain;
  for (int i = 1; i <= triangles->NbTriangles(); ++i) {
    int a, b, c;
    triangles->Triangle(i).Get(a, b, c);
    chain.Add(a, b, 1);
    chain.Add(b, c, 1);
    chain.Add(c, a, 1);
  }
  for (int w = 0; w < face->WiresNb(); ++w) {
    const IMeshData::IWireHandle& wire = face->GetWire(w);
    if (wire->IsSet(IMeshData_SelfIntersectingWire)) return false;
    for (int e = 0; e < wire->EdgesNb(); ++e) {
      const TopAbs_Orientation orientation = wire->GetEdgeOrientation(e);
      if (orientation != TopAbs_FORWARD && orientation != TopAbs_REVERSED) continue;
      const IMeshData::IPCurveHandle& curve = wire->GetEdge(e)->GetPCurve(face.get(), orientation);
      const int direction = orientation == TopAbs_FORWARD ? 1 : -1;
      for (int i = 1; i < curve->ParametersNb(); ++i)
        chain.Add(curve->GetIndex(i - 1), curve->GetIndex(i), -direction);
    }
  }
  return chain.IsZero() && TurnedShare(*triangles) <= kMaxTurnedShare;
}

// The mesher's own progress: some of its loops report theirs, and look whether they should end.
class Indicator : public Message_ProgressIndicator {
 public:
  explicit Indicator(WorkState& state) : state_(state) {}
  Standard_Boolean UserBreak() override { return state_.IsStopped(); }
  void Show(const Message_ProgressScope&, const Standard_Boolean) override { state_.Step(); }

 private:
  WorkState& state_;
};

// Triangulates all nodes of a face at once and adds the boundary afterwards. OpenCASCADE's own way to do so (Delabella)
// reads beside its arrays on some faces, ordinary ones among them.
class AtOnceAlgo : public BRepMesh_CustomBaseMeshAlgo {
 public:
  void SetState(WorkState& state) { state_ = &state; }

 protected:
  void buildBaseTriangulation() override {
    const Handle(BRepMesh_DataStructureOfDelaun)& structure = getStructure();
    if (structure->NbNodes() > kMaxFaceNodes) throw Standard_Failure("too many nodes");
    std::vector<std::array<double, 2>> points;
    gp_XY low(HUGE_VAL, HUGE_VAL), high(-HUGE_VAL, -HUGE_VAL);
    for (int i = 1; i <= structure->NbNodes(); ++i) {
      const gp_XY& point = structure->GetNode(i).Coord();
      points.push_back({point.X(), point.Y()});
      low = gp_XY(std::min(low.X(), point.X()), std::min(low.Y(), point.Y()));
      high = gp_XY(std::max(high.X(), point.X()), std::max(high.Y(), point.Y()));
    }
    const double margin = 0.1 * (high - low).Modulus();
    low -= gp_XY(margin, margin);
    high += gp_XY(margin, margin);
    for (const auto& corner : {low, gp_XY(high.X(), low.Y()), high, gp_XY(low.X(), high.Y())}) {
      points.push_back({corner.X(), corner.Y()});
      structure->AddNode(BRepMesh_Vertex(corner.X(), corner.Y(), BRepMesh_Free));
    }
    const auto triangles = TriangulateDelaunay(points, *state_);
    if (triangles.empty()) throw Standard_Failure("no triangulation of the nodes");
    for (const auto& corners : triangles) {
      int links[3];
      Standard_Boolean forward[3];
      for (std::size_t k = 0; k < 3; ++k) {
        const int link =
            structure->AddLink(BRepMesh_Edge(corners[k] + 1, corners[(k + 1) % 3] + 1, BRepMesh_Free));
        links[k] = std::abs(link);
        forward[k] = link > 0;
      }
      structure->AddElement(BRepMesh_Triangle(links, forward, BRepMesh_Free));
    }
  }

 private:
  WorkState* state_ = nullptr;
};

template <typename Splitter>
using InsertionAlgo =
    BRepMesh_DelaunayNodeInsertionMeshAlgo<Splitter, BRepMesh_CustomDelaunayBaseMeshAlgo<AtOnceAlgo>>;
template <typename Splitter>
using DeflectionAlgo =
    BRepMesh_DelaunayDeflectionControlMeshAlgo<Splitter, BRepMesh_CustomDelaunayBaseMeshAlgo<AtOnceAlgo>>;

// Chooses as BRepMesh_DelabellaMeshAlgoFactory does.
class FastAlgoFactory {
 public:
  explicit FastAlgoFactory(WorkState& state) : state_(state) {}

  Handle(IMeshTools_MeshAlgo)
      GetAlgo(const GeomAbs_SurfaceType surface, const IMeshTools_Parameters& parameters) const {
    switch (surface) {
    case GeomAbs_Plane:
      if (parameters.InternalVerticesMode) return Make<InsertionAlgo<BRepMesh_DefaultRangeSplitter>>(false);
      break;
    case GeomAbs_Sphere:
      return Make<InsertionAlgo<BRepMesh_SphereRangeSplitter>>(true);
    case GeomAbs_Cylinder:
      return nullptr;
    case GeomAbs_Cone:
      return Make<InsertionAlgo<BRepMesh_ConeRangeSplitter>>(true);
    case GeomAbs_Torus:
      return Make<InsertionAlgo<BRepMesh_TorusRangeSplitter>>(true);
    case GeomAbs_SurfaceOfRevolution:
      return Make<DeflectionAlgo<BRepMesh_BoundaryParamsRangeSplitter>>(true);
    default:
      return Make<DeflectionAlgo<BRepMesh_NURBSRangeSplitter>>(true);
    }
    AtOnceAlgo* const algo = new AtOnceAlgo;
    algo->SetState(state_);
    return algo;
  }

 private:
  template <typename Algo>
  Handle(IMeshTools_MeshAlgo) Make(bool surfaceNodesFirst) const {
    Algo* const algo = new Algo;
    algo->SetState(state_);
    if (surfaceNodesFirst) algo->SetPreProcessSurfaceNodes(Standard_True);
    return algo;
  }

  WorkState& state_;
};

// Meshes one face with the fast algorithm, and again with the thorough one if the proof fails.
class CheckedAlgo : public IMeshTools_MeshAlgo {
 public:
  CheckedAlgo(const Handle(IMeshTools_MeshAlgo) & fast, const Handle(IMeshTools_MeshAlgo) & thorough,
              std::atomic<int>& proved, WorkState& state)
      : fast_(fast), thorough_(thorough), proved_(proved), state_(state) {}

  void Perform(const IMeshData::IFaceHandle& face, const IMeshTools_Parameters& parameters,
               const Message_ProgressRange& range) override {
    const double deflection = face->GetDeflection();
    fast_->Perform(face, parameters, range);
    state_.Step();
    bool proper = IsProperTiling(face);
    if (!proper && fast_ != thorough_ && !state_.IsStopped()) {
      // The first run has left the deviation that it reached in place of the one that was asked for.
      face->SetDeflection(deflection);
      face->UnsetStatus(IMeshData_Failure);
      BRepMesh_ShapeTool::NullifyFace(face->GetFace());
      thorough_->Perform(face, parameters, range);
      proper = IsProperTiling(face);
    }
    if (proper) ++proved_;
    state_.Step();
  }

 private:
  Handle(IMeshTools_MeshAlgo) fast_, thorough_;
  std::atomic<int>& proved_;
  WorkState& state_;
};

class CheckedAlgoFactory : public IMeshTools_MeshAlgoFactory {
 public:
  CheckedAlgoFactory(std::atomic<int>& proved, WorkState& state)
      : fast_(state), proved_(proved), state_(state) {}

  Handle(IMeshTools_MeshAlgo)
      GetAlgo(const GeomAbs_SurfaceType surface, const IMeshTools_Parameters& parameters) const override {
    const Handle(IMeshTools_MeshAlgo) fast = fast_.GetAlgo(surface, parameters);
    const Handle(IMeshTools_MeshAlgo) thorough = thorough_.GetAlgo(surface, parameters);
    return new CheckedAlgo(fast.IsNull() ? thorough : fast, thorough, proved_, state_);
  }

 private:
  FastAlgoFactory fast_;
  BRepMesh_MeshAlgoFactory thorough_;
  std::atomic<int>& proved_;
  WorkState& state_;
};

// Looks for two segments of a face's boundary that cross each other, in the face's (u, v) plane.
class CrossingFinder : public NCollection_UBTree<int, Bnd_Box2d>::Selector {
 public:
  explicit CrossingFinder(const IMeshData::IFaceHandle& face) {
    for (int w = 0; w < face->WiresNb(); ++w) {
      const IMeshData::IWireHandle& wire = face->GetWire(w);
      for (int e = 0; e < wire->EdgesNb(); ++e) {
        const IMeshData::IPCurveHandle& curve =
            wire->GetEdge(e)->GetPCurve(face.get(), wire->GetEdgeOrientation(e));
        for (int i = 1; i < curve->ParametersNb(); ++i)
          segments_.push_back({curve->GetPoint(i - 1).XY(), curve->GetPoint(i).XY()});
      }
    }
  }

  bool Find() {
    NCollection_UBTree<int, Bnd_Box2d> tree;
    NCollection_UBTreeFiller<int, Bnd_Box2d> filler(tree);
    for (std::size_t i = 0; i < segments_.size(); ++i)
      filler.Add(static_cast<int>(i), BoxOf(segments_[i]));
    filler.Fill();
    for (current_ = 0; current_ < segments_.size(); ++current_) {
      box_ = BoxOf(segments_[current_]);
      if (tree.Select(*this) != 0) return true;
    }
    return false;
  }

  Standard_Boolean Reject(const Bnd_Box2d& box) const override { return box_.IsOut(box); }
  Standard_Boolean Accept(const int& index) override {
    const auto other = static_cast<std::size_t>(index);
    if (other <= current_) return Standard_False;
    const Segment &a = segments_[current_], &b = segments_[other];
    gp_Pnt2d point;
    myStop = BRepMesh_GeomTool::IntSegSeg(a.start, a.end, b.start, b.end, Standard_False, Standard_False,
                                          point) == BRepMesh_GeomTool::Cross;
    return myStop;
  }

 private:
  struct Segment {
    gp_XY start, end;
  };

  static Bnd_Box2d BoxOf(const Segment& segment) {
    Bnd_Box2d box;
    box.Add(gp_Pnt2d(segment.start));
    box.Add(gp_Pnt2d(segment.end));
    box.Enlarge(Precision::Confusion());
    return box;
  }

  std::vector<Segment> segments_;
  std::size_t current_ = 0;
  Bnd_Box2d box_;
};

// A model's edges without its faces.
class EdgesOf : public IMeshData_Model {
 public:
  explicit EdgesOf(const Handle(IMeshData_Model) & model)
      : IMeshData_Model(model->GetShape()), model_(model) {}

  Standard_Real GetMaxSize() const override { return model_->GetMaxSize(); }
  Standard_Integer FacesNb() const override { return 0; }
  const IMeshData::IFaceHandle& AddFace(const TopoDS_Face& face) override { return model_->AddFace(face); }
  const IMeshData::IFaceHandle& GetFace(const Standard_Integer index) const override {
    return model_->GetFace(index);
  }
  Standard_Integer EdgesNb() const override { return model_->EdgesNb(); }
  const IMeshData::IEdgeHandle& AddEdge(const TopoDS_Edge& edge) override { return model_->AddEdge(edge); }
  const IMeshData::IEdgeHandle& GetEdge(const Standard_Integer index) const override {
    return model_->GetEdge(index);
  }

 private:
  Handle(IMeshData_Model) model_;
};

// Counts the faces that were to be meshed, the ones that the mesher gives up before their turn included.
class Context : public BRepMesh_Context {
 public:
  explicit Context(WorkState& state) : BRepMesh_Context(IMeshTools_MeshAlgoType_Watson), state_(state) {
    SetFaceDiscret(new BRepMesh_FaceDiscret(new CheckedAlgoFactory(proved_, state)));
  }
  Standard_Boolean DiscretizeEdges() override { return Proceed() && BRepMesh_Context::DiscretizeEdges(); }
  // The mesher's healer joins the ends of the edges of each wire and then compares each wire of a face with each other,
  // which takes long on a plate with hundreds of holes. A face that is said to have failed is joined but not compared;
  // that is done here, and left to the healer if there is anything to heal.
  Standard_Boolean HealModel() override {
    if (!Proceed() || GetModel().IsNull()) return Standard_False;
    LeaveOutEndlessEdges();
    std::vector<IMeshData::IFaceHandle> spared;
    for (int i = 0; i < GetModel()->FacesNb(); ++i) {
      const IMeshData::IFaceHandle& face = GetModel()->GetFace(i);
      if (face->WiresNb() < kManyWires || face->IsSet(IMeshData_Failure)) continue;
      face->SetStatus(IMeshData_Failure);
      face->SetDeflection(kNotJoined);
      spared.push_back(face);
    }
    if (!BRepMesh_Context::HealModel()) return Standard_False;
    bool isSound = true;
    for (const IMeshData::IFaceHandle& face : spared) {
      face->UnsetStatus(IMeshData_Failure);
      isSound = isSound && face->GetDeflection() != kNotJoined && !CrossingFinder(face).Find();
      if (!Proceed()) return Standard_False;
    }
    return isSound || BRepMesh_Context::HealModel();
  }
  Standard_Boolean PreProcessModel() override { return Proceed() && BRepMesh_Context::PreProcessModel(); }
  Standard_Boolean DiscretizeFaces(const Message_ProgressRange& range) override {
    faces_ = GetModel().IsNull() ? 0 : GetModel()->FacesNb();
    if (!Proceed()) return Standard_False;
    return BRepMesh_Context::DiscretizeFaces(range);
  }
  // The last step gives edges their polygons, which is wanted, and then measures how far the triangles of each face
  // deviate, which is not.
  Standard_Boolean PostProcessModel() override {
    return Proceed() && !GetModel().IsNull() &&
           GetPostProcessor()->Perform(new EdgesOf(GetModel()), GetParameters(), Message_ProgressRange());
  }
  int CountUnproved() const { return faces_ - proved_; }

 private:
  bool Proceed() {
    state_.Step();
    return !state_.IsStopped();
  }

  // The faces of an edge that runs round itself hundreds of times are not meshed: memory for them would have no bounds.
  void LeaveOutEndlessEdges() {
    const Handle(IMeshData_Model)& model = GetModel();
    for (int i = 0; i < model->EdgesNb(); ++i) {
      const IMeshData::IEdgeHandle& edge = model->GetEdge(i);
      const int count = edge->GetCurve()->ParametersNb();
      if (count <= kMaxEdgePoints || count <= kMaxEdgePoints + kMaxSpanPoints * CountSpans(edge->GetEdge()))
        continue;
      for (int p = 0; p < edge->PCurvesNb(); ++p)
        edge->GetPCurve(p)->GetFace()->SetStatus(IMeshData_Failure);
      edge->SetStatus(IMeshData_Failure);
      edge->Clear(Standard_True);
    }
  }

  static int CountSpans(const TopoDS_Edge& edge) {
    const BRepAdaptor_Curve curve(edge);
    return curve.GetType() == GeomAbs_BSplineCurve ? curve.NbKnots() - 1 : 1;
  }

  WorkState& state_;
  std::atomic<int> proved_{0};
  int faces_ = 0;
};

}  // namespace

int MeshFaces(const TopoDS_Shape& body, const IMeshTools_Parameters& parameters, WorkState& state) {
  const Handle(Context) context = new Context(state);
  const Handle(Indicator) indicator = new Indicator(state);
  BRepMesh_IncrementalMesh mesher;
  mesher.SetShape(body);
  mesher.ChangeParameters() = parameters;
  mesher.Perform(context, indicator->Start());
  return context->CountUnproved();
}

}  // namespace mirel
