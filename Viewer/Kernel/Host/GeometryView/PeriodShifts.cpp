#include <Viewer/Kernel/Host/GeometryView/PeriodShifts.h>

#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Geom2d_Curve.hxx>
#include <Geom_Surface.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_Wire.hxx>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace mirel {
namespace {

// How far, in periods, ends that meet may lie apart.
constexpr double kMaxGap = 0.01;
// How many periods the boundary of a face that has run round once takes up.
constexpr double kOneRound = 1.0 + kMaxGap;
// A degenerated edge runs round once at most: it is the point in which a surface ends.
constexpr double kMaxDegenerated = 1.5;

// One use of an edge in a wire, in the direction of the wire.
struct Use {
  TopoDS_Edge edge;
  Handle(Geom2d_Curve) curve;
  gp_XY start, end;
  gp_XY shift;
};

class Joiner {
 public:
  explicit Joiner(const TopoDS_Face& face)
      : face_(TopoDS::Face(face.Oriented(TopAbs_FORWARD))), surface_(BRep_Tool::Surface(face_)) {
    if (surface_.IsNull()) return;
    period_ = gp_XY(surface_->IsUPeriodic() ? surface_->UPeriod() : 0.0,
                    surface_->IsVPeriodic() ? surface_->VPeriod() : 0.0);
  }

  void Run() {
    if (period_.SquareModulus() == 0.0) return;
    for (TopoDS_Iterator wires(face_); wires.More(); wires.Next()) {
      if (wires.Value().ShapeType() != TopAbs_WIRE) continue;
      TopoDS_Wire wire = TopoDS::Wire(wires.Value());
      if (!Read(wire) || Extent() <= kOneRound) continue;
      bool isJoined = Join();
      if (!isJoined) {  // wires list their edges in either direction
        std::reverse(uses_.begin(), uses_.end());
        isJoined = Join();
      }
      if (isJoined && Extent() <= kOneRound) Change(wire);
    }
  }

 private:
  bool Read(const TopoDS_Wire& wire) {
    uses_.clear();
    leftOut_.clear();
    for (TopoDS_Iterator edges(wire); edges.More(); edges.Next()) {
      const TopoDS_Edge& edge = TopoDS::Edge(edges.Value());
      if (edge.Orientation() != TopAbs_FORWARD && edge.Orientation() != TopAbs_REVERSED) continue;
      double first, last;
      const Handle(Geom2d_Curve) curve = BRep_Tool::CurveOnSurface(edge, face_, first, last);
      if (curve.IsNull()) return false;
      Use use{edge, curve, curve->Value(first).XY(), curve->Value(last).XY(), gp_XY()};
      if (edge.Orientation() == TopAbs_REVERSED) std::swap(use.start, use.end);
      if (BRep_Tool::Degenerated(edge) && InPeriods(use.end - use.start) > kMaxDegenerated)
        leftOut_.push_back(edge);
      else
        uses_.push_back(use);
    }
    return !uses_.empty();
  }

  // Finds the shifts with which the curves make a loop.
  bool Join() {
    uses_[0].shift = gp_XY();
    for (std::size_t i = 0; i < uses_.size(); ++i) {
      Use& next = uses_[(i + 1) % uses_.size()];
      const gp_XY gap = uses_[i].end + uses_[i].shift - next.start;
      const gp_XY shift(Round(gap.X(), period_.X()), Round(gap.Y(), period_.Y()));
      if (InPeriods(gap - shift) > kMaxGap || !Meet(uses_[i], next)) return false;
      if (i + 1 == uses_.size()) return shift.SquareModulus() == 0.0;
      next.shift = shift;
    }
    return false;
  }

  // How much of (u, v) the loop takes up, in periods.
  double Extent() const {
    gp_XY low = uses_[0].start + uses_[0].shift, high = low;
    for (const Use& use : uses_) {
      for (const gp_XY& end : {use.start + use.shift, use.end + use.shift}) {
        low = gp_XY(std::min(low.X(), end.X()), std::min(low.Y(), end.Y()));
        high = gp_XY(std::max(high.X(), end.X()), std::max(high.Y(), end.Y()));
      }
    }
    return InPeriods(high - low);
  }

  bool Meet(const Use& before, const Use& after) const {
    const double tolerance = std::max(BRep_Tool::Tolerance(before.edge), BRep_Tool::Tolerance(after.edge));
    return surface_->Value(before.end.X(), before.end.Y())
               .Distance(surface_->Value(after.start.X(), after.start.Y())) <= 10.0 * tolerance;
  }

  void Change(TopoDS_Wire& wire) {
    BRep_Builder builder;
    for (const Use& use : uses_) {
      if (use.shift.SquareModulus() == 0.0) continue;
      const auto shifted = Handle(Geom2d_Curve)::DownCast(use.curve->Translated(gp_Vec2d(use.shift)));
      const double tolerance = BRep_Tool::Tolerance(use.edge);
      if (!BRep_Tool::IsClosed(use.edge, face_)) {
        builder.UpdateEdge(use.edge, shifted, face_, tolerance);
        continue;
      }
      // A seam has two curves, one for each direction.
      double first, last;
      const Handle(Geom2d_Curve) other =
          BRep_Tool::CurveOnSurface(TopoDS::Edge(use.edge.Reversed()), face_, first, last);
      if (use.edge.Orientation() == TopAbs_FORWARD)
        builder.UpdateEdge(use.edge, shifted, other, face_, tolerance);
      else
        builder.UpdateEdge(use.edge, other, shifted, face_, tolerance);
    }
    wire.Free(Standard_True);
    for (const TopoDS_Edge& edge : leftOut_)
      builder.Remove(wire, edge);
  }

  static double Round(double value, double period) {
    return period > 0.0 ? std::round(value / period) * period : 0.0;
  }

  // The larger of two distances, in periods; directions that have none do not count.
  double InPeriods(const gp_XY& distance) const {
    return std::max(period_.X() > 0.0 ? std::abs(distance.X()) / period_.X() : 0.0,
                    period_.Y() > 0.0 ? std::abs(distance.Y()) / period_.Y() : 0.0);
  }

  TopoDS_Face face_;
  Handle(Geom_Surface) surface_;
  gp_XY period_;
  std::vector<Use> uses_;
  std::vector<TopoDS_Edge> leftOut_;
};

}  // namespace

void JoinByPeriods(const TopoDS_Face& face) {
  Joiner(face).Run();
}

}  // namespace mirel
