#pragma once

#if !defined(_WIN32)
#include <csignal>
#include <cstdlib>
#endif

namespace mirel {

/// While it lives, signal handlers that ask for a stack of their own have one on this thread: a crash may be an overflow of the
/// thread's. On systems without POSIX signals it does nothing.
class HandlerStack {
 public:
#if defined(_WIN32)
  HandlerStack() {}
#else
  HandlerStack() : bytes_(std::malloc(kBytes)) {
    stack_t stack = {};
    stack.ss_sp = bytes_;
    stack.ss_size = kBytes;
    sigaltstack(&stack, &before_);
  }

  ~HandlerStack() {
    if ((before_.ss_flags & SS_DISABLE) != 0) {
      before_ = {};
      before_.ss_flags = SS_DISABLE;
    }
    sigaltstack(&before_, nullptr);
    std::free(bytes_);
  }
#endif

  HandlerStack(const HandlerStack&) = delete;
  HandlerStack& operator=(const HandlerStack&) = delete;

 private:
#if !defined(_WIN32)
  static constexpr std::size_t kBytes = 64 * 1024;

  void* const bytes_;
  stack_t before_ = {};
#endif
};

}  // namespace mirel
