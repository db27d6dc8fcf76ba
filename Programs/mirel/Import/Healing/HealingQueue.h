#pragma once

#include <Programs/mirel/Import/Healing/BodyHealing.h>

#include <Message_ProgressRange.hxx>
#include <TopoDS_Shape.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSAlgo_AlgoContainer.hxx>

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace mirel {

/// While it lives, the bodies of a STEP file that OpenCASCADE translates are not healed one after another as they come, but wait
/// until they can be healed all at once, on all cores.
///
/// Until then an empty compound stands in for a body, which the translator puts into assemblies and moves about. `HealAll` heals
/// what waits and puts it in its places, so that the translator comes to the results that it would have come to without the
/// queue. Bodies that share a curve or a surface are healed by one thread, in the order in which they came. No body may hold
/// another one.
///
/// For one file, on the thread that translates it; takes the place of `XSAlgo::AlgoContainer`, which is there again
/// afterwards. The threads that heal have ended when `HealAll` returns.
class HealingQueue {
 public:
  explicit HealingQueue(const Handle(Transfer_TransientProcess) & process);
  ~HealingQueue();

  HealingQueue(const HealingQueue&) = delete;
  HealingQueue& operator=(const HealingQueue&) = delete;

  /// Once, at the end. Throws what a healing threw that is no failure of OpenCASCADE's; the results are of no use then.
  void HealAll(const Message_ProgressRange& progress);

 private:
  class Container;

  // A body and what stands in for it.
  struct Waiting {
    Handle(BodyHealing) healing;
    TopoDS_Shape standIn;
    std::size_t
        group;  // the place of a body that it shares something with; its own when there is none before it
  };
  using Matter = std::unordered_set<const Standard_Transient*>;

  const TopoDS_Shape& Add(const Handle(BodyHealing) & healing, const Matter& matter);
  std::size_t FindGroup(std::size_t place);
  // The bodies of each group in their order, the group with the most work first.
  std::vector<std::vector<std::size_t>> ListGroups();
  void Run(const Message_ProgressRange& progress);
  // The shape with healed bodies in the place of what stood in for them, in the compounds inside it too.
  TopoDS_Shape WithHealed(const TopoDS_Shape& shape, Matter& refilled) const;
  void Refill(TopoDS_Shape compound, Matter& refilled) const;

  const Handle(Transfer_TransientProcess) process_;
  const Handle(XSAlgo_AlgoContainer) before_;
  std::vector<Waiting> waiting_;
  std::unordered_map<const Standard_Transient*, std::size_t>
      ownerOf_;  // of parts and geometry: the last body's place
  std::unordered_map<const Standard_Transient*, TopoDS_Shape> healed_;  // by what stood in for it
};

}  // namespace mirel
