#pragma once

#include <chrono>

namespace mirel {

/// Measures how long stages take.
class Stopwatch {
 public:
  /// Seconds since the last call, or since the stopwatch was made.
  double Lap() {
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - last_).count();
    last_ = now;
    return seconds;
  }

 private:
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

}  // namespace mirel
