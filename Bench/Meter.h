#pragma once

#include <Bench/Figures.h>

#include <chrono>
#include <cstdint>

namespace mirel::bench {

/// Measures what a piece of work takes: time, and memory beyond what the process had before.
///
/// Memory is resident memory as the kernel counts it (/proc/self). Blocks freed before are given back first,
/// so that the work cannot live on them unseen.
class Meter {
 public:
  /// Takes the baseline and starts the clock.
  Meter();

  /// Seconds since the last call, or since the start. Stages that follow each other add up to the whole.
  double Lap();

  /// Seconds since the start.
  double Elapsed() const;

  /// Adds "seconds" up to now; "userSeconds" and "systemSeconds" of processor time, over all threads, and
  /// "pageFaults"; "peakBytes" and "liveBytes", beyond the baseline.
  void Stop(Figures& figures) const;

 private:
  using Clock = std::chrono::steady_clock;

  struct Usage {
    double user = 0.0;
    double system = 0.0;
    double pageFaults = 0.0;
  };
  static Usage GetUsage();

  std::int64_t baseline_;
  Usage usage_;
  Clock::time_point start_;
  Clock::time_point lap_;
};

}  // namespace mirel::bench
