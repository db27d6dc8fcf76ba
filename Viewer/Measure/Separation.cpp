#include <Viewer/Measure/Separation.h>

#include <Viewer/Measure/PartMeasures.h>

#include <BRepExtrema_DistShapeShape.hxx>
#include <BRep_Tool.hxx>
#include <Message_ProgressIndicator.hxx>
#include <Standard_Failure.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Pnt.hxx>

#include <glm/glm.hpp>

#include <algorithm>
#include <cmath>

namespace mirel {
namespace {

// Directions that differ by less are parallel: 0.6 seconds of arc.
constexpr double kParallel = 3e-6;
constexpr double kRightAngle = 1.5707963267948966;

/// Lets OpenCASCADE ask whether to go on.
class CancelQuestion final : public Message_ProgressIndicator {
 public:
  explicit CancelQuestion(const std::function<bool()>& isCancelled) : isCancelled_(isCancelled) {}

  Standard_Boolean UserBreak() override { return isCancelled_(); }
  void Show(const Message_ProgressScope&, const Standard_Boolean) override {}

 private:
  const std::function<bool()>& isCancelled_;
};

glm::dvec3 Vector(const gp_Pnt& point) {
  return {point.X(), point.Y(), point.Z()};
}

/// What of a part goes on beyond it.
struct Reach {
  std::optional<MeasuredAxis> axis;
  bool isPlane = false;
  std::optional<glm::dvec3> centre;
};

Reach FindReach(const ExactPart& part) {
  Reach reach;
  if (const std::optional<FaceMeasure> face = MeasureFace(part)) {
    reach.axis = face->axis;
    reach.isPlane = face->kind == SurfaceKind::kPlane;
    reach.centre = face->centreOfSphere;
  }
  if (const std::optional<EdgeMeasure> edge = MeasureEdge(part)) {
    reach.axis = edge->axis;
    if (edge->kind == CurveKind::kCircle || edge->kind == CurveKind::kEllipse)
      reach.centre = edge->axis->point;
  }
  if (part.GetKind() == ExactPart::Kind::kPoint)
    reach.centre = Vector(BRep_Tool::Pnt(TopoDS::Vertex(part.GetShape())));
  return reach;
}

double AngleOfLines(const glm::dvec3& a, const glm::dvec3& b) {
  // The arc tangent keeps its digits where the arc cosine of nearly 1 loses them.
  return std::atan2(glm::length(glm::cross(a, b)), std::abs(glm::dot(a, b)));
}

void CompareDirections(const Reach& a, const Reach& b, Separation& separation) {
  if (!a.axis || !b.axis) return;
  const double ofLines = AngleOfLines(a.axis->direction, b.axis->direction);
  separation.angle = a.isPlane == b.isPlane ? ofLines : kRightAngle - ofLines;
  if (*separation.angle > kParallel) return;
  const glm::dvec3 between = b.axis->point - a.axis->point;
  const glm::dvec3& normal = a.isPlane ? a.axis->direction : b.axis->direction;
  separation.parallelDistance =
      a.isPlane || b.isPlane ? std::abs(glm::dot(between, normal)) : glm::length(glm::cross(between, normal));
}

}  // namespace

std::optional<Separation> MeasureSeparation(const ExactPart& from, const ExactPart& to,
                                            const std::function<bool()>& isCancelled) {
  try {
    const Handle(CancelQuestion) question = new CancelQuestion(isCancelled);
    BRepExtrema_DistShapeShape extrema;
    extrema.LoadS1(from.GetShape());
    extrema.LoadS2(to.GetShape());
    if (!extrema.Perform(question->Start()) || extrema.NbSolution() == 0 || isCancelled())
      return std::nullopt;
    Separation separation;
    separation.distance = extrema.Value();
    separation.from = Vector(extrema.PointOnShape1(1));
    separation.to = Vector(extrema.PointOnShape2(1));
    const Reach a = FindReach(from);
    const Reach b = FindReach(to);
    CompareDirections(a, b, separation);
    if (a.centre && b.centre) separation.centreDistance = glm::distance(*a.centre, *b.centre);
    return separation;
  } catch (const Standard_Failure&) {
    return std::nullopt;
  }
}

}  // namespace mirel
