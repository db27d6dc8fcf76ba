#pragma once

#include <STEPControl_ActorRead.hxx>
#include <STEPControl_Reader.hxx>

#include <cstddef>
#include <exception>
#include <vector>

namespace mirel {

/// Translates the roots of a STEP file as OpenCASCADE does, but heals the bodies of all of them at once (`HealingQueue`): when
/// the first root is asked for, those that follow are translated with it.
class HealingActor : public STEPControl_ActorRead {
 public:
  /// Has a reader that holds a file's entities translate its roots so, unless a body is to be made of others.
  static void HealTogether(STEPControl_Reader& reader);

  /// `roots` in the order in which they will be asked for.
  explicit HealingActor(std::vector<Handle(Standard_Transient)> roots);

  Handle(Transfer_Binder)
      Transfer(const Handle(Standard_Transient) & start, const Handle(Transfer_TransientProcess) & process,
               const Message_ProgressRange& progress) override;

 private:
  struct Outcome {
    Handle(Transfer_Binder) result;
    std::exception_ptr failure;
  };

  // Translates roots until one does not come to a result.
  void TransferFrom(std::size_t first, const Handle(Transfer_TransientProcess) & process,
                    const Message_ProgressRange& progress);

  const std::vector<Handle(Standard_Transient)> roots_;
  std::vector<Outcome> outcomes_;  // of the first roots
};

}  // namespace mirel
