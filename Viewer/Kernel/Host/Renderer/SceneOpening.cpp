#include <Viewer/Kernel/Host/Renderer/SceneOpening.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>

#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace mirel {

/// What the thread does, and what it shares with those who wait.
class SceneOpening::Work final : public StagedReader::Watcher {
 public:
  Work(std::shared_ptr<SceneReader> reader, std::string path, StagedReader::Bodies bodies, Listener listener,
       Nodes nodes)
      : reader_(std::move(reader)),
        path_(std::move(path)),
        bodies_(bodies),
        listener_(std::move(listener)),
        nodes_(nodes) {
    try {
      thread_ = std::thread([this] { Run(); });
    } catch (const std::system_error&) {  // no thread left: it is done at once
      Run();
    }
  }

  ~Work() override {
    Cancel();
    if (thread_.joinable()) thread_.join();
  }

  void Expect(std::uint64_t bytes) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    progress_.bytesInAll = bytes;
  }

  bool Advance(std::uint64_t bytes) override {
    return Change([this, bytes] { progress_.bytes += bytes; });
  }

  Progress GetProgress() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return progress_;
  }

  std::shared_ptr<SceneNode> TakeRoot() {
    WaitUntil([this] { return progress_.stage != Stage::kGraphics; });
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(root_, nullptr);
  }

  void Wait() {
    WaitUntil([this] { return isOver_; });
  }

  void Cancel() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isCancelled_ = true;
  }

 private:
  void Run() {
    try {
      Load();
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex_);
      failure_ = std::current_exception();
    }
    Change([this] { progress_.stage = Stage::kEnd; });
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      isOver_ = true;
    }
    changed_.notify_all();
  }

  void Load() {
    auto* const staged = dynamic_cast<StagedReader*>(reader_.get());
    if (staged == nullptr) {
      HandOver(reader_->Load(path_, nullptr));
      return;
    }
    const std::unique_ptr<StagedReader::Stages> stages = staged->Begin(path_, bodies_, *this);
    if (nodes_ == Nodes::kShared) stages->ShareNodes();
    if (HandOver(stages->LoadGraphics())) stages->LoadBodies();
  }

  // Whether to go on.
  bool HandOver(std::shared_ptr<SceneNode> root) {
    if (!root) return false;
    return Change([this, &root] {
      if (isCancelled_) return;
      root_ = std::move(root);
      progress_.stage = Stage::kBodies;
    });
  }

  // Changes the progress, tells all who wait and returns whether somebody still does.
  template <typename Action>
  bool Change(const Action& action) {
    std::unique_lock<std::mutex> lock(mutex_);
    action();
    const Progress progress = progress_;
    lock.unlock();
    changed_.notify_all();
    if (listener_) listener_(progress);
    lock.lock();
    return !isCancelled_;
  }

  template <typename Condition>
  void WaitUntil(const Condition& condition) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, condition);
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  }

  const std::shared_ptr<SceneReader> reader_;
  const std::string path_;
  const StagedReader::Bodies bodies_;
  const Listener listener_;
  const Nodes nodes_;

  mutable std::mutex mutex_;  // for all below
  std::condition_variable changed_;
  Progress progress_;
  std::shared_ptr<SceneNode> root_;
  std::exception_ptr failure_;
  bool isCancelled_ = false;
  bool isOver_ = false;  // the listener has heard of the end, too

  std::thread thread_;
};

SceneOpening::SceneOpening(std::shared_ptr<SceneReader> reader, const std::string& path,
                           StagedReader::Bodies bodies, Listener listener, Nodes nodes)
    : work_(std::make_unique<Work>(std::move(reader), path, bodies, std::move(listener), nodes)) {}

SceneOpening::~SceneOpening() = default;

SceneOpening::Progress SceneOpening::GetProgress() const {
  return work_->GetProgress();
}

std::shared_ptr<SceneNode> SceneOpening::TakeRoot() {
  return work_->TakeRoot();
}

void SceneOpening::Wait() {
  work_->Wait();
}

void SceneOpening::Cancel() {
  work_->Cancel();
}

}  // namespace mirel
