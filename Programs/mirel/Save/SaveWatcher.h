#pragma once

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

namespace mirel {

class ProgressBar;

/// Tells how far a running save is from the files that appear in its folder, as the module's writer says
/// nothing while it works: first the packages of exact bodies are written, then all bodies are tessellated,
/// then the packages of graphics and the index are written.
class SaveWatcher {
 public:
  /// Seconds.
  struct Times {
    double tessellation = 0.0;
    double writing = 0.0;
  };

  /// Begins to watch; to be made right before the save begins. `folder` is that of the save.
  SaveWatcher(std::filesystem::path folder, ProgressBar& progress);
  ~SaveWatcher();

  SaveWatcher(const SaveWatcher&) = delete;
  SaveWatcher& operator=(const SaveWatcher&) = delete;

  /// To be called when the save has ended: how long its stages took, to some hundredths of a second.
  Times Stop();

 private:
  using FileTime = std::filesystem::file_time_type;

  void Run();

  const std::filesystem::path folder_;
  ProgressBar& progress_;
  const FileTime begun_;
  FileTime meshed_;  // when the first sign of the graphics was seen; the minimum until then
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace mirel
