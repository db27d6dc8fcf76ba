#include <Programs/mirel/Import/Healing/HealingActor.h>

#include <Programs/mirel/Import/EntityFilter.h>
#include <Programs/mirel/Import/Healing/HealingQueue.h>

#include <Interface_InterfaceModel.hxx>
#include <Message_ProgressScope.hxx>
#include <StepGeom_Curve.hxx>
#include <StepGeom_Point.hxx>
#include <StepGeom_Surface.hxx>
#include <StepShape_GeometricSet.hxx>
#include <StepShape_GeometricSetSelect.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace mirel {

namespace {

// Of the whole; healing takes the rest.
constexpr double kTranslationShare = 0.15;

// Whether a body is to be made of others: a geometric set takes what its elements have become elsewhere, healed.
bool HasNestedBodies(const Interface_InterfaceModel& entities) {
  EntityFilter<StepShape_GeometricSet> filter;
  std::unordered_set<const Standard_Transient*> elements;
  for (int i = 1; i <= entities.NbEntities(); ++i) {
    if (!filter.Takes(entities.Value(i))) {
      continue;
    }
    const auto set = Handle(StepShape_GeometricSet)::DownCast(entities.Value(i));
    for (int k = 1; k <= set->NbElements(); ++k) {
      const Handle(Standard_Transient) element = set->ElementsValue(k).Value();
      if (!element.IsNull() &&
          (!elements.insert(element.get()).second || !(element->IsKind(STANDARD_TYPE(StepGeom_Curve)) ||
                                                       element->IsKind(STANDARD_TYPE(StepGeom_Point)) ||
                                                       element->IsKind(STANDARD_TYPE(StepGeom_Surface))))) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

void HealingActor::HealTogether(STEPControl_Reader& reader) {
  if (HasNestedBodies(*reader.Model())) {
    return;
  }
  std::vector<Handle(Standard_Transient)> roots;
  for (int i = 1; i <= reader.NbRootsForTransfer(); ++i) {
    roots.push_back(reader.RootForTransfer(i));
  }
  reader.WS()->TransferReader()->SetActor(new HealingActor(std::move(roots)));
}

HealingActor::HealingActor(std::vector<Handle(Standard_Transient)> roots) : roots_(std::move(roots)) {}

Handle(Transfer_Binder) HealingActor::Transfer(const Handle(Standard_Transient) & start,
                                               const Handle(Transfer_TransientProcess) & process,
                                               const Message_ProgressRange& progress) {
  const auto place =
      static_cast<std::size_t>(std::find(roots_.begin(), roots_.end(), start) - roots_.begin());
  if (place == roots_.size() || place > outcomes_.size()) {
    return STEPControl_ActorRead::Transfer(start, process, progress);
  }
  if (place == outcomes_.size()) {
    TransferFrom(place, process, progress);
  }
  if (outcomes_[place].failure) {
    std::rethrow_exception(outcomes_[place].failure);
  }
  return outcomes_[place].result;
}

void HealingActor::TransferFrom(std::size_t first, const Handle(Transfer_TransientProcess) & process,
                                const Message_ProgressRange& progress) {
  HealingQueue queue(process);
  Message_ProgressScope scope(progress, "", 1.0);
  Message_ProgressScope translation(scope.Next(kTranslationShare), "",
                                    static_cast<double>(roots_.size() - first));
  Outcome outcome;
  do {
    try {
      outcome.result = STEPControl_ActorRead::Transfer(roots_[outcomes_.size()], process, translation.Next());
    } catch (...) {
      outcome = {Handle(Transfer_Binder)(), std::current_exception()};
    }
    outcomes_.push_back(outcome);
  } while (!outcome.result.IsNull() && outcomes_.size() < roots_.size());
  translation.Close();
  queue.HealAll(scope.Next(1.0 - kTranslationShare));
}

}  // namespace mirel
