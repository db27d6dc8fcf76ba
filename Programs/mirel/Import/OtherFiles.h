#pragma once

#include <Interface_InterfaceModel.hxx>

#include <filesystem>

namespace mirel {

/// The files that a STEP file refers to. OpenCASCADE opens them by itself, whatever they are.
class OtherFiles {
 public:
  /// Has none of them opened that is a pipe or a device, which would keep the reader waiting or never end: the names of
  /// such files in the entities become names that no file has, and say why. `folder` is where the files are looked for.
  static void TurnAway(const Interface_InterfaceModel& entities, const std::filesystem::path& folder);
};

}  // namespace mirel
