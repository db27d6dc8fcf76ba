#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/WatchedWork.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BodyArrival.h>
#include <Viewer/Kernel/Host/GeometryView/EarlyTessellation.h>
#include <Viewer/Kernel/Host/GeometryView/GRepDrawing.h>
#include <Viewer/Kernel/Host/GeometryView/GRepRecord.h>
#include <Viewer/Kernel/Host/GeometryView/Tessellator.h>

#include <TopoDS_Shape.hxx>

#include <utility>

namespace mirel {

GRepShape::GRepShape(const std::shared_ptr<TopoShape>& shape, double deflection, bool withEdges)
    : shape_(shape), deflection_(deflection), withEdges_(withEdges) {}

GRepShape::~GRepShape() = default;

std::shared_ptr<GRepShape> GRepShape::Create(const std::shared_ptr<TopoShape>& shape, MaterialInstance*,
                                             MaterialInstance*, double deflection, bool withEdges) {
  if (!shape || shape->GetImpl().IsNull()) {
    Logger::Instance().Message(1, "No graphics representation is made of an empty shape");
    return nullptr;
  }
  std::shared_ptr<GRepShape> grep(new GRepShape(shape, deflection, withEdges));
  grep->early_ = std::make_unique<EarlyTessellation>(shape, deflection, withEdges);
  return grep;
}

std::shared_ptr<GRepShape> GRepShape::FromStream(std::istream& stream) {
  std::shared_ptr<GRepShape> grep(new GRepShape(nullptr, 0.0, true));
  const char* reason = ReadGRepRecord(stream, grep->mesh_);
  if (reason == nullptr) {
    const std::uint64_t bytes = grep->mesh_.CountBytes();
    grep->memory_ = MemoryBudget::Share(bytes);
    if (grep->memory_.HasTaken(bytes)) return grep;
    reason = "it would take more memory than the limit allows";
  }
  Logger::Instance().Message(1, "Not a graphics record: %s", reason);
  return nullptr;
}

void GRepShape::Compute() {
  if (const std::unique_ptr<EarlyTessellation> early = std::move(early_))
    mesh_ = early->Take();
  else if (shape_)
    mesh_ = Tessellate(shape_->GetImpl(), deflection_, withEdges_);
}

void GRepShape::SetPatience(double seconds) {
  SetTessellationPatience(seconds);
}

unsigned GRepShape::CountGivenUp() {
  return CountGivenUpTessellations();
}

unsigned GRepShape::CountAbandoned() {
  return CountAbandonedWork();
}

bool GRepShape::ToStream(std::ostream& stream) const {
  return WriteGRepRecord(mesh_, stream);
}

bool GRepShape::ToDrawingStream(std::ostream& stream) const {
  return WriteGRepRecord(MakeDrawing(mesh_), stream, GRepRecordForm::kDrawing);
}

bool GRepShape::SetShape(const std::shared_ptr<TopoShape>& shape, bool recompute) {
  if (!shape) return false;
  std::atomic_store(&shape_, shape);
  early_.reset();
  if (recompute) Compute();
  return true;
}

std::shared_ptr<TopoShape> GRepShape::GetShape() const {
  return std::atomic_load(&shape_);
}

bool GRepShape::IsShapeExpected() const {
  return !GetShape() && arrival_ && !arrival_->HasEnded();
}

std::shared_ptr<TopoShape> GRepShape::WaitForShape() const {
  if (IsShapeExpected()) arrival_->WaitFor([this] { return GetShape() != nullptr; });
  return GetShape();
}

}  // namespace mirel
