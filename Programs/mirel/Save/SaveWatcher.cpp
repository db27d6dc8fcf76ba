#include <Programs/mirel/Save/SaveWatcher.h>

#include <Programs/mirel/ProgressBar.h>

#include <algorithm>
#include <chrono>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr auto kPoll = std::chrono::milliseconds(20);
constexpr auto kQuiet = std::chrono::milliseconds(300);

// When the newest file of a folder was written; the minimum when it has none.
fs::file_time_type NewestIn(const fs::path& folder) {
  fs::file_time_type newest = fs::file_time_type::min();
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, failure)) {
    const fs::file_time_type time = entry.last_write_time(failure);
    newest = failure ? newest : std::max(newest, time);
  }
  return newest;
}

// The files appear in a hidden folder inside and get their places when all are there.
fs::path WhereFilesAppear(const fs::path& folder) {
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, failure)) {
    if (entry.path().filename().u8string()[0] == '.') {
      return entry.path();
    }
  }
  return folder;
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
    std::error_code ignored;
    const fs::path folder = WhereFilesAppear(folder_);
    if (fs::exists(folder / "grep", ignored)) {
      meshed_ = FileTime::clock::now();
      progress_.Begin("writing");
      return;
    }
    const FileTime written = NewestIn(folder / "model");
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
  const FileTime shapesWritten = NewestIn(folder_ / "model");
  const FileTime meshed = meshed_ == FileTime::min() ? ended : meshed_;
  if (shapesWritten != FileTime::min()) {
    times.tessellation = Seconds(meshed - shapesWritten);
  }
  times.writing = Seconds(ended - begun_) - times.tessellation;
  return times;
}

}  // namespace mirel
