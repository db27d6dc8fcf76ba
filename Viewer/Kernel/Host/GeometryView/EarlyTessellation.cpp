#include <Viewer/Kernel/Host/GeometryView/EarlyTessellation.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/Tessellator.h>

#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <future>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

namespace mirel {

namespace {

// How long whoever asks for a mesh waits for a core at most, for some bodies take for ever.
constexpr std::chrono::seconds kMaxDelay{10};

// How many of the shape's edges there are as seen from its faces: tessellation takes about as long, and counting them
// next to nothing.
std::size_t EstimateWork(const TopoDS_Shape& shape) {
  std::size_t count = 0;
  try {
    for (TopExp_Explorer edge(shape, TopAbs_EDGE); edge.More(); edge.Next())
      ++count;
  } catch (const Standard_Failure&) {  // the tessellation says what is wrong with it
  }
  return count;
}

}  // namespace

struct EarlyTessellation::Job {
  std::size_t work;
  std::packaged_task<GRepMesh()> task;
};

class EarlyTessellation::Crew {
 public:
  // The crew that there is, or a new one.
  static std::shared_ptr<Crew> Get() {
    static std::mutex mutex;
    static std::weak_ptr<Crew> current;
    const std::lock_guard<std::mutex> lock(mutex);
    std::shared_ptr<Crew> crew = current.lock();
    if (!crew) current = crew = std::make_shared<Crew>();
    return crew;
  }

  ~Crew() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread& helper : helpers_)
      helper.join();
  }

  void Announce(const std::shared_ptr<Job>& job) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      waiting_.insert(job);
      if (waiting_.size() > 1 && helpers_.size() + 1 < cores_) {
        try {
          helpers_.emplace_back([this] { Help(); });
        } catch (const std::system_error&) {  // no thread left: whoever takes the mesh makes it
        }
      }
    }
    changed_.notify_all();
  }

  // Does the job, unless somebody else has begun it or it was taken back.
  void Do(const std::shared_ptr<Job>& job) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, kMaxDelay, [&] { return busy_ < cores_ || waiting_.count(job) == 0; });
    if (waiting_.erase(job) != 0) Run(*job, lock);
  }

  void TakeBack(const std::shared_ptr<Job>& job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.erase(job);
  }

 private:
  // The most work first: a large body that is begun last leaves all cores but one idle.
  struct MoreWork {
    bool operator()(const std::shared_ptr<Job>& a, const std::shared_ptr<Job>& b) const {
      return a->work != b->work ? a->work > b->work : a < b;
    }
  };

  void Help() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return stopped_ || (busy_ < cores_ && !waiting_.empty()); });
      if (stopped_) return;
      const std::shared_ptr<Job> job = *waiting_.begin();
      waiting_.erase(waiting_.begin());
      Run(*job, lock);
    }
  }

  void Run(Job& job, std::unique_lock<std::mutex>& lock) {
    ++busy_;
    lock.unlock();
    job.task();
    lock.lock();
    --busy_;
    changed_.notify_all();
  }

  const std::size_t cores_ = std::max(1u, std::thread::hardware_concurrency());
  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<std::shared_ptr<Job>, MoreWork> waiting_;
  std::vector<std::thread> helpers_;
  std::size_t busy_ = 0;  // threads that are at a body
  bool stopped_ = false;
};

EarlyTessellation::EarlyTessellation(const std::shared_ptr<TopoShape>& shape, double deflection,
                                     bool withEdges)
    : job_(new Job{EstimateWork(shape->GetImpl()), std::packaged_task<GRepMesh()>([=] {
                     return Tessellate(shape->GetImpl(), deflection, withEdges);
                   })}),
      crew_(Crew::Get()) {
  crew_->Announce(job_);
}

EarlyTessellation::~EarlyTessellation() {
  crew_->TakeBack(job_);
}

GRepMesh EarlyTessellation::Take() {
  std::future<GRepMesh> mesh = job_->task.get_future();
  crew_->Do(job_);
  return mesh.get();
}

}  // namespace mirel
