#pragma once

#include <Standard_Transient.hxx>
#include <Standard_Type.hxx>

#include <unordered_map>

namespace mirel {

/// Picks the entities of a file that are of one of some types, or of one derived of them. What OpenCASCADE finds out by the names
/// of all base types is found out once for each type that the file has.
template <typename... Types>
class EntityFilter {
 public:
  bool Takes(const Handle(Standard_Transient) & entity) {
    const auto [known, isNew] = takes_.try_emplace(entity->DynamicType().get(), false);
    if (isNew) {
      known->second = (entity->IsKind(STANDARD_TYPE(Types)) || ...);
    }
    return known->second;
  }

 private:
  std::unordered_map<const Standard_Type*, bool> takes_;
};

}  // namespace mirel
