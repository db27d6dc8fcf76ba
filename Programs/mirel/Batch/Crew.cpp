#include <Programs/mirel/Batch/Crew.h>

#include <Programs/mirel/Batch/JobProcess.h>

#if defined(__linux__)
#include <algorithm>
#include <csignal>
#include <ctime>
#include <deque>
#include <memory>
#include <vector>
#endif

namespace mirel {

#if defined(__linux__)

namespace {

constexpr long kLookEach = 50'000'000;  // nanoseconds

// What allocators and stacks map, and never touch.
constexpr std::uint64_t kUntouched = std::uint64_t{512} << 20;

// While it lives, the signals that a crew waits for are kept back.
class HeldSignals {
 public:
  HeldSignals() {
    std::signal(SIGCHLD, SIG_DFL);
    sigemptyset(&set_);
    sigaddset(&set_, SIGCHLD);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
      struct sigaction action = {};
      sigaction(number, nullptr, &action);
      if (action.sa_handler != SIG_IGN) {  // as under nohup: ignored stays ignored
        sigaddset(&set_, number);
      }
    }
    sigprocmask(SIG_BLOCK, &set_, &before_);
  }
  ~HeldSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  const sigset_t& GetMaskBefore() const { return before_; }

  // Waits until one comes, or for a moment; gives its number, 0 when none that ends the process came.
  int Wait() const {
    const timespec moment = {0, kLookEach};
    const int number = sigtimedwait(&set_, nullptr, &moment);
    return number == SIGCHLD || number < 0 ? 0 : number;
  }

 private:
  sigset_t set_;
  sigset_t before_;
};

class Shift {
 public:
  Shift(const Crew::Limits& limits, const Crew::Work& work) : limits_(limits), work_(work) {
    for (std::size_t i = 0; i < work.count; ++i) {
      waiting_.push_back(i);
    }
  }

  int Run() {
    int signal = 0;
    while (signal == 0 && (!waiting_.empty() || !alone_.empty() || !running_.empty())) {
      StartWhatFits();
      signal = signals_.Wait();
      Look();
      work_.wait();
    }
    StopAll();
    return signal;
  }

 private:
  using Processes = std::vector<std::unique_ptr<JobProcess>>;

  void StartWhatFits() {
    while (running_.size() < limits_.jobs && !waiting_.empty() && Fits(waiting_.front())) {
      const std::size_t index = waiting_.front();
      waiting_.pop_front();
      Start(index);
    }
    if (running_.empty() && waiting_.empty() && !alone_.empty()) {
      const std::size_t index = alone_.front();
      alone_.pop_front();
      Start(index);
    }
  }

  bool Fits(std::size_t index) const {
    std::uint64_t taken = 0;
    for (const auto& process : running_) {
      taken += std::max(process->GetMemory(), work_.guessMemory(process->GetIndex()));
    }
    return running_.empty() || taken + work_.guessMemory(index) <= limits_.memoryAll;
  }

  void Start(std::size_t index) {
    auto process = std::make_unique<JobProcess>(index);
    const std::uint64_t most = std::min(limits_.memoryEach, limits_.memoryAll);
    const std::uint64_t addressSpace = most < UINT64_MAX / 4 ? 2 * most + kUntouched : most;
    if (process->Start([this, index] { return work_.run(index); }, signals_.GetMaskBefore(), addressSpace)) {
      running_.push_back(std::move(process));
    } else if (running_.empty()) {
      Crew::Result result;
      result.printed = "the system gives no process for it\n";
      work_.end(index, result);
    } else {
      waiting_.push_front(index);  // there may be one when another has ended
    }
  }

  void Look() {
    for (std::size_t i = 0; i < running_.size();) {
      JobProcess& process = *running_[i];
      if (process.Look()) {
        const std::unique_ptr<JobProcess> ended = std::move(running_[i]);
        running_.erase(running_.begin() + static_cast<Processes::difference_type>(i));
        Finish(*ended);
        continue;
      }
      if (process.GetMemory() > limits_.memoryEach) {
        process.Stop(Crew::End::kOutOfMemory);
      } else if (limits_.seconds > 0.0 && process.GetSeconds() > limits_.seconds) {
        process.Stop(Crew::End::kTimedOut);
      }
      ++i;
    }
    KeepWithinMemory();
  }

  // The one that began last gives way to the others, and has its turn again when nothing else runs.
  void KeepWithinMemory() {
    std::uint64_t taken = 0;
    for (const auto& process : running_) {
      taken += process->GetMemory();
    }
    if (taken <= limits_.memoryAll ||
        std::any_of(running_.begin(), running_.end(), [](const auto& one) { return one->IsStopping(); })) {
      return;
    }
    JobProcess& youngest = *running_.back();
    givesWay_ = running_.size() > 1 ? &youngest : nullptr;
    youngest.Stop(Crew::End::kOutOfMemory);
  }

  void Finish(const JobProcess& process) {
    if (&process == givesWay_) {
      givesWay_ = nullptr;
      alone_.push_back(process.GetIndex());
    } else {
      work_.end(process.GetIndex(), process.GetResult());
    }
  }

  void StopAll() {
    for (const auto& process : running_) {
      process->Stop(Crew::End::kKilled);
    }
    while (!running_.empty()) {
      signals_.Wait();
      running_.erase(
          std::remove_if(running_.begin(), running_.end(), [](const auto& one) { return one->Look(); }),
          running_.end());
    }
  }

  const Crew::Limits limits_;
  const Crew::Work& work_;
  const HeldSignals signals_;
  std::deque<std::size_t> waiting_;
  std::deque<std::size_t> alone_;  // that are to run with no other beside them
  Processes running_;              // in the order in which they began
  const JobProcess* givesWay_ = nullptr;
};

}  // namespace

int Crew::Run(const Limits& limits, const Work& work) {
  return Shift(limits, work).Run();
}

#else

int Crew::Run(const Limits&, const Work& work) {
  for (std::size_t i = 0; i < work.count; ++i) {
    Result result;
    result.reply = work.run(i);
    result.end = End::kDone;
    work.end(i, result);
    work.wait();
  }
  return 0;
}

#endif

}  // namespace mirel
