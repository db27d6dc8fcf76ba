#pragma once

#include <Bench/Figures.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace mirel::bench {

/// What a stage takes. Unlike time, instructions do not depend on caches and on what else the machine does: they show
/// how work grows.
struct Cost {
  double seconds = 0.0;
  double instructions = 0.0;  ///< outside the kernel, over all threads; 0 when the system does not count them

  Cost& operator+=(const Cost& other);

  /// Adds `name` and, if they are counted, `name` + "Instructions".
  void AddTo(Figures& figures, const std::string& name) const;
};

/// Measures what a piece of work takes: time, and memory beyond what the process had before.
///
/// Memory is resident memory as the kernel counts it (/proc/self). Blocks freed before are given back first,
/// so that the work cannot live on them unseen.
class Meter {
 public:
  /// Takes the baseline and starts the clock.
  Meter();
  ~Meter();

  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;

  /// Cost since the last call, or since the start. Stages that follow each other add up to the whole.
  Cost Lap();

  /// Seconds since the start.
  double Elapsed() const;

  /// Adds "seconds" and "secondsInstructions" up to now; "userSeconds" and "systemSeconds" of processor time, over all threads, and
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
  double CountInstructions() const;

  int counter_;  // a file descriptor, -1 when the system has none
  std::int64_t baseline_;
  Usage usage_;
  Clock::time_point start_;
  Clock::time_point lap_;
  double startInstructions_ = 0.0;
  double lapInstructions_ = 0.0;
};

}  // namespace mirel::bench
