#include <Viewer/Kernel/Host/GeometryView/EarlyTessellation.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/Tessellator.h>

#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace mirel {

struct EarlyTessellation::Job {
  explicit Job(std::function<GRepMesh()> work) : task(std::move(work)), mesh(task.get_future()) {}

  // False when somebody else has begun it, or nobody wants it any more.
  bool Claim() { return !claimed.test_and_set(); }

  std::packaged_task<GRepMesh()> task;
  std::future<GRepMesh> mesh;
  std::atomic_flag claimed = ATOMIC_FLAG_INIT;
};

class EarlyTessellation::Helpers {
 public:
  // The helpers that there are, or new ones.
  static std::shared_ptr<Helpers> Get() {
    static std::mutex mutex;
    static std::weak_ptr<Helpers> current;
    const std::lock_guard<std::mutex> lock(mutex);
    std::shared_ptr<Helpers> helpers = current.lock();
    if (!helpers) current = helpers = std::make_shared<Helpers>();
    return helpers;
  }

  ~Helpers() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_)
      thread.join();
  }

  void Add(const std::shared_ptr<Job>& job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.push_back(job);
    const std::size_t most = std::max(1u, std::thread::hardware_concurrency()) - 1u;
    if (waiting_.size() > 1 && threads_.size() < most) {
      try {
        threads_.emplace_back([this] { Help(); });
      } catch (const std::system_error&) {  // no thread left: whoever takes the mesh makes it
      }
    }
    changed_.notify_one();
  }

 private:
  void Help() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return stopped_ || !waiting_.empty(); });
      if (stopped_) return;
      const std::shared_ptr<Job> job = std::move(waiting_.front());
      waiting_.pop_front();
      lock.unlock();
      if (job->Claim()) job->task();
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::shared_ptr<Job>> waiting_;  // some may have been claimed meanwhile
  std::vector<std::thread> threads_;
  bool stopped_ = false;
};

EarlyTessellation::EarlyTessellation(const std::shared_ptr<TopoShape>& shape, double deflection,
                                     bool withEdges)
    : job_(std::make_shared<Job>([=] { return Tessellate(shape->GetImpl(), deflection, withEdges); })),
      helpers_(Helpers::Get()) {
  helpers_->Add(job_);
}

EarlyTessellation::~EarlyTessellation() {
  job_->Claim();
}

GRepMesh EarlyTessellation::Take() {
  if (job_->Claim()) job_->task();
  return job_->mesh.get();
}

}  // namespace mirel
