#pragma once

#include <Programs/mirel/Extras/Extras.h>

#include <string>

namespace mirel {

/// Extras for people. No state.
class ExtrasText {
 public:
  /// A line for each thing that is said, safe for a terminal.
  static std::string Of(const Extras& extras);
};

}  // namespace mirel
