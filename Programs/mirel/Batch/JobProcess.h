#pragma once

#include <Programs/mirel/Batch/Crew.h>

#if defined(__linux__)

#include <chrono>
#include <functional>
#include <string>

#include <signal.h>
#include <sys/types.h>

namespace mirel {

/// A job that runs in a process of its own, with those that it starts.
class JobProcess {
 public:
  explicit JobProcess(std::size_t index) : index_(index) {}
  /// Ends what is still there of it.
  ~JobProcess();

  JobProcess(const JobProcess&) = delete;
  JobProcess& operator=(const JobProcess&) = delete;

  /// False when the system gives no process. `mask` is that of the process's signals, `addressSpace` how many bytes it may map
  /// beyond what the caller has.
  bool Start(const std::function<std::string()>& job, const sigset_t& mask, std::uint64_t addressSpace);

  std::size_t GetIndex() const { return index_; }
  double GetSeconds() const;

  /// Looks what has become of it; true when it has ended.
  bool Look();

  /// What it has resident now, as seen by the last `Look`.
  std::uint64_t GetMemory() const { return memory_; }

  /// Asks it to end, so that it can clean up; a second later it is killed. What it ends as is the first reason that was given.
  void Stop(Crew::End reason);
  bool IsStopping() const { return isStopping_; }

  /// What came of it, once it has ended.
  const Crew::Result& GetResult() const { return result_; }

 private:
  using Clock = std::chrono::steady_clock;

  void Listen();
  void Measure();
  void Conclude(int status);

  const std::size_t index_;
  pid_t process_ = -1;
  int replies_ = -1;
  int prints_ = -1;
  Clock::time_point begun_;
  Clock::time_point stopped_;
  bool isStopping_ = false;
  std::uint64_t memory_ = 0;
  Crew::Result result_;
};

}  // namespace mirel

#endif
