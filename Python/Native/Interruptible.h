#pragma once

#include <functional>

namespace mirel::python {

/// Runs `work` on a thread of its own while other threads of Python run, and looks for Ctrl-C twenty times a second. `tick` is
/// called as often, if there is one. When a signal handler or `tick` raises, `cancel` is called, `work` is waited for and the exception
/// comes through; so do those of `work`. To be called with the interpreter's lock, which `tick` has too and the others have not.
void RunInterruptibly(const std::function<void()>& work, const std::function<void()>& cancel,
                      const std::function<void()>& tick = nullptr);

/// The same for work that cannot be called off: after Ctrl-C it goes on by itself, so it must own all that it touches.
void RunAbandonably(std::function<void()> work);

}  // namespace mirel::python
