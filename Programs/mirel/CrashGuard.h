#pragma once

#include <Programs/mirel/ExitCode.h>

#include <string>

namespace mirel {

/// Turns a crash inside a library, which damaged geometry can cause, into a message and an exit code while it
/// lives: when the process gets a signal such as SIGSEGV, it prints "mirel: FILE: reason", removes the folder
/// that is being written, if any, and ends. Whichever thread it is; of several that crash the first one has its say.
///
/// One at a time. On systems without POSIX signals it does nothing.
class CrashGuard {
 public:
  CrashGuard(const std::string& file, const std::string& reason, ExitCode code);
  ~CrashGuard();

  CrashGuard(const CrashGuard&) = delete;
  CrashGuard& operator=(const CrashGuard&) = delete;
};

}  // namespace mirel
