#include <Python/Native/ExactBody.h>

#include <Programs/mirel/Check/GuardedLoop.h>
#include <Programs/mirel/Import/BodyText.h>
#include <Python/Native/Interruptible.h>
#include <Python/Native/PlacementWalk.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Measure/ExactPart.h>

#include <TopoDS_Shape.hxx>

#include <glm/glm.hpp>

#include <cmath>
#include <cstring>
#include <functional>
#include <optional>
#include <type_traits>
#include <unordered_map>

namespace mirel::python {

namespace {

constexpr unsigned int kSeconds = 60;

// Decodes the body, which is safe whatever it is, and has `compute` make a text of it in a process of its own.
std::string Compute(const std::shared_ptr<GRepShape>& grep,
                    const std::function<std::string(const TopoShape& body)>& compute) {
  struct Shared {
    std::string said;
    std::string reason;
  };
  const auto shared = std::make_shared<Shared>();
  RunAbandonably([grep, compute, shared] {
    const std::shared_ptr<TopoShape> body = grep->GetShape();
    if (!body || body->GetImpl().IsNull()) {
      shared->reason = body ? "the exact body cannot be decoded" : "the exact body is missing in the folder";
      return;
    }
    GuardedLoop::Run(
        1, GuardedLoop::Limits{kSeconds, 0},
        [&](std::size_t, const GuardedLoop::Say& say) { say(compute(*body)); },
        [&](std::size_t, const std::string& text) { shared->said = text; },
        [&](std::size_t, GuardedLoop::End end) {
          if (end == GuardedLoop::End::kTimedOut) {
            shared->reason = "given up after " + std::to_string(kSeconds) + " seconds";
          } else if (end == GuardedLoop::End::kCrashed) {
            shared->reason = "OpenCASCADE fails on the exact body";
          }
        });
  });
  if (!shared->reason.empty()) throw ExactFailure{shared->reason};
  return shared->said;
}

// Whether lengths and right angles stay, but for what placements lose when they are written and multiplied.
bool IsRigid(const glm::dmat4& placement) {
  const glm::dmat3 turn(placement), gram = glm::transpose(turn) * turn;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      if (!(std::abs(gram[column][row] - (column == row ? 1.0 : 0.0)) <= 1e-9)) return false;
  return true;
}

BodyMeasure MeasureAt(const std::shared_ptr<GRepShape>& grep, const glm::dmat4& placement) {
  static_assert(std::is_trivially_copyable_v<BodyMeasure>);  // it goes through a pipe
  const std::string bytes = Compute(grep, [placement](const TopoShape& body) {
    const std::optional<ExactPart> part = ExactPart::OfBody(body, placement);
    const std::optional<BodyMeasure> measure = part ? MeasureBody(*part) : std::nullopt;
    return measure ? std::string(reinterpret_cast<const char*>(&*measure), sizeof *measure) : std::string();
  });
  BodyMeasure measure;
  if (bytes.size() != sizeof measure) throw ExactFailure{"the exact body cannot be measured"};
  std::memcpy(&measure, bytes.data(), sizeof measure);
  return measure;
}

}  // namespace

ExactBody::ExactBody(const Part& part)
    : model_(part.model), grep_(part.GetShape()->GetGRep()), placement_(PlacementWalk().At(*part.node)) {}

BodyMeasure ExactBody::Measure() const {
  if (!IsRigid(placement_)) return MeasureAt(grep_, placement_);
  std::unordered_map<const GRepShape*, BodyMeasure>& known = model_->GetMeasures();
  auto found = known.find(grep_.get());
  if (found == known.end()) found = known.emplace(grep_.get(), MeasureAt(grep_, glm::dmat4(1.0))).first;
  BodyMeasure measure = found->second;
  measure.centre = glm::dvec3(placement_ * glm::dvec4(measure.centre, 1.0));
  return measure;
}

std::string ExactBody::MakeText() const {
  return Compute(grep_, [](const TopoShape& body) { return BodyText::Of(body.GetImpl()); });
}

}  // namespace mirel::python
