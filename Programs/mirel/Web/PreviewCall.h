#pragma once

#include <Programs/mirel/ExitCode.h>

#include <string>

namespace mirel {

class Console;

/// The way from a verb to the library that serves a site, which is loaded only then.
class PreviewCall {
 public:
  /// Loads the library; false after a message that tells what to install when it is not there.
  static bool IsPossible(Console& console);

  /// Serves the folder of a site to this machine and prints the address. Comes back only when that fails: an interruption ends the
  /// process.
  static ExitCode Serve(Console& console, const std::string& folder);
};

}  // namespace mirel
