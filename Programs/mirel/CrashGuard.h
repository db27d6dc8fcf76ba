#pragma once

#include <string>

namespace mirel {

/// Turns a crash inside a library that reads a damaged file into a message and an exit code, while it lives:
/// when the process gets a signal such as SIGSEGV, it prints "mirel: FILE: ..." and ends at once with the
/// code for unreadable input. Nothing has been written at that time, so nothing is left behind.
///
/// One at a time. On systems without POSIX signals it does nothing.
class CrashGuard {
 public:
  explicit CrashGuard(const std::string& file);
  ~CrashGuard();

  CrashGuard(const CrashGuard&) = delete;
  CrashGuard& operator=(const CrashGuard&) = delete;
};

}  // namespace mirel
