#include <Programs/mirel/Diff/BodyFigures.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <BRepBndLib.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>

#include <glm/glm.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace mirel {

namespace {

// A direction that no part is modelled along, so that few faces have the same place on it.
const glm::dvec3 kAskew = glm::normalize(glm::dvec3(0.6180339887, 0.4142135624, 0.7320508076));

bool IsNear(double a, double b, double tolerance) {
  return std::abs(a - b) <= tolerance + BodyFigures::kRelative * std::max(std::abs(a), std::abs(b));
}

// How far apart the centres of one face may be: they are integrals too.
double GetReach(const BodyFigures::Face& face, double slack) {
  return BodyFigures::kTolerance + slack + BodyFigures::kRelative * face.perimeter;
}

// Edges that are less exact than this say nothing of how exact a face is.
constexpr double kMostSlack = 1e-2;

// By how much the edges of a face are less exact than all lengths are taken to be.
double FindSlack(const TopoDS_Shape& face) {
  double slack = 0.0;
  for (TopExp_Explorer edges(face, TopAbs_EDGE); edges.More(); edges.Next()) {
    const double tolerance = BRep_Tool::Tolerance(TopoDS::Edge(edges.Current()));
    slack = std::max(slack, tolerance - BodyFigures::kTolerance);
  }
  return std::min(slack, kMostSlack);
}

bool IsSame(const BodyFigures::Face& a, const BodyFigures::Face& b) {
  constexpr double kTolerance = BodyFigures::kTolerance;
  constexpr double kAngle = 1e-6;
  const double slack = std::max(a.slack, b.slack), within = kTolerance + slack;
  return a.kind == b.kind && glm::distance(a.centre, b.centre) <= GetReach(a, slack) &&
         IsNear(a.area, b.area, within * a.perimeter) && IsNear(a.perimeter, b.perimeter, 10.0 * within) &&
         IsNear(a.radius, b.radius, kTolerance) && IsNear(a.tubeRadius, b.tubeRadius, kTolerance) &&
         IsNear(a.halfAngle, b.halfAngle, kAngle);
}

AABoxT<double> MakeBox(const TopoDS_Shape& shape) {
  Bnd_Box box;
  BRepBndLib::AddOptimal(shape, box, false, false);
  AABoxT<double> result;
  if (box.IsVoid()) {
    return result;
  }
  if (box.IsOpen()) {
    result.SetInfinite();
    return result;
  }
  glm::dvec3 min, max;
  box.Get(min.x, min.y, min.z, max.x, max.y, max.z);
  return AABoxT<double>(min, max);
}

}  // namespace

BodyFigures BodyFigures::Measure(const TopoShape& body, bool withBox) {
  BodyFigures figures;
  const TopoDS_Shape& shape = body.GetImpl();
  const std::optional<ExactPart> part = ExactPart::OfBody(body, glm::dmat4(1.0));
  if (!part) {
    return figures;
  }
  figures.isKnown = true;
  if (const std::optional<BodyMeasure> measure = MeasureBody(*part)) {
    figures.area = measure->area;
    figures.volume = measure->volume.value_or(0.0);
    figures.centre = measure->centre;
    figures.moments = measure->moments.value_or(glm::dvec3(0.0));
  }
  for (const std::optional<ExactPart>& face : ExactPart::FacesOf(body, glm::dmat4(1.0))) {
    Face& measured = figures.faces.emplace_back();
    if (face) {
      static_cast<FaceMeasure&>(measured) = MeasureFace(*face).value_or(FaceMeasure());
      measured.slack = FindSlack(face->GetShape());
      figures.slack += measured.slack * measured.perimeter;
    }
  }
  try {
    TopTools_IndexedMapOfShape edges;
    TopExp::MapShapes(shape, TopAbs_EDGE, edges);
    figures.edgeCount = static_cast<std::uint32_t>(edges.Extent());
    if (withBox || figures.faces.empty()) {
      figures.box = MakeBox(shape);
    }
  } catch (const Standard_Failure&) {  // geometry that it cannot handle; the box stays empty
  }
  return figures;
}

double BodyFigures::GetSignature() const {
  return glm::dot(centre, kAskew) + 0.7243 * std::sqrt(area) + 0.3127 * std::cbrt(volume) +
         static_cast<double>(faces.size());
}

double BodyFigures::GetSignatureReach() const {
  const double fromSlack = area > 0.0 ? slack / std::sqrt(area) : 0.0;
  return 4.0 * (kTolerance + fromSlack + kRelative * (glm::length(centre) + std::sqrt(area)));
}

std::vector<std::uint32_t> BodyFigures::MatchFaces(const BodyFigures& other) const {
  struct Candidate {
    double place;
    std::uint32_t face;
    bool isTaken = false;
  };
  std::vector<Candidate> candidates;
  double otherSlack = 0.0;
  for (std::uint32_t i = 0; i < other.faces.size(); ++i) {
    otherSlack = std::max(otherSlack, other.faces[i].slack);
    candidates.push_back({glm::dot(other.faces[i].centre, kAskew), i});
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.place < b.place; });
  std::vector<std::uint32_t> result(faces.size(), kNone);
  for (std::size_t i = 0; i < faces.size(); ++i) {
    const double place = glm::dot(faces[i].centre, kAskew),
                 reach = GetReach(faces[i], std::max(otherSlack, faces[i].slack));
    auto candidate = std::lower_bound(candidates.begin(), candidates.end(), place - reach,
                                      [](const Candidate& one, double least) { return one.place < least; });
    for (; candidate != candidates.end() && candidate->place <= place + reach; ++candidate) {
      if (!candidate->isTaken && IsSame(faces[i], other.faces[candidate->face])) {
        candidate->isTaken = true;
        result[i] = candidate->face;
        break;
      }
    }
  }
  return result;
}

bool BodyFigures::IsEqual(const BodyFigures& other) const {
  const double open = std::max(slack, other.slack);
  if (!isKnown || !other.isKnown || faces.size() != other.faces.size() ||
      glm::distance(centre, other.centre) > std::max(GetSignatureReach(), other.GetSignatureReach()) ||
      !IsNear(area, other.area, kTolerance * std::sqrt(area) + open) ||
      !IsNear(volume, other.volume, kTolerance * area + open * std::sqrt(area))) {
    return false;
  }
  if (faces.empty()) {  // wires and points: nothing else of them is measured
    return edgeCount == other.edgeCount && box.IsFinite() && other.box.IsFinite() &&
           glm::distance(box.GetMin(), other.box.GetMin()) <= kTolerance &&
           glm::distance(box.GetMax(), other.box.GetMax()) <= kTolerance;
  }
  const std::vector<std::uint32_t> match = MatchFaces(other);
  return std::find(match.begin(), match.end(), kNone) == match.end();
}

}  // namespace mirel
