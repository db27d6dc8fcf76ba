#pragma once

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <string>

namespace mirel {

/// Listens to the log while it lives and keeps the last thing that was said, for one who wants to know why an operation
/// failed. Nothing is printed.
class LogNotes {
 public:
  LogNotes();
  ~LogNotes();

  LogNotes(const LogNotes&) = delete;
  LogNotes& operator=(const LogNotes&) = delete;

  /// The last message that is not a location line, without its full stop; empty when none came since the last call.
  std::string Take();

  /// The same without "Cannot read PATH: " before it, as what reads files says it.
  std::string TakeReason(const std::string& path);

 private:
  std::string last_;
  Logger::Sink before_;
};

}  // namespace mirel
