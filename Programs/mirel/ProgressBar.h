#pragma once

#include <Programs/mirel/StageProgress.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace mirel {

/// One line on stderr that shows the stage at work, how far it is and how long all has taken so far. Draws on a terminal
/// only: anywhere else every operation does nothing.
///
/// Thread safety: every operation may be called from any thread. The line is redrawn by a thread of its own,
/// so that it lives on while a library works without a word.
class ProgressBar : public StageProgress {
 public:
  explicit ProgressBar(bool enabled);
  ~ProgressBar() override;

  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Begin(const std::string& stage) override;

  void SetFraction(double fraction) override;

  /// Takes the line off the screen until the next redraw, for a message to be printed in its place.
  void Clear();

  /// Takes the line off the screen for good.
  void End();

 private:
  void Run();
  void Draw();
  void Erase();

  const bool enabled_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::string stage_;
  double fraction_ = -1.0;  // negative: not known
  const std::chrono::steady_clock::time_point begun_;
  std::size_t drawn_ = 0;  // columns on the screen
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace mirel
