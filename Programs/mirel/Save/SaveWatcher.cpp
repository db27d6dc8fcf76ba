#include <Programs/mirel/Save/SaveWatcher.h>

#include <Programs/mirel/ProgressBar.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <algorithm>
#include <chrono>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr auto kPoll = std::chrono::milliseconds(20);
constexpr auto kQuiet = std::chrono::milliseconds(300);

// When the newest file of a folder of packages was written, also of those that lie in a hidden folder there until all are
// made; the minimum when it has none.
fs::file_time_type NewestIn(const fs::path& folder) {
  fs::file_time_type newest = fs::file_time_type::min();
  std::error_code failure;
  for (fs::recursive_directory_iterator entry(folder, failure), end; entry != end; entry.increment(failure)) {
    std::error_code gone;
    const fs::file_time_type time =
        entry->is_regular_file(gone) ? entry->last_write_time(gone) : fs::file_time_type::min();
    newest = gone ? newest : std::max(newest, time);
  }
  return newest;
}

double Seconds(fs::file_time_type::duration duration) {
  return std::max(0.0, std::chrono::duration<double>(duration).count());
}

}  // namespace

SaveWatcher::SaveWatcher(fs::path folder, ProgressBar& progress)
    : folder_(std::move(folder)),
      progress_(progress),
      begun_(FileTime::clock::now()),
      meshed_(FileTime::min()),
      thread_([this] { Run(); }) {}

SaveWatcher::~SaveWatcher() {
  if (thread_.joinable()) {
    Stop();
  }
}

void SaveWatcher::Run() {
  progress_.Begin("writing");
  std::unique_lock<std::mutex> lock(mutex_);
  while (!wake_.wait_for(lock, kPoll, [this] { return stopping_; })) {
    if (NewestIn(folder_ / FolderFiles::kGReps) != FileTime::min()) {
      meshed_ = FileTime::clock::now();
      progress_.Begin("writing");
      return;
    }
    const FileTime written = NewestIn(folder_ / FolderFiles::kShapes);
    if (written != FileTime::min() && FileTime::clock::now() - written > kQuiet) {
      progress_.Begin("tessellation");
    }
  }
}

SaveWatcher::Times SaveWatcher::Stop() {
  const FileTime ended = FileTime::clock::now();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
  Times times;
  const FileTime shapesWritten = NewestIn(folder_ / FolderFiles::kShapes);
  const FileTime meshed = meshed_ == FileTime::min() ? ended : meshed_;
  if (shapesWritten != FileTime::min()) {
    times.tessellation = Seconds(meshed - shapesWritten);
  }
  times.writing = Seconds(ended - begun_) - times.tessellation;
  return times;
}

}  // namespace mirel
