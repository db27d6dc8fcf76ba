#include <Programs/mirel/Import/Healing/HealingQueue.h>

#include <Programs/mirel/HandlerStack.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>

#include <BRep_Builder.hxx>
#include <BRep_CurveRepresentation.hxx>
#include <BRep_ListIteratorOfListOfCurveRepresentation.hxx>
#include <BRep_TEdge.hxx>
#include <BRep_TFace.hxx>
#include <Geom2d_Curve.hxx>
#include <Geom_Curve.hxx>
#include <Geom_Plane.hxx>
#include <Geom_Surface.hxx>
#include <Interface_Static.hxx>
#include <Message_ProgressScope.hxx>
#include <ShapeBuild.hxx>
#include <TopAbs.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Iterator.hxx>
#include <XSAlgo.hxx>

#include <algorithm>
#include <numeric>
#include <utility>

namespace mirel {

namespace {

using Matter = std::unordered_set<const Standard_Transient*>;

void AddCurves(const BRep_TEdge& edge, Matter& matter) {
  for (BRep_ListIteratorOfListOfCurveRepresentation curve(edge.Curves()); curve.More(); curve.Next()) {
    if (curve.Value()->IsCurve3D()) {
      matter.insert(curve.Value()->Curve3D().get());
    } else if (curve.Value()->IsCurveOnSurface()) {
      matter.insert(curve.Value()->PCurve().get());
      matter.insert(curve.Value()->Surface().get());
    }
  }
}

// Adds all that the shape is made of: its parts, their curves and surfaces.
void AddMatter(const TopoDS_Shape& shape, Matter& matter) {
  if (!matter.insert(shape.TShape().get()).second) {
    return;
  }
  if (shape.ShapeType() == TopAbs_FACE) {
    matter.insert(static_cast<const BRep_TFace&>(*shape.TShape()).Surface().get());
  } else if (shape.ShapeType() == TopAbs_EDGE) {
    AddCurves(static_cast<const BRep_TEdge&>(*shape.TShape()), matter);
  }
  for (TopoDS_Iterator part(shape, Standard_False, Standard_False); part.More(); part.Next()) {
    AddMatter(part.Value(), matter);
  }
}

Matter MatterOf(const TopoDS_Shape& shape) {
  Matter matter;
  AddMatter(shape, matter);
  matter.erase(nullptr);
  return matter;
}

const char* ValueOf(const char* setting) {
  const char* const value = Interface_Static::CVal(setting);
  return value != nullptr ? value : setting;
}

}  // namespace

// OpenCASCADE calls both for each body, one right after the other.
class HealingQueue::Container : public XSAlgo_AlgoContainer {
 public:
  explicit Container(HealingQueue& queue) : queue_(queue) {}

  TopoDS_Shape ProcessShape(const TopoDS_Shape& body, Standard_Real precision, Standard_Real maxTolerance,
                            Standard_CString resource, Standard_CString recipe,
                            Handle(Standard_Transient) & info, const Message_ProgressRange& progress,
                            Standard_Boolean isNonManifold) const override {
    if (body.IsNull()) {
      return body;
    }
    const Handle(BodyHealing) healing = new BodyHealing(body, precision, maxTolerance, ValueOf(resource));
    if (isNonManifold || !info.IsNull() || healing->HasOtherRecipe(ValueOf(recipe))) {
      return XSAlgo_AlgoContainer::ProcessShape(body, precision, maxTolerance, resource, recipe, info,
                                                progress, isNonManifold);
    }
    info = healing;
    return queue_.Add(healing, MatterOf(body));
  }

  using XSAlgo_AlgoContainer::MergeTransferInfo;
  void MergeTransferInfo(const Handle(Transfer_TransientProcess) & process,
                         const Handle(Standard_Transient) & info, Standard_Integer first) const override {
    if (queue_.waiting_.empty() || queue_.waiting_.back().healing != info) {
      XSAlgo_AlgoContainer::MergeTransferInfo(process, info, first);
      return;
    }
    for (Standard_Integer i = std::max(first, 1); i <= process->NbMapped(); ++i) {
      const auto entity = Handle(TransferBRep_ShapeBinder)::DownCast(process->MapItem(i));
      if (!entity.IsNull() && !entity->Result().IsNull()) {
        queue_.waiting_.back().healing->AddPart(entity);
      }
    }
  }

 private:
  HealingQueue& queue_;
};

HealingQueue::HealingQueue(const Handle(Transfer_TransientProcess) & process)
    : process_(process), before_(XSAlgo::AlgoContainer()) {
  XSAlgo::SetAlgoContainer(new Container(*this));
}

HealingQueue::~HealingQueue() {
  XSAlgo::SetAlgoContainer(before_);
}

const TopoDS_Shape& HealingQueue::Add(const Handle(BodyHealing) & healing, const Matter& matter) {
  TopoDS_Compound standIn;
  BRep_Builder().MakeCompound(standIn);
  const std::size_t place = waiting_.size();
  waiting_.push_back({healing, standIn, place});
  for (const Standard_Transient* part : matter) {
    const auto [owner, isNew] = ownerOf_.try_emplace(part, place);
    if (!isNew) {
      waiting_[FindGroup(owner->second)].group = place;
      owner->second = place;
    }
  }
  return waiting_.back().standIn;
}

std::size_t HealingQueue::FindGroup(std::size_t place) {
  while (waiting_[place].group != place) {
    waiting_[place].group = waiting_[waiting_[place].group].group;
    place = waiting_[place].group;
  }
  return place;
}

std::vector<std::vector<std::size_t>> HealingQueue::ListGroups() {
  std::vector<std::vector<std::size_t>> groups(waiting_.size());
  std::vector<std::size_t> weights(waiting_.size());
  for (std::size_t place = 0; place < waiting_.size(); ++place) {
    const std::size_t group = FindGroup(place);
    groups[group].push_back(place);
    weights[group] += waiting_[place].healing->GetWeight();
  }
  std::vector<std::size_t> order(groups.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return weights[a] > weights[b]; });
  std::vector<std::vector<std::size_t>> sorted;
  for (const std::size_t group : order) {
    if (!groups[group].empty()) {
      sorted.push_back(std::move(groups[group]));
    }
  }
  return sorted;
}

void HealingQueue::HealAll(const Message_ProgressRange& progress) {
  if (waiting_.empty()) {
    return;
  }
  Run(progress);
  for (const Waiting& body : waiting_) {
    body.healing->Finish();
    const TopoDS_Shape& healed = body.healing->GetResult();
    if (!body.standIn.Free()) {  // it was put into a compound, be it one that nobody has kept
      healed.TShape()->Free(Standard_False);
    }
    healed_.emplace(body.standIn.TShape().get(), healed);
  }
  Matter refilled;
  for (Standard_Integer i = 1; i <= process_->NbMapped(); ++i) {
    const auto entity = Handle(TransferBRep_ShapeBinder)::DownCast(process_->MapItem(i));
    if (!entity.IsNull() && !entity->Result().IsNull() && entity->Result().ShapeType() == TopAbs_COMPOUND) {
      entity->SetResult(WithHealed(entity->Result(), refilled));
    }
  }
}

void HealingQueue::Run(const Message_ProgressRange& progress) {
  ShapeBuild::PlaneXOY();  // made at its first use
  std::size_t all = 0;
  for (const Waiting& body : waiting_) {
    all += body.healing->GetWeight();
  }
  Message_ProgressScope scope(progress, "healing", static_cast<double>(all));
  std::vector<Message_ProgressRange> ranges;
  for (const Waiting& body : waiting_) {
    ranges.push_back(scope.Next(static_cast<double>(body.healing->GetWeight())));
  }
  const std::vector<std::vector<std::size_t>> groups = ListGroups();
  ShareOut(groups.size(), kMinSharedBytes, [&](std::size_t i) {
    const HandlerStack stack;  // OpenCASCADE may crash here as well
    for (const std::size_t place : groups[i]) {
      waiting_[place].healing->Run(ranges[place]);
      ranges[place].Close();
    }
  });
}

TopoDS_Shape HealingQueue::WithHealed(const TopoDS_Shape& shape, Matter& refilled) const {
  const auto found = healed_.find(shape.TShape().get());
  if (found != healed_.end()) {
    TopoDS_Shape body = found->second;
    body.Location(shape.Location() * body.Location(), Standard_False);
    body.Orientation(TopAbs::Compose(shape.Orientation(), body.Orientation()));
    return body;
  }
  if (shape.ShapeType() == TopAbs_COMPOUND && refilled.insert(shape.TShape().get()).second) {
    Refill(shape, refilled);
  }
  return shape;
}

// The compound stays the same one, because others refer to it.
void HealingQueue::Refill(TopoDS_Shape compound, Matter& refilled) const {
  compound.Location(TopLoc_Location(), Standard_False);
  compound.Orientation(TopAbs_FORWARD);
  std::vector<TopoDS_Shape> before;
  std::vector<TopoDS_Shape> after;
  bool isChanged = false;
  for (TopoDS_Iterator part(compound); part.More(); part.Next()) {
    before.push_back(part.Value());
    after.push_back(WithHealed(part.Value(), refilled));
    isChanged |= !after.back().IsPartner(before.back());
  }
  if (!isChanged) {
    return;
  }
  const bool isFree = compound.Free();
  compound.Free(Standard_True);
  const BRep_Builder builder;
  for (const TopoDS_Shape& part : before) {
    builder.Remove(compound, part);
  }
  for (const TopoDS_Shape& part : after) {
    builder.Add(compound, part);
  }
  compound.Free(isFree);
}

}  // namespace mirel
