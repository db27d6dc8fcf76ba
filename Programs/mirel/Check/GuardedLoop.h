#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace mirel {

/// Runs a job for many things that nobody vouches for, each apart from the others: one that crashes or never ends costs
/// itself alone.
///
/// The jobs run one after another in a process of their own, which sees all that the caller has in memory and changes
/// none of it; what a job says reaches the caller through a pipe. After a crash or a time-out the next job gets a new
/// process. What jobs print on standard output is dropped. On Windows, and where no process can be made, they run in the
/// caller's process instead, without this protection.
///
/// Several threads may run one at once. A crash in one may then be heard of only when the others' processes have ended.
class GuardedLoop {
 public:
  enum class End { kDone, kCrashed, kTimedOut };
  using Say = std::function<void(const std::string& text)>;
  struct Limits {
    unsigned int seconds = 60;  ///< for each job
    std::uint64_t memory = 0;   ///< bytes beyond what the caller has, on Linux; 0 for no limit
  };

  /// Calls `job` with 0 to `count` - 1. For each number in turn, `hear` gets what the job said, in order, and then `end`
  /// how it ended. An exception that leaves a job is its crash.
  static void Run(std::size_t count, const Limits& limits,
                  const std::function<void(std::size_t index, const Say& say)>& job,
                  const std::function<void(std::size_t index, const std::string& text)>& hear,
                  const std::function<void(std::size_t index, End end)>& end);
};

}  // namespace mirel
