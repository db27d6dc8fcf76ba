#pragma once

#include <filesystem>

namespace mirel {

/// Removes a folder when the process is interrupted (SIGINT, SIGTERM, SIGHUP; Ctrl-C on Windows).
class InterruptCleanup {
 public:
  /// From here on, an interruption removes what `Watch` names and then ends the process as it would have
  /// ended anyway. To be called once, before any other thread is started: the signals are blocked in every
  /// thread that comes after.
  static void Install();

  /// The folder to remove; an empty path for none. Waits while a removal is going on.
  static void Watch(const std::filesystem::path& folder);

#if !defined(_WIN32)
  /// Removes the folder and ends the process with an exit code. For signal handlers: it has the waiting
  /// thread do the work and never returns.
  [[noreturn]] static void EndProcess(int exitCode);
#endif
};

}  // namespace mirel
