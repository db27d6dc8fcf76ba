#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// What work on another thread logs, kept back so that it appears where the log's reader expects it: with the thing it
/// is about and in the same order every time.
///
/// Thread safety: none of its own; one thread at a time. An extra of this host.
class MIREL_HOST_API HeldMessages {
 public:
  /// Calls `work` at once. What the calling thread logs meanwhile comes behind what is held already, and not into the
  /// log; what other threads log is not touched. Exceptions of `work` pass through.
  void Collect(const std::function<void()>& work);

  /// Logs all that is held, in order, and holds nothing any more.
  void Log();

 private:
  friend class Logger;

  std::vector<std::pair<int, std::string>> messages_;  // level and text
};

}  // namespace mirel
