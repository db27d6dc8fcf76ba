#include <Viewer/Kernel/Host/Core/WatchedWork.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#elif defined(__linux__)
#include <pthread.h>
#include <sched.h>
#endif

namespace mirel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLongestSlice(100);

// Not a static object that a destructor could follow: abandoned threads outlive those.
std::atomic<unsigned> abandonedCount{0};

// What a thread and the one that waits for it share.
struct Job {
  std::function<void(WorkState&)> work;
  WorkState state;
  std::mutex mutex;
  std::condition_variable ended;
  bool isDone = false;
  bool isAbandoned = false;
#if defined(_WIN32)
  std::atomic<DWORD> thread{0};
#endif

  void Run() {
#if defined(_WIN32)
    thread = GetCurrentThreadId();
#endif
    try {
      work(state);
    } catch (...) {
    }
    work = nullptr;  // before anybody may think that it has ended
    const std::lock_guard<std::mutex> lock(mutex);
    isDone = true;
    if (isAbandoned) --abandonedCount;
    ended.notify_all();
  }

  // Waits until the work ends, or as long as `isPatient` says of a slice of time that has passed.
  template <typename IsPatient>
  bool Wait(std::unique_lock<std::mutex>& lock, milliseconds slice, IsPatient&& isPatient) {
    auto before = steady_clock::now();
    while (!ended.wait_for(lock, slice, [this] { return isDone; })) {
      const auto now = steady_clock::now();
      // A process that was stopped for an hour has not waited for an hour.
      if (!isPatient(std::min<steady_clock::duration>(now - before, 2 * slice))) return false;
      before = now;
    }
    return true;
  }
};

void LowerPriority(std::thread& thread, const Job& job) {
#if defined(_WIN32)
  static_cast<void>(thread);
  if (const HANDLE handle = OpenThread(THREAD_SET_INFORMATION, FALSE, job.thread)) {
    SetThreadPriority(handle, THREAD_PRIORITY_IDLE);
    CloseHandle(handle);
  }
#elif defined(__linux__)
  static_cast<void>(job);
  const sched_param none = {};
  pthread_setschedparam(thread.native_handle(), SCHED_IDLE, &none);
#else
  static_cast<void>(thread);
  static_cast<void>(job);
#endif
}

}  // namespace

WorkEnd RunWatched(const std::function<void(WorkState&)>& work, const WorkLimits& limits) {
  const auto job = std::make_shared<Job>();
  job->work = work;
  std::thread thread;
  try {
    thread = std::thread([job] { job->Run(); });
  } catch (const std::system_error&) {
    // The system gives no more threads. Hardly any work stalls, so this one is done unwatched rather than not at all.
    job->Run();
    return WorkEnd::kDone;
  }

  const milliseconds slice = std::clamp(limits.stall / 8, milliseconds(1), kLongestSlice);
  steady_clock::duration stalled{0}, total{0};
  unsigned steps = 0;
  std::unique_lock<std::mutex> lock(job->mutex);
  bool isDone = job->Wait(lock, slice, [&](steady_clock::duration passed) {
    const unsigned newSteps = job->state.GetSteps();
    stalled = newSteps == steps ? stalled + passed : steady_clock::duration::zero();
    steps = newSteps;
    total += passed;
    return stalled < limits.stall && total < limits.total;
  });
  const WorkEnd end = isDone ? WorkEnd::kDone : WorkEnd::kStopped;
  if (!isDone) {
    job->state.Stop();
    steady_clock::duration waited{0};
    isDone = job->Wait(lock, slice,
                       [&](steady_clock::duration passed) { return (waited += passed) < limits.grace; });
  }
  if (isDone) {
    lock.unlock();
    thread.join();
    return end;
  }
  job->isAbandoned = true;
  ++abandonedCount;
  lock.unlock();
  LowerPriority(thread, *job);
  thread.detach();
  return WorkEnd::kAbandoned;
}

unsigned CountAbandonedWork() noexcept {
  return abandonedCount;
}

}  // namespace mirel
