#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace mirel {

/// Runs jobs for many things that nobody vouches for, several at once, each in a process of its own: one that crashes, never
/// ends or takes too much memory costs itself alone.
///
/// The processes are forked from the caller's, so that what it has loaded is there and paid for once. It must have no threads.
/// Each process leads a group of its own, which goes when the job has ended in whatever way, and ends when the caller's
/// process does. On Linux; elsewhere the jobs run one after another in the caller's process, without this protection.
class Crew {
 public:
  /// How a job ended.
  enum class End {
    kDone,
    kCrashed,
    kTimedOut,
    kOutOfMemory,
    kKilled,  ///< from outside
  };

  struct Limits {
    unsigned int jobs = 1;         ///< at once
    double seconds = 0.0;          ///< for each job
    std::uint64_t memoryEach = 0;  ///< bytes that a job may have resident
    std::uint64_t memoryAll =
        0;  ///< the same for all that run; beyond it the youngest waits for a time of its own
  };

  struct Result {
    End end = End::kCrashed;
    std::string reply;    ///< what the job returned, when it is done
    std::string printed;  ///< what it printed on both streams, at most 64 KiB
    double seconds = 0.0;
    std::uint64_t memory = 0;  ///< the most that it had resident
  };

  /// What the caller has to say of the jobs, which are numbered from 0.
  struct Work {
    std::size_t count = 0;
    /// Bytes that a job will probably take. More start at once when they fit together.
    std::function<std::uint64_t(std::size_t index)> guessMemory;
    /// Does a job, in a process of its own, and returns what the caller is to know.
    std::function<std::string(std::size_t index)> run;
    /// Gets each job as it ends, in the caller's process.
    std::function<void(std::size_t index, const Result& result)> end;
    /// Called every now and then.
    std::function<void()> wait;
  };

  /// Runs all jobs and returns 0, or the number of the signal (SIGINT, SIGTERM, SIGHUP) that ended them all; then nobody is
  /// told of those that were running.
  static int Run(const Limits& limits, const Work& work);
};

}  // namespace mirel
