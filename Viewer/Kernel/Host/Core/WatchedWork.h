#pragma once

#include <atomic>
#include <chrono>
#include <functional>

namespace mirel {

/// Between work that may never end and whoever waits for it. Each of both may use it at any time.
class WorkState {
 public:
  /// The work has got on. To be called after each part that takes long itself, as often as is handy.
  void Step() noexcept { steps_.fetch_add(1, std::memory_order_relaxed); }
  unsigned GetSteps() const noexcept { return steps_.load(std::memory_order_relaxed); }

  /// Nobody waits any more: the work should end soon, and nothing of what it does counts.
  bool IsStopped() const noexcept { return stopped_.load(std::memory_order_relaxed); }
  void Stop() noexcept { stopped_.store(true, std::memory_order_relaxed); }

 private:
  std::atomic<unsigned> steps_{0};
  std::atomic<bool> stopped_{false};
};

struct WorkLimits {
  std::chrono::milliseconds stall;  ///< how long there may be no step
  std::chrono::milliseconds total;  ///< how long it may take, steps or not
  std::chrono::milliseconds grace;  ///< how long it may take to end once it is stopped
};

enum class WorkEnd {
  kDone,
  kStopped,    ///< it was stopped, and has ended
  kAbandoned,  ///< it was stopped, and its thread still runs
};

/// Runs `work` on a thread of its own and waits until it ends or one of the limits is reached: then it is stopped, and
/// abandoned when it does not end. No thread can be killed safely, so an abandoned one goes on, with the lowest priority
/// that the system has, until it ends or the process does; `work` must therefore own all that it touches. What it throws
/// is dropped.
///
/// Time during which the process itself did not run (stopped, suspended) does not count.
WorkEnd RunWatched(const std::function<void(WorkState&)>& work, const WorkLimits& limits);

/// The number of threads that were abandoned and still run.
unsigned CountAbandonedWork() noexcept;

}  // namespace mirel
