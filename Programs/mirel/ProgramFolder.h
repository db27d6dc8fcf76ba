#pragma once

#include <filesystem>

namespace mirel {

/// Where the program lies, and with it what it brings along.
class ProgramFolder {
 public:
  /// The folder of the program's file, whatever link it was started through; empty when the system does not tell. What belongs
  /// to the program is looked for from here and never in the current folder, where anybody may have put anything.
  static std::filesystem::path Find();
};

}  // namespace mirel
