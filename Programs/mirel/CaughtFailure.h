#pragma once

#include <Programs/mirel/ExitCode.h>

#include <functional>
#include <string>

namespace mirel {

class Console;

/// The last net below what the program does.
struct CaughtFailure {
  /// Does the work and returns what it returns. An exception that leaves it is told as an error of `file`, which may be empty,
  /// and is `kInputUnread`.
  static ExitCode Guard(Console& console, const std::string& file, const std::function<ExitCode()>& work);
};

}  // namespace mirel
