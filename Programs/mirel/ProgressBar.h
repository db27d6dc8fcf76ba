#pragma once

#include <Programs/mirel/StageProgress.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace mirel {

/// Shows on stderr the stage at work, how far it is and how long all has taken so far.
///
/// Thread safety: every operation may be called from any thread. The line is redrawn by a thread of its own,
/// so that it lives on while a library works without a word.
class ProgressBar : public StageProgress {
 public:
  enum class Form {
    kNone,  ///< nothing
    kBar,   ///< one line of a terminal, which is drawn over itself
    kLines,  ///< "progress: STAGE PERCENT", or without the percentage when it is not known; a line for each change
  };
  enum class Redraw {
    kByThread,
    kByCaller,  ///< for a process that is to have no threads: only `DrawNow` draws
  };
  explicit ProgressBar(Form form, Redraw redraw = Redraw::kByThread);
  ~ProgressBar() override;

  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Begin(const std::string& stage) override;

  void SetFraction(double fraction) override;

  /// Draws what is known now.
  void DrawNow();

  /// Takes the line off the screen until the next redraw, for a message to be printed in its place.
  void Clear();

  /// Takes the line off the screen for good.
  void End();

 private:
  void Run();
  void Draw();
  void PrintLine();
  void Erase();

  const Form form_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::string stage_;
  double fraction_ = -1.0;  // negative: not known
  const std::chrono::steady_clock::time_point begun_;
  std::size_t drawn_ = 0;  // columns on the screen
  std::string line_;       // the last one printed
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace mirel
